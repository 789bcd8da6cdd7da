// The OCIDate calls.
#include "calls/value_call.h"
#include "text/text_scan.h"
#include "values/date.h"
#include "values/date_errors.h"

#include <cstring>
#include <string>

using namespace sqlite_oci;

namespace
{

enum text_error : int {
    text_too_long = 1877,
    unknown_language = 12702,
};

constexpr std::string_view default_format = "DD-MON-YY";

sword report(OCIError *err, int code)
{
    return code == date_ok ? OCI_SUCCESS : raise_error(err, code, "%s", date_error_text(code));
}

// Reads an argument that must be a valid date; returns 0 or the ORA- number.
int read_date(const OCIDate &date, civil_time *time)
{
    *time = date_from_ocidate(date);
    return date_error_of(date_check(*time));
}

// Calls that make one date of another: `change(civil_time *)` returns 0 or an ORA- number.
template <class Change> sword derive(OCIError *err, const OCIDate *date, OCIDate *result, Change change)
{
    return with_error_handle(err, [&] {
        if (any_null(date, result))
            return refuse_null(err);
        civil_time time{};
        int code = read_date(*date, &time);
        if (code == date_ok)
            code = change(&time);
        if (code == date_ok)
            date_to_ocidate(time, result);
        return report(err, code);
    });
}

// Calls that look at two dates: `look(first, second)`.
template <class Look> sword inspect(OCIError *err, const OCIDate *date1, const OCIDate *date2, Look look)
{
    civil_time first{};
    civil_time second{};
    int code = read_date(*date1, &first);
    if (code == date_ok)
        code = read_date(*date2, &second);
    if (code == date_ok)
        look(first, second);
    return report(err, code);
}

bool is_known_language(std::string_view name)
{
    return name.empty() || equal_ignoring_case(name, "AMERICAN") || equal_ignoring_case(name, "ENGLISH");
}

sword refuse_language(OCIError *err, std::string_view name)
{
    return raise_error(err, unknown_language,
                       "names of months and days in \"%.*s\" are not supported: use AMERICAN", shown(name),
                       name.data());
}

struct zone {
    std::string_view name;
    int minutes; // east of Greenwich
};

// The zones that the call knows by name.
constexpr zone zones[] = {
    {"AST", -4 * 60}, {"ADT", -3 * 60}, {"BST", -11 * 60}, {"BDT", -10 * 60}, {"CST", -6 * 60},
    {"CDT", -5 * 60}, {"EST", -5 * 60}, {"EDT", -4 * 60},  {"GMT", 0},        {"HST", -10 * 60},
    {"HDT", -9 * 60}, {"MST", -7 * 60}, {"MDT", -6 * 60},  {"NST", -210},     {"PST", -8 * 60},
    {"PDT", -7 * 60}, {"YST", -9 * 60}, {"YDT", -8 * 60},
};

const zone *find_zone(std::string_view name)
{
    for (const zone &candidate : zones)
        if (equal_ignoring_case(trim(name), candidate.name))
            return &candidate;
    return nullptr;
}

sword refuse_zone(OCIError *err, std::string_view name)
{
    return raise_error(err, date_no_zone, "\"%.*s\" is not a time zone that can be converted", shown(name),
                       name.data());
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT void OCIDateGetDate(const OCIDate *date, sb2 *year, ub1 *month, ub1 *day)
{
    *year = date->OCIDateYYYY;
    *month = date->OCIDateMM;
    *day = date->OCIDateDD;
}

SQLITE_OCI_EXPORT void OCIDateSetDate(OCIDate *date, sb2 year, ub1 month, ub1 day)
{
    date->OCIDateYYYY = year;
    date->OCIDateMM = month;
    date->OCIDateDD = day;
}

SQLITE_OCI_EXPORT void OCIDateGetTime(const OCIDate *date, ub1 *hour, ub1 *min, ub1 *sec)
{
    *hour = date->OCIDateTime.OCITimeHH;
    *min = date->OCIDateTime.OCITimeMI;
    *sec = date->OCIDateTime.OCITimeSS;
}

SQLITE_OCI_EXPORT void OCIDateSetTime(OCIDate *date, ub1 hour, ub1 min, ub1 sec)
{
    date->OCIDateTime.OCITimeHH = hour;
    date->OCIDateTime.OCITimeMI = min;
    date->OCIDateTime.OCITimeSS = sec;
}

SQLITE_OCI_EXPORT sword OCIDateAssign(OCIError *err, const OCIDate *from, OCIDate *to)
{
    return with_error_handle(err, [&] {
        if (any_null(from, to))
            return refuse_null(err);
        *to = *from;
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCIDateToText(OCIError *err, const OCIDate *date, const OraText *fmt, ub1 fmt_length,
                                      const OraText *lang_name, ub4 lang_length, ub4 *buf_size, OraText *buf)
{
    return with_error_handle(err, [&] {
        if (any_null(date, buf_size, buf))
            return refuse_null(err);
        std::string_view language = text_of(lang_name, lang_length);
        if (!is_known_language(language))
            return refuse_language(err, language);
        civil_time time{};
        std::string text;
        int code = read_date(*date, &time);
        if (code == date_ok)
            code = date_format(time, fmt ? text_of(fmt, fmt_length) : default_format, &text);
        if (code != date_ok)
            return report(err, code);
        if (text.size() > *buf_size)
            return raise_error(err, text_too_long, "a buffer of %u bytes is too small for a text of %zu",
                               *buf_size, text.size());
        std::memcpy(buf, text.data(), text.size());
        if (text.size() < *buf_size)
            buf[text.size()] = '\0';
        *buf_size = static_cast<ub4>(text.size());
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCIDateFromText(OCIError *err, const OraText *date_str, ub4 d_str_length,
                                        const OraText *fmt, ub1 fmt_length, const OraText *lang_name,
                                        ub4 lang_length, OCIDate *date)
{
    return with_error_handle(err, [&] {
        if (any_null(date_str, date))
            return refuse_null(err);
        std::string_view language = text_of(lang_name, lang_length);
        if (!is_known_language(language))
            return refuse_language(err, language);
        civil_time time{};
        int code = date_parse_format(text_of(date_str, d_str_length),
                                     fmt ? text_of(fmt, fmt_length) : default_format, date_now(), &time);
        if (code == date_ok)
            date_to_ocidate(time, date);
        return report(err, code);
    });
}

SQLITE_OCI_EXPORT sword OCIDateCompare(OCIError *err, const OCIDate *date1, const OCIDate *date2,
                                       sword *result)
{
    return with_error_handle(err, [&] {
        if (any_null(date1, date2, result))
            return refuse_null(err);
        return inspect(err, date1, date2, [&](const civil_time &first, const civil_time &second) {
            *result = date_compare(first, second);
        });
    });
}

SQLITE_OCI_EXPORT sword OCIDateDaysBetween(OCIError *err, const OCIDate *date1, const OCIDate *date2,
                                           sb4 *num_days)
{
    return with_error_handle(err, [&] {
        if (any_null(date1, date2, num_days))
            return refuse_null(err);
        return inspect(err, date1, date2, [&](const civil_time &first, const civil_time &second) {
            *num_days = date_to_day_number(first.year, first.month, first.day) -
                        date_to_day_number(second.year, second.month, second.day);
        });
    });
}

SQLITE_OCI_EXPORT sword OCIDateAddMonths(OCIError *err, const OCIDate *date, sb4 num_months, OCIDate *result)
{
    return derive(err, date, result, [&](civil_time *time) {
        return date_add_months(*time, num_months, time) ? date_ok : date_year_out_of_range;
    });
}

SQLITE_OCI_EXPORT sword OCIDateAddDays(OCIError *err, const OCIDate *date, sb4 num_days, OCIDate *result)
{
    return derive(err, date, result, [&](civil_time *time) {
        return date_add_days(*time, num_days, time) ? date_ok : date_year_out_of_range;
    });
}

SQLITE_OCI_EXPORT sword OCIDateLastDay(OCIError *err, const OCIDate *date, OCIDate *last_day)
{
    return derive(err, date, last_day, [](civil_time *time) {
        time->day = date_last_day(time->year, time->month);
        return date_ok;
    });
}

SQLITE_OCI_EXPORT sword OCIDateNextDay(OCIError *err, const OCIDate *date, const OraText *day_p,
                                       ub4 day_length, OCIDate *next_day)
{
    return derive(err, date, next_day, [&](civil_time *time) {
        int wanted = date_day_from_name(text_of(day_p, day_length));
        if (wanted < 0)
            return date_no_weekday;
        int days = (wanted - date_day_of_week(*time) + 6) % 7 + 1;
        return date_add_days(*time, days, time) ? date_ok : date_year_out_of_range;
    });
}

SQLITE_OCI_EXPORT sword OCIDateZoneToZone(OCIError *err, const OCIDate *date1, const OraText *zon1,
                                          ub4 zon1_length, const OraText *zon2, ub4 zon2_length,
                                          OCIDate *date2)
{
    return with_error_handle(err, [&] {
        const zone *from = find_zone(text_of(zon1, zon1_length));
        if (!from)
            return refuse_zone(err, text_of(zon1, zon1_length));
        const zone *to = find_zone(text_of(zon2, zon2_length));
        if (!to)
            return refuse_zone(err, text_of(zon2, zon2_length));
        return derive(err, date1, date2, [&](civil_time *time) {
            int seconds = (to->minutes - from->minutes) * 60;
            return date_add_seconds(*time, seconds, time) ? date_ok : date_year_out_of_range;
        });
    });
}

SQLITE_OCI_EXPORT sword OCIDateCheck(OCIError *err, const OCIDate *date, uword *valid)
{
    return with_error_handle(err, [&] {
        if (any_null(date, valid))
            return refuse_null(err);
        *valid = date_check(date_from_ocidate(*date));
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCIDateSysDate(OCIError *err, OCIDate *sys_date)
{
    return with_error_handle(err, [&] {
        if (any_null(sys_date))
            return refuse_null(err);
        date_to_ocidate(date_now(), sys_date);
        return sword{OCI_SUCCESS};
    });
}

} // extern "C"
