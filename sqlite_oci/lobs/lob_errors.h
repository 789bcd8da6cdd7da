// The errors and the bounds of LOBs.
#pragma once

#include "handles/call.h"

namespace sqlite_oci
{

enum lob_error : int {
    ora_lob_is_buffered = 22279,
    ora_lob_not_open = 22289,
    ora_lob_already_open = 22293,
    ora_lob_read_only = 22294,
    ora_lob_row_not_locked = 22920,
    ora_no_such_lob = 22922,
    ora_lob_transaction_over = 22990,
    ora_bad_lob_argument = 24801,
};

constexpr std::size_t longest_lob = 1'000'000'000; // bytes: as long as a value can be in SQLite

inline void check_lob_length(std::size_t offset, std::size_t size)
{
    if (offset > longest_lob || size > longest_lob - offset)
        fail(ora_bad_lob_argument, "a LOB holds at most %zu bytes", longest_lob);
}

} // namespace sqlite_oci
