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

void number_set_infinity(OCINumber *number, bool negative)
{
    set_bytes(number, negative ? negative_infinity : positive_infinity);
}

void number_negate(const OCINumber &number, OCINumber *result)
{
    base100 value;
    if (!number_decode(number, &value)) {
        if (number_is_infinite(number))
            number_set_infinity(result, !is_negative(number));
        else
            *result = number;
        return;
    }
    value.negative = !value.negative;
    number_encode(&value, result);
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
