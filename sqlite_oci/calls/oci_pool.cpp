// Pools of connections and sessions, and the sessions that programs take from them.
#include "calls/logon.h"

#include <cstring>

using namespace sqlite_oci;

namespace
{

ub4 byte_count(sb4 length)
{
    return length < 0 ? 0 : static_cast<ub4>(length);
}

// The name goes to the program; the text stays with the pool.
template <class Length>
void give_name(object &pool, const std::string &name, OraText **target, Length *length)
{
    std::string &kept = pool.given_texts[OCI_ATTR_SUBSCR_NAME];
    kept = pool.env->text_out(name);
    if (length)
        *length = static_cast<Length>(kept.size());
    kept.append(2, '\0');
    if (target)
        *target = reinterpret_cast<OraText *>(kept.data());
}

credentials credentials_of(const session *user, ub4 mode)
{
    if (!user)
        return {};
    return {user->user_name, user->password, (mode & OCI_SESSGET_CREDEXT) != 0};
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIConnectionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCICPool *poolhp,
                                                OraText **poolName, sb4 *poolNameLen, const OraText *dblink,
                                                sb4 dblinkLen, ub4 connMin, ub4 connMax, ub4 connIncr,
                                                const OraText *poolUserName, sb4 poolUserLen,
                                                const OraText *poolPassword, sb4 poolPassLen, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        const auto &env = required<environment>(envhp);
        auto &pool = required<connection_pool>(poolhp);
        const pool_settings given{env.text_in(dblink, byte_count(dblinkLen)),
                                  env.text_in(poolUserName, byte_count(poolUserLen)),
                                  env.text_in(poolPassword, byte_count(poolPassLen)),
                                  connMin,
                                  connMax,
                                  connIncr};
        if (mode == OCI_CPOOL_REINITIALIZE)
            pool.change(given);
        else
            pool.create(given);
        give_name(pool, pool.name, poolName, poolNameLen);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIConnectionPoolDestroy(OCICPool *poolhp, OCIError *errhp, ub4)
{
    return served(errhp, [&](call_errors) {
        required<connection_pool>(poolhp).destroy();
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCISessionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCISPool *spoolhp,
                                             OraText **poolName, ub4 *poolNameLen, const OraText *connStr,
                                             ub4 connStrLen, ub4 sessMin, ub4 sessMax, ub4 sessIncr,
                                             OraText *userid, ub4 useridLen, OraText *password,
                                             ub4 passwordLen, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        const auto &env = required<environment>(envhp);
        auto &pool = required<session_pool>(spoolhp);
        const pool_settings given{env.text_in(connStr, connStrLen),
                                  env.text_in(userid, useridLen),
                                  env.text_in(password, passwordLen),
                                  sessMin,
                                  sessMax,
                                  sessIncr};
        if (mode & OCI_SPC_REINITIALIZE)
            pool.change(given);
        else
            pool.create(given, (mode & OCI_SPC_HOMOGENEOUS) != 0);
        give_name(pool, pool.name, poolName, poolNameLen);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCISessionPoolDestroy(OCISPool *spoolhp, OCIError *errhp, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        required<session_pool>(spoolhp).destroy((mode & OCI_SPD_FORCE) != 0);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCISessionGet(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, OCIAuthInfo *authhp,
                                      OraText *poolName, ub4 poolName_len, const OraText *tagInfo,
                                      ub4 tagInfo_len, OraText **retTagInfo, ub4 *retTagInfo_len, int *found,
                                      ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &env = required<environment>(envhp);
        if (!svchp)
            throw invalid_handle{};
        const credentials as = credentials_of(authhp ? &required<session>(authhp) : nullptr, mode);
        const std::string name = env.text_in(poolName, poolName_len);
        if (found)
            *found = 0;
        if (retTagInfo)
            *retTagInfo = nullptr;
        if (retTagInfo_len)
            *retTagInfo_len = 0;
        if (!(mode & OCI_SESSGET_SPOOL)) {
            *svchp = log_on(env, as, mode & OCI_SESSGET_CPOOL ? link_of_pool(env, name) : name);
            return OCI_SUCCESS;
        }
        session_pool *const from = find_session_pool(env, name);
        if (!from)
            fail(24416, "there is no session pool \"%s\"", name.c_str());
        session_pool::lent given;
        *svchp = log_on(*from,
                        {as.user_name, as.password, env.text_in(tagInfo, tagInfo_len),
                         (mode & OCI_SESSGET_SPOOL_MATCHANY) != 0},
                        &given);
        if (found)
            *found = given.has_wanted_tag;
        if (!given.tag.empty() && retTagInfo)
            give_name(required<service_context>(*svchp), given.tag, retTagInfo, retTagInfo_len);
        return OCI_SUCCESS;
    });
}

// Commits; a session from a pool goes back to it.
SQLITE_OCI_EXPORT sword OCISessionRelease(OCISvcCtx *svchp, OCIError *errhp, OraText *tag, ub4 tag_len,
                                          ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &context = required<service_context>(svchp);
        const std::string given = context.env->text_in(tag, tag_len);
        log_off(context, mode & OCI_SESSRLS_RETAG ? &given : nullptr, (mode & OCI_SESSRLS_DROPSESS) != 0);
        return OCI_SUCCESS;
    });
}

} // extern "C"
