/*
 * Connections: where a backend is chosen. Servers are attached, sessions logged on in one step or taken from
 * pools; the pools themselves are bound to a backend when they are made.
 */
#include "connection.h"

#include <stdlib.h>
#include <string.h>

#include "routes.h"
#include "trace_log.h"
#include "written.h"

namespace
{

/* The backends that hold a handle. */
ub1 holders(const omx_handle *h)
{
    return (ub1)((h->backend[omx_oracle] ? omx_bit(omx_oracle) : omx_none) |
                 (h->backend[omx_dravik] ? omx_bit(omx_dravik) : omx_none));
}

/* Service contexts on a server go where it goes, even if they were put on it before. */
void follow_server(omx_handle *srvh)
{
    omx_each(
        OCI_HTYPE_SVCCTX, srvh->env,
        [](omx_handle *svch, void *context) {
            if (omx_owner(svch) == context)
                omx_follow_server(svch);
        },
        srvh);
}

ub4 text_length(sb4 length)
{
    return length > 0 ? (ub4)length : 0;
}

/* Makes a service context of what a backend has logged on. */
sword new_service(omx_handle *env, ub1 backend, OCISvcCtx *own, sword rc, omx_handle *errh, OCISvcCtx **svchp)
{
    omx_handle *svch = omx_new_service(env, backend, own);
    if (!svch)
        return omx_no_memory(errh);
    omx_note_connected(env, backend);
    *svchp = (OCISvcCtx *)(void *)svch;
    return rc;
}

/* Searches the pool that bears a name. */
struct pool_search {
    const OraText *name;
    ub4 length;
    omx_handle *found;
};

void match_pool(omx_handle *pool, void *context)
{
    pool_search *s = (pool_search *)context;
    const omx_pool *p = (const omx_pool *)pool->extra;
    if (p && p->name && p->length == s->length && memcmp(p->name, s->name, s->length) == 0)
        s->found = pool;
}

omx_handle *find_pool(const omx_handle *env, const OraText *name, ub4 length)
{
    pool_search search = {name, length, nullptr};
    if (!name || length == 0)
        return nullptr;
    pthread_mutex_lock(&omx_pools_lock);
    omx_each(OCI_HTYPE_SPOOL, env, match_pool, &search);
    if (!search.found)
        omx_each(OCI_HTYPE_CPOOL, env, match_pool, &search);
    pthread_mutex_unlock(&omx_pools_lock);
    return search.found;
}

/* The route of a session: that of its pool, if its link is the name of one. */
sword route_of(omx_handle *env, const OraText *name, ub4 length, omx_handle *errh, omx_route *route)
{
    if (const omx_handle *pool = find_pool(env, name, length)) {
        *route = {1, {pool->run, pool->run}};
        return OCI_SUCCESS;
    }
    return omx_route_of(env, name, length, holders(env), errh, route);
}

/* Who logs on where; lengths in bytes. */
struct logon_texts {
    const OraText *user;
    ub4 user_length;
    const OraText *password;
    ub4 password_length;
    const OraText *link;
    ub4 link_length;
};

/*
 * Logs on in one step where the route leads. `attempt` is given the backend, the error handle and a function
 * that makes the backend's call: with the arguments that all such calls have, and those that follow them.
 */
template <class Attempt>
sword log_on(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const logon_texts *texts,
             const Attempt &attempt)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *errh = nullptr;
    if (!env || !svchp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_route route;
    if (route_of(env, texts->link, texts->link_length, errh, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    ub1 backend = env->run;
    OCISvcCtx *own = nullptr;
    const sword rc = omx_try(route, errh, &backend, [&](ub1 b) -> sword {
        const omx_text user(env, b, texts->user, texts->user_length);
        const omx_text secret(env, b, texts->password, texts->password_length);
        const omx_text link(env, b, texts->link, texts->link_length);
        own = nullptr;
        return attempt(b, errh, [&](auto call, auto... more) {
            return call(omx_own<OCIEnv>(env, b), omx_own<OCIError>(errh, b), &own, user.text, user.length,
                        secret.text, secret.length, link.text, link.length, more...);
        });
    });
    return omx_succeeded(rc) ? new_service(env, backend, own, rc, errh, svchp) : rc;
}

/* Notes the backend and the name of a pool. */
void open_pool(omx_handle *pool, ub1 backend, const OraText *name, ub4 length)
{
    omx_follow(pool, backend);
    omx_note_connected(pool, backend);
    release_extra(pool);
    omx_pool *p = (omx_pool *)calloc(1, sizeof(omx_pool));
    if (!p)
        return;
    p->name = name;
    p->length = length;
    pthread_mutex_lock(&omx_pools_lock);
    pool->extra = p;
    pthread_mutex_unlock(&omx_pools_lock);
}

sword close_pool(omx_handle *pool, sword rc)
{
    if (omx_succeeded(rc)) {
        release_extra(pool);
        omx_unbind(pool);
    }
    return rc;
}

} // namespace

void omx_follow_server(omx_handle *svch)
{
    if (!svch->owner) {
        omx_unbind(svch);
        return;
    }
    svch->targets = svch->owner->targets;
    svch->run = svch->owner->run;
    // A session belongs to a backend from its begin to its end only.
    if (omx_handle *transaction = omx_service_of(svch)->transaction) {
        transaction->targets = svch->targets;
        transaction->run = svch->run;
    }
}

namespace written
{

sword OCIServerAttach(OCIServer *srvhp, OCIError *errhp, const OraText *dblink, sb4 dblink_len, ub4 mode)
{
    omx_look_at_control_file();
    omx_handle *srvh = omx_find(srvhp, OCI_HTYPE_SERVER);
    omx_handle *errh = nullptr;
    if (!srvh || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_route route;
    if (omx_route_of(srvh->env, dblink, text_length(dblink_len), holders(srvh), errh, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    ub1 backend = srvh->run;
    const sword rc = omx_try(route, errh, &backend, [&](ub1 b) -> sword {
        OMX_NEED(OCIServerAttach, b, errh);
        const omx_text link(srvh->env, b, dblink, text_length(dblink_len));
        return omx_calls.OCIServerAttach[b](omx_own<OCIServer>(srvh, b), omx_own<OCIError>(errh, b),
                                            link.text, link.text == dblink ? dblink_len : (sb4)link.length,
                                            mode);
    });
    if (omx_succeeded(rc)) {
        omx_follow(srvh, backend);
        omx_note_connected(srvh, backend);
        follow_server(srvh);
    }
    return rc;
}

/* A server that is detached may be attached anywhere. */
sword OCIServerDetach(OCIServer *srvhp, OCIError *errhp, ub4 mode)
{
    omx_handle *srvh = omx_find(srvhp, OCI_HTYPE_SERVER);
    omx_handle *errh = nullptr;
    if (!srvh || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = srvh->run;
    OMX_NEED(OCIServerDetach, backend, errh);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIServerDetach[backend](omx_own<OCIServer>(srvh, backend),
                                                                 omx_own<OCIError>(errh, backend), mode));
    if (omx_succeeded(rc)) {
        omx_unbind(srvh);
        follow_server(srvh);
    }
    return rc;
}

sword OCILogon2(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username, ub4 uname_len,
                const OraText *password, ub4 passwd_len, const OraText *dbname, ub4 dbname_len, ub4 mode)
{
    const logon_texts texts = {username, uname_len, password, passwd_len, dbname, dbname_len};
    return log_on(envhp, errhp, svchp, &texts, [mode](ub1 b, omx_handle *errh, const auto &give) -> sword {
        OMX_NEED(OCILogon2, b, errh);
        return give(omx_calls.OCILogon2[b], mode);
    });
}

sword OCILogon(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username, ub4 uname_len,
               const OraText *password, ub4 passwd_len, const OraText *dbname, ub4 dbname_len)
{
    const logon_texts texts = {username, uname_len, password, passwd_len, dbname, dbname_len};
    return log_on(envhp, errhp, svchp, &texts, [](ub1 b, omx_handle *errh, const auto &give) -> sword {
        OMX_NEED(OCILogon, b, errh);
        return give(omx_calls.OCILogon[b]);
    });
}

/* What a logon has made, it takes back; handles that the program has asked for go with the service context.
 */
sword OCILogoff(OCISvcCtx *svchp, OCIError *errhp)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCILogoff, backend, errh);
    const sword rc = omx_done(
        errh, backend,
        omx_calls.OCILogoff[backend](omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend)));
    if (omx_succeeded(rc) && omx_claim(svch))
        omx_release(svch);
    return rc;
}

sword OCISessionGet(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, OCIAuthInfo *authhp, OraText *poolName,
                    ub4 poolName_len, const OraText *tagInfo, ub4 tagInfo_len, OraText **retTagInfo,
                    ub4 *retTagInfo_len, int *found, ub4 mode)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *errh = nullptr;
    omx_handle *authh = nullptr;
    if (!env || !svchp || !omx_optional_error(errhp, &errh) ||
        !omx_optional(authhp, OCI_HTYPE_AUTHINFO, &authh))
        return OCI_INVALID_HANDLE;
    omx_route route;
    if (route_of(env, poolName, poolName_len, errh, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    ub1 backend = env->run;
    OCISvcCtx *own = nullptr;
    const sword rc = omx_try(route, errh, &backend, [&](ub1 b) -> sword {
        OMX_NEED(OCISessionGet, b, errh);
        const omx_text name(env, b, poolName, poolName_len);
        const omx_text tag(env, b, tagInfo, tagInfo_len);
        own = nullptr;
        return omx_calls.OCISessionGet[b](omx_own<OCIEnv>(env, b), omx_own<OCIError>(errh, b), &own,
                                          omx_own<OCIAuthInfo>(authh, b), const_cast<OraText *>(name.text),
                                          name.length, tag.text, tag.length, retTagInfo, retTagInfo_len,
                                          found, mode);
    });
    return omx_succeeded(rc) ? new_service(env, backend, own, rc, errh, svchp) : rc;
}

sword OCISessionRelease(OCISvcCtx *svchp, OCIError *errhp, OraText *tag, ub4 tag_len, ub4 mode)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCISessionRelease, backend, errh);
    const omx_text text(svch, backend, tag, tag_len);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCISessionRelease[backend](
                                  omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend),
                                  const_cast<OraText *>(text.text), text.length, mode));
    if (omx_succeeded(rc) && omx_claim(svch))
        omx_release(svch);
    return rc;
}

sword OCIConnectionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCICPool *poolhp, OraText **poolName,
                              sb4 *poolNameLen, const OraText *dblink, sb4 dblinkLen, ub4 connMin,
                              ub4 connMax, ub4 connIncr, const OraText *poolUserName, sb4 poolUserLen,
                              const OraText *poolPassword, sb4 poolPassLen, ub4 mode)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *pool = omx_find(poolhp, OCI_HTYPE_CPOOL);
    omx_handle *errh = nullptr;
    if (!env || !pool || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_route route;
    if (omx_route_of(env, dblink, text_length(dblinkLen), holders(pool), errh, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    ub1 backend = pool->run;
    const sword rc = omx_try(route, errh, &backend, [&](ub1 b) -> sword {
        OMX_NEED(OCIConnectionPoolCreate, b, errh);
        const omx_text link(env, b, dblink, text_length(dblinkLen));
        const omx_text user(env, b, poolUserName, text_length(poolUserLen));
        const omx_text secret(env, b, poolPassword, text_length(poolPassLen));
        return omx_calls.OCIConnectionPoolCreate[b](
            omx_own<OCIEnv>(env, b), omx_own<OCIError>(errh, b), omx_own<OCICPool>(pool, b), poolName,
            poolNameLen, link.text, (sb4)link.length, connMin, connMax, connIncr, user.text, (sb4)user.length,
            secret.text, (sb4)secret.length, mode);
    });
    if (omx_succeeded(rc))
        open_pool(pool, backend, poolName ? *poolName : nullptr, poolNameLen ? text_length(*poolNameLen) : 0);
    return rc;
}

sword OCIConnectionPoolDestroy(OCICPool *poolhp, OCIError *errhp, ub4 mode)
{
    omx_handle *pool = omx_find(poolhp, OCI_HTYPE_CPOOL);
    omx_handle *errh = nullptr;
    if (!pool || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = pool->run;
    OMX_NEED(OCIConnectionPoolDestroy, backend, errh);
    return close_pool(
        pool, omx_done(errh, backend,
                       omx_calls.OCIConnectionPoolDestroy[backend](omx_own<OCICPool>(pool, backend),
                                                                   omx_own<OCIError>(errh, backend), mode)));
}

sword OCISessionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCISPool *spoolhp, OraText **poolName,
                           ub4 *poolNameLen, const OraText *connStr, ub4 connStrLen, ub4 sessMin, ub4 sessMax,
                           ub4 sessIncr, OraText *userid, ub4 useridLen, OraText *password, ub4 passwordLen,
                           ub4 mode)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *pool = omx_find(spoolhp, OCI_HTYPE_SPOOL);
    omx_handle *errh = nullptr;
    if (!env || !pool || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_route route;
    if (omx_route_of(env, connStr, connStrLen, holders(pool), errh, &route) != OCI_SUCCESS)
        return OCI_ERROR;
    ub1 backend = pool->run;
    const sword rc = omx_try(route, errh, &backend, [&](ub1 b) -> sword {
        OMX_NEED(OCISessionPoolCreate, b, errh);
        const omx_text link(env, b, connStr, connStrLen);
        const omx_text user(env, b, userid, useridLen);
        const omx_text secret(env, b, password, passwordLen);
        return omx_calls.OCISessionPoolCreate[b](
            omx_own<OCIEnv>(env, b), omx_own<OCIError>(errh, b), omx_own<OCISPool>(pool, b), poolName,
            poolNameLen, link.text, link.length, sessMin, sessMax, sessIncr, const_cast<OraText *>(user.text),
            user.length, const_cast<OraText *>(secret.text), secret.length, mode);
    });
    if (omx_succeeded(rc))
        open_pool(pool, backend, poolName ? *poolName : nullptr, poolNameLen ? *poolNameLen : 0);
    return rc;
}

sword OCISessionPoolDestroy(OCISPool *spoolhp, OCIError *errhp, ub4 mode)
{
    omx_handle *pool = omx_find(spoolhp, OCI_HTYPE_SPOOL);
    omx_handle *errh = nullptr;
    if (!pool || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = pool->run;
    OMX_NEED(OCISessionPoolDestroy, backend, errh);
    return close_pool(
        pool, omx_done(errh, backend,
                       omx_calls.OCISessionPoolDestroy[backend](omx_own<OCISPool>(pool, backend),
                                                                omx_own<OCIError>(errh, backend), mode)));
}

/* A session that has ended may begin anywhere. */
sword OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    omx_handle *usrh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh) || !omx_optional(usrhp, OCI_HTYPE_SESSION, &usrh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCISessionEnd, backend, errh);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCISessionEnd[backend](omx_own<OCISvcCtx>(svch, backend),
                                                               omx_own<OCIError>(errh, backend),
                                                               omx_own<OCISession>(usrh, backend), mode));
    if (usrh && omx_succeeded(rc))
        omx_unbind(usrh);
    return rc;
}

sword OCIPasswordChange(OCISvcCtx *svchp, OCIError *errhp, const OraText *user_name, ub4 usernm_len,
                        const OraText *opasswd, ub4 opasswd_len, const OraText *npasswd, ub4 npasswd_len,
                        ub4 mode)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCIPasswordChange, backend, errh);
    const omx_text user(svch, backend, user_name, usernm_len);
    const omx_text before(svch, backend, opasswd, opasswd_len);
    const omx_text after(svch, backend, npasswd, npasswd_len);
    return omx_done(errh, backend,
                    omx_calls.OCIPasswordChange[backend](
                        omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), user.text,
                        user.length, before.text, before.length, after.text, after.length, mode));
}

} // namespace written
