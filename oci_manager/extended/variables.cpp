/*
 * Binds and defines. A variable is made in every backend that has the statement prepared, so that it is there
 * wherever the statement runs. A bind is known by its position or name: whatever the program's variable for
 * the bind handle holds, the same place gets the same handle, and another place another one.
 */
#include <stdlib.h>
#include <string.h>

#include "buffers.h"
#include "written.h"

namespace
{

constexpr uint64_t named = (uint64_t)1 << 63;

/* Types whose values are text: in an environment of UTF-16 texts the values are UTF-16 too. */
bool is_text_type(ub2 dty)
{
    switch (dty) {
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_LNG:
    case SQLT_VCS:
    case SQLT_LVC:
    case SQLT_AFC:
    case SQLT_AVC:
    case SQLT_VST:
        return true;
    default:
        return false;
    }
}

uint64_t key_of_name(const OraText *name, size_t length)
{
    uint64_t hash = 14695981039346656037U;
    for (size_t i = 0; i < length; i++)
        hash = (hash ^ name[i]) * 1099511628211U;
    return hash | named;
}

/* Without a length a name ends with a zero character. */
size_t name_length(const omx_handle *stmth, const OraText *name, sb4 given)
{
    if (given >= 0 || !name)
        return given > 0 ? (size_t)given : 0;
    return omx_environment_of(stmth)->is_utf16 ? omx_utf16_length(name, (size_t)1 << 20)
                                               : strlen((const char *)name);
}

__attribute__((noinline)) omx_handle *find_or_make_variable(omx_handle *stmth, ub1 type, uint64_t key)
{
    omx_handle *h = nullptr;
    for (h = stmth->children; h; h = h->next)
        if (h->type == type && omx_variable_of(h)->key == key)
            return h;
    h = omx_new(type, stmth->env);
    if (!h)
        return nullptr;
    omx_variable *v = (omx_variable *)calloc(1, sizeof(omx_variable));
    if (!v) {
        omx_release(h);
        return nullptr;
    }
    v->key = key;
    v->quick_position = omx_no_position;
    v->handle = h;
    h->extra = v;
    omx_add_child(stmth, h);
    return h;
}

/* The bind or define of a statement for a place, or a new one; null when memory is out. */
OMX_INLINE omx_handle *variable_for(omx_handle *stmth, ub1 type, uint64_t key, const void *known)
{
    omx_handle *h = omx_find(known, type);
    if (__builtin_expect(h && h->owner == stmth && omx_variable_of(h)->key == key, 1))
        return h;
    return find_or_make_variable(stmth, type, key);
}

/* Values of text on Dravik's side of a UTF-16 environment, whose library expects UTF-8. */
void mark_wide_values(const omx_handle *h, ub1 backend, ub2 dty, const omx_handle *errh)
{
    if (backend != omx_dravik || !is_text_type(dty) || !omx_environment_of(h)->is_utf16 ||
        !omx_calls.OCIAttrSet[backend])
        return;
    ub2 set = OCI_UTF16ID;
    omx_calls.OCIAttrSet[backend](h->backend[backend], h->type, &set, 0, OCI_ATTR_CHARSET_ID,
                                  omx_own<OCIError>(errh, backend));
}

/* Lets a variable run where it was made. */
OMX_INLINE void made_in(omx_handle *h, ub1 backends)
{
    h->targets = backends;
    h->run = omx_first(backends);
    if (__builtin_expect(!h->tag, 0))
        omx_restore(h);
}

/* Nobody knows yet where the statement runs. What one backend refuses is not missed if it runs on the other.
 */
template <class Make>
__attribute__((noinline)) sword make_in_all(omx_handle *stmth, omx_handle *h, omx_handle *errh, ub2 dty,
                                            Make make)
{
    sword result = OCI_ERROR;
    ub1 made = omx_none;
    bool refused = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(stmth->targets & omx_bit(backend)))
            continue;
        const sword rc = make(backend, &h->backend[backend]);
        if (omx_succeeded(rc)) {
            if (made == omx_none)
                result = rc;
            made |= omx_bit(backend);
            mark_wide_values(h, backend, dty, errh);
        } else if (made == omx_none && !refused) {
            result = errh && errh->reported == omx_report_manager ? rc : omx_done(errh, backend, rc);
            refused = true;
        }
    }
    if (made != omx_none)
        made_in(h, made);
    return result;
}

/*
 * Makes the variable in each backend of the statement. `make` is called with the backend's number and the
 * place of its handle.
 */
template <class Make>
OMX_INLINE sword make_everywhere(omx_handle *stmth, omx_handle *h, omx_handle *errh, ub2 dty, Make make)
{
    const ub1 backend = stmth->run;
    if (__builtin_expect(stmth->targets != omx_bit(backend), 0))
        return make_in_all(stmth, h, errh, dty, make);
    const sword rc = make(backend, &h->backend[backend]);
    if (__builtin_expect(!omx_succeeded(rc), 0))
        return errh && errh->reported == omx_report_manager ? rc : omx_done(errh, backend, rc);
    made_in(h, omx_bit(backend));
    if (backend == omx_dravik)
        mark_wide_values(h, backend, dty, errh);
    return rc;
}

/* A handle that no backend has made, and none had made before, goes again. */
void drop_if_unmade(omx_handle *h)
{
    if (h->backend[omx_oracle] || h->backend[omx_dravik])
        return;
    omx_remove_child(h);
    omx_release(h);
}

/* Prepares a variable for descriptors. */
bool prepare_buffer(omx_handle *stmth, omx_variable *v, void *valuep, ub4 maxarr_len)
{
    v->program = (char *)valuep;
    v->skip = (ub4)sizeof(void *);
    v->has_skips = false;
    v->maxarr_len = maxarr_len;
    return omx_attributes_of(stmth) && omx_make_room(v, maxarr_len ? maxarr_len : 1);
}

/* What a bind is for. */
struct bind_place {
    ub4 position;
    const OraText *name; /* null: by position */
    sb4 name_length;
};

struct bind_arguments {
    void *valuep;
    sb4 value_sz;
    ub2 dty;
    void *indp;
    ub2 *alenp;
    ub2 *rcodep;
    ub4 maxarr_len;
    ub4 *curelep;
    ub4 mode;
};

sword bind_descriptors(omx_handle *stmth, omx_handle *h, omx_handle *errh, const bind_place &place,
                       const bind_arguments &a, ub1 family)
{
    omx_variable *v = omx_variable_of(h);
    v->family = family;
    v->dty = a.dty;
    v->value_sz = a.value_sz;
    v->indp = a.indp;
    v->lenp = a.alenp;
    v->rcodep = a.rcodep;
    v->curelep = a.curelep;
    v->mode = a.mode;
    v->position = place.position;
    v->by_name = place.name != nullptr;
    if (v->by_name && !v->name) {
        v->name = (OraText *)malloc((size_t)place.name_length + 1);
        if (!v->name)
            return omx_no_memory(errh);
        memcpy(v->name, place.name, (size_t)place.name_length);
        v->name_length = place.name_length;
    }
    if (!prepare_buffer(stmth, v, a.valuep, a.maxarr_len))
        return omx_no_memory(errh);
    return make_everywhere(stmth, h, errh, a.dty,
                           [&](ub1 backend, void **) { return omx_bind_again(v, backend, errh); });
}

template <class F>
sword bind_at(F const (&entry)[omx_backend_count], const char *name, OCIStmt *stmtp, OCIBind **bindpp,
              OCIError *errhp, ub4 position, const bind_arguments &a)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !bindpp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_handle *h = variable_for(stmth, OCI_HTYPE_BIND, position, *bindpp);
    if (!h)
        return omx_no_memory(errh);
    const ub1 family = omx_buffer_family(a.dty);
    sword rc = OCI_SUCCESS;
    if (family != 0) {
        rc = bind_descriptors(stmth, h, errh, {position, nullptr, 0}, a, family);
    } else {
        omx_variable_of(h)->family = 0;
        rc = make_everywhere(stmth, h, errh, a.dty, [&](ub1 backend, void **own) {
            if (!entry[backend])
                return omx_no_entry_point(errh, backend, name);
            return entry[backend](omx_own<OCIStmt>(stmth, backend), (OCIBind **)(void *)own,
                                  omx_own<OCIError>(errh, backend), position, a.valuep, a.value_sz, a.dty,
                                  a.indp, a.alenp, a.rcodep, a.maxarr_len, a.curelep, a.mode);
        });
    }
    if (omx_succeeded(rc))
        *bindpp = (OCIBind *)(void *)h;
    else
        drop_if_unmade(h);
    return rc;
}

template <class F>
sword bind_named(F const (&entry)[omx_backend_count], const char *call, OCIStmt *stmtp, OCIBind **bindpp,
                 OCIError *errhp, const OraText *placeholder, sb4 placeh_len, const bind_arguments &a)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !bindpp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const size_t length = name_length(stmth, placeholder, placeh_len);
    const uint64_t key = key_of_name(placeholder, length);
    omx_handle *h = variable_for(stmth, OCI_HTYPE_BIND, key, *bindpp);
    if (!h)
        return omx_no_memory(errh);
    const ub1 family = omx_buffer_family(a.dty);
    sword rc = OCI_SUCCESS;
    if (family != 0) {
        rc = bind_descriptors(stmth, h, errh, {0, placeholder, (sb4)length}, a, family);
    } else {
        omx_variable_of(h)->family = 0;
        rc = make_everywhere(stmth, h, errh, a.dty, [&](ub1 backend, void **own) {
            if (!entry[backend])
                return omx_no_entry_point(errh, backend, call);
            const omx_text name(stmth, backend, placeholder, (ub4)length);
            return entry[backend](
                omx_own<OCIStmt>(stmth, backend), (OCIBind **)(void *)own, omx_own<OCIError>(errh, backend),
                name.text, name.text == placeholder ? placeh_len : (sb4)name.length, a.valuep, a.value_sz,
                a.dty, a.indp, a.alenp, a.rcodep, a.maxarr_len, a.curelep, a.mode);
        });
    }
    if (omx_succeeded(rc))
        *bindpp = (OCIBind *)(void *)h;
    else
        drop_if_unmade(h);
    return rc;
}

/* ---- skips and callbacks ---- */

/* Tells each backend that has a variable something about it. */
template <class Tell> sword tell_everywhere(omx_handle *h, omx_handle *errh, Tell tell)
{
    return make_everywhere(h, h, errh, 0, [&](ub1 backend, void **) { return tell(backend); });
}

/* A descriptor that a callback has named; the variable holds the descriptor itself. */
void *own_of(const omx_variable *v, ub1 backend, void *named_by_program)
{
    omx_handle *h = v->family ? omx_find(named_by_program, v->family) : nullptr;
    if (!h)
        return named_by_program;
    h->current = h->current ? h->current : omx_bit(backend);
    return h->backend[backend];
}

/* The same of one that the backend is to put a value into: it has that in this backend alone from then on. */
void *own_to_fill(const omx_variable *v, ub1 backend, void *named_by_program)
{
    omx_handle *h = v->family ? omx_find(named_by_program, v->family) : nullptr;
    if (!h)
        return named_by_program;
    h->current = omx_bit(backend);
    omx_follow(h, backend);
    return h->backend[backend];
}

sb4 on_in_bind(void *context, OCIBind * /*own*/, ub4 iter, ub4 index, void **bufpp, ub4 *alenp, ub1 *piecep,
               void **indpp)
{
    const omx_variable *v = (const omx_variable *)context;
    const sb4 rc =
        v->in(v->in_context, (OCIBind *)(void *)v->handle, iter, index, bufpp, alenp, piecep, indpp);
    *bufpp = own_of(v, v->handle->owner->run, *bufpp);
    return rc;
}

sb4 on_out_bind(void *context, OCIBind * /*own*/, ub4 iter, ub4 index, void **bufpp, ub4 **alenpp,
                ub1 *piecep, void **indpp, ub2 **rcodepp)
{
    const omx_variable *v = (const omx_variable *)context;
    const sb4 rc = v->out(v->out_context, (OCIBind *)(void *)v->handle, iter, index, bufpp, alenpp, piecep,
                          indpp, rcodepp);
    *bufpp = own_to_fill(v, v->handle->owner->run, *bufpp);
    return rc;
}

sb4 on_define(void *context, OCIDefine * /*own*/, ub4 iter, void **bufpp, ub4 **alenpp, ub1 *piecep,
              void **indpp, ub2 **rcodepp)
{
    const omx_variable *v = (const omx_variable *)context;
    const sb4 rc = v->define(v->out_context, (OCIDefine *)(void *)v->handle, iter, bufpp, alenpp, piecep,
                             indpp, rcodepp);
    *bufpp = own_to_fill(v, v->handle->owner->run, *bufpp);
    return rc;
}

/* Keeps the skips of a variable with descriptors, whose own array has none. */
ub4 take_skips(omx_variable *v, ub4 pvskip, ub4 indskip, ub4 lenskip, ub4 rcskip)
{
    if (!v->family)
        return pvskip;
    v->has_skips = true;
    v->skip = pvskip ? pvskip : (ub4)sizeof(void *);
    v->indskip = indskip;
    v->lenskip = lenskip;
    v->rcskip = rcskip;
    return (ub4)sizeof(void *);
}

} // namespace

namespace written
{

sword OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, void *valuep, sb4 value_sz,
                   ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode)
{
    const sword rc = bind_at(omx_calls.OCIBindByPos, "OCIBindByPos", stmtp, bindp, errhp, position,
                             {valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode});
    if (omx_succeeded(rc)) {
        const omx_handle *h = (const omx_handle *)(const void *)*bindp;
        omx_variable *v = omx_variable_of(h);
        // Texts of Dravik's side in an environment of UTF-16 texts need a word more.
        const bool is_plain = !v->family && h->targets != omx_both && !omx_environment_of(h)->is_utf16;
        v->quick_position = is_plain ? position : omx_no_position;
    }
    return rc;
}

sword OCIStmtBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, void *valuep,
                       sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len,
                       ub4 *curelep, ub4 mode)
{
    const sword rc = bind_at(omx_calls.OCIStmtBindByPos, "OCIStmtBindByPos", stmtp, bindp, errhp, position,
                             {valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode});
    if (omx_succeeded(rc))
        omx_variable_of((omx_handle *)(void *)*bindp)->quick_position = omx_no_position;
    return rc;
}

sword OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const OraText *placeholder,
                    sb4 placeh_len, void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep,
                    ub4 maxarr_len, ub4 *curelep, ub4 mode)
{
    return bind_named(omx_calls.OCIBindByName, "OCIBindByName", stmtp, bindp, errhp, placeholder, placeh_len,
                      {valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode});
}

sword OCIStmtBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const OraText *placeholder,
                        sb4 placeh_len, void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp,
                        ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode)
{
    return bind_named(omx_calls.OCIStmtBindByName, "OCIStmtBindByName", stmtp, bindp, errhp, placeholder,
                      placeh_len, {valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len, curelep, mode});
}

sword OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 alskip, ub4 rcskip)
{
    omx_handle *h = omx_find(bindp, OCI_HTYPE_BIND);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub4 skip = take_skips(omx_variable_of(h), pvskip, indskip, alskip, rcskip);
    return tell_everywhere(h, errh, [&](ub1 backend) -> sword {
        OMX_NEED(OCIBindArrayOfStruct, backend, errh);
        return omx_calls.OCIBindArrayOfStruct[backend](
            omx_own<OCIBind>(h, backend), omx_own<OCIError>(errh, backend), skip, indskip, alskip, rcskip);
    });
}

sword OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 rlskip,
                             ub4 rcskip)
{
    omx_handle *h = omx_find(defnp, OCI_HTYPE_DEFINE);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub4 skip = take_skips(omx_variable_of(h), pvskip, indskip, rlskip, rcskip);
    return tell_everywhere(h, errh, [&](ub1 backend) -> sword {
        OMX_NEED(OCIDefineArrayOfStruct, backend, errh);
        return omx_calls.OCIDefineArrayOfStruct[backend](
            omx_own<OCIDefine>(h, backend), omx_own<OCIError>(errh, backend), skip, indskip, rlskip, rcskip);
    });
}

sword OCIBindDynamic(OCIBind *bindp, OCIError *errhp, void *ictxp, OCICallbackInBind icbfp, void *octxp,
                     OCICallbackOutBind ocbfp)
{
    omx_handle *h = omx_find(bindp, OCI_HTYPE_BIND);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_variable *v = omx_variable_of(h);
    v->in_context = ictxp;
    v->in = icbfp;
    v->out_context = octxp;
    v->out = ocbfp;
    return tell_everywhere(h, errh, [&](ub1 backend) -> sword {
        OMX_NEED(OCIBindDynamic, backend, errh);
        return omx_calls.OCIBindDynamic[backend](
            omx_own<OCIBind>(h, backend), omx_own<OCIError>(errh, backend), v, icbfp ? on_in_bind : nullptr,
            v, ocbfp ? on_out_bind : nullptr);
    });
}

sword OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, void *octxp, OCICallbackDefine ocbfp)
{
    omx_handle *h = omx_find(defnp, OCI_HTYPE_DEFINE);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_variable *v = omx_variable_of(h);
    v->out_context = octxp;
    v->define = ocbfp;
    return tell_everywhere(h, errh, [&](ub1 backend) -> sword {
        OMX_NEED(OCIDefineDynamic, backend, errh);
        return omx_calls.OCIDefineDynamic[backend](
            omx_own<OCIDefine>(h, backend), omx_own<OCIError>(errh, backend), v, ocbfp ? on_define : nullptr);
    });
}

sword OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, void *valuep,
                     sb4 value_sz, ub2 dty, void *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !defnp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_handle *h = variable_for(stmth, OCI_HTYPE_DEFINE, position, *defnp);
    if (!h)
        return omx_no_memory(errh);
    omx_variable *v = omx_variable_of(h);
    v->family = omx_buffer_family(dty);
    sword rc = OCI_SUCCESS;
    if (v->family) {
        v->dty = dty;
        v->value_sz = value_sz;
        v->indp = indp;
        v->lenp = rlenp;
        v->rcodep = rcodep;
        v->mode = mode;
        v->position = position;
        if (!prepare_buffer(stmth, v, valuep, 0))
            return omx_no_memory(errh);
        rc = make_everywhere(stmth, h, errh, dty,
                             [&](ub1 backend, void **) { return omx_bind_again(v, backend, errh); });
    } else {
        rc = make_everywhere(stmth, h, errh, dty, [&](ub1 backend, void **own) -> sword {
            OMX_NEED(OCIDefineByPos, backend, errh);
            return omx_calls.OCIDefineByPos[backend](
                omx_own<OCIStmt>(stmth, backend), (OCIDefine **)(void *)own, omx_own<OCIError>(errh, backend),
                position, valuep, value_sz, dty, indp, rlenp, rcodep, mode);
        });
    }
    if (omx_succeeded(rc))
        *defnp = (OCIDefine *)(void *)h;
    else
        drop_if_unmade(h);
    return rc;
}

} // namespace written
