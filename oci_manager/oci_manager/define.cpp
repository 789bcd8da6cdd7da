/*
 * Defines: made on every backend that the statement's wrapper names, each with a wrapper that hangs under
 * the statement's. Unlike binds, defines take every result but OCI_SUCCESS for a failure.
 */
#include "dispatch.h"

extern "C" {

OM_EXPORT sword OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, void *valuep,
                               sb4 value_sz, ub2 dty, void *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode)
{
    TRACE_CALL(
        "OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, dvoid *valuep, "
        "sb4 value_sz, ub2 dty, dvoid *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode)"
        "\n\tstmtp=%p\n\tdefnp=%p\n\terrhp=%p\n\tposition=%d\n\tvaluep=%p\n\tvalue_sz=%d\n\tdty=%d"
        "\n\tindp=%p\n\trlenp=%p\n\trcodep=%p\n\tmode=%d",
        stmtp, defnp, errhp, position, valuep, value_sz, dty, indp, rlenp, rcodep, mode);

    om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE(wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wdefnp = find_handle_if_given(value_of(defnp), OCI_HTYPE_DEFINE);
    const bool is_new_handle = !wdefnp;
    if (is_new_handle) {
        wdefnp = new_wrapper(OCI_HTYPE_DEFINE, OM_STATE_BY_CALL);
        REQUIRE(wdefnp, "wdefnp != ((void *)0)");
    }

    sword rc = OM_NOT_CALLED;
    sword dk_rc = OM_NOT_CALLED;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCIDefineByPos(stmtp, defnp, errhp, position, valuep, value_sz, dty,
                                                      indp, rlenp, rcodep, mode);
        TRACE_RESULT(OM_LOG_INFO, "Do OCIDefineByPos() for ORACLE");
        set_wrapper_key(wdefnp, value_of(defnp));
        if (rc != OCI_SUCCESS) {
            if (is_new_handle)
                free_wrapper(wdefnp);
            record_error(werrhp, OM_TARGET_ORACLE);
            TRACE(OM_LOG_ERROR, "END FUNC - OCIDefineByPos()\n\treturn rc=%d", rc);
            return rc;
        }
        wdefnp->last_exec = OM_TARGET_ORACLE;
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK)) {
        dk_rc = dk_func_table.funcs.func_OCIDefineByPos(
            twin<OCIStmt>(wstmtp), twin_variable<OCIDefine>(wdefnp), twin<OCIError>(werrhp), position, valuep,
            value_sz, dty, indp, rlenp, rcodep, mode);
        TRACE_RESULT(OM_LOG_INFO, "Do OCIDefineByPos(() for DRAVIK");
        if (dk_rc == OCI_SUCCESS) {
            wdefnp->last_exec |= OM_TARGET_DRAVIK;
        } else if (rc != OCI_SUCCESS) { // what Oracle has taken is not lost because Dravik refuses it
            if (is_new_handle)
                free_wrapper(wdefnp);
            record_error(werrhp, OM_TARGET_DRAVIK);
            TRACE(OM_LOG_ERROR, "END FUNC - OCIDefineByPos()\n\treturn dk_rc=%d", dk_rc);
            return dk_rc;
        }
    }
    if (rc == OM_NOT_CALLED && dk_rc == OM_NOT_CALLED)
        STOP_BECAUSE("There is no available function");

    if (is_new_handle) {
        enter_handle(wdefnp, OCI_HTYPE_DEFINE);
        add_child(wstmtp, wdefnp);
    }
    TRACE(OM_LOG_INFO, "END FUNC - OCIDefineByPos()\n\treturn rc=%d, dk_rc=%d\n\t*defnp=%p", rc, dk_rc,
          value_of(defnp));
    return result_of(rc, dk_rc);
}

/* Callbacks are for defines that Oracle holds. */
OM_EXPORT sword OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, void *octxp, OCICallbackDefine ocbfp)
{
    TRACE_CALL("OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, dvoid *octxp, OCICallbackDefine ocbfp)"
               "\n\tdefnp=%p\n\terrhp=%p\n\toctxp=%p\n\tocbfp=%p",
               defnp, errhp, octxp, (void *)ocbfp);

    const om_handle_t *wdefnp = find_handle(defnp, OCI_HTYPE_DEFINE);
    REQUIRE(wdefnp, "wdefnp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (!check_run_for(wdefnp, OM_TARGET_ORACLE))
        STOP_BECAUSE("There is no available function");

    const sword rc = reported(werrhp, OM_TARGET_ORACLE,
                              ora_func_table.funcs.func_OCIDefineDynamic(defnp, errhp, octxp, ocbfp));
    trace_refresh();
    if (rc == OCI_SUCCESS)
        TRACE(OM_LOG_INFO, "END FUNC - OCIDefineDynamic()\n\treturn rc=%d", rc);
    else
        TRACE(OM_LOG_ERROR, "END FUNC - OCIDefineDynamic(): ORACLE\n\treturn rc=%d", rc);
    return rc;
}

OM_EXPORT sword OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 rlskip,
                                       ub4 rcskip)
{
    TRACE_CALL(
        "OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 rlskip, "
        "ub4 rcskip)\n\tdefnp=%p\n\terrhp=%p\n\tpvskip=%d\n\tindskip=%d\n\trlskip=%d\n\trcskip=%d",
        defnp, errhp, pvskip, indskip, rlskip, rcskip);

    om_handle_t *wdefnp = find_handle(defnp, OCI_HTYPE_DEFINE);
    REQUIRE(wdefnp, "wdefnp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (!check_run_for(wdefnp, OM_TARGET_ORACLE))
        STOP_BECAUSE("There is no available function");

    wdefnp->last_exec =
        OM_TARGET_ORACLE; // Dravik does not learn of the skips, so the define is Oracle's alone
    const sword rc = reported(
        werrhp, OM_TARGET_ORACLE,
        ora_func_table.funcs.func_OCIDefineArrayOfStruct(defnp, errhp, pvskip, indskip, rlskip, rcskip));
    trace_refresh();
    if (rc == OCI_SUCCESS)
        TRACE(OM_LOG_INFO, "END FUNC - OCIDefineArrayOfStruct()\n\treturn rc=%d", rc);
    else
        TRACE(OM_LOG_ERROR, "END FUNC - OCIDefineArrayOfStruct(): ORACLE\n\treturn rc=%d", rc);
    return rc;
}

} // extern "C"
