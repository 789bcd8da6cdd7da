// Values on their way between an application's buffers and SQLite.
#pragma once

#include "charset.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <sqlite3.h>

namespace sqlite_oci
{

enum class value_kind : std::uint8_t { null, integer, real, text, blob };

// A value as SQLite knows it. `bytes` of a text are UTF-8; they belong to whoever made the value.
struct value {
    value_kind kind = value_kind::null;
    std::int64_t integer = 0;
    double real = 0;
    std::string_view bytes;
};

// An application's variable, as a bind or a define describes it.
struct host_type {
    ub2 type = 0;         // SQLT_...
    std::size_t size = 0; // bytes of room
    charset set = charset::utf8;
};

// Whether the variable is a locator of a LOB, which is given as a pointer.
inline bool is_locator(ub2 type)
{
    return type == SQLT_CLOB || type == SQLT_BLOB;
}

// --- From the application

// The value of a variable. `length` is the number of bytes in use, for the types that have no length of their
// own. Text that has to be converted is put into `scratch`. Throws a failure for what is no value of the
// type.
using host_reader = value (*)(const host_type &host, const void *source, std::size_t length,
                              std::string &scratch);

// Null for a type or a size that is not served.
host_reader find_reader(const host_type &host);

// Binds without a copy: the value must stay in place until the statement has been stepped.
int bind_to(sqlite3_stmt *statement, int position, const value &bound);

// --- To the application

// What became of a value that was written.
struct written {
    std::size_t stored = 0; // bytes in the buffer that hold the value
    std::size_t whole = 0;  // bytes that the whole value takes; more than `stored` when it was cut
    int error = 0;          // ORA- number when the value cannot be converted; the buffer is then untouched
};

using host_writer = written (*)(const host_type &host, const value &fetched, void *target);

host_writer find_writer(const host_type &host);

// The text of a number as a server shows it: ".5", "1.25E+100". Returns the length; `buffer` has room for
// number_text_max bytes.
std::size_t real_to_chars(double real, char *buffer);

// What an ORA- number of a conversion means.
const char *conversion_error_text(int code);

} // namespace sqlite_oci
