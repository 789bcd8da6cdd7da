// Where OCIAttrGet puts values.
#pragma once

#include "handles/call.h"
#include "handles/registry.h"

#include <cstring>

namespace sqlite_oci
{

[[noreturn]] inline void refuse_attribute(ub4 kind, ub4 attribute)
{
    fail(24315, "attribute %u of handles of type %u is not served", attribute, kind);
}

struct attribute_output {
    void *target;
    ub4 *size;

    template <class T> void put(T plain) const
    {
        std::memcpy(target, &plain, sizeof plain);
        if (size)
            *size = sizeof plain;
    }

    void put_handle(const object *named) const { put(named ? named->handle : nullptr); }

    // The application gets a pointer; the text stays with its handle.
    void put_text(object &owner, ub4 attribute, std::string_view utf8) const
    {
        std::string &kept = owner.given_texts[attribute];
        kept = owner.env->text_out(utf8);
        const auto length = static_cast<ub4>(kept.size());
        kept.append(2, '\0');
        put(static_cast<const char *>(kept.data()));
        if (size)
            *size = length;
    }
};

} // namespace sqlite_oci
