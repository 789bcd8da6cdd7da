// Identifiers of rows.
#include "calls/value_call.h"
#include "variables/descriptors.h"

#include <cstring>
#include <utility>

using namespace sqlite_oci;

extern "C" {

SQLITE_OCI_EXPORT sword OCIRowidToChar(OCIRowid *rowidDesc, OraText *outbfp, ub2 *outbflp, OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        const auto &row = required<rowid_descriptor>(rowidDesc);
        if (!outbflp)
            fail(ora_null_argument, "there is no place for the length");
        if (row.text.empty())
            fail(1410, "the descriptor names no row");
        const std::string text = row.env->text_out(row.text);
        const std::size_t room = std::exchange(*outbflp, static_cast<ub2>(text.size()));
        if (!outbfp || room < text.size())
            fail(1877, "the buffer is too small: the text takes %zu bytes", text.size());
        std::memcpy(outbfp, text.data(), text.size());
        return OCI_SUCCESS;
    });
}

} // extern "C"
