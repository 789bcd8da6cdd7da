/*
 * Environments: each is made in Oracle's library first and then, as a twin, in Dravik's. An environment
 * whose twin could not be made works on Oracle alone.
 */
#include "dispatch.h"

namespace
{

/* Stands at the start of every Dravik environment that this library marks; Dravik's library looks for it. */
constexpr char environment_marker[] = {'Q', 'R', '.', 'S', 'T', '.', 'U', 'V'};

void mark_environment(om_handle_t *wenvp)
{
    memcpy(wenvp->dk_hndlp, environment_marker, sizeof environment_marker);
}

/* Oracle refused: a wrapper without an environment goes at once, one with an environment is left behind. */
void abandon_environment(om_handle_t *wenvp)
{
    if (wenvp->ora_hndlp)
        wenvp->last_err = OM_TARGET_ORACLE;
    else
        free_wrapper(wenvp);
}

} // namespace

extern "C" {

OM_EXPORT sword OCIEnvCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                             void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                             void (*mfreefp)(void *ctxp, void *memptr), size_t xtramem_sz, void **usrmempp)
{
    TRACE_CALL(
        "OCIEnvCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, dvoid *(*malocfp)(dvoid *ctxp, size_t size), "
        "dvoid *(*ralocfp)(dvoid *ctxp, dvoid *memptr, size_t newsize), void (*mfreefp)(dvoid *ctxp, "
        "dvoid *memptr), size_t xtramem_sz, dvoid **usrmempp)"
        "\n\tenvp=%p\n\tmode=%d\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p\n\txtramem_sz=%ld"
        "\n\tusrmempp=%p",
        envp, mode, ctxp, (void *)malocfp, (void *)ralocfp, (void *)mfreefp, (long)xtramem_sz, usrmempp);
    init_oci_manager();

    om_handle_t *whdlp = new_wrapper(OCI_HTYPE_ENV, OM_STATE_ALLOCATED);
    REQUIRE(whdlp, "whdlp != ((void *)0)");
    const sword ora_rc = ora_func_table.funcs.func_OCIEnvCreate(envp, mode, ctxp, malocfp, ralocfp, mfreefp,
                                                                xtramem_sz, usrmempp);
    set_wrapper_key(whdlp, value_of(envp));
    if (ora_rc != OCI_SUCCESS) {
        abandon_environment(whdlp);
        TRACE_RESULT(OM_LOG_ERROR,
                     "END FUNC - OCIEnvCreate()\n\treturn ora_rc=%d\n\t*envp=%p\n\t*usrmempp=%p", ora_rc,
                     value_of(envp), value_of(usrmempp));
        return ora_rc;
    }
    whdlp->last_exec = OM_TARGET_ORACLE;
    TRACE_RESULT(OM_LOG_DEBUG,
                 "CONTINUE FUNC - OCIEnvCreate()\n\treturn ora_rc=%d\n\t*ora_envp=%p\n\t*ora_usrmempp=%p",
                 ora_rc, value_of(envp), value_of(usrmempp));

    // Oracle's memory callbacks manage Oracle's memory only; Dravik keeps to its own.
    const sword dk_rc = dk_func_table.funcs.func_OCIEnvCreate(
        twin_variable<OCIEnv>(whdlp), mode, ctxp, nullptr, nullptr, nullptr, xtramem_sz, usrmempp);
    trace_refresh();
    if (whdlp->dk_hndlp)
        mark_environment(whdlp);
    if (dk_rc == OCI_SUCCESS)
        whdlp->last_exec = OM_TARGET_BOTH;
    else
        check_run_for(whdlp, OM_TARGET_ORACLE);
    enter_handle(whdlp, OCI_HTYPE_ENV);
    if (envp)
        *envp = (OCIEnv *)whdlp->ora_hndlp;
    TRACE(dk_rc == OCI_SUCCESS ? OM_LOG_INFO : OM_LOG_ERROR,
          "END FUNC - OCIEnvCreate()\n\treturn ora_rc=%d\n\treturn dk_rc=%d\n\t*envp=%p\n\t*usrmempp=%p",
          ora_rc, dk_rc, value_of(envp), value_of(usrmempp));
    return OCI_SUCCESS;
}

OM_EXPORT sword OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, void *ctxp,
                                void *(*malocfp)(void *ctxp, size_t size),
                                void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                                void (*mfreefp)(void *ctxp, void *memptr), size_t xtramem_sz, void **usrmempp,
                                ub2 charset, ub2 ncharset)
{
    TRACE_CALL("OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, dvoid *(*malocfp)(dvoid *ctxp, size_t "
               "size), dvoid *(*ralocfp)(dvoid *ctxp, dvoid *memptr, size_t newsize), void (*mfreefp)(dvoid "
               "*ctxp, dvoid *memptr), size_t xtramem_sz, dvoid **usrmempp, ub2 charset, ub2 ncharset)"
               "\n\tenvp=%p\n\tmode=%d\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p\n\txtramem_sz=%ld"
               "\n\tusrmempp=%p\n\tcharset=%d\n\tncharset=%d",
               envp, mode, ctxp, (void *)malocfp, (void *)ralocfp, (void *)mfreefp, (long)xtramem_sz,
               usrmempp, charset, ncharset);
    init_oci_manager();

    om_handle_t *wenvp = new_wrapper(OCI_HTYPE_ENV, OM_STATE_ALLOCATED);
    REQUIRE(wenvp, "wenvp != ((void *)0)");
    const sword rc = ora_func_table.funcs.func_OCIEnvNlsCreate(envp, mode, ctxp, malocfp, ralocfp, mfreefp,
                                                               xtramem_sz, usrmempp, charset, ncharset);
    set_wrapper_key(wenvp, value_of(envp));
    if (rc != OCI_SUCCESS) {
        abandon_environment(wenvp);
        return rc;
    }
    wenvp->last_exec = OM_TARGET_ORACLE;

    const sword dk_rc =
        dk_func_table.funcs.func_OCIEnvNlsCreate(twin_variable<OCIEnv>(wenvp), mode, ctxp, malocfp, ralocfp,
                                                 mfreefp, xtramem_sz, usrmempp, charset, ncharset);
    trace_refresh();
    if (dk_rc == OCI_SUCCESS)
        wenvp->last_exec = OM_TARGET_BOTH;
    else
        check_run_for(wenvp, OM_TARGET_ORACLE);
    enter_handle(wenvp, OCI_HTYPE_ENV);
    return dk_rc;
}

OM_EXPORT sword OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, void **usrmempp)
{
    TRACE_CALL(
        "OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, dvoid **usrmempp)\n\tenvp=%p\n\tmode=%d"
        "\n\txtramem_sz=%ld\n\tusrmempp=%p",
        envp, mode, (long)xtramem_sz, usrmempp);
    init_oci_manager();

    om_handle_t *wenvp = new_wrapper(OCI_HTYPE_ENV, OM_STATE_ALLOCATED);
    REQUIRE(wenvp, "wenvp != ((void *)0)");
    sword rc = ora_func_table.funcs.func_OCIEnvInit(envp, mode, xtramem_sz, usrmempp);
    if (rc != OCI_SUCCESS) {
        free_wrapper(wenvp);
        TRACE_RESULT(OM_LOG_ERROR, "END FUNC - OCIEnvInit()\n\treturn rc=%d", rc);
        return rc;
    }
    set_wrapper_key(wenvp, value_of(envp));
    wenvp->last_exec = OM_TARGET_ORACLE;

    rc = dk_func_table.funcs.func_OCIEnvInit(twin_variable<OCIEnv>(wenvp), mode, xtramem_sz, usrmempp);
    trace_refresh();
    if (rc == OCI_SUCCESS && wenvp->dk_hndlp) {
        mark_environment(wenvp);
        wenvp->last_exec |= OM_TARGET_DRAVIK;
    } else {
        check_run_for(wenvp, OM_TARGET_ORACLE);
    }
    enter_handle(wenvp, OCI_HTYPE_ENV);
    if (envp)
        *envp = (OCIEnv *)wenvp->ora_hndlp;
    TRACE(OM_LOG_INFO, "END FUNC - OCIEnvInit()\n\treturn rc=%d\n\t*envp=%p", rc, value_of(envp));
    return rc;
}

OM_EXPORT sword OCIInitialize(ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                              void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                              void (*mfreefp)(void *ctxp, void *memptr))
{
    TRACE_CALL("OCIInitialize(ub4 mode, dvoid *ctxp, dvoid *(*malocfp)(dvoid *ctxp, size_t size), dvoid "
               "*(*ralocfp)(dvoid *ctxp, dvoid *memptr, size_t newsize), void (*mfreefp)(dvoid *ctxp, dvoid "
               "*memptr))"
               "\n\tmode=%d\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p",
               mode, ctxp, (void *)malocfp, (void *)ralocfp, (void *)mfreefp);
    init_oci_manager();

    sword rc = ora_func_table.funcs.func_OCIInitialize(mode, ctxp, malocfp, ralocfp, mfreefp);
    if (rc != OCI_SUCCESS) {
        TRACE_RESULT(OM_LOG_ERROR, "END FUNC - OCIInitialize(): ORACLE\n\treturn rc=%d", rc);
        return rc;
    }
    rc = dk_func_table.funcs.func_OCIInitialize(mode, ctxp, malocfp, ralocfp, mfreefp);
    if (rc != OCI_SUCCESS) {
        TRACE_RESULT(OM_LOG_ERROR, "END FUNC - OCIInitialize(): DRAVIK\n\treturn rc=%d", rc);
        return rc;
    }
    TRACE_RESULT(OM_LOG_INFO, "END FUNC - OCIInitialize()\n\treturn rc=%d", rc);
    return rc;
}

OM_EXPORT void OCIClientVersion(sword *major_version, sword *minor_version, sword *update_num,
                                sword *patch_num, sword *port_update_num)
{
    TRACE_CALL(
        "OCIClientVersion(sword *major_version, sword *minor_version, sword *update_num, sword "
        "*patch_num, sword *port_update_num)"
        "\n\tmajor_version=%p\n\tminor_version=%p\n\tupdate_num=%p\n\tpatch_num=%p\n\tport_update_num=%p",
        major_version, minor_version, update_num, patch_num, port_update_num);
    init_oci_manager();
    ora_func_table.funcs.func_OCIClientVersion(major_version, minor_version, update_num, patch_num,
                                               port_update_num);
}

/* Relies on an environment having been created: it does not load the backends itself. */
OM_EXPORT sword OCISharedLibInit(void *metaCtx, void *libCtx, ub4 argfmt, sword argc, void **argv,
                                 OCIEnvCallbackType envCallback)
{
    TRACE_CALL("OCISharedLibInit(dvoid *metaCtx, dvoid *libCtx, ub4 argfmt, sword argc, dvoid **argv, "
               "OCIEnvCallbackType envCallback)"
               "\n\tmetaCtx=%p\n\tlibCtx=%p\n\targfmt=%d\n\targc=%d\n\targv=%p\n\tenvCallback=%p",
               metaCtx, libCtx, argfmt, argc, argv, (void *)envCallback);
    const sword rc =
        ora_func_table.funcs.func_OCISharedLibInit(metaCtx, libCtx, argfmt, argc, argv, envCallback);
    TRACE_RESULT(OM_LOG_INFO,
                 "END FUNC - OCISharedLibInit()\n\treturn rc=%d\n\tmetaCtx=%p\n\tlibCtx=%p\n\targfmt=%d"
                 "\n\targc=%d\n\targv=%p\n\tenvCallback=%p",
                 rc, metaCtx, libCtx, argfmt, argc, argv, (void *)envCallback);
    return rc;
}

} // extern "C"
