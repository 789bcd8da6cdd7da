// Intervals.
#include "calls/datetime_call.h"
#include "values/date_errors.h"

#include <cstring>

using namespace sqlite_oci;

namespace
{

// An interval of the type that the call is for.
interval_descriptor &required_interval_of(const void *descriptor, interval_type type)
{
    interval_descriptor &found = required_interval(descriptor);
    if (found.type() != type)
        fail(932, "the descriptor is of the other type of interval");
    return found;
}

void check_field(sb4 field, sb4 most, int code)
{
    if (field < -most || field > most)
        fail(code, "a field of an interval is %d and must not be beyond %d", field, most);
}

OCINumber finite_number(const OCINumber *number)
{
    check_given(number);
    if (!number_is_valid(*number) || number_is_infinite(*number))
        fail(22060, "the number is no initialized finite number");
    return *number;
}

// Calls that make an interval of one or two others, all of one type.
template <class Operation>
sword derive(void *hndl, OCIError *err, const OCIInterval *from, OCIInterval *result, Operation operation)
{
    return datetime_call(hndl, err, [&] {
        const interval_descriptor &source = required_interval(from);
        interval_descriptor &target = required_interval_of(result, source.type());
        interval value;
        check_date(operation(source.value, &value));
        target.value = value;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIIntervalSetYearMonth(void *hndl, OCIError *err, sb4 yr, sb4 mnth,
                                                OCIInterval *result)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_interval_of(result, interval_type::year_to_month);
        check_field(mnth, 11, date_no_month);
        check_date(interval_from_years(yr, mnth, &target.value));
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalGetYearMonth(void *hndl, OCIError *err, sb4 *yr, sb4 *mnth,
                                                const OCIInterval *interval)
{
    return datetime_call(hndl, err, [&] {
        const auto &held = required_interval_of(interval, interval_type::year_to_month);
        check_given(yr, mnth);
        *yr = static_cast<sb4>(held.value.count / 12);
        *mnth = static_cast<sb4>(held.value.count % 12);
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalSetDaySecond(void *hndl, OCIError *err, sb4 dy, sb4 hr, sb4 mm, sb4 ss,
                                                sb4 fsec, OCIInterval *result)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_interval_of(result, interval_type::day_to_second);
        check_field(hr, 23, date_hour24_out_of_range);
        check_field(mm, 59, date_minute_out_of_range);
        check_field(ss, 59, date_second_out_of_range);
        check_field(fsec, nanoseconds_per_second - 1, date_fraction_out_of_range);
        check_date(interval_from_days(dy, hr, mm, ss, fsec, &target.value));
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalGetDaySecond(void *hndl, OCIError *err, sb4 *dy, sb4 *hr, sb4 *mm, sb4 *ss,
                                                sb4 *fsec, const OCIInterval *interval)
{
    return datetime_call(hndl, err, [&] {
        const auto &held = required_interval_of(interval, interval_type::day_to_second);
        check_given(dy, hr, mm, ss, fsec);
        const std::int64_t seconds = held.value.count;
        *dy = static_cast<sb4>(seconds / seconds_per_day);
        *hr = static_cast<sb4>(seconds / 3600 % 24);
        *mm = static_cast<sb4>(seconds / 60 % 60);
        *ss = static_cast<sb4>(seconds % 60);
        *fsec = held.value.nanosecond;
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalAssign(void *hndl, OCIError *err, const OCIInterval *ininter,
                                          OCIInterval *outinter)
{
    return derive(hndl, err, ininter, outinter, [](const interval &from, interval *to) {
        *to = from;
        return 0;
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalToText(void *hndl, OCIError *err, const OCIInterval *interval, ub1 lfprec,
                                          ub1 fsprec, OraText *buffer, size_t buflen, size_t *resultlen)
{
    return datetime_call(hndl, err, [&] {
        const auto &held = required_interval(interval);
        check_given(buffer, resultlen);
        if (lfprec > interval_lead_max || fsprec > 9)
            fail(30088, "an interval has at most 9 digits in its leading field and its fraction");
        std::string text;
        check_date(interval_to_literal(held.value, lfprec, fsprec, &text));
        if (text.size() > buflen)
            fail(1877, "a buffer of %zu bytes is too small for a text of %zu", buflen, text.size());
        std::memcpy(buffer, text.data(), text.size());
        if (text.size() < buflen)
            buffer[text.size()] = '\0';
        *resultlen = text.size();
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalFromText(void *hndl, OCIError *err, const OraText *inpstring,
                                            size_t str_len, OCIInterval *result)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_interval(result);
        check_given(inpstring);
        check_date(interval_from_literal(text_of(inpstring, str_len), target.type(), &target.value));
    });
}

// Years or days.
SQLITE_OCI_EXPORT sword OCIIntervalToNumber(void *hndl, OCIError *err, const OCIInterval *interval,
                                            OCINumber *number)
{
    return datetime_call(hndl, err, [&] {
        const auto &held = required_interval(interval);
        check_given(number);
        check_date(interval_to_number(held.value, number));
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalFromNumber(void *hndl, OCIError *err, OCIInterval *interval,
                                              OCINumber *number)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_interval(interval);
        check_date(interval_from_number(finite_number(number), target.type(), &target.value));
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalFromTZ(void *hndl, OCIError *err, const OraText *inpstring, size_t str_len,
                                          OCIInterval *result)
{
    return datetime_call(hndl, err, [&] {
        auto &target = required_interval_of(result, interval_type::day_to_second);
        int minutes = 0;
        if (!zone_from_text(text_of(inpstring, str_len), &minutes))
            check_date(date_region_unknown);
        check_date(interval_from_days(0, 0, minutes, 0, 0, &target.value));
    });
}

// An interval that could be set is valid.
SQLITE_OCI_EXPORT sword OCIIntervalCheck(void *hndl, OCIError *err, const OCIInterval *interval, ub4 *valid)
{
    return datetime_call(hndl, err, [&] {
        required_interval(interval);
        check_given(valid);
        *valid = 0;
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalCompare(void *hndl, OCIError *err, OCIInterval *inter1,
                                           OCIInterval *inter2, sword *result)
{
    return datetime_call(hndl, err, [&] {
        const auto &first = required_interval(inter1);
        const auto &second = required_interval_of(inter2, first.type());
        check_given(result);
        *result = interval_compare(first.value, second.value);
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalAdd(void *hndl, OCIError *err, OCIInterval *addend1, OCIInterval *addend2,
                                       OCIInterval *result)
{
    return derive(hndl, err, addend1, result, [&](const interval &first, interval *sum) {
        return interval_add(first, required_interval(addend2).value, sum);
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalSubtract(void *hndl, OCIError *err, OCIInterval *minuend,
                                            OCIInterval *subtrahend, OCIInterval *result)
{
    return derive(hndl, err, minuend, result, [&](const interval &first, interval *difference) {
        return interval_add(first, interval_negated(required_interval(subtrahend).value), difference);
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalMultiply(void *hndl, OCIError *err, const OCIInterval *inter,
                                            OCINumber *nfactor, OCIInterval *result)
{
    return derive(hndl, err, inter, result, [&](const interval &from, interval *product) {
        return interval_multiply(from, finite_number(nfactor), product);
    });
}

SQLITE_OCI_EXPORT sword OCIIntervalDivide(void *hndl, OCIError *err, OCIInterval *dividend,
                                          OCINumber *divisor, OCIInterval *result)
{
    return derive(hndl, err, dividend, result, [&](const interval &from, interval *quotient) {
        return interval_divide(from, finite_number(divisor), quotient);
    });
}

} // extern "C"
