// The exported number and date calls: arguments, results, error numbers.
#include "date.h"
#include "number.h"
#include "remembered_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>

using namespace sqlite_oci;

namespace
{

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
    remembered_error err;
    std::mt19937_64 random_source(sizeof(T));
    for (int i = 0; i < 1'000; ++i) {
        T value = i == 0   ? std::numeric_limits<T>::min()
                  : i == 1 ? std::numeric_limits<T>::max()
                           : static_cast<T>(random_source());
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
        EXPECT_EQ(OCINumberToInt(err, &beyond, sizeof result, flag, &result), OCI_ERROR);
        EXPECT_EQ(err.code, limit > 0 ? 22053 : flag == OCI_NUMBER_SIGNED ? 22054 : 22063);
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
    remembered_error err;
    OCINumber held;
    const float narrow = -0.1F;
    const double wide = 1.0 / 3;
    const long double widest = 1.0L / 3;
    float narrow_back = 0;
    double wide_back = 0;
    long double widest_back = 0;
    EXPECT_EQ(OCINumberFromReal(err, &narrow, sizeof narrow, &held), OCI_SUCCESS);
    EXPECT_EQ(number_to_text(held), "-.1");
    EXPECT_EQ(OCINumberToReal(err, &held, sizeof narrow, &narrow_back), OCI_SUCCESS);
    EXPECT_EQ(narrow_back, narrow);
    EXPECT_EQ(OCINumberFromReal(err, &wide, sizeof wide, &held), OCI_SUCCESS);
    EXPECT_EQ(OCINumberToReal(err, &held, sizeof wide, &wide_back), OCI_SUCCESS);
    EXPECT_EQ(wide_back, wide);
    EXPECT_EQ(OCINumberFromReal(err, &widest, sizeof widest, &held), OCI_SUCCESS);
    EXPECT_EQ(OCINumberToReal(err, &held, sizeof widest, &widest_back), OCI_SUCCESS);
    EXPECT_EQ(widest_back, widest);

    const OCINumber one = number("1");
    const OCINumber *numbers[] = {&one, &held};
    double array[2] = {};
    EXPECT_EQ(OCINumberToRealArray(err, numbers, 2, sizeof(double), array), OCI_SUCCESS);
    EXPECT_EQ(array[0], 1.0);
    EXPECT_EQ(array[1], wide);

    const struct {
        double value;
        int code;
    } failures[] = {{std::nan(""), 22053}, {1e300, 22053}, {1e-300, 22054}};
    for (const auto &c : failures) {
        EXPECT_EQ(OCINumberFromReal(err, &c.value, sizeof c.value, &held), OCI_ERROR);
        EXPECT_EQ(err.code, c.code);
    }
}

TEST(OciNumber, ConvertsText)
{
    remembered_error err;
    OCINumber held = number("1");
    OraText buffer[16];
    ub4 size = sizeof buffer;
    const char *nls = "NLS_NUMERIC_CHARACTERS=',.'";
    EXPECT_EQ(OCINumberFromText(err, ora("1.234,5"), 7, ora("9G999D9"), 7, ora(nls), length(nls), &held),
              OCI_SUCCESS);
    EXPECT_EQ(OCINumberToText(err, &held, ora("S9999.99xyz"), 8, nullptr, 0, &size, buffer), OCI_SUCCESS);
    EXPECT_EQ(size, 8U);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "+1234.50");
    size = 7;
    EXPECT_EQ(OCINumberToText(err, &held, ora("S9999.99"), 8, nullptr, 0, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 22059);
    size = 8; // fits without a terminator
    EXPECT_EQ(OCINumberToText(err, &held, ora("S9999.99"), 8, nullptr, 0, &size, buffer), OCI_SUCCESS);
    size = sizeof buffer;
    EXPECT_EQ(OCINumberToText(err, &held, nullptr, 0, nullptr, 0, &size, buffer), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), size), "1234.5");

    EXPECT_EQ(OCINumberToText(err, &held, ora("999"), 3, nullptr, 0, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 22065);
    EXPECT_EQ(OCINumberToText(err, &held, ora("9Z9"), 3, nullptr, 0, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 22061);
    EXPECT_EQ(OCINumberToText(err, &held, ora("999"), 3, ora("NLS"), 3, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 22064);
    EXPECT_EQ(OCINumberFromText(err, ora("12x"), 3, ora("999"), 3, nullptr, 0, &held), OCI_ERROR);
    EXPECT_EQ(err.code, 1722);
    EXPECT_NE(err.text.find("12x"), std::string::npos);
    EXPECT_EQ(OCINumberFromText(err, ora("1E+126"), 6, ora("9EEEE"), 5, nullptr, 0, &held), OCI_ERROR);
    EXPECT_EQ(err.code, 22053);
    EXPECT_EQ(number_to_text(held), "1234.5");
}

TEST(OciNumber, RefusesBadArguments)
{
    remembered_error err;
    remembered_error *no_handle = nullptr;
    OCINumber value = number("1");
    OCINumber garbage{};
    std::int64_t integer = 5;
    double real = 0;
    EXPECT_EQ(OCINumberAdd(nullptr, &value, &value, &value), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCINumberAdd(reinterpret_cast<OCIError *>(&integer), &value, &value, &value),
              OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIDateSysDate(reinterpret_cast<OCIError *>(no_handle), nullptr), OCI_INVALID_HANDLE);
    const struct {
        sword code;
        int error;
    } calls[] = {
        {OCINumberAdd(err, &value, nullptr, &value), err.code},
        {OCINumberFromInt(err, nullptr, 4, OCI_NUMBER_SIGNED, &value), err.code},
        {OCINumberToText(err, &value, nullptr, 0, nullptr, 0, nullptr, nullptr), err.code},
        {OCIDateSysDate(err, nullptr), err.code},
        {OCIDateCompare(err, nullptr, nullptr, nullptr), err.code},
    };
    for (const auto &call : calls) {
        EXPECT_EQ(call.code, OCI_ERROR);
        EXPECT_EQ(call.error, 21560);
    }
    EXPECT_EQ(OCINumberFromInt(err, &integer, 3, OCI_NUMBER_SIGNED, &value), OCI_ERROR);
    EXPECT_EQ(err.code, 22057);
    EXPECT_EQ(OCINumberToInt(err, &value, 4, 1, &integer), OCI_ERROR);
    EXPECT_EQ(err.code, 22055);
    EXPECT_EQ(OCINumberToReal(err, &value, 5, &real), OCI_ERROR);
    EXPECT_EQ(err.code, 22058);
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
    remembered_error err;
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
    for (sword code : {OCINumberDiv(err, &two, &zero, &result), OCINumberMod(err, &two, &zero, &result)}) {
        EXPECT_EQ(code, OCI_ERROR);
        EXPECT_EQ(err.code, 22056);
    }
    sword order = 0;
    int truth = 0;
    EXPECT_EQ(OCINumberCmp(err, &seven, &two, &order), OCI_SUCCESS);
    EXPECT_LT(order, 0);
    EXPECT_EQ(OCINumberSign(err, &seven, &order), OCI_SUCCESS);
    EXPECT_EQ(order, -1);
    EXPECT_EQ(OCINumberIsZero(err, &zero, &truth), OCI_SUCCESS);
    EXPECT_EQ(truth, TRUE);
    EXPECT_EQ(OCINumberIsInt(err, &eighth, &truth), OCI_SUCCESS);
    EXPECT_EQ(truth, FALSE);
    OCINumberSetPi(err, &result);
    EXPECT_NEAR(number_to_double(result), M_PI, 0);
    OCINumberSetZero(err, &result);
    EXPECT_TRUE(number_is_zero(result));
}

TEST(OciDate, ConvertsText)
{
    remembered_error err;
    OCIDate value = date("2024-02-29 15:04:09");
    OraText buffer[32];
    ub4 size = sizeof buffer;
    EXPECT_EQ(
        OCIDateToText(err, &value, ora("FMDay DD Month, HH24:MI"), 23, ora("American"), 8, &size, buffer),
        OCI_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "Thursday 29 February, 15:4");
    EXPECT_EQ(size, 26U);
    size = sizeof buffer;
    EXPECT_EQ(OCIDateToText(err, &value, nullptr, 0, nullptr, 0, &size, buffer), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), size), "29-FEB-24");
    OCIDate back;
    EXPECT_EQ(OCIDateFromText(err, buffer, size, nullptr, 0, nullptr, 0, &back), OCI_SUCCESS);
    EXPECT_EQ(iso(back), "2024-02-29 00:00:00");

    size = 8;
    EXPECT_EQ(OCIDateToText(err, &value, nullptr, 0, nullptr, 0, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 1877);
    EXPECT_EQ(OCIDateFromText(err, ora("30-FEB-24"), 9, nullptr, 0, nullptr, 0, &back), OCI_ERROR);
    EXPECT_EQ(err.code, 1839);
    EXPECT_EQ(OCIDateFromText(err, ora("1.1.2024"), 8, ora("DD.MM.YYYY"), 10, ora("GERMAN"), 6, &back),
              OCI_ERROR);
    EXPECT_EQ(err.code, 12702);
    EXPECT_EQ(iso(back), "2024-02-29 00:00:00");
    OCIDateSetDate(&value, 2024, 2, 30);
    EXPECT_EQ(OCIDateToText(err, &value, nullptr, 0, nullptr, 0, &size, buffer), OCI_ERROR);
    EXPECT_EQ(err.code, 1847);
}

TEST(OciDate, Computes)
{
    remembered_error err;
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
    EXPECT_EQ(OCIDateDaysBetween(err, &april, &leap, &days), OCI_SUCCESS);
    EXPECT_EQ(days, 32);
    EXPECT_EQ(OCIDateDaysBetween(err, &leap, &april, &days), OCI_SUCCESS);
    EXPECT_EQ(days, -32);
    sword order = 0;
    const OCIDate second_later = date("2024-02-29 15:04:10");
    EXPECT_EQ(OCIDateCompare(err, &leap, &second_later, &order), OCI_SUCCESS);
    EXPECT_EQ(order, -1);
    EXPECT_EQ(OCIDateCompare(err, &leap, &leap, &order), OCI_SUCCESS);
    EXPECT_EQ(order, 0);

    const OCIDate end = date("9999-12-31");
    EXPECT_EQ(OCIDateAddDays(err, &end, 1, &result), OCI_ERROR);
    EXPECT_EQ(err.code, 1841);
    EXPECT_EQ(OCIDateAddMonths(err, &end, std::numeric_limits<sb4>::max(), &result), OCI_ERROR);
    EXPECT_EQ(err.code, 1841);
    EXPECT_EQ(OCIDateNextDay(err, &leap, ora("someday"), 7, &result), OCI_ERROR);
    EXPECT_EQ(err.code, 1846);
    EXPECT_EQ(iso(result), "2024-03-06 15:04:09");
}

TEST(OciDate, ConvertsZones)
{
    const struct {
        const char *from_zone;
        const char *to_zone;
        const char *expected; // null: no such zone
    } cases[] = {
        {"GMT", "NST", "2024-02-29 21:00:00"},
        {"NST", "gmt", "2024-03-01 04:00:00"},
        {"GMT", "BST", "2024-02-29 13:30:00"},
        {"PST", "EST", "2024-03-01 03:30:00"},
        {"YDT", "PST", "2024-03-01 00:30:00"},
        {"HST", "ADT", "2024-03-01 07:30:00"},
        {"CET", "GMT", nullptr},
        {"GMT", "", nullptr},
    };
    const OCIDate from = date("2024-03-01 00:30:00");
    for (const auto &c : cases) {
        remembered_error err;
        OCIDate result = date("2000-01-01");
        EXPECT_EQ(OCIDateZoneToZone(err, &from, ora(c.from_zone), length(c.from_zone), ora(c.to_zone),
                                    length(c.to_zone), &result),
                  c.expected ? OCI_SUCCESS : OCI_ERROR);
        EXPECT_EQ(iso(result), c.expected ? c.expected : "2000-01-01 00:00:00") << c.from_zone << c.to_zone;
        EXPECT_EQ(err.code, c.expected ? 0 : 1857);
    }
}

TEST(OciDate, ChecksAndReadsTheClock)
{
    remembered_error err;
    OCIDate value;
    OCIDateSetDate(&value, 1990, 2, 0);
    OCIDateSetTime(&value, 25, 61, 10);
    uword valid = 0;
    EXPECT_EQ(OCIDateCheck(err, &value, &valid), OCI_SUCCESS);
    EXPECT_EQ(valid, 0x1U | 0x2U | 0x40U | 0x100U);

    std::time_t before = std::time(nullptr);
    EXPECT_EQ(OCIDateSysDate(err, &value), OCI_SUCCESS);
    std::time_t after = std::time(nullptr);
    std::tm local{};
    sb2 year = 0;
    ub1 month = 0;
    ub1 hour = 0;
    OCIDateGetDate(&value, &year, &month, reinterpret_cast<ub1 *>(&local.tm_mday));
    OCIDateGetTime(&value, &hour, reinterpret_cast<ub1 *>(&local.tm_min),
                   reinterpret_cast<ub1 *>(&local.tm_sec));
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_hour = hour;
    local.tm_isdst = -1;
    std::time_t now = std::mktime(&local);
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
}
