// Servers, sessions, transactions, and the service contexts that bring them together.
#pragma once

#include "connections/connection.h"
#include "handles/environment.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace sqlite_oci
{

struct server final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_SERVER;
    using object::object;
    ~server() override { detach(); }

    // `link` names the file "<link>.db" in the library's directory.
    void attach(const std::string &link);
    void detach();
    bool is_attached() const { return !path.empty(); }

    std::string path; // empty while not attached
    std::string link;
    std::string external_name, internal_name, group;
    OCIFocbkStruct failover{}; // kept for programs that ask

    void add(const std::shared_ptr<connection> &open);

    // Ends the calls in progress of all sessions on this attachment. May be called in a signal handler.
    void interrupt() const noexcept { interrupt_point::interrupt_all(this); }

private:
    std::mutex connections_mutex_;
    std::vector<std::weak_ptr<connection>> connections_; // of the sessions on this attachment
};

struct session final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_SESSION;
    using object::object;
    ~session() override; // rolls back what is open

    void begin(server &on, ub4 credentials);

    // Commits what is open, as a normal end of a session does. When that fails it throws, with all rolled
    // back and the session over.
    void end();

    std::string user_name, password;
    std::map<ub4, std::string> remarks; // by attribute: what a server shows its administrator
    ub4 purity = OCI_ATTR_PURITY_DEFAULT;
    program_memory memory;
    std::shared_ptr<connection> open;               // from begin() to end()
    std::atomic<interrupt_point *> breaks{nullptr}; // of the open connection, for signal handlers
};

struct transaction final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_TRANS;
    using object::object;

    std::string name;
    XID xid{};
};

struct service_context final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_SVCCTX;
    using object::object;

    // The connection that calls on this service context use. Throws the failure that tells what is missing.
    std::shared_ptr<connection> shared_connection() const;

    // Ends the call in progress. Returns 0, or the ORA- number that tells what is missing. May be called in a
    // signal handler.
    int interrupt() const noexcept;

    weak_handle<server> on_server;
    weak_handle<session> in_session;
    weak_handle<transaction> of_transaction;
    ub4 statement_cache_size = 0; // kept for programs that ask
    bool made_by_logon = false;   // OCILogoff frees the server and the session, too
    void *from_pool = nullptr;    // the handle of the session pool that lent the session
    std::string pool_tag;         // of the session from the pool
    std::map<std::string, std::string> tagged_statements; // texts, by what OCIStmtRelease tagged them with
};

} // namespace sqlite_oci
