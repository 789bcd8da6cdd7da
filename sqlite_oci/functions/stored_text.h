// The texts that dates, points in time and intervals are kept as, shown as a session wants to see them, and
// reals.
#pragma once

#include "functions/session_settings.h"
#include "sql/declared_type.h"

#include <string>
#include <string_view>

namespace sqlite_oci
{

// With as many digits of a fraction as the type has. False for a text that is none of these.
bool show_stored_text(std::string_view stored, const declared_type &type, const session_settings &settings,
                      std::string *shown);

// A BINARY_FLOAT or BINARY_DOUBLE with all its digits: "5.67455994E+002".
void show_real(double real, const declared_type &type, std::string *shown);

} // namespace sqlite_oci
