// The frame of the number and date calls, which need no object but the error handle.
#pragma once

#include "handles/call.h"
#include "handles/error_record.h"

#include <new>
#include <string_view>

namespace sqlite_oci
{

constexpr int ora_null_argument = 21560;
constexpr int ora_out_of_memory = 4030;

// Runs `body()`, which returns the call's code, if `err` is a live error handle.
template <class Body> sword with_error_handle(OCIError *err, Body body) noexcept
{
    if (!is_live_error(err))
        return OCI_INVALID_HANDLE;
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return raise_error(err, ora_out_of_memory, "out of memory");
    } catch (...) {
        return OCI_ERROR;
    }
}

template <class... Pointers> bool any_null(Pointers... pointers)
{
    return ((pointers == nullptr) || ...);
}

inline sword refuse_null(OCIError *err)
{
    return raise_error(err, ora_null_argument, "an argument that the call needs is a null pointer");
}

inline std::string_view text_of(const OraText *text, std::size_t length)
{
    return text ? std::string_view(reinterpret_cast<const char *>(text), length) : std::string_view();
}

// The precision for "%.*s" that keeps a long text from filling the message.
inline int shown(std::string_view text)
{
    constexpr std::size_t most = 80;
    return static_cast<int>(text.size() < most ? text.size() : most);
}

} // namespace sqlite_oci
