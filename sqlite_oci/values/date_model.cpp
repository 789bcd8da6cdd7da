#include "values/date_model.h"

#include "text/text_scan.h"

namespace sqlite_oci
{
namespace
{

struct code_spelling {
    std::string_view text;
    date_code code;
    int width; // 0 for what is not a number
};

// A spelling that starts with another one stands before it.
constexpr code_spelling spellings[] = {
    {"FM", date_code::fill_mode, 0},
    {"FX", date_code::exact_mode, 0},
    {"SYYYY", date_code::signed_year, 4},
    {"Y,YYY", date_code::comma_year, 4},
    {"YYYY", date_code::year4, 4},
    {"YYY", date_code::year3, 3},
    {"YY", date_code::year2, 2},
    {"Y", date_code::year1, 1},
    {"RRRR", date_code::round_year4, 4},
    {"RR", date_code::round_year2, 2},
    {"IYYY", date_code::iso_year4, 4},
    {"IYY", date_code::iso_year3, 3},
    {"IY", date_code::iso_year2, 2},
    {"IW", date_code::iso_week, 2},
    {"I", date_code::iso_year1, 1},
    {"A.D.", date_code::dotted_era, 0},
    {"B.C.", date_code::dotted_era, 0},
    {"AD", date_code::era, 0},
    {"BC", date_code::era, 0},
    {"SCC", date_code::signed_century, 2},
    {"CC", date_code::century, 2},
    {"Q", date_code::quarter, 1},
    {"MONTH", date_code::month_name, 0},
    {"MON", date_code::month_abbreviation, 0},
    {"MM", date_code::month, 2},
    {"MI", date_code::minute, 2},
    {"RM", date_code::month_roman, 0},
    {"WW", date_code::week_of_year, 2},
    {"W", date_code::week_of_month, 1},
    {"DAY", date_code::day_name, 0},
    {"DDD", date_code::day_of_year, 3},
    {"DD", date_code::day_of_month, 2},
    {"DY", date_code::day_abbreviation, 0},
    {"D", date_code::day_of_week, 1},
    {"J", date_code::julian_day, 7},
    {"HH24", date_code::hour24, 2},
    {"HH12", date_code::hour12, 2},
    {"HH", date_code::hour12, 2},
    {"SSSSS", date_code::second_of_day, 5},
    {"SS", date_code::second, 2},
    {"A.M.", date_code::dotted_meridian, 0},
    {"P.M.", date_code::dotted_meridian, 0},
    {"AM", date_code::meridian, 0},
    {"PM", date_code::meridian, 0},
    {"FF", date_code::fraction, 0},
    {"X", date_code::radix, 0},
    {"TZH", date_code::zone_hour, 0},
    {"TZM", date_code::zone_minute, 0},
    {"TZR", date_code::zone_region, 0},
    {"TZD", date_code::zone_daylight, 0},
};

letter_case case_of(std::string_view spelling)
{
    if (spelling[0] != upper(spelling[0]))
        return letter_case::lower;
    // The letter behind the dot tells in "A.m.".
    char second = spelling[1] == '.' ? spelling[2] : spelling[1];
    return second == upper(second) ? letter_case::upper : letter_case::capitalized;
}

bool take_literal(std::string_view *format, date_element *element)
{
    char first = format->front();
    if (first == '"') {
        std::size_t end = format->find('"', 1);
        if (end == std::string_view::npos)
            return false;
        element->text = format->substr(1, end - 1);
        element->quoted = true;
        format->remove_prefix(end + 1);
        return true;
    }
    if (is_digit(first) || is_letter(first) || static_cast<unsigned char>(first) >= 0x80)
        return false;
    element->text = format->substr(0, 1);
    format->remove_prefix(1);
    return true;
}

} // namespace

bool next_date_element(std::string_view *format, date_element *element)
{
    *element = {date_code::literal, {}, letter_case::upper, 0, false, false};
    const char first = upper(format->front());
    for (const code_spelling &spelling : spellings) {
        if (spelling.text.front() != first || !starts_with(*format, spelling.text))
            continue;
        element->code = spelling.code;
        element->width = spelling.width;
        if (spelling.text.size() > 1)
            element->letters = case_of(*format);
        format->remove_prefix(spelling.text.size());
        if (spelling.width > 0 && starts_with(*format, "TH")) {
            element->ordinal = true;
            element->letters = case_of(*format);
            format->remove_prefix(2);
        }
        if (spelling.code == date_code::fraction && !format->empty() && is_digit(format->front())) {
            element->width = format->front() - '0';
            format->remove_prefix(1);
            return element->width > 0;
        }
        return true;
    }
    return take_literal(format, element);
}

bool is_time_of_day(date_code code)
{
    switch (code) {
    case date_code::hour12:
    case date_code::hour24:
    case date_code::minute:
    case date_code::second:
    case date_code::second_of_day:
    case date_code::meridian:
    case date_code::dotted_meridian:
        return true;
    default:
        return is_of_timestamp(code);
    }
}

bool is_of_timestamp(date_code code)
{
    switch (code) {
    case date_code::radix:
    case date_code::fraction:
    case date_code::zone_hour:
    case date_code::zone_minute:
    case date_code::zone_region:
    case date_code::zone_daylight:
        return true;
    default:
        return false;
    }
}

} // namespace sqlite_oci
