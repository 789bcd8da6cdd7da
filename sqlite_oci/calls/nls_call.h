// What the language support calls share.
#pragma once

#include "connections/session.h"
#include "handles/call.h"
#include "text/code_points.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{

// Language support is asked for with an environment or a session; null for anything else.
inline environment *nls_environment(const void *handle)
{
    if (auto *env = find<environment>(handle))
        return env;
    auto *user = find<session>(handle);
    return user ? user->env : nullptr;
}

inline environment &required_nls_environment(const void *handle)
{
    environment *env = nls_environment(handle);
    if (!env)
        throw invalid_handle{};
    return *env;
}

// Runs `body(environment)` for a call that returns a value: nothing is thrown, and `otherwise` stands for a
// handle that is none and for what fails.
template <class Result, class Body> Result nls_value(const void *handle, Result otherwise, Body body) noexcept
{
    try {
        environment *env = nls_environment(handle);
        return env ? body(*env) : otherwise;
    } catch (...) {
        return otherwise;
    }
}

inline std::size_t terminator_of(const environment &env)
{
    return env.set == charset::utf16 ? 2 : 1;
}

// The bytes of a text of the environment before its terminator; none of a null pointer.
inline std::string_view terminated(const environment &env, const OraText *text)
{
    const auto *bytes = reinterpret_cast<const char *>(text);
    if (!bytes)
        return {};
    std::size_t length = 0;
    if (env.set == charset::utf16)
        while (bytes[length] || bytes[length + 1])
            length += 2;
    else
        length = std::strlen(bytes);
    return {bytes, length};
}

inline std::u32string_view terminated(const OCIWchar *text)
{
    const auto *characters = reinterpret_cast<const char32_t *>(text);
    return characters ? std::u32string_view(characters) : std::u32string_view();
}

inline std::u32string to_wide(const environment &env, std::string_view bytes)
{
    const std::string utf8 = to_utf8(env.set, bytes);
    std::u32string wide;
    for (std::string_view rest = utf8; !rest.empty();) {
        const decoded next = decode_utf8(rest);
        wide += next.code;
        rest.remove_prefix(next.length);
    }
    return wide;
}

inline std::string from_wide(const environment &env, std::u32string_view wide)
{
    std::string utf8;
    for (const char32_t code : wide)
        put_utf8(code > 0x10ffff || is_high_surrogate(code) || is_low_surrogate(code) ? replacement : code,
                 &utf8);
    return from_utf8(env.set, utf8);
}

// Cases and classes of characters, whatever the process's own locale is.
char32_t fold_case(char32_t character, ub4 flag);

// -1, 0 or 1; with OCI_NLS_CASE_INSENSITIVE, capitals count as small letters.
int compare_wide(std::u32string_view a, std::u32string_view b, int flag);

} // namespace sqlite_oci
