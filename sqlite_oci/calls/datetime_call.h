// The frame of the datetime and interval calls.
#pragma once

#include "calls/value_call.h"
#include "connections/session.h"
#include "variables/descriptors.h"

namespace sqlite_oci
{

// Runs `body()` for a call on an environment or a session.
template <class Body> sword datetime_call(void *hndl, OCIError *err, Body body)
{
    return served(err, [&](call_errors) {
        if (!find<environment>(hndl))
            required<session>(hndl);
        body();
        return OCI_SUCCESS;
    });
}

// Throws the failure of an ORA- number; 0 is none.
inline void check_date(int code)
{
    if (code)
        fail(code, "%s", interval_error_text(code));
}

template <class... Pointers> void check_given(Pointers... pointers)
{
    if (any_null(pointers...))
        fail(ora_null_argument, "an argument that the call needs is a null pointer");
}

// A datetime that exists, and has a zone if its type has one.
inline timestamp existing_time(const void *descriptor)
{
    const datetime_descriptor &held = required_datetime(descriptor);
    check_date(timestamp_check(held.time));
    return held.has_zone() ? timestamp_with_zone(held.time) : held.time;
}

void check_language(std::string_view name);

// Copies a text of the environment; *size tells the room, then the text's length.
void copy_datetime_text(const std::string &text, ub4 *size, OraText *buffer);

} // namespace sqlite_oci
