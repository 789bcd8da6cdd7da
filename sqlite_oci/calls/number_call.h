// The frame and the errors of the OCINumber calls.
#pragma once

#include "calls/value_call.h"
#include "values/number.h"

namespace sqlite_oci
{

enum number_error : int {
    out_of_domain = 1428,
    invalid_text = 1722,
    overflow = 22053,
    underflow = 22054,
    unknown_sign_flag = 22055,
    zero_divisor = 22056,
    bad_integer_length = 22057,
    bad_real_length = 22058,
    buffer_too_small = 22059,
    invalid_number = 22060,
    invalid_format = 22061,
    negative_as_unsigned = 22063,
    invalid_nls = 22064,
    format_overflow = 22065,
};

inline sword report(OCIError *err, number_status status)
{
    switch (status) {
    case number_status::ok:
        return OCI_SUCCESS;
    case number_status::overflow:
        return raise_error(err, overflow, "the result has a magnitude of 1e126 or more");
    case number_status::underflow:
        return raise_error(err, underflow, "the result is not zero but has a magnitude below 1e-130");
    case number_status::divide_by_zero:
        return raise_error(err, zero_divisor, "the divisor is zero");
    case number_status::malformed:
        return raise_error(err, invalid_text, "the text is not a number");
    case number_status::bad_format:
        return raise_error(err, invalid_format, "the number format is not recognized");
    case number_status::out_of_domain:
        return raise_error(err, out_of_domain, "the function has no value for this argument");
    case number_status::invalid:
        break;
    }
    return raise_error(err, invalid_number, "an argument is not an initialized finite number");
}

inline sword refuse_invalid(OCIError *err)
{
    return report(err, number_status::invalid);
}

// Calls of one or two numbers and a result, which is left alone when the call fails.
template <class Operation>
sword compute(OCIError *err, const OCINumber *a, OCINumber *result, Operation operation)
{
    return with_error_handle(err, [&] {
        if (any_null(a, result))
            return refuse_null(err);
        OCINumber value;
        number_status status = operation(*a, &value);
        if (status == number_status::ok)
            *result = value;
        return report(err, status);
    });
}

template <class Operation>
sword compute(OCIError *err, const OCINumber *a, const OCINumber *b, OCINumber *result, Operation operation)
{
    if (b)
        return compute(err, a, result,
                       [&](const OCINumber &first, OCINumber *value) { return operation(first, *b, value); });
    return with_error_handle(err, [&] { return refuse_null(err); });
}

} // namespace sqlite_oci
