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
        put_text(*owner.env, owner.given_texts[attribute], utf8);
    }

    // The text stays with who has `kept`; it stays where it is as long as it is the same.
    void put_text(const environment &env, std::string &kept, std::string_view utf8) const
    {
        std::string text = env.text_out(utf8);
        const auto length = static_cast<ub4>(text.size());
        text.append(2, '\0');
        if (kept != text)
            kept = std::move(text);
        put(static_cast<const char *>(kept.data()));
        if (size)
            *size = length;
    }
};

} // namespace sqlite_oci
