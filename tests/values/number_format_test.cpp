// Numbers written and read with format models.
#include "values/number.h"

#include <gtest/gtest.h>

#include <random>

using namespace sqlite_oci;

namespace
{

OCINumber number(std::string_view text)
{
    OCINumber result;
    EXPECT_TRUE(number_from_text(text, &result)) << text;
    return result;
}

} // namespace

TEST(NumberFormat, Writes)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"0", "9999", "    0"},       {"123.456", "999.999", " 123.456"},
        {"1", "9999", "    1"},       {"-123.456", "999.999", "-123.456"},
        {"-5", "999", "  -5"},        {"1234567890", "9999999999S", "1234567890+"},
        {"485", "999", " 485"},       {"1234567", "9,999,999", " 1,234,567"},
        {"0", "99.99", "   .00"},     {"1234.5", "9G999D99", " 1,234.50"},
        {"0.1", "99.99", "   .10"},   {"123.456", "FM999.009", "123.456"},
        {"-0.2", "99.99", "  -.20"},  {"123.45", "FM999.009", "123.45"},
        {"0", "90.99", "  0.00"},     {"123.0", "FM999.009", "123.00"},
        {"-0.2", "90.99", " -0.20"},  {"1234", "FM999,999", "1,234"},
        {"12", "0999", " 0012"},      {"123.45", "FML999.99", "$123.45"},
        {"12", "9099", "  012"},      {"-10000", "L99G999D99MI", "         $10,000.00-"},
        {"1.5", "9.", " 2."},         {"123.456", "9.9EEEE", "  1.2E+02"},
        {"0.5", ".99", " .50"},       {"1E+123", "9.9EEEE", " 1.0E+123"},
        {"12", "S999", " +12"},       {"123.456", "FM9.9EEEE", "1.2E+02"},
        {"-12", "S999", " -12"},      {"-0.00995", "9.99EEEE", " -9.95E-03"},
        {"12", "999S", " 12+"},       {"9.99", "9.9EEEE", "  1.0E+01"},
        {"-12", "999S", " 12-"},      {"0", "9.9EEEE", "  0.0E+00"},
        {"12", "999MI", " 12 "},      {"123.45", "999V99", " 12345"},
        {"-12", "999MI", " 12-"},     {"18446744073709551616", "FMXXXXXXXXXXXXXXXXX", "10000000000000000"},
        {"12", "999PR", "  12 "},     {"1994", "RN", "        MCMXCIV"},
        {"-12", "999PR", " <12>"},    {"3999", "FMrn", "mmmcmxcix"},
        {"0.125", "9.99", "  .13"},   {"-1234.50", "tm9", "-1234.5"},
        {"-0.125", "9.99", " -.13"},  {"1e45", "TM9", "1000000000000000000000000000000000000000000000"},
        {"9.995", "99.99", " 10.00"}, {"4000", "RN", "###############"},
        {"2.5", "9", " 3"},           {"0", "RN", "###############"},
        {"12", "9,999", "    12"},    {"12", "0,999", " 0,012"},
        {"485", "FM999", "485"},      {"-5", "fm999", "-5"},
        {"0", "FM9.99", "0."},        {"0.5", "FM9.99", ".5"},
        {"1", "FM9.9", "1."},         {"12", "FM999MI", "12"},
        {"-12", "FM999PR", "<12>"},   {"1234", "$9999", " $1234"},
        {"-1234", "$9999", "-$1234"}, {"12", "$9999", "   $12"},
        {"-12", "9$999", "  -$12"},   {"1", "L9", "          $1"},
        {"1", "C9", "     USD1"},     {"5", "FM9L", "5$"},
        {"0", "B9999", "     "},      {"1", "B9999", "    1"},
        {"0", "B90.99", "      "},    {"0", "9999B", "     "},
        {"12", "99V9", " 120"},       {"255", "XXX", "  FF"},
        {"255", "FMxxxx", "ff"},      {"255", "0XXX", " 00FF"},
        {"0", "FMXX", "0"},           {"0.5", "TM", ".5"},
        {"1e64", "TM9", "1E+64"},     {"1234", "TME", "1.234E+03"},
        {"1000", "999", "####"},      {"-1000", "999.9", "######"},
        {"999.5", "999", "####"},     {"1.5", ".99", "####"},
        {"-1", "XX", "###"},          {"256", "XX", "###"},
        {"1000", "999PR", "#####"},   {"1e125", "9V9", "###"},
    };
    for (const auto &[value, format, expected] : cases) {
        std::string text;
        const bool overflows = std::string_view(expected).find_first_not_of('#') == std::string_view::npos;
        EXPECT_EQ(number_format(number(value), format, {}, &text),
                  overflows ? number_status::overflow : number_status::ok)
            << value << " " << format;
        EXPECT_EQ(text, expected) << value << " " << format;
    }
}

TEST(NumberFormat, Reads)
{
    // null: not a number in this format
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"123", "999", "123"},        {"  -12 ", "999", "-12"},
        {"1234", "999", nullptr},     {"1,234,567.89", "9,999,999.99", "1234567.89"},
        {"12.5", "99", nullptr},      {"12.5", "99.9", "12.5"},
        {"12.55", "99.9", nullptr},   {"1234567", "9,999,999", "1234567"},
        {"12", "99.9", "12"},         {".5", "9.9", ".5"},
        {"", "9", nullptr},           {"1.5E+03", "9.9EEEE", "1500"},
        {"-", "9", nullptr},          {"12,34", "9,999", nullptr},
        {",234", "9,999", nullptr},   {"1.5E-3", "9.9EEEE", ".0015"},
        {"234,", "9,999", nullptr},   {"$1,234", "$9,999", "1234"},
        {"1,234", "$9,999", "1234"},  {"FFFFFFFFFFFFFFFF", "XXXXXXXXXXXXXXXX", "18446744073709551615"},
        {"-$12", "$99", "-12"},       {"USD12", "C99", "12"},
        {"12-", "99MI", "-12"},       {"12-", "99S", "-12"},
        {"12-", "99", nullptr},       {"<12>", "99PR", "-12"},
        {"<12", "99PR", nullptr},     {"12", "99PR", "12"},
        {"1.5E", "9.9EEEE", nullptr}, {"ff", "XXXX", "255"},
        {"fg", "XX", nullptr},        {"-1", "XX", nullptr},
        {"12.5", "TM9", "12.5"},      {"1e3", "TM9", "1000"},
        {"abc", "999", nullptr},
    };
    for (const auto &[text, format, expected] : cases) {
        OCINumber value = number("42");
        number_status status = number_parse_format(text, format, {}, &value);
        EXPECT_EQ(status, expected ? number_status::ok : number_status::malformed) << text << " " << format;
        EXPECT_EQ(number_to_text(value), expected ? expected : "42") << text << " " << format;
    }
}

TEST(NumberFormat, RefusesBadModels)
{
    OCINumber value = number("1");
    std::string text;
    for (const char *format :
         {"",     "FM",   "Z",    "9Z",    "9.9.9", ",9",  "9.9,9", "9D9,9", "9,9D9", "S9S",
          "9MI9", "EEEE", "9EEE", "9V9.9", "$$9",   "RN9", "TM99",  "0X0X",  "9X",    "S"})
        EXPECT_EQ(number_format(value, format, {}, &text), number_status::bad_format) << format;
    for (const char *format : {"RN", "9V9", "%"})
        EXPECT_EQ(number_parse_format("1", format, {}, &value), number_status::bad_format) << format;
    EXPECT_EQ(number_format(value, std::string(300, '9'), {}, &text), number_status::bad_format);
}

TEST(NumberFormat, FollowsTheLocale)
{
    number_locale locale;
    EXPECT_TRUE(number_locale_from_nls(
        "NLS_NUMERIC_CHARACTERS = ',.' nls_currency=''EUR'' NLS_ISO_CURRENCY = 'AMERICA'", &locale));
    std::string text;
    number_format(number("-1234567.5"), "FM9G999G999D00", locale, &text);
    EXPECT_EQ(text, "-1.234.567,50");
    number_format(number("1234.5"), "FML9,999.99", locale, &text);
    EXPECT_EQ(text, "EUR1,234.5");
    number_format(number("2.5"), "TM9", locale, &text);
    EXPECT_EQ(text, "2,5");
    OCINumber value;
    EXPECT_EQ(number_parse_format("EUR1.234,5", "L9G999D9", locale, &value), number_status::ok);
    EXPECT_EQ(number_to_text(value), "1234.5");
    EXPECT_EQ(number_parse_format("2,5", "TM9", locale, &value), number_status::ok);
    EXPECT_EQ(number_to_text(value), "2.5");

    for (const char *parameters :
         {"NLS_NUMERIC_CHARACTERS = '.'", "NLS_NUMERIC_CHARACTERS = '..'", "NLS_NUMERIC_CHARACTERS = '1,'",
          "NLS_NUMERIC_CHARACTERS '.,'", "NLS_CURRENCY = 'x", "NLS_SORT = 'BINARY'", "x"}) {
        number_locale untouched;
        EXPECT_FALSE(number_locale_from_nls(parameters, &untouched)) << parameters;
        EXPECT_EQ(untouched.decimal, '.');
    }
}

TEST(NumberFormat, SurvivesAnyText)
{
    const std::string_view letters = "99990009.,DGSLC$BVMIPREXTFM-+<>eE 1";
    std::mt19937 random_source(9);
    auto random_text = [&](std::size_t length_max) {
        std::string text;
        for (std::size_t length = random_source() % (length_max + 1); length > 0; --length)
            text += letters[random_source() % letters.size()];
        return text;
    };
    int written = 0;
    int read = 0;
    for (int i = 0; i < 30'000; ++i) {
        OCINumber value = number("-7");
        std::string text;
        number_status status = number_format(value, random_text(6), {}, &text);
        ASSERT_TRUE(status == number_status::bad_format || !text.empty());
        written += status == number_status::ok ? 1 : 0;
        std::string input = random_text(4);
        status = number_parse_format(input, random_text(5), {}, &value);
        ASSERT_TRUE(number_is_valid(value));
        read += status == number_status::ok ? 1 : 0;
    }
    EXPECT_GT(written, 100);
    EXPECT_GT(read, 100);
}

TEST(NumberFormat, ReadsWhatItWrites)
{
    std::mt19937_64 random_source(1);
    for (int i = 0; i < 5'000; ++i) {
        auto cents = static_cast<std::int64_t>(random_source()) % 10'000'000'000;
        OCINumber value;
        number_from_int64(cents, &value);
        number_shift(value, -2, &value);
        for (const char *format : {"999,999,990.00", "S999G999G999D99", "FM999999999.99PR",
                                   "L000,000,000.00MI", "9.9999999999EEEE"}) {
            std::string text;
            OCINumber back;
            ASSERT_EQ(number_format(value, format, {}, &text), number_status::ok);
            ASSERT_EQ(number_parse_format(text, format, {}, &back), number_status::ok)
                << text << " " << format;
            ASSERT_EQ(number_compare(value, back), 0) << text << " " << format;
        }
    }
}
