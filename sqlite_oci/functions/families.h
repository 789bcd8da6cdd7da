// The families of SQL functions. Each of these adds its own to a database; `settings` must live as long as
// that is open. They throw a failure.
#pragma once

#include "functions/session_settings.h"

#include <sqlite3.h>

namespace sqlite_oci
{

void add_number_functions(sqlite3 *db, session_settings &settings);
void add_text_functions(sqlite3 *db, session_settings &settings);
void add_date_functions(sqlite3 *db, session_settings &settings);
void add_interval_functions(sqlite3 *db, session_settings &settings);
void add_conversion_functions(sqlite3 *db, session_settings &settings);
void add_session_functions(sqlite3 *db, session_settings &settings);
void add_group_functions(sqlite3 *db, session_settings &settings);
void add_earlier_functions(sqlite3 *db, session_settings &settings);

} // namespace sqlite_oci
