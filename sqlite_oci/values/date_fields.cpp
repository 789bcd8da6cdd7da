#include "values/date_fields.h"

#include "text/text_scan.h"
#include "values/date_errors.h"
#include "values/timestamp.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

constexpr int julian_max = 5373484; // 31 December 9999

int in_range(int value, int low, int high, int error)
{
    return value >= low && value <= high ? int{date_ok} : error;
}

std::optional<int> take_two_digits(std::string_view *text)
{
    std::optional<int> value;
    for (int i = 0; i < 2 && !text->empty() && is_digit(text->front()); ++i) {
        value = value.value_or(0) * 10 + (text->front() - '0');
        text->remove_prefix(1);
    }
    return value;
}

} // namespace

int date_fields::resolve(civil_time *time) const
{
    int error = resolve_clock(time);
    if (error == date_ok)
        error = julian ? resolve_julian(time) : resolve_calendar(time);
    if (error == date_ok && weekday && *weekday != date_day_of_week(*time))
        error = date_weekday_conflict;
    return error;
}

int date_fields::take_of_timestamp(std::string_view *text, const date_element &element, bool exact)
{
    const bool is_fraction = element.code == date_code::fraction || element.code == date_code::radix;
    if (!exact && !is_fraction)
        skip_blanks(text);
    if (text->empty() && (exact || !is_fraction) && element.code != date_code::zone_daylight)
        return date_input_too_short;
    switch (element.code) {
    case date_code::radix:
        if (!take(text, ".") && !take(text, ",") && exact)
            return date_literal_mismatch;
        return date_ok;
    case date_code::fraction:
        return take_fraction(text, element.width ? element.width : 9, exact);
    case date_code::zone_hour:
        west = text->front() == '-';
        if (west || text->front() == '+')
            text->remove_prefix(1);
        zone_hour = take_two_digits(text);
        if (zone_hour && west)
            zone_hour = -*zone_hour;
        return zone_hour ? int{date_ok} : int{date_digit_expected};
    case date_code::zone_minute:
        zone_minute = take_two_digits(text);
        return !zone_minute ? date_digit_expected
                            : in_range(*zone_minute, 0, 59, date_zone_minute_out_of_range);
    case date_code::zone_region: {
        const std::size_t length = std::min(text->find(' '), text->size());
        int minutes = 0;
        if (!zone_from_text(text->substr(0, length), &minutes))
            return date_region_unknown;
        zone = minutes;
        text->remove_prefix(length);
        return date_ok;
    }
    default:
        return date_ok;
    }
}

int date_fields::take_fraction(std::string_view *text, int most, bool exact)
{
    int value = 0, digits = 0;
    for (; digits < most && !text->empty() && is_digit(text->front()); ++digits) {
        value = value * 10 + (text->front() - '0');
        text->remove_prefix(1);
    }
    if (digits == 0 && exact)
        return date_digit_expected;
    for (; digits < 9; ++digits)
        value *= 10;
    nanosecond = value;
    return date_ok;
}

std::optional<int> date_fields::resolve_zone() const
{
    if (zone || (!zone_hour && !zone_minute))
        return zone;
    const int hours = zone_hour.value_or(0), minutes = zone_minute.value_or(0);
    return hours * 60 + (west ? -minutes : minutes);
}

int date_fields::store(date_code code, int value, int digits)
{
    switch (code) {
    case date_code::month:
        month = value;
        return in_range(value, 1, 12, date_no_month);
    case date_code::day_of_month:
        day = value;
        return in_range(value, 1, 31, date_day_out_of_range);
    case date_code::day_of_year:
        year_day = value;
        return in_range(value, 1, 366, date_day_of_year_out_of_range);
    case date_code::day_of_week:
        weekday = value - 1;
        return in_range(value, 1, 7, date_no_weekday);
    case date_code::julian_day:
        julian = value;
        return in_range(value, 1, julian_max, date_julian_out_of_range);
    case date_code::hour12:
        hour = value % 12;
        return in_range(value, 1, 12, date_hour12_out_of_range);
    case date_code::hour24:
        hour = value;
        return in_range(value, 0, 23, date_hour24_out_of_range);
    case date_code::minute:
        minute = value;
        return in_range(value, 0, 59, date_minute_out_of_range);
    case date_code::second:
        second = value;
        return in_range(value, 0, 59, date_second_out_of_range);
    case date_code::second_of_day:
        day_second = value;
        return in_range(value, 0, 86399, date_second_of_day_out_of_range);
    default:
        year = complete_year(code, value, digits);
        return in_range(*year, date_year_min, date_year_max, date_year_out_of_range);
    }
}

// Gives a year with few digits its century.
int date_fields::complete_year(date_code code, int value, int digits) const
{
    int current = now.year;
    switch (code) {
    case date_code::year1:
        return current - current % 10 + value;
    case date_code::year2:
        return digits > 2 ? value : current - current % 100 + value;
    case date_code::year3:
        return current - current % 1000 + value;
    case date_code::round_year2:
    case date_code::round_year4:
        return digits > 2 ? value : nearest_century(value);
    default:
        return value;
    }
}

// The two halves of a century belong together: 00 to 49 and 50 to 99 of the centuries around now.
int date_fields::nearest_century(int value) const
{
    int century = now.year - now.year % 100;
    bool now_late = now.year % 100 >= 50;
    bool value_late = value >= 50;
    if (now_late && !value_late)
        century += 100;
    else if (!now_late && value_late)
        century -= 100;
    return century + value;
}

int date_fields::resolve_clock(civil_time *time) const
{
    int hours = hour.value_or(0) + (afternoon.value_or(false) ? 12 : 0);
    *time = {0, 0, 0, hours, minute.value_or(0), second.value_or(0)};
    if (!day_second)
        return date_ok;
    civil_time clock{0, 0, 0, *day_second / 3600, *day_second / 60 % 60, *day_second % 60};
    if (hour && clock.hour != time->hour)
        return date_hour_conflict;
    if (minute && clock.minute != time->minute)
        return date_minute_conflict;
    if (second && clock.second != time->second)
        return date_second_conflict;
    *time = clock;
    return date_ok;
}

int date_fields::signed_year() const
{
    int value = year.value_or(now.year);
    return before_christ.value_or(false) ? -value : value;
}

int date_fields::resolve_julian(civil_time *time) const
{
    const int first_ad = date_to_day_number(1, 1, 1);
    int number = *julian;
    if (number < first_ad) {
        number += julian_shift_bc;
        if (number >= first_ad)
            return date_julian_out_of_range;
    }
    if (!date_from_day_number(number, time))
        return date_julian_out_of_range;
    if (year && signed_year() != time->year)
        return date_year_conflict;
    if (month && *month != time->month)
        return date_month_conflict;
    if (day && *day != time->day)
        return date_day_conflict;
    return date_ok;
}

int date_fields::resolve_calendar(civil_time *time) const
{
    time->year = signed_year();
    if (time->year == 0 || time->year < date_year_min)
        return date_year_out_of_range;
    if (year_day)
        return resolve_day_of_year(time);
    time->month = month.value_or(now.month);
    time->day = day.value_or(1);
    return date_is_valid(*time) ? int{date_ok} : int{date_no_such_day_in_month};
}

int date_fields::resolve_day_of_year(civil_time *time) const
{
    int year_of_day = time->year;
    if (!date_from_day_number(date_to_day_number(year_of_day, 1, 1) + *year_day - 1, time) ||
        time->year != year_of_day)
        return date_day_of_year_out_of_range;
    if (month && *month != time->month)
        return date_month_conflict;
    if (day && *day != time->day)
        return date_day_conflict;
    return date_ok;
}

} // namespace sqlite_oci
