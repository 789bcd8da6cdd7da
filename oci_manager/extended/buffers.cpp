#include "buffers.h"

#include <stdlib.h>
#include <string.h>

#include "values.h"
#include "written.h"

namespace
{

/* The program's variable of an element. */
void **element(const omx_variable *v, ub4 index)
{
    return (void **)(void *)(v->program + (size_t)index * v->skip);
}

/* The descriptor that the program's variable holds, if it holds one: a null value may leave anything in it.
 */
omx_handle *descriptor_at(const omx_variable *v, ub4 index)
{
    return omx_find(*element(v, index), v->family);
}

/* How many elements a call uses: a PL/SQL table is one value, whatever the number of its elements. */
void elements_of(const omx_variable *v, ub4 *first, ub4 *count)
{
    if (!v->maxarr_len)
        return;
    *first = 0;
    *count = v->maxarr_len;
}

/* Attributes of a bind are the backend's: it would forget them. */
struct kept_attributes {
    ub1 form;
    ub2 set;
    bool has_form;
    bool has_set;
};

kept_attributes keep_attributes(const omx_handle *h, ub1 backend, const omx_handle *errh)
{
    kept_attributes kept = {};
    const auto get = omx_calls.OCIAttrGet[backend];
    if (get && h->backend[backend]) {
        OCIError *own = omx_own<OCIError>(errh, backend);
        kept.has_form =
            get(h->backend[backend], h->type, &kept.form, nullptr, OCI_ATTR_CHARSET_FORM, own) == OCI_SUCCESS;
        kept.has_set =
            get(h->backend[backend], h->type, &kept.set, nullptr, OCI_ATTR_CHARSET_ID, own) == OCI_SUCCESS;
    }
    return kept;
}

void restore_attributes(const omx_handle *h, ub1 backend, const omx_handle *errh, kept_attributes kept)
{
    const auto set = omx_calls.OCIAttrSet[backend];
    if (!set)
        return;
    OCIError *own = omx_own<OCIError>(errh, backend);
    if (kept.has_form && kept.form)
        set(h->backend[backend], h->type, &kept.form, 0, OCI_ATTR_CHARSET_FORM, own);
    if (kept.has_set && kept.set)
        set(h->backend[backend], h->type, &kept.set, 0, OCI_ATTR_CHARSET_ID, own);
}

/* Larger arrays lie elsewhere, so every backend that has the variable must learn of it. */
sword grow(omx_variable *v, ub4 count, omx_handle *errh)
{
    if (!omx_make_room(v, count))
        return omx_no_memory(errh);
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!v->handle->backend[backend])
            continue;
        const kept_attributes kept = keep_attributes(v->handle, backend, errh);
        const sword rc = omx_bind_again(v, backend, errh);
        if (!omx_succeeded(rc))
            return omx_done(errh, backend, rc);
        restore_attributes(v->handle, backend, errh, kept);
    }
    return OCI_SUCCESS;
}

sword fill(omx_variable *v, ub1 backend, ub4 first, ub4 count, omx_handle *errh)
{
    elements_of(v, &first, &count);
    if (first + count > v->room) {
        const sword rc = grow(v, first + count, errh);
        if (rc != OCI_SUCCESS)
            return rc;
    }
    for (ub4 i = first; i < first + count; i++) {
        omx_handle *h = descriptor_at(v, i);
        v->own[backend][i] = nullptr;
        if (!h)
            continue;
        if (v->handle->type == OCI_HTYPE_BIND && v->family != OCI_HTYPE_STMT) {
            omx_move_value(h, backend);
            if (h->current && !(h->current & omx_bit(backend)))
                return omx_fail(
                    errh, omx_error_foreign_value,
                    "A bound value came from %s and cannot be bound on %s. Read it there and write it "
                    "here.",
                    omx_backend_name(1U - backend), omx_backend_name(backend));
        }
        v->own[backend][i] = h->backend[backend];
    }
    return OCI_SUCCESS;
}

void take(omx_variable *v, ub1 backend, ub4 first, ub4 count)
{
    elements_of(v, &first, &count);
    for (ub4 i = first; i < first + count && i < v->room; i++) {
        omx_handle *h = descriptor_at(v, i);
        if (!h)
            continue;
        // A backend may put another object into its array than it was given.
        if (v->own[backend][i])
            omx_set_own(h, backend, v->own[backend][i]);
        h->current = omx_bit(backend);
        omx_follow(h, backend);
    }
}

} // namespace

bool omx_make_room(omx_variable *v, ub4 count)
{
    if (count <= v->room && v->own[omx_oracle] && v->own[omx_dravik])
        return true;
    const ub4 room = count > 2 * v->room ? count : 2 * v->room;
    void **own[omx_backend_count];
    for (unsigned int backend = 0; backend < omx_backend_count; backend++)
        own[backend] = (void **)calloc(room, sizeof(void *));
    if (!own[omx_oracle] || !own[omx_dravik]) {
        free(own[omx_oracle]);
        free(own[omx_dravik]);
        return false;
    }
    for (unsigned int backend = 0; backend < omx_backend_count; backend++) {
        free(v->own[backend]);
        v->own[backend] = own[backend];
    }
    v->room = room;
    return true;
}

sword omx_fill_buffers(omx_handle *stmth, ub1 backend, ub1 type, ub4 first, ub4 count, omx_handle *errh)
{
    for (omx_handle *child = stmth->children; child; child = child->next) {
        if (child->type != type || !omx_variable_of(child)->family || !omx_variable_of(child)->program)
            continue;
        const sword rc = fill(omx_variable_of(child), backend, first, count, errh);
        if (rc != OCI_SUCCESS)
            return rc;
    }
    return OCI_SUCCESS;
}

void omx_take_buffers(omx_handle *stmth, ub1 backend, ub1 type, ub4 first, ub4 count)
{
    for (omx_handle *child = stmth->children; child; child = child->next)
        if (child->type == type && omx_variable_of(child)->family && omx_variable_of(child)->program)
            take(omx_variable_of(child), backend, first, count);
}

void omx_release_buffers(omx_variable *v)
{
    for (void **own : v->own)
        free(own);
    free(v->name);
}

sword omx_bind_again(omx_variable *v, ub1 backend, omx_handle *errh)
{
    omx_handle *h = v->handle;
    OCIStmt *stmtp = omx_own<OCIStmt>(h->owner, backend);
    OCIError *errhp = omx_own<OCIError>(errh, backend);
    void *array = v->program ? v->own[backend] : nullptr;
    if (h->type == OCI_HTYPE_DEFINE) {
        OMX_NEED(OCIDefineByPos, backend, errh);
        OCIDefine **defnpp = (OCIDefine **)(void *)&h->backend[backend];
        const sword rc =
            omx_calls.OCIDefineByPos[backend](stmtp, defnpp, errhp, v->position, array, v->value_sz, v->dty,
                                              v->indp, v->lenp, v->rcodep, v->mode);
        if (!omx_succeeded(rc) || !v->has_skips)
            return rc;
        OMX_NEED(OCIDefineArrayOfStruct, backend, errh);
        return omx_calls.OCIDefineArrayOfStruct[backend](*defnpp, errhp, (ub4)sizeof(void *), v->indskip,
                                                         v->lenskip, v->rcskip);
    }
    OCIBind **bindpp = (OCIBind **)(void *)&h->backend[backend];
    sword rc = OCI_ERROR;
    if (v->by_name) {
        OMX_NEED(OCIBindByName, backend, errh);
        const omx_text name(h, backend, v->name, (ub4)v->name_length);
        rc = omx_calls.OCIBindByName[backend](stmtp, bindpp, errhp, name.text, (sb4)name.length, array,
                                              v->value_sz, v->dty, v->indp, v->lenp, v->rcodep, v->maxarr_len,
                                              v->curelep, v->mode);
    } else {
        OMX_NEED(OCIBindByPos, backend, errh);
        rc = omx_calls.OCIBindByPos[backend](stmtp, bindpp, errhp, v->position, array, v->value_sz, v->dty,
                                             v->indp, v->lenp, v->rcodep, v->maxarr_len, v->curelep, v->mode);
    }
    if (!omx_succeeded(rc) || !v->has_skips)
        return rc;
    OMX_NEED(OCIBindArrayOfStruct, backend, errh);
    return omx_calls.OCIBindArrayOfStruct[backend](*bindpp, errhp, (ub4)sizeof(void *), v->indskip,
                                                   v->lenskip, v->rcskip);
}
