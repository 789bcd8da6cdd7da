// Datetime descriptors: fields, comparison and arithmetic.
#include "calls/datetime_call.h"
#include "values/date_errors.h"

using namespace sqlite_oci;

namespace
{

int required_zone(std::string_view text)
{
    int zone = 0;
    if (!zone_from_text(text, &zone))
        check_date(date_region_unknown);
    return zone;
}

// TIMESTAMPs with and without zone, and DATEs, are compared with each other; times of day are not.
void check_comparable(const datetime_descriptor &a, const datetime_descriptor &b)
{
    const auto is_time_only = [](const datetime_descriptor &one) {
        return one.kind == OCI_DTYPE_TIME || one.kind == OCI_DTYPE_TIME_TZ;
    };
    if (is_time_only(a) != is_time_only(b))
        fail(932, "a time of day and a datetime do not mix");
}

sword add_interval(void *hndl, OCIError *err, const OCIDateTime *datetime, const OCIInterval *inter,
                   OCIDateTime *result, bool subtract)
{
    return datetime_call(hndl, err, [&] {
        const timestamp from = existing_time(datetime);
        const interval &step = required_interval(inter).value;
        auto &target = required_datetime(result);
        timestamp moved;
        check_date(timestamp_add_interval(from, subtract ? interval_negated(step) : step, &moved));
        check_date(assign(target, moved));
    });
}

} // namespace

extern "C" {

// The fields are taken as they are, for OCIDateTimeCheck to look at. Where a zone belongs to the type and
// none is given, it is the machine's own.
SQLITE_OCI_EXPORT sword OCIDateTimeConstruct(void *hndl, OCIError *err, OCIDateTime *datetime, sb2 year,
                                             ub1 month, ub1 day, ub1 hour, ub1 min, ub1 sec, ub4 fsec,
                                             OraText *timezone, size_t timezone_length)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_datetime(datetime);
        timestamp time;
        if (target.kind == OCI_DTYPE_TIME || target.kind == OCI_DTYPE_TIME_TZ)
            time.local = {1, 1, 1, hour, min, sec};
        else
            time.local = {year, month, day, hour, min, sec};
        if (target.kind != OCI_DTYPE_DATE)
            time.nanosecond = fsec < static_cast<ub4>(SB4MAXVAL) ? static_cast<int>(fsec) : SB4MAXVAL;
        if (target.has_zone() && timezone && timezone_length)
            time.zone = required_zone(text_of(timezone, timezone_length));
        else if (target.has_zone() && date_is_valid(time.local))
            time = timestamp_with_zone(time);
        if (target.kind == OCI_DTYPE_TIMESTAMP_LTZ && timestamp_check(time) == date_ok)
            check_date(assign(target, time));
        else
            target.time = time;
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeSysTimeStamp(void *hndl, OCIError *err, OCIDateTime *sys_date)
{
    return datetime_call(hndl, err,
                         [&] { check_date(assign(required_datetime(sys_date), timestamp_now())); });
}

SQLITE_OCI_EXPORT sword OCIDateTimeGetDate(void *hndl, OCIError *err, const OCIDateTime *datetime, sb2 *year,
                                           ub1 *month, ub1 *day)
{
    return datetime_call(hndl, err, [&] {
        const civil_time &time = required_datetime(datetime).time.local;
        check_given(year, month, day);
        *year = static_cast<sb2>(time.year);
        *month = static_cast<ub1>(time.month);
        *day = static_cast<ub1>(time.day);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeGetTime(void *hndl, OCIError *err, OCIDateTime *datetime, ub1 *hour,
                                           ub1 *min, ub1 *sec, ub4 *fsec)
{
    return datetime_call(hndl, err, [&] {
        const timestamp &time = required_datetime(datetime).time;
        check_given(hour, min, sec, fsec);
        *hour = static_cast<ub1>(time.local.hour);
        *min = static_cast<ub1>(time.local.minute);
        *sec = static_cast<ub1>(time.local.second);
        *fsec = static_cast<ub4>(time.nanosecond);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeGetTimeZoneName(void *hndl, OCIError *err, const OCIDateTime *datetime,
                                                   ub1 *buf, ub4 *buflen)
{
    return datetime_call(hndl, err, [&] {
        const timestamp time = timestamp_with_zone(existing_time(datetime));
        copy_datetime_text(zone_to_text(*time.zone), buflen, buf);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeGetTimeZoneOffset(void *hndl, OCIError *err, const OCIDateTime *datetime,
                                                     sb1 *hour, sb1 *min)
{
    return datetime_call(hndl, err, [&] {
        const timestamp time = timestamp_with_zone(existing_time(datetime));
        check_given(hour, min);
        *hour = static_cast<sb1>(*time.zone / 60);
        *min = static_cast<sb1>(*time.zone % 60);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeAssign(void *hndl, OCIError *err, const OCIDateTime *from, OCIDateTime *to)
{
    return datetime_call(hndl, err, [&] {
        const auto &source = required_datetime(from);
        auto &target = required_datetime(to);
        if (source.kind != target.kind)
            fail(932, "the datetimes are of different types: OCIDateTimeConvert makes one of the other");
        target.time = source.time;
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeConvert(void *hndl, OCIError *err, OCIDateTime *indate,
                                           OCIDateTime *outdate)
{
    return datetime_call(hndl, err,
                         [&] { check_date(assign(required_datetime(outdate), existing_time(indate))); });
}

SQLITE_OCI_EXPORT sword OCIDateTimeCheck(void *hndl, OCIError *err, const OCIDateTime *date, ub4 *valid)
{
    return datetime_call(hndl, err, [&] {
        const timestamp &time = required_datetime(date).time;
        check_given(valid);
        *valid = date_check(time.local); // the bits have the same numbers for datetimes
        if (time.nanosecond >= nanoseconds_per_second)
            *valid |= OCI_DT_INVALID_SECOND;
        if (time.zone && (*time.zone < zone_min || *time.zone > zone_max))
            *valid |= OCI_DT_INVALID_TIMEZONE;
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeCompare(void *hndl, OCIError *err, const OCIDateTime *date1,
                                           const OCIDateTime *date2, sword *result)
{
    return datetime_call(hndl, err, [&] {
        const timestamp first = existing_time(date1), second = existing_time(date2);
        check_comparable(required_datetime(date1), required_datetime(date2));
        check_given(result);
        *result = timestamp_compare(first, second);
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeSubtract(void *hndl, OCIError *err, OCIDateTime *indate1,
                                            OCIDateTime *indate2, OCIInterval *inter)
{
    return datetime_call(hndl, err, [&] {
        const timestamp first = existing_time(indate1), second = existing_time(indate2);
        check_comparable(required_datetime(indate1), required_datetime(indate2));
        auto &target = required_interval(inter);
        check_date(interval_between(second, first, target.type(), &target.value));
    });
}

SQLITE_OCI_EXPORT sword OCIDateTimeIntervalAdd(void *hndl, OCIError *err, OCIDateTime *datetime,
                                               OCIInterval *inter, OCIDateTime *outdatetime)
{
    return add_interval(hndl, err, datetime, inter, outdatetime, false);
}

SQLITE_OCI_EXPORT sword OCIDateTimeIntervalSub(void *hndl, OCIError *err, OCIDateTime *datetime,
                                               OCIInterval *inter, OCIDateTime *outdatetime)
{
    return add_interval(hndl, err, datetime, inter, outdatetime, true);
}

} // extern "C"
