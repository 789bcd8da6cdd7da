#include "values/number.h"

#include "text/text_scan.h"
#include "values/number_digits.h"

#include <algorithm>
#include <cstdlib>

namespace sqlite_oci
{
namespace
{

constexpr int plain_digits_max = 40; // longer texts turn scientific

// Significant digits as they are read. Those beyond what rounding looks at only move the point.
struct scanned_digits {
    std::array<char, 2 * number_digit_max + 3> digit;
    int count = 0;
    std::int64_t exponent = -1; // of ten, for the first significant digit; -1 before any

    void take(char c, bool fraction)
    {
        if (count == 0 && c == '0') {
            if (fraction)
                --exponent;
            return;
        }
        if (static_cast<std::size_t>(count) < digit.size())
            digit[static_cast<std::size_t>(count++)] = c;
        if (!fraction)
            ++exponent;
    }
};

// Reads the digits and the point; false if there is no digit.
bool scan_digits(std::string_view *text, scanned_digits *digits)
{
    bool fraction = false;
    bool any = false;
    while (!text->empty()) {
        char c = text->front();
        if (is_digit(c)) {
            digits->take(c, fraction);
            any = true;
        } else if (c == '.' && !fraction) {
            fraction = true;
        } else {
            break;
        }
        text->remove_prefix(1);
    }
    return any;
}

// Reads "E[+-]digits" if there is one; saturates far outside the range. False if no digit follows the E.
bool scan_exponent(std::string_view *text, std::int64_t *exponent)
{
    constexpr std::int64_t limit = 1'000'000;
    *exponent = 0;
    if (!take(text, "E"))
        return true;
    bool negative = take(text, "-");
    if (!negative)
        take(text, "+");
    if (text->empty() || !is_digit(text->front()))
        return false;
    for (; !text->empty() && is_digit(text->front()); text->remove_prefix(1))
        *exponent = std::min(*exponent * 10 + (text->front() - '0'), limit);
    if (negative)
        *exponent = -*exponent;
    return true;
}

number_status encode_scanned(const scanned_digits &digits, bool negative, std::int64_t exponent,
                             OCINumber *number)
{
    if (digits.count == 0) {
        number_set_zero(number);
        return number_status::ok;
    }
    exponent += digits.exponent;
    if (exponent > 2 * number_exponent_max + 1)
        return number_status::overflow;
    if (exponent < 2 * number_exponent_min - 2) {
        number_set_zero(number);
        return number_status::underflow;
    }
    base100 value;
    value.negative = negative;
    bool single = exponent % 2 == 0;
    value.exponent = static_cast<int>(single ? exponent : exponent - 1) / 2;
    auto digit_at = [&](int i) {
        return i >= 0 && i < digits.count ? digits.digit[static_cast<std::size_t>(i)] - '0' : 0;
    };
    for (int i = single ? -1 : 0; i < digits.count; i += 2)
        value[value.count++] = static_cast<ub1>(digit_at(i) * 10 + digit_at(i + 1));
    return number_encode(&value, number);
}

// Texts are put together in a buffer of the caller's; what does not fit is only counted.
struct writer {
    char *buffer;
    std::size_t size;
    std::size_t length = 0;

    void put(char c)
    {
        if (length < size)
            buffer[length] = c;
        ++length;
    }

    void put(char c, int times)
    {
        for (int i = 0; i < times; ++i)
            put(c);
    }

    void put(std::string_view text)
    {
        for (char c : text)
            put(c);
    }
};

void put_scientific(writer *out, const base10 &value)
{
    std::string_view digits(value.digit.data(), static_cast<std::size_t>(value.count));
    out->put(digits[0]);
    if (value.count > 1) {
        out->put('.');
        out->put(digits.substr(1));
    }
    char exponent[exponent_text_max];
    out->put({exponent, write_exponent(value.exponent, exponent)});
}

void put_plain(writer *out, const base10 &value)
{
    int whole = std::max(value.exponent + 1, 0);
    for (int i = 0; i < std::min(whole, value.count); ++i)
        out->put(value[i]);
    out->put('0', whole - value.count);
    if (value.count <= value.exponent + 1)
        return;
    out->put('.');
    out->put('0', -value.exponent - 1);
    for (int i = whole; i < value.count; ++i)
        out->put(value[i]);
}

// Digits that the plain text has, zeros included.
int plain_length(const base10 &value)
{
    if (value.exponent < 0)
        return value.count - value.exponent - 1;
    return std::max(value.count, value.exponent + 1);
}

} // namespace

bool take_sign(std::string_view *text, bool *negative)
{
    *negative = take(text, "-");
    return *negative || take(text, "+");
}

number_status number_parse(std::string_view text, OCINumber *number)
{
    text = trim(text);
    bool negative = false;
    take_sign(&text, &negative);
    scanned_digits digits;
    std::int64_t exponent = 0;
    if (!scan_digits(&text, &digits) || !scan_exponent(&text, &exponent) || !text.empty())
        return number_status::malformed;
    return encode_scanned(digits, negative, exponent, number);
}

bool number_from_text(std::string_view text, OCINumber *number)
{
    number_status status = number_parse(text, number);
    return status == number_status::ok || status == number_status::underflow;
}

std::size_t write_exponent(int exponent, char *buffer)
{
    int magnitude = std::abs(exponent);
    std::size_t length = 0;
    buffer[length++] = 'E';
    buffer[length++] = exponent < 0 ? '-' : '+';
    if (magnitude >= 100)
        buffer[length++] = static_cast<char>('0' + magnitude / 100);
    buffer[length++] = static_cast<char>('0' + magnitude / 10 % 10);
    buffer[length++] = static_cast<char>('0' + magnitude % 10);
    return length;
}

std::size_t write_shortest(const OCINumber &number, int plain_digits, bool scientific, char *buffer,
                           std::size_t size)
{
    writer out{buffer, size};
    base10 value;
    if (!number_decode(number, &value)) {
        if (number_is_infinite(number))
            out.put(number_sign(number) < 0 ? "-~" : "~");
    } else if (value.count == 0) {
        out.put(scientific ? "0E+00" : "0");
    } else {
        if (value.negative)
            out.put('-');
        if (scientific || plain_length(value) > plain_digits)
            put_scientific(&out, value);
        else
            put_plain(&out, value);
    }
    return out.length <= size ? out.length : 0;
}

std::size_t number_to_chars(const OCINumber &number, char *buffer, std::size_t size)
{
    return write_shortest(number, plain_digits_max, false, buffer, size);
}

std::string number_to_text(const OCINumber &number)
{
    char buffer[number_text_max];
    return std::string(buffer, number_to_chars(number, buffer, sizeof buffer));
}

} // namespace sqlite_oci
