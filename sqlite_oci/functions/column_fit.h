// Values on their way into the columns of tables: converted to the column's type, rounded to its scale,
// padded to its length, and refused where they do not fit.
#pragma once

#include "functions/session_settings.h"
#include "sql/declared_type.h"
#include "values/value.h"

#include <string>

namespace sqlite_oci
{

struct fit_rule {
    declared_type type{};
    std::string column;   // "TABLE"."COLUMN", for messages
    bool is_cast = false; // CAST cuts texts that are too long
};

// Room for what a value is converted to.
struct fit_room {
    std::string bytes;
    std::string message; // of an error
};

// Returns 0, or an ORA- number with its text in room->message. What *to points to lives as long as `from` and
// *room do.
int fit(const value &from, const fit_rule &rule, const session_settings &settings, value *to, fit_room *room);

// The bytes that hexadecimal digits stand for; false if they are none.
bool bytes_from_hex(std::string_view digits, std::string *bytes);

// The number of a row, and the text that programs know it by.
std::string row_id_to_text(std::int64_t row);
bool row_id_from_text(std::string_view text, std::int64_t *row);

} // namespace sqlite_oci
