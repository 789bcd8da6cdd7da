#pragma once

#include "oci.h"

#include <cstdint>
#include <string>
#include <string_view>

// Dates from 1 January 4712 BC to 31 December 9999 in the calendar that a server uses: Julian up to 4 October
// 1582, Gregorian from the next day, 15 October 1582. Year -1 is 1 BC, and the year before 1 is -1: there is
// no year 0. The day after 31 December 1 BC is 1 January 1 AD.
namespace sqlite_oci
{

constexpr int date_year_min = -4712;
constexpr int date_year_max = 9999;
constexpr std::int32_t seconds_per_day = 86400;

// A point in time of no particular zone. Month and day count from 1.
struct civil_time {
    int year;
    int month, day, hour, minute, second;

    bool operator==(const civil_time &) const = default;
};

// The OCI_DATE_* bits that tell what is wrong with a date; 0 if it exists.
uword date_check(const civil_time &time);
inline bool date_is_valid(const civil_time &time)
{
    return date_check(time) == 0;
}

bool date_is_leap_year(int year);

// Number of the month's last day (31 also for October 1582, which lacks 5 to 14).
int date_last_day(int year, int month);

// Consecutive number of a day, the astronomers' Julian day number: 1 January 2000 is 2451545. Needs a valid
// date.
std::int32_t date_to_day_number(int year, int month, int day);

// Sets year, month and day of *time; false if the day lies outside the range of years.
bool date_from_day_number(std::int32_t day_number, civil_time *time);

// 0 Sunday to 6 Saturday.
int date_day_of_week(const civil_time &time);

// Moves by months: from the last day of a month to the last day of another, otherwise to the same day or,
// where that is missing, to the month's last (in October 1582 to the 15th). False if the result is out of
// range.
bool date_add_months(const civil_time &time, std::int64_t months, civil_time *result);
bool date_add_days(const civil_time &time, std::int64_t days, civil_time *result);
bool date_add_seconds(const civil_time &time, std::int64_t seconds, civil_time *result);

// -1, 0 or 1 as a is earlier than, equal to or later than b.
int date_compare(const civil_time &a, const civil_time &b);

// The local time of this machine.
civil_time date_now();

constexpr std::size_t date_iso_max = 20; // "-YYYY-MM-DD HH:MM:SS"

// Reads "YYYY-MM-DD", "YYYY-MM-DD HH:MM" and "YYYY-MM-DD HH:MM:SS", with a 'T' for the blank, a fraction of a
// second (dropped) or a '-' before the year; blanks around it are skipped. False, with *time untouched, if it
// is malformed or no such date exists.
bool date_from_iso(std::string_view text, civil_time *time);

// "YYYY-MM-DD HH:MM:SS" with a '-' in front for years BC. date_to_iso_chars returns the length (no
// terminator) and needs room for date_iso_max.
std::string date_to_iso(const civil_time &time);
std::size_t date_to_iso_chars(const civil_time &time, char *buffer);

// SQLT_DAT: century and year in excess of 100, month, day, then hour, minute and second each plus 1. Reading
// returns false, with *time untouched, if the bytes are no date.
void date_to_dat(const civil_time &time, ub1 dat[7]);
bool date_from_dat(const ub1 dat[7], civil_time *time);

// SQLT_ODT. Reading takes the members as they are: ask date_check.
void date_to_ocidate(const civil_time &time, OCIDate *date);
civil_time date_from_ocidate(const OCIDate &date);

// The format of conversions that name none.
inline constexpr std::string_view date_default_format = "DD-MON-RR";

// TO_CHAR(time, format). Returns 0 or the ORA- number of the error (1821 format not recognised, 1847 no such
// day, ...), with empty *text.
int date_format(const civil_time &time, std::string_view format, std::string *text);

// TO_DATE(text, format). Fields that the format lacks come from the first day of `now`'s month, at midnight.
// Returns 0 or the ORA- number of the error; *time is written on success only.
int date_parse_format(std::string_view text, std::string_view format, const civil_time &now,
                      civil_time *time);

// The default format both ways; the two-digit year is taken for one within fifty years of today.
std::string date_to_default_text(const civil_time &time);
bool date_from_default_text(std::string_view text, civil_time *time);

// 0 Sunday to 6 Saturday for an English name or its first three letters, in any case; -1 for anything else.
int date_day_from_name(std::string_view name);

// The ORA- number for what date_check found; 0 for no bits.
int date_error_of(uword bits);

// What an ORA- number that the functions above return means, in a sentence.
const char *date_error_text(int code);

} // namespace sqlite_oci
