#include "values.h"

#include <stdio.h>
#include <string.h>

#include "written.h"

namespace
{

/* A backend's handles for calls on values. */
struct host {
    unsigned int backend;
    OCIEnv *env;
    OCIError *err;

    host(const omx_handle *h, unsigned int b) : backend(b), env(omx_own<OCIEnv>(h->env, b)), err(nullptr)
    {
        if (env && omx_calls.OCIHandleAlloc[b])
            omx_calls.OCIHandleAlloc[b](env, (void **)&err, OCI_HTYPE_ERROR, 0, nullptr);
    }
    ~host()
    {
        if (err && omx_calls.OCIHandleFree[backend])
            omx_calls.OCIHandleFree[backend](err, OCI_HTYPE_ERROR);
    }
    host(const host &) = delete;
    host &operator=(const host &) = delete;
};

bool move_datetime(const omx_handle *h, const host &from, const host &to)
{
    if (!omx_calls.OCIDateTimeGetDate[from.backend] || !omx_calls.OCIDateTimeGetTime[from.backend] ||
        !omx_calls.OCIDateTimeGetTimeZoneOffset[from.backend] || !omx_calls.OCIDateTimeConstruct[to.backend])
        return false;
    const OCIDateTime *source = omx_own<OCIDateTime>(h, from.backend);
    sb2 year = 0;
    ub1 month = 0, day = 0, hour = 0, minute = 0, second = 0;
    ub4 fraction = 0;
    char zone[16] = "";
    if (omx_calls.OCIDateTimeGetDate[from.backend](from.env, from.err, source, &year, &month, &day) !=
        OCI_SUCCESS)
        return false;
    if (h->type != OCI_DTYPE_DATE &&
        omx_calls.OCIDateTimeGetTime[from.backend](from.env, from.err, const_cast<OCIDateTime *>(source),
                                                   &hour, &minute, &second, &fraction) != OCI_SUCCESS)
        return false;
    if (h->type == OCI_DTYPE_TIMESTAMP_TZ) {
        sb1 zone_hour = 0;
        sb1 zone_minute = 0;
        if (omx_calls.OCIDateTimeGetTimeZoneOffset[from.backend](from.env, from.err, source, &zone_hour,
                                                                 &zone_minute) != OCI_SUCCESS)
            return false;
        const int minutes = zone_hour * 60 + zone_minute;
        const int size = minutes < 0 ? -minutes : minutes;
        snprintf(zone, sizeof zone, "%c%02d:%02d", minutes < 0 ? '-' : '+', size / 60, size % 60);
    }
    const size_t length = strlen(zone);
    ub1 wide[2 * sizeof zone];
    const bool is_wide = to.backend == omx_oracle && omx_environment_of(h)->is_utf16;
    const size_t wide_length = is_wide ? omx_to_utf16(zone, length, wide, sizeof wide) : 0;
    return omx_calls.OCIDateTimeConstruct[to.backend](to.env, to.err, omx_own<OCIDateTime>(h, to.backend),
                                                      year, month, day, hour, minute, second, fraction,
                                                      !length   ? nullptr
                                                      : is_wide ? (OraText *)wide
                                                                : (OraText *)zone,
                                                      is_wide ? wide_length : length) == OCI_SUCCESS;
}

bool move_year_month(const omx_handle *h, const host &from, const host &to)
{
    sb4 year = 0;
    sb4 month = 0;
    return omx_calls.OCIIntervalGetYearMonth[from.backend] && omx_calls.OCIIntervalSetYearMonth[to.backend] &&
           omx_calls.OCIIntervalGetYearMonth[from.backend](
               from.env, from.err, &year, &month, omx_own<OCIInterval>(h, from.backend)) == OCI_SUCCESS &&
           omx_calls.OCIIntervalSetYearMonth[to.backend](to.env, to.err, year, month,
                                                         omx_own<OCIInterval>(h, to.backend)) == OCI_SUCCESS;
}

bool move_day_second(const omx_handle *h, const host &from, const host &to)
{
    sb4 day = 0, hour = 0, minute = 0, second = 0, fraction = 0;
    return omx_calls.OCIIntervalGetDaySecond[from.backend] && omx_calls.OCIIntervalSetDaySecond[to.backend] &&
           omx_calls.OCIIntervalGetDaySecond[from.backend](
               from.env, from.err, &day, &hour, &minute, &second, &fraction,
               omx_own<OCIInterval>(h, from.backend)) == OCI_SUCCESS &&
           omx_calls.OCIIntervalSetDaySecond[to.backend](to.env, to.err, day, hour, minute, second, fraction,
                                                         omx_own<OCIInterval>(h, to.backend)) == OCI_SUCCESS;
}

} // namespace

void omx_move_value(omx_handle *h, unsigned int backend)
{
    const ub1 family = omx_family(h->type);
    if (!h->current || (h->current & omx_bit(backend)) || !h->backend[backend] ||
        (family != OCI_DTYPE_DATE && family != OCI_DTYPE_INTERVAL_YM))
        return;
    const host from(h, omx_first(h->current));
    const host to(h, backend);
    const bool moved = family == OCI_DTYPE_DATE           ? move_datetime(h, from, to)
                       : h->type == OCI_DTYPE_INTERVAL_YM ? move_year_month(h, from, to)
                                                          : move_day_second(h, from, to);
    if (moved)
        h->current |= omx_bit(backend);
}
