#pragma once

#include <sqlite3.h>

namespace sqlite_oci
{

// LISTAGG: oci_listagg(value, separator, directions, key ...) joins values in the order of their keys, of
// which the letters of `directions` tell a(scending) or d(escending) and nulls f(irst) or l(ast). Throws a
// failure.
void add_list_function(sqlite3 *db);

} // namespace sqlite_oci
