// Format models of dates ("DD-MON-YYYY HH24:MI:SS"), taken apart.
#pragma once

#include <cstdint>
#include <string_view>

namespace sqlite_oci
{

enum class date_code : std::uint8_t {
    literal, // punctuation, blanks or quoted text
    fill_mode,
    exact_mode,
    year4, // YYYY; year3 to year1 are its last digits
    year3,
    year2,
    year1,
    signed_year,
    comma_year,  // Y,YYY
    round_year2, // RR
    round_year4, // RRRR
    iso_year4,
    iso_year3,
    iso_year2,
    iso_year1,
    era,        // BC, AD
    dotted_era, // B.C., A.D.
    century,
    signed_century,
    quarter,
    month,
    month_abbreviation,
    month_name,
    month_roman,
    week_of_year,
    iso_week,
    week_of_month,
    day_of_year,
    day_of_month,
    day_of_week,
    day_abbreviation,
    day_name,
    julian_day,
    hour12,
    hour24,
    minute,
    second,
    second_of_day,
    meridian,        // AM, PM
    dotted_meridian, // A.M., P.M.
    radix,           // X: the point before a fraction
    fraction,        // FF, FF1 to FF9
    zone_hour,
    zone_minute,
    zone_region,
    zone_daylight,
};

enum class letter_case : std::uint8_t { upper, capitalized, lower };

struct date_element {
    date_code code;
    std::string_view text; // the literal
    letter_case letters;   // of names and of TH, as they are written in the format
    int width;             // most digits of a number; of FF the digits that it names, 0 for none
    bool ordinal;          // followed by TH
    bool quoted;
};

// Takes the next element from the front of *format; false if the format is not understood.
bool next_date_element(std::string_view *format, date_element *element);

bool is_time_of_day(date_code code);

// Whether only a TIMESTAMP has what the element stands for.
bool is_of_timestamp(date_code code);

inline constexpr std::string_view month_names[] = {"JANUARY",   "FEBRUARY", "MARCH",    "APRIL",
                                                   "MAY",       "JUNE",     "JULY",     "AUGUST",
                                                   "SEPTEMBER", "OCTOBER",  "NOVEMBER", "DECEMBER"};
inline constexpr std::string_view roman_months[] = {"I",   "II",   "III", "IV", "V",  "VI",
                                                    "VII", "VIII", "IX",  "X",  "XI", "XII"};
inline constexpr std::string_view day_names[] = {"SUNDAY",   "MONDAY", "TUESDAY", "WEDNESDAY",
                                                 "THURSDAY", "FRIDAY", "SATURDAY"};
constexpr std::size_t name_abbreviation = 3;
constexpr std::size_t longest_name = 9;  // SEPTEMBER, WEDNESDAY
constexpr std::size_t longest_roman = 4; // VIII

// Days by which the J element counts less than the day number in years BC: J is 1 on 1 January 4712 BC and
// the day number on later dates, so that 365 of its values, in place of a year 0, stand for no date.
constexpr int julian_shift_bc = 365;

} // namespace sqlite_oci
