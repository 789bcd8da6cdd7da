#include "connections/broken_keys.h"

#include "sql/own_query.h"
#include "syntax/token.h"

#include <set>
#include <tuple>

namespace sqlite_oci
{
namespace
{

// Rows that had no parent before the transaction are told, too; more of them than this hide the others.
constexpr std::size_t most_keys = 1000;

// Calls act(table, row, key) for each row without a parent until it returns false.
template <class Action> void for_each_broken_key(sqlite3 *db, const Action &act)
{
    enum : int { table, row, parent, key };
    const auto query = compile_query(db, "PRAGMA foreign_key_check");
    while (next_row(query))
        if (!act(column_text(query, table), sqlite3_column_int64(query.get(), row),
                 sqlite3_column_int(query.get(), key)))
            return;
}

// Empty where there is no such row.
std::string values_of_key(sqlite3 *db, const std::string &table, sqlite3_int64 row, int key)
{
    const auto columns = compile_query(db, "SELECT \"from\" FROM pragma_foreign_key_list(?1) WHERE id = ?2");
    if (!columns)
        return "";
    bind_name(columns, table);
    sqlite3_bind_int(columns.get(), 2, key);
    std::string list;
    while (next_row(columns))
        list +=
            (list.empty() ? "quote(" : " || ',' || quote(") + sql::quoted_name(column_text(columns, 0)) + ")";
    const auto values =
        compile_query(db, "SELECT " + list + " FROM " + sql::quoted_name(table) + " WHERE _rowid_ = ?1");
    if (!values)
        return "";
    sqlite3_bind_int64(values.get(), 1, row);
    return next_row(values) ? column_text(values, 0) : "";
}

} // namespace

table_keys keys_of(sqlite3 *db, const std::string &table)
{
    const auto finds = [&](const std::string &sql) {
        const auto query = compile_query(db, sql);
        if (query)
            bind_name(query, table);
        return next_row(query);
    };
    return {finds("SELECT 1 FROM pragma_foreign_key_list(?1)"),
            finds("SELECT 1 FROM sqlite_schema AS one, pragma_foreign_key_list(one.name) AS key "
                  "WHERE one.type = 'table' AND key.\"table\" = ?1 COLLATE NOCASE")};
}

broken_keys::broken_keys(sqlite3 *db)
{
    for_each_broken_key(db, [&](std::string table, sqlite3_int64 row, int key) {
        std::string values = values_of_key(db, table, row, key);
        keys_.push_back({std::move(table), row, key, std::move(values)});
        return keys_.size() < most_keys;
    });
}

bool broken_keys::parent_was_removed(sqlite3 *db) const
{
    std::set<std::tuple<std::string, sqlite3_int64, int>> earlier;
    for_each_broken_key(db, [&](std::string table, sqlite3_int64 row, int key) {
        earlier.emplace(std::move(table), row, key);
        return earlier.size() < most_keys;
    });
    for (const broken_key &one : keys_)
        if (!earlier.contains({one.table, one.row, one.key}))
            return !one.values.empty() && values_of_key(db, one.table, one.row, one.key) == one.values;
    return false;
}

} // namespace sqlite_oci
