#include "handles/call.h"
#include "handles/error_record.h"

#include <cstdarg>
#include <cstdio>
#include <new>

namespace sqlite_oci
{
namespace
{

std::string format_text(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length < 0 ? 0 : length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

} // namespace

void fail(int code, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    failure thrown{make_record(code, format_text(format, arguments))};
    va_end(arguments);
    throw thrown;
}

sword report_exception(call_errors errors) noexcept
{
    try {
        try {
            throw;
        } catch (const invalid_handle &) {
            return OCI_INVALID_HANDLE;
        } catch (const failure &failed) {
            errors.set(failed.record);
        } catch (const std::bad_alloc &) {
            errors.set(make_record(4030, "out of memory"));
        } catch (const std::exception &other) {
            errors.set(make_record(600, other.what()));
        }
    } catch (...) {
        // Not even a record could be made.
    }
    return OCI_ERROR;
}

sword raise_error(OCIError *errhp, int code, const char *format, ...)
{
    auto *errors = find<error_handle>(errhp);
    if (!errors)
        return OCI_INVALID_HANDLE;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = format_text(format, arguments);
    va_end(arguments);
    errors->set(make_record(code, text));
    return OCI_ERROR;
}

bool is_live_error(const OCIError *errhp)
{
    return find<error_handle>(errhp) != nullptr;
}

} // namespace sqlite_oci
