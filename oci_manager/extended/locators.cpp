/*
 * Calls that are given variables or arrays of locators.
 */
#include <stdlib.h>

#include "written.h"

namespace
{

/* Where a locator has its value; before it has one, anywhere. */
ub1 backend_of_value(const omx_handle *h, ub1 otherwise)
{
    return h->current && !(h->current & omx_bit(otherwise)) ? omx_first(h->current) : otherwise;
}

/* Takes what a backend has put into its variable of a locator. */
void take_locator(omx_handle *h, ub1 backend, void *own)
{
    omx_set_own(h, backend, own);
    h->current = omx_bit(backend);
}

/* The character set of the program's buffers: on Dravik's side that of the environment is another. */
ub2 character_set(const omx_handle *svch, ub1 backend, ub2 csid)
{
    return csid == 0 && backend == omx_dravik && omx_environment_of(svch)->is_utf16 ? (ub2)OCI_UTF16ID : csid;
}

sword foreign_locator(omx_handle *errh, const char *call, ub1 backend)
{
    return omx_fail(errh, omx_error_foreign_value,
                    "%s runs on %s, but a locator came from %s. Read the LOB there and write it here.", call,
                    omx_backend_name(backend), omx_backend_name(1U - backend));
}

/* Copies a locator; `call` is given both of a backend's and may change the second. */
template <class Call>
sword assign(ub1 backend, omx_handle *errh, const OCILobLocator *src_locp, OCILobLocator **dst_locpp,
             const char *name, Call call)
{
    omx_handle *src = omx_find(src_locp, OCI_DTYPE_LOB);
    omx_handle *dst = dst_locpp ? omx_find(*dst_locpp, OCI_DTYPE_LOB) : nullptr;
    if (!src || !dst)
        return OCI_INVALID_HANDLE;
    if (!src->backend[backend] || !dst->backend[backend] ||
        (src->current && !(src->current & omx_bit(backend))))
        return foreign_locator(errh, name, backend);
    OCILobLocator *own = omx_own<OCILobLocator>(dst, backend);
    const sword rc = omx_done(errh, backend, call(omx_own<OCILobLocator>(src, backend), &own));
    if (omx_succeeded(rc))
        take_locator(dst, backend, own);
    return rc;
}

/* A backend's array for the program's array of locators; null: one is none, or memory is out. */
OCILobLocator **own_locators(OCILobLocator *const *locators, ub4 count, ub1 backend, omx_handle *errh,
                             sword *failure)
{
    OCILobLocator **own = (OCILobLocator **)calloc(count ? count : 1, sizeof *own);
    if (!own) {
        *failure = omx_no_memory(errh);
        return nullptr;
    }
    for (ub4 i = 0; i < count; i++) {
        const omx_handle *h = omx_find(locators[i], OCI_DTYPE_LOB);
        if (!h || (h->current && !(h->current & omx_bit(backend)))) {
            *failure = h ? foreign_locator(errh, "The call", backend) : OCI_INVALID_HANDLE;
            free(own);
            return nullptr;
        }
        own[i] = omx_own<OCILobLocator>(h, backend);
    }
    return own;
}

/*
 * Reads or writes an array of locators. Between the pieces of one transfer a backend may keep the array that
 * it was given, so it is kept with the service context until the transfer has ended.
 */
template <class Call>
sword transfer(OCISvcCtx *svchp, OCIError *errhp, const ub4 *array_iter, OCILobLocator **lobp_arr, Call call)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    omx_service *service = omx_service_of(svch);
    if (!service->locators) {
        sword failure = OCI_SUCCESS;
        service->locators =
            own_locators(lobp_arr, array_iter && lobp_arr ? *array_iter : 0, backend, errh, &failure);
        if (!service->locators)
            return failure;
    }
    const sword rc = call(svch, errh, backend, service->locators);
    if (rc != OCI_NEED_DATA) {
        free(service->locators);
        service->locators = nullptr;
    }
    return omx_done(errh, backend, rc);
}

} // namespace

namespace written
{

sword OCILobAssign(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *src_locp, OCILobLocator **dst_locpp)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    const omx_handle *src = omx_find(src_locp, OCI_DTYPE_LOB);
    omx_handle *errh = nullptr;
    if (!env || !src || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = backend_of_value(src, env->run);
    OMX_NEED(OCILobAssign, backend, errh);
    return assign(backend, errh, src_locp, dst_locpp, "OCILobAssign",
                  [&](const OCILobLocator *from, OCILobLocator **to) {
                      return omx_calls.OCILobAssign[backend](omx_own<OCIEnv>(env, backend),
                                                             omx_own<OCIError>(errh, backend), from, to);
                  });
}

sword OCILobLocatorAssign(OCISvcCtx *svchp, OCIError *errhp, const OCILobLocator *src_locp,
                          OCILobLocator **dst_locpp)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCILobLocatorAssign, backend, errh);
    return assign(backend, errh, src_locp, dst_locpp, "OCILobLocatorAssign",
                  [&](const OCILobLocator *from, OCILobLocator **to) {
                      return omx_calls.OCILobLocatorAssign[backend](
                          omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), from, to);
                  });
}

/* A file is only named here: its locator is good wherever the name could be set. */
sword OCILobFileSetName(OCIEnv *envhp, OCIError *errhp, OCILobLocator **filepp, const OraText *dir_alias,
                        ub2 d_length, const OraText *filename, ub2 f_length)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *h = filepp ? omx_find(*filepp, OCI_DTYPE_LOB) : nullptr;
    omx_handle *errh = nullptr;
    if (!env || !h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    sword result = OCI_ERROR;
    ub1 named = omx_none;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!h->backend[backend] || !env->backend[backend])
            continue;
        OMX_NEED(OCILobFileSetName, backend, errh);
        const omx_text alias(env, backend, dir_alias, d_length);
        const omx_text file(env, backend, filename, f_length);
        OCILobLocator *own = omx_own<OCILobLocator>(h, backend);
        const sword rc = omx_calls.OCILobFileSetName[backend](
            omx_own<OCIEnv>(env, backend), omx_own<OCIError>(errh, backend), &own, alias.text,
            (ub2)alias.length, file.text, (ub2)file.length);
        if (omx_succeeded(rc)) {
            omx_set_own(h, backend, own);
            if (named == omx_none)
                result = rc;
            named |= omx_bit(backend);
        } else if (named == omx_none) {
            result = omx_done(errh, backend, rc);
        }
    }
    if (named != omx_none)
        h->current = named;
    return result;
}

sword OCILobArrayRead(OCISvcCtx *svchp, OCIError *errhp, ub4 *array_iter, OCILobLocator **lobp_arr,
                      oraub8 *byte_amt_arr, oraub8 *char_amt_arr, oraub8 *offset_arr, void **bufp_arr,
                      oraub8 *bufl_arr, ub1 piece, void *ctxp, OCICallbackLobArrayRead cbfp, ub2 csid,
                      ub1 csfrm)
{
    return transfer(svchp, errhp, array_iter, lobp_arr,
                    [&](omx_handle *svch, omx_handle *errh, ub1 backend, OCILobLocator **own) -> sword {
                        OMX_NEED(OCILobArrayRead, backend, errh);
                        return omx_calls.OCILobArrayRead[backend](
                            omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), array_iter,
                            own, byte_amt_arr, char_amt_arr, offset_arr, bufp_arr, bufl_arr, piece, ctxp,
                            cbfp, character_set(svch, backend, csid), csfrm);
                    });
}

sword OCILobArrayWrite(OCISvcCtx *svchp, OCIError *errhp, ub4 *array_iter, OCILobLocator **lobp_arr,
                       oraub8 *byte_amt_arr, oraub8 *char_amt_arr, oraub8 *offset_arr, void **bufp_arr,
                       oraub8 *bufl_arr, ub1 piece, void *ctxp, OCICallbackLobArrayWrite cbfp, ub2 csid,
                       ub1 csfrm)
{
    return transfer(svchp, errhp, array_iter, lobp_arr,
                    [&](omx_handle *svch, omx_handle *errh, ub1 backend, OCILobLocator **own) -> sword {
                        OMX_NEED(OCILobArrayWrite, backend, errh);
                        return omx_calls.OCILobArrayWrite[backend](
                            omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), array_iter,
                            own, byte_amt_arr, char_amt_arr, offset_arr, bufp_arr, bufl_arr, piece, ctxp,
                            cbfp, character_set(svch, backend, csid), csfrm);
                    });
}

} // namespace written
