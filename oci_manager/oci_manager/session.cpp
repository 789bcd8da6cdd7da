/*
 * Sessions: begun and ended on the backend of their service context. Beginning one binds the session handle
 * to that backend.
 */
#include "dispatch.h"

namespace
{

/* The last record of either call: failures name the backend. */
void trace_end(const char *function, ub4 target, sword rc, int line)
{
    trace_refresh();
    if (rc == OCI_SUCCESS)
        TRACE_AT(OM_LOG_INFO, line, "END FUNC - %s()\n\trc=%d", function, rc);
    else
        TRACE_AT(OM_LOG_ERROR, line, "END FUNC - %s(): %s\n\trc=%d", function,
                 target == OM_TARGET_ORACLE ? "ORACLE" : "DRAVIK", rc);
}

} // namespace

extern "C" {

OM_EXPORT sword OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, ub4 mode)
{
    TRACE_CALL("OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, ub4 mode)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tusrhp=%p\n\tcredt=%d\n\tmode=%d",
               svchp, errhp, usrhp, credt, mode);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp!=((void *)0)");
    om_handle_t *wusrhp = find_handle(usrhp, OCI_HTYPE_SESSION);
    REQUIRE(wusrhp, "wusrhp!=((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    sword rc = OCI_SUCCESS;
    if (check_run_for(wsvchp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCISessionBegin(svchp, errhp, usrhp, credt, mode);
        wusrhp->last_exec = OM_TARGET_ORACLE;
    } else if (check_run_for(wsvchp, OM_TARGET_DRAVIK)) {
        rc = dk_func_table.funcs.func_OCISessionBegin(twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp),
                                                      twin<OCISession>(wusrhp), credt, mode);
        wusrhp->last_exec = OM_TARGET_DRAVIK;
    } else {
        STOP_BECAUSE("There is no available service handle");
    }

    const ub4 target = wusrhp->last_exec;
    trace_end(__func__, target, rc, __LINE__);
    return reported(werrhp, target, rc);
}

OM_EXPORT sword OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode)
{
    TRACE_CALL("OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tusrhp=%p\n\tmode=%d",
               svchp, errhp, usrhp, mode);

    // Traces show the service context of this call under the server type.
    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SERVER);
    REQUIRE(wsvchp, "wsvchp!=((void *)0)");
    const om_handle_t *wusrhp = find_handle(usrhp, OCI_HTYPE_SESSION);
    REQUIRE(wusrhp, "wusrhp!=((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    sword rc = OCI_SUCCESS;
    ub4 target = OM_TARGET_ORACLE;
    if (check_run_for(wsvchp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCISessionEnd(svchp, errhp, usrhp, mode);
    } else if (check_run_for(wsvchp, OM_TARGET_DRAVIK)) {
        target = OM_TARGET_DRAVIK;
        rc = dk_func_table.funcs.func_OCISessionEnd(twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp),
                                                    twin<OCISession>(wusrhp), mode);
    } else {
        STOP_BECAUSE("There is no available service handle");
    }

    trace_end(__func__, target, rc, __LINE__);
    return reported(werrhp, target, rc);
}

} // extern "C"
