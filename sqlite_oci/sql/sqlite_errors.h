// What SQLite reports, as ORA- numbers that programs test for.
#pragma once

#include "handles/environment.h"

#include <optional>

#include <sqlite3.h>

namespace sqlite_oci
{

// What was being done, where the same SQLite error stands for different ORA- numbers.
enum class sql_action : std::uint8_t { other, insert, update, remove };

// By the statement's first word.
sql_action action_of(std::string_view statement);

// The record for the error that the connection reports now. `code` is the (extended) result code of the
// failed call, `statement` the text in execution, whose offending token decides between the codes of syntax
// errors.
error_record sqlite_record(sqlite3 *db, int code, sql_action action = sql_action::other,
                           std::string_view statement = {});

// An error that an SQL function of this library reports: its text begins with "ORA-NNNNN: ".
std::optional<error_record> record_from_text(std::string_view text);

} // namespace sqlite_oci
