// Kinds of what programs hold that is neither a handle nor a descriptor with a number of its own.
#pragma once

#include "oci.h"

namespace sqlite_oci
{

enum private_kind : ub4 {
    kind_string = 0x10000,
    kind_raw,
    kind_thread_mutex,
    kind_thread_key,
    kind_thread_id,
    kind_thread_handle,
};

} // namespace sqlite_oci
