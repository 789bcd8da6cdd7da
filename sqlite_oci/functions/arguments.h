// Arguments and results of SQL functions.
#pragma once

#include "functions/session_settings.h"
#include "values/date.h"
#include "values/number.h"
#include "values/timestamp.h"

#include <string>
#include <string_view>

#include <sqlite3.h>

namespace sqlite_oci
{

using arguments = sqlite3_value **;

inline bool is_null(sqlite3_value *argument)
{
    return sqlite3_value_type(argument) == SQLITE_NULL;
}

bool any_null(int count, arguments given);

std::string_view text_of(sqlite3_value *argument);
std::string_view bytes_of(sqlite3_value *argument);

const session_settings &settings_of(sqlite3_context *context);

// --- Each of these sets an error and returns false where the argument is not of the kind. Null is none.

bool number_argument(sqlite3_context *context, sqlite3_value *argument, OCINumber *number);
// Toward zero; what is beyond 64 bits becomes the greatest or smallest.
bool integer_argument(sqlite3_context *context, sqlite3_value *argument, std::int64_t *integer);
bool date_argument(sqlite3_context *context, sqlite3_value *argument, civil_time *time);
bool timestamp_argument(sqlite3_context *context, sqlite3_value *argument, timestamp *time);

// --- Results

// An empty text is null.
void return_text(sqlite3_context *context, std::string_view text);
void return_error(sqlite3_context *context, int code, std::string_view text);
void return_number(sqlite3_context *context, const OCINumber &number);
// The number, or the error that the status tells.
void return_number(sqlite3_context *context, number_status status, const OCINumber &number);
void return_date(sqlite3_context *context, const civil_time &time);

// --- Registration

using function = void (*)(sqlite3_context *, int, arguments);

struct function_entry {
    const char *name;
    function body;
    int arguments;           // -1: any number
    bool is_constant = true; // the same for the same arguments
};

// Throws a failure.
template <class List> void add_functions(sqlite3 *db, session_settings &settings, const List &list);
void add_function(sqlite3 *db, session_settings &settings, const function_entry &entry);

template <class List> void add_functions(sqlite3 *db, session_settings &settings, const List &list)
{
    for (const function_entry &entry : list)
        add_function(db, settings, entry);
}

} // namespace sqlite_oci
