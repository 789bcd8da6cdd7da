// Pools of sessions and of connections.
#pragma once

#include "connections/session.h"

#include <condition_variable>

namespace sqlite_oci
{

// What both kinds of pools are created with. The name is the library's own choice.
struct pool_settings {
    std::string link, user_name, password;
    ub4 least = 0, most = 1, step = 1;
};

// A name under which programs ask for sessions. Each session that is begun through it has a connection of its
// own: there are no round trips to be saved here.
struct connection_pool final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_CPOOL;
    using object::object;
    ~connection_pool() override { destroy(); }

    // Throws ORA-12154 where the link names no database, ORA-24413 where the numbers are none.
    void create(const pool_settings &given);
    void change(const pool_settings &given);
    void destroy();

    pool_settings settings;
    std::string name; // empty while there is no pool
    ub4 timeout = 0;
    ub1 is_nowait = 0;
};

// Sessions that have begun and go from one user to the next.
struct session_pool final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_SPOOL;
    using object::object;
    ~session_pool() override { destroy(true); }

    // Opens the least number of sessions, if the pool has a user.
    void create(const pool_settings &given, bool homogeneous);
    void change(const pool_settings &given);

    // Throws ORA-24422 while sessions are in use, unless forced; those are then cut off.
    void destroy(bool forced);

    struct wish {
        std::string user_name, password; // the pool's own where empty
        std::string tag;
        bool any_tag = false;
    };
    struct lent {
        session *user = nullptr;
        std::string tag;
        bool has_wanted_tag = false;
    };

    // A session of the wished user: one with the tag, or without any, or a new one. When none is left, waits
    // or throws ORA-24418, as the mode tells.
    lent take(const wish &wanted);

    // Commits, and keeps the session for the next user unless it is to be dropped.
    void give_back(session *user, const std::string &tag, bool drop);

    struct counts {
        ub4 busy, open;
    };
    counts count();

    pool_settings settings;
    std::string name; // empty while there is no pool
    weak_handle<server> on;
    bool is_homogeneous = false;
    ub4 timeout = 0;
    ub4 statement_cache_size = 0;
    std::atomic<ub1> get_mode{OCI_SPOOL_ATTRVAL_WAIT};

private:
    // The program may have freed its handle by hand.
    struct idle_session {
        weak_handle<session> user;
        std::string tag;
    };

    session *begin(const std::string &user_name, const std::string &password);
    bool take_idle(const std::string &user_name, const wish &wanted, lent *found);
    void drop_idle();

    std::mutex mutex_;
    std::condition_variable returned_;
    std::vector<idle_session> idle_;
    ub4 busy_ = 0;
};

// The pool of an environment with a name: null for none.
connection_pool *find_connection_pool(const environment &env, const std::string &name);
session_pool *find_session_pool(const environment &env, const std::string &name);

// The link of the connection pool with a name. Throws ORA-24416 where there is none.
const std::string &link_of_pool(const environment &env, const std::string &name);

} // namespace sqlite_oci
