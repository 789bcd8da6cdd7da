// Datetime descriptors and intervals: fields, texts, arithmetic, refusals.
#include "client.h"

#include <cstring>

namespace sqlite_oci_test
{
namespace
{

template <class T> T *descriptor(const client &of, ub4 kind)
{
    void *made = nullptr;
    EXPECT_EQ(OCIDescriptorAlloc(of.env, &made, kind, 0, nullptr), OCI_SUCCESS);
    return static_cast<T *>(made);
}

struct datetime_test : testing::Test {
    datetime_test() { setenv("TZ", "UTC-2", 1), tzset(); }
    ~datetime_test() override { unsetenv("TZ"), tzset(); }

    OCIDateTime *time(const std::string &plain) const
    {
        auto *made = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP);
        constexpr std::string_view format = "YYYY-MM-DD HH24:MI:SSXFF";
        EXPECT_TRUE(
            db.succeeds(OCIDateTimeFromText(db.env, db.errors, text(plain), plain.size(), text(format),
                                            static_cast<ub1>(format.size()), nullptr, 0, made)))
            << plain;
        return made;
    }
    OCIInterval *interval(const std::string &plain, ub4 kind) const
    {
        auto *made = descriptor<OCIInterval>(db, kind);
        EXPECT_TRUE(db.succeeds(OCIIntervalFromText(db.env, db.errors, text(plain), plain.size(), made)))
            << plain;
        return made;
    }
    OCIInterval *months(const std::string &plain) const { return interval(plain, OCI_DTYPE_INTERVAL_YM); }
    OCIInterval *days(const std::string &plain) const { return interval(plain, OCI_DTYPE_INTERVAL_DS); }

    std::string shown(const OCIDateTime *of, std::string_view format = "YYYY-MM-DD HH24:MI:SS.FF3") const
    {
        OraText buffer[100];
        ub4 size = sizeof buffer;
        const sword status = OCIDateTimeToText(db.env, db.errors, of, text(format),
                                               static_cast<ub1>(format.size()), 0, nullptr, 0, &size, buffer);
        return status == OCI_SUCCESS ? std::string(reinterpret_cast<const char *>(buffer), size)
                                     : "ORA-" + std::to_string(db.code());
    }
    std::string shown(const OCIInterval *of, ub1 lead = 2, ub1 fraction = 2) const
    {
        OraText buffer[100];
        std::size_t size = 0;
        const sword status =
            OCIIntervalToText(db.env, db.errors, of, lead, fraction, buffer, sizeof buffer, &size);
        return status == OCI_SUCCESS ? std::string(reinterpret_cast<const char *>(buffer), size)
                                     : "ORA-" + std::to_string(db.code());
    }

    client db;
};

TEST_F(datetime_test, fields_and_zones)
{
    auto *zoned = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP_TZ);
    OraText west[] = "-05:30";
    ASSERT_TRUE(db.succeeds(OCIDateTimeConstruct(db.env, db.errors, zoned, 2024, 2, 29, 23, 59, 58, 500000000,
                                                 west, sizeof west - 1)));
    EXPECT_EQ(shown(zoned, "DD-MON-RR HH.MI.SSXFF AM TZR TZH TZM"),
              "29-FEB-24 11.59.58.500000 PM -05:30 -05 30");
    sb1 hour = 0, minute = 0;
    EXPECT_EQ(OCIDateTimeGetTimeZoneOffset(db.env, db.errors, zoned, &hour, &minute), OCI_SUCCESS);
    EXPECT_EQ(hour * 60 + minute, -330);
    ub1 name[20];
    ub4 length = sizeof name;
    EXPECT_EQ(OCIDateTimeGetTimeZoneName(db.env, db.errors, zoned, name, &length), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(name), length), "-05:30");

    auto *local = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP_LTZ);
    auto *date = descriptor<OCIDateTime>(db, OCI_DTYPE_DATE);
    EXPECT_TRUE(db.succeeds(OCIDateTimeConvert(db.env, db.errors, zoned, local)));
    EXPECT_TRUE(db.succeeds(OCIDateTimeConvert(db.env, db.errors, zoned, date)));
    EXPECT_EQ(shown(local), "2024-03-01 07:29:58.500") << "two hours east of UTC";
    EXPECT_EQ(shown(date, "YYYY-MM-DD HH24:MI:SS"), "2024-02-29 23:59:58");
    EXPECT_TRUE(db.fails(OCIDateTimeAssign(db.env, db.errors, zoned, local), 932));
    auto *copy = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP_TZ);
    EXPECT_TRUE(db.succeeds(OCIDateTimeAssign(db.env, db.errors, zoned, copy)));
    sword order = 1;
    EXPECT_EQ(OCIDateTimeCompare(db.env, db.errors, copy, local, &order), OCI_SUCCESS);
    EXPECT_EQ(order, 0) << "one point in time";

    ub1 bytes[OCI_DT_ARRAYLEN];
    for (OCIDateTime *const one : {zoned, local}) {
        ub4 size = sizeof bytes;
        const ub1 type = one == zoned ? SQLT_TIMESTAMP_TZ : SQLT_TIMESTAMP_LTZ;
        auto *back =
            descriptor<OCIDateTime>(db, one == zoned ? OCI_DTYPE_TIMESTAMP_TZ : OCI_DTYPE_TIMESTAMP_LTZ);
        EXPECT_TRUE(db.succeeds(OCIDateTimeToArray(db.env, db.errors, one, nullptr, bytes, &size, 9)));
        EXPECT_TRUE(
            db.succeeds(OCIDateTimeFromArray(db.env, db.errors, bytes, size, type, back, nullptr, 9)));
        EXPECT_EQ(shown(back, "YYYY-MM-DD HH24:MI:SS.FF9 TZR"), shown(one, "YYYY-MM-DD HH24:MI:SS.FF9 TZR"));
    }
    sb2 year = 0;
    ub1 month = 0, day = 0, h = 0, mi = 0, s = 0;
    ub4 fraction = 0;
    EXPECT_TRUE(db.succeeds(OCIDateTimeSysTimeStamp(db.env, db.errors, zoned)));
    EXPECT_EQ(OCIDateTimeGetDate(db.env, db.errors, zoned, &year, &month, &day), OCI_SUCCESS);
    EXPECT_EQ(OCIDateTimeGetTime(db.env, db.errors, zoned, &h, &mi, &s, &fraction), OCI_SUCCESS);
    EXPECT_TRUE(year > 2020 && month <= 12 && day <= 31 && h < 24 && fraction < 1000000000);
}

TEST_F(datetime_test, what_does_not_exist_is_told)
{
    auto *made = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP);
    ub4 faults = 0;
    EXPECT_EQ(OCIDateTimeConstruct(db.env, db.errors, made, 2023, 2, 29, 24, 0, 0, 0, nullptr, 0),
              OCI_SUCCESS);
    EXPECT_EQ(OCIDateTimeCheck(db.env, db.errors, made, &faults), OCI_SUCCESS);
    EXPECT_EQ(faults, OCI_DT_INVALID_DAY | OCI_DT_INVALID_HOUR);
    EXPECT_EQ(shown(made), "ORA-1847");
    const struct {
        const char *plain, *format;
        int code;
    } cases[] = {{"2024-01-01 Mars/Utopia", "YYYY-MM-DD TZR", 1882},
                 {"2024-01-01 10:00:00.1234567890", "YYYY-MM-DD HH24:MI:SS.FF", 1830},
                 {"2024-13-01", "YYYY-MM-DD", 1843},
                 {"2024-01-01", "YYYY-MM-ZZ", 1821}};
    for (const auto &one : cases)
        EXPECT_TRUE(db.fails(OCIDateTimeFromText(db.env, db.errors, text(one.plain), std::strlen(one.plain),
                                                 text(one.format), static_cast<ub1>(std::strlen(one.format)),
                                                 nullptr, 0, made),
                             one.code))
            << one.plain;
    EXPECT_EQ(OCIDateTimeCheck(db.env, db.errors, reinterpret_cast<OCIDateTime *>(&faults), &faults),
              OCI_INVALID_HANDLE);
    auto *days = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_DS);
    EXPECT_TRUE(db.fails(OCIIntervalSetDaySecond(db.env, db.errors, 1, 24, 0, 0, 0, days), 1850));
    EXPECT_TRUE(db.fails(OCIIntervalSetYearMonth(db.env, db.errors, 1, 2, days), 932));
    EXPECT_TRUE(db.fails(OCIIntervalFromText(db.env, db.errors, text("1 25:00:00"), 10, days), 1867));
}

TEST_F(datetime_test, arithmetic)
{
    auto *result = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP);
    auto *difference = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_DS);
    auto *in_months = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_YM);
    OCIDateTime *const from = time("2024-01-31 22:00:00.5");
    EXPECT_TRUE(db.succeeds(OCIDateTimeIntervalAdd(db.env, db.errors, from, days("1 03:00:00.75"), result)));
    EXPECT_EQ(shown(result), "2024-02-02 01:00:01.250");
    EXPECT_TRUE(db.succeeds(OCIDateTimeSubtract(db.env, db.errors, from, result, difference)));
    EXPECT_EQ(shown(difference), "-01 03:00:00.75");
    EXPECT_TRUE(db.fails(OCIDateTimeIntervalAdd(db.env, db.errors, from, months("0-1"), result), 1839))
        << "there is no 31 February";
    EXPECT_TRUE(db.succeeds(OCIDateTimeIntervalSub(db.env, db.errors, from, months("1-1"), result)));
    EXPECT_EQ(shown(result), "2022-12-31 22:00:00.500");
    EXPECT_TRUE(db.succeeds(OCIDateTimeSubtract(db.env, db.errors, from, result, in_months)));
    EXPECT_EQ(shown(in_months), "+01-01");
}

TEST_F(datetime_test, intervals)
{
    EXPECT_EQ(shown(days("-4 05:06:07.25"), 9, 9), "-000000004 05:06:07.250000000");
    EXPECT_EQ(shown(days("100 0:0:0")), "ORA-1873");
    EXPECT_EQ(shown(months("-10-8"), 3), "-010-08");
    auto *sum = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_DS);
    auto *year = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_YM);
    EXPECT_TRUE(db.succeeds(OCIIntervalAdd(db.env, db.errors, days("1 12:00:00"), days("0 13:00:00"), sum)));
    EXPECT_EQ(shown(sum), "+02 01:00:00.00");
    EXPECT_TRUE(
        db.succeeds(OCIIntervalSubtract(db.env, db.errors, days("0 00:00:00.5"), days("0 00:00:01"), sum)));
    EXPECT_EQ(shown(sum), "-00 00:00:00.50");
    EXPECT_TRUE(db.fails(OCIIntervalAdd(db.env, db.errors, days("1"), months("1-0"), sum), 932));
    OCINumber number;
    const sb4 three = 3;
    sb4 hundredths = 0, months_of = 0;
    OCINumberFromInt(db.errors, &three, sizeof three, OCI_NUMBER_SIGNED, &number);
    EXPECT_TRUE(db.succeeds(OCIIntervalMultiply(db.env, db.errors, months("1-5"), &number, year)));
    EXPECT_EQ(shown(year), "+04-03");
    EXPECT_TRUE(db.succeeds(OCIIntervalDivide(db.env, db.errors, days("1"), &number, sum)));
    EXPECT_EQ(shown(sum), "+00 08:00:00.00");
    EXPECT_TRUE(db.succeeds(OCIIntervalToNumber(db.env, db.errors, days("1 06:00:00"), &number)));
    OCINumberShift(db.errors, &number, 2, &number);
    OCINumberToInt(db.errors, &number, sizeof hundredths, OCI_NUMBER_SIGNED, &hundredths);
    EXPECT_EQ(hundredths, 125);
    EXPECT_TRUE(db.succeeds(OCIIntervalFromNumber(db.env, db.errors, year, &number)));
    EXPECT_TRUE(db.succeeds(OCIIntervalGetYearMonth(db.env, db.errors, &hundredths, &months_of, year)));
    EXPECT_EQ(hundredths, 125);
    EXPECT_TRUE(db.succeeds(OCIIntervalSetYearMonth(db.env, db.errors, -1, -2, year)));
    EXPECT_EQ(shown(year), "-01-02");
    EXPECT_TRUE(db.succeeds(OCIIntervalSetDaySecond(db.env, db.errors, 1, 2, 3, 4, 500000000, sum)));
    sb4 fields[5];
    EXPECT_TRUE(db.succeeds(OCIIntervalGetDaySecond(db.env, db.errors, &fields[0], &fields[1], &fields[2],
                                                    &fields[3], &fields[4], sum)));
    EXPECT_EQ(fields[0] * 1000 + fields[1] * 100 + fields[2] * 10 + fields[3], 1234);
    EXPECT_TRUE(db.succeeds(OCIIntervalFromTZ(db.env, db.errors, text("-08:30"), 6, sum)));
    EXPECT_EQ(shown(sum), "-00 08:30:00.00");
    auto *copy = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_DS);
    sword order = 1;
    ub4 faults = 1;
    EXPECT_TRUE(db.succeeds(OCIIntervalAssign(db.env, db.errors, sum, copy)));
    EXPECT_TRUE(db.succeeds(OCIIntervalCompare(db.env, db.errors, sum, copy, &order)));
    EXPECT_TRUE(db.succeeds(OCIIntervalCheck(db.env, db.errors, copy, &faults)));
    EXPECT_TRUE(order == 0 && faults == 0);
}

TEST_F(sqlite_oci_test, times_and_intervals_go_through_columns)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a TIMESTAMP, b TIMESTAMP WITH TIME ZONE, c INTERVAL YEAR TO MONTH, "
                     "d INTERVAL DAY TO SECOND(9))"),
              0);
    auto *plain = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP);
    auto *zoned = descriptor<OCIDateTime>(db, OCI_DTYPE_TIMESTAMP_TZ);
    auto *months = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_YM);
    auto *days = descriptor<OCIInterval>(db, OCI_DTYPE_INTERVAL_DS);
    OraText zone[] = "+02:00";
    OCIDateTimeConstruct(db.env, db.errors, plain, 2024, 2, 29, 12, 0, 0, 250000000, nullptr, 0);
    OCIDateTimeConstruct(db.env, db.errors, zoned, 2024, 2, 29, 1, 0, 0, 0, zone, 6);
    OCIIntervalSetYearMonth(db.env, db.errors, 1, 2, months);
    OCIIntervalSetDaySecond(db.env, db.errors, -1, 0, 0, 0, -5, days);
    const prepared insert(db, "INSERT INTO t VALUES (:a, :b, :c, :d)");
    insert.in("a", plain, SQLT_TIMESTAMP).in("b", zoned, SQLT_TIMESTAMP_TZ);
    insert.in("c", months, SQLT_INTERVAL_YM).in("d", days, SQLT_INTERVAL_DS);
    ASSERT_TRUE(db.succeeds(insert.execute(1)));
    EXPECT_EQ(db.ask("SELECT a || '' FROM t"), "2024-02-29 12:00:00.250000");
    EXPECT_EQ(db.ask("SELECT b || '' FROM t"), "2024-02-29 01:00:00.000000 +02:00");
    EXPECT_EQ(db.ask("SELECT c || d FROM t"), "+01-02-01 00:00:00.000000");

    OCIDateTimeSysTimeStamp(db.env, db.errors, plain);
    OCIDateTimeSysTimeStamp(db.env, db.errors, zoned);
    OCIIntervalSetYearMonth(db.env, db.errors, 0, 0, months);
    OCIIntervalSetDaySecond(db.env, db.errors, 0, 0, 0, 0, 0, days);
    const prepared query(db, "SELECT * FROM t");
    query.out(1, plain, SQLT_TIMESTAMP).out(2, zoned, SQLT_TIMESTAMP_TZ);
    query.out(3, months, SQLT_INTERVAL_YM).out(4, days, SQLT_INTERVAL_DS);
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    sb2 year = 0;
    ub1 month = 0, day = 0, hour = 0, minute = 0, second = 0;
    ub4 fraction = 0;
    sb1 zone_hour = 0, zone_minute = 0;
    sb4 fields[5] = {};
    OCIDateTimeGetTime(db.env, db.errors, plain, &hour, &minute, &second, &fraction);
    EXPECT_EQ(fraction, 250000000);
    OCIDateTimeGetDate(db.env, db.errors, zoned, &year, &month, &day);
    OCIDateTimeGetTimeZoneOffset(db.env, db.errors, zoned, &zone_hour, &zone_minute);
    EXPECT_EQ(day * 100 + zone_hour, 2902);
    OCIIntervalGetYearMonth(db.env, db.errors, &fields[0], &fields[1], months);
    EXPECT_EQ(fields[0] * 100 + fields[1], 102);
    OCIIntervalGetDaySecond(db.env, db.errors, &fields[0], &fields[1], &fields[2], &fields[3], &fields[4],
                            days);
    EXPECT_EQ(fields[0] * 10 + fields[4], -15);
    ASSERT_TRUE(db.succeeds(query.define(3, &days, sizeof days, SQLT_INTERVAL_DS)));
    EXPECT_TRUE(db.fails(query.execute(1), 932)) << "months are no days";
}

TEST_F(sqlite_oci_test, texts_show_no_stored_form)
{
    db.run_all({"CREATE TABLE shown (z TIMESTAMP(3) WITH TIME ZONE, m INTERVAL YEAR TO MONTH, "
                "d INTERVAL DAY TO SECOND)"});
    char z[50], m[20], d[30];
    const prepared insert(db, "INSERT INTO shown VALUES (TO_TIMESTAMP_TZ('2024-02-29 01:02:03.25 +02:00', "
                              "'YYYY-MM-DD HH24:MI:SS.FF TZH:TZM'), INTERVAL '1-2' YEAR TO MONTH, "
                              "INTERVAL '4 05:06:07' DAY TO SECOND) RETURNING z, m, d INTO :z, :m, :d");
    insert.in("z", z, SQLT_STR).in("m", m, SQLT_STR).in("d", d, SQLT_STR);
    z[0] = m[0] = d[0] = 0;
    ASSERT_TRUE(db.succeeds(insert.execute(1)));
    EXPECT_STREQ(m, "+01-02");
    EXPECT_STREQ(d, "+04 05:06:07.000000");
    EXPECT_EQ(db.ask("SELECT z FROM shown"), z) << "a fetch and RETURNING show the same";
    EXPECT_EQ(std::string(z).find('Z'), std::string::npos) << z;
    EXPECT_EQ(db.ask("SELECT m FROM shown"), m);
    EXPECT_EQ(db.ask("SELECT d FROM shown"), d);
}

} // namespace
} // namespace sqlite_oci_test
