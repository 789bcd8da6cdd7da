#include "syntax/sql_failure.h"

#include <cstdarg>
#include <cstdio>

namespace sqlite_oci::sql
{

void fail_at(std::size_t offset, int code, const char *format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    throw located_failure{failure{make_record(code, text)}, offset};
}

void fail_unserved(std::size_t offset, const char *what)
{
    fail_at(offset, 3001, "%s: not served", what);
}

} // namespace sqlite_oci::sql
