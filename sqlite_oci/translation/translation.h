// What a statement of a server becomes for SQLite.
#pragma once

#include "catalogue/catalogue.h"
#include "functions/session_settings.h"
#include "syntax/token.h"
#include "translation/typed_sql.h"

#include <memory>
#include <vector>

namespace sqlite_oci::sql
{

struct result_column {
    std::string name;
    declared_type type{};
    bool is_nullable = true;
};

// Values of a statement's row that go to bind variables: RETURNING ... INTO, and :name := in a block.
struct output {
    std::size_t placeholder;
    result_column column;
    std::string lob_column{}; // of a LOB of the changed row: its column for SQLite
};

// One statement of SQLite. Placeholders are numbered by their occurrences in the text, from 1.
struct translated_step {
    std::string sql;
    std::string with_row_id; // of a query FOR UPDATE of one table: with the row's identity behind all columns
    std::vector<output> outputs; // by column of the rows
    std::string table;           // that it inserts into or updates
    bool gives_row_id = false;   // behind the outputs
    bool counts_rows = true;     // for the number of rows that the statement changed
    bool needs_row = false;      // SELECT ... INTO: no row, or two, is an error
    bool commits = false;        // instead of running SQL
    bool rolls_back = false;
};

enum class effect : std::uint8_t {
    run,
    lock_table,
    set_session,
    begin_read_only,
    begin_serializable,
    nothing
};

struct translation;

// A CURSOR(SELECT ...) in a select list. Its query has the placeholders of the whole statement and, numbered
// behind them, the values that the query around it gives with each row.
struct nested_cursor {
    std::size_t column;
    std::size_t first_given, given; // of the columns behind the select list's own
    std::string text;
    std::shared_ptr<const translation> body;
};

struct translation {
    std::vector<translated_step> steps;
    std::vector<result_column> columns; // of a query
    std::size_t given_columns = 0;      // behind them, for cursors
    std::vector<nested_cursor> cursors;
    std::vector<conversion> binds; // by occurrence
    effect does = effect::run;
    std::vector<std::pair<std::string, std::string>> session_values; // ALTER SESSION SET
    bool locks_rows = false;
    int wait_seconds = -1; // for a lock; -1: as long as usual
    bool uses_sequence = false;
    int schema_version = 0;
    int settings_version = 0;
};

// How a bind variable's values are given: a type, and for NUMBER whether one of them has many digits.
struct bind_type {
    declared_type type{}; // of type 0 where it is not bound yet
    bool is_wide = false;

    bool operator==(const bind_type &) const = default;
};

struct translation_input {
    std::string_view text;
    const std::vector<token> &tokens;
    const std::vector<bind_type> &binds; // by occurrence
    catalogue &in;
    const session_settings &settings;
};

// Throws a failure, located where the statement is at fault.
translation translate(const translation_input &input);

} // namespace sqlite_oci::sql
