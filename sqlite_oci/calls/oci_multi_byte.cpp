// Strings in the environment's character set. Lengths are in bytes and characters are never cut.
#include "calls/nls_call.h"

using namespace sqlite_oci;

namespace
{

constexpr std::size_t all = static_cast<std::size_t>(-1);

std::size_t put(const environment &env, OraText *target, std::string_view text)
{
    std::memmove(target, text.data(), text.size());
    std::memset(target + text.size(), 0, terminator_of(env));
    return text.size();
}

std::string_view start(const environment &env, const OraText *text, std::size_t most)
{
    const std::string_view whole = terminated(env, text);
    return most >= whole.size() ? whole : whole.substr(0, cut(env.set, whole, most));
}

std::size_t append(void *handle, OraText *target, const OraText *source, std::size_t most, bool behind)
{
    return nls_value(handle, std::size_t{0}, [&](const environment &env) -> std::size_t {
        if (!target || !source)
            return 0;
        const std::size_t before = behind ? terminated(env, target).size() : 0;
        return before + put(env, target + before, start(env, source, most));
    });
}

int compare(void *handle, const OraText *a, std::size_t most_a, const OraText *b, std::size_t most_b,
            int flag)
{
    return nls_value(handle, 0, [&](const environment &env) {
        return compare_wide(to_wide(env, start(env, a, most_a)), to_wide(env, start(env, b, most_b)), flag);
    });
}

// Copies what fits; *told is how much that is. A terminator is copied where there is room for it.
template <class Target, class Text>
sword copy(Target *target, std::size_t room, const Text &text, std::size_t *told)
{
    if (!target)
        throw invalid_handle{};
    const std::size_t copied = std::min(room, text.size());
    std::memcpy(target, text.data(), copied * sizeof *target);
    if (told)
        *told = copied;
    return OCI_SUCCESS;
}

sword widen(void *envhp, OCIWchar *dst, std::size_t room, const OraText *src, std::size_t size,
            std::size_t *rsize)
{
    return served(nullptr, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        std::u32string wide = to_wide(env, start(env, src, size));
        wide += U'\0';
        return copy(dst, room, wide, rsize);
    });
}

sword narrow(void *envhp, OraText *dst, std::size_t room, const OCIWchar *src, std::size_t size,
             std::size_t *rsize)
{
    return served(nullptr, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        std::string text = from_wide(env, terminated(src).substr(0, size));
        if (text.size() > room)
            text.resize(cut(env.set, text, room));
        if (room - text.size() >= terminator_of(env))
            text.append(terminator_of(env), '\0');
        return copy(dst, room, text, rsize);
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIMultiByteToWideChar(void *envhp, OCIWchar *dst, const OraText *src, size_t *rsize)
{
    return widen(envhp, dst, all, src, all, rsize);
}

SQLITE_OCI_EXPORT sword OCIMultiByteInSizeToWideChar(void *envhp, OCIWchar *dst, size_t dstsz,
                                                     const OraText *src, size_t srcsz, size_t *rsize)
{
    return widen(envhp, dst, dstsz, src, srcsz, rsize);
}

SQLITE_OCI_EXPORT sword OCIWideCharToMultiByte(void *envhp, OraText *dst, const OCIWchar *src, size_t *rsize)
{
    return narrow(envhp, dst, all, src, all, rsize);
}

SQLITE_OCI_EXPORT sword OCIWideCharInSizeToMultiByte(void *envhp, OraText *dst, size_t dstsz,
                                                     const OCIWchar *src, size_t srcsz, size_t *rsize)
{
    return narrow(envhp, dst, dstsz, src, srcsz, rsize);
}

SQLITE_OCI_EXPORT int OCIMultiByteStrcmp(void *envhp, const OraText *str1, const OraText *str2, int flag)
{
    return compare(envhp, str1, all, str2, all, flag);
}

SQLITE_OCI_EXPORT int OCIMultiByteStrncmp(void *envhp, const OraText *str1, size_t len1, OraText *str2,
                                          size_t len2, int flag)
{
    return compare(envhp, str1, len1, str2, len2, flag);
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrcat(void *envhp, OraText *dststr, const OraText *srcstr)
{
    return append(envhp, dststr, srcstr, all, true);
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrncat(void *envhp, OraText *dststr, const OraText *srcstr, size_t n)
{
    return append(envhp, dststr, srcstr, n, true);
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrcpy(void *envhp, OraText *dststr, const OraText *srcstr)
{
    return append(envhp, dststr, srcstr, all, false);
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrncpy(void *envhp, OraText *dststr, const OraText *srcstr, size_t n)
{
    return append(envhp, dststr, srcstr, n, false);
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrlen(void *envhp, const OraText *str)
{
    return nls_value(envhp, std::size_t{0},
                     [&](const environment &env) { return terminated(env, str).size(); });
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrnDisplayLength(void *envhp, const OraText *str1, size_t n)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &env) {
        std::size_t columns = 0;
        for (const char32_t character : to_wide(env, start(env, str1, n)))
            columns += OCIWideCharDisplayLength(envhp, character);
        return columns;
    });
}

SQLITE_OCI_EXPORT size_t OCIMultiByteStrCaseConversion(void *envhp, OraText *dststr, const OraText *srcstr,
                                                       ub4 flag)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &env) -> std::size_t {
        if (!dststr)
            return 0;
        std::u32string text = to_wide(env, terminated(env, srcstr));
        for (char32_t &character : text)
            character = fold_case(character, flag);
        return put(env, dststr, from_wide(env, text));
    });
}

} // extern "C"
