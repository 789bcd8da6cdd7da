// Attributes, by kind of handle.
#pragma once

#include "handles/attributes.h"

namespace sqlite_oci
{

// What OCIAttrSet gives.
struct attribute_input {
    const void *source;
    ub4 size;

    template <class T> T take() const
    {
        T plain;
        if (!source)
            fail(24315, "the attribute needs a value");
        std::memcpy(&plain, source, sizeof plain);
        return plain;
    }

    std::string text(const environment &env) const { return env.text_in(source, size); }

    // A handle-valued attribute is given as the handle itself; null takes the handle away.
    template <class T> weak_handle<T> handle() const
    {
        return source ? weak_handle<T>(&required<T>(source)) : weak_handle<T>();
    }
};

// Throw ORA-24315 for attributes that are not served.
void get_attribute(object &target, ub4 attribute, const attribute_output &out);
void set_attribute(object &target, ub4 attribute, const attribute_input &in);

} // namespace sqlite_oci
