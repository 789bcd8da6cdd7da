#include "text/text_scan.h"
#include "values/interval.h"

#include <cstdlib>

namespace sqlite_oci
{
namespace
{

bool is_negative(const interval &value)
{
    return value.count < 0 || value.nanosecond < 0;
}

void append_digits(std::string *text, std::int64_t number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    text->append(digits.size() < width ? width - digits.size() : 0, '0');
    *text += digits;
}

// A run of at most `most` digits at the front of *text.
bool take_number(std::string_view *text, std::size_t most, std::int64_t *number,
                 std::size_t *digits = nullptr)
{
    std::size_t count = 0;
    *number = 0;
    while (count < text->size() && is_digit((*text)[count])) {
        if (count == most)
            return false;
        *number = *number * 10 + ((*text)[count++] - '0');
    }
    text->remove_prefix(count);
    if (digits)
        *digits = count;
    return count > 0;
}

// ".fraction", which need not be there.
bool take_fraction(std::string_view *text, std::int64_t *nanosecond)
{
    std::size_t digits = 0;
    *nanosecond = 0;
    if (!take(text, "."))
        return true;
    if (!take_number(text, 9, nanosecond, &digits))
        return false;
    for (; digits < 9; ++digits)
        *nanosecond *= 10;
    return true;
}

struct day_fields {
    std::int64_t days, hours, minutes, seconds;
};

day_fields split(std::int64_t seconds)
{
    return {seconds / seconds_per_day, seconds / 3600 % 24, seconds / 60 % 60, seconds % 60};
}

struct fields {
    std::int64_t lead = 0, hours = 0, minutes = 0, seconds = 0, nanoseconds = 0;
};

// "[days ]HH[:MI[:SS[.fraction]]]", or days alone.
bool take_days(std::string_view text, fields *into)
{
    std::int64_t first = 0;
    if (!take_number(&text, interval_lead_max, &first))
        return false;
    const bool has_days = text.empty() || is_blank(text.front());
    skip_blanks(&text);
    into->lead = has_days ? first : 0;
    into->hours = has_days ? 0 : first;
    if (has_days && text.empty())
        return true;
    if (has_days && !take_number(&text, 2, &into->hours))
        return false;
    if (take(&text, ":") && !take_number(&text, 2, &into->minutes))
        return false;
    if (take(&text, ":") &&
        (!take_number(&text, 2, &into->seconds) || !take_fraction(&text, &into->nanoseconds)))
        return false;
    return text.empty() && into->hours < 24 && into->minutes < 60 && into->seconds < 60;
}

// "years-months", or years alone.
bool take_years(std::string_view text, fields *into)
{
    if (!take_number(&text, interval_lead_max, &into->lead))
        return false;
    if (take(&text, "-") && !take_number(&text, 2, &into->hours))
        return false;
    return text.empty() && into->hours < 12;
}

} // namespace

bool interval_from_text(std::string_view text, interval *value)
{
    const bool negative = take(&text, "-");
    fields read;
    interval parsed;
    int error = interval_invalid;
    if (!take(&text, "P") || !take_number(&text, interval_lead_max, &read.lead))
        return false;
    if (take(&text, "Y")) {
        if (!take_number(&text, 2, &read.hours) || !take(&text, "M"))
            return false;
        error = interval_from_years(read.lead, read.hours, &parsed);
    } else {
        if (!take(&text, "DT") || !take_number(&text, 2, &read.hours) || !take(&text, "H") ||
            !take_number(&text, 2, &read.minutes) || !take(&text, "M") ||
            !take_number(&text, 2, &read.seconds) || !take_fraction(&text, &read.nanoseconds) ||
            !take(&text, "S"))
            return false;
        error =
            interval_from_days(read.lead, read.hours, read.minutes, read.seconds, read.nanoseconds, &parsed);
    }
    if (error || !text.empty())
        return false;
    *value = negative ? interval_negated(parsed) : parsed;
    return true;
}

std::string interval_to_text(const interval &value)
{
    std::string text = is_negative(value) ? "-P" : "P";
    const std::int64_t size = std::abs(value.count);
    append_digits(&text, size / interval_lead_unit(value.type), interval_lead_max);
    if (value.type == interval_type::year_to_month) {
        text += 'Y';
        append_digits(&text, size % 12, 2);
        return text + 'M';
    }
    const day_fields day = split(size);
    text += "DT";
    append_digits(&text, day.hours, 2);
    text += 'H';
    append_digits(&text, day.minutes, 2);
    text += 'M';
    append_digits(&text, day.seconds, 2);
    text += '.';
    append_digits(&text, std::abs(value.nanosecond), 9);
    return text + 'S';
}

int interval_from_literal(std::string_view text, interval_type type, interval *value)
{
    text = trim(text);
    const bool negative = take(&text, "-");
    if (!negative)
        take(&text, "+");
    skip_blanks(&text);
    fields read;
    const bool is_months = type == interval_type::year_to_month;
    if (!(is_months ? take_years(text, &read) : take_days(text, &read)))
        return interval_invalid;
    interval parsed;
    const int error = is_months ? interval_from_years(read.lead, read.hours, &parsed)
                                : interval_from_days(read.lead, read.hours, read.minutes, read.seconds,
                                                     read.nanoseconds, &parsed);
    if (error == interval_ok)
        *value = negative ? interval_negated(parsed) : parsed;
    return error;
}

int interval_to_literal(const interval &value, int lead, int fraction_digits, std::string *text)
{
    const std::int64_t size = std::abs(value.count);
    const std::int64_t first = size / interval_lead_unit(value.type);
    if (std::to_string(first).size() > static_cast<std::size_t>(lead ? lead : 1))
        return interval_lead_too_long;
    *text = is_negative(value) ? "-" : "+";
    append_digits(text, first, static_cast<std::size_t>(lead));
    if (value.type == interval_type::year_to_month) {
        *text += '-';
        append_digits(text, size % 12, 2);
        return interval_ok;
    }
    const day_fields day = split(size);
    char separator = ' ';
    for (const std::int64_t field : {day.hours, day.minutes, day.seconds}) {
        *text += separator;
        append_digits(text, field, 2);
        separator = ':';
    }
    if (fraction_digits <= 0)
        return interval_ok;
    std::string fraction;
    append_digits(&fraction, std::abs(value.nanosecond), 9);
    *text += '.' + fraction.substr(0, static_cast<std::size_t>(fraction_digits));
    return interval_ok;
}

} // namespace sqlite_oci
