// Intervals, and times with them.
#include "functions/arguments.h"
#include "functions/families.h"
#include "text/text_scan.h"
#include "values/interval.h"

namespace sqlite_oci
{
namespace
{

void return_interval(sqlite3_context *context, int code, const interval &value)
{
    if (code)
        return return_error(context, code, interval_error_text(code));
    return_text(context, interval_to_text(value));
}

bool interval_argument(sqlite3_context *context, sqlite3_value *argument, interval *value)
{
    const bool is_good = interval_from_text(text_of(argument), value);
    if (!is_good)
        return_error(context, 1867, "not an interval");
    return is_good;
}

template <interval_type type> void interval_of_text(sqlite3_context *context, int, arguments given)
{
    interval value;
    if (is_null(given[0]))
        return;
    const std::string_view text = text_of(given[0]);
    if (interval_from_text(text, &value) && value.type == type)
        return return_text(context, text);
    const int code = interval_from_literal(text, type, &value);
    return_interval(context, code, value);
}

template <interval_type type> void interval_of_number(sqlite3_context *context, int, arguments given)
{
    constexpr struct {
        std::string_view unit;
        int of_a_day; // how many make a day or a year
    } units[] = {{"DAY", 1}, {"HOUR", 24}, {"MINUTE", 1440}, {"SECOND", 86400}, {"YEAR", 1}, {"MONTH", 12}};
    OCINumber number, divisor;
    if (any_null(2, given) || !number_argument(context, given[0], &number))
        return;
    const std::string_view name = trim(text_of(given[1]));
    for (const auto &unit : units) {
        const bool is_year = unit.unit == "YEAR" || unit.unit == "MONTH";
        if (!equal_ignoring_case(unit.unit, name) || is_year != (type == interval_type::year_to_month))
            continue;
        interval value;
        number_from_int64(unit.of_a_day, &divisor);
        number_divide(number, divisor, &number);
        const int code = interval_from_number(number, type, &value);
        return return_interval(context, code, value);
    }
    return_error(context, 1867, "not a unit of intervals");
}

void interval_text(sqlite3_context *context, int, arguments given)
{
    interval value;
    std::string text;
    if (is_null(given[0]) || !interval_argument(context, given[0], &value))
        return;
    int code = interval_to_literal(value, interval_default_lead, timestamp_default_digits, &text);
    if (code) // more digits than usual
        code = interval_to_literal(value, interval_lead_max, timestamp_default_digits, &text);
    if (code)
        return return_error(context, code, interval_error_text(code));
    return_text(context, text);
}

template <int direction> void add_interval(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    interval value;
    if (any_null(2, given) || !timestamp_argument(context, given[0], &time) ||
        !interval_argument(context, given[1], &value))
        return;
    if (const int code = timestamp_add_interval(time, direction < 0 ? interval_negated(value) : value, &time))
        return return_error(context, code, interval_error_text(code));
    return_text(context, timestamp_to_text(time, time.zone ? timestamp_type::zoned : timestamp_type::plain));
}

template <int direction> void add_intervals(sqlite3_context *context, int, arguments given)
{
    interval a, b;
    if (any_null(2, given) || !interval_argument(context, given[0], &a) ||
        !interval_argument(context, given[1], &b))
        return;
    const int code = interval_add(a, direction < 0 ? interval_negated(b) : b, &a);
    return_interval(context, code, a);
}

template <int (*apply)(const interval &, const OCINumber &, interval *)>
void scale_interval(sqlite3_context *context, int, arguments given)
{
    interval value;
    OCINumber factor;
    if (any_null(2, given) || !interval_argument(context, given[0], &value) ||
        !number_argument(context, given[1], &factor))
        return;
    const int code = apply(value, factor, &value);
    return_interval(context, code, value);
}

void negate_interval(sqlite3_context *context, int, arguments given)
{
    interval value;
    if (!is_null(given[0]) && interval_argument(context, given[0], &value))
        return_interval(context, 0, interval_negated(value));
}

void interval_between_times(sqlite3_context *context, int, arguments given)
{
    timestamp a, b;
    interval value;
    if (any_null(2, given) || !timestamp_argument(context, given[0], &a) ||
        !timestamp_argument(context, given[1], &b))
        return;
    const int code = interval_between(b, a, interval_type::day_to_second, &value);
    return_interval(context, code, value);
}

void compare_intervals(sqlite3_context *context, int, arguments given)
{
    interval a, b;
    if (!any_null(2, given) && interval_argument(context, given[0], &a) &&
        interval_argument(context, given[1], &b))
        sqlite3_result_int(context, interval_compare(a, b));
}

// A number that sorts as the interval does.
void interval_key(sqlite3_context *context, int, arguments given)
{
    interval value;
    OCINumber number;
    if (is_null(given[0]) || !interval_argument(context, given[0], &value))
        return;
    if (const int code = interval_to_number(value, &number))
        return return_error(context, code, interval_error_text(code));
    ub1 bytes[number_num_max];
    const std::size_t length = number_to_num(number, bytes);
    sqlite3_result_blob64(context, bytes, length, SQLITE_TRANSIENT);
}

// What EXTRACT takes out of an interval, which counts months or seconds.
struct interval_field {
    std::string_view name;
    bool of_year;
    std::int64_t units;
    std::int64_t wraps_at; // 0: never
};
constexpr interval_field interval_fields[] = {
    {"YEAR", true, 12, 0},     {"MONTH", true, 1, 12},    {"DAY", false, 86400, 0},
    {"HOUR", false, 3600, 24}, {"MINUTE", false, 60, 60}, {"SECOND", false, 1, 60},
};

// EXTRACT of a time or an interval.
void extract(sqlite3_context *context, int, arguments given)
{
    if (is_null(given[0]))
        return;
    const std::string_view field = text_of(given[1]);
    timestamp time;
    interval value;
    std::int64_t result = 0;
    int nanosecond = 0;
    bool is_known = true;
    if (interval_from_text(text_of(given[0]), &value)) {
        const bool is_year = value.type == interval_type::year_to_month;
        const std::int64_t count = value.count;
        nanosecond = value.nanosecond;
        is_known = false;
        for (const interval_field &f : interval_fields) {
            if (f.name != field || f.of_year != is_year)
                continue;
            is_known = true;
            result = f.wraps_at ? count / f.units % f.wraps_at : count / f.units;
        }
    } else {
        if (!timestamp_argument(context, given[0], &time))
            return;
        nanosecond = time.nanosecond;
        const bool is_zone = field.starts_with("TIMEZONE_");
        if (time.zone && !is_zone) // the fields of UTC
            timestamp_to_zone(timestamp(time), 0, &time);
        const civil_time &local = time.local;
        if (field == "YEAR")
            result = local.year;
        else if (field == "MONTH")
            result = local.month;
        else if (field == "DAY")
            result = local.day;
        else if (field == "HOUR")
            result = local.hour;
        else if (field == "MINUTE")
            result = local.minute;
        else if (field == "SECOND")
            result = local.second;
        else if (is_zone && time.zone)
            result = field == "TIMEZONE_HOUR" ? *time.zone / 60 : *time.zone % 60;
        else
            is_known = false;
    }
    if (!is_known)
        return return_error(context, 30076, "the value has no such field for EXTRACT");
    if (field != "SECOND" || nanosecond == 0)
        return sqlite3_result_int64(context, result);
    OCINumber number, fraction;
    number_from_int64(result, &number);
    number_from_int64(nanosecond, &fraction);
    number_shift(fraction, -9, &fraction);
    const number_status status = number_add(number, fraction, &number);
    return_number(context, status, number);
}

constexpr function_entry entries[] = {
    {"oci_year_interval", interval_of_text<interval_type::year_to_month>, 1},
    {"oci_day_interval", interval_of_text<interval_type::day_to_second>, 1},
    {"oci_number_to_year_interval", interval_of_number<interval_type::year_to_month>, 2},
    {"oci_number_to_day_interval", interval_of_number<interval_type::day_to_second>, 2},
    {"oci_interval_text", interval_text, 1},
    {"oci_add_interval", add_interval<1>, 2},
    {"oci_subtract_interval", add_interval<-1>, 2},
    {"oci_add_intervals", add_intervals<1>, 2},
    {"oci_subtract_intervals", add_intervals<-1>, 2},
    {"oci_multiply_interval", scale_interval<interval_multiply>, 2},
    {"oci_divide_interval", scale_interval<interval_divide>, 2},
    {"oci_negate_interval", negate_interval, 1},
    {"oci_interval_between", interval_between_times, 2},
    {"oci_compare_intervals", compare_intervals, 2},
    {"oci_interval_key", interval_key, 1},
    {"oci_extract", extract, 2},
};

} // namespace

void add_interval_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
