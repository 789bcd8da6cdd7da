// Cursors in a select list: what their queries need of the execution that the rows around them came from.
#pragma once

#include "connections/connection.h"
#include "translation/translation.h"
#include "values/value.h"

#include <memory>
#include <string>
#include <vector>

namespace sqlite_oci
{

// A value with its own bytes.
class kept_value
{
public:
    kept_value() = default;
    explicit kept_value(const value &of) : value_(of), bytes_(of.bytes) {}

    value get() const
    {
        value result = value_;
        result.bytes = bytes_;
        return result;
    }

private:
    value value_;
    std::string bytes_;
};

// The bind variables as they were when the outermost query was executed.
struct cursor_origin {
    std::weak_ptr<connection> on;
    std::vector<sql::bind_type> types; // by placeholder
    std::vector<kept_value> values;
};

} // namespace sqlite_oci
