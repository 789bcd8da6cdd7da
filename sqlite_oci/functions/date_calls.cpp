// Dates: texts "YYYY-MM-DD HH:MM:SS" for SQLite.
#include "functions/arguments.h"
#include "functions/date_units.h"
#include "functions/families.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

constexpr std::int64_t seconds_per_day = 86400;

std::int64_t second_of_day(const civil_time &time)
{
    return (time.hour * 60 + time.minute) * 60 + time.second;
}

std::int32_t day_number(const civil_time &time)
{
    return date_to_day_number(time.year, time.month, time.day);
}

void from_number(std::int64_t integer, OCINumber *number)
{
    number_from_int64(integer, number);
}

void sysdate(sqlite3_context *context, int, arguments)
{
    return_date(context, date_now());
}

// date + days, of which the fraction is rounded to seconds.
template <int direction> void add_days(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    OCINumber days, factor;
    if (any_null(2, given) || !date_argument(context, given[0], &time) ||
        !number_argument(context, given[1], &days))
        return;
    from_number(seconds_per_day * direction, &factor);
    std::int64_t seconds = 0;
    if (number_multiply(days, factor, &days) != number_status::ok ||
        number_round(days, 0, rounding::half_away, &days) != number_status::ok ||
        !number_to_int64(days, &seconds) || !date_add_seconds(time, seconds, &time))
        return return_error(context, 1841, date_error_text(1841));
    return_date(context, time);
}

void days_between(sqlite3_context *context, int, arguments given)
{
    civil_time a{}, b{};
    if (any_null(2, given) || !date_argument(context, given[0], &a) || !date_argument(context, given[1], &b))
        return;
    const std::int64_t days = day_number(a) - day_number(b);
    const std::int64_t seconds = second_of_day(a) - second_of_day(b);
    if (seconds == 0)
        return sqlite3_result_int64(context, days);
    OCINumber whole, divisor;
    from_number(days * seconds_per_day + seconds, &whole);
    from_number(seconds_per_day, &divisor);
    const number_status status = number_divide(whole, divisor, &whole);
    return_number(context, status, whole);
}

void add_months(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    std::int64_t months = 0;
    if (any_null(2, given) || !date_argument(context, given[0], &time) ||
        !integer_argument(context, given[1], &months))
        return;
    if (!date_add_months(time, months, &time))
        return return_error(context, 1841, date_error_text(1841));
    return_date(context, time);
}

void last_day(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    if (is_null(given[0]) || !date_argument(context, given[0], &time))
        return;
    time.day = date_last_day(time.year, time.month);
    return_date(context, time);
}

void next_day(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    if (any_null(2, given) || !date_argument(context, given[0], &time))
        return;
    const int wanted = date_day_from_name(text_of(given[1]));
    if (wanted < 0)
        return return_error(context, 1846, date_error_text(1846));
    const int days = (wanted - date_day_of_week(time) + 6) % 7 + 1;
    if (!date_add_days(time, days, &time))
        return return_error(context, 1841, date_error_text(1841));
    return_date(context, time);
}

// Whole months between equal days of the month or two last days; else with a fraction of 31 days.
void months_between(sqlite3_context *context, int, arguments given)
{
    civil_time a{}, b{};
    if (any_null(2, given) || !date_argument(context, given[0], &a) || !date_argument(context, given[1], &b))
        return;
    const auto years = [](const civil_time &time) {
        return std::int64_t{time.year < 0 ? time.year + 1 : time.year};
    };
    const std::int64_t months = (years(a) - years(b)) * 12 + a.month - b.month;
    const bool both_last = a.day == date_last_day(a.year, a.month) && b.day == date_last_day(b.year, b.month);
    if (a.day == b.day || both_last)
        return sqlite3_result_int64(context, months);
    OCINumber result, fraction, divisor;
    from_number((a.day - b.day) * seconds_per_day + second_of_day(a) - second_of_day(b), &fraction);
    from_number(31 * seconds_per_day, &divisor);
    number_divide(fraction, divisor, &fraction);
    from_number(months, &result);
    const number_status status = number_add(result, fraction, &result);
    return_number(context, status, result);
}

template <bool rounds> void to_unit(sqlite3_context *context, int count, arguments given)
{
    civil_time time{};
    if (any_null(count, given) || !date_argument(context, given[0], &time))
        return;
    date_unit unit{};
    if (!date_unit_from_format(count == 2 ? text_of(given[1]) : "DD", &unit))
        return return_error(context, 1898, "too many or unknown elements in the format of a date's unit");
    if (!(rounds ? date_round_to(unit, &time) : date_truncate_to(unit, &time)))
        return return_error(context, 1841, date_error_text(1841));
    return_date(context, time);
}

// --- Conversions

void date_of_text(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    if (!is_null(given[0]) && date_argument(context, given[0], &time))
        return_date(context, time);
}

void date_from_format(sqlite3_context *context, int, arguments given)
{
    if (any_null(2, given))
        return;
    civil_time time{};
    if (const int code = date_parse_format(text_of(given[0]), text_of(given[1]), date_now(), &time))
        return return_error(context, code, date_error_text(code));
    return_date(context, time);
}

void format_as(sqlite3_context *context, const timestamp &time, std::string_view format)
{
    std::string text;
    if (const int code = timestamp_format(time, format, timestamp_default_digits, &text))
        return return_error(context, code, date_error_text(code));
    return_text(context, text);
}

void format_date(sqlite3_context *context, int count, arguments given)
{
    timestamp time;
    if (!any_null(count, given) && timestamp_argument(context, given[0], &time))
        format_as(context, time, text_of(given[1]));
}

void date_text(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (!is_null(given[0]) && timestamp_argument(context, given[0], &time))
        format_as(context, time, settings_of(context).date_format);
}

void timestamp_text(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (is_null(given[0]) || !timestamp_argument(context, given[0], &time))
        return;
    const session_settings &settings = settings_of(context);
    format_as(context, time, time.zone ? settings.zoned_format : settings.timestamp_format);
}

// --- Points in time with a fraction of a second

void timestamp_of_text(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (is_null(given[0]))
        return;
    if (timestamp_from_text(text_of(given[0]), &time)) {
        time.zone.reset();
    } else {
        time = {};
        const int code = timestamp_parse_format(text_of(given[0]), settings_of(context).timestamp_format,
                                                date_now(), &time);
        if (code && !date_argument(context, given[0], &time.local))
            return;
    }
    return_text(context, timestamp_to_text(time, timestamp_type::plain));
}

void zoned_of_text(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (!is_null(given[0]) && timestamp_argument(context, given[0], &time))
        return_text(context, timestamp_to_text(timestamp_with_zone(time), timestamp_type::zoned));
}

void plain_of_zoned(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (is_null(given[0]) || !timestamp_argument(context, given[0], &time))
        return;
    time.zone.reset();
    return_text(context, timestamp_to_text(time, timestamp_type::plain));
}

void date_of_timestamp(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (!is_null(given[0]) && timestamp_argument(context, given[0], &time))
        return_date(context, time.local);
}

void utc(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (is_null(given[0]) || !timestamp_argument(context, given[0], &time) ||
        !timestamp_to_zone(time, 0, &time))
        return;
    time.zone.reset();
    return_text(context, timestamp_to_text(time, timestamp_type::plain));
}

template <timestamp_type type> void from_format(sqlite3_context *context, int, arguments given)
{
    timestamp time;
    if (any_null(2, given))
        return;
    if (const int code = timestamp_parse_format(text_of(given[0]), text_of(given[1]), date_now(), &time))
        return return_error(context, code, date_error_text(code));
    if (type == timestamp_type::zoned)
        time = timestamp_with_zone(time);
    return_text(context, timestamp_to_text(time, type));
}

void systimestamp(sqlite3_context *context, int, arguments)
{
    return_text(context, timestamp_to_text(timestamp_now(), timestamp_type::zoned));
}

void localtimestamp(sqlite3_context *context, int, arguments)
{
    return_text(context, timestamp_to_text(timestamp_now(), timestamp_type::plain));
}

void session_zone(sqlite3_context *context, int, arguments)
{
    return_text(context, zone_to_text(timestamp_local_zone(date_now())));
}

void compare_times(sqlite3_context *context, int, arguments given)
{
    timestamp a, b;
    if (!any_null(2, given) && timestamp_argument(context, given[0], &a) &&
        timestamp_argument(context, given[1], &b))
        sqlite3_result_int(context, timestamp_compare(a, b));
}

constexpr function_entry entries[] = {
    {"oci_sysdate", sysdate, 0, false},
    {"oci_add_days", add_days<1>, 2},
    {"oci_subtract_days", add_days<-1>, 2},
    {"oci_days_between", days_between, 2},
    {"oci_add_months", add_months, 2},
    {"oci_last_day", last_day, 1},
    {"oci_next_day", next_day, 2},
    {"oci_months_between", months_between, 2},
    {"oci_round_date", to_unit<true>, -1},
    {"oci_truncate_date", to_unit<false>, -1},
    {"oci_date", date_of_text, 1},
    {"oci_to_date", date_from_format, 2},
    {"oci_format_date", format_date, 2},
    {"oci_format_date", format_date, 3},
    {"oci_date_text", date_text, 1},
    {"oci_timestamp_text", timestamp_text, 1},
    {"oci_timestamp", timestamp_of_text, 1},
    {"oci_zoned_timestamp", zoned_of_text, 1},
    {"oci_plain_timestamp", plain_of_zoned, 1},
    {"oci_date_of_timestamp", date_of_timestamp, 1},
    {"oci_utc", utc, 1},
    {"oci_to_timestamp", from_format<timestamp_type::plain>, 2},
    {"oci_to_timestamp_tz", from_format<timestamp_type::zoned>, 2},
    {"oci_systimestamp", systimestamp, 0, false},
    {"oci_localtimestamp", localtimestamp, 0, false},
    {"oci_session_zone", session_zone, 0, false},
    {"oci_compare_times", compare_times, 2},
    // By the names in views of older databases.
    {"sysdate", sysdate, 0, false},
    {"add_months", add_months, 2},
    {"last_day", last_day, 1},
    {"to_date", date_of_text, 1},
    {"to_date", date_from_format, 2},
};

} // namespace

void add_date_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
