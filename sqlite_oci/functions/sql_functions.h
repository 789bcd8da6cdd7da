// What programs written for the server expect in SQL and SQLite does not have.
#pragma once

#include "functions/session_settings.h"

#include <sqlite3.h>

namespace sqlite_oci
{

// Adds all functions that translated statements call, and the table DUAL. `settings` must live as long as the
// database is open. Throws a failure.
void add_sql_functions(sqlite3 *db, session_settings &settings);

} // namespace sqlite_oci
