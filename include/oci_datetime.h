/* Dates, datetime descriptors and intervals. */
#ifndef OCI_DATETIME_H
#define OCI_DATETIME_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Fields of an OCIDate. */
void OCIDateGetDate(const OCIDate *date, sb2 *year, ub1 *month, ub1 *day);
void OCIDateSetDate(OCIDate *date, sb2 year, ub1 month, ub1 day);
void OCIDateGetTime(const OCIDate *date, ub1 *hour, ub1 *min, ub1 *sec);
void OCIDateSetTime(OCIDate *date, ub1 hour, ub1 min, ub1 sec);

/* Conversion, check and calculation with OCIDate. */
sword OCIDateAssign(OCIError *err, const OCIDate *from, OCIDate *to);
sword OCIDateToText(OCIError *err, const OCIDate *date, const OraText *fmt, ub1 fmt_length,
                    const OraText *lang_name, ub4 lang_length, ub4 *buf_size, OraText *buf);
sword OCIDateFromText(OCIError *err, const OraText *date_str, ub4 d_str_length, const OraText *fmt,
                      ub1 fmt_length, const OraText *lang_name, ub4 lang_length, OCIDate *date);
sword OCIDateCompare(OCIError *err, const OCIDate *date1, const OCIDate *date2, sword *result);
sword OCIDateCheck(OCIError *err, const OCIDate *date, uword *valid);
sword OCIDateSysDate(OCIError *err, OCIDate *sys_date);
sword OCIDateAddMonths(OCIError *err, const OCIDate *date, sb4 num_months, OCIDate *result);
sword OCIDateAddDays(OCIError *err, const OCIDate *date, sb4 num_days, OCIDate *result);
sword OCIDateLastDay(OCIError *err, const OCIDate *date, OCIDate *last_day);
sword OCIDateNextDay(OCIError *err, const OCIDate *date, const OraText *day_p, ub4 day_length,
                     OCIDate *next_day);
sword OCIDateDaysBetween(OCIError *err, const OCIDate *date1, const OCIDate *date2, sb4 *num_days);
sword OCIDateZoneToZone(OCIError *err, const OCIDate *date1, const OraText *zon1, ub4 zon1_length,
                        const OraText *zon2, ub4 zon2_length, OCIDate *date2);

/* Construction and fields of a datetime descriptor; fractions of a second are in nanoseconds. */
sword OCIDateTimeConstruct(void *hndl, OCIError *err, OCIDateTime *datetime, sb2 year, ub1 month, ub1 day,
                           ub1 hour, ub1 min, ub1 sec, ub4 fsec, OraText *timezone, size_t timezone_length);
sword OCIDateTimeSysTimeStamp(void *hndl, OCIError *err, OCIDateTime *sys_date);
sword OCIDateTimeGetDate(void *hndl, OCIError *err, const OCIDateTime *datetime, sb2 *year, ub1 *month,
                         ub1 *day);
sword OCIDateTimeGetTime(void *hndl, OCIError *err, OCIDateTime *datetime, ub1 *hour, ub1 *min, ub1 *sec,
                         ub4 *fsec);
sword OCIDateTimeGetTimeZoneName(void *hndl, OCIError *err, const OCIDateTime *datetime, ub1 *buf,
                                 ub4 *buflen);
sword OCIDateTimeGetTimeZoneOffset(void *hndl, OCIError *err, const OCIDateTime *datetime, sb1 *hour,
                                   sb1 *min);

/* Conversion, check and comparison of datetimes. */
sword OCIDateTimeAssign(void *hndl, OCIError *err, const OCIDateTime *from, OCIDateTime *to);
sword OCIDateTimeConvert(void *hndl, OCIError *err, OCIDateTime *indate, OCIDateTime *outdate);
sword OCIDateTimeToText(void *hndl, OCIError *err, const OCIDateTime *date, const OraText *fmt,
                        ub1 fmt_length, ub1 fsprec, const OraText *lang_name, size_t lang_length,
                        ub4 *buf_size, OraText *buf);
sword OCIDateTimeFromText(void *hndl, OCIError *err, const OraText *date_str, size_t dstr_length,
                          const OraText *fmt, ub1 fmt_length, const OraText *lang_name, size_t lang_length,
                          OCIDateTime *datetime);
sword OCIDateTimeToArray(void *hndl, OCIError *err, const OCIDateTime *datetime, const OCIInterval *reftz,
                         ub1 *outarray, ub4 *len, ub1 fsprec);
sword OCIDateTimeFromArray(void *hndl, OCIError *err, const ub1 *inarray, ub4 len, ub1 type,
                           OCIDateTime *datetime, const OCIInterval *reftz, ub1 fsprec);
sword OCIDateTimeCheck(void *hndl, OCIError *err, const OCIDateTime *date, ub4 *valid);
sword OCIDateTimeCompare(void *hndl, OCIError *err, const OCIDateTime *date1, const OCIDateTime *date2,
                         sword *result);

/* Datetime and interval arithmetic. */
sword OCIDateTimeSubtract(void *hndl, OCIError *err, OCIDateTime *indate1, OCIDateTime *indate2,
                          OCIInterval *inter);
sword OCIDateTimeIntervalAdd(void *hndl, OCIError *err, OCIDateTime *datetime, OCIInterval *inter,
                             OCIDateTime *outdatetime);
sword OCIDateTimeIntervalSub(void *hndl, OCIError *err, OCIDateTime *datetime, OCIInterval *inter,
                             OCIDateTime *outdatetime);

/* Fields of an interval; fractions of a second are in nanoseconds. */
sword OCIIntervalSetYearMonth(void *hndl, OCIError *err, sb4 yr, sb4 mnth, OCIInterval *result);
sword OCIIntervalGetYearMonth(void *hndl, OCIError *err, sb4 *yr, sb4 *mnth, const OCIInterval *interval);
sword OCIIntervalSetDaySecond(void *hndl, OCIError *err, sb4 dy, sb4 hr, sb4 mm, sb4 ss, sb4 fsec,
                              OCIInterval *result);
sword OCIIntervalGetDaySecond(void *hndl, OCIError *err, sb4 *dy, sb4 *hr, sb4 *mm, sb4 *ss, sb4 *fsec,
                              const OCIInterval *interval);

/* Conversion, check and comparison of intervals. */
sword OCIIntervalAssign(void *hndl, OCIError *err, const OCIInterval *ininter, OCIInterval *outinter);
sword OCIIntervalToText(void *hndl, OCIError *err, const OCIInterval *interval, ub1 lfprec, ub1 fsprec,
                        OraText *buffer, size_t buflen, size_t *resultlen);
sword OCIIntervalFromText(void *hndl, OCIError *err, const OraText *inpstring, size_t str_len,
                          OCIInterval *result);
sword OCIIntervalToNumber(void *hndl, OCIError *err, const OCIInterval *interval, OCINumber *number);
sword OCIIntervalFromNumber(void *hndl, OCIError *err, OCIInterval *interval, OCINumber *number);
sword OCIIntervalFromTZ(void *hndl, OCIError *err, const OraText *inpstring, size_t str_len,
                        OCIInterval *result);
sword OCIIntervalCheck(void *hndl, OCIError *err, const OCIInterval *interval, ub4 *valid);
sword OCIIntervalCompare(void *hndl, OCIError *err, OCIInterval *inter1, OCIInterval *inter2, sword *result);

/* Interval arithmetic. */
sword OCIIntervalAdd(void *hndl, OCIError *err, OCIInterval *addend1, OCIInterval *addend2,
                     OCIInterval *result);
sword OCIIntervalSubtract(void *hndl, OCIError *err, OCIInterval *minuend, OCIInterval *subtrahend,
                          OCIInterval *result);
sword OCIIntervalMultiply(void *hndl, OCIError *err, const OCIInterval *inter, OCINumber *nfactor,
                          OCIInterval *result);
sword OCIIntervalDivide(void *hndl, OCIError *err, OCIInterval *dividend, OCINumber *divisor,
                        OCIInterval *result);

OCI_END_DECLARATIONS

#endif
