#pragma once

#include "oci.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Oracle NUMBER: a sign, an exponent of base 100 and up to 20 base-100 digits. OCINumberPart[0] is the number
// of bytes that follow it (1 to 21): the exponent byte, the digits and, for a short negative number, a
// terminator. Magnitudes run from 1e-130 to just below 1e126; zero and the two infinities have forms of their
// own.
//
// Every value here holds 39 or 40 decimal digits (20 base-100 digits, the first of which may be below 10).
// What has more is rounded half away from zero at the last base-100 digit.
//
// Functions that take `const OCINumber &` need a valid number (number_is_valid) unless they say otherwise;
// given another they answer 0, false or "", and never read outside the structure.
namespace sqlite_oci
{

// What became of a conversion or an operation.
enum class number_status : std::uint8_t {
    ok,
    malformed,      // the text is not a number, or does not fit the format
    bad_format,     // the format model or the NLS parameters are not understood
    overflow,       // magnitude of 1e126 or more, or more digits than the format or target holds
    underflow,      // not zero, but below 1e-130 in magnitude; the result is set to zero
    divide_by_zero, // division or zero to a negative power
    out_of_domain,  // the function has no value there: the root of a negative number
    invalid,        // an operand is not a valid OCINumber, or an infinity where none can be
};

// Room that number_to_chars always finds sufficient.
constexpr std::size_t number_text_max = 64;

// True if the bytes are a NUMBER in its one canonical form.
bool number_is_valid(const OCINumber &number);

bool number_is_zero(const OCINumber &number);
bool number_is_infinite(const OCINumber &number);
bool number_is_integer(const OCINumber &number);

// -1, 0 or 1.
int number_sign(const OCINumber &number);

// -1, 0 or 1 as a is less than, equal to or greater than b; infinities compare as expected.
int number_compare(const OCINumber &a, const OCINumber &b);

// Reads [blanks][+-]digits[.digits][E[+-]digits][blanks]; at least one digit, which may stand after the
// point.
// `*number` is written when the result is ok or underflow (then zero).
number_status number_parse(std::string_view text, OCINumber *number);

// The same for callers that only ask whether it worked: too small a magnitude counts as zero, everything else
// that is not ok as failure.
bool number_from_text(std::string_view text, OCINumber *number);

// The shortest exact text, as a server shows a NUMBER without a format: no blank, no superfluous zero and
// none before the point (".5", "-1234.25"). Plain up to 40 digits, zeros after the point included, otherwise
// "1.25E+100". Infinities are "~" and "-~". Returns the length, without a terminator; 0 if `size` is too
// small or the number invalid.
std::size_t number_to_chars(const OCINumber &number, char *buffer, std::size_t size);
std::string number_to_text(const OCINumber &number);

void number_from_int64(std::int64_t value, OCINumber *number);
void number_from_uint64(std::uint64_t value, OCINumber *number);

// Rounded half away from zero; false, with *value untouched, if out of range.
bool number_to_int64(const OCINumber &number, std::int64_t *value);
bool number_to_uint64(const OCINumber &number, std::uint64_t *value);

// Takes the shortest decimal that reads back as the same binary value, so that 0.1 becomes .1 and every
// double survives the way there and back. False for NaN and for finite values out of range; an infinity
// becomes an infinity, a magnitude below 1e-130 zero.
bool number_from_double(double value, OCINumber *number);
bool number_from_float(float value, OCINumber *number);
bool number_from_long_double(long double value, OCINumber *number);

// The nearest binary value; an infinity for an infinity, and NaN for an invalid number.
double number_to_double(const OCINumber &number);
float number_to_float(const OCINumber &number);
long double number_to_long_double(const OCINumber &number);

constexpr std::size_t number_num_max = 21;  // SQLT_NUM: exponent byte and digits, no length byte
constexpr std::size_t number_vnu_size = 22; // SQLT_VNU: the length byte, then the SQLT_NUM form

// Writes the SQLT_NUM form to `bytes` (room for 21) and returns its length, 0 for an invalid number.
std::size_t number_to_num(const OCINumber &number, ub1 *bytes);

// Reads `length` bytes of SQLT_NUM. Trailing zero bytes, as left in a 21 byte buffer, are not taken for
// digits. False if the bytes are no NUMBER.
bool number_from_num(const ub1 *bytes, std::size_t length, OCINumber *number);

// The same for SQLT_VNU; `vnu` has room for 22. The bytes beyond the number are set to zero.
void number_to_vnu(const OCINumber &number, ub1 *vnu);
bool number_from_vnu(const ub1 *vnu, std::size_t length, OCINumber *number);

// The characters and symbols that D, G, L and C stand for.
struct number_locale {
    char decimal = '.';
    char group = ',';
    std::string currency = "$";
    std::string iso_currency = "USD";
};

// Reads "NLS_NUMERIC_CHARACTERS='dg' NLS_CURRENCY='text' NLS_ISO_CURRENCY='name'" (any of them, in any order,
// quotes single or doubled). Empty text leaves *locale as it is. False if not understood.
bool number_locale_from_nls(std::string_view parameters, number_locale *locale);

// TO_CHAR(number, format): 9 0 . , D G $ L C B S MI PR EEEE V X RN TM9 TME FM. On overflow *text is filled
// with
// '#' to the width of the format.
number_status number_format(const OCINumber &number, std::string_view format, const number_locale &locale,
                            std::string *text);

// TO_NUMBER(text, format).
number_status number_parse_format(std::string_view text, std::string_view format, const number_locale &locale,
                                  OCINumber *number);

// `result` may be one of the operands. It is written if the status is ok or underflow (then zero).
void number_set_zero(OCINumber *number);
void number_negate(const OCINumber &number, OCINumber *result);
number_status number_add(const OCINumber &a, const OCINumber &b, OCINumber *result);
number_status number_subtract(const OCINumber &a, const OCINumber &b, OCINumber *result);
number_status number_multiply(const OCINumber &a, const OCINumber &b, OCINumber *result);
number_status number_divide(const OCINumber &a, const OCINumber &b, OCINumber *result);
// a - b * trunc(a / b), exactly, with the sign of a; a itself if b is zero.
number_status number_modulo(const OCINumber &a, const OCINumber &b, OCINumber *result);
number_status number_int_power(const OCINumber &base, int exponent, OCINumber *result);
// Times 10 to the power of `digits`.
number_status number_shift(const OCINumber &number, int digits, OCINumber *result);

enum class rounding : std::uint8_t { half_away, toward_zero, floor, ceiling };

// Rounds at `places` decimals (negative: left of the point).
number_status number_round(const OCINumber &number, int places, rounding mode, OCINumber *result);
// Rounds half away from zero to `digits` significant decimal digits (1 or more).
number_status number_round_digits(const OCINumber &number, int digits, OCINumber *result);

} // namespace sqlite_oci
