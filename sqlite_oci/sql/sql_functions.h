// What programs written for the server expect in SQL and SQLite does not have.
#pragma once

#include <string>

#include <sqlite3.h>

namespace sqlite_oci
{

// Adds the table DUAL (with the pseudo columns SYSDATE and USER) and the functions that README.md lists.
// `user` is whom SQL sees; it must live as long as the connection. Throws a failure.
void add_sql_functions(sqlite3 *db, const std::string &user);

} // namespace sqlite_oci
