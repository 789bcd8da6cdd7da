/*
 * Allocation and release of handles, each together with its twin.
 */
#include "dispatch.h"

extern "C" {

OM_EXPORT sword OCIHandleAlloc(const void *parenth, void **hndlpp, const ub4 type, const size_t xtramem_sz,
                               void **usrmempp)
{
    TRACE_CALL(
        "OCIHandleAlloc(CONST dvoid *parenth, dvoid **hndlpp, CONST ub4 type, CONST size_t xtramem_sz, "
        "dvoid **usrmempp)\n\tparenth=%p\n\thndlpp=%p\n\ttype=%d\n\txtramem_sz=%ld\n\tusrmempp=%p",
        parenth, hndlpp, type, (long)xtramem_sz, usrmempp);

    // Any wrapped handle serves as parent, not only an environment.
    const om_handle_t *wparenth = find_handle(parenth, OCI_HTYPE_ENV);
    REQUIRE(wparenth, "wparenth!=((void *)0)");
    om_handle_t *whdlp = new_wrapper(type, OM_STATE_ALLOCATED);
    REQUIRE(whdlp, "whdlp != ((void *)0)");

    if (check_run_for(wparenth, OM_TARGET_ORACLE)) {
        const sword rc =
            ora_func_table.funcs.func_OCIHandleAlloc(parenth, hndlpp, type, xtramem_sz, usrmempp);
        set_wrapper_key(whdlp, value_of(hndlpp));
        if (rc != OCI_SUCCESS) {
            free_wrapper(whdlp);
            TRACE_RESULT(OM_LOG_ERROR, "END FUNC - OCIHandleAlloc(): ORACLE\n\treturn rc=%d", rc);
            return rc;
        }
        whdlp->last_exec |= OM_TARGET_ORACLE;
        trace_refresh();
    }
    if (check_run_for(wparenth, OM_TARGET_DRAVIK)) {
        const sword rc = dk_func_table.funcs.func_OCIHandleAlloc(wparenth->dk_hndlp, &whdlp->dk_hndlp, type,
                                                                 xtramem_sz, usrmempp);
        if (rc != OCI_SUCCESS) {
            ora_func_table.funcs.func_OCIHandleFree(whdlp->ora_hndlp, type);
            free_wrapper(whdlp);
            TRACE_RESULT(OM_LOG_ERROR, "END FUNC - OCIHandleAlloc(): DRAVIK\n\treturn rc=%d", rc);
            return rc;
        }
        whdlp->last_exec |= OM_TARGET_DRAVIK;
        trace_refresh();
    }

    enter_handle(whdlp, type);
    TRACE(OM_LOG_INFO, "END FUNC - OCIHandleAlloc()\n\treturn rc=%d\n\t*hndlpp=%p\n\t*usrmempp=%p",
          OCI_SUCCESS, value_of(hndlpp), value_of(usrmempp));
    return OCI_SUCCESS;
}

/* The backends are those that hold a twin; neither a refusal nor routing keeps the wrapper alive. */
OM_EXPORT sword OCIHandleFree(void *hdlp, const ub4 type)
{
    TRACE_CALL("OCIHandleFree(dvoid *hnlpp, CONST ub4 type)\n\thdlp=%p\n\ttype=%d", hdlp, type);

    om_handle_t *whdlp = remove_handle(hdlp, type);
    REQUIRE(whdlp, "whdlp != ((void *)0)");

    sword rc = OCI_SUCCESS;
    if (whdlp->ora_hndlp) {
        rc = ora_func_table.funcs.func_OCIHandleFree(hdlp, type);
        TRACE_RESULT(OM_LOG_DEBUG, "Executed OCIHandleFree() to Oracle, rc%d", rc);
        if (rc != OCI_SUCCESS)
            TRACE(OM_LOG_ERROR, "END FUNC - OCIHandleFree()\n\treturn rc=%d", rc);
    }
    if (whdlp->dk_hndlp) {
        rc = dk_func_table.funcs.func_OCIHandleFree(whdlp->dk_hndlp, type);
        TRACE_RESULT(OM_LOG_DEBUG, "Executed OCIHandleFree() to Dravik, rc%d", rc);
        if (rc != OCI_SUCCESS)
            TRACE(OM_LOG_ERROR, "END FUNC - OCIHandleFree()\n\treturn rc=%d", rc);
    }

    delete_children(whdlp, __FILE__, __LINE__);
    free_wrapper(whdlp);
    TRACE(OM_LOG_INFO, "END FUNC - OCIHandleFree()\n\treturn rc=%d", rc);
    return rc;
}

} // extern "C"
