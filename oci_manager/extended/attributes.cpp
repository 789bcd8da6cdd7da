/*
 * Attributes. A value that is a handle is translated on its way in, and found again or wrapped on its way
 * out. Until a connection is chosen, attributes are set in every backend, so that they are there whichever
 * is.
 */
#include <stdlib.h>
#include <string.h>

#include <dkom.h>

#include "attribute_kinds.h"
#include "callbacks.h"
#include "connection.h"
#include "written.h"

namespace
{

/* ---- setting ---- */

struct setting {
    omx_handle *target;
    ub4 type; /* of the target, in the program's words */
    void *value;
    ub4 size;
    ub4 attribute;
    omx_handle *errh;
    attribute_value_kind kind;
    omx_handle *value_handle; /* for a value that is one */
};

sword set_in(const setting &s, unsigned int backend, void *value, ub4 size)
{
    return omx_calls.OCIAttrSet[backend](s.target->backend[backend], s.type, value, size, s.attribute,
                                         omx_own<OCIError>(s.errh, backend));
}

/* An array of handles: each backend gets one of its own. */
sword set_list(const setting &s, unsigned int backend)
{
    void **given = (void **)calloc(s.size ? s.size : 1, sizeof(void *));
    if (!given)
        return omx_no_memory(s.errh);
    void *const *handles = (void *const *)s.value;
    for (ub4 i = 0; i < s.size; i++) {
        const omx_handle *h = omx_find_typed(handles[i], s.kind.type);
        if (!h) {
            free(given);
            return OCI_INVALID_HANDLE;
        }
        given[i] = h->backend[backend];
    }
    const sword rc = set_in(s, backend, given, s.size);
    free(given);
    return rc;
}

sword set_in_backend(const setting &s, unsigned int backend)
{
    OMX_NEED(OCIAttrSet, backend, s.errh);
    switch (s.kind.kind) {
    case attribute_kind::handle:
        return set_in(s, backend, s.value_handle ? s.value_handle->backend[backend] : nullptr, s.size);
    case attribute_kind::list:
        return set_list(s, backend);
    case attribute_kind::text: {
        const omx_text text(s.target, backend, (const OraText *)s.value, s.size);
        return set_in(s, backend, const_cast<OraText *>(text.text), text.length);
    }
    case attribute_kind::failover:
        // Dravik's library has no failover: there is nothing that it could call.
        if (backend == omx_dravik)
            return OCI_SUCCESS;
        return set_in(s, backend, omx_failover_for(s.target, (const OCIFocbkStruct *)s.value), s.size);
    case attribute_kind::notify:
    case attribute_kind::notify_ctx:
    case attribute_kind::event:
    case attribute_kind::event_ctx:
        return omx_set_callback(s.target, backend, s.kind.kind, s.value, s.size, s.attribute, s.errh);
    default:
        return set_in(s, backend, s.value, s.size);
    }
}

/* Where the attribute is set: a server may move a service context to another backend. */
ub1 backends_of(const setting &s)
{
    if (s.type == OCI_HTYPE_SVCCTX && s.attribute == OCI_ATTR_SERVER && s.value_handle) {
        ub1 held = omx_none;
        for (ub1 backend = 0; backend < omx_backend_count; backend++)
            if (s.target->backend[backend])
                held |= omx_bit(backend);
        return held & s.value_handle->targets;
    }
    if (s.value_handle)
        return s.target->targets & s.value_handle->targets;
    return s.target->targets;
}

/* Makes a server, session or transaction part of a service context. */
void link_family(const setting &s)
{
    omx_service *service = omx_service_of(s.target);
    switch (s.attribute) {
    case OCI_ATTR_SERVER:
        omx_set_owner(s.target, s.value_handle);
        omx_follow_server(s.target);
        break;
    case OCI_ATTR_SESSION:
        service->session = s.value_handle;
        break;
    case OCI_ATTR_TRANS:
        service->transaction = s.value_handle;
        if (s.value_handle) {
            s.value_handle->targets = s.target->targets;
            s.value_handle->run = s.target->run;
        }
        break;
    default:
        break;
    }
}

/* ---- getting ---- */

/*
 * The manager's handle for a backend's that an attribute has yielded: one that belongs to the family of the
 * handle asked, one that is known otherwise, or a new one that goes with the handle asked.
 */
omx_handle *handle_of_value(omx_handle *h, ub4 type, unsigned int backend, void *own)
{
    omx_handle **place = nullptr;
    if (type == OCI_HTYPE_ENV)
        return h->env;
    if (h->type == OCI_HTYPE_SVCCTX) {
        omx_service *service = omx_service_of(h);
        place = type == OCI_HTYPE_SERVER    ? &h->owner
                : type == OCI_HTYPE_SESSION ? &service->session
                : type == OCI_HTYPE_TRANS   ? &service->transaction
                                            : nullptr;
        if (place && *place && omx_find_typed(*place, type) && (*place)->backend[backend] == own)
            return *place;
    }
    omx_handle *found = omx_find_child(h, omx_family(type), backend, own);
    if (!found && !omx_is_descriptor_type(type))
        found = omx_find_wrapped(omx_family(type), h->env, backend, own);
    if (!found)
        found = omx_wrap(type, h->env, backend, own, h);
    if (place && found)
        *place = found;
    return found;
}

/* Keeps a text of Dravik's in the program's encoding for as long as its handle lives. */
sword convert_text(omx_handle *h, ub4 attribute, void *attributep, ub4 *sizep, const char *text, ub4 length,
                   omx_handle *errh)
{
    omx_attributes *kept = omx_attributes_of(h);
    omx_converted_text *t = (omx_converted_text *)malloc(sizeof(omx_converted_text) + (size_t)length * 2 + 2);
    if (!kept || !t) {
        free(t);
        return omx_no_memory(errh);
    }
    t->attribute = attribute;
    t->length = (ub4)omx_to_utf16(text, length, t->bytes, (size_t)length * 2);
    memset(t->bytes + t->length, 0, 2);
    for (omx_converted_text **link = &kept->texts; *link; link = &(*link)->next) {
        if ((*link)->attribute == attribute) {
            omx_converted_text *old = *link;
            *link = old->next;
            free(old);
            break;
        }
    }
    t->next = kept->texts;
    kept->texts = t;
    *(ub1 **)attributep = t->bytes;
    if (sizep)
        *sizep = t->length;
    return OCI_SUCCESS;
}

/* A ROWID is read into a descriptor, which programs pass itself or in a variable. */
sword get_rowid(omx_handle *h, unsigned int backend, void *attributep, ub4 *sizep, ub4 attrtype,
                omx_handle *errh)
{
    omx_handle *rowid = omx_find(attributep, OCI_DTYPE_ROWID);
    const bool is_variable = !rowid;
    if (is_variable)
        rowid = omx_find(*(void **)attributep, OCI_DTYPE_ROWID);
    void *own = rowid ? rowid->backend[backend] : nullptr;
    const sword rc =
        omx_calls.OCIAttrGet[backend](h->backend[backend], OCI_HTYPE_STMT, is_variable ? (void *)&own : own,
                                      sizep, attrtype, omx_own<OCIError>(errh, backend));
    if (!omx_succeeded(rc))
        return rc;
    if (is_variable && (!rowid || rowid->backend[backend] != own)) {
        rowid = own ? handle_of_value(h, OCI_DTYPE_ROWID, backend, own) : nullptr;
        *(void **)attributep = rowid;
    }
    if (rowid)
        rowid->current = omx_bit(backend);
    return rc;
}

sword get_handle(omx_handle *h, unsigned int backend, ub4 type, void *attributep, ub4 *sizep, ub4 attrtype,
                 omx_handle *errh, ub1 value_type)
{
    void *own = nullptr;
    const sword rc = omx_calls.OCIAttrGet[backend](h->backend[backend], type, &own, sizep, attrtype,
                                                   omx_own<OCIError>(errh, backend));
    if (!omx_succeeded(rc))
        return rc;
    omx_handle *found = own ? handle_of_value(h, value_type, backend, own) : nullptr;
    if (own && !found)
        return omx_no_memory(errh);
    *(void **)attributep = found;
    return rc;
}

sword get_special(omx_handle *h, unsigned int backend, ub4 type, void *attributep, ub4 *sizep, ub4 attrtype,
                  omx_handle *errh, attribute_value_kind kind)
{
    if (!attributep)
        return omx_calls.OCIAttrGet[backend](h->backend[backend], type, nullptr, sizep, attrtype,
                                             omx_own<OCIError>(errh, backend));
    switch (kind.kind) {
    case attribute_kind::handle:
        if (kind.type == OCI_DTYPE_ROWID)
            return get_rowid(h, backend, attributep, sizep, attrtype, errh);
        return get_handle(h, backend, type, attributep, sizep, attrtype, errh, kind.type);
    case attribute_kind::failover:
        *(OCIFocbkStruct *)attributep = omx_failover_of(h);
        return OCI_SUCCESS;
    case attribute_kind::notify:
    case attribute_kind::notify_ctx:
    case attribute_kind::event:
    case attribute_kind::event_ctx:
        *(void **)attributep = omx_callback_of(h, kind.kind);
        return OCI_SUCCESS;
    default: {
        ub4 length = 0;
        const sword rc = omx_calls.OCIAttrGet[backend](h->backend[backend], type, attributep, &length,
                                                       attrtype, omx_own<OCIError>(errh, backend));
        if (sizep)
            *sizep = length;
        const char *text = omx_succeeded(rc) ? *(const char **)attributep : nullptr;
        const sword converted =
            text ? convert_text(h, attrtype, attributep, sizep, text, length, errh) : OCI_SUCCESS;
        return converted == OCI_SUCCESS ? rc : converted;
    }
    }
}

/* Who serves a connection, with no backend asked. */
sword get_chosen(const omx_handle *h, void *attributep, ub4 *sizep)
{
    if (attributep)
        *(ub1 *)attributep = h->targets == omx_bit(omx_oracle)   ? DKOM_BACKEND_ORACLE
                             : h->targets == omx_bit(omx_dravik) ? DKOM_BACKEND_DRAVIK
                                                                 : DKOM_BACKEND_NONE;
    if (sizep)
        *sizep = sizeof(ub1);
    return OCI_SUCCESS;
}

/* Gets an attribute that is more than a value of a fixed size. */
__attribute__((noinline)) sword get_special_attribute(omx_handle *h, unsigned int backend, ub4 type,
                                                      void *attributep, ub4 *sizep, ub4 attrtype,
                                                      omx_handle *errh)
{
    const attribute_value_kind kind = omx_attribute_kind_of(type, attrtype);
    if (kind.kind == attribute_kind::chosen)
        return get_chosen(h, attributep, sizep);
    const bool is_own_text =
        kind.kind == attribute_kind::text && (backend == omx_oracle || !omx_environment_of(h)->is_utf16);
    const sword rc = is_own_text ? omx_calls.OCIAttrGet[backend](h->backend[backend], type, attributep, sizep,
                                                                 attrtype, omx_own<OCIError>(errh, backend))
                                 : get_special(h, backend, type, attributep, sizep, attrtype, errh, kind);
    return errh && errh->reported == omx_report_manager && rc == OCI_ERROR ? rc : omx_done(errh, backend, rc);
}

} // namespace

namespace written
{

sword OCIAttrSet(void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 size, ub4 attrtype, OCIError *errhp)
{
    omx_handle *h = omx_find_typed(trgthndlp, trghndltyp);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    setting s = {
        h,      trghndltyp, attributep, size, attrtype, errh, omx_attribute_kind_of(trghndltyp, attrtype),
        nullptr};
    if (s.kind.kind == attribute_kind::handle && attributep) {
        s.value_handle = omx_find_typed(attributep, s.kind.type);
        if (!s.value_handle)
            return OCI_INVALID_HANDLE;
    }
    const ub1 backends = backends_of(s);
    if (backends == omx_none)
        return omx_fail(
            errh, omx_error_wrong_backend,
            "The value of attribute %u belongs to a connection of %s, the handle that it is set on "
            "to one of %s.",
            attrtype, omx_backend_name(s.value_handle ? s.value_handle->run : h->run),
            omx_backend_name(h->run));
    sword result = OCI_ERROR;
    bool set = false;
    bool refused = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(backends & omx_bit(backend)))
            continue;
        const sword rc = set_in_backend(s, backend);
        if (omx_succeeded(rc)) {
            if (!set)
                result = rc;
            set = true;
        } else if (!set && !refused) {
            // The one that reports first is the one that the program asks.
            result = errh && errh->reported == omx_report_manager ? rc : omx_done(errh, backend, rc);
            refused = true;
        }
    }
    if (set && trghndltyp == OCI_HTYPE_SVCCTX && s.kind.kind == attribute_kind::handle)
        link_family(s);
    return result;
}

sword OCIAttrGet(const void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 *sizep, ub4 attrtype,
                 OCIError *errhp)
{
    omx_handle *h = omx_find_typed(trgthndlp, trghndltyp);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const unsigned int backend = h->run;
    OMX_NEED(OCIAttrGet, backend, errh);
    if (__builtin_expect(!omx_is_plain_attribute(trghndltyp, attrtype), 0))
        return get_special_attribute(h, backend, trghndltyp, attributep, sizep, attrtype, errh);
    return omx_done(errh, backend,
                    omx_calls.OCIAttrGet[backend](h->backend[backend], trghndltyp, attributep, sizep,
                                                  attrtype, omx_own<OCIError>(errh, backend)));
}

} // namespace written
