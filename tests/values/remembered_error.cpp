#include "remembered_error.h"

#include "error_record.h"

#include <cstdarg>
#include <cstdio>
#include <set>

static std::set<const void *> live;

remembered_error::remembered_error()
{
    live.insert(this);
}

remembered_error::~remembered_error()
{
    live.erase(this);
}

namespace sqlite_oci
{

bool is_live_error(const OCIError *errhp)
{
    return live.count(errhp) > 0;
}

sword raise_error(OCIError *errhp, int code, const char *format, ...)
{
    if (!is_live_error(errhp))
        return OCI_INVALID_HANDLE;
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    auto *handle = reinterpret_cast<remembered_error *>(errhp);
    handle->code = code;
    handle->text = text;
    return OCI_ERROR;
}

} // namespace sqlite_oci
