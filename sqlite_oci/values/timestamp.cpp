#include "values/timestamp.h"

#include "text/text_scan.h"
#include "values/date_errors.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace sqlite_oci
{
namespace
{

constexpr int seconds_per_minute = 60;
constexpr std::int32_t unix_epoch_day = 2440588; // 1 January 1970

std::int64_t unix_seconds(const civil_time &utc)
{
    const std::int64_t days = date_to_day_number(utc.year, utc.month, utc.day) - unix_epoch_day;
    return ((days * 24 + utc.hour) * 60 + utc.minute) * 60 + utc.second;
}

int zone_at(std::time_t second)
{
    std::tm local{};
    localtime_r(&second, &local);
    return static_cast<int>(local.tm_gmtoff / seconds_per_minute);
}

// The fields of UTC; false where they lie outside the range of years.
bool to_utc(const timestamp &time, civil_time *utc)
{
    const int zone = time.zone.value_or(0);
    return date_add_seconds(time.local, std::int64_t{-seconds_per_minute} * zone, utc);
}

void append_fraction(std::string *text, int nanosecond)
{
    if (nanosecond == 0)
        return;
    std::string digits = std::to_string(nanoseconds_per_second + nanosecond); // a 1, then nine digits
    digits.front() = '.';
    digits.erase(digits.find_last_not_of('0') + 1);
    *text += digits;
}

// The fraction at the end of "HH:MM:SS.fraction", of which digits behind the ninth are dropped.
int fraction_of(std::string_view text)
{
    const std::size_t point = text.find('.');
    if (point == text.npos)
        return 0;
    int nanosecond = 0;
    for (std::size_t i = 1; i <= 9; ++i) {
        const bool has_digit = point + i < text.size() && is_digit(text[point + i]);
        nanosecond = nanosecond * 10 + (has_digit ? text[point + i] - '0' : 0);
    }
    return nanosecond;
}

// Where the date and time of day end: before a blank, a sign or a letter behind them.
std::size_t end_of_clock(std::string_view text)
{
    std::size_t at = text.find(':');
    while (at < text.size() && (is_digit(text[at]) || text[at] == ':' || text[at] == '.'))
        ++at;
    return std::min(at, text.size());
}

} // namespace

bool timestamp_from_text(std::string_view text, timestamp *time)
{
    text = trim(text);
    std::string_view rest = text.substr(end_of_clock(text));
    text.remove_suffix(rest.size());
    timestamp parsed;
    if (!date_from_iso(text, &parsed.local))
        return false;
    parsed.nanosecond = fraction_of(text);
    rest = trim(rest);
    if (rest.empty()) {
        *time = parsed;
        return true;
    }
    const bool is_utc = take(&rest, "Z");
    rest = trim(rest);
    int zone = 0;
    if (is_utc) {
        parsed.zone = 0;
        timestamp moved;
        const bool has_zone = !rest.empty();
        if ((has_zone && !zone_from_text(rest, &zone)) ||
            !(has_zone ? timestamp_to_zone(parsed, zone, &moved) : timestamp_to_local(parsed, &moved)))
            return false;
        *time = moved;
        return true;
    }
    if (!zone_from_text(rest, &zone))
        return false;
    parsed.zone = zone;
    *time = parsed;
    return true;
}

std::string timestamp_to_text(const timestamp &time, timestamp_type type)
{
    std::string text;
    if (type == timestamp_type::plain) {
        text = date_to_iso(time.local);
        append_fraction(&text, time.nanosecond);
        return text;
    }
    const timestamp zoned = timestamp_with_zone(time);
    civil_time utc = zoned.local;
    to_utc(zoned, &utc);
    text = date_to_iso(utc);
    append_fraction(&text, time.nanosecond);
    text += " Z";
    if (type == timestamp_type::zoned)
        text += ' ' + zone_to_text(*zoned.zone);
    return text;
}

std::string timestamp_to_shown_text(const timestamp &time)
{
    std::string text = timestamp_to_text(time, timestamp_type::plain);
    if (time.zone)
        text += ' ' + zone_to_text(*time.zone);
    return text;
}

int timestamp_check(const timestamp &time)
{
    if (const int error = date_error_of(date_check(time.local)))
        return error;
    if (time.nanosecond < 0 || time.nanosecond >= nanoseconds_per_second)
        return date_fraction_out_of_range;
    if (time.zone && (*time.zone < zone_min || *time.zone > zone_max))
        return date_zone_hour_out_of_range;
    civil_time utc{};
    return to_utc(time, &utc) ? int{date_ok} : int{date_year_out_of_range};
}

bool timestamp_round(timestamp *time, int digits)
{
    int unit = 1;
    for (int i = digits; i < 9; ++i)
        unit *= 10;
    const int rest = time->nanosecond % unit;
    const int step = rest * 2LL >= unit && unit > 1 ? unit - rest : -rest;
    timestamp rounded;
    if (!timestamp_add_seconds(*time, 0, step, &rounded))
        return false;
    *time = rounded;
    return true;
}

bool timestamp_to_zone(const timestamp &time, int zone, timestamp *result)
{
    const timestamp from = timestamp_with_zone(time);
    timestamp moved = from;
    if (!date_add_seconds(from.local, std::int64_t{seconds_per_minute} * (zone - *from.zone), &moved.local))
        return false;
    moved.zone = zone;
    *result = moved;
    return true;
}

int timestamp_local_zone(const civil_time &local)
{
    // The zone at the time if it were UTC is right but for hours around a change of the clocks.
    const std::int64_t as_utc = unix_seconds(local);
    const int first = zone_at(static_cast<std::time_t>(as_utc));
    return zone_at(static_cast<std::time_t>(as_utc - std::int64_t{seconds_per_minute} * first));
}

timestamp timestamp_with_zone(const timestamp &time)
{
    timestamp zoned = time;
    if (!zoned.zone)
        zoned.zone = timestamp_local_zone(time.local);
    return zoned;
}

bool timestamp_to_local(const timestamp &time, timestamp *result)
{
    civil_time utc{};
    const timestamp zoned = timestamp_with_zone(time);
    if (!to_utc(zoned, &utc))
        return false;
    return timestamp_to_zone(zoned, zone_at(static_cast<std::time_t>(unix_seconds(utc))), result);
}

timestamp timestamp_now()
{
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    // A leap second has no place in a TIMESTAMP.
    return {{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
             std::min(local.tm_sec, 59)},
            static_cast<int>(now.tv_nsec),
            static_cast<int>(local.tm_gmtoff / seconds_per_minute)};
}

int timestamp_compare(const timestamp &a, const timestamp &b)
{
    civil_time first = a.local, second = b.local;
    if (a.zone || b.zone) {
        to_utc(timestamp_with_zone(a), &first);
        to_utc(timestamp_with_zone(b), &second);
    }
    const int order = date_compare(first, second);
    return order ? order : (a.nanosecond > b.nanosecond) - (a.nanosecond < b.nanosecond);
}

bool timestamp_add_seconds(const timestamp &time, std::int64_t seconds, int nanoseconds, timestamp *result)
{
    std::int64_t fraction = std::int64_t{time.nanosecond} + nanoseconds;
    while (fraction < 0) {
        fraction += nanoseconds_per_second;
        --seconds;
    }
    seconds += fraction / nanoseconds_per_second;
    timestamp moved = time;
    moved.nanosecond = static_cast<int>(fraction % nanoseconds_per_second);
    if (!date_add_seconds(time.local, seconds, &moved.local))
        return false;
    *result = moved;
    return true;
}

bool zone_from_text(std::string_view text, int *minutes)
{
    text = trim(text);
    if (equal_ignoring_case(text, "Z") || equal_ignoring_case(text, "UTC") ||
        equal_ignoring_case(text, "GMT")) {
        *minutes = 0;
        return true;
    }
    const bool is_west = take(&text, "-");
    if (!is_west)
        take(&text, "+");
    int fields[2] = {0, 0}, field = 0;
    std::size_t digits = 0;
    for (const char c : text) {
        if (c == ':' && field == 0 && digits > 0) {
            field = 1;
            digits = 0;
        } else if (is_digit(c) && digits < 2) {
            fields[field] = fields[field] * 10 + (c - '0');
            ++digits;
        } else {
            return false;
        }
    }
    const int zone = (is_west ? -1 : 1) * (fields[0] * 60 + fields[1]);
    if (digits == 0 || fields[1] > 59 || zone < zone_min || zone > zone_max)
        return false;
    *minutes = zone;
    return true;
}

std::string zone_to_text(int minutes)
{
    const int size = std::abs(minutes);
    std::string text(minutes < 0 ? "-" : "+");
    for (const int field : {size / 60, size % 60}) {
        text += static_cast<char>('0' + field / 10);
        text += static_cast<char>('0' + field % 10);
        text += ':';
    }
    text.pop_back();
    return text;
}

} // namespace sqlite_oci
