// Values on their way between an application's variables and SQLite.
#pragma once

#include "text/charset.h"
#include "values/number.h"
#include "values/value.h"

#include <cstring>
#include <string>

namespace sqlite_oci
{

// An application's variable, as a bind or a define describes it.
struct host_type {
    ub2 type = 0;         // SQLT_...
    std::size_t size = 0; // bytes of room
    charset set = charset::utf8;
    bool has_length = true; // the application is told, or tells, how many bytes are in use
};

// Whether the variable is a locator of a LOB, which is given as a pointer.
inline bool is_locator(ub2 type)
{
    return type == SQLT_CLOB || type == SQLT_BLOB;
}

// Whether the variable is a pointer to a descriptor of any kind.
inline bool is_descriptor(ub2 type)
{
    switch (type) {
    case SQLT_DATE:
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
    case SQLT_RDD:
    case SQLT_VST:
    case SQLT_RSET:
        return true;
    default:
        return is_locator(type);
    }
}

// Whether a text is read and written as characters.
inline bool is_text_variable(ub2 type)
{
    switch (type) {
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_LNG:
    case SQLT_AFC:
    case SQLT_AVC:
    case SQLT_VCS:
    case SQLT_LVC:
    case SQLT_VST:
    case SQLT_CLOB:
        return true;
    default:
        return false;
    }
}

// The pointer that such a variable holds.
inline void *pointer_in(const void *variable)
{
    void *pointer;
    std::memcpy(&pointer, variable, sizeof pointer);
    return pointer;
}

// Whether blanks fill the variable behind a text, and take the place of null.
inline bool is_padded(const host_type &host)
{
    return host.type == SQLT_CHR && !host.has_length;
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

// Of the types whose variables are pointers to descriptors; null for others.
host_reader find_descriptor_reader(ub2 type);
host_writer find_descriptor_writer(ub2 type);

// Those whose variables begin with their length: SQLT_VCS, LVC, VBI and LVB.
host_reader find_counted_reader(const host_type &host);
host_writer find_counted_writer(const host_type &host);

// Fills the variable with blanks from a byte on.
void write_blanks(const host_type &host, void *target, std::size_t from = 0);

// The text of any value in UTF-8; what is not there as text already is put into `room` or `scratch`.
std::string_view to_text(const value &fetched, char (&room)[number_text_max], std::string &scratch);

} // namespace sqlite_oci
