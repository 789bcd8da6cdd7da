/*
 * Allocation and release of handles and descriptors, each together with those of the backends.
 */
#include <stdlib.h>

#include "trace_log.h"
#include "written.h"

namespace
{

/* The calls of handles and of descriptors are alike. */
using allocate_call = sword (*)(const void *, void **, const ub4, const size_t, void **);
using free_call = sword (*)(void *, const ub4);

/*
 * Makes a handle in each backend of its parent. What one backend cannot make, the other may: the handle then
 * serves connections to that other one.
 */
sword allocate(const allocate_call (&entry)[omx_backend_count], const void *parenth, void **hndlpp, ub4 type,
               size_t xtramem_sz, void **usrmempp)
{
    const omx_handle *parent = omx_find_any(parenth);
    if (!parent || !hndlpp)
        return OCI_INVALID_HANDLE;
    omx_handle *h = omx_new(type, parent->env);
    if (!h)
        return OCI_ERROR;
    if (type == OCI_HTYPE_SVCCTX) {
        h->extra = calloc(1, sizeof(omx_service));
        if (!h->extra) {
            omx_release(h);
            return OCI_ERROR;
        }
    }
    sword result = OCI_ERROR;
    bool made = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(parent->targets & omx_bit(backend)) || !entry[backend])
            continue;
        const sword rc = entry[backend](parent->backend[backend], &h->backend[backend], type,
                                        made ? 0 : xtramem_sz, made ? nullptr : usrmempp);
        if (!omx_succeeded(rc))
            omx_set_own(h, backend, nullptr);
        if (!made && (omx_succeeded(rc) || result == OCI_ERROR))
            result = rc;
        made = made || omx_succeeded(rc);
    }
    if (!made) {
        omx_release(h);
        return result;
    }
    omx_publish(h);
    *hndlpp = h;
    return result;
}

/* Service contexts whose server goes are without one. */
void forget_server(omx_handle *srvh)
{
    omx_each(
        OCI_HTYPE_SVCCTX, srvh->env,
        [](omx_handle *svch, void *context) {
            if (omx_owner(svch) == context) {
                omx_set_owner(svch, nullptr);
                omx_unbind(svch);
            }
        },
        srvh);
}

} // namespace

namespace written
{

sword OCIHandleAlloc(const void *parenth, void **hndlpp, const ub4 type, const size_t xtramem_sz,
                     void **usrmempp)
{
    omx_look_at_control_file();
    return allocate(omx_calls.OCIHandleAlloc, parenth, hndlpp, type, xtramem_sz, usrmempp);
}

sword OCIDescriptorAlloc(const void *parenth, void **descpp, const ub4 type, const size_t xtramem_sz,
                         void **usrmempp)
{
    return allocate(omx_calls.OCIDescriptorAlloc, parenth, descpp, type, xtramem_sz, usrmempp);
}

/* Whatever the backends say: the handle is gone. */
sword OCIHandleFree(void *hndlp, const ub4 type)
{
    omx_handle *h = omx_find_typed(hndlp, type);
    if (!h || !omx_claim(h))
        return OCI_INVALID_HANDLE;
    if (type == OCI_HTYPE_SERVER)
        forget_server(h);
    sword result = OCI_SUCCESS;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!h->backend[backend] || !omx_calls.OCIHandleFree[backend])
            continue;
        const sword rc = omx_calls.OCIHandleFree[backend](h->backend[backend], type);
        if (result == OCI_SUCCESS)
            result = rc;
    }
    if (type == OCI_HTYPE_ENV)
        omx_release_environment(h);
    else
        omx_release(h);
    return result;
}

/* A descriptor that a backend refuses to free stays, so that the program can try again. */
sword OCIDescriptorFree(void *descp, const ub4 type)
{
    omx_handle *h = omx_find_typed(descp, type);
    if (!h || !omx_claim(h))
        return OCI_INVALID_HANDLE;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!h->backend[backend] || !omx_calls.OCIDescriptorFree[backend])
            continue;
        const sword rc = omx_calls.OCIDescriptorFree[backend](h->backend[backend], type);
        if (!omx_succeeded(rc)) {
            omx_restore(h);
            return rc;
        }
        omx_set_own(h, backend, nullptr);
    }
    omx_remove_child(h);
    omx_release(h);
    return OCI_SUCCESS;
}

} // namespace written
