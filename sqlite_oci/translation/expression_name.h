#pragma once

#include <string>
#include <string_view>

namespace sqlite_oci::sql
{

// The name of a column that is an expression: its text without blanks, in upper case.
std::string expression_name(std::string_view text);

} // namespace sqlite_oci::sql
