// LOBs: length, trim and erase, in both widths.
#include "calls/lob_buffers.h"

#include <algorithm>

using namespace sqlite_oci;

namespace
{

template <class Length> sword get_length(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Length *lenp)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        if (!lenp)
            refuse("there is no place for the length");
        call.check_unbuffered();
        *lenp = static_cast<Length>(call.content().length());
        return OCI_SUCCESS;
    });
}

sword trim(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 length)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.check_unbuffered();
        call.check_writable();
        if (length > call.content().length())
            fail(22926, "the LOB is shorter than the length to trim it to");
        call.change().trim(length);
        return OCI_SUCCESS;
    });
}

// Erased text becomes blanks, erased bytes zero; the length stays.
template <class Amount>
sword erase(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Amount *amount, oraub8 offset)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        if (!amount)
            refuse("there is no amount");
        call.check_unbuffered();
        call.check_writable();
        const std::size_t start = from_first(offset);
        const lob_content &content = call.content();
        const std::size_t length = content.length();
        const std::size_t erased = start < length ? std::min<std::size_t>(*amount, length - start) : 0;
        if (erased)
            call.change().write(start, std::string(erased, content.is_text() ? ' ' : '\0'));
        *amount = static_cast<Amount>(erased);
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)
{
    return get_length(svchp, errhp, locp, lenp);
}

SQLITE_OCI_EXPORT sword OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)
{
    return get_length(svchp, errhp, locp, lenp);
}

SQLITE_OCI_EXPORT sword OCILobTrim(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 newlen)
{
    return trim(svchp, errhp, locp, newlen);
}

SQLITE_OCI_EXPORT sword OCILobTrim2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 newlen)
{
    return trim(svchp, errhp, locp, newlen);
}

SQLITE_OCI_EXPORT sword OCILobErase(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amount,
                                    ub4 offset)
{
    return erase(svchp, errhp, locp, amount, offset);
}

SQLITE_OCI_EXPORT sword OCILobErase2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *amount,
                                     oraub8 offset)
{
    return erase(svchp, errhp, locp, amount, offset);
}

} // extern "C"
