// The frame of a call on a LOB locator.
#pragma once

#include "connections/session.h"
#include "handles/callback_scope.h"
#include "lobs/lob.h"

namespace sqlite_oci
{

// Holds the connection, the locator and its value for one call.
class lob_call
{
public:
    lob_call(const std::shared_ptr<connection> &of, lob_locator &by, call_errors call_records);

    lob_locator &locator;
    call_errors errors;

    // The value behind the locator. One without is no valid handle to a server: nothing was fetched into it.
    lob &value() const;

    // Its content as it is now. Throws ORA-22922 when its row is gone.
    lob_content &content() const { return value().current(); }

    // Throws ORA-22279 where the program has turned the buffering on.
    void check_unbuffered() const;

    // Throws what forbids to write through the locator on this connection.
    void check_writable() const;

    // The content for a change that the caller has checked to be allowed.
    lob_content &change() const;

    void check_break() const;

    // Runs a callback of the program's, which may use what this call holds but for the connection. Throws
    // ORA-22275 when the locator has another value afterwards.
    template <class Callback> auto outside(Callback callback)
    {
        release();
        const auto answer = [&] {
            const callback_scope scope(locator);
            return callback();
        }();
        hold();
        return answer;
    }

private:
    void hold();
    void release();

    const std::shared_ptr<connection> on_;
    const std::unique_lock<call_mutex> connection_lock_;
    std::shared_ptr<lob> value_; // outlives its lock
    std::unique_lock<std::mutex> locator_lock_, value_lock_;
};

// Runs `body(lob_call)`.
template <class Body> sword on_lob(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Body body)
{
    return served(errhp, [&](call_errors errors) {
        const auto open = required<service_context>(svchp).shared_connection();
        lob_call call(open, required<lob_locator>(locp), errors);
        return body(call);
    });
}

} // namespace sqlite_oci
