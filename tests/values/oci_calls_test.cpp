// The exported number and date calls: arguments, results, error numbers.
#include "values/date.h"
#include "values/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <tuple>

using namespace sqlite_oci;

namespace
{

// An error handle of the library, for the whole run.
OCIError *make_error_handle()
{
    OCIEnv *env = nullptr;
    void *made = nullptr;
    OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
    OCIHandleAlloc(env, &made, OCI_HTYPE_ERROR, 0, nullptr);
    return static_cast<OCIError *>(made);
}

OCIError *const err = make_error_handle();
std::string raised_text;

// Whether a call failed with this number.
testing::AssertionResult fails(sword status, int code)
{
    OraText message[1024] = {};
    sb4 raised = 0;
    OCIErrorGet(err, 1, nullptr, &raised, message, sizeof message, OCI_HTYPE_ERROR);
    raised_text = reinterpret_cast<const char *>(message);
    if (status == OCI_ERROR && raised == code)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "status " << status << ", error " << raised << ' ' << raised_text;
}

// The result of a call that has to succeed.
template <class T> T got(sword status, const T &result)
{
    EXPECT_EQ(status, OCI_SUCCESS);
    return result;
}

const OraText *ora(const char *text)
{
    return reinterpret_cast<const OraText *>(text);
}

ub4 length(const char *text)
{
    return static_cast<ub4>(std::strlen(text));
}

OCINumber number(std::string_view text)
{
    OCINumber result;
    EXPECT_TRUE(number_from_text(text, &result));
    return result;
}

OCIDate date(const char *iso)
{
    civil_time time{};
    EXPECT_TRUE(date_from_iso(iso, &time)) << iso;
    OCIDate result;
    date_to_ocidate(time, &result);
    return result;
}

std::string iso(const OCIDate &date)
{
    return date_to_iso(date_from_ocidate(date));
}

template <class T> void expect_integer_round_trip(uword flag)
{
    std::mt19937_64 random_source(sizeof(T));
    for (int i = 0; i < 1'000; ++i) {
        T value = i == 0   ? std::numeric_limits<T>::min()
                  : i == 1 ? std::numeric_limits<T>::max()
                           : static_cast<T>(random_source() >> random_source() % 64);
        OCINumber held;
        ASSERT_EQ(OCINumberFromInt(err, &value, sizeof value, flag, &held), OCI_SUCCESS);
        ASSERT_EQ(number_to_text(held), std::to_string(value));
        struct {
            T result;
            unsigned char guard;
        } target{0, 0xaa};
        ASSERT_EQ(OCINumberToInt(err, &held, sizeof value, flag, &target.result), OCI_SUCCESS);
        ASSERT_EQ(target.result, value);
        ASSERT_EQ(target.guard, 0xaa);
    }
    const T untouched = 7;
    for (T limit : {std::numeric_limits<T>::min(), std::numeric_limits<T>::max()}) {
        OCINumber beyond = number(std::to_string(limit));
        EXPECT_EQ(limit > 0 ? OCINumberInc(err, &beyond) : OCINumberDec(err, &beyond), OCI_SUCCESS);
        T result = untouched;
        EXPECT_TRUE(fails(OCINumberToInt(err, &beyond, sizeof result, flag, &result),
                          limit > 0                   ? 22053
                          : flag == OCI_NUMBER_SIGNED ? 22054
                                                      : 22063));
        EXPECT_EQ(result, untouched);
    }
}

} // namespace

TEST(OciNumber, ConvertsEveryInteger)
{
    expect_integer_round_trip<std::int8_t>(OCI_NUMBER_SIGNED);
    expect_integer_round_trip<std::int16_t>(OCI_NUMBER_SIGNED);
    expect_integer_round_trip<std::int32_t>(OCI_NUMBER_SIGNED);
    expect_integer_round_trip<std::int64_t>(OCI_NUMBER_SIGNED);
    expect_integer_round_trip<std::uint8_t>(OCI_NUMBER_UNSIGNED);
    expect_integer_round_trip<std::uint16_t>(OCI_NUMBER_UNSIGNED);
    expect_integer_round_trip<std::uint32_t>(OCI_NUMBER_UNSIGNED);
    expect_integer_round_trip<std::uint64_t>(OCI_NUMBER_UNSIGNED);
}

TEST(OciNumber, ConvertsReals)
{
    OCINumber held;
    const auto round_trip = [&](auto real) {
        decltype(real) back = 0;
        EXPECT_EQ(OCINumberFromReal(err, &real, sizeof real, &held), OCI_SUCCESS);
        EXPECT_EQ(OCINumberToReal(err, &held, sizeof real, &back), OCI_SUCCESS);
        EXPECT_EQ(back, real);
    };
    round_trip(1.0L / 3);
    round_trip(-0.1F);
    EXPECT_EQ(number_to_text(held), "-.1");
    round_trip(1.0 / 3);
    const OCINumber one = number("1");
    const OCINumber *numbers[] = {&one, &held};
    double array[2] = {};
    EXPECT_EQ(OCINumberToRealArray(err, numbers, 2, sizeof(double), array), OCI_SUCCESS);
    EXPECT_EQ(array[0], 1.0);
    EXPECT_EQ(array[1], 1.0 / 3);

    const std::pair<double, int> failures[] = {{std::nan(""), 22053}, {1e300, 22053}, {1e-300, 22054}};
    for (const auto &[value, code] : failures)
        EXPECT_TRUE(fails(OCINumberFromReal(err, &value, sizeof value, &held), code)) << value;
}

TEST(OciNumber, ConvertsText)
{
    OCINumber held = number("1");
    OraText buffer[16];
    ub4 size = sizeof buffer;
    const auto write = [&](const char *format, ub4 room, const char *parameters = nullptr) {
        size = room;
        return OCINumberToText(err, &held, format ? ora(format) : nullptr, format ? length(format) : 0,
                               parameters ? ora(parameters) : nullptr, parameters ? length(parameters) : 0,
                               &size, buffer);
    };
    const char *nls = "NLS_NUMERIC_CHARACTERS=',.'";
    EXPECT_EQ(OCINumberFromText(err, ora("1.234,5"), 7, ora("9G999D9"), 7, ora(nls), length(nls), &held),
              OCI_SUCCESS);
    EXPECT_EQ(OCINumberToText(err, &held, ora("S9999.99xyz"), 8, nullptr, 0, &size, buffer), OCI_SUCCESS);
    EXPECT_EQ(size, 8U);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "+1234.50");
    EXPECT_TRUE(fails(write("S9999.99", 7), 22059));
    EXPECT_EQ(write("S9999.99", 8), OCI_SUCCESS) << "fits without a terminator";
    EXPECT_EQ(write(nullptr, sizeof buffer), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), size), "1234.5");
    EXPECT_TRUE(fails(write("999", sizeof buffer), 22065));
    EXPECT_TRUE(fails(write("9Z9", sizeof buffer), 22061));
    EXPECT_TRUE(fails(write("999", sizeof buffer, "NLS"), 22064));
    EXPECT_TRUE(fails(OCINumberFromText(err, ora("12x"), 3, ora("999"), 3, nullptr, 0, &held), 1722));
    EXPECT_NE(raised_text.find("12x"), std::string::npos);
    EXPECT_TRUE(fails(OCINumberFromText(err, ora("1E+126"), 6, ora("9EEEE"), 5, nullptr, 0, &held), 22053));
    EXPECT_EQ(number_to_text(held), "1234.5");
}

TEST(OciNumber, RefusesBadArguments)
{
    OCINumber value = number("1");
    OCINumber garbage{};
    std::int64_t integer = 5;
    double real = 0;
    EXPECT_EQ(OCINumberAdd(nullptr, &value, &value, &value), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCINumberAdd(reinterpret_cast<OCIError *>(&integer), &value, &value, &value),
              OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIDateSysDate(nullptr, nullptr), OCI_INVALID_HANDLE);
    EXPECT_TRUE(fails(OCINumberAdd(err, &value, nullptr, &value), 21560));
    EXPECT_TRUE(fails(OCINumberFromInt(err, nullptr, 4, OCI_NUMBER_SIGNED, &value), 21560));
    EXPECT_TRUE(fails(OCINumberToText(err, &value, nullptr, 0, nullptr, 0, nullptr, nullptr), 21560));
    EXPECT_TRUE(fails(OCIDateSysDate(err, nullptr), 21560));
    EXPECT_TRUE(fails(OCIDateCompare(err, nullptr, nullptr, nullptr), 21560));
    EXPECT_TRUE(fails(OCINumberFromInt(err, &integer, 3, OCI_NUMBER_SIGNED, &value), 22057));
    EXPECT_TRUE(fails(OCINumberToInt(err, &value, 4, 1, &integer), 22055));
    EXPECT_TRUE(fails(OCINumberToReal(err, &value, 5, &real), 22058));
    for (sword code :
         {OCINumberToInt(err, &garbage, 8, OCI_NUMBER_SIGNED, &integer),
          OCINumberToReal(err, &garbage, 8, &real), OCINumberNeg(err, &garbage, &value),
          OCINumberAdd(err, &value, &garbage, &value), OCINumberCmp(err, &garbage, &value, nullptr)}) {
        EXPECT_EQ(code, OCI_ERROR);
    }
    EXPECT_EQ(integer, 5);
    EXPECT_EQ(number_to_text(value), "1");
}

TEST(OciNumber, Computes)
{
    const OCINumber seven = number("-7");
    const OCINumber two = number("2");
    const OCINumber zero = number("0");
    OCINumber result = zero;
    auto text = [&](sword code) { return code == OCI_SUCCESS ? number_to_text(result) : "failed"; };
    EXPECT_EQ(text(OCINumberAdd(err, &seven, &two, &result)), "-5");
    EXPECT_EQ(text(OCINumberSub(err, &seven, &two, &result)), "-9");
    EXPECT_EQ(text(OCINumberMul(err, &seven, &two, &result)), "-14");
    EXPECT_EQ(text(OCINumberDiv(err, &seven, &two, &result)), "-3.5");
    EXPECT_EQ(text(OCINumberFloor(err, &result, &result)), "-4");
    EXPECT_EQ(text(OCINumberMod(err, &seven, &two, &result)), "-1");
    EXPECT_EQ(text(OCINumberNeg(err, &seven, &result)), "7");
    EXPECT_EQ(text(OCINumberAbs(err, &seven, &result)), "7");
    EXPECT_EQ(text(OCINumberInc(err, &result)), "8");
    EXPECT_EQ(text(OCINumberDec(err, &result)), "7");
    EXPECT_EQ(text(OCINumberShift(err, &seven, -3, &result)), "-.007");
    EXPECT_EQ(text(OCINumberCeil(err, &result, &result)), "0");
    EXPECT_EQ(text(OCINumberIntPower(err, &two, -3, &result)), ".125");
    OCINumber eighth = result;
    EXPECT_EQ(text(OCINumberRound(err, &eighth, 2, &result)), ".13");
    EXPECT_EQ(text(OCINumberTrunc(err, &eighth, 2, &result)), ".12");
    EXPECT_EQ(text(OCINumberPrec(err, &eighth, 1, &result)), ".1");
    EXPECT_EQ(text(OCINumberAssign(err, &two, &result)), "2");
    EXPECT_TRUE(fails(OCINumberDiv(err, &two, &zero, &result), 22056));
    EXPECT_TRUE(fails(OCINumberMod(err, &two, &zero, &result), 22056));
    sword order = 0;
    int truth = 0;
    EXPECT_LT(got(OCINumberCmp(err, &seven, &two, &order), order), 0);
    EXPECT_EQ(got(OCINumberSign(err, &seven, &order), order), -1);
    EXPECT_EQ(got(OCINumberIsZero(err, &zero, &truth), truth), TRUE);
    EXPECT_EQ(got(OCINumberIsInt(err, &eighth, &truth), truth), FALSE);
    OCINumberSetPi(err, &result);
    EXPECT_NEAR(number_to_double(result), M_PI, 0);
    OCINumberSetZero(err, &result);
    EXPECT_TRUE(number_is_zero(result));
}

TEST(OciDate, ConvertsText)
{
    OCIDate value = date("2024-02-29 15:04:09");
    OraText buffer[32];
    ub4 size = sizeof buffer;
    const auto write = [&](const char *format, ub4 room, const char *language = "") {
        size = room;
        return OCIDateToText(err, &value, *format ? ora(format) : nullptr, static_cast<ub1>(length(format)),
                             *language ? ora(language) : nullptr, length(language), &size, buffer);
    };
    EXPECT_EQ(write("FMDay DD Month, HH24:MI", sizeof buffer, "American"), OCI_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "Thursday 29 February, 15:4");
    EXPECT_EQ(size, 26U);
    EXPECT_EQ(write("", sizeof buffer), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), size), "29-FEB-24");
    OCIDate back;
    EXPECT_EQ(OCIDateFromText(err, buffer, size, nullptr, 0, nullptr, 0, &back), OCI_SUCCESS);
    EXPECT_EQ(iso(back), "2024-02-29 00:00:00");

    EXPECT_TRUE(fails(write("", 8), 1877));
    EXPECT_TRUE(fails(OCIDateFromText(err, ora("30-FEB-24"), 9, nullptr, 0, nullptr, 0, &back), 1839));
    EXPECT_TRUE(fails(
        OCIDateFromText(err, ora("1.1.2024"), 8, ora("DD.MM.YYYY"), 10, ora("GERMAN"), 6, &back), 12702));
    EXPECT_EQ(iso(back), "2024-02-29 00:00:00");
    OCIDateSetDate(&value, 2024, 2, 30);
    EXPECT_TRUE(fails(write("", sizeof buffer), 1847));
}

TEST(OciDate, Computes)
{
    const OCIDate leap = date("2024-02-29 15:04:09");
    OCIDate result;
    auto text = [&](sword code) { return code == OCI_SUCCESS ? iso(result) : "failed"; };
    EXPECT_EQ(text(OCIDateAssign(err, &leap, &result)), "2024-02-29 15:04:09");
    EXPECT_EQ(text(OCIDateAddDays(err, &leap, -60, &result)), "2023-12-31 15:04:09");
    EXPECT_EQ(text(OCIDateAddMonths(err, &leap, 12, &result)), "2025-02-28 15:04:09");
    EXPECT_EQ(text(OCIDateLastDay(err, &result, &result)), "2025-02-28 15:04:09");
    const OCIDate april = date("2024-04-01");
    EXPECT_EQ(text(OCIDateLastDay(err, &april, &result)), "2024-04-30 00:00:00");
    EXPECT_EQ(text(OCIDateNextDay(err, &leap, ora("thursday"), 8, &result)), "2024-03-07 15:04:09");
    EXPECT_EQ(text(OCIDateNextDay(err, &leap, ora("FRI"), 3, &result)), "2024-03-01 15:04:09");
    EXPECT_EQ(text(OCIDateNextDay(err, &leap, ora("Wed"), 3, &result)), "2024-03-06 15:04:09");

    sb4 days = 0;
    EXPECT_EQ(got(OCIDateDaysBetween(err, &april, &leap, &days), days), 32);
    EXPECT_EQ(got(OCIDateDaysBetween(err, &leap, &april, &days), days), -32);
    sword order = 0;
    const OCIDate second_later = date("2024-02-29 15:04:10");
    EXPECT_EQ(got(OCIDateCompare(err, &leap, &second_later, &order), order), -1);
    EXPECT_EQ(got(OCIDateCompare(err, &leap, &leap, &order), order), 0);

    const OCIDate end = date("9999-12-31");
    EXPECT_TRUE(fails(OCIDateAddDays(err, &end, 1, &result), 1841));
    EXPECT_TRUE(fails(OCIDateAddMonths(err, &end, std::numeric_limits<sb4>::max(), &result), 1841));
    EXPECT_TRUE(fails(OCIDateNextDay(err, &leap, ora("someday"), 7, &result), 1846));
    EXPECT_EQ(iso(result), "2024-03-06 15:04:09");
}

TEST(OciDate, ConvertsZones)
{
    // null: no such zone
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"GMT", "NST", "2024-02-29 21:00:00"}, {"NST", "gmt", "2024-03-01 04:00:00"}, {"CET", "GMT", nullptr},
        {"GMT", "BST", "2024-02-29 13:30:00"}, {"PST", "EST", "2024-03-01 03:30:00"}, {"GMT", "", nullptr},
        {"YDT", "PST", "2024-03-01 00:30:00"}, {"HST", "ADT", "2024-03-01 07:30:00"},
    };
    const OCIDate from = date("2024-03-01 00:30:00");
    for (const auto &[zone, other, expected] : cases) {
        SCOPED_TRACE(testing::Message() << zone << " to " << other);
        OCIDate result = date("2000-01-01");
        const sword status =
            OCIDateZoneToZone(err, &from, ora(zone), length(zone), ora(other), length(other), &result);
        EXPECT_TRUE(expected ? status == OCI_SUCCESS : fails(status, 1857));
        EXPECT_EQ(iso(result), expected ? expected : "2000-01-01 00:00:00");
    }
}

TEST(OciDate, ChecksAndReadsTheClock)
{
    sb2 year = 0;
    ub1 month = 0, day = 0, hour = 0, minute = 0, second = 0;
    OCIDate leap;
    OCIDateSetDate(&leap, 2024, 2, 29);
    OCIDateSetTime(&leap, 13, 14, 15);
    OCIDateGetDate(&leap, &year, &month, &day);
    OCIDateGetTime(&leap, &hour, &minute, &second);
    EXPECT_EQ(std::make_tuple(year, month, day, hour, minute, second),
              std::make_tuple(2024, 2, 29, 13, 14, 15));

    OCIDate value;
    OCIDateSetDate(&value, 1990, 2, 0);
    OCIDateSetTime(&value, 25, 61, 10);
    uword valid = 0;
    EXPECT_EQ(got(OCIDateCheck(err, &value, &valid), valid), 0x1U | 0x2U | 0x40U | 0x100U);

    const auto now = [] {
        const std::time_t time = std::time(nullptr);
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", std::localtime(&time));
        return std::string(text);
    };
    const std::string before = now();
    EXPECT_EQ(OCIDateSysDate(err, &value), OCI_SUCCESS);
    EXPECT_LE(before, iso(value));
    EXPECT_LE(iso(value), now());
}
