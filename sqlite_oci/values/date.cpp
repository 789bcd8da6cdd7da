#include "values/date.h"

#include "text/text_scan.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace sqlite_oci
{
namespace
{

constexpr std::int32_t first_day = 366;               // 1 January 4712 BC
constexpr std::int32_t first_gregorian_day = 2299161; // 15 October 1582
constexpr std::int32_t last_day = 5373484;            // 31 December 9999

struct year_month_day {
    int year, month, day;
};

constexpr year_month_day last_julian{1582, 10, 4};
constexpr year_month_day first_gregorian{1582, 10, 15};

bool is_gregorian(int year, int month, int day)
{
    if (year != first_gregorian.year)
        return year > first_gregorian.year;
    if (month != first_gregorian.month)
        return month > first_gregorian.month;
    return day >= first_gregorian.day;
}

bool is_missing_day(int year, int month, int day)
{
    return year == last_julian.year && month == last_julian.month && day > last_julian.day &&
           day < first_gregorian.day;
}

// Years with a year 0, in which leap years are regular, and back.
int astronomical_year(int year)
{
    return year < 0 ? year + 1 : year;
}

int civil_year(std::int64_t year)
{
    return static_cast<int>(year <= 0 ? year - 1 : year);
}

int floor_div(int a, int b)
{
    return a / b - (a % b < 0);
}

// The day bits of a member that must lie in [low, high].
uword range_bits(int value, int low, int high, uword invalid, uword below)
{
    if (value < low)
        return invalid | below;
    return value > high ? invalid : 0;
}

std::int32_t second_of_day(const civil_time &time)
{
    return (time.hour * 60 + time.minute) * 60 + time.second;
}

std::int32_t day_number(const civil_time &time)
{
    return date_to_day_number(time.year, time.month, time.day);
}

// Exactly `count` digits at the front of *text.
bool take_digits(std::string_view *text, std::size_t count, int *value)
{
    if (text->size() < count)
        return false;
    *value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!is_digit((*text)[i]))
            return false;
        *value = *value * 10 + ((*text)[i] - '0');
    }
    text->remove_prefix(count);
    return true;
}

// "HH:MM[:SS[.fraction]]"
bool take_clock(std::string_view *text, civil_time *time)
{
    if (!take_digits(text, 2, &time->hour) || !take(text, ":") || !take_digits(text, 2, &time->minute))
        return false;
    if (!take(text, ":"))
        return true;
    if (!take_digits(text, 2, &time->second))
        return false;
    if (!take(text, "."))
        return true;
    std::size_t digits = 0;
    while (digits < text->size() && is_digit((*text)[digits]))
        ++digits;
    text->remove_prefix(digits);
    return digits > 0;
}

char *write_digits(char *out, int value, int count)
{
    for (int i = count - 1; i >= 0; --i, value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
    return out + count;
}

} // namespace

uword date_check(const civil_time &time)
{
    uword bits = 0;
    if (time.year == 0)
        bits |= OCI_DATE_YEAR_ZERO;
    bits |=
        range_bits(time.year, date_year_min, date_year_max, OCI_DATE_INVALID_YEAR, OCI_DATE_YEAR_BELOW_VALID);
    bits |= range_bits(time.month, 1, 12, OCI_DATE_INVALID_MONTH, OCI_DATE_MONTH_BELOW_VALID);
    int days = bits == 0 ? date_last_day(time.year, time.month) : 31;
    bits |= range_bits(time.day, 1, days, OCI_DATE_INVALID_DAY, OCI_DATE_DAY_BELOW_VALID);
    bits |= range_bits(time.hour, 0, 23, OCI_DATE_INVALID_HOUR, OCI_DATE_HOUR_BELOW_VALID);
    bits |= range_bits(time.minute, 0, 59, OCI_DATE_INVALID_MINUTE, OCI_DATE_MINUTE_BELOW_VALID);
    bits |= range_bits(time.second, 0, 59, OCI_DATE_INVALID_SECOND, OCI_DATE_SECOND_BELOW_VALID);
    if (is_missing_day(time.year, time.month, time.day))
        bits |= OCI_DATE_DAY_MISSING_FROM_1582;
    return bits;
}

bool date_is_leap_year(int year)
{
    int y = astronomical_year(year);
    if (y % 4 != 0)
        return false;
    return year < first_gregorian.year || y % 100 != 0 || y % 400 == 0;
}

int date_last_day(int year, int month)
{
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && date_is_leap_year(year) ? 29 : days[month - 1];
}

std::int32_t date_to_day_number(int year, int month, int day)
{
    // Years begin in March here, so that a leap day ends its year.
    int y = astronomical_year(year) - (month <= 2 ? 1 : 0);
    int month_from_march = (month + 9) % 12;
    int number = 365 * y + floor_div(y, 4) + (153 * month_from_march + 2) / 5 + day + 1721117;
    if (is_gregorian(year, month, day))
        number += 2 - floor_div(y, 100) + floor_div(y, 400);
    return number;
}

bool date_from_day_number(std::int32_t day_number, civil_time *time)
{
    if (day_number < first_day || day_number > last_day)
        return false;
    int rest = day_number - 1721118; // days since 1 March of the astronomical year 0, Julian
    int y = 0;
    if (day_number >= first_gregorian_day) {
        rest -= 2;
        int century = (4 * rest + 3) / 146097;
        rest -= 146097 * century / 4;
        y = 100 * century;
    }
    int year_of_cycle = floor_div(4 * rest + 3, 1461);
    rest -= floor_div(1461 * year_of_cycle, 4);
    int month_from_march = (5 * rest + 2) / 153;
    time->day = rest - (153 * month_from_march + 2) / 5 + 1;
    time->month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
    time->year = civil_year(y + year_of_cycle + (time->month <= 2 ? 1 : 0));
    return true;
}

int date_day_of_week(const civil_time &time)
{
    return (day_number(time) + 1) % 7;
}

bool date_add_months(const civil_time &time, std::int64_t months, civil_time *result)
{
    constexpr std::int64_t limit = 12LL * (date_year_max - date_year_min + 1);
    if (months < -limit || months > limit)
        return false;
    // Beyond the limits the division may take place below zero; it must round down.
    std::int64_t total = astronomical_year(time.year) * 12LL + time.month - 1 + months;
    std::int64_t year = total >= 0 ? total / 12 : -((11 - total) / 12);
    civil_time moved = time;
    moved.year = civil_year(year);
    moved.month = static_cast<int>(total - year * 12) + 1;
    if (moved.year < date_year_min || moved.year > date_year_max)
        return false;
    int days = date_last_day(moved.year, moved.month);
    if (time.day > days || time.day == date_last_day(time.year, time.month))
        moved.day = days;
    if (is_missing_day(moved.year, moved.month, moved.day))
        moved.day = first_gregorian.day;
    *result = moved;
    return true;
}

bool date_add_days(const civil_time &time, std::int64_t days, civil_time *result)
{
    constexpr std::int64_t limit = 10'000'000;
    if (days < -limit || days > limit)
        return false;
    civil_time moved = time;
    if (!date_from_day_number(static_cast<std::int32_t>(day_number(time) + days), &moved))
        return false;
    *result = moved;
    return true;
}

bool date_add_seconds(const civil_time &time, std::int64_t seconds, civil_time *result)
{
    std::int64_t days = seconds / seconds_per_day;
    std::int32_t second = second_of_day(time) + static_cast<std::int32_t>(seconds % seconds_per_day);
    if (second < 0) {
        second += seconds_per_day;
        --days;
    } else if (second >= seconds_per_day) {
        second -= seconds_per_day;
        ++days;
    }
    if (!date_add_days(time, days, result))
        return false;
    result->hour = second / 3600;
    result->minute = second / 60 % 60;
    result->second = second % 60;
    return true;
}

int date_compare(const civil_time &a, const civil_time &b)
{
    const int pairs[][2] = {{a.year, b.year}, {a.month, b.month},   {a.day, b.day},
                            {a.hour, b.hour}, {a.minute, b.minute}, {a.second, b.second}};
    for (const auto &pair : pairs)
        if (pair[0] != pair[1])
            return pair[0] < pair[1] ? -1 : 1;
    return 0;
}

civil_time date_now()
{
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    // A leap second has no place in a DATE.
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     std::min(local.tm_sec, 59)};
}

bool date_from_iso(std::string_view text, civil_time *time)
{
    text = trim(text);
    civil_time parsed{};
    bool negative = take(&text, "-");
    if (!take_digits(&text, 4, &parsed.year) || !take(&text, "-") || !take_digits(&text, 2, &parsed.month) ||
        !take(&text, "-") || !take_digits(&text, 2, &parsed.day))
        return false;
    if (negative)
        parsed.year = -parsed.year;
    if ((take(&text, "T") || take(&text, " ")) && !take_clock(&text, &parsed))
        return false;
    if (!text.empty() || !date_is_valid(parsed))
        return false;
    *time = parsed;
    return true;
}

std::size_t date_to_iso_chars(const civil_time &time, char *buffer)
{
    char *out = buffer;
    if (time.year < 0)
        *out++ = '-';
    out = write_digits(out, std::abs(time.year), 4);
    *out++ = '-';
    out = write_digits(out, time.month, 2);
    *out++ = '-';
    out = write_digits(out, time.day, 2);
    *out++ = ' ';
    out = write_digits(out, time.hour, 2);
    *out++ = ':';
    out = write_digits(out, time.minute, 2);
    *out++ = ':';
    out = write_digits(out, time.second, 2);
    return static_cast<std::size_t>(out - buffer);
}

std::string date_to_iso(const civil_time &time)
{
    char buffer[date_iso_max];
    return std::string(buffer, date_to_iso_chars(time, buffer));
}

void date_to_dat(const civil_time &time, ub1 dat[7])
{
    dat[0] = static_cast<ub1>(100 + time.year / 100);
    dat[1] = static_cast<ub1>(100 + time.year % 100);
    dat[2] = static_cast<ub1>(time.month);
    dat[3] = static_cast<ub1>(time.day);
    dat[4] = static_cast<ub1>(time.hour + 1);
    dat[5] = static_cast<ub1>(time.minute + 1);
    dat[6] = static_cast<ub1>(time.second + 1);
}

bool date_from_dat(const ub1 dat[7], civil_time *time)
{
    int century = dat[0] - 100;
    int year = dat[1] - 100;
    if (std::abs(year) > 99 || century * year < 0)
        return false;
    civil_time read{century * 100 + year, dat[2], dat[3], dat[4] - 1, dat[5] - 1, dat[6] - 1};
    if (!date_is_valid(read))
        return false;
    *time = read;
    return true;
}

void date_to_ocidate(const civil_time &time, OCIDate *date)
{
    *date = OCIDate{};
    date->OCIDateYYYY = static_cast<sb2>(time.year);
    date->OCIDateMM = static_cast<ub1>(time.month);
    date->OCIDateDD = static_cast<ub1>(time.day);
    date->OCIDateTime.OCITimeHH = static_cast<ub1>(time.hour);
    date->OCIDateTime.OCITimeMI = static_cast<ub1>(time.minute);
    date->OCIDateTime.OCITimeSS = static_cast<ub1>(time.second);
}

civil_time date_from_ocidate(const OCIDate &date)
{
    return {date.OCIDateYYYY,
            date.OCIDateMM,
            date.OCIDateDD,
            date.OCIDateTime.OCITimeHH,
            date.OCIDateTime.OCITimeMI,
            date.OCIDateTime.OCITimeSS};
}

} // namespace sqlite_oci
