// A NUMBER taken apart, for the arithmetic and the texts. Infinities have no such form.
#pragma once

#include "values/number.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace sqlite_oci
{

constexpr int number_digit_max = 20;     // base-100 digits of a NUMBER
constexpr int number_exponent_min = -65; // of base 100, for the first digit
constexpr int number_exponent_max = 62;

// The value is the sum of digit[i] * 100^(exponent - i); no digits make zero. There is room for any exact sum
// or product of two NUMBERs, and for the guard digits of a power. Digits from `count` on are not initialised.
struct base100 {
    bool negative = false;
    int exponent = 0;
    int count = 0;
    std::array<ub1, 160> digit; // NOLINT: left alone, since every conversion makes one of these

    base100() {} // NOLINT

    ub1 &operator[](int i) { return digit[static_cast<std::size_t>(i)]; }
    ub1 operator[](int i) const { return digit[static_cast<std::size_t>(i)]; }

    // The digit that counts 100^place, zero where there is none.
    int at(int place) const
    {
        int i = exponent - place;
        return i >= 0 && i < count ? (*this)[i] : 0;
    }

    void drop_zeros(); // at both ends
    void increment();  // adds one to the last digit's place

    // Rounds half away from zero to at most this many digits; drops zeros at both ends.
    void round(int digits);
};

// Significant decimal digits '0' to '9', no zero at either end; the first one stands for 10^exponent.
struct base10 {
    bool negative = false;
    int exponent = 0;
    int count = 0;
    std::array<char, 2 * number_digit_max> digit; // NOLINT: as above

    base10() {} // NOLINT

    char &operator[](int i) { return digit[static_cast<std::size_t>(i)]; }
    char operator[](int i) const { return digit[static_cast<std::size_t>(i)]; }
};

// False for infinities and for bytes that are no NUMBER.
bool number_decode(const OCINumber &number, base100 *value);
bool number_decode(const OCINumber &number, base10 *value);

// Rounds to the digits of a NUMBER and checks the range.
number_status number_encode(base100 *value, OCINumber *number);

void number_set_infinity(OCINumber *number, bool negative);

// Takes a sign from the front of *text, if there is one.
bool take_sign(std::string_view *text, bool *negative);

// The shortest text with a choice of when it turns scientific; the same result as number_to_chars.
std::size_t write_shortest(const OCINumber &number, int plain_digits, bool scientific, char *buffer,
                           std::size_t size);

// Writes "E+nn" to `buffer` and returns the length.
constexpr std::size_t exponent_text_max = 5;
std::size_t write_exponent(int exponent, char *buffer);

} // namespace sqlite_oci
