// What programs written for the server expect in SQL and SQLite does not have.
#pragma once

namespace sqlite_oci
{

class connection;

// Adds the table DUAL (with the pseudo columns SYSDATE and USER) and the functions that README.md lists.
// Throws a failure.
void add_sql_functions(connection &on);

} // namespace sqlite_oci
