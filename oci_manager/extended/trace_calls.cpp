#include "trace_calls.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include "extras.h"
#include "libraries.h"
#include "text.h"
#include "written.h"

namespace
{

constexpr size_t longest_text = 2000;

/* A message that grows up to its room. */
struct message {
    char text[OM_LONGEST_MESSAGE + 1] = "";
    size_t length = 0;

    void add(const char *format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list arguments;
        va_start(arguments, format);
        const int added = vsnprintf(text + length, sizeof text - length, format, arguments);
        va_end(arguments);
        if (added > 0)
            length += (size_t)added < sizeof text - length ? (size_t)added : sizeof text - length - 1;
    }
};

/* The name of a parameter in a declaration. */
struct parameter_name {
    const char *begin;
    int length;

    bool contains(const char *part) const
    {
        const size_t size = strlen(part);
        for (int i = 0; i + (int)size <= length; i++)
            if (strncasecmp(begin + i, part, size) == 0)
                return true;
        return false;
    }
    bool is(const char *name) const { return (size_t)length == strlen(name) && contains(name); }
    bool is_secret() const { return contains("passw") || contains("pswd"); }
};

bool is_name_character(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/* Takes the next parameter of a declaration: up to a comma that stands in no parentheses. */
parameter_name take_name(const char **rest)
{
    parameter_name name = {*rest, 0};
    const char *function = nullptr; // of a pointer to one the name stands inside
    int depth = 0;
    const char *p = *rest;
    for (; *p && (depth > 0 || (*p != ',' && *p != ')')); p++) {
        depth += *p == '(' ? 1 : *p == ')' ? -1 : 0;
        if (!function && p[0] == '(' && p[1] == '*')
            function = p + 2;
    }
    const char *end = p;
    if (function) {
        for (end = function; is_name_character(*end); end++)
            ;
    } else {
        while (end > *rest && !is_name_character(end[-1]))
            end--;
    }
    name.begin = end;
    while (name.begin > *rest && is_name_character(name.begin[-1]))
        name.begin--;
    name.length = (int)(end - name.begin);
    *rest = *p ? p + 1 : p;
    return name;
}

/* Whether the program's texts are UTF-16: as the environment of its handles has it. */
bool is_wide(const omx_traced_value *arguments, int count)
{
    for (int i = 0; i < count; i++)
        if (arguments[i].what == omx_traced_value::pointer)
            if (const omx_handle *h = omx_find_any((const void *)arguments[i].value))
                return h->env->extra && omx_environment_of(h)->is_utf16;
    return false;
}

/* Adds a text as far as it can be read. Passwords inside a statement are left out with what follows them. */
void add_text(message *m, const char *text, long length, bool wide)
{
    char narrow[longest_text];
    size_t size = length >= 0 && (size_t)length < longest_text ? (size_t)length : longest_text - 1;
    if (wide) {
        size = readable_bytes(text, size);
        if (length < 0)
            size = omx_utf16_length((const ub1 *)text, size);
        size = omx_to_utf8((const ub1 *)text, size, narrow, sizeof narrow);
        text = narrow;
    } else {
        size = readable_text(text, size);
    }
    static const char secret[] = "identified by";
    for (size_t i = 0; i + sizeof secret - 1 <= size; i++) {
        if (strncasecmp(text + i, secret, sizeof secret - 1) == 0) {
            m->add("%.*s ***", (int)(i + sizeof secret - 1), text);
            return;
        }
    }
    m->add("%.*s", (int)size, text);
}

/* The value that is bound, where it is text or an integer. */
void add_bound_value(message *m, const void *value, long size, ub2 dty)
{
    if (!value || size <= 0)
        return;
    switch (dty) {
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_AFC:
    case SQLT_AVC:
        m->add("\n\t*valuep=");
        add_text(m, (const char *)value, size, false);
        break;
    case SQLT_INT:
        if (size == sizeof(sb4) && readable_bytes(value, sizeof(sb4)) == sizeof(sb4)) {
            sb4 number;
            memcpy(&number, value, sizeof number);
            m->add("\n\t*valuep=%d", number);
        }
        break;
    default:
        break;
    }
}

void add_argument(message *m, const parameter_name &name, const parameter_name &next,
                  const omx_traced_value *argument, bool has_next, bool wide)
{
    m->add("\n\t%.*s=", name.length, name.begin);
    const void *pointer = (const void *)argument->value;
    if (argument->what == omx_traced_value::number) {
        m->add("%lld", (long long)argument->value);
    } else if (argument->what == omx_traced_value::text && pointer && name.is_secret()) {
        m->add("***");
    } else if (argument->what == omx_traced_value::text && pointer) {
        const bool has_length =
            has_next && next.contains("len") && argument[1].what == omx_traced_value::number;
        add_text(m, (const char *)pointer, has_length ? (long)(sb4)argument[1].value : -1, wide);
    } else {
        m->add("%p", pointer);
    }
}

/* What a variable of a pointer holds; null if it cannot be read. */
const void *held_by(const void *variable)
{
    const void *held = nullptr;
    if (variable && readable_bytes(variable, sizeof held) == sizeof held)
        memcpy(&held, variable, sizeof held);
    return held;
}

/* The backend of the handle that a call was about. */
const char *backend_of(const omx_traced_value *arguments, int count)
{
    const omx_handle *known = nullptr;
    for (int i = 0; i < count; i++) {
        const void *pointer = (const void *)arguments[i].value;
        if (arguments[i].what == omx_traced_value::variable)
            pointer = held_by(pointer); // a logon makes its service context
        else if (arguments[i].what != omx_traced_value::pointer)
            continue;
        const omx_handle *h = omx_find_any(pointer);
        if (!h)
            continue;
        if (h->type == OCI_HTYPE_SVCCTX)
            return omx_backend_name(h->run);
        if (h->type != OCI_HTYPE_ERROR && !known)
            known = h;
    }
    return !known ? nullptr : known->targets == omx_both ? "Oracle and Dravik" : omx_backend_name(known->run);
}

/* What a call has put into the program's variables of pointers: the handles that it made. */
void add_variables(message *m, const char *declaration, const omx_traced_value *arguments, int count)
{
    const char *rest = strchr(declaration, '(') + 1;
    for (int i = 0; i < count; i++) {
        const parameter_name name = take_name(&rest);
        const void *variable = (const void *)arguments[i].value;
        if (arguments[i].what != omx_traced_value::variable || !variable)
            continue;
        const void *held = held_by(variable);
        m->add("\n\t*%.*s=%p", name.length, name.begin, held);
    }
}

/* The error that a failed call has left on its error handle. */
void add_error(message *m, const omx_traced_value *arguments, int count)
{
    for (int i = 0; i < count; i++) {
        void *handle = (void *)arguments[i].value;
        const omx_handle *h = arguments[i].what == omx_traced_value::pointer ? omx_find_any(handle) : nullptr;
        if (!h || h->type != OCI_HTYPE_ERROR)
            continue;
        OraText text[2 * 1024] = {};
        sb4 code = 0;
        if (written::OCIErrorGet(handle, 1, nullptr, &code, text, sizeof text - 2, OCI_HTYPE_ERROR) !=
            OCI_SUCCESS)
            return;
        m->add("\n\tr_errcodep=%d\n\tr_bufp=", code);
        add_text(m, (const char *)text, -1, omx_environment_of(h)->is_utf16);
        return;
    }
}

} // namespace

void omx_trace_call(const char *declaration, const omx_traced_value *arguments, int count)
{
    const char *parameters = strchr(declaration, '(');
    const int name_length = (int)(parameters - declaration);
    OMX_TRACE(OM_LOG_TRACE, "%.*s", name_length, declaration);
    if (!omx_traces(OM_LOG_INFO))
        return;
    message m;
    m.add("%s", declaration);
    const bool wide = is_wide(arguments, count);
    const char *rest = parameters + 1;
    parameter_name name = take_name(&rest);
    for (int i = 0; i < count; i++) {
        const parameter_name next = i + 1 < count ? take_name(&rest) : parameter_name{"", 0};
        add_argument(&m, name, next, &arguments[i], i + 1 < count, wide);
        if (omx_traces(OM_LOG_DEBUG) && name.is("valuep") && i + 2 < count)
            add_bound_value(&m, (const void *)arguments[i].value, (long)(sb4)arguments[i + 1].value,
                            (ub2)arguments[i + 2].value);
        name = next;
    }
    OMX_TRACE(OM_LOG_INFO, "%s", m.text);
}

void omx_trace_result(const char *declaration, const omx_traced_value *arguments, int count,
                      omx_traced_value result, bool is_code)
{
    const bool failed = is_code && (sword)result.value != OCI_SUCCESS;
    const int level = failed ? OM_LOG_ERROR : OM_LOG_INFO;
    if (!omx_traces(level))
        return;
    message m;
    m.add("END FUNC - %.*s()", (int)(strchr(declaration, '(') - declaration), declaration);
    if (const char *backend = backend_of(arguments, count))
        m.add("\n\tbackend=%s", backend);
    if (result.what == omx_traced_value::number)
        m.add("\n\treturn rc=%lld", (long long)result.value);
    else if (result.what != omx_traced_value::none)
        m.add("\n\treturn %p", (const void *)result.value);
    if (is_code && omx_succeeded((sword)result.value))
        add_variables(&m, declaration, arguments, count);
    else if (is_code && (sword)result.value == OCI_ERROR)
        add_error(&m, arguments, count);
    OMX_TRACE(level, "%s", m.text);
}
