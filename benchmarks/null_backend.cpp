/*
 * A client library that does nothing as fast as can be: every call succeeds at once. What is left of a call
 * through libdkom.so, beside a call straight into this, is what going through costs.
 */
#include <cstdlib>
#include <cstring>

#include <oci.h>

namespace
{

constexpr size_t handle_size = 64;

/* Binds and defines need an address only. */
char bind_handle[handle_size];
char define_handle[handle_size];
char server_handle[handle_size];

sword allocate(void **hndlpp)
{
    *hndlpp = std::malloc(handle_size);
    return *hndlpp ? OCI_SUCCESS : OCI_ERROR;
}

} // namespace

// Each definition takes the published prototype, so only what it answers is said here.
#define SUCCEED(declaration)                                                                                 \
    sword declaration                                                                                        \
    {                                                                                                        \
        return OCI_SUCCESS;                                                                                  \
    }

extern "C" {

sword OCIEnvCreate(OCIEnv **envp, ub4, void *, void *(*)(void *, size_t), void *(*)(void *, void *, size_t),
                   void (*)(void *, void *), size_t, void **)
{
    return allocate((void **)envp);
}

sword OCIHandleAlloc(const void *, void **hndlpp, const ub4, const size_t, void **)
{
    return allocate(hndlpp);
}

sword OCIHandleFree(void *hndlp, const ub4)
{
    std::free(hndlp);
    return OCI_SUCCESS;
}

sword OCIDescriptorAlloc(const void *, void **descpp, const ub4, const size_t, void **)
{
    return allocate(descpp);
}

// Dravik is handed the descriptors of the Oracle library, so whose they are cannot be told here: they leak.
SUCCEED(OCIDescriptorFree(void *, const ub4))

sword OCIBindByPos(OCIStmt *, OCIBind **bindp, OCIError *, ub4, void *, sb4, ub2, void *, ub2 *, ub2 *, ub4,
                   ub4 *, ub4)
{
    *bindp = (OCIBind *)(void *)bind_handle;
    return OCI_SUCCESS;
}

sword OCIBindByName(OCIStmt *, OCIBind **bindp, OCIError *, const OraText *, sb4, void *, sb4, ub2, void *,
                    ub2 *, ub2 *, ub4, ub4 *, ub4)
{
    *bindp = (OCIBind *)(void *)bind_handle;
    return OCI_SUCCESS;
}

sword OCIDefineByPos(OCIStmt *, OCIDefine **defnp, OCIError *, ub4, void *, sb4, ub2, void *, ub2 *, ub2 *,
                     ub4)
{
    *defnp = (OCIDefine *)(void *)define_handle;
    return OCI_SUCCESS;
}

SUCCEED(OCIServerAttach(OCIServer *, OCIError *, const OraText *, sb4, ub4))
SUCCEED(OCIAttrSet(void *, ub4, void *, ub4, ub4, OCIError *))

// Of a service context programs read the server, which is always the same.
sword OCIAttrGet(const void *, ub4 trghndltyp, void *attributep, ub4 *, ub4, OCIError *)
{
    if (trghndltyp == OCI_HTYPE_SVCCTX)
        *(void **)attributep = server_handle;
    return OCI_SUCCESS;
}

SUCCEED(OCIStmtPrepare(OCIStmt *, OCIError *, const OraText *, ub4, ub4, ub4))
SUCCEED(OCIStmtExecute(OCISvcCtx *, OCIStmt *, OCIError *, ub4, ub4, const OCISnapshot *, OCISnapshot *, ub4))
SUCCEED(OCIStmtFetch(OCIStmt *, OCIError *, ub4, ub2, ub4))
SUCCEED(OCIStmtFetch2(OCIStmt *, OCIError *, ub4, ub2, sb4, ub4))
SUCCEED(OCITransCommit(OCISvcCtx *, OCIError *, ub4))
SUCCEED(OCILobRead(OCISvcCtx *, OCIError *, OCILobLocator *, ub4 *, ub4, void *, ub4, void *,
                   OCICallbackLobRead, ub2, ub1))
SUCCEED(OCINumberFromInt(OCIError *, const void *, uword, uword, OCINumber *))
SUCCEED(OCIDateAddDays(OCIError *, const OCIDate *, sb4, OCIDate *))

} // extern "C"
