// A translated statement, compiled for a connection.
#pragma once

#include "connections/connection.h"
#include "functions/column_fit.h"
#include "sql/sql_text.h"
#include "translation/translation.h"

#include <memory>
#include <vector>

namespace sqlite_oci
{

class compiled_statement
{
public:
    compiled_statement() = default;
    ~compiled_statement() { reset(); }
    compiled_statement(const compiled_statement &) = delete;
    compiled_statement &operator=(const compiled_statement &) = delete;

    // Keeps what is compiled already for this connection, if bind variables of these types, the schema and
    // the session's settings have not changed since. Needs the connection's mutex. On failure throws, with
    // the error's place in *error_offset.
    void compile(const std::shared_ptr<connection> &on, const sql_text &text,
                 const std::vector<sql::bind_type> &binds, ub2 *error_offset);

    // A translation that was made already, for bind variables of these types.
    void take(const std::shared_ptr<connection> &on, sql_action action, sql::translation translated,
              const std::vector<sql::bind_type> &binds);

    // Takes the connection's mutex, unless it is held.
    void reset();

    // reset() of what is compiled for another connection. Before this one's mutex is taken: a thread that
    // held it would wait for the other one's.
    void leave_other(const connection &than);

    const sql::translation &translated() const { return translation_; }
    const std::shared_ptr<connection> &on() const { return on_; }

    // A step's statement, compiled when it is first asked for: it may need what steps before it make. Needs
    // the connection's mutex.
    sqlite3_stmt *step(std::size_t index);

    // Of a query FOR UPDATE: with the identity of the row behind the columns; null where rows have none.
    sqlite3_stmt *locking();

    // Binds a value to a placeholder of a step, converted as the statement needs it. It must stay in place
    // until the step has run.
    void bind(sqlite3_stmt *to, std::size_t placeholder, const value &given);

private:
    void finalize();
    sqlite3_stmt *prepare(const std::string &sql) const;
    bool is_current(const std::shared_ptr<connection> &on, const std::vector<sql::bind_type> &binds) const;

    struct parameter {
        bool is_converted = false;
        fit_rule rule;
        fit_room room;
    };

    std::shared_ptr<connection> on_;
    sql_action action_ = sql_action::other;
    sql::translation translation_;
    std::vector<sql::bind_type> binds_;
    std::vector<sqlite3_stmt *> steps_;
    sqlite3_stmt *locking_ = nullptr;
    std::vector<parameter> parameters_; // by placeholder
};

} // namespace sqlite_oci
