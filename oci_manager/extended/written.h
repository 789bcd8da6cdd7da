/*
 * What the calls that are written by hand share. Each is a function of the namespace `written`, with the name
 * and the prototype of the published call; the exported function of that name hands over to it.
 */
#ifndef OMX_WRITTEN_H
#define OMX_WRITTEN_H

#include "errors.h"
#include "extras.h"
#include "handle.h"
#include "libraries.h"
#include "published_calls.h"
#include "text.h"

namespace written
{
#define OMX_DECLARE_routed(name)
#define OMX_DECLARE_any(name)
#define OMX_DECLARE_object(name)
#define OMX_DECLARE_every(name)
#define OMX_DECLARE_lob_transfer(name)
#define OMX_DECLARE_value_read(name)
#define OMX_DECLARE_value_made(name)
#define OMX_DECLARE_process(name)
#define OMX_DECLARE_variadic(name)
#define OMX_DECLARE_data_area(name)
#define OMX_DECLARE_written(name) decltype(::name) name;
#define OMX_DECLARE_quick(name) decltype(::name) name;
#define OMX_DECLARE(name, parameters, role) OMX_DECLARE_##role(name)
OMX_PUBLISHED_CALLS(OMX_DECLARE)
#undef OMX_DECLARE
} // namespace written

/* Finds a handle that may be null. False: it is neither null nor a handle of the family. */
OMX_INLINE bool omx_optional(const void *pointer, ub1 family, omx_handle **found)
{
    *found = pointer ? omx_find(pointer, family) : nullptr;
    return !pointer || *found;
}

OMX_INLINE bool omx_optional_error(const void *errhp, omx_handle **found)
{
    return omx_optional(errhp, OCI_HTYPE_ERROR, found);
}

/* A backend's own handle behind one of the manager's; null for none. */
template <class T> OMX_INLINE T *omx_own(const omx_handle *h, unsigned int backend)
{
    return h ? (T *)h->backend[backend] : nullptr;
}

/* The result of a backend, which is noted on the error handle if it is a report. */
OMX_INLINE sword omx_done(omx_handle *errh, unsigned int backend, sword rc)
{
    if (__builtin_expect(rc != OCI_SUCCESS, 0))
        omx_reported(errh, backend);
    return rc;
}

static inline bool omx_succeeded(sword rc)
{
    return rc == OCI_SUCCESS || rc == OCI_SUCCESS_WITH_INFO;
}

/* Says that a backend lacks a call. */
sword omx_no_entry_point(omx_handle *errh, unsigned int backend, const char *name);

/* Ends the call unless the backend has it. */
#define OMX_NEED(name, backend, errh)                                                                        \
    do {                                                                                                     \
        if (__builtin_expect(!omx_calls.name[backend], 0))                                                   \
            return omx_no_entry_point(errh, backend, #name);                                                 \
    } while (0)

/* Says that memory is out, or that there is no room for another handle. */
sword omx_no_memory(omx_handle *errh);

/*
 * Makes a handle of the manager's for one that a backend has made by itself.
 *
 * @param owner  the handle with which it goes; null: it goes by itself
 * @return null when memory is out
 */
omx_handle *omx_wrap(ub4 type, omx_handle *env, unsigned int backend, void *hndlp, omx_handle *owner);

/* The same for a service context. */
omx_handle *omx_new_service(omx_handle *env, unsigned int backend, void *hndlp);

/* The child of a handle that wraps a backend's handle; null if there is none among the latest. */
omx_handle *omx_find_child(const omx_handle *owner, ub1 family, unsigned int backend, const void *hndlp);

/* A backend's array for a program's array of handles; frees it at the end of its scope. */
class omx_array
{
public:
    omx_array(void *const *handles, ub4 count, ub1 family, unsigned int backend);
    ~omx_array();
    omx_array(const omx_array &) = delete;
    omx_array &operator=(const omx_array &) = delete;

    /* OCI_SUCCESS; or OCI_INVALID_HANDLE if one is no handle; or OCI_ERROR if memory is out. */
    sword state = OCI_SUCCESS;
    /* Null if the program's array is. */
    template <class T> T **own(void) const { return (T **)(void *)array; }

private:
    void **array = nullptr;
    void *room[16];
};

/* Lets the handles of an array run where a call has put them. */
void omx_follow_all(void *const *handles, ub4 count, unsigned int backend);

#endif
