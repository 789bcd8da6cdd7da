/*
 * Parameters and descriptions. Parameter descriptors are made by the backends; the manager's go with the
 * handle that they were got from.
 */
#include "written.h"

namespace
{

/* Records of an array execution: the program's error handle takes each in turn. */
sword get_batch_error(omx_handle *h, omx_handle *errh, void **parmdpp, ub4 pos)
{
    omx_handle *taken = omx_find(*parmdpp, OCI_HTYPE_ERROR);
    if (!taken)
        return OCI_INVALID_HANDLE;
    const ub1 backend = h->reported == omx_report_dravik ? omx_dravik : omx_oracle;
    OMX_NEED(OCIParamGet, backend, errh);
    void *own = taken->backend[backend];
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIParamGet[backend](h->backend[backend], OCI_HTYPE_ERROR,
                                                             omx_own<OCIError>(errh, backend), &own, pos));
    if (omx_succeeded(rc)) {
        omx_set_own(taken, backend, own);
        omx_reported(taken, backend);
    }
    return rc;
}

} // namespace

namespace written
{

sword OCIParamGet(const void *hndlp, ub4 htype, OCIError *errhp, void **parmdpp, ub4 pos)
{
    omx_handle *h = omx_find_typed(hndlp, htype);
    omx_handle *errh = nullptr;
    if (!h || !parmdpp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    if (htype == OCI_HTYPE_ERROR)
        return get_batch_error(h, errh, parmdpp, pos);
    const ub1 backend = h->run;
    OMX_NEED(OCIParamGet, backend, errh);
    void *own = nullptr;
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIParamGet[backend](h->backend[backend], htype,
                                                             omx_own<OCIError>(errh, backend), &own, pos));
    if (!omx_succeeded(rc) || !own)
        return rc;
    omx_handle *param = omx_find_child(h, OCI_DTYPE_PARAM, backend, own);
    if (!param)
        param = omx_wrap(OCI_DTYPE_PARAM, h->env, backend, own, h);
    if (!param)
        return omx_no_memory(errh);
    *parmdpp = param;
    return rc;
}

sword OCIParamSet(void *hdlp, ub4 htyp, OCIError *errhp, const void *dscp, ub4 dtyp, ub4 pos)
{
    omx_handle *h = omx_find_typed(hdlp, htyp);
    omx_handle *errh = nullptr;
    omx_handle *value = nullptr;
    if (!h || !omx_optional_error(errhp, &errh) || !omx_optional(dscp, omx_family(dtyp), &value))
        return OCI_INVALID_HANDLE;
    const ub1 backends = value ? h->targets & value->targets : h->targets;
    if (backends == omx_none)
        return omx_fail(errh, omx_error_wrong_backend,
                        "The descriptor belongs to %s, the handle that it is set on to %s.",
                        omx_backend_name(value ? value->run : h->run), omx_backend_name(h->run));
    sword result = OCI_ERROR;
    bool done = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(backends & omx_bit(backend)))
            continue;
        OMX_NEED(OCIParamSet, backend, errh);
        const sword rc =
            omx_calls.OCIParamSet[backend](h->backend[backend], htyp, omx_own<OCIError>(errh, backend),
                                           omx_own<void>(value, backend), dtyp, pos);
        if (!done || (omx_succeeded(rc) && !omx_succeeded(result)))
            result = omx_done(errh, backend, rc);
        done = true;
    }
    return result;
}

/* What was described before is gone with the backend's descriptors of it. */
sword OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, void *objptr, ub4 objnm_len, ub1 objptr_typ,
                     ub1 info_level, ub1 objtyp, OCIDescribe *dschp)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *dsch = omx_find(dschp, OCI_HTYPE_DESCRIBE);
    omx_handle *errh = nullptr;
    if (!svch || !dsch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCIDescribeAny, backend, errh);
    if (!dsch->backend[backend])
        return omx_fail(errh, omx_error_wrong_backend,
                        "The describe handle exists on %s only, the connection is to %s. Allocate it in an "
                        "environment that has both.",
                        omx_backend_name(1U - backend), omx_backend_name(backend));
    omx_release_children(dsch);
    const bool is_name = objptr_typ == OCI_OTYPE_NAME;
    const omx_text name(svch, backend, is_name ? (const OraText *)objptr : nullptr, is_name ? objnm_len : 0);
    const sword rc = omx_done(
        errh, backend,
        omx_calls.OCIDescribeAny[backend](omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend),
                                          is_name ? (void *)const_cast<OraText *>(name.text) : objptr,
                                          is_name ? name.length : objnm_len, objptr_typ, info_level, objtyp,
                                          omx_own<OCIDescribe>(dsch, backend)));
    omx_follow(dsch, backend);
    return rc;
}

} // namespace written
