// The texts that dates, points in time and intervals are kept as, shown as a session wants to see them.
#pragma once

#include "functions/session_settings.h"

#include <string>
#include <string_view>

namespace sqlite_oci
{

// `is_date`: of a DATE. False for a text that is none of these.
bool show_stored_text(std::string_view stored, bool is_date, const session_settings &settings,
                      std::string *shown);

} // namespace sqlite_oci
