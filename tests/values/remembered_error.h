// An error handle that remembers the last error, in place of the library's own.
#pragma once

#include "oci.h"

#include <string>

class remembered_error
{
public:
    remembered_error();
    ~remembered_error();
    remembered_error(const remembered_error &) = delete;
    remembered_error &operator=(const remembered_error &) = delete;

    operator OCIError *() { return reinterpret_cast<OCIError *>(this); } // NOLINT

    int code = 0;
    std::string text;
};
