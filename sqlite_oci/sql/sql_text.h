// What can be known of a statement from its text alone: its kind and its bind variables.
#pragma once

#include "oci.h"
#include "sql/sqlite_errors.h"

#include <string>
#include <string_view>
#include <vector>

namespace sqlite_oci
{

enum class statement_kind : std::uint8_t {
    query,      // yields rows
    change,     // INSERT, UPDATE, DELETE: part of a transaction
    definition, // CREATE, DROP, ALTER: commits before and after
    commit,
    rollback,
    savepoint, // SAVEPOINT, ROLLBACK TO, RELEASE
    block,     // PL/SQL, which there is no engine for
    other,     // handed to SQLite as it is
};

struct placeholder {
    std::string name; // without the colon, in upper case
    std::size_t offset;
};

struct sql_text {
    std::string original;

    // What SQLite gets: of the same length, so that offsets of errors fit both. Each placeholder is replaced
    // by an anonymous one, so that each occurrence of a name can have a value of its own, as in a bind by
    // position.
    std::string for_engine;

    std::vector<placeholder> placeholders; // in order of appearance, names may repeat
    statement_kind kind = statement_kind::other;
    sql_action action = sql_action::other;
    ub2 type = OCI_STMT_UNKNOWN; // OCI_STMT_...
    ub2 function_code = 0;       // OCI_ATTR_SQLFNCODE
    bool for_update = false;     // the query locks what it reads
    std::size_t from_offset = 0; // of the query's own FROM; 0 for none

    // Whether it takes back what came before it: ROLLBACK, also TO a savepoint.
    bool goes_back() const { return function_code == rollback_code; }

    static constexpr ub2 rollback_code = 55;
};

sql_text analyse(std::string text);

// Whether there is nothing but blanks, comments and semicolons.
bool is_blank(std::string_view text);

// Offset of the first word of a statement that is `word`, in any case; npos if there is none.
std::size_t find_word(std::string_view text, std::string_view word);

// A name in upper case, ASCII letters only.
std::string upper_case(std::string_view name);

} // namespace sqlite_oci
