/*
 * The two client libraries behind the extended edition, of which one may be missing, and their entry points.
 */
#ifndef OMX_LIBRARIES_H
#define OMX_LIBRARIES_H

#include "../oci_manager/backend_files.h"
#include "../oci_manager/backends.h"
#include "handle.h"

/* Every entry point, of both backends side by side; null where a backend lacks it. */
struct omx_call_table {
#define OMX_MEMBER(name, type) type name[omx_backend_count];
    OCI_ENTRY_POINTS(OMX_MEMBER)
#undef OMX_MEMBER
};
extern omx_call_table omx_calls __attribute__((visibility("hidden")));

struct omx_library {
    void *dl;             /* of the loader; never closed. Null: not loaded */
    om_backend_path path; /* what was opened */
    char reason[512];     /* why that failed, in the loader's words */
};
extern omx_library omx_libraries[omx_backend_count] __attribute__((visibility("hidden")));

/* "Oracle" or "Dravik", for texts. */
const char *omx_backend_name(unsigned int backend);

/**
 * Loads both libraries and makes room for handles, once a process. Called before the first environment is
 * made and by calls that need none.
 *
 * @return the backends that are there; none: neither library could be loaded, or there is no room for handles
 */
ub1 omx_load(void);

/* The backend of a call that belongs to no environment. */
static inline ub1 omx_process_backend(void)
{
    return omx_first(omx_load());
}

#endif
