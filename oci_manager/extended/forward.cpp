#include "forward.h"

#include <string.h>

namespace omx
{

sword refuse(const char *name, const refused_argument *arguments, int count, int principal, int error,
             unsigned int backend, bool has_entry_point)
{
    const int length = (int)strcspn(name, "(");
    omx_handle *errh = nullptr;
    if (error != no_parameter && arguments[error].pointer)
        errh = omx_find(arguments[error].pointer, OCI_HTYPE_ERROR);

    for (int i = 0; i < count; i++) {
        const refused_argument &a = arguments[i];
        if (a.family == 0 || (!a.pointer && i != principal))
            continue;
        if (!find_family(a.pointer, a.family))
            return OCI_INVALID_HANDLE;
    }
    if (!omx_load())
        return OCI_ERROR;
    const char *there = omx_backend_name(backend);
    if (!has_entry_point)
        return omx_fail(errh, omx_error_no_entry_point,
                        "%.*s cannot run here: the client library of %s (%s) does not have it. Use a newer "
                        "client library, or connect to the other database for this call.",
                        length, name, there, omx_libraries[backend].path);
    for (int i = 0; i < count; i++) {
        const refused_argument &a = arguments[i];
        const omx_handle *h = a.family && a.pointer ? find_family(a.pointer, a.family) : nullptr;
        if (!h)
            continue;
        if (!h->backend[backend])
            return omx_fail(errh, omx_error_wrong_backend,
                            "%.*s runs on %s, but its argument %d exists on %s only. Allocate it in an "
                            "environment that has both, or from this connection.",
                            length, name, there, i + 1, omx_backend_name(1U - backend));
        if (omx_is_descriptor_type(h->type) && h->current && !(h->current & omx_bit(backend)))
            return omx_fail(
                errh, omx_error_foreign_value,
                "%.*s runs on %s, but the value of its argument %d came from %s. Read it there and "
                "write it here.",
                length, name, there, i + 1, omx_backend_name(1U - backend));
    }
    return omx_fail(errh, omx_error_unsupported, "%.*s cannot run on %s with these arguments.", length, name,
                    there);
}

} // namespace omx
