// The OCINumber calls that compute and compare.
#include "calls/number_call.h"

using namespace sqlite_oci;

namespace
{

constexpr std::string_view pi = "3.141592653589793238462643383279502884197";

// Calls that tell something of one number.
template <class Result, class Question>
sword tell(OCIError *err, const OCINumber *number, Result *result, Question question)
{
    return with_error_handle(err, [&] {
        if (any_null(number, result))
            return refuse_null(err);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        *result = question(*number);
        return sword{OCI_SUCCESS};
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT void OCINumberSetZero(OCIError *, OCINumber *num)
{
    if (num)
        number_set_zero(num);
}

SQLITE_OCI_EXPORT void OCINumberSetPi(OCIError *, OCINumber *num)
{
    if (num)
        number_from_text(pi, num);
}

SQLITE_OCI_EXPORT sword OCINumberAssign(OCIError *err, const OCINumber *from, OCINumber *to)
{
    return compute(err, from, to, [](const OCINumber &number, OCINumber *result) {
        *result = number;
        return number_status::ok;
    });
}

SQLITE_OCI_EXPORT sword OCINumberCmp(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     sword *result)
{
    return with_error_handle(err, [&] {
        if (any_null(number1, number2, result))
            return refuse_null(err);
        if (!number_is_valid(*number1) || !number_is_valid(*number2))
            return refuse_invalid(err);
        *result = number_compare(*number1, *number2);
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberSign(OCIError *err, const OCINumber *number, sword *result)
{
    return tell(err, number, result, number_sign);
}

SQLITE_OCI_EXPORT sword OCINumberIsZero(OCIError *err, const OCINumber *number, int *result)
{
    return tell(err, number, result, number_is_zero);
}

SQLITE_OCI_EXPORT sword OCINumberIsInt(OCIError *err, const OCINumber *number, int *result)
{
    return tell(err, number, result, number_is_integer);
}

SQLITE_OCI_EXPORT sword OCINumberInc(OCIError *err, OCINumber *number)
{
    return compute(err, number, number, [](const OCINumber &from, OCINumber *result) {
        OCINumber one;
        number_from_int64(1, &one);
        return number_add(from, one, result);
    });
}

SQLITE_OCI_EXPORT sword OCINumberDec(OCIError *err, OCINumber *number)
{
    return compute(err, number, number, [](const OCINumber &from, OCINumber *result) {
        OCINumber one;
        number_from_int64(1, &one);
        return number_subtract(from, one, result);
    });
}

SQLITE_OCI_EXPORT sword OCINumberAdd(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     OCINumber *result)
{
    return compute(err, number1, number2, result, number_add);
}

SQLITE_OCI_EXPORT sword OCINumberSub(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     OCINumber *result)
{
    return compute(err, number1, number2, result, number_subtract);
}

SQLITE_OCI_EXPORT sword OCINumberMul(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     OCINumber *result)
{
    return compute(err, number1, number2, result, number_multiply);
}

SQLITE_OCI_EXPORT sword OCINumberDiv(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     OCINumber *result)
{
    return compute(err, number1, number2, result, number_divide);
}

SQLITE_OCI_EXPORT sword OCINumberMod(OCIError *err, const OCINumber *number1, const OCINumber *number2,
                                     OCINumber *result)
{
    return compute(err, number1, number2, result,
                   [](const OCINumber &a, const OCINumber &b, OCINumber *value) {
                       return number_is_zero(b) ? number_status::divide_by_zero : number_modulo(a, b, value);
                   });
}

SQLITE_OCI_EXPORT sword OCINumberNeg(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return compute(err, number, result, [](const OCINumber &from, OCINumber *value) {
        number_negate(from, value);
        return number_is_valid(from) ? number_status::ok : number_status::invalid;
    });
}

SQLITE_OCI_EXPORT sword OCINumberAbs(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return compute(err, number, result, [](const OCINumber &from, OCINumber *value) {
        *value = from;
        if (number_sign(from) < 0)
            number_negate(from, value);
        return number_is_valid(from) ? number_status::ok : number_status::invalid;
    });
}

SQLITE_OCI_EXPORT sword OCINumberShift(OCIError *err, const OCINumber *number, const sword nDig,
                                       OCINumber *result)
{
    return compute(err, number, result,
                   [&](const OCINumber &from, OCINumber *value) { return number_shift(from, nDig, value); });
}

SQLITE_OCI_EXPORT sword OCINumberCeil(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return compute(err, number, result, [](const OCINumber &from, OCINumber *value) {
        return number_round(from, 0, rounding::ceiling, value);
    });
}

SQLITE_OCI_EXPORT sword OCINumberFloor(OCIError *err, const OCINumber *number, OCINumber *result)
{
    return compute(err, number, result, [](const OCINumber &from, OCINumber *value) {
        return number_round(from, 0, rounding::floor, value);
    });
}

SQLITE_OCI_EXPORT sword OCINumberTrunc(OCIError *err, const OCINumber *number, sword decplace,
                                       OCINumber *result)
{
    return compute(err, number, result, [&](const OCINumber &from, OCINumber *value) {
        return number_round(from, decplace, rounding::toward_zero, value);
    });
}

SQLITE_OCI_EXPORT sword OCINumberRound(OCIError *err, const OCINumber *number, sword decplace,
                                       OCINumber *result)
{
    return compute(err, number, result, [&](const OCINumber &from, OCINumber *value) {
        return number_round(from, decplace, rounding::half_away, value);
    });
}

SQLITE_OCI_EXPORT sword OCINumberPrec(OCIError *err, const OCINumber *number, eword nDigs, OCINumber *result)
{
    return compute(err, number, result, [&](const OCINumber &from, OCINumber *value) {
        return number_round_digits(from, nDigs, value);
    });
}

SQLITE_OCI_EXPORT sword OCINumberIntPower(OCIError *err, const OCINumber *base, const sword exp,
                                          OCINumber *result)
{
    return compute(err, base, result, [&](const OCINumber &from, OCINumber *value) {
        return number_int_power(from, exp, value);
    });
}

} // extern "C"
