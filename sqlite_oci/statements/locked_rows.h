// The rows of a query FOR UPDATE, so that locators fetched from them can be written with.
#pragma once

#include "connections/connection.h"
#include "lobs/lob.h"

#include <memory>
#include <optional>
#include <vector>

namespace sqlite_oci
{

class locked_rows
{
public:
    // Before the rows of a query, whose last column is the identity of a row and which runs in a transaction,
    // are added.
    void start(const std::shared_ptr<connection> &on, sqlite3_stmt *query);
    void clear();

    // Whether it was not started.
    bool empty() const { return columns_.empty(); }

    // Where it was started on; null while it was not.
    std::shared_ptr<connection> connection_or_null() const { return empty() ? nullptr : on_.lock(); }

    // Adds the row that the query stands on.
    void append(sqlite3_stmt *query)
    {
        rows_.push_back(has_identity_ ? sqlite3_column_int64(query, row_column_) : 0);
    }

    // The identity of a row of the result; 0 of one that is not known.
    sqlite3_int64 identity(std::size_t row) const { return row < rows_.size() ? rows_[row] : 0; }

    // Makes the locator stand for the row's column itself, where that is known and still locked. Needs the
    // connection's mutex.
    void lock(lob_locator &locator, std::size_t row, std::size_t column) const;

private:
    std::weak_ptr<connection> on_;
    std::uint64_t transaction_ = 0;
    std::uint64_t read_at_ = 0; // moment of lob_changes
    std::vector<std::optional<lob_cell>> columns_;
    std::vector<sqlite3_int64> rows_;
    int row_column_ = 0;
    bool has_identity_ = false;
};

} // namespace sqlite_oci
