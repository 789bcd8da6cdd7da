// Roots, powers, logarithms, circular and hyperbolic functions of numbers, to the digits that a NUMBER has.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

struct number_function_test : testing::Test {
    OCINumber number(const std::string &plain) const
    {
        OCINumber result;
        EXPECT_TRUE(made.succeeds(OCINumberFromText(made.errors, text(plain), static_cast<ub4>(plain.size()),
                                                    text("TM9"), 3, nullptr, 0, &result)))
            << plain;
        return result;
    }

    std::string shown(const OCINumber &number) const
    {
        OraText buffer[64];
        ub4 size = sizeof buffer;
        EXPECT_TRUE(
            made.succeeds(OCINumberToText(made.errors, &number, text("TM9"), 3, nullptr, 0, &size, buffer)));
        return std::string(reinterpret_cast<const char *>(buffer), size);
    }

    client made;
};

using one_argument = sword (*)(OCIError *, const OCINumber *, OCINumber *);
using two_arguments = sword (*)(OCIError *, const OCINumber *, const OCINumber *, OCINumber *);

constexpr std::size_t sure_digits = 38;

TEST_F(number_function_test, have_all_digits)
{
    const struct {
        const char *what;
        one_argument call;
        const char *argument, *expected;
    } cases[] = {
        {"sqrt", [](auto... a) { return OCINumberSqrt(a...); }, "2",
         "1.4142135623730950488016887242096980785697"},
        {"sqrt", [](auto... a) { return OCINumberSqrt(a...); }, "1E-100",
         ".00000000000000000000000000000000000000000000000001"},
        {"exp", [](auto... a) { return OCINumberExp(a...); }, "1",
         "2.7182818284590452353602874713526624977572"},
        {"ln", [](auto... a) { return OCINumberLn(a...); }, "2", ".6931471805599453094172321214581765680755"},
        {"sin", [](auto... a) { return OCINumberSin(a...); }, "1",
         ".8414709848078965066525023216302989996226"},
        {"cos", [](auto... a) { return OCINumberCos(a...); }, "1",
         ".5403023058681397174009366074429766037323"},
        {"tan", [](auto... a) { return OCINumberTan(a...); }, "1",
         "1.5574077246549022305069748074583601730873"},
        {"asin", [](auto... a) { return OCINumberArcSin(a...); }, "-1",
         "-1.5707963267948966192313216916397514420986"},
        {"acos", [](auto... a) { return OCINumberArcCos(a...); }, ".5",
         "1.0471975511965977461542144610931676280657"},
        {"atan", [](auto... a) { return OCINumberArcTan(a...); }, "1",
         ".7853981633974483096156608458198757210493"},
        {"sinh", [](auto... a) { return OCINumberHypSin(a...); }, "1",
         "1.1752011936438014568823818505956008151557"},
        {"cosh", [](auto... a) { return OCINumberHypCos(a...); }, "1",
         "1.5430806348152437784779056207570616826015"},
        {"tanh", [](auto... a) { return OCINumberHypTan(a...); }, "1",
         ".7615941559557648881194582826047935904128"},
        {"sin", [](auto... a) { return OCINumberSin(a...); }, "0", "0"},
    };
    for (const auto &one : cases) {
        const OCINumber argument = number(one.argument);
        OCINumber result;
        ASSERT_TRUE(made.succeeds(one.call(made.errors, &argument, &result))) << one.what;
        EXPECT_EQ(shown(result).substr(0, sure_digits), std::string(one.expected).substr(0, sure_digits))
            << one.what << ' ' << one.argument;
    }

    const struct {
        two_arguments call;
        const char *a, *b, *expected;
    } pairs[] = {
        {[](auto... a) { return OCINumberPower(a...); }, "10", "-2", ".01"},
        {[](auto... a) { return OCINumberPower(a...); }, "-2", "3", "-8"},
        {[](auto... a) { return OCINumberLog(a...); }, "10", "1000", "3"},
        {[](auto... a) { return OCINumberArcTan2(a...); }, "-1", "-1",
         "-2.3561944901923449288469825374596271631479"},
    };
    for (const auto &one : pairs) {
        const OCINumber a = number(one.a), b = number(one.b);
        OCINumber result;
        ASSERT_TRUE(made.succeeds(one.call(made.errors, &a, &b, &result))) << one.a << ' ' << one.b;
        EXPECT_EQ(shown(result).substr(0, sure_digits), std::string(one.expected).substr(0, sure_digits));
    }
}

TEST_F(number_function_test, refuse_what_has_no_value)
{
    const OCINumber minus = number("-2"), two = number("2"), half = number(".5"), large = number("1000"),
                    zero = number("0"), one = number("1");
    OCINumber result = two;
    EXPECT_TRUE(made.fails(OCINumberSqrt(made.errors, &minus, &result), 1428));
    EXPECT_TRUE(made.fails(OCINumberLn(made.errors, &zero, &result), 1428));
    EXPECT_TRUE(made.fails(OCINumberArcSin(made.errors, &two, &result), 1428));
    EXPECT_TRUE(made.fails(OCINumberPower(made.errors, &minus, &half, &result), 1428));
    EXPECT_TRUE(made.fails(OCINumberPower(made.errors, &zero, &minus, &result), 22056));
    EXPECT_TRUE(made.fails(OCINumberLog(made.errors, &one, &two, &result), 1428));
    EXPECT_TRUE(made.fails(OCINumberExp(made.errors, &large, &result), 22053));
    EXPECT_TRUE(made.fails(OCINumberSqrt(made.errors, nullptr, &result), 21560));
    sword order = 1;
    EXPECT_EQ(OCINumberCmp(made.errors, &result, &two, &order), OCI_SUCCESS);
    EXPECT_EQ(order, 0) << "a call that fails leaves its result alone";
}

} // namespace
} // namespace sqlite_oci_test
