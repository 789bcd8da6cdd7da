// Dates written and read with format models.
#include "values/date.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

using namespace sqlite_oci;

namespace
{

constexpr civil_time sample{2024, 2, 29, 15, 4, 9}; // a Thursday

std::string written(const civil_time &time, std::string_view format)
{
    std::string text;
    EXPECT_EQ(date_format(time, format, &text), 0) << format;
    return text;
}

} // namespace

TEST(DateFormat, Writes)
{
    const std::tuple<civil_time, const char *, const char *> cases[] = {
        {sample, "DD-MON-RR", "29-FEB-24"},
        {sample, "YYYY-MM-DD\"T\"HH24:MI:SS", "2024-02-29T15:04:09"},
        {sample, "YYYY YYY YY Y", "2024 024 24 4"},
        {sample, "RRRR RR Y,YYY SYYYY", "2024 24 2,024  2024"},
        {sample, "fmSYYYY", "2024"},
        {{-44, 3, 15, 0, 0, 0}, "SYYYY YYYY BC ad A.D.", "-0044 0044 BC bc B.C."},
        {{44, 3, 15, 0, 0, 0}, "YYYY BC FMYYYY", "0044 AD 44"},
        {sample, "MONTH|Month|month|", "FEBRUARY |February |february |"},
        {sample, "FMMONTH|Month|", "FEBRUARY|February|"},
        {sample, "DAY|Day|DY|Dy|dy", "THURSDAY |Thursday |THU|Thu|thu"},
        {sample, "FMDay, DD Month YYYY", "Thursday, 29 February 2024"},
        {{2024, 8, 1, 0, 0, 0}, "RM|rm|FMRM", "VIII|viii|VIII"},
        {{2024, 1, 1, 0, 0, 0}, "RM|FMRM", "I   |I"},
        {sample, "D DD DDD J", "5 29 060 2460370"},
        {sample, "Q WW W CC SCC", "1 09 5 21  21"},
        {{2000, 1, 1, 0, 0, 0}, "CC", "20"},
        {{2001, 1, 1, 0, 0, 0}, "CC", "21"},
        {{-1, 1, 1, 0, 0, 0}, "SCC CC", "-01 01"},
        {sample, "HH HH12 HH24 MI SS SSSSS", "03 03 15 04 09 54249"},
        {sample, "HH:MI AM|pm|P.M.|a.m.|Pm", "03:04 PM|pm|P.M.|p.m.|Pm"},
        {{2024, 1, 1, 0, 5, 0}, "HH:MI AM", "12:05 AM"},
        {{2024, 1, 1, 12, 5, 0}, "HH:MI AM", "12:05 PM"},
        {{2024, 1, 2, 3, 4, 5}, "FMDD/MM HH24:MI:SS", "2/1 3:4:5"},
        {{2024, 1, 2, 3, 4, 5}, "FMDD/FMMM/FMHH24", "2/01/3"},
        {{2024, 1, 1, 0, 0, 0}, "DDth FMDDTH", "01st 1ST"},
        {{2024, 1, 12, 0, 0, 0}, "DDTH", "12TH"},
        {{2024, 1, 22, 0, 0, 0}, "DDth", "22nd"},
        {{-4712, 1, 1, 0, 0, 0}, "J", "0000001"},
        {{9999, 12, 31, 0, 0, 0}, "J", "5373484"},
        {{1582, 12, 31, 0, 0, 0}, "DDD WW", "355 51"},
        {sample, "\"of \"YYYY.\"\"", "of 2024."},
        {sample, "dd;mm,yy/", "29;02,24/"},
        {sample, "", ""},
    };
    for (const auto &[time, format, expected] : cases)
        EXPECT_EQ(written(time, format), expected) << format;

    std::string text = "kept?";
    for (const char *format : {"YEAR", "X", "DDSP", "DL", "\"open", "YYYY-MM-DDTHH24", "ä", "H"})
        EXPECT_EQ(date_format(sample, format, &text), 1821) << format;
}

TEST(DateFormat, WritesWeeksAsTheCLibraryDoes)
{
    std::mt19937 random_source(53);
    for (int i = 0; i < 20'000; ++i) {
        civil_time time{};
        ASSERT_TRUE(
            date_from_day_number(std::uniform_int_distribution<int>(2305448, 5373484)(random_source), &time));
        std::tm broken{};
        broken.tm_year = time.year - 1900;
        broken.tm_mon = time.month - 1;
        broken.tm_mday = time.day;
        timegm(&broken);
        char expected[64];
        std::strftime(expected, sizeof expected, "%G %V %j %A %b", &broken);
        ASSERT_EQ(written(time, "IYYY IW DDD FMDay FMMon"), expected) << date_to_iso(time);
        std::strftime(expected, sizeof expected, "%g %I %p", &broken);
        ASSERT_EQ(written(time, "IY HH AM"), expected) << date_to_iso(time);
    }
}

TEST(DateFormat, Reads)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"29-FEB-24", "DD-MON-RR", "2024-02-29"},        {"50", "RRRR", "1950-06-01"},
        {"15-jan-99", "DD-MON-RR", "1999-01-15"},        {"0050", "RRRR", "0050-06-01"},
        {"15-jan-99", "DD-MON-YY", "2099-01-15"},        {"7", "Y", "2027-06-01"},
        {"15-jan-1999", "DD-MON-YY", "1999-01-15"},      {"999", "YYY", "2999-06-01"},
        {"15-january-49", "DD-MON-RR", "2049-01-15"},    {"2,024", "Y,YYY", "2024-06-01"},
        {"10:30", "HH24:MI", "2024-06-01 10:30:00"},     {"03", "DD", "2024-06-03"},
        {"2024/2/29", "YYYY-MM-DD", "2024-02-29"},       {"1999", "YYYY", "1999-06-01"},
        {"20240229", "YYYYMMDD", "2024-02-29"},          {"  2024 -  02-29  ", "YYYY-MM-DD", "2024-02-29"},
        {"20240229", "YYYY-MM-DD", "2024-02-29"},        {"240229", "YYMMDD", "2024-02-29"},
        {"29T10", "DD\"T\"HH24", "2024-06-29 10:00:00"}, {"29 10", "DD HH24:MI:SS", "2024-06-29 10:00:00"},
        {"29", "DD HH24:MI:SS", "2024-06-29"},           {"Sat 01", "DY DD", "2024-06-01"},
        {"29 February 24", "DD Month YY", "2024-02-29"}, {"15-03-44 B.C.", "DD-MM-YYYY BC", "-0044-03-15"},
        {"29 feb 2024", "DD MONTH YYYY", "2024-02-29"},  {"15-03-0044 ad", "DD-MM-YYYY B.C.", "0044-03-15"},
        {"29-FEB-2024", "DD-MM-YYYY", "2024-02-29"},     {"12:30 p.m.", "HH12:MI AM", "2024-06-01 12:30:00"},
        {"29 ii 2024", "DD RM YYYY", "2024-02-29"},      {"2460370", "J", "2024-02-29"},
        {"1-VIII-2024", "DD-RM-YYYY", "2024-08-01"},     {"1", "J", "-4712-01-01"},
        {"Saturday, 01", "Day, DD", "2024-06-01"},       {"1721058", "J", "-0001-12-31"},
        {"-0044-03-15", "SYYYY-MM-DD", "-0044-03-15"},   {"1721424", "J", "0001-01-01"},
        {"12:30 AM", "HH:MI AM", "2024-06-01 00:30:00"}, {"1:30 PM", "HH:MI PM", "2024-06-01 13:30:00"},
        {"54249", "SSSSS", "2024-06-01 15:04:09"},       {"2024 060", "YYYY DDD", "2024-02-29"},
        {"1582 278", "YYYY DDD", "1582-10-15"},          {"2024-02-29", "FXYYYY-MM-DD", "2024-02-29"},
        {"2024-2-9", "FXFMYYYY-MM-DD", "2024-02-09"},
    };
    const civil_time now{2024, 6, 17, 12, 0, 0};
    for (const auto &[text, format, expected] : cases) {
        civil_time time{};
        EXPECT_EQ(date_parse_format(text, format, now, &time), 0) << text << " as " << format;
        std::string shown = date_to_iso(time);
        if (shown.ends_with(" 00:00:00"))
            shown.erase(shown.find(' '));
        EXPECT_EQ(shown, expected) << text << " as " << format;
    }
    // Of two digits of a year, today's year tells the century.
    const std::tuple<const char *, int, int> centuries[] = {
        {"01-01-49", 1997, 2049}, {"01-01-51", 1997, 1951}, {"01-01-51", 2060, 2051}};
    for (const auto &[text, this_year, expected] : centuries) {
        civil_time time{};
        EXPECT_EQ(date_parse_format(text, "DD-MM-RR", {this_year, 1, 1, 0, 0, 0}, &time), 0);
        EXPECT_EQ(time.year, expected);
    }
}

TEST(DateFormat, SaysWhatIsWrong)
{
    const std::tuple<const char *, const char *, int> cases[] = {
        {"2024", "YYYY RR", 1812}, {"2024", "YYYY YYYY", 1812},
        {"1 1", "DD DD", 1810},    {"2024-01-01 x", "YYYY-MM-DD", 1830},
        {"1", "HH24 HH", 1813},    {"2024-01-011", "YYYY-MM-DD", 1830},
        {"1", "MM MON", 1816},     {"2024-01", "YYYY-MM-DD", 1840},
        {"1", "DY DAY", 1817},     {"4713 BC", "YYYY BC", 1841},
        {"1", "HH24 AM", 1818},    {"2024-13-01", "YYYY-MM-DD", 1843},
        {"1", "SYYYY BC", 1819},   {"2024-foo-01", "YYYY-MON-DD", 1843},
        {"1", "J DDD", 1811},      {"2024-01-32", "YYYY-MM-DD", 1847},
        {"1", "WW", 1820},         {"2024-01-00", "YYYY-MM-DD", 1847},
        {"1", "CC", 1820},         {"2023-02-29", "YYYY-MM-DD", 1839},
        {"1", "YYYY-XX", 1821},    {"1582-10-10", "YYYY-MM-DD", 1839},
        {"", "YYYY", 1840},        {"2023 366", "YYYY DDD", 1848},
        {" ", "HH24", 1840},       {"1582 356", "YYYY DDD", 1848},
        {"0000", "YYYY", 1841},    {"2024 XX", "YYYY AD", 1856},
        {"IIII", "RM", 1843},      {"2024-x-01", "YYYY-DD-MM", 1858},
        {"Xday", "DAY", 1846},     {"2024Z", "YYYY\"T\"", 1861},
        {"13", "HH", 1849},        {"2024/01", "FXYYYY-MM", 1861},
        {"0", "HH12", 1849},       {"2024-1", "FXYYYY-MM", 1862},
        {"24", "HH24", 1850},      {"2024-01-01", "FXYY-MM-DD", 1861},
        {"60", "MI", 1851},        {"2460370 2023", "J YYYY", 1831},
        {"60", "SS", 1852},        {"2460370 03", "J MM", 1833},
        {"86400", "SSSSS", 1853},  {"2460370 28", "J DD", 1834},
        {"0", "J", 1854},          {"Fri 2024-02-29", "DY YYYY-MM-DD", 1835},
        {"5373485", "J", 1854},    {"10 3600", "HH24 SSSSS", 1836},
        {"1721300", "J", 1854},    {"10 XM", "HH AM", 1855},
    };
    for (const auto &[text, format, error] : cases) {
        civil_time time = sample;
        EXPECT_EQ(date_parse_format(text, format, sample, &time), error) << text << " as " << format;
        EXPECT_EQ(time, sample);
        EXPECT_STRNE(date_error_text(error), date_error_text(9999)) << error;
    }
}

TEST(DateFormat, SurvivesAnyText)
{
    const std::string_view parts[] = {"YYYY",  "RR",    "MONTH", "mon", "DD", "J",  "DAY",
                                      "HH24",  "MI",    "AM",    "BC",  "FX", "FM", "\"x\"",
                                      "Y,YYY", "SSSSS", "RM",    "-",   " ",  "\"", "TH"};
    const std::string_view pieces[] = {"2024", "-",    " ", "12", "FEBRUARY", "may",
                                       "AM",   "b.c.", "x", "1",  "\xff",     ","};
    std::mt19937 random_source(3);
    int read = 0;
    for (int i = 0; i < 50'000; ++i) {
        std::string format;
        std::string text;
        for (std::size_t k = random_source() % 4 + 1; k > 0; --k) {
            format += parts[random_source() % std::size(parts)];
            text += pieces[random_source() % std::size(pieces)];
        }
        civil_time time{};
        std::string out;
        int error = date_parse_format(text, format, sample, &time);
        ASSERT_TRUE(error == 0 ? date_is_valid(time) : error > 1800 && error < 1870)
            << text << " as " << format;
        read += error == 0 ? 1 : 0;
        date_format(sample, format, &out);
    }
    EXPECT_GT(read, 100);
    std::string text;
    EXPECT_EQ(date_format({2024, 13, 1, 0, 0, 0}, "MONTH", &text), 1843);
}

TEST(DateFormat, ReadsWhatItWrites)
{
    std::mt19937 random_source(7);
    const char *formats[] = {"SYYYY-MM-DD HH24:MI:SS", "DD Month YYYY BC SSSSS",
                             "YYYYMMDDHH24MISS AD",    "DAY DD-MON-YYYY HH:MI:SS P.M. B.C.",
                             "J HH24-MI-SS",           "SYYYY DDD FMHH24:MI:SS",
                             "FXSYYYY.MM.DD.SSSSS"};
    for (int i = 0; i < 5'000; ++i) {
        civil_time time{};
        ASSERT_TRUE(
            date_from_day_number(std::uniform_int_distribution<int>(366, 5373484)(random_source), &time));
        ASSERT_TRUE(
            date_add_seconds(time, std::uniform_int_distribution<int>(0, 86399)(random_source), &time));
        for (const char *format : formats) {
            if (std::string_view(format).starts_with("FX") && time.year > 0)
                continue; // a blank in place of the sign
            civil_time back{};
            std::string text = written(time, format);
            ASSERT_EQ(date_parse_format(text, format, sample, &back), 0) << text << " as " << format;
            ASSERT_EQ(back, time) << text << " as " << format;
        }
    }
    EXPECT_EQ(date_to_default_text(sample), "29-FEB-24");
    civil_time back{};
    EXPECT_TRUE(date_from_default_text("29-FEB-24", &back));
    EXPECT_EQ(back, (civil_time{2024, 2, 29, 0, 0, 0}));
    EXPECT_FALSE(date_from_default_text("30-FEB-24", &back));
}
