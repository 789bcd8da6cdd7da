// Points in time with a fraction of a second and perhaps a time zone, and their one text form.
//
// In a database, values of the TIMESTAMP types are texts that sort by time:
//   TIMESTAMP                       2024-03-01 14:30:00.25              fields as they were given
//   TIMESTAMP WITH TIME ZONE        2024-03-01 12:30:00.25 Z +02:00     the time in UTC, then the zone
//   TIMESTAMP WITH LOCAL TIME ZONE  2024-03-01 12:30:00.25 Z            the time in UTC
// The fraction has no zeros at its end, and no point when it is zero; so equal values have equal texts, and
// the text of a DATE is that of a TIMESTAMP. Years BC have a '-' in front and do not sort.
#pragma once

#include "values/date.h"

#include <optional>

namespace sqlite_oci
{

constexpr int nanoseconds_per_second = 1'000'000'000;
constexpr int timestamp_default_digits = 6; // of the fraction, where a declaration names none

// The fields are those of a clock in the zone, which is given in minutes east of UTC.
struct timestamp {
    civil_time local{};
    int nanosecond = 0;
    std::optional<int> zone;
};

enum class timestamp_type : std::uint8_t { plain, zoned, local_zoned };

// Reads the forms above, a DATE's, and ISO 8601 with an offset ("2024-03-01T14:30:00+02:00"). A text that
// ends with Z is given the machine's own zone. False, with *time untouched, for any other text.
bool timestamp_from_text(std::string_view text, timestamp *time);

// The stored text of a value as one of the types; a missing zone is the machine's own. Needs a valid time.
std::string timestamp_to_text(const timestamp &time, timestamp_type type);

// As people read it, with the zone's fields: "2024-03-01 14:30:00.25 +02:00".
std::string timestamp_to_shown_text(const timestamp &time);

// 0 or the ORA- number that tells what is wrong with the fields.
int timestamp_check(const timestamp &time);

// Rounds the fraction, half up, to so many digits. False if the result lies outside the range of years.
bool timestamp_round(timestamp *time, int digits);

// The same point in time with the clock of another zone. A time without zone gets the machine's own first.
// False if the result lies outside the range of years.
bool timestamp_to_zone(const timestamp &time, int zone, timestamp *result);

// The machine's own zone at a time that has none, and the time with that zone.
int timestamp_local_zone(const civil_time &local);
timestamp timestamp_with_zone(const timestamp &time);

// With the machine's own clock and zone.
bool timestamp_to_local(const timestamp &time, timestamp *result);
timestamp timestamp_now();

// -1, 0 or 1. Where one has a zone, the points in time are compared, else the fields.
int timestamp_compare(const timestamp &a, const timestamp &b);

// Moves by seconds and nanoseconds of the same sign. False if the result lies outside the range of years.
bool timestamp_add_seconds(const timestamp &time, std::int64_t seconds, int nanoseconds, timestamp *result);

// TO_CHAR with a format, whose FF without a number has so many digits, and TO_TIMESTAMP. As date_format and
// date_parse_format.
int timestamp_format(const timestamp &time, std::string_view format, int fraction_digits, std::string *text);
int timestamp_parse_format(std::string_view text, std::string_view format, const civil_time &now,
                           timestamp *time);

// The formats of conversions that name none.
inline constexpr std::string_view timestamp_default_format = "DD-MON-RR HH.MI.SSXFF AM";
inline constexpr std::string_view timestamp_zoned_default_format = "DD-MON-RR HH.MI.SSXFF AM TZR";

// "+02:00", "-5:30", "Z", "UTC", "GMT". False, with *minutes untouched, for any other text: names of regions
// are not known here.
bool zone_from_text(std::string_view text, int *minutes);
std::string zone_to_text(int minutes);

// Most east and west that a zone can be, in minutes.
constexpr int zone_max = 14 * 60;
constexpr int zone_min = -(12 * 60 + 59);

} // namespace sqlite_oci
