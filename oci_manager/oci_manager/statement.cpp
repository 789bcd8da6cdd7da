/*
 * Statements: prepared on both backends, executed on the one that holds the connection, which they then
 * follow for fetches.
 */
#include "dispatch.h"

extern "C" {

OM_EXPORT sword OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len,
                               ub4 language, ub4 mode)
{
    const narrowed_text c_sid(stmt, stmt_len);
    TRACE_CALL("OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, CONST OraText *stmt, ub4 stmt_len, ub4 "
               "language, ub4 mode)"
               "\n\tstmtp=%p\n\terrhp=%p\n\tstmt=%.*s, c_sid=%s\n\tstmt_len=%d\n\tlanguage=%d\n\tmode=%d",
               stmtp, errhp, TRACE_TEXT(stmt), c_sid.text, stmt_len, language, mode);

    om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE_AT(1508, wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);
    REQUIRE_AT(1510, werrhp, "werrhp != ((void *)0)");

    if (!c_sid.text)
        return end_without_text(__func__, werrhp, OM_TARGET_DRAVIK);

    // Which server will run the statement is not known yet.
    wstmtp->last_exec = OM_TARGET_BOTH;
    sword rc = OCI_SUCCESS;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCIStmtPrepare(stmtp, errhp, stmt, stmt_len, language, mode);
        trace_refresh();
        if (reported(werrhp, OM_TARGET_ORACLE, rc) != OCI_SUCCESS) {
            TRACE_AT(OM_LOG_ERROR, 1524, "END FUNC - OCIStmtPrepare()\n\treturn rc=%d", rc);
            return rc;
        }
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK)) {
        rc = dk_func_table.funcs.func_OCIStmtPrepare(twin<OCIStmt>(wstmtp), twin<OCIError>(werrhp),
                                                     c_sid.oci_text(), c_sid.length, language, mode);
        trace_refresh();
        if (reported(werrhp, OM_TARGET_DRAVIK, rc) != OCI_SUCCESS) {
            TRACE_AT(OM_LOG_ERROR, 1542, "END FUNC - OCIStmtPrepare()\n\treturn rc=%d", rc);
            return rc;
        }
    }

    // The binds and defines of the text that was executed before are gone with it.
    if (wstmtp->state == OM_STATE_EXECUTED)
        delete_children(wstmtp, __FILE__, 1558);
    wstmtp->state = OM_STATE_PREPARED;
    TRACE_AT(OM_LOG_INFO, 1564, "END FUNC - OCIStmtPrepare()\n\treturn rc=%d", rc);
    return rc;
}

/* Oracle's library makes the statement handle itself, so such a statement has no twin. */
OM_EXPORT sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const OraText *stmt,
                                ub4 stmt_len, const OraText *key, ub4 key_len, ub4 language, ub4 mode)
{
    TRACE_CALL(
        "sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const OraText *stmt, "
        "ub4 stmt_len, const OraText *key, ub4 key_len, ub4 language, ub4 mode)"
        "\n\tsvchp=%p\n\tstmtp=%p\n\terrhp=%p\n\tstmt=%.*s\n\tstmt_len=%d\n\tkey=%.*s\n\tkey_len=%d"
        "\n\tlanguage=%d\n\tmode=%d",
        svchp, stmtp, errhp, TRACE_TEXT(stmt), stmt_len, TRACE_TEXT(key), key_len, language, mode);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE_AT(1608, wsvchp, "wsvchp!=((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wstmtp = find_handle(value_of(stmtp), OCI_HTYPE_STMT);
    const bool is_new = !wstmtp;
    if (is_new) {
        wstmtp = new_wrapper(OCI_HTYPE_STMT, OM_STATE_ALLOCATED);
        REQUIRE_AT(1613, wstmtp, "wstmtp != ((void *)0)");
    }
    if (!check_run_for(wsvchp, OM_TARGET_ORACLE))
        STOP_BECAUSE_AT(1663, 1664, "There is no available svc handle");

    const sword rc = ora_func_table.funcs.func_OCIStmtPrepare2(svchp, stmtp, errhp, stmt, stmt_len, key,
                                                               key_len, language, mode);
    wstmtp->last_exec = OM_TARGET_ORACLE;
    set_wrapper_key(wstmtp, value_of(stmtp));
    trace_refresh();
    if (reported(werrhp, OM_TARGET_ORACLE, rc) != OCI_SUCCESS) {
        if (is_new)
            free_wrapper(wstmtp);
        TRACE_AT(OM_LOG_ERROR, 1634, "END FUNC - OCIStmtPrepare2()\n\treturn rc=%d", rc);
        return rc;
    }
    if (is_new)
        enter_handle(wstmtp, OCI_HTYPE_STMT);
    TRACE_AT(OM_LOG_INFO, 1674, "END FUNC - OCIStmtPrepare2()\n\treturn rc=%d", OCI_SUCCESS);
    return rc;
}

OM_EXPORT sword OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff,
                               const OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode)
{
    TRACE_CALL(
        "OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff, CONST "
        "OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode)\n\tsvchp=%p\n\tstmtp=%p\n\terrhp=%p"
        "\n\titers=%d\n\trowoff=%d\n\tsnap_in=%p\n\tsnap_out=%p\n\tmode=%d",
        svchp, stmtp, errhp, iters, rowoff, snap_in, snap_out, mode);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE_AT(1719, wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE_AT(1721, wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wsnap_in = find_descriptor_if_given(snap_in, OCI_DTYPE_SNAP);
    om_handle_t *wsnap_out = find_descriptor_if_given(snap_out, OCI_DTYPE_SNAP);

    sword rc = OCI_SUCCESS;
    ub4 target = OM_TARGET_ORACLE;
    if (check_run_for(wsvchp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCIStmtExecute(svchp, stmtp, errhp, iters, rowoff, snap_in, snap_out,
                                                      mode);
        TRACE_RESULT_AT(OM_LOG_INFO, 1731, "Executed OCIStmtExecute() to Oracle, rc=%d", rc);
    } else if (check_run_for(wsvchp, OM_TARGET_DRAVIK)) {
        target = OM_TARGET_DRAVIK;
        rc = dk_func_table.funcs.func_OCIStmtExecute(
            twin<OCISvcCtx>(wsvchp), twin<OCIStmt>(wstmtp), twin<OCIError>(werrhp), iters, rowoff,
            twin<OCISnapshot>(wsnap_in), twin<OCISnapshot>(wsnap_out), mode);
        TRACE_RESULT_AT(OM_LOG_INFO, 1774, "Executed OCIStmtExecute() to Dravik, rc=%d", rc);
    } else {
        STOP_BECAUSE_AT(1806, 1807, "There is no available svc handle");
    }

    // From here on the statement and its snapshots live where it ran, whatever came of it.
    wstmtp->last_exec = target;
    if (wsnap_in)
        wsnap_in->last_exec = target;
    if (wsnap_out)
        wsnap_out->last_exec = target;
    if (rc == OCI_SUCCESS) {
        wstmtp->state = OM_STATE_EXECUTED;
        TRACE_AT(OM_LOG_INFO, 1815, "END FUNC - OCIStmtExecute()\n\treturn rc=%d", rc);
        return rc;
    }
    record_error(werrhp, target);

    // Oracle's warnings and ends of data are no failures in the trace; Dravik's are.
    if (target == OM_TARGET_ORACLE && (rc == OCI_SUCCESS_WITH_INFO || rc == OCI_NO_DATA)) {
        TRACE_AT(OM_LOG_INFO, 1741, "END FUNC - OCIStmtExecute()\n\treturn rc=%d", rc);
        return rc;
    }
    error_probe error;
    if (target == OM_TARGET_ORACLE) {
        if (rc == OCI_ERROR)
            error.read(ora_func_table, errhp);
        TRACE_RESULT_AT(
            OM_LOG_ERROR, 1757,
            "END FUNC - OCIStmtExecute(): ORACLE\n\treturn rc=%d\n\tr_sqlstate=(null)\n\tr_errcodep=%d"
            "\n\tr_bufp=%s, c_sid=%s",
            rc, error.code, error.text(), error.narrowed());
    } else {
        if (rc == OCI_ERROR)
            error.read(dk_func_table, twin<OCIError>(werrhp));
        TRACE_RESULT_AT(
            OM_LOG_ERROR, 1795,
            "END FUNC - OCIStmtExecute(): DRAVIK\n\treturn rc=%d\n\tr_sqlstate=(null)\n\tr_errcodep=%d"
            "\n\tr_bufp=%s",
            rc, error.code, error.text());
    }
    return rc;
}

OM_EXPORT sword OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode)
{
    TRACE_CALL("OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode)"
               "\n\tstmtp=%p\n\terrhp=%p\n\tnrows=%d\n\torientation=%d\n\tmode=%d",
               stmtp, errhp, nrows, orientation, mode);

    const om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE_AT(3151, wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);

    sword rc = OCI_SUCCESS;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        rc = reported(werrhp, OM_TARGET_ORACLE,
                      ora_func_table.funcs.func_OCIStmtFetch(stmtp, errhp, nrows, orientation, mode));
        if (rc != OCI_SUCCESS)
            return rc;
        trace_refresh();
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK))
        rc = reported(werrhp, OM_TARGET_DRAVIK,
                      dk_func_table.funcs.func_OCIStmtFetch(twin<OCIStmt>(wstmtp), twin<OCIError>(werrhp),
                                                            nrows, orientation, mode));
    return rc;
}

OM_EXPORT sword OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 scrollOffset,
                              ub4 mode)
{
    TRACE_CALL(
        "OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 scrollOffset, "
        "ub4 mode)\n\tstmtp=%p\n\terrhp=%p\n\tnrows=%d\n\torientation=%d\n\tscrollOffset=%d\n\tmode=%d",
        stmtp, errhp, nrows, orientation, scrollOffset, mode);

    const om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE_AT(3215, wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);

    sword rc = OCI_SUCCESS;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        rc = reported(
            werrhp, OM_TARGET_ORACLE,
            ora_func_table.funcs.func_OCIStmtFetch2(stmtp, errhp, nrows, orientation, scrollOffset, mode));
        if (rc != OCI_SUCCESS)
            return rc;
        trace_refresh();
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK))
        rc = reported(werrhp, OM_TARGET_DRAVIK,
                      dk_func_table.funcs.func_OCIStmtFetch2(twin<OCIStmt>(wstmtp), twin<OCIError>(werrhp),
                                                             nrows, orientation, scrollOffset, mode));
    return rc;
}

} // extern "C"
