#include "values/date.h"

#include "text/text_scan.h"
#include "values/date_errors.h"
#include "values/date_fields.h"
#include "values/date_model.h"
#include "values/timestamp.h"

namespace sqlite_oci
{
namespace
{

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
    fraction_field = 1U << 12,
    zone_hour_field = 1U << 13,
    zone_minute_field = 1U << 14,
    zone_region_field = 1U << 15,
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
    case date_code::fraction:
        return fraction_field;
    case date_code::zone_hour:
        return zone_hour_field;
    case date_code::zone_minute:
        return zone_minute_field;
    case date_code::zone_region:
        return zone_region_field;
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
int check_input_format(std::string_view format, bool is_timestamp)
{
    unsigned seen = 0;
    bool signed_year = false;
    bool hour24 = false;
    date_element element;
    while (!format.empty()) {
        if (!next_date_element(&format, &element) || (is_of_timestamp(element.code) && !is_timestamp))
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
    date_reader(std::string_view text, const civil_time &today) : rest(text), fields(today) {}

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

    const date_fields &fields_read() const { return fields; }

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
        if (is_of_timestamp(element.code))
            return fields.take_of_timestamp(&rest, element, exact);
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
            fields.weekday = take_name(&rest, day_names);
            return *fields.weekday >= 0 ? int{date_ok} : int{date_no_weekday};
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
        fields.month =
            code == date_code::month_roman ? take_roman_month(&rest) : take_name(&rest, month_names) + 1;
        return *fields.month > 0 ? int{date_ok} : int{date_no_month};
    }

    int read_era()
    {
        fields.before_christ = take(&rest, "B.C.") || take(&rest, "BC");
        bool found = *fields.before_christ || take(&rest, "A.D.") || take(&rest, "AD");
        return found ? int{date_ok} : int{date_no_era};
    }

    int read_meridian()
    {
        fields.afternoon = take(&rest, "P.M.") || take(&rest, "PM");
        bool found = *fields.afternoon || take(&rest, "A.M.") || take(&rest, "AM");
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
        return fields.store(element.code, negative ? -value : value, digits);
    }

    std::string_view rest;
    date_fields fields;
    bool exact = false;
    bool fill = true;
};

int parse_along(std::string_view text, std::string_view format, const civil_time &now, bool is_timestamp,
                timestamp *time)
{
    int error = check_input_format(format, is_timestamp);
    if (error != date_ok)
        return error;
    if (trim(text).empty())
        return date_input_too_short;
    date_reader reader(text, now);
    timestamp result;
    error = reader.read(format);
    const date_fields &fields = reader.fields_read();
    if (error == date_ok)
        error = fields.resolve(&result.local);
    result.nanosecond = fields.nanosecond.value_or(0);
    result.zone = fields.resolve_zone();
    if (error == date_ok)
        error = timestamp_check(result);
    if (error == date_ok)
        *time = result;
    return error;
}

} // namespace

int date_parse_format(std::string_view text, std::string_view format, const civil_time &now, civil_time *time)
{
    timestamp parsed;
    const int error = parse_along(text, format, now, false, &parsed);
    if (error == date_ok)
        *time = parsed.local;
    return error;
}

int timestamp_parse_format(std::string_view text, std::string_view format, const civil_time &now,
                           timestamp *time)
{
    return parse_along(text, format, now, true, time);
}

} // namespace sqlite_oci
