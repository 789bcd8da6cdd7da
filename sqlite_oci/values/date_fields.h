// What a text states of a date, and the date that comes of it.
#pragma once

#include "values/date.h"
#include "values/date_model.h"

#include <optional>

namespace sqlite_oci
{

struct date_fields {
    // `today` gives what the text leaves out.
    explicit date_fields(const civil_time &today) : now(today) {}

    // Keeps the value of an element that was written with so many digits. Returns a date_error.
    int store(date_code code, int value, int digits);

    // Takes what an element that only a TIMESTAMP has stands for from the front of *text. A fraction may be
    // left out unless the format is exact. Returns a date_error.
    int take_of_timestamp(std::string_view *text, const date_element &element, bool exact);

    // Returns a date_error when the fields contradict each other or there is no such date.
    int resolve(civil_time *time) const;

    // The zone in minutes; none where no field states one.
    std::optional<int> resolve_zone() const;

    const civil_time &now;
    std::optional<int> year, month, day, year_day, weekday, julian, hour, minute, second, day_second;
    std::optional<bool> before_christ, afternoon;
    std::optional<int> nanosecond, zone, zone_hour, zone_minute;
    bool west = false; // of UTC: the zone's minutes count down

private:
    int take_fraction(std::string_view *text, int most, bool exact);
    int complete_year(date_code code, int value, int digits) const;
    int nearest_century(int value) const;
    int resolve_clock(civil_time *time) const;
    int signed_year() const;
    int resolve_julian(civil_time *time) const;
    int resolve_calendar(civil_time *time) const;
    int resolve_day_of_year(civil_time *time) const;
};

} // namespace sqlite_oci
