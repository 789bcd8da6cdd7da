// Fetches: the rows are all here already.
#include "statements/statement.h"

#include <algorithm>

namespace sqlite_oci
{

sword statement::fetch(ub4 rows, ub2 orientation, sb4 offset, call_errors errors)
{
    if (!is_executed || text.kind != statement_kind::query)
        fail(24338, "the statement was not executed, or is no query");
    rows_fetched = 0;
    if (rows == 0) {
        cancel();
        return OCI_SUCCESS;
    }
    if (std::none_of(defined_.begin(), defined_.end(), [](const define *one) { return one != nullptr; }))
        fail(24374, "no column of the query is defined");
    if (defined_.size() > column_count && defined_.back())
        fail(1007, "column %zu is defined, but the query has %u", defined_.size(), column_count);

    const std::size_t first = first_row(orientation, offset);
    const std::size_t count = std::min<std::size_t>(rows, rows_.size() - first);
    fetch_outcome outcome;
    rows_fetched = static_cast<ub4>(store_rows(first, count, outcome));
    if (count)
        current_row = static_cast<ub4>(first + rows_fetched);
    row_count = std::max(row_count, current_row);
    if (outcome.error.code) {
        ++current_row; // the row that failed is not met again
        throw failure{outcome.error};
    }
    if (count < rows) {
        errors.set(make_record(1403, "no more data"));
        return OCI_NO_DATA;
    }
    if (outcome.warning.code) {
        errors.set(outcome.warning);
        return OCI_SUCCESS_WITH_INFO;
    }
    return OCI_SUCCESS;
}

void statement::cancel()
{
    rows_.clear();
    current_row = 0;
}

// Index of the first row to fetch, or the number of rows when there is none in that direction.
std::size_t statement::first_row(ub2 orientation, sb4 offset) const
{
    const auto rows = static_cast<std::int64_t>(rows_.size());
    const auto current = static_cast<std::int64_t>(current_row);
    if (!is_scrollable_ && orientation != OCI_FETCH_NEXT && orientation != OCI_DEFAULT)
        fail(24391, "only a statement executed with OCI_STMT_SCROLLABLE_READONLY fetches in other orders");
    std::int64_t wanted = current; // rows are counted from 1: this is the index of the next one
    switch (orientation) {
    case OCI_FETCH_FIRST:
        wanted = 0;
        break;
    case OCI_FETCH_LAST:
        wanted = rows - 1;
        break;
    case OCI_FETCH_PRIOR:
        wanted = current - 2;
        break;
    case OCI_FETCH_CURRENT:
        wanted = current - 1;
        break;
    case OCI_FETCH_ABSOLUTE:
        wanted = std::int64_t{offset} - 1;
        break;
    case OCI_FETCH_RELATIVE:
        wanted = current + offset - 1;
        break;
    default:
        break;
    }
    return wanted < 0 || wanted > rows ? rows_.size() : static_cast<std::size_t>(wanted);
}

// Returns how many rows were stored; fewer than `count` when one of them could not be converted.
std::size_t statement::store_rows(std::size_t first, std::size_t count, fetch_outcome &outcome) const
{
    if (count == 0)
        return 0;
    const std::size_t columns = std::min<std::size_t>(defined_.size(), column_count);
    row_store::reader reader(rows_, first, column_count);
    value fetched;
    for (std::size_t row = 0; row < count; ++row) {
        reader.next_row();
        for (std::size_t column = 0; column < columns; ++column) {
            reader.next_value(fetched);
            const define *into = defined_[column];
            if (!into)
                continue;
            into->store(fetched, row, outcome);
            if (lob_locator *locator = locked_.empty() ? nullptr : into->locator_at(row))
                locked_.lock(*locator, first + row, column);
        }
        reader.skip_values(column_count - columns);
        if (outcome.error.code)
            return row;
    }
    return count;
}

} // namespace sqlite_oci
