// What is wrong with a date.
#include "values/date_errors.h"

#include "values/date.h"

namespace sqlite_oci
{

int date_error_of(uword bits)
{
    struct rule {
        uword bits;
        int code;
    };
    static constexpr rule rules[] = {
        {OCI_DATE_INVALID_YEAR | OCI_DATE_YEAR_ZERO, date_year_out_of_range},
        {OCI_DATE_INVALID_MONTH, date_no_month},
        {OCI_DATE_INVALID_DAY, date_day_out_of_range},
        {OCI_DATE_DAY_MISSING_FROM_1582, date_no_such_day_in_month},
        {OCI_DATE_INVALID_HOUR, date_hour24_out_of_range},
        {OCI_DATE_INVALID_MINUTE, date_minute_out_of_range},
        {OCI_DATE_INVALID_SECOND, date_second_out_of_range},
    };
    for (const rule &rule : rules)
        if (bits & rule.bits)
            return rule.code;
    return date_ok;
}

const char *date_error_text(int code)
{
    switch (static_cast<date_error>(code)) {
    case date_ok:
        break;
    case date_code_repeated:
        return "a format element appears more than once";
    case date_julian_with_day_of_year:
        return "J and DDD cannot be used together";
    case date_year_repeated:
        return "the format has more than one year";
    case date_hour_repeated:
        return "the format has more than one hour";
    case date_month_repeated:
        return "the format has more than one month";
    case date_weekday_repeated:
        return "the format has more than one day of the week";
    case date_meridian_with_hour24:
        return "HH24 cannot be used together with AM or PM";
    case date_era_with_signed_year:
        return "SYYYY cannot be used together with BC or AD";
    case date_code_not_for_input:
        return "the format has an element that is for output only";
    case date_format_unknown:
        return "the date format is not recognized";
    case date_input_left_over:
        return "the text goes on where the date format ends";
    case date_year_conflict:
        return "the year contradicts the Julian day";
    case date_day_of_year_conflict:
        return "the day of the year contradicts the Julian day";
    case date_month_conflict:
        return "the month contradicts another field of the date";
    case date_day_conflict:
        return "the day of the month contradicts another field of the date";
    case date_weekday_conflict:
        return "the date falls on another day of the week";
    case date_hour_conflict:
        return "the hour contradicts the seconds past midnight";
    case date_minute_conflict:
        return "the minute contradicts the seconds past midnight";
    case date_second_conflict:
        return "the second contradicts the seconds past midnight";
    case date_no_such_day_in_month:
        return "the month has no such day";
    case date_input_too_short:
        return "the text ends before the date format does";
    case date_year_out_of_range:
        return "the year must lie between -4712 and 9999 and cannot be 0";
    case date_no_month:
        return "no such month";
    case date_no_weekday:
        return "no such day of the week";
    case date_day_out_of_range:
        return "the day must lie between 1 and the last day of the month";
    case date_day_of_year_out_of_range:
        return "the day of the year must lie between 1 and 365, or 366 in a leap year";
    case date_hour12_out_of_range:
        return "the hour must lie between 1 and 12";
    case date_hour24_out_of_range:
        return "the hour must lie between 0 and 23";
    case date_minute_out_of_range:
        return "the minute must lie between 0 and 59";
    case date_second_out_of_range:
        return "the second must lie between 0 and 59";
    case date_second_of_day_out_of_range:
        return "the seconds past midnight must lie between 0 and 86399";
    case date_julian_out_of_range:
        return "no day has this Julian day number; it must lie between 1 and 5373484";
    case date_no_meridian:
        return "AM, PM, A.M. or P.M. is expected";
    case date_no_era:
        return "AD, BC, A.D. or B.C. is expected";
    case date_no_zone:
        return "no such time zone";
    case date_digit_expected:
        return "a digit is expected where the text has something else";
    case date_letter_expected:
        return "a letter is expected where the text has something else";
    case date_zone_hour_out_of_range:
        return "the time zone must lie between -12:59 and +14:00";
    case date_zone_minute_out_of_range:
        return "the minutes of the time zone must lie between 0 and 59";
    case date_fraction_out_of_range:
        return "the fraction of a second must lie between 0 and 999999999 nanoseconds";
    case date_region_unknown:
        return "no such time zone: regions are not known by name, offsets such as +02:00 are";
    case date_literal_mismatch:
        return "the text differs from the literal of the date format";
    case date_digit_count:
        return "a number has not as many digits as the exact date format asks for";
    }
    return "the date is not valid";
}

} // namespace sqlite_oci
