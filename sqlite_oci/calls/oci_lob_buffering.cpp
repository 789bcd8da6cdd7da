// The buffering of LOBs. What a program writes is collected anyway, see lob_changes, and its locators see it
// at once: to turn the buffering on only forbids what a server then forbids.
#include "calls/lob_call.h"

using namespace sqlite_oci;

namespace
{

sword set_buffering(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, bool is_on)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        call.locator.is_buffered = is_on;
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCILobEnableBuffering(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return set_buffering(svchp, errhp, locp, true);
}

SQLITE_OCI_EXPORT sword OCILobDisableBuffering(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return set_buffering(svchp, errhp, locp, false);
}

SQLITE_OCI_EXPORT sword OCILobFlushBuffer(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 flag)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        if (!call.locator.is_buffered)
            fail(ora_bad_lob_argument, "the buffering of the LOB is not enabled");
        if (flag > OCI_LOB_BUFFER_NOFREE)
            fail(ora_bad_lob_argument,
                 "a buffer is flushed with OCI_LOB_BUFFER_FREE or OCI_LOB_BUFFER_NOFREE");
        return OCI_SUCCESS;
    });
}

} // extern "C"
