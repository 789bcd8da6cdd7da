#include "values/number.h"

#include "values/number_digits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace sqlite_oci
{
namespace
{

constexpr ub1 zero_byte = 0x80;
constexpr ub1 terminator = 102;
constexpr ub1 positive_infinity[] = {2, 0xff, 0x65};
constexpr ub1 negative_infinity[] = {1, 0x00};

bool has_bytes(const OCINumber &number, const ub1 *bytes)
{
    return std::memcmp(number.OCINumberPart, bytes, bytes[0] + std::size_t{1}) == 0;
}

void set_bytes(OCINumber *number, const ub1 *bytes)
{
    std::memset(number->OCINumberPart, 0, sizeof number->OCINumberPart);
    std::memcpy(number->OCINumberPart, bytes, bytes[0] + std::size_t{1});
}

void set_infinity(OCINumber *number, bool negative)
{
    set_bytes(number, negative ? negative_infinity : positive_infinity);
}

bool is_negative(const OCINumber &number)
{
    return number.OCINumberPart[1] < zero_byte;
}

// The digits of a finite number other than zero; *count gets -1 if they are none.
const ub1 *mantissa(const OCINumber &number, int *count)
{
    int length = number.OCINumberPart[0] - 1;
    if (is_negative(number) && length > 0) {
        // Only the longest numbers have no room for the terminator, which is no digit.
        if (number.OCINumberPart[1 + length] == terminator)
            --length;
        else if (length < number_digit_max)
            length = -1;
    }
    *count = length > 0 ? length : -1;
    return number.OCINumberPart + 2;
}

ub1 plain_digit(bool negative, ub1 stored)
{
    return static_cast<ub1>(negative ? 101 - stored : stored - 1);
}

int plain_exponent(const OCINumber &number)
{
    int stored = number.OCINumberPart[1];
    return is_negative(number) ? number_exponent_max - stored : stored - 193;
}

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
        set_infinity(number, value < 0);
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
    if (number_is_infinite(number))
        return is_negative(number) ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    char text[number_text_max];
    std::size_t length = number_to_chars(number, text, sizeof text);
    T value = 0;
    if (std::from_chars(text, text + length, value).ec == std::errc::result_out_of_range) {
        // Only float is that narrow.
        value = plain_exponent(number) < 0 ? T{0} : std::numeric_limits<T>::infinity();
        return is_negative(number) ? -value : value;
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

void base100::drop_zeros()
{
    int leading = 0;
    while (leading < count && (*this)[leading] == 0)
        ++leading;
    if (leading > 0) {
        std::copy(digit.begin() + leading, digit.begin() + count, digit.begin());
        count -= leading;
        exponent -= leading;
    }
    while (count > 0 && (*this)[count - 1] == 0)
        --count;
}

void base100::increment()
{
    int i = count - 1;
    while (i >= 0 && (*this)[i] == 99)
        (*this)[i--] = 0;
    if (i >= 0) {
        ++(*this)[i];
        return;
    }
    digit[0] = 1;
    count = 1;
    ++exponent;
}

void base100::round(int digits)
{
    drop_zeros();
    if (count <= digits)
        return;
    bool up = (*this)[digits] >= 50;
    count = digits;
    if (up)
        increment();
    drop_zeros();
}

bool number_is_valid(const OCINumber &number)
{
    std::size_t length = number.OCINumberPart[0];
    if (length == 1)
        return number.OCINumberPart[1] == zero_byte || number.OCINumberPart[1] == 0;
    if (length < 1 || length > number_num_max)
        return false;
    if (has_bytes(number, positive_infinity))
        return true;
    int count = 0;
    const ub1 *digits = mantissa(number, &count);
    if (count < 0)
        return false;
    bool negative = is_negative(number);
    for (int i = 0; i < count; ++i)
        if (plain_digit(negative, digits[i]) > 99)
            return false;
    return plain_digit(negative, digits[0]) != 0 && plain_digit(negative, digits[count - 1]) != 0;
}

bool number_is_zero(const OCINumber &number)
{
    return number.OCINumberPart[0] == 1 && number.OCINumberPart[1] == zero_byte;
}

bool number_is_infinite(const OCINumber &number)
{
    return has_bytes(number, positive_infinity) || has_bytes(number, negative_infinity);
}

bool number_is_integer(const OCINumber &number)
{
    if (number_is_zero(number))
        return true;
    if (!number_is_valid(number) || number_is_infinite(number))
        return false;
    int count = 0;
    mantissa(number, &count);
    return count <= plain_exponent(number) + 1;
}

int number_sign(const OCINumber &number)
{
    if (!number_is_valid(number) || number_is_zero(number))
        return 0;
    return is_negative(number) ? -1 : 1;
}

int number_compare(const OCINumber &a, const OCINumber &b)
{
    // The form was made to be compared byte by byte.
    std::size_t a_length = a.OCINumberPart[0];
    std::size_t b_length = b.OCINumberPart[0];
    std::size_t common = std::min({a_length, b_length, number_num_max});
    int order = std::memcmp(a.OCINumberPart + 1, b.OCINumberPart + 1, common);
    if (order != 0)
        return order < 0 ? -1 : 1;
    return (a_length > b_length) - (a_length < b_length);
}

bool number_decode(const OCINumber &number, base100 *value)
{
    value->negative = false;
    value->exponent = 0;
    value->count = 0;
    if (number_is_zero(number))
        return true;
    if (!number_is_valid(number) || number_is_infinite(number))
        return false;
    const ub1 *digits = mantissa(number, &value->count);
    value->negative = is_negative(number);
    value->exponent = plain_exponent(number);
    for (int i = 0; i < value->count; ++i)
        (*value)[i] = plain_digit(value->negative, digits[i]);
    return true;
}

bool number_decode(const OCINumber &number, base10 *value)
{
    base100 pairs;
    if (!number_decode(number, &pairs))
        return false;
    value->negative = pairs.negative;
    value->exponent = 0;
    value->count = 0;
    if (pairs.count == 0)
        return true;
    bool single = pairs.digit[0] < 10;
    value->exponent = 2 * pairs.exponent + (single ? 0 : 1);
    for (int i = 0; i < pairs.count; ++i) {
        ub1 pair = pairs[i];
        if (i > 0 || !single)
            (*value)[value->count++] = static_cast<char>('0' + pair / 10);
        (*value)[value->count++] = static_cast<char>('0' + pair % 10);
    }
    if ((*value)[value->count - 1] == '0')
        --value->count;
    return true;
}

number_status number_encode(base100 *value, OCINumber *number)
{
    value->round(number_digit_max);
    if (value->count > 0 && value->exponent > number_exponent_max)
        return number_status::overflow;
    number_set_zero(number);
    if (value->count == 0)
        return number_status::ok;
    if (value->exponent < number_exponent_min)
        return number_status::underflow;

    ub1 *out = number->OCINumberPart;
    int length = 1 + value->count;
    if (value->negative) {
        out[1] = static_cast<ub1>(number_exponent_max - value->exponent);
        for (int i = 0; i < value->count; ++i)
            out[2 + i] = static_cast<ub1>(101 - (*value)[i]);
        if (value->count < number_digit_max)
            out[1 + length++] = terminator;
    } else {
        out[1] = static_cast<ub1>(193 + value->exponent);
        for (int i = 0; i < value->count; ++i)
            out[2 + i] = static_cast<ub1>((*value)[i] + 1);
    }
    out[0] = static_cast<ub1>(length);
    return number_status::ok;
}

void number_set_zero(OCINumber *number)
{
    *number = OCINumber{};
    number->OCINumberPart[0] = 1;
    number->OCINumberPart[1] = zero_byte;
}

void number_negate(const OCINumber &number, OCINumber *result)
{
    base100 value;
    if (!number_decode(number, &value)) {
        if (number_is_infinite(number))
            set_infinity(result, !is_negative(number));
        else
            *result = number;
        return;
    }
    value.negative = !value.negative;
    number_encode(&value, result);
}

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

std::size_t number_to_num(const OCINumber &number, ub1 *bytes)
{
    if (!number_is_valid(number))
        return 0;
    std::memcpy(bytes, number.OCINumberPart + 1, number.OCINumberPart[0]);
    return number.OCINumberPart[0];
}

bool number_from_num(const ub1 *bytes, std::size_t length, OCINumber *number)
{
    while (length > 1 && bytes[length - 1] == 0)
        --length;
    if (length < 1 || length > number_num_max)
        return false;
    OCINumber candidate{};
    candidate.OCINumberPart[0] = static_cast<ub1>(length);
    std::memcpy(candidate.OCINumberPart + 1, bytes, length);
    if (!number_is_valid(candidate))
        return false;
    *number = candidate;
    return true;
}

void number_to_vnu(const OCINumber &number, ub1 *vnu)
{
    std::memset(vnu, 0, number_vnu_size);
    vnu[0] = static_cast<ub1>(number_to_num(number, vnu + 1));
}

bool number_from_vnu(const ub1 *vnu, std::size_t length, OCINumber *number)
{
    return length > 0 && vnu[0] < length && number_from_num(vnu + 1, vnu[0], number);
}

} // namespace sqlite_oci
