/*
 * Binds: made on every backend that the statement's wrapper names, so that whichever server runs the
 * statement has them. A bind handle gets a wrapper that hangs under the statement's.
 */
#include "dispatch.h"

namespace
{

/* Failures of a bind; warnings are none. */
bool is_failure(sword rc)
{
    return rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO;
}

void enter_bind(om_handle_t *wstmtp, om_handle_t *wbindp)
{
    enter_handle(wbindp, OCI_HTYPE_BIND);
    add_child(wstmtp, wbindp);
}

} // namespace

extern "C" {

OM_EXPORT sword OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, void *valuep,
                             sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len,
                             ub4 *curelep, ub4 mode)
{
    TRACE_CALL(
        "OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, dvoid *valuep, "
        "sb4 value_sz, ub2 dty, dvoid *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 "
        "mode)\n\tstmtp=%p\n\tbindp=%p\n\terrhp=%p\n\tposition=%d\n\tvaluep=%p\n\tvalue_sz=%p"
        "\n\tdty=%d\n\tindp=%p\n\talenp=%p\n\trcodep=%p\n\tmaxarr_len=%d\n\tcurelep=%p\n\tmode=%d",
        stmtp, bindp, errhp, position, valuep, (void *)(size_t)(ub4)value_sz, dty, indp, alenp, rcodep,
        maxarr_len, curelep, mode);

    om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE(wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wbindp = find_handle_if_given(value_of(bindp), OCI_HTYPE_BIND);
    const bool is_new_handle = !wbindp;
    if (is_new_handle) {
        wbindp = new_wrapper(OCI_HTYPE_BIND, OM_STATE_BY_CALL);
        REQUIRE(wbindp, "wbindp != ((void *)0)");
    }

    sword rc = OM_NOT_CALLED;
    sword dk_rc = OM_NOT_CALLED;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCIBindByPos(stmtp, bindp, errhp, position, valuep, value_sz, dty,
                                                    indp, alenp, rcodep, maxarr_len, curelep, mode);
        wbindp->last_exec = OM_TARGET_ORACLE;
        set_wrapper_key(wbindp, value_of(bindp));
        trace_refresh();
        if (is_failure(rc)) {
            if (is_new_handle)
                free_wrapper(wbindp);
            record_error(werrhp, OM_TARGET_ORACLE);
            TRACE(OM_LOG_ERROR, "END FUNC - OCIBindByPos(): ORACLE\n\treturn rc=%d", rc);
            return rc;
        }
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK)) {
        dk_rc = dk_func_table.funcs.func_OCIBindByPos(twin<OCIStmt>(wstmtp), twin_variable<OCIBind>(wbindp),
                                                      twin<OCIError>(werrhp), position, valuep, value_sz, dty,
                                                      indp, alenp, rcodep, maxarr_len, curelep, mode);
        wbindp->last_exec |= OM_TARGET_DRAVIK;
        trace_refresh();
        // What Oracle has taken without reserve is not lost because Dravik refuses it.
        if (is_failure(dk_rc) && rc != OCI_SUCCESS) {
            if (is_new_handle)
                free_wrapper(wbindp);
            record_error(werrhp, OM_TARGET_DRAVIK);
            TRACE(OM_LOG_INFO, "END FUNC - OCIBindByPos(): DRAVIK\n\treturn rc=%d\n\treturn dk_rc=%d", rc,
                  dk_rc);
            return rc;
        }
    }
    if (rc == OM_NOT_CALLED && dk_rc == OM_NOT_CALLED)
        STOP_BECAUSE("There is no available function");

    if (is_new_handle)
        enter_bind(wstmtp, wbindp);
    TRACE(OM_LOG_INFO, "END FUNC - OCIBindByPos()\n\treturn rc=%d\n\treturn dk_rc=%d", rc, dk_rc);
    return result_of(rc, dk_rc);
}

/* The traces of this call show the bound value itself, as text. */
OM_EXPORT sword OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const OraText *placeholder,
                              sb4 placeh_len, void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp,
                              ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode)
{
    const narrowed_text c_sid(placeholder, (oraub8)(orasb8)placeh_len);
    TRACE_CALL(
        "OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, CONST OraText *placeholder, sb4 "
        "placeh_len, dvoid *valuep, sb4 value_sz, ub2 dty, dvoid *indp, ub2 *alenp, ub2 *rcodep, ub4 "
        "maxarr_len, ub4 *curelep, ub4 mode)\n\tstmtp=%p\n\tbindp=%p\n\terrhp=%p\n\tplaceholder=%.*s, "
        "c_sid=%s\n\tplaceh_len=%d\n\tvaluep=%p\n\tvalue_sz=%p\n\tdty=%d\n\tindp=%p\n\talenp=%p"
        "\n\trcodep=%p\n\tmaxarr_len=%d\n\tcurelep=%p\n\tmode=%d",
        stmtp, bindp, errhp, TRACE_TEXT(placeholder), c_sid.text, placeh_len, valuep,
        (void *)(size_t)(ub4)value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode);

    om_handle_t *wstmtp = find_handle(stmtp, OCI_HTYPE_STMT);
    REQUIRE(wstmtp, "wstmtp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (cannot_serve(wstmtp, c_sid))
        return end_without_text(__func__, werrhp, OM_TARGET_DRAVIK);
    om_handle_t *wbindp = find_handle_if_given(value_of(bindp), OCI_HTYPE_BIND);
    const bool is_new_handle = !wbindp;
    if (is_new_handle) {
        wbindp = new_wrapper(OCI_HTYPE_BIND, OM_STATE_BY_CALL);
        REQUIRE(wbindp, "wbindp != ((void *)0)");
    }

    sword rc = OM_NOT_CALLED;
    sword dk_rc = OM_NOT_CALLED;
    if (check_run_for(wstmtp, OM_TARGET_ORACLE)) {
        TRACE(OM_LOG_INFO, "Do OCIBindByName for Oracle");
        TRACE(OM_LOG_INFO, "before bindp=%p, valuep=%.*s", value_of(bindp), TRACE_TEXT(valuep));
        rc = ora_func_table.funcs.func_OCIBindByName(stmtp, bindp, errhp, placeholder, placeh_len, valuep,
                                                     value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep,
                                                     mode);
        wbindp->last_exec = OM_TARGET_ORACLE;
        set_wrapper_key(wbindp, value_of(bindp));
        TRACE_RESULT(OM_LOG_INFO, "after bindp=%p, valuep=%.*s", value_of(bindp), TRACE_TEXT(valuep));
        if (is_failure(rc)) {
            TRACE(OM_LOG_ERROR, "Fail to bind at oracle");
            if (is_new_handle)
                free_wrapper(wbindp);
            record_error(werrhp, OM_TARGET_ORACLE);
            return rc;
        }
    }
    if (check_run_for(wstmtp, OM_TARGET_DRAVIK)) {
        TRACE(OM_LOG_INFO, "Do OCIBindByName for DRAVIK");
        TRACE(OM_LOG_INFO, "before bindp=%p, valuep=%.*s", value_of(bindp), TRACE_TEXT(valuep));
        dk_rc = dk_func_table.funcs.func_OCIBindByName(
            twin<OCIStmt>(wstmtp), twin_variable<OCIBind>(wbindp), twin<OCIError>(werrhp), c_sid.oci_text(),
            (sb4)c_sid.length, valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode);
        TRACE_RESULT(OM_LOG_INFO, "after bindp=%p, valuep=%.*s", value_of(bindp), TRACE_TEXT(valuep));
        TRACE(OM_LOG_INFO, "END FUNC - OCIBindByName()\n\treturn rc=%d, dk_rc=%d", rc, dk_rc);
        if (!is_failure(dk_rc)) {
            wbindp->last_exec |= OM_TARGET_DRAVIK;
        } else if (rc != OCI_SUCCESS) {
            // A new wrapper is left behind here: Dravik has been shown its address.
            record_error(werrhp, OM_TARGET_DRAVIK);
            return dk_rc;
        }
    }
    if (rc == OM_NOT_CALLED && dk_rc == OM_NOT_CALLED)
        STOP_BECAUSE("There is no available function");

    if (is_new_handle)
        enter_bind(wstmtp, wbindp);
    if (bindp)
        *bindp = (OCIBind *)wbindp->ora_hndlp;
    return result_of(rc, dk_rc);
}

/* Callbacks are for binds that Oracle holds. */
OM_EXPORT sword OCIBindDynamic(OCIBind *bindp, OCIError *errhp, void *ictxp, OCICallbackInBind icbfp,
                               void *octxp, OCICallbackOutBind ocbfp)
{
    TRACE_CALL("OCIBindDynamic(OCIBind *bindp, OCIError *errhp, dvoid *ictxp, OCICallbackInBind icbfp, dvoid "
               "*octxp, OCICallbackOutBind ocbfp)"
               "\n\tbindp=%p\n\terrhp=%p\n\tictxp=%p\n\ticbfp=%p\n\toctxp=%p\n\tocbfp=%p",
               bindp, errhp, ictxp, (void *)icbfp, octxp, (void *)ocbfp);

    const om_handle_t *wbindp = find_handle(bindp, OCI_HTYPE_BIND);
    REQUIRE(wbindp, "wbindp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (!check_run_for(wbindp, OM_TARGET_ORACLE))
        STOP_BECAUSE("There is no available function");

    const sword rc =
        reported(werrhp, OM_TARGET_ORACLE,
                 ora_func_table.funcs.func_OCIBindDynamic(bindp, errhp, ictxp, icbfp, octxp, ocbfp));
    trace_refresh();
    if (rc == OCI_SUCCESS)
        TRACE(OM_LOG_INFO, "END FUNC - OCIBindDynamic()\n\treturn rc=%d", rc);
    else
        TRACE(OM_LOG_ERROR, "END FUNC - OCIBindDynamic(): ORACLE\n\treturn rc=%d", rc);
    return rc;
}

OM_EXPORT sword OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 alskip,
                                     ub4 rcskip)
{
    TRACE_CALL(
        "OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 alskip, ub4 "
        "rcskip)\n\tbindp=%p\n\terrhp=%p\n\tpvskip=%d\n\tindskip=%d\n\talskip=%d\n\trcskip=%d",
        bindp, errhp, pvskip, indskip, alskip, rcskip);

    const om_handle_t *wbindp = find_handle(bindp, OCI_HTYPE_BIND);
    REQUIRE(wbindp, "wbindp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    if (!check_run_for(wbindp, OM_TARGET_ORACLE))
        STOP_BECAUSE("There is no available function");
    return reported(
        werrhp, OM_TARGET_ORACLE,
        ora_func_table.funcs.func_OCIBindArrayOfStruct(bindp, errhp, pvskip, indskip, alskip, rcskip));
}

} // extern "C"
