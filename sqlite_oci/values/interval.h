// Intervals, and their one text form.
//
// In a database, an interval is the text of an ISO 8601 duration with all digits:
//   INTERVAL YEAR TO MONTH   P000000001Y02M                     a year and two months
//   INTERVAL DAY TO SECOND   P000000004DT05H06M07.250000000S    four days, five hours ...
// One below zero has a '-' in front. Texts of intervals from zero on sort by their length, and those below
// zero stand before them.
#pragma once

#include "values/number.h"
#include "values/timestamp.h"

namespace sqlite_oci
{

enum class interval_type : std::uint8_t { year_to_month, day_to_second };

// The ORA- numbers of interval errors.
enum interval_error : int {
    interval_ok = 0,
    interval_invalid = 1867,
    interval_lead_too_long = 1873,
    interval_types_differ = 932,
    interval_divided_by_zero = 1476,
    interval_overflow = 1426,
};

// `count` is in months or in seconds, and the nanoseconds have its sign.
struct interval {
    interval_type type = interval_type::year_to_month;
    std::int64_t count = 0;
    int nanosecond = 0;
};

// Months in a year or seconds in a day: what the leading field counts.
constexpr std::int64_t interval_lead_unit(interval_type type)
{
    return type == interval_type::year_to_month ? 12 : seconds_per_day;
}

// Digits of the leading field where none are asked for, and most digits that it has.
constexpr int interval_default_lead = 2;
constexpr int interval_lead_max = 9;

// Reads the stored form. False, with *value untouched, for any other text.
bool interval_from_text(std::string_view text, interval *value);
std::string interval_to_text(const interval &value);

// Reads a literal: "1-2", "-4 05:06:07.25", "10:20" without days. Returns 0 or an ORA- number.
int interval_from_literal(std::string_view text, interval_type type, interval *value);

// "+01-02", "+04 05:06:07.250000": the leading field with at least `lead` digits, and so many digits of the
// fraction. Returns ORA-01873 if the leading field has more digits.
int interval_to_literal(const interval &value, int lead, int fraction_digits, std::string *text);

// From fields, each of which may have a sign of its own. Returns 0 or an ORA- number.
int interval_from_years(std::int64_t years, std::int64_t months, interval *value);
int interval_from_days(std::int64_t days, std::int64_t hours, std::int64_t minutes, std::int64_t seconds,
                       std::int64_t nanoseconds, interval *value);

int interval_compare(const interval &a, const interval &b);
interval interval_negated(const interval &value);

// All of these return 0 or an ORA- number; intervals of both types do not mix. Years or days as a number; a
// fraction of the smallest unit is rounded.
int interval_add(const interval &a, const interval &b, interval *result);
int interval_multiply(const interval &value, const OCINumber &factor, interval *result);
int interval_divide(const interval &value, const OCINumber &divisor, interval *result);
int interval_from_number(const OCINumber &number, interval_type type, interval *result);
int interval_to_number(const interval &value, OCINumber *number);

// Between times, and from a time to another. Months keep the day of the month: where the other month has no
// such day, the result is ORA-01839.
int interval_between(const timestamp &from, const timestamp &to, interval_type type, interval *result);
int timestamp_add_interval(const timestamp &time, const interval &value, timestamp *result);

// What an ORA- number that these functions return means, in a sentence.
const char *interval_error_text(int code);

} // namespace sqlite_oci
