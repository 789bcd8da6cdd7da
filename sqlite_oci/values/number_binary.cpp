// NUMBERs from and to the numbers of the machine.
#include "values/number_digits.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace sqlite_oci
{
namespace
{

template <typename T> bool to_unsigned(const base100 &value, T *result)
{
    T whole = 0;
    for (int exponent = value.exponent; exponent >= 0; --exponent) {
        if (__builtin_mul_overflow(whole, T{100}, &whole) ||
            __builtin_add_overflow(whole, static_cast<T>(value.at(exponent)), &whole))
            return false;
    }
    if (value.at(-1) >= 50 && __builtin_add_overflow(whole, T{1}, &whole))
        return false;
    *result = whole;
    return true;
}

template <typename T> bool from_binary(T value, OCINumber *number)
{
    if (std::isnan(value))
        return false;
    if (std::isinf(value)) {
        number_set_infinity(number, value < 0);
        return true;
    }
    char text[40];
    char *end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
    return number_from_text({text, static_cast<std::size_t>(end - text)}, number);
}

template <typename T> T to_binary(const OCINumber &number)
{
    if (!number_is_valid(number))
        return std::numeric_limits<T>::quiet_NaN();
    const bool negative = number_sign(number) < 0;
    if (number_is_infinite(number))
        return negative ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    char text[number_text_max];
    std::size_t length = number_to_chars(number, text, sizeof text);
    T value = 0;
    if (std::from_chars(text, text + length, value).ec == std::errc::result_out_of_range) {
        // Only float is that narrow.
        base100 digits;
        value =
            number_decode(number, &digits) && digits.exponent < 0 ? T{0} : std::numeric_limits<T>::infinity();
        return negative ? -value : value;
    }
    return value;
}

// Whole numbers to 2^53 and powers of ten to 10^22 are exact as double, and so is one operation on them.
bool to_double_exactly(const base100 &value, double *result)
{
    static constexpr double power_of_100[] = {1e0,  1e2,  1e4,  1e6,  1e8,  1e10,
                                              1e12, 1e14, 1e16, 1e18, 1e20, 1e22};
    int scale = value.exponent - value.count + 1;
    if (value.count > 8 || scale < -11 || scale > 11)
        return false;
    std::uint64_t whole = 0;
    for (int i = 0; i < value.count; ++i)
        whole = whole * 100 + value[i];
    if (whole > (std::uint64_t{1} << 53))
        return false;
    double magnitude = static_cast<double>(whole);
    magnitude = scale < 0 ? magnitude / power_of_100[-scale] : magnitude * power_of_100[scale];
    *result = value.negative ? -magnitude : magnitude;
    return true;
}

} // namespace

void number_from_int64(std::int64_t value, OCINumber *number)
{
    base100 digits;
    digits.negative = value < 0;
    std::uint64_t rest = static_cast<std::uint64_t>(value);
    if (value < 0)
        rest = 0 - rest;
    digits.count = 10;
    digits.exponent = 9;
    for (std::size_t i = 10; i-- > 0; rest /= 100)
        digits.digit[i] = static_cast<ub1>(rest % 100);
    number_encode(&digits, number);
}

void number_from_uint64(std::uint64_t value, OCINumber *number)
{
    base100 digits;
    digits.count = 10;
    digits.exponent = 9;
    for (std::size_t i = 10; i-- > 0; value /= 100)
        digits.digit[i] = static_cast<ub1>(value % 100);
    number_encode(&digits, number);
}

bool number_to_int64(const OCINumber &number, std::int64_t *value)
{
    base100 digits;
    std::uint64_t magnitude = 0;
    if (!number_decode(number, &digits) || !to_unsigned(digits, &magnitude))
        return false;
    constexpr std::uint64_t limit = std::uint64_t{1} << 63;
    if (magnitude > limit || (magnitude == limit && !digits.negative))
        return false;
    *value = static_cast<std::int64_t>(digits.negative ? 0 - magnitude : magnitude);
    return true;
}

bool number_to_uint64(const OCINumber &number, std::uint64_t *value)
{
    base100 digits;
    std::uint64_t magnitude = 0;
    if (!number_decode(number, &digits) || !to_unsigned(digits, &magnitude))
        return false;
    if (digits.negative && magnitude != 0)
        return false;
    *value = magnitude;
    return true;
}

bool number_from_double(double value, OCINumber *number)
{
    return from_binary(value, number);
}

bool number_from_float(float value, OCINumber *number)
{
    return from_binary(value, number);
}

bool number_from_long_double(long double value, OCINumber *number)
{
    return from_binary(value, number);
}

double number_to_double(const OCINumber &number)
{
    base100 digits;
    double value = 0;
    if (number_decode(number, &digits) && to_double_exactly(digits, &value))
        return value;
    return to_binary<double>(number);
}

float number_to_float(const OCINumber &number)
{
    return to_binary<float>(number);
}

long double number_to_long_double(const OCINumber &number)
{
    return to_binary<long double>(number);
}

} // namespace sqlite_oci
