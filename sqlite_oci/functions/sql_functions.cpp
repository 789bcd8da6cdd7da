#include "functions/sql_functions.h"

#include "functions/dual_table.h"
#include "functions/families.h"
#include "handles/call.h"
#include "sql/sqlite_errors.h"

namespace sqlite_oci
{

void add_sql_functions(sqlite3 *db, session_settings &settings)
{
    add_earlier_functions(db, settings);
    add_number_functions(db, settings);
    add_text_functions(db, settings);
    add_date_functions(db, settings);
    add_interval_functions(db, settings);
    add_conversion_functions(db, settings);
    add_session_functions(db, settings);
    add_group_functions(db, settings);
    const int code = add_dual(db, settings.user);
    if (code != SQLITE_OK)
        throw failure{sqlite_record(db, code)};
}

} // namespace sqlite_oci
