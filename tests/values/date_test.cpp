// The calendar against SQLite's date functions, and anchors of chronology where SQLite has no Julian
// calendar.
#include "values/date.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <random>

using namespace sqlite_oci;

namespace
{

std::mt19937 random_source(1582);

int random_int(int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random_source);
}

// A prepared query of one parameter and one column.
class sqlite_query
{
public:
    explicit sqlite_query(const char *sql)
    {
        EXPECT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &statement, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    }
    ~sqlite_query()
    {
        sqlite3_finalize(statement);
        sqlite3_close(db);
    }
    sqlite_query(const sqlite_query &) = delete;

    std::string operator()(const std::string &date, int number = 0)
    {
        sqlite3_reset(statement);
        sqlite3_bind_text(statement, 1, date.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int(statement, 2, number);
        EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW) << date;
        return reinterpret_cast<const char *>(sqlite3_column_text(statement, 0));
    }

private:
    sqlite3 *db = nullptr;
    sqlite3_stmt *statement = nullptr;
};

civil_time day(int year, int month, int day)
{
    return {year, month, day, 0, 0, 0};
}

civil_time random_gregorian()
{
    for (;;) {
        civil_time time{random_int(1583, 9999), random_int(1, 12), random_int(1, 31),
                        random_int(0, 23),      random_int(0, 59), random_int(0, 59)};
        if (date_is_valid(time))
            return time;
    }
}

int day_number(const civil_time &time)
{
    return date_to_day_number(time.year, time.month, time.day);
}

} // namespace

TEST(DateCalendar, CountsDaysAsSqliteDoes)
{
    sqlite_query julian("SELECT julianday(?1) + 0.5");
    sqlite_query weekday("SELECT strftime('%w', ?1)");
    civil_time time{};
    int last = date_to_day_number(9999, 12, 31);
    for (int day = 2299161; day <= last; day += random_int(1, 60)) {
        ASSERT_TRUE(date_from_day_number(day, &time));
        std::string text = date_to_iso(time).substr(0, 10);
        ASSERT_EQ(std::stoi(julian(text)), day) << text;
        ASSERT_EQ(day_number(time), day);
        ASSERT_EQ(std::stoi(weekday(text)), date_day_of_week(time)) << text;
    }
}

TEST(DateCalendar, AgreesWithChronology)
{
    const std::tuple<civil_time, int, int> cases[] = {
        {day(-4712, 1, 1), 366, 3},      {day(-44, 3, 15), 1705426, 3},   {day(-1, 12, 31), 1721423, 5},
        {day(1, 1, 1), 1721424, 6},      {day(1066, 10, 14), 2110701, 6}, {day(1582, 10, 4), 2299160, 4},
        {day(1582, 10, 15), 2299161, 5}, {day(1858, 11, 17), 2400001, 3}, {day(1970, 1, 1), 2440588, 4},
        {day(9999, 12, 31), 5373484, 5},
    };
    for (const auto &[time, expected_day_number, weekday] : cases) {
        EXPECT_EQ(day_number(time), expected_day_number) << date_to_iso(time);
        EXPECT_EQ(date_day_of_week(time), weekday) << date_to_iso(time);
        civil_time back{};
        EXPECT_TRUE(date_from_day_number(expected_day_number, &back));
        EXPECT_EQ(back, time);
    }
}

TEST(DateCalendar, HasEveryDayOnce)
{
    civil_time previous{};
    ASSERT_TRUE(date_from_day_number(366, &previous));
    for (int day = 367; day <= 5373484; ++day) {
        civil_time time{};
        ASSERT_TRUE(date_from_day_number(day, &time));
        ASSERT_TRUE(date_is_valid(time)) << date_to_iso(time);
        ASSERT_EQ(day_number(time), day);
        ASSERT_EQ(date_compare(previous, time), -1) << date_to_iso(time);
        previous = time;
    }
    EXPECT_FALSE(date_from_day_number(365, &previous));
    EXPECT_FALSE(date_from_day_number(5373485, &previous));
}

TEST(DateCalendar, ChecksEachMember)
{
    const std::pair<civil_time, uword> cases[] = {
        {{2024, 2, 29, 23, 59, 59}, 0},
        {{2023, 2, 29, 0, 0, 0}, OCI_DATE_INVALID_DAY},
        {{1900, 2, 29, 0, 0, 0}, OCI_DATE_INVALID_DAY},
        {{1500, 2, 29, 0, 0, 0}, 0},
        {{2000, 2, 29, 0, 0, 0}, 0},
        {{-1, 2, 29, 0, 0, 0}, 0},
        {{-4, 2, 29, 0, 0, 0}, OCI_DATE_INVALID_DAY},
        {{1990, 2, 0, 25, 61, 10},
         OCI_DATE_INVALID_DAY | OCI_DATE_DAY_BELOW_VALID | OCI_DATE_INVALID_HOUR | OCI_DATE_INVALID_MINUTE},
        {{0, 1, 1, 0, 0, 0}, OCI_DATE_YEAR_ZERO},
        {{10000, 1, 1, 0, 0, 0}, OCI_DATE_INVALID_YEAR},
        {{-4713, 12, 31, 0, 0, 0}, OCI_DATE_INVALID_YEAR | OCI_DATE_YEAR_BELOW_VALID},
        {{2024, 0, 1, 0, 0, 0}, OCI_DATE_INVALID_MONTH | OCI_DATE_MONTH_BELOW_VALID},
        {{2024, 13, 32, 0, 0, 60}, OCI_DATE_INVALID_MONTH | OCI_DATE_INVALID_DAY | OCI_DATE_INVALID_SECOND},
        {{1582, 10, 5, 0, 0, 0}, OCI_DATE_DAY_MISSING_FROM_1582},
        {{1582, 10, 14, 24, 0, 0}, OCI_DATE_DAY_MISSING_FROM_1582 | OCI_DATE_INVALID_HOUR},
        {{1582, 10, 15, 0, 0, 0}, 0},
    };
    for (const auto &[time, bits] : cases)
        EXPECT_EQ(date_check(time), bits) << time.year << "-" << time.month << "-" << time.day;
}

TEST(DateArithmetic, AddsMonthsAsSqliteDoes)
{
    sqlite_query target("SELECT date(?1, 'start of month', ?2 || ' months')");
    sqlite_query last("SELECT strftime('%d', ?1, 'start of month', '+1 month', '-1 day')");
    for (int i = 0; i < 10'000; ++i) {
        civil_time time = random_gregorian();
        int months = random_int(-500, 500);
        civil_time result{};
        if (!date_add_months(time, months, &result) || result.year < 1583)
            continue;
        std::string date = date_to_iso(time);
        std::string month = target(date.substr(0, 10), months);
        int last_here = std::stoi(last(date.substr(0, 10)));
        int last_there = std::stoi(last(month));
        int day = time.day == last_here ? last_there : std::min(time.day, last_there);
        char expected[32];
        std::snprintf(expected, sizeof expected, "%s-%02d%s", month.substr(0, month.size() - 3).c_str(), day,
                      date.substr(10).c_str());
        ASSERT_EQ(date_to_iso(result), expected) << date << " + " << months;
        ASSERT_EQ(date_last_day(time.year, time.month), last_here);
    }
}

TEST(DateArithmetic, AddsDaysAndSecondsAsSqliteDoes)
{
    sqlite_query days("SELECT datetime(?1, ?2 || ' days')");
    sqlite_query seconds("SELECT datetime(?1, ?2 || ' seconds')");
    for (int i = 0; i < 10'000; ++i) {
        civil_time time = random_gregorian();
        int count = random_int(-100'000, 100'000);
        civil_time result{};
        if (date_add_days(time, count, &result) && result.year >= 1583) {
            ASSERT_EQ(date_to_iso(result), days(date_to_iso(time), count));
        }
        if (date_add_seconds(time, count * 50, &result) && result.year >= 1583) {
            ASSERT_EQ(date_to_iso(result), seconds(date_to_iso(time), count * 50));
        }
    }
}

TEST(DateArithmetic, CrossesTheOddPlaces)
{
    const std::tuple<civil_time, int, int, civil_time> cases[] = {
        {day(-1, 12, 31), 0, 1, day(1, 1, 1)},       {day(1, 1, 1), 0, -1, day(-1, 12, 31)},
        {day(-1, 12, 15), 1, 0, day(1, 1, 15)},      {day(1, 1, 15), -1, 0, day(-1, 12, 15)},
        {day(-2, 6, 15), 24, 0, day(1, 6, 15)},      {day(1582, 10, 4), 0, 1, day(1582, 10, 15)},
        {day(1582, 9, 10), 1, 0, day(1582, 10, 15)}, {day(1582, 9, 30), 1, 0, day(1582, 10, 31)},
        {day(2024, 1, 31), 1, 0, day(2024, 2, 29)},  {day(2024, 2, 29), 12, 0, day(2025, 2, 28)},
        {day(2023, 2, 28), 12, 0, day(2024, 2, 29)}, {day(9999, 12, 30), 0, 1, day(9999, 12, 31)},
    };
    for (const auto &[from, months, days, to] : cases) {
        civil_time result{};
        EXPECT_TRUE(days ? date_add_days(from, days, &result) : date_add_months(from, months, &result));
        EXPECT_EQ(result, to) << date_to_iso(from) << " gives " << date_to_iso(result);
    }
    civil_time result = day(2024, 1, 1);
    for (std::int64_t step : {std::int64_t{1}, std::int64_t{1'000'000'000}, std::int64_t{INT64_MAX}}) {
        EXPECT_FALSE(date_add_days(day(9999, 12, 31), step, &result));
        EXPECT_FALSE(date_add_months(day(9999, 12, 1), step, &result));
        EXPECT_FALSE(date_add_days(day(-4712, 1, 1), -step, &result));
        EXPECT_FALSE(date_add_months(day(-4712, 1, 1), -step, &result));
    }
    EXPECT_FALSE(date_add_seconds({9999, 12, 31, 23, 59, 59}, 1, &result));
    EXPECT_EQ(result, day(2024, 1, 1));
}

TEST(DateForms, ReadIsoText)
{
    const std::pair<const char *, const char *> cases[] = {
        {"2024-02-29", "2024-02-29 00:00:00"},
        {"2024-01-01 ", "2024-01-01 00:00:00"},
        {" 2024-02-29 13:05 ", "2024-02-29 13:05:00"},
        {"2024-02-29T13:05:09", "2024-02-29 13:05:09"},
        {"2024-02-29 13:05:09.123456", "2024-02-29 13:05:09"},
        {"-0044-03-15", "-0044-03-15 00:00:00"},
        {"-4712-01-01 23:59:59", "-4712-01-01 23:59:59"},
    };
    civil_time time{};
    for (const auto &[text, expected] : cases) {
        EXPECT_TRUE(date_from_iso(text, &time)) << text;
        EXPECT_EQ(date_to_iso(time), expected) << text;
    }
    for (const char *text : {"2023-02-29", "0000-01-01", "1582-10-10", "24-01-01", "2024-1-1", "2024-01-01T",
                             "2024-01-01 24:00:00", "2024-01-01 12:00:00.", "2024-01-01x", ""})
        EXPECT_FALSE(date_from_iso(text, &time)) << text;
    EXPECT_EQ(date_to_iso(time), "-4712-01-01 23:59:59");
}

TEST(DateForms, HaveThePublishedBytes)
{
    const struct {
        civil_time time;
        ub1 bytes[7];
    } cases[] = {
        {{1992, 11, 30, 15, 17, 0}, {119, 192, 11, 30, 16, 18, 1}},
        {{-4712, 1, 1, 0, 0, 0}, {53, 88, 1, 1, 1, 1, 1}},
        {{-50, 1, 1, 0, 0, 0}, {100, 50, 1, 1, 1, 1, 1}},
        {{9999, 12, 31, 23, 59, 59}, {199, 199, 12, 31, 24, 60, 60}},
    };
    for (const auto &c : cases) {
        ub1 bytes[7];
        date_to_dat(c.time, bytes);
        EXPECT_TRUE(std::equal(bytes, bytes + 7, c.bytes)) << date_to_iso(c.time);
        civil_time back{};
        EXPECT_TRUE(date_from_dat(bytes, &back));
        EXPECT_EQ(back, c.time);
        OCIDate date;
        date_to_ocidate(c.time, &date);
        EXPECT_EQ(date_from_ocidate(date), c.time);
    }
    civil_time time{};
    const ub1 invalid[][7] = {
        {120, 124, 13, 1, 1, 1, 1}, {120, 124, 1, 1, 0, 1, 1}, {120, 124, 1, 1, 25, 1, 1},
        {120, 90, 1, 1, 1, 1, 1}, // a century AD with a year BC
        {120, 224, 1, 1, 1, 1, 1},  {100, 100, 1, 1, 1, 1, 1}, {0, 0, 0, 0, 0, 0, 0},
    };
    for (const auto &bytes : invalid)
        EXPECT_FALSE(date_from_dat(bytes, &time)) << int{bytes[0]} << " " << int{bytes[1]};
}
