// Servers, sessions, transactions and breaks.
#include "connections/pool.h"
#include "handles/call.h"
#include "handles/callback_scope.h"

#include <sqlite3.h>

using namespace sqlite_oci;

namespace
{

std::size_t byte_count(sb4 length)
{
    return length < 0 ? 0 : static_cast<std::size_t>(length);
}

server &attached_server(const service_context &context)
{
    server *on = context.on_server.get();
    if (!on)
        fail(24324, "no server handle is set on the service context");
    if (!on->is_attached())
        fail(24327, "the server handle must be attached before a session begins");
    return *on;
}

// Runs one call on a service context's connection while no other thread uses it.
template <class Action> sword on_connection(OCISvcCtx *svchp, OCIError *errhp, Action action)
{
    return served(errhp, [&](call_errors) {
        const auto open = required<service_context>(svchp).shared_connection();
        const std::scoped_lock lock(open->mutex());
        open->start_call();
        action(*open);
        return OCI_SUCCESS;
    });
}

// The session's or server's environment, after a check that it can answer at all.
environment &connected_environment(void *handle, ub1 kind)
{
    if (kind == OCI_HTYPE_SERVER) {
        const auto &on = required<server>(handle);
        if (!on.is_attached())
            fail(3114, "not connected: the server handle is not attached");
        return *on.env;
    }
    auto &context = required<service_context>(handle);
    context.shared_connection();
    return *context.env;
}

// Programs look for the product and the release that they know.
sword server_version(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)
{
    return served(errhp, [&](call_errors) {
        const auto &env = connected_environment(hndlp, hndltype);
        env.copy_out("Oracle Database Release " + std::to_string(OCI_MAJOR_VERSION) + '.' +
                         std::to_string(OCI_MINOR_VERSION) + ".0.0.0, served by sqlite_oci on SQLite " +
                         sqlite3_libversion(),
                     bufp, bufsz);
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

// With OCI_CPOOL, the link is the name of a connection pool.
SQLITE_OCI_EXPORT sword OCIServerAttach(OCIServer *srvhp, OCIError *errhp, const OraText *dblink,
                                        sb4 dblink_len, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &target = required<server>(srvhp);
        const std::string link = target.env->text_in(dblink, byte_count(dblink_len));
        target.attach(mode & OCI_CPOOL ? link_of_pool(*target.env, link) : link);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIServerDetach(OCIServer *srvhp, OCIError *errhp, ub4)
{
    return served(errhp, [&](call_errors) {
        auto &target = required<server>(srvhp);
        callback_scope::check_none();
        if (!target.is_attached())
            fail(3114, "not connected: the server handle is not attached");
        target.detach();
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, ub4)
{
    return served(errhp, [&](call_errors) {
        const auto &context = required<service_context>(svchp);
        auto &user = required<session>(usrhp);
        user.begin(attached_server(context), credt);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4)
{
    return served(errhp, [&](call_errors) {
        auto &context = required<service_context>(svchp);
        session *user = usrhp ? &required<session>(usrhp) : context.in_session.get();
        if (!user || !user->open)
            fail(1012, "not logged on: the session has not begun");
        user->end();
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword, ub4 flags)
{
    return on_connection(svchp, errhp, [&](connection &open) {
        if ((flags & OCI_TRANS_STARTMASK & ~ub4{OCI_TRANS_NEW}) != 0)
            fail(3001, "only new local transactions can be started");
        switch (flags & OCI_TRANS_ISOLMASK) {
        case OCI_TRANS_READONLY:
            return open.begin_read_only();
        case OCI_TRANS_SERIALIZABLE:
            return open.begin_serializable();
        case 0:
        case OCI_TRANS_READWRITE: // begins with the first change
            if (open.in_transaction())
                fail(1453, "a transaction is already active");
            return;
        default:
            fail(24759, "the flags 0x%x ask for more than one kind of isolation", flags);
        }
    });
}

SQLITE_OCI_EXPORT sword OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4)
{
    return on_connection(svchp, errhp, [](connection &open) { open.commit(); });
}

SQLITE_OCI_EXPORT sword OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4)
{
    return on_connection(svchp, errhp, [](connection &open) { open.rollback(); });
}

SQLITE_OCI_EXPORT sword OCIPing(OCISvcCtx *svchp, OCIError *errhp, ub4)
{
    return on_connection(svchp, errhp, [](connection &open) { open.execute("PRAGMA schema_version"); });
}

// May come in a signal handler, in the middle of any other call: no lock, no memory, no exception.
SQLITE_OCI_EXPORT sword OCIBreak(void *hndlp, OCIError *errhp)
{
    auto *const errors = find<error_handle>(errhp);
    if (errhp && !errors)
        return OCI_INVALID_HANDLE;
    if (const auto *on = find<server>(hndlp)) {
        on->interrupt();
        return OCI_SUCCESS;
    }
    const auto *context = find<service_context>(hndlp);
    if (!context)
        return OCI_INVALID_HANDLE;
    const int missing = context->interrupt();
    if (missing && errors)
        errors->note(missing);
    return missing ? OCI_ERROR : OCI_SUCCESS;
}

SQLITE_OCI_EXPORT sword OCIReset(void *hndlp, OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        if (!find<service_context>(hndlp))
            required<server>(hndlp);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIServerVersion(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)
{
    return server_version(hndlp, errhp, bufp, bufsz, hndltype);
}

SQLITE_OCI_EXPORT sword OCIServerRelease(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype,
                                         ub4 *version)
{
    const sword status = server_version(hndlp, errhp, bufp, bufsz, hndltype);
    // As programs take it apart: eight bits of the release, four, eight, four and eight.
    if (status == OCI_SUCCESS && version)
        *version = ub4{OCI_MAJOR_VERSION} << 24 | ub4{OCI_MINOR_VERSION} << 20;
    return status;
}

} // extern "C"
