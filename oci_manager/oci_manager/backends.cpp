#include "backends.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "fatal.h"

oci_function_table_t ora_func_table;
oci_function_table_t dk_func_table;
pthread_once_t oci_func_table_once = PTHREAD_ONCE_INIT;

namespace
{

const char *const entry_point_names[] = {
#define OM_NAME(name, type) #name,
    OCI_ENTRY_POINTS(OM_NAME)
#undef OM_NAME
};

constexpr size_t path_size = 1024;

/* Opens `file` in the directory that an environment variable names, or in the working directory. */
void *open_backend(const char *variable, const char *file, char (&path)[path_size])
{
    const char *directory = getenv(variable);
    snprintf(path, path_size, "%s/%s", directory ? directory : ".", file);
    return dlopen(path, RTLD_LAZY);
}

} // namespace

extern "C" {

void oci_table_load(int exec_mode, oci_function_table_t *tablep)
{
    void *found[OCI_ENTRY_POINT_COUNT];
    for (size_t i = 0; i < OCI_ENTRY_POINT_COUNT; i++)
        found[i] = dlsym(tablep->oci_dl, entry_point_names[i]);
    memcpy(&tablep->funcs, found, sizeof found);

    if (exec_mode != OM_TARGET_DRAVIK)
        return;
    sword rc = ora_func_table.funcs.func_OCIEnvCreate(&tablep->dflt_envhp, OCI_DEFAULT, nullptr, nullptr,
                                                      nullptr, nullptr, 0, nullptr);
    REQUIRE(rc == OCI_SUCCESS, "rc==0");
    rc = ora_func_table.funcs.func_OCIHandleAlloc(tablep->dflt_envhp, (void **)&tablep->dflt_errhp,
                                                  OCI_HTYPE_ERROR, 0, nullptr);
    REQUIRE(rc == OCI_SUCCESS, "rc==0");
}

void func_table_initialize(void)
{
    TRACE_ENTRY();
    memset(&ora_func_table, 0, sizeof ora_func_table);
    memset(&dk_func_table, 0, sizeof dk_func_table);

    char path[path_size];
    ora_func_table.oci_dl = open_backend("DKOM_ORA_LIB_PATH", "libclntsh.so", path);
    if (!ora_func_table.oci_dl) {
        TRACE(OM_LOG_ASSERT, "dlopen Oracle Fail: dl_path=%s", path);
        STOP_AT(__LINE__, "ora_func_table.oci_dl!=((void *)0)");
    }
    dk_func_table.oci_dl = open_backend("DKOM_DRK_LIB_PATH", "libdkoci.so", path);
    if (!dk_func_table.oci_dl) {
        TRACE(OM_LOG_ASSERT, "dlopen Dravik lib Fail: dl_path=%s", path);
        STOP_AT(__LINE__, "dk_func_table.oci_dl!=((void *)0)");
    }

    oci_table_load(OM_TARGET_ORACLE, &ora_func_table);
    oci_table_load(OM_TARGET_DRAVIK, &dk_func_table);
}

void func_table_init_once(void)
{
    TRACE_ENTRY();
    pthread_once(&oci_func_table_once, func_table_initialize);
}

} // extern "C"
