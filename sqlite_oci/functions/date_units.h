// TRUNC and ROUND of dates.
#pragma once

#include "values/date.h"

#include <string_view>

namespace sqlite_oci
{

enum class date_unit : std::uint8_t {
    century,
    year,
    iso_year,
    quarter,
    month,
    week_of_year,  // the weekday of the year's first day
    iso_week,      // Monday
    week_of_month, // the weekday of the month's first day
    day,
    week, // Sunday
    hour,
    minute,
};

// The unit of a format model such as "YYYY" or "HH24", in any case. False if it is none.
bool date_unit_from_format(std::string_view format, date_unit *unit);

// To the start of the unit, or to the nearer start. False if the result lies outside the range of years.
bool date_truncate_to(date_unit unit, civil_time *time);
bool date_round_to(date_unit unit, civil_time *time);

} // namespace sqlite_oci
