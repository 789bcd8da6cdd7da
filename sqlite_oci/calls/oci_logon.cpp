// Connecting and logging on in one step, with and without pools, and changing passwords.
#include "calls/logon.h"
#include "handles/callback_scope.h"

namespace sqlite_oci
{

OCISvcCtx *log_on(environment &env, const credentials &as, const std::string &link)
{
    logon made(env);
    made.on.attach(link);
    made.user.user_name = as.user_name;
    made.user.password = as.password;
    const bool is_external = as.is_external || (as.user_name.empty() && as.password.empty());
    made.user.begin(made.on, is_external ? OCI_CRED_EXT : OCI_CRED_RDBMS);
    made.context.on_server = weak_handle(&made.on);
    made.context.in_session = weak_handle(&made.user);
    made.context.made_by_logon = true;
    made.completed = true;
    return static_cast<OCISvcCtx *>(made.context.handle);
}

OCISvcCtx *log_on(session_pool &from, const session_pool::wish &wanted, session_pool::lent *given)
{
    *given = from.take(wanted);
    try {
        auto made = std::make_unique<service_context>(from.env);
        made->on_server = from.on;
        made->in_session = weak_handle(given->user);
        made->made_by_logon = true;
        made->from_pool = from.handle;
        made->pool_tag = given->tag;
        return static_cast<OCISvcCtx *>(from.env->adopt(std::move(made), OCI_HTYPE_SVCCTX)->handle);
    } catch (...) {
        from.give_back(given->user, given->tag, true);
        throw;
    }
}

void log_off(service_context &context, const std::string *tag, bool drop)
{
    callback_scope::check_none();
    if (!context.made_by_logon)
        fail(24303, "only what OCILogon or OCISessionGet began is ended by OCILogoff or OCISessionRelease");
    session *const user = context.in_session.get();
    if (context.from_pool) {
        auto *const from = find<session_pool>(context.from_pool);
        const logon_handles freed{*context.env, &context, nullptr, nullptr};
        if (from && user)
            from->give_back(user, tag ? *tag : context.pool_tag, drop);
        return;
    }
    const logon_handles freed{*context.env, &context, user, context.on_server.get()};
    if (user && user->open)
        user->end();
}

} // namespace sqlite_oci

using namespace sqlite_oci;

namespace
{

sword log_on_with(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username, ub4 uname_len,
                  const OraText *password, ub4 passwd_len, const OraText *dbname, ub4 dbname_len, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &env = required<environment>(envhp);
        if (!svchp)
            throw invalid_handle{};
        const credentials as{env.text_in(username, uname_len), env.text_in(password, passwd_len),
                             (mode & OCI_LOGON2_PROXY) != 0};
        const std::string name = env.text_in(dbname, dbname_len);
        if (mode & OCI_LOGON2_SPOOL) {
            session_pool *const from = find_session_pool(env, name);
            if (!from)
                fail(24416, "there is no session pool \"%s\"", name.c_str());
            session_pool::lent given;
            *svchp = log_on(*from, {as.user_name, as.password, {}, false}, &given);
        } else {
            *svchp = log_on(env, as, mode & OCI_LOGON2_CPOOL ? link_of_pool(env, name) : name);
        }
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCILogon(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username,
                                 ub4 uname_len, const OraText *password, ub4 passwd_len,
                                 const OraText *dbname, ub4 dbname_len)
{
    return log_on_with(envhp, errhp, svchp, username, uname_len, password, passwd_len, dbname, dbname_len,
                       OCI_DEFAULT);
}

SQLITE_OCI_EXPORT sword OCILogon2(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username,
                                  ub4 uname_len, const OraText *password, ub4 passwd_len,
                                  const OraText *dbname, ub4 dbname_len, ub4 mode)
{
    return log_on_with(envhp, errhp, svchp, username, uname_len, password, passwd_len, dbname, dbname_len,
                       mode);
}

SQLITE_OCI_EXPORT sword OCILogoff(OCISvcCtx *svchp, OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        log_off(required<service_context>(svchp));
        return OCI_SUCCESS;
    });
}

// No password is checked when a session begins, and so there is none to be kept: the session's own must be
// named, and is another one from now on. With OCI_AUTH, the session begins.
SQLITE_OCI_EXPORT sword OCIPasswordChange(OCISvcCtx *svchp, OCIError *errhp, const OraText *user_name,
                                          ub4 usernm_len, const OraText *opasswd, ub4 opasswd_len,
                                          const OraText *npasswd, ub4 npasswd_len, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &context = required<service_context>(svchp);
        const environment &env = *context.env;
        const std::string name = env.text_in(user_name, usernm_len), next = env.text_in(npasswd, npasswd_len),
                          before = env.text_in(opasswd, opasswd_len);
        if (name.empty())
            fail(1017, "no user name is given");
        if (next.empty())
            fail(988, "the new password is missing");
        if (mode & OCI_AUTH) {
            session *const user = context.in_session.get();
            server *const on = context.on_server.get();
            if (!user || !on || !on->is_attached())
                fail(24324, "a session and an attached server must be set on the service context");
            user->user_name = name;
            user->password = next;
            user->begin(*on, OCI_CRED_RDBMS);
            return OCI_SUCCESS;
        }
        context.shared_connection();
        session &user = *context.in_session.get();
        if (user.user_name != name)
            fail(1031, "a session changes the password of its own user only");
        if (user.password != before)
            fail(28008, "the old password is not the one that the session began with");
        user.password = next;
        return OCI_SUCCESS;
    });
}

} // extern "C"
