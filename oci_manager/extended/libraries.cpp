#include "libraries.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "trace_log.h"

omx_call_table omx_calls;
omx_library omx_libraries[omx_backend_count];

namespace
{

const char *const entry_point_names[] = {
#define OMX_NAME(name, type) #name,
    OCI_ENTRY_POINTS(OMX_NAME)
#undef OMX_NAME
};
static_assert(sizeof(omx_call_table) == OCI_ENTRY_POINT_COUNT * omx_backend_count * sizeof(void *));

struct library_source {
    const char *variable; /* of the environment: the directory */
    const char *file;
};
constexpr library_source sources[omx_backend_count] = {
    {"DKOM_ORA_LIB_PATH", "libclntsh.so"},
    {"DKOM_DRK_LIB_PATH", "libdkoci.so"},
};

pthread_once_t once = PTHREAD_ONCE_INIT;
ub1 loaded;

/*
 * A program that runs with the rights of another user loads no code from where its caller says: neither from
 * a directory of the environment nor from the working directory, but from the system's own places.
 */
void name_library(const library_source &source, omx_library *into)
{
    const char *directory = secure_getenv(source.variable);
    if (directory || getenv(source.variable) == directory)
        snprintf(into->path, sizeof into->path, "%s/%s", directory ? directory : ".", source.file);
    else
        snprintf(into->path, sizeof into->path, "%s", source.file);
}

/* Whether a library is this one, or the exact edition: calls would never end. */
bool is_manager(void *library)
{
    Dl_info own;
    Dl_info other;
    void *entry = dlsym(library, "OCIEnvCreate");
    return dlsym(library, "func_table_init_once") ||
           (entry && dladdr(entry, &other) && dladdr((void *)&omx_calls, &own) &&
            own.dli_fbase == other.dli_fbase);
}

void load_library(unsigned int backend)
{
    omx_library *into = &omx_libraries[backend];
    name_library(sources[backend], into);
    into->dl = dlopen(into->path, RTLD_LAZY);
    const char *reason = into->dl ? "it leads back to the OCI manager itself" : dlerror();
    if (into->dl && is_manager(into->dl))
        into->dl = nullptr;
    if (!into->dl) {
        snprintf(into->reason, sizeof into->reason, "%s", reason ? reason : "the loader gives no reason");
        return;
    }
    void **entries = (void **)(void *)&omx_calls;
    for (size_t i = 0; i < OCI_ENTRY_POINT_COUNT; i++)
        entries[i * omx_backend_count + backend] = dlsym(into->dl, entry_point_names[i]);
    loaded |= omx_bit(backend);
}

void load_all(void)
{
    if (!omx_reserve_handles()) {
        for (omx_library &l : omx_libraries)
            snprintf(l.reason, sizeof l.reason, "there is no address space left for handles");
        return;
    }
    load_library(omx_oracle);
    load_library(omx_dravik);
    for (unsigned int backend = 0; backend < omx_backend_count; backend++)
        if (!omx_libraries[backend].dl)
            OMX_TRACE(OM_LOG_ASSERT, "%s's client library %s cannot be loaded: %s", omx_backend_name(backend),
                      omx_libraries[backend].path, omx_libraries[backend].reason);
}

} // namespace

const char *omx_backend_name(unsigned int backend)
{
    return backend == omx_oracle ? "Oracle" : "Dravik";
}

ub1 omx_load(void)
{
    pthread_once(&once, load_all);
    return loaded;
}
