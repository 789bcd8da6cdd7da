#include "statements/locked_rows.h"

#include <string_view>

namespace sqlite_oci
{
namespace
{

struct origin {
    const char *schema, *table, *column;
};

origin origin_of(sqlite3_stmt *query, int column)
{
    return {sqlite3_column_database_name(query, column), sqlite3_column_table_name(query, column),
            sqlite3_column_origin_name(query, column)};
}

bool is_of_same_table(const origin &one, const origin &other)
{
    return one.table && other.table && std::string_view(one.table) == other.table &&
           std::string_view(one.schema) == other.schema;
}

// A table may have a column of its own with the name that stands for the row's number.
bool is_identity(const origin &row)
{
    return row.column && sqlite3_stricmp(row.column, "_rowid_") != 0;
}

} // namespace

void locked_rows::start(const std::shared_ptr<connection> &on, sqlite3_stmt *query)
{
    clear();
    lob_changes &lobs = lobs_of(*on);
    on_ = on;
    transaction_ = lobs.transaction();
    read_at_ = lobs.moment();
    row_column_ = sqlite3_column_count(query) - 1;
    columns_.resize(static_cast<std::size_t>(row_column_));
    const origin row = origin_of(query, row_column_);
    has_identity_ = is_identity(row);
    if (!has_identity_)
        return;
    for (int column = 0; column < row_column_; ++column) {
        const origin of = origin_of(query, column);
        if (!is_of_same_table(of, row))
            continue;
        auto &cell = columns_[static_cast<std::size_t>(column)].emplace();
        cell = {of.schema, of.table, of.column, 0};
        lobs.watch(cell);
    }
}

void locked_rows::clear()
{
    columns_.clear();
    rows_.clear();
}

void locked_rows::lock(lob_locator &locator, std::size_t row, std::size_t column) const
{
    const auto on = on_.lock();
    if (!on || row >= rows_.size() || column >= columns_.size() || !columns_[column])
        return;
    lob_cell cell = *columns_[column];
    cell.row = rows_[row];
    lobs_of(*on).lock(on, transaction_, read_at_, cell, locator);
}

} // namespace sqlite_oci
