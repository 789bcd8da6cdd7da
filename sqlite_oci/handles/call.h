// The frame of an exported call: handles are checked, failures become records on the error handle, and
// nothing is thrown into the application.
#pragma once

#include "handles/environment.h"

#include <exception>
#include <optional>
#include <string>

// Exported functions are visible; everything else in the library is hidden by its export map.
#define SQLITE_OCI_EXPORT __attribute__((visibility("default")))

namespace sqlite_oci
{

// A call that cannot be completed: becomes `record` on the error handle and OCI_ERROR.
struct failure {
    error_record record;
};

// A handle that is not a live handle of the kind asked for: becomes OCI_INVALID_HANDLE.
struct invalid_handle {
};

[[noreturn]] void fail(int code, const char *format, ...) __attribute__((format(printf, 2, 3)));

// The object behind a handle that the call cannot do without.
template <class T> T &required(const void *handle)
{
    T *target = find<T>(handle);
    if (!target)
        throw invalid_handle{};
    return *target;
}

// The error handle of a call, which may be null: then records are dropped.
class call_errors
{
public:
    explicit call_errors(error_handle *target) : target_(target) {}

    void set(error_record record) const
    {
        if (target_)
            target_->set(std::move(record));
    }

    // Records a condition that does not make the call fail.
    sword warn(int code, std::string_view text) const
    {
        set(make_record(code, text));
        return OCI_SUCCESS_WITH_INFO;
    }

    error_handle *target() const { return target_; }

private:
    error_handle *target_;
};

// Turns the exception in flight into a record on `errors` and the call's return code.
sword report_exception(call_errors errors) noexcept;

// Runs `body(call_errors)`, which returns the call's code or throws.
template <class Body> sword served(OCIError *errhp, Body body) noexcept
{
    const call_errors errors(find<error_handle>(errhp));
    if (errhp && !errors.target())
        return OCI_INVALID_HANDLE;
    try {
        return body(errors);
    } catch (...) {
        return report_exception(errors);
    }
}

} // namespace sqlite_oci
