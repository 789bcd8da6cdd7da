// Fetches: the rows are all here already.
#include "statements/statement.h"

#include <algorithm>

namespace sqlite_oci
{

sword statement::fetch(ub4 rows, ub2 orientation, sb4 offset, call_errors errors)
{
    check_idle();
    const auto on = locked_.connection_or_null(); // locators of a session share their values
    if (!on)
        return fetch_rows(rows, orientation, offset, errors);
    const std::scoped_lock lock(on->mutex());
    return fetch_rows(rows, orientation, offset, errors);
}

sword statement::fetch_rows(ub4 rows, ub2 orientation, sb4 offset, call_errors errors)
{
    const bool has_defines =
        std::any_of(defined_.begin(), defined_.end(), [](const define *one) { return one != nullptr; });
    const bool is_query = text.kind == statement_kind::query;
    if (!has_defines && rows && is_query && (is_executed || was_tried_))
        fail(24374, "define not done before fetch: no column of the query is defined");
    if (!is_executed || !is_query)
        fail(24338, "the statement was not executed, or is no query");
    if (rows == 0) {
        cancel();
        return OCI_SUCCESS;
    }
    if (awaited_.of)
        return continue_fetch(errors);
    rows_fetched = 0;
    if (is_cancelled_)
        fail(1002, "fetch out of sequence");
    if (defined_.size() > column_count && defined_.back())
        fail(1007, "column %zu is defined, but the query has %u", defined_.size(), column_count);
    check_defines();

    fetching_ = {};
    fetching_.first = first_row(orientation, offset);
    fetching_.rows = std::min<std::size_t>(rows, rows_.size() - fetching_.first);
    fetching_.wanted = rows;
    return continue_fetch(errors);
}

sword statement::continue_fetch(call_errors errors)
{
    fetch_outcome outcome;
    if (!store_rows(outcome)) {
        errors.set(
            make_record(3130, "the buffer for the next piece is needed: OCIStmtSetPieceInfo gives it"));
        return OCI_NEED_DATA;
    }
    return end_fetch(outcome, errors);
}

sword statement::end_fetch(const fetch_outcome &outcome, call_errors errors)
{
    rows_fetched = static_cast<ub4>(fetching_.row);
    if (fetching_.rows)
        current_row = static_cast<ub4>(fetching_.first + rows_fetched);
    row_count = std::max(row_count, current_row);
    if (outcome.error.code) {
        ++current_row; // the row that failed is not met again
        throw failure{outcome.error};
    }
    if (fetching_.rows < fetching_.wanted) {
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
    is_cancelled_ = true;
    rows_.clear();
    rows_fetched = 0;
    current_row = 0;
    give_up_pieces();
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

// Returns false when a piece is needed first. Where a row could not be converted, fetching_.row is that row.
bool statement::store_rows(fetch_outcome &outcome)
{
    if (fetching_.row >= fetching_.rows)
        return true;
    row_store::reader reader(rows_, fetching_.first + fetching_.row, stored_columns());
    for (; fetching_.row < fetching_.rows; ++fetching_.row) {
        reader.next_row();
        if (!store_row(reader, outcome))
            return false;
        if (outcome.error.code)
            return true;
        fetching_.column = 0;
    }
    return true;
}

bool statement::store_row(row_store::reader &reader, fetch_outcome &outcome)
{
    const std::size_t columns = std::min<std::size_t>(defined_.size(), column_count), row = fetching_.row;
    reader.skip_values(fetching_.column);
    value fetched;
    for (; fetching_.column < columns; ++fetching_.column) {
        reader.next_value(fetched);
        define *const into = defined_[fetching_.column];
        if (!into)
            continue;
        if (into->is_in_pieces()) {
            if (!give_pieces(*into, shown(fetched, fetching_.column, *into), outcome))
                return false;
            continue;
        }
        into->store(shown(fetched, fetching_.column, *into), row, outcome);
        if (lob_locator *locator = locked_.empty() ? nullptr : into->locator_at(row))
            locked_.lock(*locator, fetching_.first + row, fetching_.column);
    }
    reader.skip_values(column_count - columns);
    if (result().cursors.empty())
        return true;
    std::vector<value> given(result().given_columns);
    for (value &one : given)
        reader.next_value(one);
    try {
        open_cursors(given, row);
    } catch (failure &failed) {
        if (!outcome.error.code)
            outcome.error = std::move(failed.record);
    }
    return true;
}

} // namespace sqlite_oci
