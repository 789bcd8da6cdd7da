#include "values/date.h"

#include "text/text_scan.h"
#include "values/date_errors.h"
#include "values/date_model.h"
#include "values/timestamp.h"

#include <algorithm>
#include <cstdlib>

namespace sqlite_oci
{
namespace
{

struct iso_week_date {
    int year, week;
};

int day_of_year(const civil_time &time)
{
    return date_to_day_number(time.year, time.month, time.day) - date_to_day_number(time.year, 1, 1) + 1;
}

int next_year(int year, int step)
{
    int next = year + step;
    return next == 0 ? step : next;
}

// Day number of the Monday of a year's first week: the week that holds 4 January.
int first_iso_monday(int year)
{
    int fourth = date_to_day_number(year, 1, 4);
    return fourth - fourth % 7;
}

iso_week_date iso_week_of(const civil_time &time)
{
    int day = date_to_day_number(time.year, time.month, time.day);
    int year = time.year;
    if (day < first_iso_monday(year))
        year = next_year(year, -1);
    else if (day >= first_iso_monday(next_year(year, 1)))
        year = next_year(year, 1);
    return {year, (day - first_iso_monday(year)) / 7 + 1};
}

int julian_day(const civil_time &time)
{
    int day = date_to_day_number(time.year, time.month, time.day);
    return time.year < 0 ? day - julian_shift_bc : day;
}

// Centuries begin in years that end in 01.
int century_of(int year)
{
    int century = (std::abs(year) + 99) / 100;
    return year < 0 ? -century : century;
}

int hour_on_dial(int hour)
{
    return hour % 12 == 0 ? 12 : hour % 12;
}

int power_of_ten(int exponent)
{
    int power = 1;
    while (exponent-- > 0)
        power *= 10;
    return power;
}

std::string_view ordinal_ending(int number)
{
    int last = number % 10;
    if (number / 10 % 10 == 1 || last == 0 || last > 3)
        return "TH";
    return last == 1 ? "ST" : last == 2 ? "ND" : "RD";
}

// Builds the text element by element.
class date_writer
{
public:
    date_writer(const timestamp &what, int digits, std::string *target)
        : time(what.local), moment(what), fraction_digits(digits), out(target)
    {
    }

    void write(const date_element &element)
    {
        switch (element.code) {
        case date_code::literal:
            *out += element.text;
            break;
        case date_code::fill_mode:
            fill = !fill;
            break;
        case date_code::exact_mode:
            break;
        case date_code::era:
            put_name(time.year < 0 ? "BC" : "AD", element, 0);
            break;
        case date_code::dotted_era:
            put_name(time.year < 0 ? "B.C." : "A.D.", element, 0);
            break;
        case date_code::meridian:
            put_name(time.hour < 12 ? "AM" : "PM", element, 0);
            break;
        case date_code::dotted_meridian:
            put_name(time.hour < 12 ? "A.M." : "P.M.", element, 0);
            break;
        case date_code::month_abbreviation:
            put_name(month_names[time.month - 1].substr(0, name_abbreviation), element, 0);
            break;
        case date_code::month_name:
            put_name(month_names[time.month - 1], element, longest_name);
            break;
        case date_code::month_roman:
            put_name(roman_months[time.month - 1], element, longest_roman);
            break;
        case date_code::day_abbreviation:
            put_name(day_names[date_day_of_week(time)].substr(0, name_abbreviation), element, 0);
            break;
        case date_code::day_name:
            put_name(day_names[date_day_of_week(time)], element, longest_name);
            break;
        case date_code::radix:
            *out += '.';
            break;
        case date_code::fraction:
            put_fraction(element.width ? element.width : fraction_digits);
            break;
        case date_code::zone_hour:
            *out += zone_to_text(moment.zone.value_or(0)).substr(0, 3);
            break;
        case date_code::zone_minute:
            *out += zone_to_text(moment.zone.value_or(0)).substr(4);
            break;
        case date_code::zone_region:
            *out += zone_to_text(moment.zone.value_or(0));
            break;
        case date_code::zone_daylight: // an offset has none
            break;
        default:
            write_number(element);
        }
    }

private:
    // Digits that are asked for; the rest is cut off.
    void put_fraction(int digits)
    {
        *out += std::to_string(nanoseconds_per_second + moment.nanosecond)
                    .substr(1, static_cast<std::size_t>(digits));
    }

    void write_number(const date_element &element)
    {
        int value = number_for(element.code);
        if (element.code == date_code::signed_year || element.code == date_code::signed_century)
            put_sign(value);
        // The width keeps the last digits of the short years; all other numbers fit theirs.
        int shown = std::abs(value) % power_of_ten(element.width);
        if (element.code == date_code::comma_year) {
            put_number(shown / 1000, 1);
            *out += ',';
            put_digits(shown % 1000, 3);
        } else {
            put_number(shown, element.width);
        }
        if (element.ordinal)
            put_name(ordinal_ending(shown), element, 0);
    }

    int number_for(date_code code) const
    {
        switch (code) {
        case date_code::iso_year4:
        case date_code::iso_year3:
        case date_code::iso_year2:
        case date_code::iso_year1:
            return iso_week_of(time).year;
        case date_code::iso_week:
            return iso_week_of(time).week;
        case date_code::century:
        case date_code::signed_century:
            return century_of(time.year);
        case date_code::quarter:
            return (time.month + 2) / 3;
        case date_code::month:
            return time.month;
        case date_code::week_of_year:
            return (day_of_year(time) + 6) / 7;
        case date_code::week_of_month:
            return (time.day + 6) / 7;
        case date_code::day_of_year:
            return day_of_year(time);
        case date_code::day_of_month:
            return time.day;
        case date_code::day_of_week:
            return date_day_of_week(time) + 1;
        case date_code::julian_day:
            return julian_day(time);
        case date_code::hour12:
            return hour_on_dial(time.hour);
        case date_code::hour24:
            return time.hour;
        case date_code::minute:
            return time.minute;
        case date_code::second:
            return time.second;
        case date_code::second_of_day:
            return (time.hour * 60 + time.minute) * 60 + time.second;
        default:
            return time.year;
        }
    }

    void put_sign(int value)
    {
        if (value < 0)
            *out += '-';
        else if (fill)
            *out += ' ';
    }

    void put_digits(int value, int count)
    {
        for (int power = power_of_ten(count - 1); power > 0; power /= 10)
            *out += static_cast<char>('0' + value / power % 10);
    }

    void put_number(int value, int width)
    {
        int count = 1;
        while (count < width && value >= power_of_ten(count))
            ++count;
        put_digits(value, fill ? width : count);
    }

    void put_name(std::string_view name, const date_element &element, std::size_t width)
    {
        for (std::size_t i = 0; i < name.size(); ++i) {
            bool keep = element.letters == letter_case::upper ||
                        (element.letters == letter_case::capitalized && i == 0);
            *out += keep ? name[i] : lower(name[i]);
        }
        if (fill && name.size() < width)
            out->append(width - name.size(), ' ');
    }

    const civil_time &time;
    const timestamp &moment;
    int fraction_digits;
    std::string *out;
    bool fill = true;
};

int format_along(const timestamp &time, std::string_view format, int fraction_digits, bool is_timestamp,
                 std::string *text)
{
    text->clear();
    if (int error = timestamp_check(time); error != date_ok)
        return error;
    date_writer writer(time, fraction_digits, text);
    date_element element;
    while (!format.empty()) {
        if (!next_date_element(&format, &element) || (is_of_timestamp(element.code) && !is_timestamp)) {
            text->clear();
            return date_format_unknown;
        }
        writer.write(element);
    }
    return date_ok;
}

} // namespace

int date_format(const civil_time &time, std::string_view format, std::string *text)
{
    return format_along({time, 0, {}}, format, 0, false, text);
}

int timestamp_format(const timestamp &time, std::string_view format, int fraction_digits, std::string *text)
{
    return format_along(time, format, fraction_digits, true, text);
}

std::string date_to_default_text(const civil_time &time)
{
    std::string text;
    date_format(time, date_default_format, &text);
    return text;
}

bool date_from_default_text(std::string_view text, civil_time *time)
{
    return date_parse_format(text, date_default_format, date_now(), time) == date_ok;
}

int date_day_from_name(std::string_view name)
{
    name = trim(name);
    int day = 0;
    for (std::string_view candidate : day_names) {
        if (equal_ignoring_case(name, candidate) ||
            equal_ignoring_case(name, candidate.substr(0, name_abbreviation)))
            return day;
        ++day;
    }
    return -1;
}

} // namespace sqlite_oci
