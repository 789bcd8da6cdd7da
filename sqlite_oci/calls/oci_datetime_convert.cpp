// Datetime descriptors: texts, and the bytes that a server keeps.
#include "calls/datetime_call.h"
#include "text/text_scan.h"
#include "values/date_errors.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{

void check_language(std::string_view name)
{
    if (!name.empty() && !equal_ignoring_case(name, "AMERICAN") && !equal_ignoring_case(name, "ENGLISH"))
        fail(12702, "names of months and days in \"%.*s\" are not supported: use AMERICAN", shown(name),
             name.data());
}

void copy_datetime_text(const std::string &text, ub4 *size, OraText *buffer)
{
    check_given(size, buffer);
    if (text.size() > *size)
        fail(1877, "a buffer of %u bytes is too small for a text of %zu", *size, text.size());
    std::memcpy(buffer, text.data(), text.size());
    if (text.size() < *size)
        buffer[text.size()] = '\0';
    *size = static_cast<ub4>(text.size());
}

} // namespace sqlite_oci

using namespace sqlite_oci;

namespace
{

// The bytes of a DATE, then the fraction with the highest byte first, then the zone, hours in excess of 20
// and minutes of 60. Values with a zone are in UTC.
constexpr std::size_t date_bytes = 7;
constexpr std::size_t fraction_bytes = 11;
constexpr std::size_t zone_bytes = 13;
constexpr int excess_hours = 20, excess_minutes = 60;

std::string_view format_of(const datetime_descriptor &of, const OraText *fmt, ub1 fmt_length)
{
    if (fmt)
        return text_of(fmt, fmt_length);
    if (of.kind == OCI_DTYPE_DATE)
        return date_default_format;
    return of.kind == OCI_DTYPE_TIMESTAMP_TZ ? timestamp_zoned_default_format : timestamp_default_format;
}

void check_digits(ub1 digits)
{
    if (digits > 9)
        fail(30088, "the fraction of a second has 0 to 9 digits, not %u", digits);
}

std::size_t array_size(ub4 kind)
{
    switch (kind) {
    case OCI_DTYPE_DATE:
        return date_bytes;
    case OCI_DTYPE_TIMESTAMP_TZ:
    case OCI_DTYPE_TIME_TZ:
        return zone_bytes;
    default:
        return fraction_bytes;
    }
}

ub4 kind_of_type(ub1 type)
{
    switch (type) {
    case SQLT_DATE:
    case SQLT_DAT:
        return OCI_DTYPE_DATE;
    case SQLT_TIMESTAMP:
        return OCI_DTYPE_TIMESTAMP;
    case SQLT_TIMESTAMP_TZ:
        return OCI_DTYPE_TIMESTAMP_TZ;
    case SQLT_TIMESTAMP_LTZ:
        return OCI_DTYPE_TIMESTAMP_LTZ;
    default:
        fail(3115, "datetimes of type %u are not served", type);
    }
}

// The zone that values with a local time zone are seen in: that of `reftz`, or the machine's own.
int reference_zone(const OCIInterval *reftz, const timestamp &time)
{
    return reftz ? static_cast<int>(required_interval(reftz).value.count / 60)
                 : *timestamp_with_zone(time).zone;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIDateTimeToText(void *hndl, OCIError *err, const OCIDateTime *date,
                                          const OraText *fmt, ub1 fmt_length, ub1 fsprec,
                                          const OraText *lang_name, size_t lang_length, ub4 *buf_size,
                                          OraText *buf)
{
    return datetime_call(hndl, err, [&] {
        const timestamp time = existing_time(date);
        check_language(text_of(lang_name, lang_length));
        check_digits(fsprec);
        std::string text;
        const auto format = format_of(required_datetime(date), fmt, fmt_length);
        check_date(timestamp_format(time, format, fsprec ? fsprec : timestamp_default_digits, &text));
        copy_datetime_text(text, buf_size, buf);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeFromText(void *hndl, OCIError *err, const OraText *date_str,
                                            size_t dstr_length, const OraText *fmt, ub1 fmt_length,
                                            const OraText *lang_name, size_t lang_length,
                                            OCIDateTime *datetime)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_datetime(datetime);
        check_given(date_str);
        check_language(text_of(lang_name, lang_length));
        timestamp time;
        check_date(timestamp_parse_format(text_of(date_str, dstr_length), format_of(target, fmt, fmt_length),
                                          date_now(), &time));
        check_date(assign(target, time));
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeToArray(void *hndl, OCIError *err, const OCIDateTime *datetime,
                                           const OCIInterval *reftz, ub1 *outarray, ub4 *len, ub1 fsprec)
{
    return datetime_call(hndl, err, [&] {
        timestamp time = existing_time(datetime);
        const ub4 kind = required_datetime(datetime).kind;
        check_given(outarray, len);
        check_digits(fsprec);
        const std::size_t size = array_size(kind);
        if (*len < size)
            fail(1877, "an array of %u bytes is too small for a value of %zu", *len, size);
        if (!timestamp_round(&time, fsprec ? fsprec : 9))
            check_date(date_year_out_of_range);
        const int zone = time.zone.value_or(0);
        if (kind == OCI_DTYPE_TIMESTAMP_LTZ && !timestamp_to_zone(time, reference_zone(reftz, time), &time))
            check_date(date_year_out_of_range);
        if (size == zone_bytes && !timestamp_to_zone(time, 0, &time))
            check_date(date_year_out_of_range);
        ub1 bytes[zone_bytes] = {};
        date_to_dat(time.local, bytes);
        for (int i = 0; i < 4; ++i)
            bytes[date_bytes + static_cast<std::size_t>(i)] =
                static_cast<ub1>(time.nanosecond >> (24 - 8 * i) & 0xff);
        bytes[fraction_bytes] = static_cast<ub1>(zone / 60 + excess_hours);
        bytes[fraction_bytes + 1] = static_cast<ub1>(zone % 60 + excess_minutes);
        std::copy_n(bytes, size, outarray);
        *len = static_cast<ub4>(size);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeFromArray(void *hndl, OCIError *err, const ub1 *inarray, ub4 len, ub1 type,
                                             OCIDateTime *datetime, const OCIInterval *reftz, ub1 fsprec)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_datetime(datetime);
        check_given(inarray);
        check_digits(fsprec);
        const ub4 kind = kind_of_type(type);
        const std::size_t size = array_size(kind);
        timestamp time;
        if (len < date_bytes || (size == zone_bytes && len < size) || !date_from_dat(inarray, &time.local))
            fail(date_year_out_of_range, "the %u bytes are no datetime of type %u", len, type);
        for (std::size_t i = date_bytes; size > date_bytes && i < fraction_bytes && len >= fraction_bytes;
             ++i)
            time.nanosecond = time.nanosecond << 8 | inarray[i];
        if (size == zone_bytes) {
            time.zone = 0;
            const int zone =
                (inarray[fraction_bytes] - excess_hours) * 60 + inarray[fraction_bytes + 1] - excess_minutes;
            if (zone < zone_min || zone > zone_max || !timestamp_to_zone(time, zone, &time))
                check_date(date_zone_hour_out_of_range);
        } else if (kind == OCI_DTYPE_TIMESTAMP_LTZ) {
            time.zone = reference_zone(reftz, time);
        }
        check_date(timestamp_check(time));
        if (!timestamp_round(&time, fsprec ? fsprec : 9))
            check_date(date_year_out_of_range);
        check_date(assign(target, time));
    });
}

} // extern "C"
