// What programs connect with in one step.
#pragma once

#include "connections/pool.h"
#include "handles/call.h"

namespace sqlite_oci
{

// Frees the handles of a session that OCILogon or OCISessionGet began.
struct logon_handles {
    environment &env;
    service_context *context;
    session *user;
    server *on;

    ~logon_handles()
    {
        env.release(context);
        env.release(user);
        env.release(on);
    }
};

// All that a program connects with in one step; what has been made is freed when a later step fails.
struct logon {
    environment &env;
    server &on = *env.adopt(std::make_unique<server>(&env), OCI_HTYPE_SERVER);
    session &user = *env.adopt(std::make_unique<session>(&env), OCI_HTYPE_SESSION);
    service_context &context = *env.adopt(std::make_unique<service_context>(&env), OCI_HTYPE_SVCCTX);
    bool completed = false;

    explicit logon(environment &owner) : env(owner) {}
    logon(const logon &) = delete;
    ~logon()
    {
        if (!completed)
            const logon_handles freed{env, &context, &user, &on};
    }
};

struct credentials {
    std::string user_name, password;
    bool is_external = false; // also where neither is given
};

// Attaches and begins a session; returns its service context.
OCISvcCtx *log_on(environment &env, const credentials &as, const std::string &link);

// The same with a session from a pool, which OCISessionRelease or OCILogoff gives back. *given tells the tag.
OCISvcCtx *log_on(session_pool &from, const session_pool::wish &wanted, session_pool::lent *given);

// Ends the session of such a service context, or gives it back to its pool, with the tag and dropped or not.
// Frees the handles also when the commit fails, which throws.
void log_off(service_context &context, const std::string *tag = nullptr, bool drop = false);

} // namespace sqlite_oci
