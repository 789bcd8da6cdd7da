#include "routes.h"

#include <stdlib.h>

#include "trace_log.h"

namespace
{

/* Texts without an environment are 8-bit texts. */
bool find_route_of(const omx_handle *env, const char *routes, const OraText *link, ub4 length,
                   omx_route *route, omx_span *wrong)
{
    const char *text = link ? (const char *)link : "";
    if (!env)
        return omx_find_route(routes, {text, text + length}, route, wrong);
    const omx_text converted(env, omx_dravik, link, length);
    text = converted.text ? (const char *)converted.text : "";
    return omx_find_route(routes, {text, text + converted.length}, route, wrong);
}

} // namespace

sword omx_route_of(const omx_handle *env, const OraText *link, ub4 length, ub1 available, omx_handle *errh,
                   omx_route *route)
{
    const char *routes = secure_getenv(OMX_ROUTES_VARIABLE);
    omx_route wanted = omx_usual_route;
    if (routes) {
        omx_span wrong;
        if (!find_route_of(env, routes, link, link ? length : 0, &wanted, &wrong))
            return omx_fail(
                errh, omx_error_routes,
                "DKOM_ROUTES cannot be read at \"%.*s\". An entry reads LINK=oracle, LINK=dravik, "
                "LINK=oracle dravik or LINK=dravik oracle; entries are separated by commas.",
                (int)wrong.length(), wrong.begin);
    }
    route->count = 0;
    for (ub1 i = 0; i < wanted.count; i++)
        if (available & omx_bit(wanted.backend[i]))
            route->backend[route->count++] = wanted.backend[i];
    if (route->count) {
        OMX_TRACE(OM_LOG_INFO, "%s: %s%s%s is to serve it", routes ? OMX_ROUTES_VARIABLE : "the usual route",
                  omx_backend_name(route->backend[0]), route->count > 1 ? " or else " : "",
                  route->count > 1 ? omx_backend_name(route->backend[1]) : "");
        return OCI_SUCCESS;
    }
    const unsigned int missing = wanted.backend[0];
    return omx_fail(errh, omx_error_routes,
                    "This link is routed to %s only, which cannot serve it here%s%s. Change DKOM_ROUTES, or "
                    "install the client library.",
                    omx_backend_name(missing), omx_libraries[missing].dl ? "" : ": ",
                    omx_libraries[missing].dl ? "" : omx_libraries[missing].reason);
}
