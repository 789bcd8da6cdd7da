#include "values/number.h"

#include "values/number_digits.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace sqlite_oci
{
namespace
{

// Digits that powers are carried with, so that many roundings leave the digits of a NUMBER exact.
constexpr int guard_digits = 64;

// More than any power of ten by which two NUMBERs can differ; shifts and places beyond it are all alike.
constexpr int shift_limit = 1000;

// -1, 0 or 1 as |a| is less than, equal to or greater than |b|; neither has zeros at its ends.
int compare_magnitudes(const base100 &a, const base100 &b)
{
    if (a.count == 0 || b.count == 0)
        return (a.count > 0) - (b.count > 0);
    if (a.exponent != b.exponent)
        return a.exponent < b.exponent ? -1 : 1;
    int common = std::min(a.count, b.count);
    int order = std::memcmp(a.digit.data(), b.digit.data(), static_cast<std::size_t>(common));
    if (order != 0)
        return order < 0 ? -1 : 1;
    return (a.count > b.count) - (a.count < b.count);
}

// a + b, or a - b where |a| >= |b|, of magnitudes; exact.
base100 combine_magnitudes(const base100 &a, const base100 &b, bool subtract)
{
    int high = std::max(a.exponent, b.exponent) + 1;
    int low = std::min(a.exponent - a.count, b.exponent - b.count) + 1;
    base100 result;
    result.exponent = high;
    result.count = high - low + 1;
    int carry = 0;
    for (int exponent = low; exponent <= high; ++exponent) {
        int digit = a.at(exponent) + carry;
        digit += subtract ? -b.at(exponent) : b.at(exponent);
        carry = digit < 0 ? -1 : digit / 100;
        result[high - exponent] = static_cast<ub1>(digit - carry * 100);
    }
    result.drop_zeros();
    return result;
}

base100 add(const base100 &a, const base100 &b)
{
    if (a.count == 0)
        return b;
    if (b.count == 0)
        return a;
    base100 result;
    if (a.negative == b.negative) {
        result = combine_magnitudes(a, b, false);
        result.negative = a.negative;
    } else {
        bool a_is_larger = compare_magnitudes(a, b) >= 0;
        const base100 &larger = a_is_larger ? a : b;
        result = combine_magnitudes(larger, a_is_larger ? b : a, true);
        result.negative = larger.negative;
    }
    return result;
}

base100 multiply(const base100 &a, const base100 &b)
{
    base100 result;
    result.negative = a.negative != b.negative;
    result.exponent = a.exponent + b.exponent + 1;
    result.count = a.count + b.count;
    int sum[2 * guard_digits] = {};
    for (int i = 0; i < a.count; ++i)
        for (int j = 0; j < b.count; ++j)
            sum[i + j + 1] += a[i] * b[j];
    int carry = 0;
    for (int i = result.count - 1; i >= 0; --i) {
        carry += sum[i];
        result[i] = static_cast<ub1>(carry % 100);
        carry /= 100;
    }
    result.drop_zeros();
    return result;
}

// A whole number of base-100 digits, least significant first, that a long division shortens step by step.
class remainder_register
{
public:
    explicit remainder_register(const base100 &divisor, int divisor_count) : width(divisor_count)
    {
        for (int i = 0; i < divisor_count; ++i)
            divisor_digit[divisor_count - 1 - i] = i < divisor.count ? divisor[i] : ub1{0};
    }

    // Takes the next digit of the dividend; returns the next digit of the quotient.
    int step(int next)
    {
        for (int i = width; i > 0; --i)
            digit[i] = digit[i - 1];
        digit[0] = static_cast<ub1>(next);
        int quotient = 0;
        while (!is_below_divisor()) {
            // An estimate that is never too high; it is short by one or two at most.
            int part = std::max(1, head(digit) / (head(divisor_digit) + 1));
            subtract(part);
            quotient += part;
        }
        return quotient;
    }

    // The remainder, times 100^exponent.
    base100 remainder(int exponent) const
    {
        base100 value;
        value.exponent = exponent + width - 1;
        value.count = width;
        for (int i = 0; i < width; ++i)
            value[i] = digit[width - 1 - i];
        value.drop_zeros();
        return value;
    }

private:
    using digits = ub1[160];

    // The digits from the place above the divisor's first down to two places below it.
    int head(const digits &from) const
    {
        int value = 0;
        for (int i = width; i >= width - 3; --i)
            value = value * 100 + (i >= 0 ? from[i] : 0);
        return value;
    }

    bool is_below_divisor() const
    {
        for (int i = width; i >= 0; --i)
            if (digit[i] != divisor_digit[i])
                return digit[i] < divisor_digit[i];
        return false;
    }

    void subtract(int times)
    {
        int borrow = 0;
        for (int i = 0; i <= width; ++i) {
            int rest = digit[i] - divisor_digit[i] * times - borrow;
            borrow = rest < 0 ? (99 - rest) / 100 : 0;
            digit[i] = static_cast<ub1>(rest + borrow * 100);
        }
    }

    int width;
    digits digit = {};
    digits divisor_digit = {};
};

// a / b with a digit more than `digits`, for the rounding; b is not zero.
base100 divide(const base100 &a, const base100 &b, int digits)
{
    remainder_register rest(b, b.count);
    base100 result;
    result.negative = a.negative != b.negative;
    result.exponent = a.exponent - b.exponent + b.count - 1;
    // The first b.count - 1 digits, and perhaps one more, are zeros.
    result.count = digits + b.count + 1;
    for (int i = 0; i < result.count; ++i)
        result[i] = static_cast<ub1>(rest.step(i < a.count ? a[i] : 0));
    return result;
}

// value * 10^shift, exact.
base100 shift_decimal(const base100 &value, int shift)
{
    base100 result = value;
    if (value.count == 0)
        return result;
    shift = std::clamp(shift, -shift_limit, shift_limit);
    bool odd = shift % 2 != 0;
    result.exponent += (odd ? shift - 1 : shift) / 2;
    if (!odd)
        return result;
    base100 ten;
    ten.count = 1;
    ten.digit[0] = 10;
    return multiply(result, ten);
}

// Cuts the digits below 1 and moves to the next whole number where the mode says so.
void round_to_integer(base100 *value, rounding mode)
{
    value->drop_zeros();
    int whole = std::max(value->exponent + 1, 0);
    if (value->count == 0 || value->count <= value->exponent + 1)
        return;
    bool up = false;
    switch (mode) {
    case rounding::half_away:
        up = value->at(-1) >= 50;
        break;
    case rounding::toward_zero:
        break;
    case rounding::floor:
        up = value->negative;
        break;
    case rounding::ceiling:
        up = !value->negative;
        break;
    }
    value->count = whole;
    if (whole == 0)
        value->exponent = -1;
    if (up)
        value->increment();
    value->drop_zeros();
}

bool decode_both(const OCINumber &a, const OCINumber &b, base100 *first, base100 *second)
{
    return number_decode(a, first) && number_decode(b, second);
}

} // namespace

number_status number_add(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    base100 first;
    base100 second;
    if (!decode_both(a, b, &first, &second))
        return number_status::invalid;
    base100 sum = add(first, second);
    return number_encode(&sum, result);
}

number_status number_subtract(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    base100 first;
    base100 second;
    if (!decode_both(a, b, &first, &second))
        return number_status::invalid;
    second.negative = !second.negative;
    base100 difference = add(first, second);
    return number_encode(&difference, result);
}

number_status number_multiply(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    base100 first;
    base100 second;
    if (!decode_both(a, b, &first, &second))
        return number_status::invalid;
    base100 product = multiply(first, second);
    return number_encode(&product, result);
}

number_status number_divide(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    base100 first;
    base100 second;
    if (!decode_both(a, b, &first, &second))
        return number_status::invalid;
    if (second.count == 0)
        return number_status::divide_by_zero;
    base100 quotient = divide(first, second, number_digit_max);
    return number_encode(&quotient, result);
}

number_status number_modulo(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    base100 first;
    base100 second;
    if (!decode_both(a, b, &first, &second))
        return number_status::invalid;
    if (second.count == 0 || compare_magnitudes(first, second) < 0) {
        *result = a;
        return number_status::ok;
    }
    // As whole multiples of the smallest digit's place, both numbers divide with a whole quotient.
    int lowest = std::min(first.exponent - first.count, second.exponent - second.count) + 1;
    remainder_register rest(second, second.exponent - lowest + 1);
    for (int exponent = first.exponent; exponent >= lowest; --exponent)
        rest.step(first.at(exponent));
    base100 remainder = rest.remainder(lowest);
    remainder.negative = first.negative;
    return number_encode(&remainder, result);
}

number_status number_int_power(const OCINumber &base, int exponent, OCINumber *result)
{
    base100 square;
    if (!number_decode(base, &square))
        return number_status::invalid;
    if (square.count == 0 && exponent < 0)
        return number_status::divide_by_zero;
    base100 power;
    power.count = 1;
    power.digit[0] = 1;
    std::uint64_t rest = static_cast<std::uint64_t>(std::abs(static_cast<std::int64_t>(exponent)));
    while (rest != 0) {
        // So far out the result is out of range whatever follows; going on would only overflow the exponent.
        if (std::abs(square.exponent) > shift_limit || std::abs(power.exponent) > shift_limit) {
            bool large =
                ((std::abs(square.exponent) > shift_limit ? square : power).exponent > 0) == (exponent > 0);
            if (large)
                return number_status::overflow;
            number_set_zero(result);
            return number_status::underflow;
        }
        if (rest & 1) {
            power = multiply(power, square);
            power.round(guard_digits);
        }
        rest >>= 1;
        if (rest != 0) {
            square = multiply(square, square);
            square.round(guard_digits);
        }
    }
    if (exponent < 0) {
        base100 one;
        one.count = 1;
        one.digit[0] = 1;
        power = divide(one, power, number_digit_max);
    }
    return number_encode(&power, result);
}

number_status number_shift(const OCINumber &number, int digits, OCINumber *result)
{
    base100 value;
    if (!number_decode(number, &value))
        return number_status::invalid;
    value = shift_decimal(value, digits);
    return number_encode(&value, result);
}

number_status number_round(const OCINumber &number, int places, rounding mode, OCINumber *result)
{
    base100 value;
    if (!number_decode(number, &value))
        return number_status::invalid;
    places = std::clamp(places, -shift_limit, shift_limit);
    value = shift_decimal(value, places);
    round_to_integer(&value, mode);
    value = shift_decimal(value, -places);
    return number_encode(&value, result);
}

number_status number_round_digits(const OCINumber &number, int digits, OCINumber *result)
{
    base10 value;
    if (!number_decode(number, &value))
        return number_status::invalid;
    return number_round(number, std::max(digits, 1) - 1 - value.exponent, rounding::half_away, result);
}

} // namespace sqlite_oci
