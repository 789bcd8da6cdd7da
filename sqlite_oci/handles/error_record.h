// How every part of this library reports a failure on an OCI error handle.
#pragma once

#include "oci.h"

namespace sqlite_oci
{

// Records "ORA-NNNNN: text" as the only record of `errhp`, replacing what was there.
// `code` is the positive ORA number; `format` and its arguments give the text, in UTF-8 and without the
// "ORA-NNNNN: " prefix.
// Returns OCI_ERROR, or OCI_INVALID_HANDLE when `errhp` is not a live error handle of this library.
sword raise_error(OCIError *errhp, int code, const char *format, ...) __attribute__((format(printf, 3, 4)));

// Whether `errhp` is a live error handle of this library. Never touches memory that the library does not own.
bool is_live_error(const OCIError *errhp);

} // namespace sqlite_oci
