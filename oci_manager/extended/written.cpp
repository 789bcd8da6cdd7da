#include "written.h"

#include <stdlib.h>

sword omx_no_entry_point(omx_handle *errh, unsigned int backend, const char *name)
{
    return omx_fail(errh, omx_error_no_entry_point,
                    "%s cannot run here: the client library of %s (%s) does not have it. Use a newer client "
                    "library, or connect to the other database for this call.",
                    name, omx_backend_name(backend), omx_libraries[backend].path);
}

sword omx_no_memory(omx_handle *errh)
{
    return omx_fail(errh, omx_error_no_memory, "There is no memory left for another handle.");
}

omx_handle *omx_wrap(ub4 type, omx_handle *env, unsigned int backend, void *hndlp, omx_handle *owner)
{
    omx_handle *h = omx_new(type, env);
    if (!h)
        return nullptr;
    omx_set_own(h, backend, hndlp);
    omx_publish(h);
    if (owner)
        omx_add_child(owner, h);
    return h;
}

omx_handle *omx_find_child(const omx_handle *owner, ub1 family, unsigned int backend, const void *hndlp)
{
    // Programs may leave any number of parameters behind, each at an address of its own.
    unsigned int left = 4096;
    for (omx_handle *child = owner->children; child && left > 0; child = child->next, left--)
        if (child->backend[backend] == hndlp && omx_family(child->type) == family)
            return child;
    return nullptr;
}

omx_handle *omx_new_service(omx_handle *env, unsigned int backend, void *hndlp)
{
    omx_handle *svch = omx_new(OCI_HTYPE_SVCCTX, env);
    if (!svch)
        return nullptr;
    svch->extra = calloc(1, sizeof(omx_service));
    if (!svch->extra) {
        omx_release(svch);
        return nullptr;
    }
    omx_set_own(svch, backend, hndlp);
    omx_publish(svch);
    return svch;
}

omx_array::omx_array(void *const *handles, ub4 count, ub1 family, unsigned int backend)
{
    if (!handles)
        return;
    array = count <= sizeof room / sizeof *room ? room : (void **)calloc(count, sizeof *array);
    if (!array) {
        state = OCI_ERROR;
        return;
    }
    for (ub4 i = 0; i < count && state == OCI_SUCCESS; i++) {
        const omx_handle *h = handles[i] ? omx_find(handles[i], family) : nullptr;
        if (handles[i] && !h)
            state = OCI_INVALID_HANDLE;
        array[i] = h ? h->backend[backend] : nullptr;
    }
}

omx_array::~omx_array()
{
    if (array != room)
        free(array);
}

void omx_follow_all(void *const *handles, ub4 count, unsigned int backend)
{
    for (ub4 i = 0; handles && i < count; i++)
        if (omx_handle *h = omx_find_any(handles[i]))
            omx_follow(h, (ub1)backend);
}
