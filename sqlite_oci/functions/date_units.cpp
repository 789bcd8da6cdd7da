#include "functions/date_units.h"

#include "text/text_scan.h"

namespace sqlite_oci
{
namespace
{

struct unit_name {
    std::string_view name;
    date_unit unit;
};

using enum date_unit;

constexpr unit_name names[] = {
    {"CC", century},      {"SCC", century}, {"SYYYY", year}, {"YYYY", year},       {"YEAR", year},
    {"SYEAR", year},      {"YYY", year},    {"YY", year},    {"Y", year},          {"IYYY", iso_year},
    {"IYY", iso_year},    {"IY", iso_year}, {"I", iso_year}, {"Q", quarter},       {"MONTH", month},
    {"MON", month},       {"MM", month},    {"RM", month},   {"WW", week_of_year}, {"IW", iso_week},
    {"W", week_of_month}, {"DDD", day},     {"DD", day},     {"J", day},           {"DAY", week},
    {"DY", week},         {"D", week},      {"HH", hour},    {"HH12", hour},       {"HH24", hour},
    {"MI", minute},
};

void set_midnight(civil_time *time)
{
    time->hour = time->minute = time->second = 0;
}

bool back_to_weekday(int weekday, civil_time *time)
{
    return date_add_days(*time, -((date_day_of_week(*time) - weekday + 7) % 7), time);
}

bool to_iso_year(civil_time *time)
{
    // The ISO year is that of the week's Thursday; it starts with the Monday of the week of 4 January.
    civil_time thursday = *time;
    if (!back_to_weekday(1, &thursday) || !date_add_days(thursday, 3, &thursday))
        return false;
    *time = {thursday.year, 1, 4, 0, 0, 0};
    return back_to_weekday(1, time);
}

std::int64_t seconds_from(const civil_time &start, const civil_time &time)
{
    const auto days = std::int64_t{date_to_day_number(time.year, time.month, time.day)} -
                      date_to_day_number(start.year, start.month, start.day);
    return days * 86400 + (time.hour - start.hour) * 3600 + (time.minute - start.minute) * 60 + time.second -
           start.second;
}

// Seconds from the start of a unit at which it is rounded up.
std::int64_t half_of(date_unit unit)
{
    switch (unit) {
    case hour:
        return 30 * 60;
    case minute:
        return 30;
    case day:
        return 12 * 3600;
    default: // a week: noon of its fourth day
        return 3 * 86400 + 12 * 3600;
    }
}

} // namespace

bool date_unit_from_format(std::string_view format, date_unit *unit)
{
    for (const unit_name &one : names)
        if (equal_ignoring_case(one.name, format)) {
            *unit = one.unit;
            return true;
        }
    return false;
}

bool date_truncate_to(date_unit unit, civil_time *time)
{
    if (unit == minute || unit == hour) {
        time->second = 0;
        if (unit == hour)
            time->minute = 0;
        return true;
    }
    set_midnight(time);
    switch (unit) {
    case century:
        *time = {(time->year - 1) / 100 * 100 + 1, 1, 1, 0, 0, 0};
        return true;
    case year:
        *time = {time->year, 1, 1, 0, 0, 0};
        return true;
    case iso_year:
        return to_iso_year(time);
    case quarter:
        *time = {time->year, (time->month - 1) / 3 * 3 + 1, 1, 0, 0, 0};
        return true;
    case month:
        time->day = 1;
        return true;
    case week_of_year:
        return back_to_weekday(date_day_of_week({time->year, 1, 1, 0, 0, 0}), time);
    case week_of_month:
        return back_to_weekday(date_day_of_week({time->year, time->month, 1, 0, 0, 0}), time);
    case iso_week:
        return back_to_weekday(1, time);
    case week:
        return back_to_weekday(0, time);
    default:
        return true;
    }
}

// A year goes up on 1 July, a quarter on the 16th of its second month, a month on its 16th.
bool date_round_to(date_unit unit, civil_time *time)
{
    const civil_time given = *time;
    if (!date_truncate_to(unit, time))
        return false;
    switch (unit) {
    case century:
        return given.year - time->year < 50 || date_add_months(*time, 1200, time);
    case year:
    case iso_year:
        if (given.month < 7)
            return true;
        *time = {given.year + 1, 1, unit == iso_year ? 4 : 1, 0, 0, 0};
        return time->year <= date_year_max && (unit == year || back_to_weekday(1, time));
    case quarter: {
        const int middle = time->month + 1;
        const bool is_up = given.month > middle || (given.month == middle && given.day >= 16);
        return !is_up || date_add_months(*time, 3, time);
    }
    case month:
        return given.day < 16 || date_add_months(*time, 1, time);
    default:
        break;
    }
    if (seconds_from(*time, given) < half_of(unit))
        return true;
    if (unit == hour || unit == minute)
        return date_add_seconds(*time, unit == hour ? 3600 : 60, time);
    return date_add_days(*time, unit == day ? 1 : 7, time);
}

} // namespace sqlite_oci
