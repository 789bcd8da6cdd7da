// Opens the cursors in the rows of a query, in the statement handles that the program defined for them.
#include "statements/run_scopes.h"
#include "statements/statement.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

[[noreturn]] void fail_without_session()
{
    fail(3114, "not connected: the session of the query around the cursor is over");
}

} // namespace

// Cursors are for statement handles, and these for nothing else. A BLOB is no text.
void statement::check_defines() const
{
    for (std::size_t i = 0; i < std::min<std::size_t>(defined_.size(), column_count); ++i) {
        if (!defined_[i])
            continue;
        const ub2 type = result().columns[i].type.type;
        const ub2 of_variable = defined_[i]->array.host.type;
        if (type == SQLT_BLOB && is_text_variable(of_variable))
            fail(932, "inconsistent datatypes: column %zu is a BLOB, which is no text", i + 1);
        const bool is_cursor = type == SQLT_RSET;
        const bool is_handle = of_variable == SQLT_RSET;
        if (is_cursor != is_handle)
            fail(
                932,
                "inconsistent datatypes: column %zu is %s cursor; SQLT_RSET is for cursors, and nothing else is",
                i + 1, is_cursor ? "a" : "no");
        if (is_cursor && defined_[i]->is_in_pieces())
            fail(3001, "column %zu is a cursor, which does not come in pieces", i + 1);
    }
}

// `given` stands behind the columns of the row that was stored.
void statement::open_cursors(const std::vector<value> &given, std::size_t row)
{
    for (const sql::nested_cursor &cursor : result().cursors) {
        const define *const into = cursor.column < defined_.size() ? defined_[cursor.column] : nullptr;
        if (!into)
            continue;
        auto *const target = find<statement>(into->descriptor_at(row));
        if (!target || target == this)
            fail(1023, "the variable of column %zu holds no other statement handle", cursor.column + 1);
        target->open_nested(cursor, cursor_origin_, given.data() + cursor.first_given);
    }
}

// As a fetch of the query around it opens it: executed, with all its rows read.
void statement::open_nested(const sql::nested_cursor &cursor, std::shared_ptr<cursor_origin> from,
                            const value *given)
{
    const auto on = from->on.lock();
    if (!on)
        fail_without_session();
    take_text(cursor.text);
    text.placeholders.clear(); // their values are the outer query's
    bound_.clear();
    const bool is_in_execution = on->mutex().is_own();
    const cleaning_lock lock(on->mutex());
    if (on->is_cut_off())
        fail_without_session();
    if (!is_in_execution)
        on->start_call();
    if (on->lobs)
        on->lobs->write_back(*on);
    opened_ = cursor.body;
    cursor_origin_ = std::move(from);
    column_count = static_cast<ub4>(opened_->columns.size());
    find_own_texts(*on);

    compiled_statement query;
    query.take(on, sql_action::other, *opened_, cursor_origin_->types);
    sqlite3_stmt *const running = query.step(0);
    const std::size_t placeholders = cursor_origin_->values.size();
    for (std::size_t i = 0; i < placeholders; ++i)
        query.bind(running, i, cursor_origin_->values[i].get());
    for (std::size_t i = 0; i < cursor.given; ++i)
        bind_to(running, static_cast<int>(placeholders + i) + 1, given[i]);
    const run_end end{running};
    read_rows(*on, running, step(*on, running));
    is_executed = is_described = true;
    is_scrollable_ = false;
}

} // namespace sqlite_oci
