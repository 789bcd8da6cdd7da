#include "data_areas.h"

#include <string.h>

#include "routes.h"
#include "written.h"

namespace
{

/* Programs have few areas, and most of them are variables that are used again and again. */
constexpr size_t area_places = 16384;

struct area_place {
    const void *area; /* never changes once it is set */
    ub1 backend;      /* plus 1; 0: forgotten */
};
area_place areas[area_places];

/* The place of an area; null if it has none, or, to be made, if there is none left. */
area_place *place_of(const void *area, bool make)
{
    const size_t start = ((size_t)area >> 3) * 11400714819323198485U >> 50;
    for (size_t i = 0; i < area_places; i++) {
        area_place *place = &areas[(start + i) % area_places];
        const void *known = __atomic_load_n(&place->area, __ATOMIC_ACQUIRE);
        if (!known && make &&
            __atomic_compare_exchange_n(&place->area, &known, area, false, __ATOMIC_ACQ_REL,
                                        __ATOMIC_ACQUIRE))
            return place;
        if (known == area)
            return place;
        if (!known)
            return nullptr;
    }
    return nullptr;
}

/* Behind the @ of "user/password@link". */
const OraText *link_of(const OraText *uid, sword uidl, ub4 *length)
{
    const size_t all = !uid ? 0 : uidl >= 0 ? (size_t)uidl : strlen((const char *)uid);
    const OraText *at = all ? (const OraText *)memrchr(uid, '@', all) : nullptr;
    *length = at ? (ub4)(uid + all - at - 1) : 0;
    return at ? at + 1 : nullptr;
}

} // namespace

ub1 omx_area_backend(const void *area)
{
    if (const area_place *place = area ? place_of(area, false) : nullptr)
        if (const ub1 backend = __atomic_load_n(&place->backend, __ATOMIC_ACQUIRE))
            return (ub1)(backend - 1);
    return omx_process_backend();
}

void omx_note_area(const void *area, ub1 backend)
{
    if (area_place *place = area ? place_of(area, true) : nullptr)
        __atomic_store_n(&place->backend, (ub1)(backend + 1), __ATOMIC_RELEASE);
}

void omx_forget_area(const void *area)
{
    if (area_place *place = area ? place_of(area, false) : nullptr)
        __atomic_store_n(&place->backend, (ub1)0, __ATOMIC_RELEASE);
}

namespace written
{

/* Logs on where the link is routed. The reasons of a refusal stand in the area, as its last writer left them.
 */
sword olog(struct cda_def *lda, ub1 *hda, OraText *uid, sword uidl, OraText *pswd, sword pswdl, OraText *conn,
           sword connl, ub4 mode)
{
    const ub1 loaded = omx_load();
    ub4 length = 0;
    const OraText *link = conn;
    if (conn)
        length = connl >= 0 ? (ub4)connl : (ub4)strlen((const char *)conn);
    else
        link = link_of(uid, uidl, &length);
    omx_route route;
    if (omx_route_of(nullptr, link, length, loaded, nullptr, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    sword rc = OCI_ERROR;
    for (ub1 i = 0; i < route.count; i++) {
        const ub1 backend = route.backend[i];
        if (!omx_calls.olog[backend])
            continue;
        rc = omx_calls.olog[backend](lda, hda, uid, uidl, pswd, pswdl, conn, connl, mode);
        omx_note_area(lda, backend); // who refused last has the text of the error
        if (rc == OCI_SUCCESS)
            break;
    }
    return rc;
}

sword ologof(struct cda_def *lda)
{
    const ub1 backend = omx_area_backend(lda);
    OMX_NEED(ologof, backend, nullptr);
    const sword rc = omx_calls.ologof[backend](lda);
    if (rc == OCI_SUCCESS)
        omx_forget_area(lda);
    return rc;
}

sword oopen(struct cda_def *cursor, struct cda_def *lda, OraText *dbn, sword dbnl, sword arsize, OraText *uid,
            sword uidl)
{
    const ub1 backend = omx_area_backend(lda);
    OMX_NEED(oopen, backend, nullptr);
    const sword rc = omx_calls.oopen[backend](cursor, lda, dbn, dbnl, arsize, uid, uidl);
    omx_note_area(cursor, backend);
    return rc;
}

sword oclose(struct cda_def *cursor)
{
    const ub1 backend = omx_area_backend(cursor);
    OMX_NEED(oclose, backend, nullptr);
    const sword rc = omx_calls.oclose[backend](cursor);
    if (rc == OCI_SUCCESS)
        omx_forget_area(cursor);
    return rc;
}

sword OCISvcCtxToLda(OCISvcCtx *svchp, OCIError *errhp, Lda_Def *ldap)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCISvcCtxToLda, backend, errh);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCISvcCtxToLda[backend](omx_own<OCISvcCtx>(svch, backend),
                                                                omx_own<OCIError>(errh, backend), ldap));
    if (omx_succeeded(rc))
        omx_note_area(ldap, backend);
    return rc;
}

sword OCILdaToSvcCtx(OCISvcCtx **svchpp, OCIError *errhp, Lda_Def *ldap)
{
    omx_handle *errh = omx_find(errhp, OCI_HTYPE_ERROR);
    if (!errh || !svchpp)
        return OCI_INVALID_HANDLE;
    const ub1 backend = omx_area_backend(ldap);
    OMX_NEED(OCILdaToSvcCtx, backend, errh);
    OCISvcCtx *own = nullptr;
    const sword rc = omx_done(
        errh, backend, omx_calls.OCILdaToSvcCtx[backend](&own, omx_own<OCIError>(errh, backend), ldap));
    if (!omx_succeeded(rc) || !own)
        return rc;
    omx_handle *svch = omx_find_wrapped(OCI_HTYPE_SVCCTX, errh->env, backend, own);
    if (!svch)
        svch = omx_new_service(errh->env, backend, own);
    if (!svch)
        return omx_no_memory(errh);
    *svchpp = (OCISvcCtx *)(void *)svch;
    return rc;
}

} // namespace written
