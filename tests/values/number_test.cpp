// NUMBERs against GMP's rationals and the C library.
#include "values/number.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

using namespace sqlite_oci;

namespace
{

std::mt19937_64 random_source(20240229);

int random_int(int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random_source);
}

OCINumber number(std::string_view text)
{
    OCINumber result;
    EXPECT_TRUE(number_from_text(text, &result)) << text;
    return result;
}

mpz_class power(unsigned base, int exponent)
{
    mpz_class result;
    mpz_ui_pow_ui(result.get_mpz_t(), base, static_cast<unsigned long>(exponent));
    return result;
}

mpq_class scale(const mpq_class &value, unsigned base, int exponent)
{
    return exponent < 0 ? mpq_class(value / power(base, -exponent))
                        : mpq_class(value * power(base, exponent));
}

// What a decimal text says, read without the code under test.
mpq_class exact(const std::string &text)
{
    const std::size_t mark = text.find_first_of("Ee");
    std::string digits = text.substr(0, mark);
    int exponent = mark == std::string::npos ? 0 : std::atoi(text.c_str() + mark + 1);
    if (const std::size_t point = digits.find('.'); point != std::string::npos) {
        digits.erase(point, 1);
        exponent -= static_cast<int>(digits.size() - point);
    }
    return scale(mpq_class(mpz_class(digits, 10)), 10, exponent);
}

mpq_class exact(const OCINumber &value)
{
    EXPECT_TRUE(number_is_valid(value));
    return exact(number_to_text(value));
}

mpz_class floor_of(const mpq_class &value)
{
    mpz_class result;
    mpz_fdiv_q(result.get_mpz_t(), value.get_num_mpz_t(), value.get_den_mpz_t());
    return result;
}

mpz_class half_away(const mpq_class &value)
{
    mpz_class magnitude = floor_of(abs(value) + mpq_class(1, 2));
    return sgn(value) < 0 ? mpz_class(-magnitude) : magnitude;
}

// Rounds to 20 base-100 digits. The first digit's place is found by trial.
mpq_class to_20_digits(const mpq_class &value)
{
    if (value == 0)
        return value;
    int place = static_cast<int>(mpz_sizeinbase(value.get_num_mpz_t(), 100)) -
                static_cast<int>(mpz_sizeinbase(value.get_den_mpz_t(), 100)) + 1;
    while (abs(value) < scale(1, 100, place))
        --place;
    return scale(mpq_class(half_away(scale(value, 100, 19 - place))), 100, place - 19);
}

// Whether a NUMBER of this size surely exists.
bool is_held(const mpq_class &value)
{
    return value == 0 || (abs(value) < scale(1, 10, 125) && abs(value) > scale(1, 10, -129));
}

std::string random_digits(int count)
{
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char>('0' + (random_int(0, 3) == 0 ? 9 * random_int(0, 1) : random_int(0, 9)));
    return digits;
}

std::string random_text(int digits_max, int exponent_max)
{
    const std::string sign = random_int(0, 1) ? "-" : "", whole = random_digits(random_int(1, digits_max));
    const std::string fraction = random_int(0, 1) ? "." + random_digits(random_int(1, 10)) : "";
    return sign + whole + fraction + "E" + std::to_string(random_int(-exponent_max, exponent_max));
}

std::string bytes_of(const OCINumber &value)
{
    std::string text;
    char buffer[4];
    for (int i = 0; i <= value.OCINumberPart[0]; ++i) {
        std::snprintf(buffer, sizeof buffer, "%02x", value.OCINumberPart[i]);
        text += buffer;
    }
    return text;
}

} // namespace

TEST(NumberCodec, HasThePublishedBytes)
{
    const std::pair<const char *, const char *> cases[] = {
        {"10", "02c10b"},        {"100", "02c202"},      {"123", "03c20218"},
        {"0", "0180"},           {"-123", "043d644e66"}, {"-5", "033e6066"},
        {"0.01", "02c002"},      {"1", "02c102"},        {"0.001", "02bf0b"},
        {"-0.01", "033f6466"},   {"1e-130", "028002"},   {"1234567.89", "06c402182e445a"},
        {"-1e-130", "037f6466"}, {"99e124", "02ff64"},
    };
    for (const auto &[text, bytes] : cases)
        EXPECT_EQ(bytes_of(number(text)), bytes) << text;
    const std::string nines(40, '9');
    EXPECT_EQ(bytes_of(number(nines)), "15d46464646464646464646464646464646464646464");
    EXPECT_EQ(bytes_of(number("-" + nines)), "152b0202020202020202020202020202020202020202");
}

TEST(NumberCodec, KnowsInvalidBytes)
{
    // Lengths, digits that are none, zeros in front and behind, a terminator that is missing or alone.
    const std::initializer_list<ub1> cases[] = {
        {22, 0xc1, 2},  {1, 0xc1},      {2, 0xc1, 0},      {},
        {2, 0xc1, 101}, {2, 0xc1, 1},   {3, 0xc1, 2, 1},   {0},
        {2, 0x3e, 100}, {2, 0x3e, 102}, {3, 0x3e, 1, 102}, {2, 0x80, 0x80},
    };
    for (const auto &bytes : cases) {
        OCINumber value{};
        std::copy(bytes.begin(), bytes.end(), value.OCINumberPart);
        EXPECT_FALSE(number_is_valid(value)) << bytes_of(value);
        EXPECT_EQ(number_to_text(value), "");
        std::int64_t integer = 7;
        EXPECT_FALSE(number_to_int64(value, &integer));
        EXPECT_TRUE(std::isnan(number_to_double(value)));
        OCINumber sum;
        EXPECT_EQ(number_add(value, value, &sum), number_status::invalid);
    }
}

TEST(NumberCodec, SurvivesRandomBytes)
{
    int valid = 0;
    for (int i = 0; i < 200'000; ++i) {
        OCINumber value;
        for (ub1 &byte : value.OCINumberPart)
            byte = static_cast<ub1>(random_int(0, 255) % (i % 2 ? 256 : 104));
        value.OCINumberPart[0] = static_cast<ub1>(random_int(0, i % 3 ? 4 : 23));
        std::string text = number_to_text(value);
        ASSERT_EQ(text.empty(), !number_is_valid(value));
        if (text.empty() || number_is_infinite(value))
            continue;
        ++valid;
        OCINumber again = number(text);
        ASSERT_EQ(bytes_of(again), bytes_of(value));
    }
    EXPECT_GT(valid, 1000);
}

TEST(NumberText, IsTheShortest)
{
    const std::pair<const char *, const char *> cases[] = {
        {"0", "0"},           {"1e39", "1000000000000000000000000000000000000000"},
        {"-0.000", "0"},      {"-12e45", "-1.2E+46"},
        {"  +1.50  ", "1.5"}, {"1e-40", ".0000000000000000000000000000000000000001"},
        {"0.5", ".5"},        {"1.5e-40", "1.5E-40"},
        {"-0.25", "-.25"},    {"9.99e125", "9.99E+125"},
        {".5e1", "5"},        {"0e999999999999999999999", "0"},
        {"5.", "5"},          {"1e-999999999999999999999", "0"},
        {"1e40", "1E+40"},    {"1e-130", "1E-130"},
        {"1e-131", "0"},
    };
    for (const auto &[from, to] : cases)
        EXPECT_EQ(number_to_text(number(from)), to) << from;
    char small[4];
    EXPECT_EQ(number_to_chars(number("12345"), small, sizeof small), 0U);
    EXPECT_EQ(number_to_chars(number("1234"), small, sizeof small), 4U);
}

TEST(NumberText, RefusesOthers)
{
    OCINumber untouched = number("42");
    for (const char *text :
         {"", " ", "-", ".", "e5", "1e", "1e+", "1 2", "--1", "1.2.3", "0x10", "1,5", "NaN", "1x"}) {
        EXPECT_EQ(number_parse(text, &untouched), number_status::malformed) << text;
    }
    for (const char *text :
         {"1e126", "-1e126", "1e999999999999999999999", "999999999999999999999999999999999999999999999e81"})
        EXPECT_EQ(number_parse(text, &untouched), number_status::overflow) << text;
    EXPECT_EQ(number_to_text(untouched), "42");
    EXPECT_EQ(number_parse("1e-131", &untouched), number_status::underflow);
    EXPECT_TRUE(number_is_zero(untouched));
}

TEST(NumberIntegers, RoundAndCheckTheRange)
{
    // null: out of range
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"0.5", "1", "1"},           {"0.499999999999999999", "0", "0"},
        {"-0.5", "-1", nullptr},     {"9223372036854775807", "9223372036854775807", "9223372036854775807"},
        {"-0.4", "0", "0"},          {"9223372036854775807.5", nullptr, "9223372036854775808"},
        {"2.5", "3", "3"},           {"-9223372036854775808.4", "-9223372036854775808", nullptr},
        {"99.5", "100", "100"},      {"-9223372036854775808.5", nullptr, nullptr},
        {"1e-100", "0", "0"},        {"18446744073709551615.49", nullptr, "18446744073709551615"},
        {"1e125", nullptr, nullptr}, {"18446744073709551615.5", nullptr, nullptr},
    };
    for (const auto &[text, as_signed, as_unsigned] : cases) {
        std::int64_t integer = 0;
        std::uint64_t natural = 0;
        EXPECT_EQ(number_to_int64(number(text), &integer), as_signed != nullptr) << text;
        EXPECT_EQ(number_to_uint64(number(text), &natural), as_unsigned != nullptr) << text;
        EXPECT_EQ(std::to_string(integer), as_signed ? as_signed : "0") << text;
        EXPECT_EQ(std::to_string(natural), as_unsigned ? as_unsigned : "0") << text;
    }
}

TEST(NumberText, HoldsWhatItSaysAndReadsLikeTheCLibrary)
{
    for (int i = 0; i < 50'000; ++i) {
        std::string text = i % 4 ? random_text(i % 2 ? 29 : 80, 40) : random_text(25, 90);
        OCINumber value = number(text);
        std::string held = number_to_text(value);
        ASSERT_EQ(exact(value), to_20_digits(exact(text))) << text;
        ASSERT_EQ(number_to_double(value), std::strtod(held.c_str(), nullptr)) << held;
        ASSERT_EQ(number_to_float(value), std::strtof(held.c_str(), nullptr)) << held;
        ASSERT_EQ(number_to_long_double(value), std::strtold(held.c_str(), nullptr)) << held;
    }
}

TEST(NumberReals, SurviveTheWayThereAndBack)
{
    int tried = 0;
    while (tried < 20'000) {
        std::uint64_t bits = random_source();
        double real = 0;
        std::memcpy(&real, &bits, sizeof real);
        if (!(std::fabs(real) > 1e-110 && std::fabs(real) < 1e125))
            continue;
        ++tried;
        OCINumber value;
        ASSERT_TRUE(number_from_double(real, &value));
        ASSERT_EQ(number_to_double(value), real);
        char shortest[40];
        int decimals = 0;
        do
            std::snprintf(shortest, sizeof shortest, "%.*e", decimals++, real);
        while (std::strtod(shortest, nullptr) != real);
        ASSERT_EQ(exact(value), exact(shortest)) << shortest;
    }
    OCINumber value;
    EXPECT_TRUE(number_from_float(0.1F, &value));
    EXPECT_EQ(number_to_text(value), ".1");
}

TEST(NumberReals, HaveLimits)
{
    OCINumber value = number("42");
    EXPECT_FALSE(number_from_double(std::nan(""), &value));
    EXPECT_FALSE(number_from_double(1e126, &value));
    EXPECT_EQ(number_to_text(value), "42");
    EXPECT_TRUE(number_from_double(1e-131, &value));
    EXPECT_TRUE(number_is_zero(value));
    for (double infinity : {HUGE_VAL, -HUGE_VAL}) {
        EXPECT_TRUE(number_from_double(infinity, &value));
        EXPECT_TRUE(number_is_infinite(value) && number_is_valid(value));
        EXPECT_EQ(number_to_text(value), infinity > 0 ? "~" : "-~");
        EXPECT_EQ(number_to_double(value), infinity);
        EXPECT_EQ(number_compare(value, number(infinity > 0 ? "9.99e125" : "-9.99e125")),
                  infinity > 0 ? 1 : -1);
        EXPECT_EQ(number_add(value, value, &value), number_status::invalid);
    }
    EXPECT_EQ(number_to_float(number("1e39")), HUGE_VALF);
    EXPECT_EQ(number_to_float(number("-1e39")), -HUGE_VALF);
    EXPECT_EQ(number_to_float(number("1e-60")), 0.0F);
}

TEST(NumberExternalForms, GoThereAndBack)
{
    for (int i = 0; i < 5'000; ++i) {
        OCINumber value = number(random_text(40, 60));
        ub1 buffer[number_vnu_size] = {};
        std::size_t length = number_to_num(value, buffer);
        OCINumber whole;
        OCINumber padded;
        ASSERT_TRUE(number_from_num(buffer, length, &whole));
        ASSERT_TRUE(number_from_num(buffer, number_num_max, &padded));
        ASSERT_EQ(bytes_of(whole), bytes_of(value));
        ASSERT_EQ(bytes_of(padded), bytes_of(value));
        number_to_vnu(value, buffer);
        ASSERT_TRUE(number_from_vnu(buffer, number_vnu_size, &whole));
        ASSERT_EQ(bytes_of(whole), bytes_of(value));
        ASSERT_FALSE(number_from_vnu(buffer, buffer[0], &whole)); // a byte is missing
    }
}

TEST(NumberArithmetic, IsExactTo20Digits)
{
    for (int i = 0; i < 20'000; ++i) {
        OCINumber a = number(random_text(40, i % 3 ? 15 : 55));
        OCINumber b = number(random_text(40, i % 3 ? 15 : 55));
        mpq_class x = exact(a);
        mpq_class y = exact(b);
        const auto check = [&](auto operation, const mpq_class &expected, const char *name) {
            OCINumber result;
            if (!is_held(expected))
                return;
            ASSERT_EQ(operation(a, b, &result), number_status::ok);
            ASSERT_EQ(exact(result), to_20_digits(expected))
                << number_to_text(a) << name << number_to_text(b);
        };
        check(number_add, x + y, " + ");
        check(number_subtract, x - y, " - ");
        check(number_multiply, x * y, " * ");
        ASSERT_EQ(number_compare(a, b), (x > y) - (x < y));
        if (y == 0)
            continue;
        mpq_class quotient = x / y;
        check(number_divide, quotient, " / ");
        mpz_class whole = floor_of(abs(quotient));
        check(number_modulo, x - y * (sgn(quotient) < 0 ? mpz_class(-whole) : whole), " mod ");
        if (HasFatalFailure())
            return;
    }
}

TEST(NumberArithmetic, RoundsAtPlaces)
{
    for (int i = 0; i < 20'000; ++i) {
        OCINumber a = number(random_text(40, 25));
        mpq_class x = exact(a);
        int places = random_int(-45, 45);
        mpq_class shifted = scale(x, 10, places);
        mpz_class up = -floor_of(-shifted);
        mpz_class down = floor_of(shifted);
        const std::pair<rounding, mpz_class> cases[] = {{rounding::half_away, half_away(shifted)},
                                                        {rounding::toward_zero, sgn(x) < 0 ? up : down},
                                                        {rounding::floor, down},
                                                        {rounding::ceiling, up}};
        for (const auto &[mode, expected] : cases) {
            OCINumber result;
            ASSERT_EQ(number_round(a, places, mode, &result), number_status::ok);
            ASSERT_EQ(exact(result), scale(mpq_class(expected), 10, -places))
                << number_to_text(a) << " at " << places << " mode " << static_cast<int>(mode);
        }
        ASSERT_EQ(number_is_integer(a), x.get_den() == 1) << number_to_text(a);
    }
}

TEST(NumberArithmetic, RaisesAndShifts)
{
    for (int i = 0; i < 3'000; ++i) {
        OCINumber a = number(random_text(5, 1));
        mpq_class x = exact(a);
        int exponent = random_int(-12, 12);
        mpq_class expected = 1;
        for (int k = 0; k < std::abs(exponent); ++k)
            expected *= x;
        OCINumber result;
        if (x == 0 && exponent < 0) {
            ASSERT_EQ(number_int_power(a, exponent, &result), number_status::divide_by_zero);
            continue;
        }
        if (exponent < 0)
            expected = 1 / expected;
        if (!is_held(expected))
            continue;
        ASSERT_EQ(number_int_power(a, exponent, &result), number_status::ok);
        ASSERT_EQ(exact(result), to_20_digits(expected)) << number_to_text(a) << " ^ " << exponent;
        int shift = random_int(-60, 60);
        ASSERT_EQ(number_shift(a, shift, &result), number_status::ok);
        ASSERT_EQ(exact(result), scale(x, 10, shift));
    }
    OCINumber result;
    constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
    EXPECT_EQ(number_int_power(number("2"), most, &result), number_status::overflow);
    EXPECT_EQ(number_int_power(number("2"), least, &result), number_status::underflow);
    EXPECT_EQ(number_int_power(number(".5"), least, &result), number_status::overflow);
    EXPECT_EQ(number_int_power(number("-1"), least, &result), number_status::ok);
    EXPECT_EQ(number_to_text(result), "1");
    EXPECT_EQ(number_shift(number("1"), most, &result), number_status::overflow);
    EXPECT_EQ(number_multiply(number("1e63"), number("1e63"), &result), number_status::overflow);
    EXPECT_EQ(number_multiply(number("1e-66"), number("1e-66"), &result), number_status::underflow);
    EXPECT_EQ(number_divide(number("1"), number("0"), &result), number_status::divide_by_zero);
}
