#include "backends.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "backend_files.h"
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

enum entry_point : size_t {
#define OM_INDEX(name, type) index_of_##name,
    OCI_ENTRY_POINTS(OM_INDEX)
#undef OM_INDEX
};

/* What is said of a backend where it fails a program. */
struct description : om_backend_file {
    const char *table;
};

constexpr description oracle_description = {om_backend_files[0], "ora_func_table"};
constexpr description dravik_description = {om_backend_files[1], "dk_func_table"};

[[noreturn]] void stop_for_missing(const description &backend, const char *name)
{
    char assertion[128];
    snprintf(assertion, sizeof assertion, "%s.funcs.func_%s!=((void *)0)", backend.table, name);
    writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "%s lacks the entry point %s", backend.file, name);
    fprintf(stderr,
            "libdkom.so: %s's client library %s has no %s, which the program calls: is it a version that has "
            "it, and the right file in %s?\n",
            backend.maker, backend.file, name, backend.variable);
    stop_process(assertion, __FILE__, __LINE__, name);
}

/*
 * Stands in a table for an entry point that the library lacks, so that a program that calls it learns which.
 * Each has a function of its own, since it is called with the entry point's arguments.
 */
template <bool is_dravik, entry_point index> [[noreturn]] void stand_in()
{
    const description &backend = is_dravik ? dravik_description : oracle_description;
    stop_for_missing(backend, entry_point_names[index]);
}

using stand_in_function = void();

template <bool is_dravik>
constexpr stand_in_function *stand_ins[] = {
#define OM_STAND_IN(name, type) stand_in<is_dravik, index_of_##name>,
    OCI_ENTRY_POINTS(OM_STAND_IN)
#undef OM_STAND_IN
};

/*
 * Opens a backend in the directory that its environment variable names, or in the working directory. Null: it
 * cannot be opened, and the loader's reason stands on the standard error stream.
 */
void *open_backend(const description &backend, om_backend_path &path)
{
    const char *directory = getenv(backend.variable);
    om_name_backend(backend, directory, path);
    void *library = dlopen(path, RTLD_LAZY);
    const char *reason = library ? OM_LEADS_BACK : dlerror();
    if (library && !om_leads_back(library, &ora_func_table))
        return library;
    fprintf(stderr,
            "libdkom.so: cannot open %s's client library %s: %s\n"
            "libdkom.so: %s must name the directory that holds %s (it is %s%s)\n",
            backend.maker, path, reason ? reason : "the loader gives no reason", backend.variable,
            backend.file, directory ? "set to " : "unset: the working directory", directory ? directory : "");
    return nullptr;
}

} // namespace

extern "C" {

void oci_table_load(int exec_mode, oci_function_table_t *tablep)
{
    void *found[OCI_ENTRY_POINT_COUNT];
    stand_in_function *const *missing = exec_mode == OM_TARGET_DRAVIK ? stand_ins<true> : stand_ins<false>;
    for (size_t i = 0; i < OCI_ENTRY_POINT_COUNT; i++) {
        found[i] = dlsym(tablep->oci_dl, entry_point_names[i]);
        if (!found[i])
            found[i] = (void *)missing[i];
    }
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

    om_backend_path path;
    ora_func_table.oci_dl = open_backend(oracle_description, path);
    if (!ora_func_table.oci_dl) {
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "dlopen Oracle Fail: dl_path=%s", path);
        STOP_AT(__LINE__, "ora_func_table.oci_dl!=((void *)0)");
    }
    dk_func_table.oci_dl = open_backend(dravik_description, path);
    if (!dk_func_table.oci_dl) {
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "dlopen Dravik lib Fail: dl_path=%s", path);
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
