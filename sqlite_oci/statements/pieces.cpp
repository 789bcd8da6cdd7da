// The exchange of values piece by piece, on the statement's side.
#include "statements/statement.h"

#include <algorithm>
#include <utility>

namespace sqlite_oci
{

bool bind::take_piece(std::size_t row, bool is_first)
{
    const given_piece taken = std::exchange(given, {});
    if (is_first)
        values_in_pieces_.erase(row);
    if (taken.indicator && *taken.indicator == OCI_IND_NULL) {
        values_in_pieces_.erase(row);
        return true;
    }
    std::string &value = values_in_pieces_[row];
    if (taken.buffer && taken.length)
        value.append(static_cast<const char *>(taken.buffer), *taken.length);
    return is_last_piece(taken.piece);
}

bool define::give_piece(fetch_position &at, bool is_null, fetch_outcome &outcome)
{
    const given_piece target = std::exchange(given, {});
    const std::size_t size =
        std::string_view(at.bytes).substr(at.given).copy(static_cast<char *>(target.buffer), *target.length);
    if (size == 0 && at.given < at.bytes.size())
        fail(3131, "the buffer for the next piece has no room");
    at.given += size;
    *target.length = static_cast<ub4>(size);
    if (target.indicator)
        *target.indicator = is_null ? OCI_IND_NULL : OCI_IND_NOTNULL;
    if (target.code)
        *target.code = static_cast<ub2>(is_null ? 1405 : 0);
    if (is_null && !target.indicator && outcome.error.code == 0)
        outcome.error = make_record(1405, "null was fetched and there is no indicator" + column_text());
    if (at.given == at.bytes.size())
        return true;
    if (!is_last_piece(target.piece))
        return false;
    if (target.indicator)
        *target.indicator = -2;
    outcome.warning = make_record(1406, "the program took not all of a value" + column_text());
    return true;
}

// Whether the value of the current column has been given whole.
bool statement::give_pieces(define &into, const value &fetched, fetch_outcome &outcome)
{
    if (awaited_.of != &into) {
        fetching_.bytes = into.bytes_of(fetched, outcome);
        fetching_.given = 0;
        if (outcome.error.code)
            return true;
        awaited_ = {};
        awaited_.of = &into;
        awaited_.row = fetching_.row;
        into.given = {};
        return false;
    }
    if (!into.given.is_given)
        return false;
    awaited_.is_first = false;
    if (!into.give_piece(fetching_, fetched.kind == value_kind::null, outcome))
        return false;
    awaited_ = {};
    return true;
}

void statement::give_up_pieces()
{
    if (awaited_.of)
        awaited_.of->given = {};
    awaited_ = {};
    fetching_ = {};
}

// The next bind that takes its values in pieces, of this row or of those behind it.
bool statement::await_bind(const variable *after, std::size_t row)
{
    const auto is_used = [](const auto &one) { return !one->placeholders.empty() && one->is_in_pieces(); };
    auto next = binds_.begin();
    if (after)
        next =
            std::find_if(binds_.begin(), binds_.end(), [&](const auto &one) { return one.get() == after; }) +
            1;
    next = std::find_if(next, binds_.end(), is_used);
    awaited_ = {};
    if (next == binds_.end())
        return false;
    awaited_.of = next->get();
    awaited_.row = row;
    (*next)->given = {};
    return true;
}

// Whether all pieces of all values are here.
bool statement::collect_pieces(const execution &how)
{
    if (!awaited_.of || awaited_.of->kind != OCI_HTYPE_BIND || !awaited_.of->is_in_pieces()) {
        give_up_pieces();
        return !await_bind(nullptr, how.row_offset);
    }
    auto *const taker = static_cast<bind *>(awaited_.of);
    if (!taker->given.is_given)
        return false;
    const std::size_t row = awaited_.row;
    if (!taker->take_piece(row, std::exchange(awaited_.is_first, false)))
        return false;
    if (await_bind(taker, row))
        return false;
    const std::size_t rows = text.kind == statement_kind::query ? 1 : how.iterations;
    return row + 1 >= rows || !await_bind(nullptr, row + 1);
}

} // namespace sqlite_oci
