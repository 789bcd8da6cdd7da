// Conversion between character sets, and their names.
#include "calls/nls_call.h"
#include "text/text_scan.h"

#include <cstdlib>

using namespace sqlite_oci;

namespace
{

constexpr int ora_buffer_too_small = 1877;

struct charset_names {
    std::string_view server, internet;
};

constexpr charset_names names[] = {{"US7ASCII", "US-ASCII"},
                                   {"WE8ISO8859P1", "ISO-8859-1"},
                                   {"AL32UTF8", "UTF-8"},
                                   {"UTF8", "CESU-8"},
                                   {"UTF16", "UTF-16"}};

charset required_set(ub2 id)
{
    const auto set = charset_from_id(id);
    if (!set)
        fail(12715, "character set %u is not supported", id);
    return *set;
}

// Bytes of one set in another. Remembers whether a character had to be replaced.
std::string convert(environment &env, charset from, charset to, std::string_view bytes)
{
    const std::string utf8 = to_utf8(from, bytes);
    std::string converted = from_utf8(to, utf8);
    env.has_replaced = from_utf8(from, utf8) != bytes || to_utf8(to, converted) != utf8;
    return converted;
}

// Copies whole characters as far as they fit. With a room of 0, *told is what the whole would take.
sword copy(charset set, std::string_view bytes, void *target, std::size_t room, std::size_t unit,
           std::size_t *told)
{
    if (room == 0 && told) {
        *told = bytes.size() / unit;
        return OCI_SUCCESS;
    }
    if (!target)
        fail(ora_buffer_too_small, "there is no buffer for the text");
    const std::size_t copied = bytes.size() <= room ? bytes.size() : cut(set, bytes, room);
    std::memcpy(target, bytes.data(), copied);
    if (told)
        *told = copied / unit;
    if (copied < bytes.size())
        fail(ora_buffer_too_small, "the buffer is too small: the text takes %zu bytes", bytes.size());
    return OCI_SUCCESS;
}

std::string_view bytes_at(const void *text, std::size_t size)
{
    return text ? std::string_view(static_cast<const char *>(text), size) : std::string_view();
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCINlsCharSetConvert(void *envhp, OCIError *errhp, ub2 dstid, void *dstp,
                                             size_t dstlen, ub2 srcid, const void *srcp, size_t srclen,
                                             size_t *rsize)
{
    return served(errhp, [&](call_errors) {
        environment &env = required_nls_environment(envhp);
        const charset to = required_set(dstid), from = required_set(srcid);
        return copy(to, convert(env, from, to, bytes_at(srcp, srclen)), dstp, dstlen, 1, rsize);
    });
}

SQLITE_OCI_EXPORT sword OCICharSetToUnicode(void *envhp, ub2 *dst, size_t dstlen, const OraText *src,
                                            size_t srclen, size_t *rsize)
{
    return served(nullptr, [&](call_errors) {
        environment &env = required_nls_environment(envhp);
        return copy(charset::utf16, convert(env, env.set, charset::utf16, bytes_at(src, srclen)), dst,
                    dstlen * sizeof *dst, sizeof *dst, rsize);
    });
}

SQLITE_OCI_EXPORT sword OCIUnicodeToCharSet(void *envhp, OraText *dst, size_t dstlen, const ub2 *src,
                                            size_t srclen, size_t *rsize)
{
    return served(nullptr, [&](call_errors) {
        environment &env = required_nls_environment(envhp);
        return copy(env.set, convert(env, charset::utf16, env.set, bytes_at(src, srclen * sizeof *src)), dst,
                    dstlen, 1, rsize);
    });
}

SQLITE_OCI_EXPORT int OCICharSetConversionIsReplacementUsed(void *envhp)
{
    return nls_value(envhp, 0, [](const environment &env) { return env.has_replaced ? 1 : 0; });
}

// Names of character sets only.
SQLITE_OCI_EXPORT sword OCINlsNameMap(void *envhp, OraText *buf, size_t buflen, const OraText *srcbuf,
                                      ub4 flag)
{
    return served(nullptr, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        if (flag != OCI_NLS_CS_IANA_TO_ORA && flag != OCI_NLS_CS_ORA_TO_IANA)
            fail(3001, "names of languages and territories are not mapped");
        const std::string wanted = env.terminated_text_in(srcbuf);
        for (const charset_names &known : names) {
            const bool to_server = flag == OCI_NLS_CS_IANA_TO_ORA;
            if (!equal_ignoring_case(wanted, to_server ? known.internet : known.server))
                continue;
            env.copy_out(to_server ? known.server : known.internet, buf, buflen);
            return OCI_SUCCESS;
        }
        fail(12715, "character set %s is not supported", wanted.c_str());
    });
}

// The character sets that environments have which name none: UTF-8, whatever the process's variables say.
SQLITE_OCI_EXPORT sword OCINlsEnvironmentVariableGet(void *valp, size_t size, ub2 item, ub2, size_t *rsize)
{
    if (!valp || size < sizeof(ub2) || (item != OCI_NLS_CHARSET_ID && item != OCI_NLS_NCHARSET_ID))
        return OCI_ERROR;
    const ub2 id = charset_id(charset::utf8);
    std::memcpy(valp, &id, sizeof id);
    if (rsize)
        *rsize = sizeof id;
    return OCI_SUCCESS;
}

} // extern "C"
