// Failures that know their place in the statement.
#pragma once

#include "handles/call.h"

#include <cstddef>

namespace sqlite_oci::sql
{

struct located_failure : failure {
    std::size_t offset = 0; // in bytes of the statement
};

// `code` is an ORA- number.
[[noreturn]] void fail_at(std::size_t offset, int code, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// ORA-03001 for what a server has and this library does not serve.
[[noreturn]] void fail_unserved(std::size_t offset, const char *what);

} // namespace sqlite_oci::sql
