#include "routes.h"

#include <stdlib.h>
#include <string.h>
#include <strings.h>

namespace
{

constexpr omx_route usual_route = {2, {omx_oracle, omx_dravik}};

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

/* A part of a text. */
struct span {
    const char *begin;
    const char *end;

    size_t length() const { return (size_t)(end - begin); }
};

span trimmed(span s)
{
    while (s.begin < s.end && is_blank(*s.begin))
        s.begin++;
    while (s.begin < s.end && is_blank(s.end[-1]))
        s.end--;
    return s;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c + ('a' - 'A')) : c;
}

/* Whether a text fits a pattern, in which `*` stands for any text. */
bool fits(span pattern, span text)
{
    const char *star = nullptr;
    const char *resume = nullptr;
    while (text.begin < text.end) {
        if (pattern.begin < pattern.end && *pattern.begin == '*') {
            star = pattern.begin++;
            resume = text.begin;
        } else if (pattern.begin < pattern.end && lower(*pattern.begin) == lower(*text.begin)) {
            pattern.begin++;
            text.begin++;
        } else if (star) {
            pattern.begin = star + 1;
            text.begin = ++resume;
        } else {
            return false;
        }
    }
    while (pattern.begin < pattern.end && *pattern.begin == '*')
        pattern.begin++;
    return pattern.begin == pattern.end;
}

bool is_word(span s, const char *word)
{
    return s.length() == strlen(word) && strncasecmp(s.begin, word, s.length()) == 0;
}

/* The next entry: up to a comma that stands in no parentheses. */
span take_entry(const char **rest)
{
    const char *p = *rest;
    for (int depth = 0; *p && (*p != ',' || depth > 0); p++)
        depth += *p == '(' ? 1 : *p == ')' ? -1 : 0;
    const span entry = {*rest, p};
    *rest = *p ? p + 1 : p;
    return trimmed(entry);
}

/* Reads the names of backends; false: one is none, stands twice, or there is none. */
bool read_backends(span names, omx_route *route)
{
    route->count = 0;
    while (names.begin < names.end) {
        span name = {names.begin, names.begin};
        while (name.end < names.end && !is_blank(*name.end))
            name.end++;
        const bool oracle = is_word(name, "oracle");
        if (!oracle && !is_word(name, "dravik"))
            return false;
        const ub1 backend = oracle ? omx_oracle : omx_dravik;
        if (route->count == omx_backend_count || (route->count == 1 && route->backend[0] == backend))
            return false;
        route->backend[route->count++] = backend;
        names = trimmed({name.end, names.end});
    }
    return route->count > 0;
}

/* Finds the entry of a link. False: DKOM_ROUTES cannot be read, from `*wrong` on. */
bool find_route(const char *routes, span link, omx_route *route, span *wrong)
{
    *route = usual_route;
    bool found = false;
    for (const char *rest = routes; *rest;) {
        const span entry = take_entry(&rest);
        if (entry.length() == 0)
            continue;
        const char *equals = entry.end;
        while (equals > entry.begin && *equals != '=')
            equals--;
        omx_route read;
        if (equals == entry.begin || !read_backends(trimmed({equals + 1, entry.end}), &read)) {
            *wrong = entry;
            return false;
        }
        if (!found && fits(trimmed({entry.begin, equals}), link)) {
            *route = read;
            found = true;
        }
    }
    return true;
}

/* Texts without an environment are 8-bit texts. */
bool find_route_of(const omx_handle *env, const char *routes, const OraText *link, ub4 length,
                   omx_route *route, span *wrong)
{
    const char *text = link ? (const char *)link : "";
    if (!env)
        return find_route(routes, {text, text + length}, route, wrong);
    const omx_text converted(env, omx_dravik, link, length);
    text = converted.text ? (const char *)converted.text : "";
    return find_route(routes, {text, text + converted.length}, route, wrong);
}

} // namespace

sword omx_route_of(const omx_handle *env, const OraText *link, ub4 length, ub1 available, omx_handle *errh,
                   omx_route *route)
{
    const char *routes = secure_getenv("DKOM_ROUTES");
    omx_route wanted = usual_route;
    if (routes) {
        span wrong;
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
    if (route->count)
        return OCI_SUCCESS;
    const unsigned int missing = wanted.backend[0];
    return omx_fail(errh, omx_error_routes,
                    "This link is routed to %s only, which cannot serve it here%s%s. Change DKOM_ROUTES, or "
                    "install the client library.",
                    omx_backend_name(missing), omx_libraries[missing].dl ? "" : ": ",
                    omx_libraries[missing].dl ? "" : omx_libraries[missing].reason);
}
