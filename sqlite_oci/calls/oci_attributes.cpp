// Attributes of handles and descriptors.
#include "calls/attribute_access.h"

using namespace sqlite_oci;

namespace
{

object &required_object(const void *handle, ub4 kind)
{
    object *target = find_object(handle, kind);
    if (!target)
        throw invalid_handle{};
    return *target;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIAttrGet(const void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 *sizep,
                                   ub4 attrtype, OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        object &target = required_object(trgthndlp, trghndltyp);
        if (!attributep)
            fail(24315, "there is no place for the attribute's value");
        get_attribute(target, attrtype, {attributep, sizep});
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIAttrSet(void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 size, ub4 attrtype,
                                   OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        set_attribute(required_object(trgthndlp, trghndltyp), attrtype, {attributep, size});
        return OCI_SUCCESS;
    });
}

} // extern "C"
