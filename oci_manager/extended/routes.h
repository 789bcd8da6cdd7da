/*
 * Which backend a link goes to, or which is tried first.
 */
#ifndef OMX_ROUTES_H
#define OMX_ROUTES_H

#include "route_table.h"
#include "text.h"
#include "written.h"

/**
 * The backends to try for a link, in order.
 *
 * @param env        the link is one of its texts; null: an 8-bit text
 * @param available  backends that can serve the call
 * @param errh       learns why there is none
 * @return OCI_SUCCESS, or OCI_ERROR if DKOM_ROUTES cannot be read or no backend is left
 */
sword omx_route_of(const omx_handle *env, const OraText *link, ub4 length, ub1 available, omx_handle *errh,
                   omx_route *route);

/*
 * Tries a call on one backend after the other until one accepts. `attempt` is called with the backend's
 * number and returns its result. When all refuse, the error handle has the reasons of all, in the order of
 * the attempts, and the result is the last one's. `*accepted` is the backend that took it.
 */
template <class Attempt>
sword omx_try(const omx_route &route, omx_handle *errh, ub1 *accepted, Attempt attempt)
{
    sword rc = OCI_ERROR;
    omx_forget_errors(errh);
    for (ub1 i = 0; i < route.count; i++) {
        const ub1 backend = route.backend[i];
        rc = attempt(backend);
        *accepted = backend;
        if (omx_succeeded(rc)) {
            omx_forget_errors(errh);
            return omx_done(errh, backend, rc);
        }
        if (route.count == 1)
            omx_reported(errh, backend);
        else
            omx_add_reason(errh, backend, rc);
    }
    return rc;
}

#endif
