// What SQL texts of programs must not do: reach other files, or change how the database is kept.
#pragma once

#include <sqlite3.h>

namespace sqlite_oci
{

// Puts the connection's SQL under these limits, but for what is compiled or run while *is_own is true.
// Refused statements end with SQLITE_AUTH.
void limit_sql(sqlite3 *db, const bool *is_own);

} // namespace sqlite_oci
