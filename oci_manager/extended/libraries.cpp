#include "libraries.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>

#include "../oci_manager/backend_files.h"
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

pthread_once_t once = PTHREAD_ONCE_INIT;
ub1 loaded;

/*
 * A program that runs with the rights of another user loads no code from where its caller says: neither from
 * a directory of the environment nor from the working directory, but from the system's own places.
 */
void name_library(const om_backend_file &source, omx_library *into)
{
    if (getauxval(AT_SECURE) != 0)
        snprintf(into->path, sizeof into->path, "%s", source.file);
    else
        om_name_backend(source, getenv(source.variable), into->path);
}

void load_library(unsigned int backend)
{
    omx_library *into = &omx_libraries[backend];
    name_library(om_backend_files[backend], into);
    into->dl = dlopen(into->path, RTLD_LAZY);
    const char *reason = into->dl ? OM_LEADS_BACK : dlerror();
    if (into->dl && om_leads_back(into->dl, &omx_calls))
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
    return om_backend_files[backend].maker;
}

ub1 omx_load(void)
{
    pthread_once(&once, load_all);
    return loaded;
}
