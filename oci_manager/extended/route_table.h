/*
 * The text of DKOM_ROUTES. It holds entries LINK=BACKEND..., separated by commas, as in "hr=dravik,*=oracle
 * dravik". The first entry that fits a link says which backends are tried and in which order. A `*` in LINK
 * stands for any text; letters are equal in both cases; an entry may hold commas between parentheses. Links
 * that fit no entry are tried at Oracle, then at Dravik.
 */
#ifndef OMX_ROUTE_TABLE_H
#define OMX_ROUTE_TABLE_H

#include "handle.h"

#define OMX_ROUTES_VARIABLE "DKOM_ROUTES"

/* Backends to try, in order. */
struct omx_route {
    ub1 count;
    ub1 backend[omx_backend_count];
};
constexpr omx_route omx_usual_route = {2, {omx_oracle, omx_dravik}};

/* A part of a text. */
struct omx_span {
    const char *begin;
    const char *end;

    size_t length() const { return (size_t)(end - begin); }
};

/* Finds the route of a link. False: the table cannot be read, from `*wrong` on. All entries are read. */
bool omx_find_route(const char *routes, omx_span link, omx_route *route, omx_span *wrong);

#endif
