#include "variables/descriptors.h"

#include "values/date_errors.h"

namespace sqlite_oci
{

int assign(datetime_descriptor &target, const timestamp &time)
{
    if (const int error = timestamp_check(time))
        return error;
    timestamp converted = time;
    bool in_range = true;
    switch (target.kind) {
    case OCI_DTYPE_TIMESTAMP_TZ:
    case OCI_DTYPE_TIME_TZ:
        converted = timestamp_with_zone(time);
        break;
    case OCI_DTYPE_TIMESTAMP_LTZ:
        in_range = timestamp_to_local(time, &converted);
        break;
    case OCI_DTYPE_DATE:
        converted.nanosecond = 0;
        converted.zone.reset();
        break;
    default:
        converted.zone.reset();
        break;
    }
    if (!in_range)
        return date_year_out_of_range;
    target.time = converted;
    return date_ok;
}

timestamp_type stored_type(const datetime_descriptor &descriptor)
{
    switch (descriptor.kind) {
    case OCI_DTYPE_TIMESTAMP_TZ:
        return timestamp_type::zoned;
    case OCI_DTYPE_TIMESTAMP_LTZ:
        return timestamp_type::local_zoned;
    default:
        return timestamp_type::plain;
    }
}

} // namespace sqlite_oci
