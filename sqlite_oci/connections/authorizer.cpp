#include "connections/authorizer.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace sqlite_oci
{
namespace
{

// Those that only tell something. The others change how the file is kept or checked, or name other files.
constexpr std::string_view telling_pragmas[] = {
    "application_id", "collation_list",    "compile_options",  "data_version",    "database_list",
    "encoding",       "foreign_key_check", "foreign_key_list", "freelist_count",  "function_list",
    "index_info",     "index_list",        "index_xinfo",      "integrity_check", "module_list",
    "page_count",     "page_size",         "pragma_list",      "quick_check",     "schema_version",
    "table_info",     "table_list",        "table_xinfo",      "user_version",
};

// Those that set what they tell when they are given a value.
constexpr std::string_view setting_pragmas[] = {
    "application_id", "encoding", "page_size", "schema_version", "user_version",
};

template <std::size_t count> bool is_one_of(const std::string_view (&names)[count], const char *wanted)
{
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view name) { return sqlite3_stricmp(name.data(), wanted) == 0; });
}

bool is_allowed_pragma(const char *name, const char *argument)
{
    return is_one_of(telling_pragmas, name) && !(argument && is_one_of(setting_pragmas, name));
}

int authorize(void *is_own, int action, const char *first, const char *second, const char *, const char *)
{
    if (*static_cast<const bool *>(is_own))
        return SQLITE_OK;
    bool is_allowed = true;
    switch (action) {
    case SQLITE_ATTACH: // also what VACUUM does
        is_allowed = false;
        break;
    case SQLITE_PRAGMA:
        is_allowed = is_allowed_pragma(first, second);
        break;
    case SQLITE_TRANSACTION: // a connection knows of its transactions: they are not begun or ended behind its
                             // back
        is_allowed = false;
        break;
    case SQLITE_FUNCTION:
        is_allowed = sqlite3_stricmp(second, "load_extension") != 0;
        break;
    default:
        break;
    }
    return is_allowed ? SQLITE_OK : SQLITE_DENY;
}

} // namespace

void limit_sql(sqlite3 *db, const bool *is_own)
{
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr); // no writable_schema
    sqlite3_set_authorizer(db, authorize, const_cast<bool *>(is_own));
}

} // namespace sqlite_oci
