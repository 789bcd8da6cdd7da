#include "route_table.h"

#include <string.h>
#include <strings.h>

namespace
{

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

omx_span trimmed(omx_span s)
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
bool fits(omx_span pattern, omx_span text)
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

bool is_word(omx_span s, const char *word)
{
    return s.length() == strlen(word) && strncasecmp(s.begin, word, s.length()) == 0;
}

/* The next entry: up to a comma that stands in no parentheses. */
omx_span take_entry(const char **rest)
{
    const char *p = *rest;
    for (int depth = 0; *p && (*p != ',' || depth > 0); p++)
        depth += *p == '(' ? 1 : *p == ')' ? -1 : 0;
    const omx_span entry = {*rest, p};
    *rest = *p ? p + 1 : p;
    return trimmed(entry);
}

/* Reads the names of backends; false: one is none, stands twice, or there is none. */
bool read_backends(omx_span names, omx_route *route)
{
    route->count = 0;
    while (names.begin < names.end) {
        omx_span name = {names.begin, names.begin};
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

} // namespace

bool omx_find_route(const char *routes, omx_span link, omx_route *route, omx_span *wrong)
{
    *route = omx_usual_route;
    bool found = false;
    for (const char *rest = routes; *rest;) {
        const omx_span entry = take_entry(&rest);
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
