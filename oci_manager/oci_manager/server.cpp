/*
 * Server attach and detach. The attach decides which backend a connection lives on: Oracle if it accepts
 * the link, Dravik otherwise. The decision is final for the server handle.
 */
#include "dispatch.h"

namespace
{

/* Attaches in Oracle's library. A refusal is written to the trace with its error text. */
ub1 oci_mng_is_oracle_conn(OCIServer *srvhp, OCIError *errhp, const OraText *dblink, sb4 dblink_len, ub4 mode)
{
    TRACE(OM_LOG_TRACE, "%s", __func__);
    const sword rc = ora_func_table.funcs.func_OCIServerAttach(srvhp, errhp, dblink, dblink_len, mode);
    if (rc == OCI_SUCCESS)
        return 1;

    error_probe error;
    error.read(ora_func_table, errhp);
    TRACE_RESULT(OM_LOG_INFO,
                 "oci_mng_is_oracle_conn: Oracle\n\treturn rc=%d\n\tr_sqlstate=(null)\n\tr_errcodep=%d"
                 "\n\tr_bufp=%s, c_sid=%s",
                 rc, error.code, error.text(), error.narrowed());
    return 0;
}

} // namespace

extern "C" {

OM_EXPORT sword OCIServerAttach(OCIServer *srvhp, OCIError *errhp, const OraText *dblink, sb4 dblink_len,
                                ub4 mode)
{
    const narrowed_text c_sid(dblink, (oraub8)(orasb8)dblink_len);
    TRACE_CALL(
        "OCIServerAttach(OCIServer *srvhp, OCIError *errhp, CONST OraText *dblink, sb4 dblink_len, ub4 "
        "mode)\n\tsrvhp=%p\n\terrhp=%p\n\tdblink=%.*s, c_sid=%s\n\tdblink_len=%d, c_sid_len=%d\n\tmode=%d",
        srvhp, errhp, TRACE_TEXT((const char *)(dblink ? dblink : (const OraText *)"NULL")),
        c_sid.text ? c_sid.text : "NULL", dblink_len, c_sid.length, mode);

    om_handle_t *whdlp = find_handle(srvhp, OCI_HTYPE_SERVER);
    REQUIRE(whdlp, "whdlp!=((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    if (check_run_for(whdlp, OM_TARGET_ORACLE)) {
        if (oci_mng_is_oracle_conn(srvhp, errhp, dblink, dblink_len, mode)) {
            whdlp->last_exec = OM_TARGET_ORACLE;
            if (!whdlp->ora_hndlp)
                STOP_BECAUSE("Oracle server handle is not set");
            TRACE_RESULT(OM_LOG_INFO, "CONTINUE FUNC - OCIServerAttach to oracle is Success");
            TRACE(OM_LOG_INFO, "END FUNC - OCIServerAttach()\n\treturn rc=%d", OCI_SUCCESS);
            return OCI_SUCCESS;
        }
        trace_refresh();
    }

    if (cannot_serve(whdlp, c_sid))
        return end_without_text(__func__, werrhp,
                                whdlp->last_exec & OM_TARGET_ORACLE ? OM_TARGET_ORACLE : OM_TARGET_DRAVIK);
    if (check_run_for(whdlp, OM_TARGET_DRAVIK)) {
        whdlp->last_exec = OM_TARGET_DRAVIK;
        if (!whdlp->dk_hndlp)
            STOP_BECAUSE("Oracle server handle is not set");
        const sword rc = dk_func_table.funcs.func_OCIServerAttach(
            twin<OCIServer>(whdlp), twin<OCIError>(werrhp), c_sid.oci_text(), (sb4)c_sid.length, mode);
        trace_refresh();
        if (rc == OCI_SUCCESS) {
            TRACE(OM_LOG_INFO, "CONTINUE FUNC - OCIServerAttach to dravik is Success");
            TRACE(OM_LOG_INFO, "END FUNC - OCIServerAttach()\n\treturn rc=%d", rc);
            return rc;
        }
        record_error(werrhp, OM_TARGET_DRAVIK);
        TRACE(OM_LOG_ERROR,
              "END FUNC - OCIServerAttach(): Fail to connect server both oracle and dravik\n\treturn rc=%d",
              rc);
        return rc;
    }
    STOP_BECAUSE("There is no available svr handle");
}

OM_EXPORT sword OCIServerDetach(OCIServer *svrhp, OCIError *errhp, ub4 mode)
{
    TRACE_ENTRY();

    const om_handle_t *whdlp = find_handle(svrhp, OCI_HTYPE_SERVER);
    REQUIRE(whdlp, "whdlp != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    sword rc = OCI_SUCCESS;
    if (check_run_for(whdlp, OM_TARGET_ORACLE))
        rc =
            reported(werrhp, OM_TARGET_ORACLE, ora_func_table.funcs.func_OCIServerDetach(svrhp, errhp, mode));
    else if (check_run_for(whdlp, OM_TARGET_DRAVIK))
        rc = reported(
            werrhp, OM_TARGET_DRAVIK,
            dk_func_table.funcs.func_OCIServerDetach(twin<OCIServer>(whdlp), twin<OCIError>(werrhp), mode));
    else
        STOP_BECAUSE("There is no available svr handle");

    TRACE_RESULT(rc == OCI_SUCCESS ? OM_LOG_INFO : OM_LOG_ERROR,
                 "END FUNC - OCIServerDetach()\n\treturn rc=%d", rc);
    return rc;
}

} // extern "C"
