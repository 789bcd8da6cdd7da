// Pieces of SQLite's SQL with the type that a server would give them.
#pragma once

#include "sql/declared_type.h"

#include <cstdint>
#include <string>

namespace sqlite_oci::sql
{

// Kinds of types that need no conversion among themselves. How SQLite holds them: see README.md, "Values in
// the file".
enum class family : std::uint8_t {
    unknown, // NULL, or a value of which only its storage tells what it is
    number,
    real, // BINARY_FLOAT, BINARY_DOUBLE
    text, // VARCHAR2, CHAR
    long_text,
    clob,
    blob,
    raw,
    date,
    timestamp,
    zoned, // TIMESTAMP WITH [LOCAL] TIME ZONE
    year_interval,
    day_interval,
    row_id,
    cursor,
};

family family_of(const declared_type &type);

// Whether values of a NUMBER type may have more digits than SQLite's integers and reals hold. Such values are
// blobs, which SQLite sorts behind all numbers.
bool may_be_wide(const declared_type &type);

constexpr int no_placeholder = -1;

struct typed_sql {
    std::string sql{};
    declared_type type{};
    bool is_nullable = true;
    bool is_constant = false; // the same for all rows
    bool is_wide = false;     // a number of many digits, maybe
    bool is_column = false;
    bool is_literal = false; // a text; its characters are in `literal`
    std::string literal{};
    int placeholder = no_placeholder; // the value is just this one

    family kind() const { return family_of(type); }
    bool is_null() const { return sql == "NULL"; }
};

constexpr declared_type date_type{SQLT_DAT};
constexpr declared_type real_type{SQLT_IBDOUBLE};
constexpr declared_type row_id_type{SQLT_RDD};
constexpr declared_type clob_type{SQLT_CLOB, SQLCS_IMPLICIT};
constexpr declared_type blob_type{SQLT_BLOB};
constexpr declared_type cursor_type{SQLT_RSET};

declared_type text_type(std::size_t length, ub2 type = SQLT_CHR);

// What a bind variable or a result has to be converted to, and what for.
struct conversion {
    family to = family::unknown; // unknown: as it is
    declared_type column{};      // of a column that it goes into; of type 0 for none
    std::string column_name;     // "TABLE"."COLUMN", for messages
};

} // namespace sqlite_oci::sql
