// The table DUAL: one row, with pseudo columns that are there when they are named.
#pragma once

#include <string>

#include <sqlite3.h>

namespace sqlite_oci
{

// `user` is what the pseudo column USER shows; it must live as long as the connection. Returns SQLite's code.
int add_dual(sqlite3 *db, const std::string &user);

} // namespace sqlite_oci
