/*
 * A client library of a dozen calls that takes no lock and no memory, so that it may be called anywhere: what
 * goes wrong in a signal handler, in a forked child or without memory is then the manager's doing. It lacks
 * all other names of the OCI.
 */
#include "bare_backend.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

namespace
{

alignas(64) char handles[1 << 24];
unsigned long next_handle;

/* A new one each time; the tests need fewer than there are. */
sword new_handle(void **variable)
{
    *variable =
        handles + 64 * (__atomic_fetch_add(&next_handle, 1, __ATOMIC_RELAXED) % (sizeof handles / 64));
    return OCI_SUCCESS;
}

/* Of calls at the same time, one's is kept. */
void keep_text(const OraText *text, sb4 length)
{
    static bool is_busy;
    if (__atomic_exchange_n(&is_busy, true, __ATOMIC_ACQUIRE))
        return;
    bare_received.calls++;
    bare_received.length = length;
    const auto *bytes = reinterpret_cast<const char *>(text);
    std::size_t size = text == nullptr ? 0
                       : length < 0    ? std::strlen(bytes)
                                       : static_cast<std::size_t>(length);
    size = std::min(size, sizeof bare_received.text - 1);
    if (size != 0)
        std::memcpy(bare_received.text, bytes, size);
    bare_received.text[size] = '\0';
    __atomic_store_n(&is_busy, false, __ATOMIC_RELEASE);
}

} // namespace

extern "C" {

bare_received_text bare_received;

sword OCIEnvCreate(OCIEnv **envp, ub4, void *ctxp, void *(*malocfp)(void *, size_t),
                   void *(*)(void *, void *, size_t), void (*)(void *, void *), size_t, void **)
{
    if (malocfp)
        malocfp(ctxp, 64);
    return new_handle(reinterpret_cast<void **>(envp));
}

sword OCIHandleAlloc(const void *, void **hndlpp, const ub4, const size_t, void **)
{
    return new_handle(hndlpp);
}

sword OCIDescriptorAlloc(const void *, void **descpp, const ub4, const size_t, void **)
{
    return new_handle(descpp);
}

/* Oracle's refuses every link, so that Dravik's gets them all. */
sword OCIServerAttach(OCIServer *, OCIError *, const OraText *dblink, sb4 dblink_len, ub4)
{
    if (BARE_LIBRARY == 1)
        return OCI_ERROR;
    keep_text(dblink, dblink_len);
    return OCI_SUCCESS;
}

sword OCIErrorGet(void *, ub4, OraText *, sb4 *, OraText *, ub4, ub4)
{
    return OCI_NO_DATA;
}

sword OCIStmtPrepare(OCIStmt *, OCIError *, const OraText *stmt, ub4 stmt_len, ub4, ub4)
{
    keep_text(stmt, static_cast<sb4>(stmt_len));
    return OCI_SUCCESS;
}

sword OCIBindByName(OCIStmt *, OCIBind **bindp, OCIError *, const OraText *placeholder, sb4 placeh_len,
                    void *, sb4, ub2, void *, ub2 *, ub2 *, ub4, ub4 *, ub4)
{
    keep_text(placeholder, placeh_len);
    return new_handle(reinterpret_cast<void **>(bindp));
}

sword OCITransCommit(OCISvcCtx *, OCIError *, ub4)
{
    return OCI_SUCCESS;
}

/* Waits for ever, as for a server; the thread may be cancelled there. */
sword OCITransRollback(OCISvcCtx *, OCIError *, ub4)
{
    for (;;)
        pause();
}

sword OCIBreak(void *, OCIError *)
{
    return OCI_SUCCESS;
}

sword OCILobRead(OCISvcCtx *, OCIError *, OCILobLocator *, ub4 *, ub4, void *, ub4, void *ctxp,
                 OCICallbackLobRead cbfp, ub2, ub1)
{
    return cbfp(ctxp, "piece", 5, OCI_ONE_PIECE);
}

} // extern "C"
