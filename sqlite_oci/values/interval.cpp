#include "values/interval.h"

#include "values/date_errors.h"

#include <cstdlib>

namespace sqlite_oci
{
namespace
{

constexpr std::int64_t lead_limit = 1'000'000'000;

// Gives count and nanoseconds one sign, and checks the range.
int normalise(interval_type type, std::int64_t count, std::int64_t nanoseconds, interval *value)
{
    count += nanoseconds / nanoseconds_per_second;
    nanoseconds %= nanoseconds_per_second;
    if (count > 0 && nanoseconds < 0) {
        --count;
        nanoseconds += nanoseconds_per_second;
    } else if (count < 0 && nanoseconds > 0) {
        ++count;
        nanoseconds -= nanoseconds_per_second;
    }
    if (std::abs(count) / interval_lead_unit(type) >= lead_limit)
        return interval_lead_too_long;
    *value = {type, count, static_cast<int>(nanoseconds)};
    return interval_ok;
}

// The whole interval in seconds with fraction, or in months.
bool to_units(const interval &value, OCINumber *units)
{
    OCINumber fraction;
    number_from_int64(value.count, units);
    number_from_int64(value.nanosecond, &fraction);
    return number_shift(fraction, -9, &fraction) != number_status::invalid &&
           number_add(*units, fraction, units) == number_status::ok;
}

int from_units(const OCINumber &units, interval_type type, interval *result)
{
    OCINumber rounded, whole, fraction;
    std::int64_t count = 0, nanoseconds = 0;
    const int digits = type == interval_type::year_to_month ? 0 : 9;
    if (number_round(units, digits, rounding::half_away, &rounded) != number_status::ok ||
        number_round(rounded, 0, rounding::toward_zero, &whole) != number_status::ok ||
        number_subtract(rounded, whole, &fraction) != number_status::ok ||
        number_shift(fraction, 9, &fraction) != number_status::ok || !number_to_int64(fraction, &nanoseconds))
        return interval_invalid;
    if (!number_to_int64(whole, &count))
        return interval_lead_too_long;
    return normalise(type, count, nanoseconds, result);
}

int error_of(number_status status)
{
    return status == number_status::divide_by_zero ? interval_divided_by_zero : interval_overflow;
}

// Works on years or days, and on months or seconds behind them.
using number_operation = number_status (*)(const OCINumber &, const OCINumber &, OCINumber *);

int scale(const interval &value, const OCINumber &by, number_operation operation, interval *result)
{
    OCINumber units;
    if (!to_units(value, &units))
        return interval_invalid;
    const number_status status = operation(units, by, &units);
    return status == number_status::ok || status == number_status::underflow
               ? from_units(units, value.type, result)
               : error_of(status);
}

OCINumber lead_unit(interval_type type)
{
    OCINumber unit;
    number_from_int64(interval_lead_unit(type), &unit);
    return unit;
}

// The month's number, for the months between two times.
std::int64_t month_index(const civil_time &time)
{
    return (time.year < 0 ? time.year + 1 : time.year) * 12LL + time.month;
}

} // namespace

int interval_from_years(std::int64_t years, std::int64_t months, interval *value)
{
    return normalise(interval_type::year_to_month, years * 12 + months, 0, value);
}

int interval_from_days(std::int64_t days, std::int64_t hours, std::int64_t minutes, std::int64_t seconds,
                       std::int64_t nanoseconds, interval *value)
{
    return normalise(interval_type::day_to_second, ((days * 24 + hours) * 60 + minutes) * 60 + seconds,
                     nanoseconds, value);
}

int interval_compare(const interval &a, const interval &b)
{
    if (a.count != b.count)
        return a.count < b.count ? -1 : 1;
    return (a.nanosecond > b.nanosecond) - (a.nanosecond < b.nanosecond);
}

interval interval_negated(const interval &value)
{
    return {value.type, -value.count, -value.nanosecond};
}

int interval_add(const interval &a, const interval &b, interval *result)
{
    if (a.type != b.type)
        return interval_types_differ;
    return normalise(a.type, a.count + b.count, std::int64_t{a.nanosecond} + b.nanosecond, result);
}

int interval_multiply(const interval &value, const OCINumber &factor, interval *result)
{
    return scale(value, factor, number_multiply, result);
}

int interval_divide(const interval &value, const OCINumber &divisor, interval *result)
{
    return scale(value, divisor, number_divide, result);
}

int interval_from_number(const OCINumber &number, interval_type type, interval *result)
{
    OCINumber units;
    const number_status status = number_multiply(number, lead_unit(type), &units);
    return status == number_status::ok ? from_units(units, type, result) : error_of(status);
}

int interval_to_number(const interval &value, OCINumber *number)
{
    OCINumber units;
    if (!to_units(value, &units))
        return interval_invalid;
    const number_status status = number_divide(units, lead_unit(value.type), number);
    return status == number_status::ok ? int{interval_ok} : error_of(status);
}

int interval_between(const timestamp &from, const timestamp &to, interval_type type, interval *result)
{
    timestamp start = from, end = to;
    if ((from.zone || to.zone) && (!timestamp_to_zone(from, 0, &start) || !timestamp_to_zone(to, 0, &end)))
        return date_year_out_of_range;
    const civil_time &a = start.local, &b = end.local;
    const std::int64_t days =
        date_to_day_number(b.year, b.month, b.day) - date_to_day_number(a.year, a.month, a.day);
    interval exact;
    const int error = interval_from_days(days, b.hour - a.hour, b.minute - a.minute, b.second - a.second,
                                         end.nanosecond - start.nanosecond, &exact);
    if (error || type == interval_type::day_to_second) {
        *result = exact;
        return error;
    }
    // Whole months, of 31 days where they are not whole, rounded.
    std::int64_t months = month_index(b) - month_index(a);
    const std::int64_t half_month = 31LL * seconds_per_day / 2;
    const std::int64_t rest =
        exact.count - std::int64_t{seconds_per_day} *
                          (date_to_day_number(b.year, b.month, 1) - date_to_day_number(a.year, a.month, 1));
    months += rest >= half_month ? 1 : rest <= -half_month ? -1 : 0;
    return normalise(type, months, 0, result);
}

int timestamp_add_interval(const timestamp &time, const interval &value, timestamp *result)
{
    if (value.type == interval_type::day_to_second)
        return timestamp_add_seconds(time, value.count, value.nanosecond, result)
                   ? int{date_ok}
                   : int{date_year_out_of_range};
    timestamp moved = time;
    moved.local.day = 1;
    if (!date_add_months(moved.local, value.count, &moved.local))
        return date_year_out_of_range;
    moved.local.day = time.local.day;
    if (const uword error = date_check(moved.local))
        return error & OCI_DATE_INVALID_DAY || error & OCI_DATE_DAY_MISSING_FROM_1582
                   ? int{date_no_such_day_in_month}
                   : int{date_year_out_of_range};
    *result = moved;
    return date_ok;
}

const char *interval_error_text(int code)
{
    switch (code) {
    case interval_invalid:
        return "the interval is not valid";
    case interval_lead_too_long:
        return "the leading field of the interval has more digits than it may have";
    case interval_types_differ:
        return "INTERVAL YEAR TO MONTH and INTERVAL DAY TO SECOND do not mix";
    case interval_divided_by_zero:
        return "the divisor is zero";
    case interval_overflow:
        return "the number is too large, or is no number";
    default:
        return date_error_text(code);
    }
}

} // namespace sqlite_oci
