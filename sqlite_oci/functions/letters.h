// Capital and small letters of texts in UTF-8: those of the Latin, Greek and Cyrillic scripts that have one
// counterpart.
#pragma once

#include <string>
#include <string_view>

namespace sqlite_oci
{

std::string upper_letters(std::string_view text);
std::string lower_letters(std::string_view text);

// A capital at the start of each run of letters and digits, small letters behind it.
std::string initial_capitals(std::string_view text);

} // namespace sqlite_oci
