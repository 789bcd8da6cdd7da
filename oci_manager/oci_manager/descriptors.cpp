/*
 * Allocation and release of descriptors, each together with its twin. A descriptor allocated into a variable
 * that already holds a known one takes over its wrapper.
 */
#include "dispatch.h"

extern "C" {

OM_EXPORT sword OCIDescriptorAlloc(const void *parenth, void **descpp, const ub4 type,
                                   const size_t xtramem_sz, void **usrmempp)
{
    TRACE_CALL("OCIDescriptorAlloc(CONST dvoid *parenth, dvoid **descpp, CONST ub4 type, CONST size_t "
               "xtramem_sz, dvoid **usrmempp)"
               "\n\tparenth=%p\n\tdescpp=%p\n\ttype=%d\n\txtramem_sz=%ld\n\tusrmempp=%p",
               parenth, descpp, type, (long)xtramem_sz, usrmempp);

    const om_handle_t *wparenth = find_handle(parenth, OCI_HTYPE_ENV);
    REQUIRE(wparenth, "wparenth != ((void *)0)");
    om_handle_t *wdescp = find_descriptor(value_of(descpp), type);
    const bool is_new = !wdescp;
    if (is_new) {
        wdescp = new_wrapper(type, OM_STATE_ALLOCATED);
        REQUIRE(wdescp, "wdescp != ((void *)0)");
    }

    if (check_run_for(wparenth, OM_TARGET_ORACLE)) {
        const sword rc =
            ora_func_table.funcs.func_OCIDescriptorAlloc(parenth, descpp, type, xtramem_sz, usrmempp);
        set_wrapper_key(wdescp, value_of(descpp));
        if (rc != OCI_SUCCESS) {
            if (is_new)
                free_wrapper(wdescp);
            return rc;
        }
        wdescp->last_exec |= OM_TARGET_ORACLE;
        trace_refresh();
    }
    if (check_run_for(wparenth, OM_TARGET_DRAVIK)) {
        const sword rc = dk_func_table.funcs.func_OCIDescriptorAlloc(wparenth->dk_hndlp, &wdescp->dk_hndlp,
                                                                     type, xtramem_sz, usrmempp);
        if (rc != OCI_SUCCESS) {
            ora_func_table.funcs.func_OCIDescriptorFree(wdescp->ora_hndlp, type);
            if (is_new)
                free_wrapper(wdescp);
            return rc;
        }
        wdescp->last_exec |= OM_TARGET_DRAVIK;
        trace_refresh();
    }

    if (is_new)
        enter_descriptor(wdescp, type);
    return OCI_SUCCESS;
}

/* A refusal by either backend keeps the wrapper, so that the program may try again. */
OM_EXPORT sword OCIDescriptorFree(void *descp, const ub4 type)
{
    TRACE_CALL("OCIDescriptorFree(dvoid *descp, CONST ub4 type)\n\tdescp=%p\n\ttype=%d", descp, type);

    om_handle_t *wdescp = find_descriptor(descp, type);
    REQUIRE(wdescp, "wdescp != ((void *)0)");

    sword rc = OCI_SUCCESS;
    if (wdescp->ora_hndlp) {
        rc = ora_func_table.funcs.func_OCIDescriptorFree(descp, type);
        if (rc != OCI_SUCCESS)
            return rc;
    }
    if (wdescp->dk_hndlp) {
        // Dravik's library knows its descriptors by the Oracle descriptor that they go with.
        rc = dk_func_table.funcs.func_OCIDescriptorFree(wdescp->ora_hndlp, type);
        if (rc != OCI_SUCCESS)
            return rc;
    }

    trace_refresh();
    remove_descriptor(descp, type);
    leave_owner(wdescp);
    free_wrapper(wdescp);
    return rc;
}

} // extern "C"
