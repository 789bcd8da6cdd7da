#include "values/date.h"

#include "text/text_scan.h"
#include "values/date_errors.h"
#include "values/date_model.h"

#include <optional>

namespace sqlite_oci
{
namespace
{

constexpr int julian_max = 5373484; // 31 December 9999

// What a format can state, each at most once.
enum field : unsigned {
    year_field = 1U << 0,
    era_field = 1U << 1,
    month_field = 1U << 2,
    day_field = 1U << 3,
    day_of_year_field = 1U << 4,
    weekday_field = 1U << 5,
    julian_field = 1U << 6,
    hour_field = 1U << 7,
    meridian_field = 1U << 8,
    minute_field = 1U << 9,
    second_field = 1U << 10,
    second_of_day_field = 1U << 11,
};

// The field that an element states, 0 for none; *repeated is the error if that was stated before.
unsigned field_of(date_code code, int *repeated)
{
    *repeated = date_code_repeated;
    switch (code) {
    case date_code::year4:
    case date_code::year3:
    case date_code::year2:
    case date_code::year1:
    case date_code::signed_year:
    case date_code::comma_year:
    case date_code::round_year2:
    case date_code::round_year4:
        *repeated = date_year_repeated;
        return year_field;
    case date_code::era:
    case date_code::dotted_era:
        return era_field;
    case date_code::month:
    case date_code::month_abbreviation:
    case date_code::month_name:
    case date_code::month_roman:
        *repeated = date_month_repeated;
        return month_field;
    case date_code::day_of_month:
        return day_field;
    case date_code::day_of_year:
        return day_of_year_field;
    case date_code::day_of_week:
    case date_code::day_abbreviation:
    case date_code::day_name:
        *repeated = date_weekday_repeated;
        return weekday_field;
    case date_code::julian_day:
        return julian_field;
    case date_code::hour12:
    case date_code::hour24:
        *repeated = date_hour_repeated;
        return hour_field;
    case date_code::meridian:
    case date_code::dotted_meridian:
        return meridian_field;
    case date_code::minute:
        return minute_field;
    case date_code::second:
        return second_field;
    case date_code::second_of_day:
        return second_of_day_field;
    default:
        return 0;
    }
}

bool is_output_only(date_code code)
{
    switch (code) {
    case date_code::iso_year4:
    case date_code::iso_year3:
    case date_code::iso_year2:
    case date_code::iso_year1:
    case date_code::iso_week:
    case date_code::week_of_year:
    case date_code::week_of_month:
    case date_code::century:
    case date_code::signed_century:
    case date_code::quarter:
        return true;
    default:
        return false;
    }
}

// Checks a whole format before any text is read, so that a bad format is reported whatever the text.
int check_input_format(std::string_view format)
{
    unsigned seen = 0;
    bool signed_year = false;
    bool hour24 = false;
    date_element element;
    while (!format.empty()) {
        if (!next_date_element(&format, &element))
            return date_format_unknown;
        if (is_output_only(element.code))
            return date_code_not_for_input;
        int repeated = 0;
        unsigned field = field_of(element.code, &repeated);
        if (seen & field)
            return repeated;
        seen |= field;
        signed_year |= element.code == date_code::signed_year;
        hour24 |= element.code == date_code::hour24;
    }
    if (signed_year && (seen & era_field))
        return date_era_with_signed_year;
    if (hour24 && (seen & meridian_field))
        return date_meridian_with_hour24;
    if ((seen & julian_field) && (seen & day_of_year_field))
        return date_julian_with_day_of_year;
    return date_ok;
}

// Whether a text may end before these elements: a time of day may be left out.
bool only_time_remains(std::string_view format)
{
    date_element element;
    while (!format.empty() && next_date_element(&format, &element))
        if (element.code != date_code::literal && element.code != date_code::fill_mode &&
            !is_time_of_day(element.code))
            return false;
    return true;
}

bool is_alphanumeric(char c)
{
    return is_digit(c) || is_letter(c);
}

// Takes the longest of these names, or its abbreviation; the index, or -1.
template <std::size_t count> int take_name(std::string_view *text, const std::string_view (&names)[count])
{
    for (std::size_t i = 0; i < count; ++i)
        if (take(text, names[i]) || take(text, names[i].substr(0, name_abbreviation)))
            return static_cast<int>(i);
    return -1;
}

int take_roman_month(std::string_view *text)
{
    std::size_t length = 0;
    while (length < text->size() && is_letter((*text)[length]))
        ++length;
    for (int month = 1; month <= 12; ++month) {
        if (equal_ignoring_case(text->substr(0, length), roman_months[month - 1])) {
            text->remove_prefix(length);
            return month;
        }
    }
    return 0;
}

// Reads a text along a format.
class date_reader
{
public:
    date_reader(std::string_view text, const civil_time &today) : rest(text), now(today) {}

    int read(std::string_view format)
    {
        date_element element;
        while (!format.empty()) {
            std::string_view before = format;
            next_date_element(&format, &element);
            if (!exact && trim(rest).empty() && only_time_remains(before)) {
                rest = {};
                break;
            }
            int error = read_element(element);
            if (error != date_ok)
                return error;
        }
        if (!exact)
            skip_blanks(&rest);
        return rest.empty() ? int{date_ok} : int{date_input_left_over};
    }

    int resolve(civil_time *time)
    {
        int error = resolve_clock(time);
        if (error == date_ok)
            error = julian ? resolve_julian(time) : resolve_calendar(time);
        if (error == date_ok && weekday && *weekday != date_day_of_week(*time))
            error = date_weekday_conflict;
        return error;
    }

private:
    int read_element(const date_element &element)
    {
        switch (element.code) {
        case date_code::literal:
            return element.quoted ? read_quoted(element.text) : read_punctuation(element.text.front());
        case date_code::fill_mode:
            fill = !fill;
            return date_ok;
        case date_code::exact_mode:
            exact = !exact;
            return date_ok;
        default:
            break;
        }
        if (!exact)
            skip_blanks(&rest);
        if (rest.empty())
            return date_input_too_short;
        switch (element.code) {
        case date_code::month_abbreviation:
        case date_code::month_name:
        case date_code::month_roman:
            return read_month(element.code);
        case date_code::day_abbreviation:
        case date_code::day_name:
            weekday = take_name(&rest, day_names);
            return *weekday >= 0 ? int{date_ok} : int{date_no_weekday};
        case date_code::era:
        case date_code::dotted_era:
            return read_era();
        case date_code::meridian:
        case date_code::dotted_meridian:
            return read_meridian();
        default:
            return read_number(element);
        }
    }

    int read_quoted(std::string_view literal)
    {
        if (!starts_with(rest, literal))
            return rest.size() < literal.size() ? date_input_too_short : date_literal_mismatch;
        rest.remove_prefix(literal.size());
        return date_ok;
    }

    // Any punctuation will do for any other, and none at all before the next field, unless the format is
    // exact.
    int read_punctuation(char expected)
    {
        if (exact) {
            if (rest.empty())
                return date_input_too_short;
            if (rest.front() != expected)
                return date_literal_mismatch;
            rest.remove_prefix(1);
            return date_ok;
        }
        std::string_view trimmed = rest;
        skip_blanks(&trimmed);
        bool skipped = trimmed.size() < rest.size();
        if (is_blank(expected) && skipped) {
            rest = trimmed;
            return date_ok;
        }
        if (!trimmed.empty() && !is_alphanumeric(trimmed.front()) &&
            static_cast<unsigned char>(trimmed.front()) < 0x80)
            trimmed.remove_prefix(1);
        rest = trimmed;
        return date_ok;
    }

    int read_month(date_code code)
    {
        month = code == date_code::month_roman ? take_roman_month(&rest) : take_name(&rest, month_names) + 1;
        return *month > 0 ? int{date_ok} : int{date_no_month};
    }

    int read_era()
    {
        before_christ = take(&rest, "B.C.") || take(&rest, "BC");
        bool found = *before_christ || take(&rest, "A.D.") || take(&rest, "AD");
        return found ? int{date_ok} : int{date_no_era};
    }

    int read_meridian()
    {
        afternoon = take(&rest, "P.M.") || take(&rest, "PM");
        bool found = *afternoon || take(&rest, "A.M.") || take(&rest, "AM");
        return found ? int{date_ok} : int{date_no_meridian};
    }

    int read_number(const date_element &element)
    {
        if (element.code == date_code::month && !exact && is_letter(rest.front()))
            return read_month(date_code::month_name);
        bool negative = false;
        if (element.code == date_code::signed_year) {
            negative = take(&rest, "-");
            if (!negative)
                take(&rest, "+");
        }
        int width = element.width;
        std::size_t run = 0;
        while (run < rest.size() && is_digit(rest[run]))
            ++run;
        bool short_year = element.code == date_code::year2 || element.code == date_code::round_year2;
        if (short_year && !exact && run == 4)
            width = 4;
        int value = 0;
        int digits = 0;
        while (digits < width && !rest.empty()) {
            char c = rest.front();
            if (element.code == date_code::comma_year && c == ',' && digits == 1) {
                rest.remove_prefix(1);
                continue;
            }
            if (!is_digit(c))
                break;
            value = value * 10 + (c - '0');
            ++digits;
            rest.remove_prefix(1);
        }
        if (digits == 0)
            return rest.empty() ? date_input_too_short : date_digit_expected;
        if (exact && fill && digits != width)
            return date_digit_count;
        return store(element.code, negative ? -value : value, digits);
    }

    static int in_range(int value, int low, int high, int error)
    {
        return value >= low && value <= high ? int{date_ok} : error;
    }

    int store(date_code code, int value, int digits)
    {
        switch (code) {
        case date_code::month:
            month = value;
            return in_range(value, 1, 12, date_no_month);
        case date_code::day_of_month:
            day = value;
            return in_range(value, 1, 31, date_day_out_of_range);
        case date_code::day_of_year:
            year_day = value;
            return in_range(value, 1, 366, date_day_of_year_out_of_range);
        case date_code::day_of_week:
            weekday = value - 1;
            return in_range(value, 1, 7, date_no_weekday);
        case date_code::julian_day:
            julian = value;
            return in_range(value, 1, julian_max, date_julian_out_of_range);
        case date_code::hour12:
            hour = value % 12;
            return in_range(value, 1, 12, date_hour12_out_of_range);
        case date_code::hour24:
            hour = value;
            return in_range(value, 0, 23, date_hour24_out_of_range);
        case date_code::minute:
            minute = value;
            return in_range(value, 0, 59, date_minute_out_of_range);
        case date_code::second:
            second = value;
            return in_range(value, 0, 59, date_second_out_of_range);
        case date_code::second_of_day:
            day_second = value;
            return in_range(value, 0, 86399, date_second_of_day_out_of_range);
        default:
            year = complete_year(code, value, digits);
            return in_range(*year, date_year_min, date_year_max, date_year_out_of_range);
        }
    }

    // Gives a year with few digits its century.
    int complete_year(date_code code, int value, int digits) const
    {
        int current = now.year;
        switch (code) {
        case date_code::year1:
            return current - current % 10 + value;
        case date_code::year2:
            return digits > 2 ? value : current - current % 100 + value;
        case date_code::year3:
            return current - current % 1000 + value;
        case date_code::round_year2:
        case date_code::round_year4:
            return digits > 2 ? value : nearest_century(value);
        default:
            return value;
        }
    }

    // The two halves of a century belong together: 00 to 49 and 50 to 99 of the centuries around now.
    int nearest_century(int value) const
    {
        int century = now.year - now.year % 100;
        bool now_late = now.year % 100 >= 50;
        bool value_late = value >= 50;
        if (now_late && !value_late)
            century += 100;
        else if (!now_late && value_late)
            century -= 100;
        return century + value;
    }

    int resolve_clock(civil_time *time) const
    {
        int hours = hour.value_or(0) + (afternoon.value_or(false) ? 12 : 0);
        *time = {0, 0, 0, hours, minute.value_or(0), second.value_or(0)};
        if (!day_second)
            return date_ok;
        civil_time clock{0, 0, 0, *day_second / 3600, *day_second / 60 % 60, *day_second % 60};
        if (hour && clock.hour != time->hour)
            return date_hour_conflict;
        if (minute && clock.minute != time->minute)
            return date_minute_conflict;
        if (second && clock.second != time->second)
            return date_second_conflict;
        *time = clock;
        return date_ok;
    }

    int signed_year() const
    {
        int value = year.value_or(now.year);
        return before_christ.value_or(false) ? -value : value;
    }

    int resolve_julian(civil_time *time) const
    {
        const int first_ad = date_to_day_number(1, 1, 1);
        int number = *julian;
        if (number < first_ad) {
            number += julian_shift_bc;
            if (number >= first_ad)
                return date_julian_out_of_range;
        }
        if (!date_from_day_number(number, time))
            return date_julian_out_of_range;
        if (year && signed_year() != time->year)
            return date_year_conflict;
        if (month && *month != time->month)
            return date_month_conflict;
        if (day && *day != time->day)
            return date_day_conflict;
        return date_ok;
    }

    int resolve_calendar(civil_time *time) const
    {
        time->year = signed_year();
        if (time->year == 0 || time->year < date_year_min)
            return date_year_out_of_range;
        if (year_day)
            return resolve_day_of_year(time);
        time->month = month.value_or(now.month);
        time->day = day.value_or(1);
        return date_is_valid(*time) ? int{date_ok} : int{date_no_such_day_in_month};
    }

    int resolve_day_of_year(civil_time *time) const
    {
        int year_of_day = time->year;
        if (!date_from_day_number(date_to_day_number(year_of_day, 1, 1) + *year_day - 1, time) ||
            time->year != year_of_day)
            return date_day_of_year_out_of_range;
        if (month && *month != time->month)
            return date_month_conflict;
        if (day && *day != time->day)
            return date_day_conflict;
        return date_ok;
    }

    std::string_view rest;
    const civil_time &now;
    bool exact = false;
    bool fill = true;
    std::optional<int> year, month, day, year_day, weekday, julian, hour, minute, second, day_second;
    std::optional<bool> before_christ, afternoon;
};

} // namespace

int date_parse_format(std::string_view text, std::string_view format, const civil_time &now, civil_time *time)
{
    int error = check_input_format(format);
    if (error != date_ok)
        return error;
    if (trim(text).empty())
        return date_input_too_short;
    date_reader reader(text, now);
    civil_time result{};
    error = reader.read(format);
    if (error == date_ok)
        error = reader.resolve(&result);
    if (error == date_ok)
        *time = result;
    return error;
}

} // namespace sqlite_oci
