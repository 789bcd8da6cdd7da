// The OCINumber calls.
#include "calls/value_call.h"
#include "values/number.h"

#include <cstring>
#include <limits>
#include <string>

using namespace sqlite_oci;

namespace
{

enum number_error : int {
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

constexpr std::string_view pi = "3.141592653589793238462643383279502884197";

sword report(OCIError *err, number_status status)
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
    case number_status::invalid:
        break;
    }
    return raise_error(err, invalid_number, "an argument is not an initialized finite number");
}

sword refuse_invalid(OCIError *err)
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

template <class T> T read(const void *from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T> sword write(T value, void *to)
{
    std::memcpy(to, &value, sizeof value);
    return OCI_SUCCESS;
}

bool is_integer_length(uword length)
{
    return length == 1 || length == 2 || length == 4 || length == 8;
}

std::int64_t read_signed(const void *from, uword length)
{
    switch (length) {
    case 1:
        return read<std::int8_t>(from);
    case 2:
        return read<std::int16_t>(from);
    case 4:
        return read<std::int32_t>(from);
    default:
        return read<std::int64_t>(from);
    }
}

std::uint64_t read_unsigned(const void *from, uword length)
{
    switch (length) {
    case 1:
        return read<std::uint8_t>(from);
    case 2:
        return read<std::uint16_t>(from);
    case 4:
        return read<std::uint32_t>(from);
    default:
        return read<std::uint64_t>(from);
    }
}

// The low bytes of a value that was found to fit; the machine is little-endian.
sword write_integer(std::uint64_t value, uword length, void *to)
{
    std::memcpy(to, &value, length);
    return OCI_SUCCESS;
}

sword integer_out_of_range(OCIError *err, const OCINumber &number, uword length)
{
    bool negative = number_sign(number) < 0;
    return raise_error(err, negative ? underflow : overflow, "%s does not fit an integer of %u bytes",
                       number_to_text(number).c_str(), length);
}

sword to_signed(OCIError *err, const OCINumber &number, uword length, void *to)
{
    std::int64_t value = 0;
    const std::int64_t most = std::numeric_limits<std::int64_t>::max() >> (64 - 8 * length);
    if (!number_to_int64(number, &value) || value > most || value < -most - 1)
        return integer_out_of_range(err, number, length);
    return write_integer(static_cast<std::uint64_t>(value), length, to);
}

sword to_unsigned(OCIError *err, const OCINumber &number, uword length, void *to)
{
    std::uint64_t value = 0;
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * length);
    bool fits = number_to_uint64(number, &value);
    if (!fits && number_sign(number) < 0)
        return raise_error(err, negative_as_unsigned, "%s is negative and cannot be an unsigned integer",
                           number_to_text(number).c_str());
    if (!fits || value > most)
        return integer_out_of_range(err, number, length);
    return write_integer(value, length, to);
}

sword refuse_integer_arguments(OCIError *err, uword length, uword flag)
{
    if (!is_integer_length(length))
        return raise_error(err, bad_integer_length,
                           "an integer of %u bytes is not supported: use 1, 2, 4 or 8", length);
    return raise_error(err, unknown_sign_flag, "%u is neither OCI_NUMBER_SIGNED nor OCI_NUMBER_UNSIGNED",
                       flag);
}

bool is_sign_flag(uword flag)
{
    return flag == OCI_NUMBER_SIGNED || flag == OCI_NUMBER_UNSIGNED;
}

sword refuse_real_length(OCIError *err, uword length)
{
    return raise_error(err, bad_real_length,
                       "a floating-point number of %u bytes is not supported: use 4, 8 or %zu", length,
                       sizeof(long double));
}

sword to_real(OCIError *err, const OCINumber &number, uword length, void *to)
{
    if (!number_is_valid(number))
        return refuse_invalid(err);
    switch (length) {
    case sizeof(float):
        return write(number_to_float(number), to);
    case sizeof(double):
        return write(number_to_double(number), to);
    case sizeof(long double):
        return write(number_to_long_double(number), to);
    default:
        return refuse_real_length(err, length);
    }
}

// Reads the NLS parameters of a call; false after recording what is wrong with them.
bool read_nls(OCIError *err, std::string_view parameters, number_locale *locale)
{
    if (number_locale_from_nls(parameters, locale))
        return true;
    raise_error(err, invalid_nls, "the NLS parameters \"%.*s\" are not understood", shown(parameters),
                parameters.data());
    return false;
}

sword refuse_format(OCIError *err, std::string_view format)
{
    return raise_error(err, invalid_format, "\"%.*s\" is not a number format for this conversion",
                       shown(format), format.data());
}

sword copy_text(OCIError *err, const std::string &text, ub4 *size, OraText *buffer)
{
    if (text.size() > *size)
        return raise_error(err, buffer_too_small, "a buffer of %u bytes is too small for a text of %zu",
                           *size, text.size());
    std::memcpy(buffer, text.data(), text.size());
    if (text.size() < *size)
        buffer[text.size()] = '\0';
    *size = static_cast<ub4>(text.size());
    return OCI_SUCCESS;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCINumberFromInt(OCIError *err, const void *inum, uword inum_length,
                                         uword inum_s_flag, OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(inum, number))
            return refuse_null(err);
        if (!is_integer_length(inum_length) || !is_sign_flag(inum_s_flag))
            return refuse_integer_arguments(err, inum_length, inum_s_flag);
        if (inum_s_flag == OCI_NUMBER_SIGNED)
            number_from_int64(read_signed(inum, inum_length), number);
        else
            number_from_uint64(read_unsigned(inum, inum_length), number);
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberToInt(OCIError *err, const OCINumber *number, uword rsl_length,
                                       uword rsl_flag, void *rsl)
{
    return with_error_handle(err, [&] {
        if (any_null(number, rsl))
            return refuse_null(err);
        if (!is_integer_length(rsl_length) || !is_sign_flag(rsl_flag))
            return refuse_integer_arguments(err, rsl_length, rsl_flag);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        return rsl_flag == OCI_NUMBER_SIGNED ? to_signed(err, *number, rsl_length, rsl)
                                             : to_unsigned(err, *number, rsl_length, rsl);
    });
}

SQLITE_OCI_EXPORT sword OCINumberFromReal(OCIError *err, const void *rnum, uword rnum_length,
                                          OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(rnum, number))
            return refuse_null(err);
        bool fits = false;
        bool zero = false;
        switch (rnum_length) {
        case sizeof(float):
            fits = number_from_float(read<float>(rnum), number);
            zero = read<float>(rnum) == 0;
            break;
        case sizeof(double):
            fits = number_from_double(read<double>(rnum), number);
            zero = read<double>(rnum) == 0;
            break;
        case sizeof(long double):
            fits = number_from_long_double(read<long double>(rnum), number);
            zero = read<long double>(rnum) == 0;
            break;
        default:
            return refuse_real_length(err, rnum_length);
        }
        if (!fits)
            return raise_error(err, overflow,
                               "the value is not a number or has a magnitude of 1e126 or more");
        return report(err, number_is_zero(*number) && !zero ? number_status::underflow : number_status::ok);
    });
}

SQLITE_OCI_EXPORT sword OCINumberToReal(OCIError *err, const OCINumber *number, uword rsl_length, void *rsl)
{
    return with_error_handle(err, [&] {
        return any_null(number, rsl) ? refuse_null(err) : to_real(err, *number, rsl_length, rsl);
    });
}

SQLITE_OCI_EXPORT sword OCINumberToRealArray(OCIError *err, const OCINumber **number, uword elems,
                                             uword rsl_length, void *rsl)
{
    return with_error_handle(err, [&] {
        if (any_null(number, rsl))
            return refuse_null(err);
        for (std::size_t i = 0; i < elems; ++i) {
            void *to = static_cast<char *>(rsl) + i * rsl_length;
            sword code = number[i] ? to_real(err, *number[i], rsl_length, to) : refuse_null(err);
            if (code != OCI_SUCCESS)
                return code;
        }
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberFromText(OCIError *err, const OraText *str, ub4 str_length,
                                          const OraText *fmt, ub4 fmt_length, const OraText *nls_param,
                                          ub4 nls_p_length, OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(str, number))
            return refuse_null(err);
        number_locale locale;
        if (!read_nls(err, text_of(nls_param, nls_p_length), &locale))
            return sword{OCI_ERROR};
        std::string_view text = text_of(str, str_length);
        std::string_view format = fmt ? text_of(fmt, fmt_length) : "TM9";
        OCINumber value;
        number_status status = number_parse_format(text, format, locale, &value);
        switch (status) {
        case number_status::ok:
            *number = value;
            return sword{OCI_SUCCESS};
        case number_status::bad_format:
            return refuse_format(err, format);
        case number_status::malformed:
            return raise_error(err, invalid_text, "\"%.*s\" is not a number in the format \"%.*s\"",
                               shown(text), text.data(), shown(format), format.data());
        default:
            return report(err, status);
        }
    });
}

SQLITE_OCI_EXPORT sword OCINumberToText(OCIError *err, const OCINumber *number, const OraText *fmt,
                                        ub4 fmt_length, const OraText *nls_params, ub4 nls_p_length,
                                        ub4 *buf_size, OraText *buf)
{
    return with_error_handle(err, [&] {
        if (any_null(number, buf_size, buf))
            return refuse_null(err);
        number_locale locale;
        if (!read_nls(err, text_of(nls_params, nls_p_length), &locale))
            return sword{OCI_ERROR};
        std::string_view format = fmt ? text_of(fmt, fmt_length) : "TM9";
        std::string text;
        switch (number_format(*number, format, locale, &text)) {
        case number_status::ok:
            return copy_text(err, text, buf_size, buf);
        case number_status::bad_format:
            return refuse_format(err, format);
        case number_status::overflow:
            return raise_error(err, format_overflow, "%s does not fit the format \"%.*s\"",
                               number_to_text(*number).c_str(), shown(format), format.data());
        default:
            return refuse_invalid(err);
        }
    });
}

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
    return with_error_handle(err, [&] {
        if (any_null(number, result))
            return refuse_null(err);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        *result = number_sign(*number);
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberIsZero(OCIError *err, const OCINumber *number, int *result)
{
    return with_error_handle(err, [&] {
        if (any_null(number, result))
            return refuse_null(err);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        *result = number_is_zero(*number) ? 1 : 0;
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberIsInt(OCIError *err, const OCINumber *number, int *result)
{
    return with_error_handle(err, [&] {
        if (any_null(number, result))
            return refuse_null(err);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        *result = number_is_integer(*number) ? 1 : 0;
        return sword{OCI_SUCCESS};
    });
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
