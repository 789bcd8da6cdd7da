// The functions that take their arguments as they come, each of one type, and yield one type.
#pragma once

#include <string_view>

namespace sqlite_oci::sql
{

struct function_rule {
    const char *name;
    int least, most; // arguments
    const char
        *accepts; // a letter for each argument, the last one for all further ones: see function_table.cpp
    const char *yields;   // one letter
    const char *function; // SQLite's name for it
    bool is_group = false;
};

const function_rule *find_function(std::string_view name, std::size_t arguments);

// Whether any number of arguments would do.
bool is_function_name(std::string_view name);

} // namespace sqlite_oci::sql
