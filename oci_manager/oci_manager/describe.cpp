/*
 * Describing objects and select lists. Parameter descriptors are made by the backends, and get their
 * wrappers here.
 */
#include "dispatch.h"

extern "C" {

/* Served by Oracle alone: what it describes is then known there only. */
OM_EXPORT sword OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, void *objptr, ub4 objnm_len, ub1 objptr_typ,
                               ub1 info_level, ub1 objtyp, OCIDescribe *dschp)
{
    TRACE_CALL(
        "OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, dvoid *objptr, ub4 objnm_len, ub1 objptr_typ, "
        "ub1 info_level, ub1 objtyp, OCIDescribe *dschp)"
        "\n\tsvchp=%p\n\terrhp=%p\n\tobjptr=%p\n\tobjnm_len=%d\n\tobjptr_typ=%d\n\tinfo_level=%d"
        "\n\tobjtyp=%d\n\tdschp=%p",
        svchp, errhp, objptr, objnm_len, objptr_typ, info_level, objtyp, dschp);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *wdschp = find_handle_if_given(dschp, OCI_HTYPE_DESCRIBE);
    REQUIRE(wdschp, "dschp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (!check_run_for(wsvchp, OM_TARGET_ORACLE))
        STOP_BECAUSE("There is no available svc handle");

    const sword rc = reported(werrhp, OM_TARGET_ORACLE,
                              ora_func_table.funcs.func_OCIDescribeAny(
                                  svchp, errhp, objptr, objnm_len, objptr_typ, info_level, objtyp, dschp));
    wdschp->last_exec = OM_TARGET_ORACLE;
    trace_refresh();
    if (rc == OCI_SUCCESS)
        TRACE(OM_LOG_INFO, "END FUNC - OCIDescribeAny()\n\treturn rc=%d", rc);
    else
        TRACE(OM_LOG_ERROR, "END FUNC - OCIDescribeAny(): ORACLE\n\treturn rc=%d", rc);
    return rc;
}

/* Asking an error handle, as programs do for the records of a batch, is refused. */
OM_EXPORT sword OCIParamGet(const void *hndlp, ub4 htype, OCIError *errhp, void **parmdpp, ub4 pos)
{
    TRACE_CALL("OCIParamGet(CONST dvoid *hndlp, ub4 htype, OCIError *errhp, dvoid **parmdpp, ub4 pos)"
               "\n\thndlp=%p\n\thtype=%d\n\terrhp=%p\n\tparmdpp=%p\n\tpos=%d",
               hndlp, htype, errhp, parmdpp, pos);

    om_handle_t *whndlp = nullptr;
    if (htype == OCI_DTYPE_PARAM)
        whndlp = find_descriptor(hndlp, htype);
    else if (htype == OCI_HTYPE_ERROR)
        REQUIRE(value_of(parmdpp), "(*parmdpp) != ((void *)0)");
    else
        whndlp = find_handle(hndlp, htype);
    REQUIRE(whndlp, "whndlp!=((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wparmdpp = find_descriptor_if_given(value_of(parmdpp), OCI_DTYPE_PARAM);
    const bool is_new = !wparmdpp;
    if (is_new) {
        wparmdpp = new_wrapper(OCI_DTYPE_PARAM, OM_STATE_BY_CALL);
        REQUIRE(wparmdpp, "wparmdpp != ((void *)0)");
    }

    sword rc = OCI_SUCCESS;
    if (check_run_for(whndlp, OM_TARGET_ORACLE)) {
        rc = reported(werrhp, OM_TARGET_ORACLE,
                      ora_func_table.funcs.func_OCIParamGet(hndlp, htype, errhp, parmdpp, pos));
        set_wrapper_key(wparmdpp, value_of(parmdpp));
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            if (is_new)
                free_wrapper(wparmdpp);
            TRACE(OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamGet() returns error(%d)", rc);
            return rc;
        }
        wparmdpp->last_exec |= OM_TARGET_ORACLE;
    }
    if (check_run_for(whndlp, OM_TARGET_DRAVIK)) {
        rc = reported(werrhp, OM_TARGET_DRAVIK,
                      dk_func_table.funcs.func_OCIParamGet(whndlp->dk_hndlp, htype, twin<OCIError>(werrhp),
                                                           &wparmdpp->dk_hndlp, pos));
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            if (is_new) {
                ora_func_table.funcs.func_OCIDescriptorFree(wparmdpp->ora_hndlp, OCI_DTYPE_PARAM);
                free_wrapper(wparmdpp);
            }
            TRACE(OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamGet() returns error(%d)", rc);
            return rc;
        }
        wparmdpp->last_exec |= OM_TARGET_DRAVIK;
    }

    if (is_new) {
        // Every parameter points at the statement or describe handle that it came from, however deep it lies.
        wparmdpp->parenthp = htype == OCI_DTYPE_PARAM ? whndlp->parenthp : whndlp;
        enter_descriptor(wparmdpp, OCI_DTYPE_PARAM);
    }
    TRACE(OM_LOG_INFO, "END FUNC - OCIParamGet()\n\treturn rc=%d\n\t*parmdpp=%p", OCI_SUCCESS,
          value_of(parmdpp));
    return rc;
}

OM_EXPORT sword OCIParamSet(void *hdlp, ub4 htyp, OCIError *errhp, const void *dscp, ub4 dtyp, ub4 pos)
{
    TRACE_CALL("OCIParamSet(dvoid *hdlp, ub4 htyp, OCIError *errhp, CONST dvoid *dscp, ub4 dtyp, ub4 pos)"
               "\n\thdlp=%p\n\thtyp=%d\n\terrhp=%p\n\tdscp=%p\n\tdtyp=%d\n\tpos=%d",
               hdlp, htyp, errhp, dscp, dtyp, pos);

    const om_handle_t *whdlp = find_handle(hdlp, htyp);
    REQUIRE(whdlp, "whdlp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    const om_handle_t *wdscp = find_descriptor_if_given(dscp, dtyp);

    sword rc = OCI_SUCCESS;
    if (check_run_for(whdlp, OM_TARGET_ORACLE)) {
        rc = reported(werrhp, OM_TARGET_ORACLE,
                      ora_func_table.funcs.func_OCIParamSet(hdlp, htyp, errhp, dscp, dtyp, pos));
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            TRACE(OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamSet() returns error(%d)", rc);
            return rc;
        }
    }
    if (check_run_for(whdlp, OM_TARGET_DRAVIK)) {
        rc = reported(werrhp, OM_TARGET_DRAVIK,
                      dk_func_table.funcs.func_OCIParamSet(whdlp->dk_hndlp, htyp, twin<OCIError>(werrhp),
                                                           twin<void>(wdscp), dtyp, pos));
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            TRACE(OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamSet() returns error(%d)", rc);
            return rc;
        }
    }
    TRACE(OM_LOG_INFO, "END FUNC - OCIParamSet()\n\treturn rc=%d", rc);
    return rc;
}

} // extern "C"
