// What ALTER SESSION can set, and who the session belongs to: SQL functions depend on them.
#pragma once

#include "values/date.h"

#include <cstdint>
#include <map>
#include <string>

namespace sqlite_oci
{

inline constexpr std::string_view usual_date_format = "YYYY-MM-DD HH24:MI:SS";

struct session_settings {
    std::string user;
    std::string date_format{usual_date_format};
    std::string timestamp_format = "YYYY-MM-DD HH24:MI:SSXFF";
    std::string zoned_format = "YYYY-MM-DD HH24:MI:SSXFF TZH:TZM";
    int version = 0; // changes with each change

    // The last numbers that sequences gave to this session, by name.
    std::map<std::string, std::int64_t> sequence_values;
    std::int64_t row_number = 0; // of the change in progress

    // Sets what ALTER SESSION SET `name` = `value` sets. Returns 0 or an ORA- number.
    int set(const std::string &name, const std::string &value);
};

// A text that stands for a date: in the form in which dates are kept, in the session's format, or, also
// before that while it is the usual one, as DD-MON-RR. Returns 0 or an ORA- number.
int date_from_session_text(std::string_view text, const session_settings &settings, civil_time *time);

} // namespace sqlite_oci
