/* The offset of local time, compared with what the C library finds. */
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "oci_manager/zone.h"

namespace
{

constexpr const char *zones = "/usr/share/zoneinfo";

/* The C library's answer for the value of TZ that is set. */
long expected_offset(std::time_t now)
{
    std::tm fields{};
    localtime_r(&now, &fields);
    return fields.tm_gmtoff;
}

void compare(const std::string &zone, std::mt19937 &random)
{
    setenv("TZ", zone.c_str(), 1);
    tzset();
    std::vector<std::time_t> times;
    std::uniform_int_distribution<std::time_t> any(0, 4'200'000'000);
    times.reserve(100);
    for (int i = 0; i < 40; i++)
        times.push_back(any(random));
    /* Close to the changes of this decade. */
    for (std::time_t t = 1'577'836'800; t < 1'900'000'000; t += 6 * 86400)
        if (long before = expected_offset(t), after = expected_offset(t + 6 * 86400); before != after) {
            std::time_t low = t;
            std::time_t high = t + 6 * 86400;
            while (high - low > 1)
                (expected_offset((low + high) / 2) == before ? low : high) = (low + high) / 2;
            times.insert(times.end(), {low, high});
        }
    for (const std::time_t now : times) {
        bool whole_minutes = false;
        ASSERT_EQ(zone_offset(zone.c_str(), now, &whole_minutes), expected_offset(now))
            << zone << " at " << now;
        std::tm fields{};
        localtime_r(&now, &fields);
        const civil_time c = civil_time_of(now + fields.tm_gmtoff);
        ASSERT_EQ(c.year, fields.tm_year + 1900) << now;
        ASSERT_EQ(c.month, fields.tm_mon + 1) << now;
        ASSERT_EQ(c.day, fields.tm_mday) << now;
        ASSERT_EQ(c.hour * 3600 + c.minute * 60 + c.second,
                  fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec)
            << now;
    }
}

TEST(Zone, DescriptionsInTz)
{
    std::mt19937 random(1);
    for (const char *zone : {"UTC0",
                             "XYZ-9",
                             "ABC+3:30",
                             "EST5EDT,M3.2.0,M11.1.0",
                             "CET-1CEST,M3.5.0,M10.5.0/3",
                             "<+0330>-3:30<+0430>,J79/24,J263/24",
                             "NZST-12NZDT,M9.5.0,M4.1.0/3",
                             "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
                             "AAA0BBB-2,59,300/3:04:05",
                             "IST-1GMT0,M10.5.0,M3.5.0/1",
                             "WWW24:59:59",
                             "QQQ-1RRR,J60,J365",
                             "",
                             ":",
                             ":UTC0",

                             "ABC3.DEF",
                             "ABC3DEF,M3.2.0",
                             "EST5M3.2.0,M11.1.0",
                             "EST5<2,M3.2.0",

                             "Nowhere/None",
                             ":Nowhere/None",
                             "AB3",
                             "<AB>3",
                             "ABC",
                             "/nowhere",
                             "/dev/null",
                             "M"})
        compare(zone, random);
}

TEST(Zone, Files)
{
    if (!std::filesystem::exists(std::string(zones) + "/Europe/Berlin"))
        GTEST_SKIP() << "no zones are installed";
    std::mt19937 random(2);
    int compared = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(zones)) {
        const std::string name = entry.path().lexically_relative(zones).string();
        /* Clocks that count leap seconds show some seconds as the sixtieth of their minute: not here. */
        if (!entry.is_regular_file() || name.rfind("right/", 0) == 0)
            continue;
        compare(name, random);
        compared++;
    }
    EXPECT_GT(compared, 100);
    compare(std::string(zones) + "/Asia/Kathmandu", random);
    compare(":Australia/Lord_Howe", random);
}

TEST(Zone, Unset)
{
    unsetenv("TZ");
    tzset();
    const std::time_t now = std::time(nullptr);
    bool whole_minutes = false;
    EXPECT_EQ(zone_offset(nullptr, now, &whole_minutes), expected_offset(now));
    EXPECT_EQ(local_offset(now), expected_offset(now));
}

} // namespace
