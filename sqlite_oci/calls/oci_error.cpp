// OCIErrorGet.
#include "handles/call.h"

#include <algorithm>
#include <cstring>

using namespace sqlite_oci;

namespace
{

// What a signal handler left, which had no memory for a text.
error_record noted_record(int code)
{
    switch (code) {
    case 1012:
        return make_record(code, "not logged on: the session has not begun, so there is nothing to break");
    case 3114:
        return make_record(code, "not connected: there is nothing to break");
    default:
        return make_record(code, "no server handle is set on the service context: there is nothing to break");
    }
}

std::optional<std::vector<error_record>> records_of(const void *handle, ub4 type)
{
    if (type == OCI_HTYPE_ENV) {
        const auto *env = find<environment>(handle);
        return env ? std::optional(env->records) : std::nullopt;
    }
    const auto *errors = type == OCI_HTYPE_ERROR ? find<error_handle>(handle) : nullptr;
    if (!errors)
        return std::nullopt;
    if (const int code = errors->noted())
        return std::vector{noted_record(code)};
    return errors->records;
}

// Copies with a terminator of the set's width, shortened to whole characters where the room is too small.
void copy_text(charset set, std::string_view utf8, void *target, std::size_t room)
{
    const std::size_t terminator = set == charset::utf16 ? 2 : 1;
    if (!target || room < terminator)
        return;
    const std::string text = from_utf8(set, utf8);
    const std::size_t length = cut(set, text, std::min(room - terminator, text.size()));
    std::memcpy(target, text.data(), length);
    std::memset(static_cast<char *>(target) + length, 0, terminator);
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIErrorGet(void *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep,
                                    OraText *bufp, ub4 bufsiz, ub4 type)
{
    try {
        const auto records = records_of(hndlp, type);
        if (!records)
            return OCI_INVALID_HANDLE;
        const charset set = find_any_object(hndlp)->env->set;
        if (sqlstate)
            *sqlstate = '\0';
        if (recordno == 0 || recordno > records->size()) {
            if (errcodep)
                *errcodep = 0;
            copy_text(set, "", bufp, bufsiz);
            return recordno == 0 ? OCI_ERROR : OCI_NO_DATA;
        }
        const error_record &record = (*records)[recordno - 1];
        if (errcodep)
            *errcodep = record.code;
        copy_text(set, record.text, bufp, bufsiz);
        return OCI_SUCCESS;
    } catch (const std::exception &) {
        return OCI_ERROR;
    }
}

} // extern "C"
