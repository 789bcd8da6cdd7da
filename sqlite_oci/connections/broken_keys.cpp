#include "connections/broken_keys.h"

#include <memory>
#include <set>
#include <tuple>

namespace sqlite_oci
{
namespace
{

// Rows that had no parent before the transaction are told, too; more of them than this hide the others.
constexpr std::size_t most_keys = 1000;

struct finalizer {
    void operator()(sqlite3_stmt *compiled) const { sqlite3_finalize(compiled); }
};
using compiled_query = std::unique_ptr<sqlite3_stmt, finalizer>;

// Null where SQLite refuses: what is asked here only makes an error more exact.
compiled_query compile(sqlite3 *db, const std::string &sql)
{
    sqlite3_stmt *compiled = nullptr;
    sqlite3_prepare_v2(db, sql.c_str(), -1, &compiled, nullptr);
    return compiled_query(compiled);
}

bool step(const compiled_query &query)
{
    return query && sqlite3_step(query.get()) == SQLITE_ROW;
}

std::string text_of(const compiled_query &row, int column)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(row.get(), column));
    return text ? text : "";
}

std::string quoted(const std::string &name)
{
    std::string result = "\"";
    for (const char c : name)
        result.append(c == '"' ? 2 : 1, c);
    return result += '"';
}

// Calls act(table, row, key) for each row without a parent until it returns false.
template <class Action> void for_each_broken_key(sqlite3 *db, const Action &act)
{
    enum : int { table, row, parent, key };
    const auto query = compile(db, "PRAGMA foreign_key_check");
    while (step(query))
        if (!act(text_of(query, table), sqlite3_column_int64(query.get(), row),
                 sqlite3_column_int(query.get(), key)))
            return;
}

// Empty where there is no such row.
std::string values_of_key(sqlite3 *db, const std::string &table, sqlite3_int64 row, int key)
{
    const auto columns = compile(db, "SELECT \"from\" FROM pragma_foreign_key_list(?1) WHERE id = ?2");
    if (!columns)
        return "";
    sqlite3_bind_text(columns.get(), 1, table.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_int(columns.get(), 2, key);
    std::string list;
    while (step(columns))
        list += (list.empty() ? "quote(" : " || ',' || quote(") + quoted(text_of(columns, 0)) + ")";
    const auto values = compile(db, "SELECT " + list + " FROM " + quoted(table) + " WHERE _rowid_ = ?1");
    if (!values)
        return "";
    sqlite3_bind_int64(values.get(), 1, row);
    return step(values) ? text_of(values, 0) : "";
}

} // namespace

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
