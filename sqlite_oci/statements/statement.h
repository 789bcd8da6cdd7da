// Statements with their binds and defines.
#pragma once

#include "connections/session.h"
#include "handles/call.h"
#include "handles/callback_scope.h"
#include "sql/sql_text.h"
#include "statements/compiled_statement.h"
#include "statements/describe.h"
#include "statements/locked_rows.h"
#include "statements/nested_cursors.h"
#include "statements/pieces.h"
#include "statements/row_store.h"
#include "variables/host_value.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace sqlite_oci
{

struct statement;

// The application's arrays behind a bind or a define. The skips are the bytes from one element to the next.
struct host_array {
    host_type host;
    ub1 form = SQLCS_IMPLICIT;
    ub2 set_id = 0; // as the application set it; 0 is the environment's own

    void *values = nullptr;
    sb2 *indicators = nullptr;
    ub2 *lengths = nullptr;
    ub2 *codes = nullptr;
    std::size_t value_skip = 0;
    std::size_t indicator_skip = sizeof(sb2);
    std::size_t length_skip = sizeof(ub2);
    std::size_t code_skip = sizeof(ub2);

    void *value_at(std::size_t row) const { return static_cast<char *>(values) + row * value_skip; }
    sb2 *indicator_at(std::size_t row) const { return element(indicators, row * indicator_skip); }
    ub2 *length_at(std::size_t row) const { return element(lengths, row * length_skip); }
    ub2 *code_at(std::size_t row) const { return element(codes, row * code_skip); }

private:
    template <class T> static T *element(T *array, std::size_t offset)
    {
        return array ? reinterpret_cast<T *>(reinterpret_cast<char *>(array) + offset) : nullptr;
    }
};

// The arrays as a bind or define call gives them.
host_array describe_array(const environment &env, void *valuep, sb4 value_sz, ub2 dty, void *indp,
                          ub2 *lengths, ub2 *codes);

// Throw ORA-03115 where a type or its size is not served.
host_reader required_reader(const host_type &host);
host_writer required_writer(const host_type &host);

// A bind or a define: belongs to its statement and is freed with it.
struct variable : object {
    explicit variable(statement &of);

    // Each throws ORA-03115 where the type or its size is not served, and then changes nothing.
    void describe(const host_array &described);
    void set_form(ub1 form);
    void set_set_id(ub2 id);
    void set_skips(ub4 value, ub4 indicator, ub4 length, ub4 code);

    statement &owner;
    host_array array;
    bool is_dynamic = false; // values pass through a callback, or piece by piece

    // Whether values pass between calls, piece by piece.
    virtual bool is_in_pieces() const = 0;
    given_piece given;

    // Kept for programs that ask.
    sb4 most_data = 0, most_characters = 0;
    ub4 lob_prefetch_size = 0;

private:
    virtual void find_conversion() = 0;
};

// What the rows of one fetch met with, beside success.
struct fetch_outcome {
    error_record warning{0, {}};
    error_record error{0, {}}; // ends the fetch
};

struct bind final : variable {
    static constexpr ub4 handle_kind = OCI_HTYPE_BIND;
    using variable::variable;

    // The value of an element; text that had to be converted lives until the next call.
    value value_of(std::size_t row);

    void set_callback(void *context, OCICallbackInBind callback)
    {
        in_context_ = context;
        in_callback_ = callback;
    }

    void set_out_callback(void *context, OCICallbackOutBind callback)
    {
        out_context_ = context;
        out_callback_ = callback;
    }

    // Gives a value of a statement to the program's callback. Returns the locator that it went into, or null.
    lob_locator *give(const value &given, std::size_t row, fetch_outcome &outcome);

    // Whether there may be no value to read, unless the statement asks for it.
    bool may_be_empty() const { return is_dynamic || is_descriptor(array.host.type); }

    std::vector<std::size_t> placeholders; // those that have this bind

    bool is_in_pieces() const override { return is_dynamic && !in_callback_ && !out_callback_; }

    // Takes what was given as the next piece of a row's value. Returns whether it was the last.
    bool take_piece(std::size_t row, bool is_first);

private:
    void find_conversion() override { reader_ = required_reader(array.host); }
    value gather(std::size_t row);
    value read_whole(const std::string &bytes);

    host_reader reader_ = nullptr;
    std::string scratch_;
    void *in_context_ = nullptr;
    OCICallbackInBind in_callback_ = nullptr;
    void *out_context_ = nullptr;
    OCICallbackOutBind out_callback_ = nullptr;
    std::string pieces_;
    std::map<std::size_t, std::string> values_in_pieces_; // by row; those without are null
};

struct define final : variable {
    static constexpr ub4 handle_kind = OCI_HTYPE_DEFINE;
    using variable::variable;

    void store(const value &fetched, std::size_t row, fetch_outcome &outcome) const;

    // The descriptor or statement handle in an element or, of a define with a callback, the last one that it
    // gave; null for elements of other types.
    const void *descriptor_at(std::size_t row) const;

    // The locator in an element; null for elements of other types.
    lob_locator *locator_at(std::size_t row) const
    {
        return is_locator(array.host.type) ? find<lob_locator>(descriptor_at(row)) : nullptr;
    }

    void set_callback(void *context, OCICallbackDefine callback)
    {
        context_ = context;
        callback_ = callback;
    }

    ub4 position = 0;

    bool is_in_pieces() const override { return is_dynamic && !callback_; }

    // The value as bytes, to be given in pieces. What cannot be is told in `outcome`.
    std::string bytes_of(const value &fetched, fetch_outcome &outcome) const;

    // Puts the next piece into what was given. Returns whether it was the last.
    bool give_piece(fetch_position &at, bool is_null, fetch_outcome &outcome);

private:
    void find_conversion() override { writer_ = required_writer(array.host); }
    void give(const value &fetched, std::size_t row, fetch_outcome &outcome) const;
    void store_null(std::size_t row, fetch_outcome &outcome) const;
    void report_cut(const written &result, std::size_t row, fetch_outcome &outcome) const;
    std::string column_text() const;

    host_writer writer_ = nullptr;
    void *context_ = nullptr;
    OCICallbackDefine callback_ = nullptr;
    mutable const void *given_descriptor_ = nullptr; // by the callback
};

// An offset in a text as OCI_ATTR_PARSE_ERROR_OFFSET, which has 16 bits.
inline ub2 as_attribute(std::size_t offset)
{
    return static_cast<ub2>(std::min<std::size_t>(offset, 0xffff));
}

struct execution {
    ub4 iterations = 0;
    ub4 row_offset = 0;
    ub4 mode = OCI_DEFAULT;
};

struct statement final : object, parameter_owner {
    static constexpr ub4 handle_kind = OCI_HTYPE_STMT;
    using object::object;

    void prepare(std::string text);

    // --- Binds and defines. The one that is in this place already is used; else `known`, one of this
    // statement's
    //     or null, unless it serves another place; else a new one.
    bind &bind_position(bind *known, ub4 position);
    bind &bind_name(bind *known, std::string_view name);
    define &define_position(define *known, ub4 position);
    bool release(variable *freed);

    // A bind or a define that serves no place yet, for programs that allocate them by hand.
    variable &make_variable(ub4 of_kind);
    bind *bind_at(std::size_t placeholder) const { return bound_[placeholder]; }

    // --- Execution and fetch, as OCIStmtExecute and OCIStmtFetch2 define them.
    sword execute(const service_context &context, const execution &how, call_errors errors);
    sword fetch(ub4 rows, ub2 orientation, sb4 offset, call_errors errors);
    void cancel();
    const awaited_piece &awaited() const { return awaited_; }

    // The select list, none of other statements; described when first asked for. Throws ORA-24338 before an
    // execution.
    const column_descriptions &columns();

    // OCI_ATTR_ROWID: the row that was changed last or, of a query FOR UPDATE, fetched last; empty for
    // others.
    std::string row_identity() const;

    // OCI_ATTR_STMT_STATE: 1 prepared, 2 executed, 3 all rows fetched.
    ub4 state() const
    {
        if (!is_executed)
            return 1;
        return text.kind == statement_kind::query && current_row >= rows_.size() ? 3 : 2;
    }

    sql_text text;
    bool is_prepared = false;
    bool made_by_prepare2 = false;
    weak_handle<service_context> prepared_on; // by OCIStmtPrepare2
    ub2 error_offset = 0;                     // OCI_ATTR_PARSE_ERROR_OFFSET
    ub4 row_count = 0;                        // OCI_ATTR_ROW_COUNT
    ub4 rows_fetched = 0;                     // OCI_ATTR_ROWS_FETCHED
    ub4 batch_error_count = 0;                // OCI_ATTR_NUM_DML_ERRORS
    ub4 prefetch_rows = 1;                    // all rows are here after execution: kept for programs that ask
    ub4 prefetch_memory = 0;
    ub4 column_count = 0;
    ub4 current_row = 0; // of all rows, from 1: the last one fetched
    bool is_executed = false;
    bool is_described = false;

private:
    bind &bind_placeholders(bind *known, std::vector<std::size_t> placeholders);
    void forget_variables();
    void take_text(std::string sql);

    void forget_execution();
    void check_text();
    void check_binds() const;
    std::vector<sql::bind_type> bind_types() const;
    bool is_read(sqlite3_stmt *by, const bind &used) const;
    void bind_row(sqlite3_stmt *target, std::size_t row);
    bool run_without_rows(connection &on);
    void run_steps(connection &on, std::size_t row);
    void run_step(connection &on, std::size_t index, std::size_t row);
    void store_outputs(sqlite3_stmt *from, const sql::translated_step &step, std::size_t row);
    void run_block(connection &on);
    sword run_query(const std::shared_ptr<connection> &on, const execution &how, call_errors errors);
    sword run_changes(connection &on, const execution &how, call_errors errors);
    void run_definition(connection &on);
    void run_savepoint(connection &on);
    sword fetch_exactly(ub4 rows, call_errors errors);
    void change_row(connection &on, std::size_t row);
    int step(connection &on, sqlite3_stmt *running, const sql::translated_step *of = nullptr);
    [[noreturn]] void fail_in_engine(connection &on, int code, sqlite3_stmt *running,
                                     const sql::translated_step *of);

    void describe_columns();
    std::vector<value_kind> value_kinds() const;
    std::size_t first_row(ub2 orientation, sb4 offset) const;
    sword continue_fetch(call_errors errors);
    bool store_rows(fetch_outcome &outcome);
    bool give_pieces(define &into, const value &fetched, fetch_outcome &outcome);
    bool store_row(row_store::reader &reader, fetch_outcome &outcome);
    sword end_fetch(const fetch_outcome &outcome, call_errors errors);
    void give_up_pieces();
    bool open_cursor(const service_context &context, call_errors errors);
    void check_defines() const;
    void open_cursors(const std::vector<value> &given, std::size_t row);
    void open_nested(const sql::nested_cursor &cursor, std::shared_ptr<cursor_origin> from,
                     const value *given);
    bind *bind_of_name(std::string_view name) const;
    bool collect_pieces(const execution &how);
    bool await_bind(const variable *after, std::size_t row);

    void read_rows(connection &on, sqlite3_stmt *running, int code);
    sword fetch_rows(ub4 rows, ub2 orientation, sb4 offset, call_errors errors);
    void check_idle() const { callback_scope::check(*this); }
    void find_own_texts(const connection &on);

    // The value as a text variable sees it. Most columns need nothing done, which costs no call.
    const value &shown(const value &fetched, std::size_t column, const variable &into)
    {
        return has_own_text_[column] ? shown_in(fetched, result().columns[column].type, into) : fetched;
    }
    const value &shown_in(const value &fetched, const declared_type &type, const variable &into);

    // What the rows are of.
    const sql::translation &result() const { return opened_ ? *opened_ : compiled_.translated(); }
    std::size_t stored_columns() const { return column_count + result().given_columns; }

    compiled_statement compiled_;
    std::shared_ptr<const sql::translation> opened_; // of a cursor that was fetched; null for others
    std::shared_ptr<cursor_origin> cursor_origin_;   // of the cursors in the rows
    row_store rows_;
    awaited_piece awaited_;
    fetch_position fetching_;
    std::vector<bool> has_own_text_; // columns of dates and intervals, in their stored form
    session_settings formats_;       // in which they are shown as texts
    value shown_;
    std::string shown_text_;
    column_descriptions columns_; // empty until asked for

    locked_rows locked_; // where locators that are fetched from a query FOR UPDATE come from
    bool is_scrollable_ = false;
    bool is_cancelled_ = false;
    bool was_tried_ = false;                  // executed, with or without success
    std::optional<std::int64_t> changed_row_; // the last one

    // All that have live handles; those of texts that this handle was prepared with before stay for programs
    // that bind with them again.
    std::vector<owned<bind>> binds_;
    std::vector<owned<define>> defines_;

    std::vector<bind *> bound_;     // by placeholder
    std::vector<define *> defined_; // by column, from 0
};

} // namespace sqlite_oci
