/*
 * The client libraries as files: what they are called, which variable names their directory, and the path
 * that is opened. Both editions load them so, and dkom-check looks for them so.
 */
#ifndef OM_BACKEND_FILES_H
#define OM_BACKEND_FILES_H

#include <dlfcn.h>
#include <stdio.h>

struct om_backend_file {
    const char *maker;
    const char *variable; /* of the environment: the directory */
    const char *file;
};

/* In the order of the backends' numbers. */
constexpr om_backend_file om_backend_files[] = {
    {"Oracle", "DKOM_ORA_LIB_PATH", "libclntsh.so"},
    {"Dravik", "DKOM_DRK_LIB_PATH", "libdkoci.so"},
};

#define OM_BACKEND_PATH_SIZE 1024
typedef char om_backend_path[OM_BACKEND_PATH_SIZE];

/* The path that is opened; longer ones are cut. No directory: the working directory. */
static inline void om_name_backend(const om_backend_file &backend, const char *directory,
                                   om_backend_path &path)
{
    snprintf(path, sizeof path, "%s/%s", directory ? directory : ".", backend.file);
}

/* Exported by the exact edition alone. */
#define OM_MARK_OF_EXACT_EDITION "func_table_init_once"

/* Why a library that is the manager is refused. */
#define OM_LEADS_BACK "it leads back to the OCI manager itself"

/*
 * Whether a library is the exact edition, or the one that `own` is in: a backend path that leads back to the
 * manager never ends.
 */
static inline bool om_leads_back(void *library, const void *own)
{
    Dl_info this_one;
    Dl_info other;
    void *entry = dlsym(library, "OCIEnvCreate");
    return dlsym(library, OM_MARK_OF_EXACT_EDITION) ||
           (entry && dladdr(entry, &other) && dladdr(own, &this_one) &&
            other.dli_fbase == this_one.dli_fbase);
}

#endif
