// What can be known of a statement from its text alone: its kind and its bind variables.
#pragma once

#include "oci.h"
#include "sql/sqlite_errors.h"
#include "syntax/token.h"

#include <string>
#include <vector>

namespace sqlite_oci
{

enum class statement_kind : std::uint8_t {
    query,      // yields rows
    change,     // INSERT, UPDATE, DELETE, MERGE: part of a transaction
    definition, // CREATE, DROP, ALTER ...: commits before and after
    commit,
    rollback,
    savepoint, // SAVEPOINT, ROLLBACK TO
    block,     // BEGIN ... END
    other,     // what concerns the session or the transaction only
};

struct placeholder {
    std::string name; // without the colon, in upper case
    std::size_t offset;
};

struct sql_text {
    std::string original;
    std::vector<sql::token> tokens;
    std::vector<placeholder> placeholders; // in order of appearance, names may repeat
    statement_kind kind = statement_kind::other;
    sql_action action = sql_action::other;
    ub2 type = OCI_STMT_UNKNOWN; // OCI_STMT_...
    ub2 function_code = 0;       // OCI_ATTR_SQLFNCODE

    // Whether it takes back what came before it: ROLLBACK, also TO a savepoint.
    bool goes_back() const { return function_code == rollback_code; }

    static constexpr ub2 rollback_code = 55;
};

sql_text analyse(std::string text);

} // namespace sqlite_oci
