// The ORA- numbers of date errors.
#pragma once

namespace sqlite_oci
{

enum date_error : int {
    date_ok = 0,
    date_code_repeated = 1810,
    date_julian_with_day_of_year = 1811,
    date_year_repeated = 1812,
    date_hour_repeated = 1813,
    date_month_repeated = 1816,
    date_weekday_repeated = 1817,
    date_meridian_with_hour24 = 1818,
    date_era_with_signed_year = 1819,
    date_code_not_for_input = 1820,
    date_format_unknown = 1821,
    date_input_left_over = 1830,
    date_year_conflict = 1831,
    date_day_of_year_conflict = 1832,
    date_month_conflict = 1833,
    date_day_conflict = 1834,
    date_weekday_conflict = 1835,
    date_hour_conflict = 1836,
    date_minute_conflict = 1837,
    date_second_conflict = 1838,
    date_no_such_day_in_month = 1839,
    date_input_too_short = 1840,
    date_year_out_of_range = 1841,
    date_no_month = 1843,
    date_no_weekday = 1846,
    date_day_out_of_range = 1847,
    date_day_of_year_out_of_range = 1848,
    date_hour12_out_of_range = 1849,
    date_hour24_out_of_range = 1850,
    date_minute_out_of_range = 1851,
    date_second_out_of_range = 1852,
    date_second_of_day_out_of_range = 1853,
    date_julian_out_of_range = 1854,
    date_no_meridian = 1855,
    date_no_era = 1856,
    date_no_zone = 1857,
    date_digit_expected = 1858,
    date_letter_expected = 1859,
    date_literal_mismatch = 1861,
    date_digit_count = 1862,
    date_zone_hour_out_of_range = 1874,
    date_zone_minute_out_of_range = 1875,
    date_fraction_out_of_range = 1880,
    date_region_unknown = 1882,
};

} // namespace sqlite_oci
