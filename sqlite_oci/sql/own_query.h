// Queries of this library's own on a database.
#pragma once

#include <memory>
#include <string>

#include <sqlite3.h>

namespace sqlite_oci
{

struct query_end {
    void operator()(sqlite3_stmt *compiled) const { sqlite3_finalize(compiled); }
};
using own_query = std::unique_ptr<sqlite3_stmt, query_end>;

// Null where SQLite refuses.
inline own_query compile_query(sqlite3 *db, const std::string &sql)
{
    sqlite3_stmt *compiled = nullptr;
    sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()) + 1, &compiled, nullptr);
    return own_query(compiled);
}

// Goes to the next row. False if there is none, or if the query is null or fails.
inline bool next_row(const own_query &of)
{
    return of && sqlite3_step(of.get()) == SQLITE_ROW;
}

// Empty for null.
inline std::string column_text(const own_query &row, int column)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(row.get(), column));
    return text ? text : "";
}

// The text is copied.
inline void bind_name(const own_query &query, const std::string &name)
{
    sqlite3_bind_text(query.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
}

} // namespace sqlite_oci
