// The views of the dictionary, over SQLite's schema. Each name but DICTIONARY is there as USER_... and
// ALL_....
#include "catalogue/catalogue.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

#define SHOWN(name, text)                                                                                    \
    "CASE WHEN instr(" text ", '\"' || " name " || '\"') THEN " name " ELSE upper(" name ") END"
#define OWN(name) name " NOT LIKE 'sqlite\\_%' ESCAPE '\\' AND " name " NOT LIKE 'oci$%'"

constexpr const char *tables_query = "SELECT oci_user() AS OWNER, " SHOWN(
    "name",
    "sql") " AS TABLE_NAME, 'USERS' AS TABLESPACE_NAME, "
           "'VALID' AS STATUS, NULL AS NUM_ROWS, 'N' AS TEMPORARY FROM sqlite_schema WHERE type = 'table' AND " OWN(
               "name");

constexpr const char *views_query = "SELECT oci_user() AS OWNER, " SHOWN(
    "name", "sql") " AS VIEW_NAME, length(sql) AS TEXT_LENGTH, sql AS TEXT "
                   "FROM sqlite_schema WHERE type = 'view' AND " OWN("name");

constexpr const char *columns_query =
    "SELECT oci_user() AS OWNER, " SHOWN("s.name", "s.sql") " AS TABLE_NAME, " SHOWN(
        "c.name",
        "s.sql") " AS COLUMN_NAME, oci_type_part(c.type, 'TYPE') AS DATA_TYPE, oci_type_part(c.type, 'LENGTH') AS DATA_LENGTH, "
                 "oci_type_part(c.type, 'PRECISION') AS DATA_PRECISION, oci_type_part(c.type, 'SCALE') AS DATA_SCALE, "
                 "CASE WHEN c.\"notnull\" OR c.pk THEN 'N' ELSE 'Y' END AS NULLABLE, c.cid + 1 AS COLUMN_ID, "
                 "c.dflt_value AS DATA_DEFAULT, oci_type_part(c.type, 'CHARS') AS CHAR_LENGTH, "
                 "oci_type_part(c.type, 'UNIT') AS CHAR_USED "
                 "FROM sqlite_schema AS s, pragma_table_xinfo(s.name) AS c "
                 "WHERE s.type IN ('table', 'view') AND " OWN("s.name");

constexpr const char *objects_query = "SELECT oci_user() AS OWNER, " SHOWN(
    "name",
    "sql") " AS OBJECT_NAME, upper(type) AS OBJECT_TYPE, "
           "'VALID' AS STATUS, rowid AS OBJECT_ID FROM sqlite_schema WHERE sql IS NOT NULL AND " OWN("name");

constexpr const char *indexes_query =
    "SELECT oci_user() AS OWNER, " SHOWN("s.name", "ifnull(s.sql, '')") " AS INDEX_NAME, " SHOWN(
        "s.tbl_name",
        "t.sql") " AS TABLE_NAME, CASE WHEN l.\"unique\" THEN 'UNIQUE' ELSE 'NONUNIQUE' END AS "
                 "UNIQUENESS, 'NORMAL' AS INDEX_TYPE, 'VALID' AS STATUS FROM sqlite_schema AS s JOIN sqlite_schema AS t "
                 "ON t.type = 'table' AND t.name = s.tbl_name JOIN pragma_index_list(s.tbl_name) AS l ON l.name = s.name "
                 "WHERE s.type = 'index' AND " OWN("t.name");

constexpr const char *index_columns_query =
    "SELECT oci_user() AS INDEX_OWNER, " SHOWN("s.name", "ifnull(s.sql, '')") " AS INDEX_NAME, " SHOWN(
        "s.tbl_name",
        "t.sql") " AS TABLE_NAME, " SHOWN("c.name",
                                          "t.sql") " AS COLUMN_NAME, "
                                                   "c.seqno + 1 AS COLUMN_POSITION FROM sqlite_schema AS s JOIN sqlite_schema AS t ON t.type = 'table' AND "
                                                   "t.name = s.tbl_name JOIN pragma_index_info(s.name) AS c WHERE s.type = 'index' AND " OWN(
                                                       "t.name");

constexpr const char *tab_query = "SELECT " SHOWN(
    "name", "sql") " AS TNAME, upper(type) AS TABTYPE FROM sqlite_schema WHERE type IN ('table', "
                   "'view') AND " OWN("name");

constexpr const char *users_query = "SELECT oci_user() AS USERNAME, 1 AS USER_ID";

constexpr dictionary_view views[] = {
    {"TABLES",
     "OWNER VARCHAR2(128), TABLE_NAME VARCHAR2(128), TABLESPACE_NAME VARCHAR2(30), STATUS VARCHAR2(8), "
     "NUM_ROWS NUMBER, TEMPORARY VARCHAR2(1)",
     tables_query},
    {"VIEWS", "OWNER VARCHAR2(128), VIEW_NAME VARCHAR2(128), TEXT_LENGTH NUMBER, TEXT LONG", views_query},
    {"TAB_COLUMNS",
     "OWNER VARCHAR2(128), TABLE_NAME VARCHAR2(128), COLUMN_NAME VARCHAR2(128), DATA_TYPE VARCHAR2(128), DATA_LENGTH "
     "NUMBER, DATA_PRECISION NUMBER, DATA_SCALE NUMBER, NULLABLE VARCHAR2(1), COLUMN_ID NUMBER, DATA_DEFAULT LONG, "
     "CHAR_LENGTH NUMBER, CHAR_USED VARCHAR2(1)",
     columns_query},
    {"OBJECTS",
     "OWNER VARCHAR2(128), OBJECT_NAME VARCHAR2(128), OBJECT_TYPE VARCHAR2(23), STATUS VARCHAR2(7), "
     "OBJECT_ID NUMBER",
     objects_query},
    {"INDEXES",
     "OWNER VARCHAR2(128), INDEX_NAME VARCHAR2(128), TABLE_NAME VARCHAR2(128), UNIQUENESS VARCHAR2(9), "
     "INDEX_TYPE VARCHAR2(27), STATUS VARCHAR2(8)",
     indexes_query},
    {"IND_COLUMNS",
     "INDEX_OWNER VARCHAR2(128), INDEX_NAME VARCHAR2(128), TABLE_NAME VARCHAR2(128), COLUMN_NAME "
     "VARCHAR2(4000), COLUMN_POSITION NUMBER",
     index_columns_query},
    {"USERS", "USERNAME VARCHAR2(128), USER_ID NUMBER", users_query},
    {"TAB", "TNAME VARCHAR2(128), TABTYPE VARCHAR2(13)", tab_query},
};

#undef SHOWN
#undef OWN

} // namespace

const dictionary_view *find_dictionary_view(std::string_view name)
{
    std::string_view bare = name;
    const bool has_prefix = name.starts_with("USER_") || name.starts_with("ALL_") || name.starts_with("DBA_");
    if (has_prefix)
        bare.remove_prefix(name.find('_') + 1);
    if (has_prefix == (bare == "TAB"))
        return nullptr;
    const auto *found = std::find_if(std::begin(views), std::end(views),
                                     [&](const dictionary_view &view) { return bare == view.name; });
    return found == std::end(views) ? nullptr : found;
}

} // namespace sqlite_oci::sql
