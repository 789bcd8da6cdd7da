// The frame of a call on a LOB locator.
#pragma once

#include "connections/session.h"
#include "lobs/lob.h"

namespace sqlite_oci
{

struct lob_call {
    const std::shared_ptr<connection> &on;
    lob_locator &locator;
    call_errors errors;

    // The content for a change that the caller has checked to be allowed.
    lob_content &change() const
    {
        lob_content &changed = locator.value().current();
        locator.reading.reset();
        lobs_of(*on).add(*on, locator.target);
        return changed;
    }

    void check_break() const
    {
        if (on->break_requested())
            fail(1013, "the call was interrupted on request");
    }
};

// Runs `body(lob_call)` while no other thread uses the connection.
template <class Body> sword on_lob(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Body body)
{
    return served(errhp, [&](call_errors errors) {
        const auto open = required<service_context>(svchp).shared_connection();
        auto &locator = required<lob_locator>(locp);
        const std::scoped_lock lock(open->mutex());
        open->start_call();
        return body(lob_call{open, locator, errors});
    });
}

} // namespace sqlite_oci
