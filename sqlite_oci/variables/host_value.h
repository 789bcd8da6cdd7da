// Values on their way between an application's variables and SQLite.
#pragma once

#include "text/charset.h"
#include "values/value.h"

#include <string>

namespace sqlite_oci
{

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

// --- To the application

// What became of a value that was written.
struct written {
    std::size_t stored = 0; // bytes in the buffer that hold the value
    std::size_t whole = 0;  // bytes that the whole value takes; more than `stored` when it was cut
    int error = 0;          // ORA- number when the value cannot be converted; the buffer is then untouched
};

using host_writer = written (*)(const host_type &host, const value &fetched, void *target);

host_writer find_writer(const host_type &host);

} // namespace sqlite_oci
