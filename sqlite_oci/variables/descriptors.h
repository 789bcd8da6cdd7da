// What descriptors of values stand for: points in time, intervals and rows.
#pragma once

#include "handles/call.h"
#include "values/interval.h"
#include "values/timestamp.h"

namespace sqlite_oci
{

// A descriptor of the types OCI_DTYPE_DATE to OCI_DTYPE_TIMESTAMP_LTZ. The fields are as the program set
// them, and need not make a time that exists.
struct datetime_descriptor final : object {
    using object::object;

    // Those with a time zone have one in `time`.
    bool has_zone() const
    {
        return kind == OCI_DTYPE_TIMESTAMP_TZ || kind == OCI_DTYPE_TIMESTAMP_LTZ || kind == OCI_DTYPE_TIME_TZ;
    }

    timestamp time;
};

struct interval_descriptor final : object {
    using object::object;

    interval_type type() const
    {
        return kind == OCI_DTYPE_INTERVAL_YM ? interval_type::year_to_month : interval_type::day_to_second;
    }

    interval value;
};

// The row that a statement changed last, or that a ROWID column named.
struct rowid_descriptor final : object {
    static constexpr ub4 handle_kind = OCI_DTYPE_ROWID;
    using object::object;

    std::string text; // empty as long as it names no row
};

inline bool is_datetime_kind(ub4 kind)
{
    return kind >= OCI_DTYPE_DATE && kind <= OCI_DTYPE_TIMESTAMP_LTZ;
}

inline bool is_interval_kind(ub4 kind)
{
    return kind == OCI_DTYPE_INTERVAL_YM || kind == OCI_DTYPE_INTERVAL_DS;
}

// Null for all that is no live descriptor of such a kind.
inline datetime_descriptor *find_datetime(const void *descriptor)
{
    object *found = find_any_object(descriptor);
    return found && is_datetime_kind(found->kind) ? static_cast<datetime_descriptor *>(found) : nullptr;
}

inline interval_descriptor *find_interval(const void *descriptor)
{
    object *found = find_any_object(descriptor);
    return found && is_interval_kind(found->kind) ? static_cast<interval_descriptor *>(found) : nullptr;
}

inline datetime_descriptor &required_datetime(const void *descriptor)
{
    datetime_descriptor *found = find_datetime(descriptor);
    if (!found)
        throw invalid_handle{};
    return *found;
}

inline interval_descriptor &required_interval(const void *descriptor)
{
    interval_descriptor *found = find_interval(descriptor);
    if (!found)
        throw invalid_handle{};
    return *found;
}

// Puts a value into a descriptor in the form of its type: what the type has no field for is dropped, a zone
// that it lacks is the machine's own. Returns 0 or an ORA- number.
int assign(datetime_descriptor &target, const timestamp &time);

// The value as the type of the descriptor that holds it is stored.
timestamp_type stored_type(const datetime_descriptor &descriptor);

} // namespace sqlite_oci
