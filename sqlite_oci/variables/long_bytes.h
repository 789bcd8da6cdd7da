// The values behind OCIString and OCIRaw.
#pragma once

#include "handles/call.h"
#include "handles/private_kinds.h"

namespace sqlite_oci
{

// Bytes of a length that changes; a text has a terminator behind them.
template <ub4 kind_of_bytes> struct long_bytes final : object {
    static constexpr ub4 handle_kind = kind_of_bytes;
    using object::object;

    std::string bytes;
};

using string_value = long_bytes<kind_string>;
using raw_value = long_bytes<kind_raw>;

} // namespace sqlite_oci
