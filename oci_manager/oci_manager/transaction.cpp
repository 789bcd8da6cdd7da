/*
 * Calls on a live connection: transactions, server version and break. None of them traces its result.
 */
#include "dispatch.h"

extern "C" {

OM_EXPORT sword OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)
{
    TRACE_CALL("OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tflags=%d",
               svchp, errhp, flags);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return reported(werrhp, OM_TARGET_ORACLE,
                        ora_func_table.funcs.func_OCITransCommit(svchp, errhp, flags));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return reported(
            werrhp, OM_TARGET_DRAVIK,
            dk_func_table.funcs.func_OCITransCommit(twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp), flags));
    STOP_BECAUSE("There is no available svc handle");
}

OM_EXPORT sword OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)
{
    TRACE_CALL("OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tflags=%d",
               svchp, errhp, flags);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp!=((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return reported(werrhp, OM_TARGET_ORACLE,
                        ora_func_table.funcs.func_OCITransRollback(svchp, errhp, flags));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return reported(werrhp, OM_TARGET_DRAVIK,
                        dk_func_table.funcs.func_OCITransRollback(twin<OCISvcCtx>(wsvchp),
                                                                  twin<OCIError>(werrhp), flags));
    STOP_BECAUSE("There is no available svc handle");
}

/* For connections to Oracle only. */
OM_EXPORT sword OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword timeout, ub4 flags)
{
    TRACE_CALL("OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword timeout, ub4 flags)"
               "\n\tsvchp=%p\n\terrhp=%p\n\ttimeout=%p\n\tflags=%d",
               svchp, errhp, (void *)(size_t)timeout, flags);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return reported(werrhp, OM_TARGET_ORACLE,
                        ora_func_table.funcs.func_OCITransStart(svchp, errhp, timeout, flags));
    STOP_BECAUSE("There is no available svc handle");
}

/* Always Oracle's answer. The trace shows what the program's buffer holds before the call. */
OM_EXPORT sword OCIServerVersion(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)
{
    TRACE_CALL("OCIServerVersion(dvoid *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)"
               "\n\thndlp=%p\n\terrhp=%p\n\tbufp=%.*s\n\tbufsz=%d\n\thndltype=%d",
               hndlp, errhp, TRACE_TEXT(bufp), bufsz, hndltype);

    const om_handle_t *whndlp = find_handle(hndlp, OCI_HTYPE_SVCCTX);
    REQUIRE(whndlp, "whndlp != ((void *)0)");
    find_handle(errhp, OCI_HTYPE_ERROR); // shows in the trace whether the error handle is known
    return ora_func_table.funcs.func_OCIServerVersion(hndlp, errhp, bufp, bufsz, hndltype);
}

/*
 * Programs call this from signal handlers: nothing in its way locks or takes memory, at any trace level.
 * Dravik is given no error handle, and no report is recorded.
 */
OM_EXPORT sword OCIBreak(void *hndlp, OCIError *errhp)
{
    TRACE_CALL("sword OCIBreak (dvoid *hndlp, OCIError *errhp)\n\thndlp=%p\n\terrhp=%p", hndlp, errhp);

    const om_handle_t *whndlp = find_handle(hndlp, OCI_HTYPE_SVCCTX);
    REQUIRE(whndlp, "whndlp != ((void *)0)");
    if (check_run_for(whndlp, OM_TARGET_ORACLE))
        return ora_func_table.funcs.func_OCIBreak(hndlp, errhp);
    if (check_run_for(whndlp, OM_TARGET_DRAVIK))
        return dk_func_table.funcs.func_OCIBreak(whndlp->dk_hndlp, nullptr);
    STOP_BECAUSE("There is no available handle");
}

} // extern "C"
