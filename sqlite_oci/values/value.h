// Values as SQLite knows them.
#pragma once

#include <cstdint>
#include <string_view>

#include <sqlite3.h>

namespace sqlite_oci
{

enum class value_kind : std::uint8_t {
    null,
    integer,
    real,
    text,
    blob,
    number, // more digits than an integer or a real has: bytes of SQLT_NUM, a blob for SQLite
};

// A value as SQLite knows it. `bytes` of a text are UTF-8; they belong to whoever made the value.
struct value {
    value_kind kind = value_kind::null;
    std::int64_t integer = 0;
    double real = 0;
    std::string_view bytes;
};

// Binds without a copy: the value must stay in place until the statement has been stepped.
int bind_to(sqlite3_stmt *statement, int position, const value &bound);

// The text of a number as a server shows it: ".5", "1.25E+100". Returns the length; `buffer` has room for
// number_text_max bytes.
std::size_t real_to_chars(double real, char *buffer);

// ORA- numbers of conversions.
enum conversion_error : int {
    ora_inconsistent_types = 932,
    ora_numeric_overflow = 1426,
    ora_integer_overflow = 1455,
    ora_invalid_hex = 1465,
    ora_invalid_number = 1722,
    ora_not_a_date = 1861,
    ora_invalid_locator = 22275,
    ora_invalid_descriptor = 24334,
};

// What such a number means.
const char *conversion_error_text(int code);

} // namespace sqlite_oci
