#ifndef DKOMSQL_SHELL_H
#define DKOMSQL_SHELL_H

#include <cstddef>
#include <fstream>
#include <functional>
#include <istream>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "result_writer.h"
#include "session.h"
#include "sql_text.h"
#include "statement.h"

namespace dkomsql
{

/// Something that the user asked for and that cannot be done; what() says why.
class UserError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Values of placeholders by folded_name(); nothing stands for NULL.
using Binds = std::map<std::string, std::optional<std::string>, std::less<>>;

/// Stores a value for the placeholder `name`, which may be given with its colon. Throws UserError when that
/// is not the name of a placeholder.
void set_bind(Binds &binds, std::string_view name, std::optional<std::string> value);

struct Settings {
    Format format = Format::table;
    bool header = true;
    bool stop_on_error = true;
    bool timing = false;
    bool types = false;     ///< types of the columns below their names, where the connection tells them
    bool autocommit = true; ///< each change is committed at once
    std::size_t longest_value = 32767; ///< longer values are shown cut, in bytes
    Binds binds;
};

/// Runs statements and backslash commands on one connection and writes what comes of them.
class Shell
{
public:
    Shell(const Session &session, Settings settings);

    /// Rolls back what was not committed, with a warning.
    ~Shell();
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    /// Runs everything in `in`. `name` is how messages call the source; empty: messages name no place.
    /// Returns false when the run was ended early, by an error or by `\q`.
    bool run_script(std::istream &in, const std::string &name);

    /// Reads statements from the terminal until the user leaves.
    void run_interactive();

    /// True when a statement or a command has failed so far.
    bool has_failed() const { return has_failed_; }

    /// True when nothing more is to be run: after `\q`, and after an error that ends a script.
    bool has_ended() const { return leaving_ || (has_failed_ && settings_.stop_on_error); }

    // For the backslash commands.

    Settings &settings() { return settings_; }
    const Session &session() const { return session_; }
    std::ostream &out();

    /// Runs a script file; throws UserError when it cannot be read.
    void include(const std::string &path);

    /// Sends results to a file from now on; an empty path sends them to the standard output again.
    void redirect(const std::string &path);

    /// Ends the transaction.
    void commit();
    void rollback();

    /// True when there may be changes that are not committed.
    bool may_have_changes() const { return may_have_changes_; }

    /// Notes that a command has made changes that autocommit leaves open.
    void note_changes() { may_have_changes_ = !settings_.autocommit; }

    /// Runs a query with the values that are bound, for a command that reads its rows.
    void query(const std::string &sql, const std::function<void(Statement &)> &read);

    /// Makes the shell end.
    void leave() { leaving_ = true; }

    /// Writes an error message to the standard error stream.
    void report(std::string_view message);

    /// Writes a remark that belongs to no result: beside a table, apart from data for programs.
    void remark(std::string_view message);

private:
    struct Source {
        std::string name; // empty: typed by the user
        std::size_t line = 0;
    };

    bool take_line(StatementSplitter &splitter, const std::string &line, Source &source);
    bool run_statement(const SqlStatement &statement, const Source &source);
    bool run_command(const std::string &line, const Source &source);
    bool failed();

    void execute(const SqlStatement &statement);
    void end_transaction(TransactionEnd how);
    void note_transaction(const Statement &statement);
    void bind_values(Statement &statement, const std::string &sql);
    void write_rows(Statement &statement);
    static std::size_t fetch(Cursor &cursor);
    std::size_t write_row(const Cursor &cursor, std::size_t row, ResultWriter &writer) const;
    void report_changes(const Statement &statement);
    void report_error(const OciError &error, const SqlStatement &statement, const Source &source);
    void check_output();
    std::string prompt(bool continuation) const;

    const Session &session_;
    Settings settings_;
    std::ofstream file_;
    bool has_failed_ = false;
    bool leaving_ = false;
    bool may_have_changes_ = false;
    std::size_t include_depth_ = 0;
};

} // namespace dkomsql

#endif
