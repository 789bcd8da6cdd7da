#include "connections/pool.h"

#include "handles/call.h"

#include <algorithm>
#include <map>

namespace sqlite_oci
{
namespace
{

struct pool_names {
    std::mutex mutex;
    std::map<std::string, object *> all;
    unsigned long last = 0;
};

// Never destroyed: other threads may still be in calls while the process ends.
pool_names &names()
{
    static auto &instance = *new pool_names;
    return instance;
}

std::string register_name(object &pool)
{
    pool_names &known = names();
    const std::scoped_lock lock(known.mutex);
    std::string name = "sqlite_oci:pool" + std::to_string(++known.last);
    known.all.emplace(name, &pool);
    return name;
}

void forget_name(const std::string &name)
{
    pool_names &known = names();
    const std::scoped_lock lock(known.mutex);
    known.all.erase(name);
}

object *find_pool(const environment &env, const std::string &name, ub4 kind)
{
    pool_names &known = names();
    const std::scoped_lock lock(known.mutex);
    const auto found = known.all.find(name);
    const bool is_that =
        found != known.all.end() && found->second->env == &env && found->second->kind == kind;
    return is_that ? found->second : nullptr;
}

void check_numbers(const pool_settings &given)
{
    if (given.most == 0 || given.least > given.most || (given.step == 0 && given.least < given.most))
        fail(24413, "a pool of %u to %u, by %u at a time, cannot be", given.least, given.most, given.step);
}

} // namespace

connection_pool *find_connection_pool(const environment &env, const std::string &name)
{
    return static_cast<connection_pool *>(find_pool(env, name, OCI_HTYPE_CPOOL));
}

session_pool *find_session_pool(const environment &env, const std::string &name)
{
    return static_cast<session_pool *>(find_pool(env, name, OCI_HTYPE_SPOOL));
}

const std::string &link_of_pool(const environment &env, const std::string &name)
{
    const connection_pool *pool = find_connection_pool(env, name);
    if (!pool)
        fail(24416, "there is no connection pool \"%s\"", name.c_str());
    return pool->settings.link;
}

void connection_pool::create(const pool_settings &given)
{
    if (!name.empty())
        fail(24411, "the pool exists already");
    check_numbers(given);
    server probe(env);
    probe.attach(given.link);
    settings = given;
    name = register_name(*this);
}

void connection_pool::change(const pool_settings &given)
{
    check_numbers(given);
    settings.least = given.least;
    settings.most = given.most;
    settings.step = given.step;
}

void connection_pool::destroy()
{
    if (!name.empty())
        forget_name(name);
    name.clear();
}

void session_pool::create(const pool_settings &given, bool homogeneous)
{
    if (!name.empty())
        fail(24411, "the pool exists already");
    check_numbers(given);
    server &attached = *env->adopt(std::make_unique<server>(env), OCI_HTYPE_SERVER);
    try {
        attached.attach(given.link);
        on = weak_handle(&attached);
        settings = given;
        is_homogeneous = homogeneous;
        while (!given.user_name.empty() && idle_.size() < given.least)
            idle_.push_back({weak_handle(begin(given.user_name, given.password)), {}});
    } catch (...) {
        drop_idle();
        env->release(&attached);
        throw;
    }
    name = register_name(*this);
}

void session_pool::change(const pool_settings &given)
{
    check_numbers(given);
    const std::scoped_lock lock(mutex_);
    settings.least = given.least;
    settings.most = given.most;
    settings.step = given.step;
}

void session_pool::destroy(bool forced)
{
    const std::scoped_lock lock(mutex_);
    if (name.empty())
        return;
    if (busy_ && !forced)
        fail(24422, "%u sessions of the pool are in use", busy_);
    forget_name(name);
    name.clear();
    drop_idle();
    env->release(on.get());
    returned_.notify_all();
}

void session_pool::drop_idle()
{
    for (const idle_session &one : idle_)
        env->release(one.user.get());
    idle_.clear();
}

session *session_pool::begin(const std::string &user_name, const std::string &password)
{
    server *const attached = on.get();
    if (!attached)
        fail(3114, "not connected: the server handle of the pool was freed");
    session &begun = *env->adopt(std::make_unique<session>(env), OCI_HTYPE_SESSION);
    try {
        begun.user_name = user_name;
        begun.password = password;
        const bool is_external = user_name.empty() && password.empty();
        begun.begin(*attached, is_external ? OCI_CRED_EXT : OCI_CRED_RDBMS);
    } catch (...) {
        env->release(&begun);
        throw;
    }
    return &begun;
}

bool session_pool::take_idle(const std::string &user_name, const wish &wanted, lent *found)
{
    std::erase_if(idle_, [](const idle_session &one) { return one.user.get() == nullptr; });
    const auto is_of_user = [&](const idle_session &one) { return one.user.get()->user_name == user_name; };
    auto chosen = std::find_if(idle_.begin(), idle_.end(), [&](const idle_session &one) {
        return is_of_user(one) && one.tag == wanted.tag;
    });
    if (chosen == idle_.end())
        chosen = std::find_if(idle_.begin(), idle_.end(), [&](const idle_session &one) {
            return is_of_user(one) && (one.tag.empty() || wanted.any_tag);
        });
    if (chosen == idle_.end())
        return false;
    *found = {chosen->user.get(), chosen->tag, !wanted.tag.empty() && chosen->tag == wanted.tag};
    idle_.erase(chosen);
    return true;
}

session_pool::lent session_pool::take(const wish &wanted)
{
    const bool has_user = !is_homogeneous && !wanted.user_name.empty();
    const std::string &user_name = has_user ? wanted.user_name : settings.user_name;
    const std::string &password = has_user ? wanted.password : settings.password;
    std::unique_lock lock(mutex_);
    for (;;) {
        if (name.empty())
            fail(24416, "the session pool does not exist any more");
        lent found;
        if (take_idle(user_name, wanted, &found)) {
            ++busy_;
            return found;
        }
        // One that nobody asked for makes room.
        if (busy_ + idle_.size() >= settings.most && !idle_.empty()) {
            env->release(idle_.front().user.get());
            idle_.erase(idle_.begin());
        }
        if (busy_ < settings.most || get_mode == OCI_SPOOL_ATTRVAL_FORCEGET) {
            found.user = begin(user_name, password);
            ++busy_;
            return found;
        }
        if (get_mode == OCI_SPOOL_ATTRVAL_NOWAIT)
            fail(24418, "all %u sessions of the pool are in use", settings.most);
        returned_.wait(lock);
    }
}

void session_pool::give_back(session *user, const std::string &tag, bool drop)
{
    const auto return_place = [&] {
        const std::scoped_lock lock(mutex_);
        --busy_;
        if (drop || name.empty() || busy_ + idle_.size() >= settings.most)
            env->release(user);
        else
            idle_.push_back({weak_handle(user), tag});
        returned_.notify_one();
    };
    try {
        const auto open = user->open;
        if (!open || open->is_cut_off()) {
            drop = true;
        } else {
            const std::scoped_lock lock(open->mutex());
            open->start_call();
            open->commit();
        }
    } catch (...) {
        drop = true;
        return_place();
        throw;
    }
    return_place();
}

session_pool::counts session_pool::count()
{
    const std::scoped_lock lock(mutex_);
    return {busy_, static_cast<ub4>(busy_ + idle_.size())};
}

} // namespace sqlite_oci
