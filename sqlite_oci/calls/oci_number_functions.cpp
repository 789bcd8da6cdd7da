// The OCINumber calls for roots, powers, logarithms, circular and hyperbolic functions.
#include "calls/number_call.h"
#include "values/number_functions.h"

using namespace sqlite_oci;

namespace
{

sword apply(OCIError *err, number_function function, const OCINumber *number, OCINumber *result)
{
    return compute(err, number, result, [&](const OCINumber &from, OCINumber *value) {
        return number_apply(function, from, value);
    });
}

sword apply(OCIError *err, number_function2 function, const OCINumber *a, const OCINumber *b,
            OCINumber *result)
{
    return compute(err, a, b, result, [&](const OCINumber &first, const OCINumber &second, OCINumber *value) {
        return number_apply(function, first, second, value);
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCINumberSqrt(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::square_root, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberExp(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::exponential, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberLn(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::natural_logarithm, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberSin(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::sine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberCos(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::cosine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberTan(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::tangent, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberArcSin(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::arc_sine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberArcCos(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::arc_cosine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberArcTan(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::arc_tangent, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberHypSin(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::hyperbolic_sine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberHypCos(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::hyperbolic_cosine, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberHypTan(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return apply(err, number_function::hyperbolic_tangent, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberPower(OCIError *err, const OCINumber *base, const OCINumber *number,
                                       OCINumber *result)
{
    return apply(err, number_function2::power, base, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberLog(OCIError *err, const OCINumber *base, const OCINumber *number,
                                     OCINumber *result)
{
    return apply(err, number_function2::logarithm, base, number, result);
}

SQLITE_OCI_EXPORT sword OCINumberArcTan2(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                         OCINumber *result)
{
    return apply(err, number_function2::arc_tangent, number1, number2, result);
}

} // extern "C"
