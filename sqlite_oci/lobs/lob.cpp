#include "lobs/lob.h"

#include <cstring>

namespace sqlite_oci
{
namespace
{

struct free_text {
    void operator()(char *text) const { sqlite3_free(text); }
};
struct finalize {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using owned_statement = std::unique_ptr<sqlite3_stmt, finalize>;

[[noreturn]] void fail_in_engine(const connection &on)
{
    throw failure{sqlite_record(on.db(), sqlite3_extended_errcode(on.db()))};
}

// `format` names the column, the schema and the table of the cell in this order.
owned_statement compile(const connection &on, const char *format, const std::string &first,
                        const std::string &second, const std::string &third)
{
    const std::unique_ptr<char, free_text> sql(
        sqlite3_mprintf(format, first.c_str(), second.c_str(), third.c_str()));
    if (!sql)
        throw std::bad_alloc();
    sqlite3_stmt *made = nullptr;
    if (sqlite3_prepare_v2(on.db(), sql.get(), -1, &made, nullptr) != SQLITE_OK)
        fail_in_engine(on);
    return owned_statement(made);
}

[[noreturn]] void fail_without_row()
{
    fail(ora_no_such_lob, "the row of the LOB is no longer there");
}

// The query of a cell, on its row.
owned_statement find_row(const connection &on, const lob_cell &cell)
{
    auto query = compile(on, "SELECT \"%w\" FROM \"%w\".\"%w\" WHERE _rowid_ = ?", cell.column, cell.schema,
                         cell.table);
    sqlite3_bind_int64(query.get(), 1, cell.row);
    const int code = sqlite3_step(query.get());
    if (code == SQLITE_DONE)
        fail_without_row();
    if (code != SQLITE_ROW)
        fail_in_engine(on);
    return query;
}

lob_content read_row(const connection &on, const lob_cell &cell, bool is_text)
{
    const auto query = find_row(on, cell);
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(query.get(), 0));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(query.get(), 0));
    return {is_text, {bytes ? bytes : "", size}};
}

void write_row(const connection &on, const lob_cell &cell, const lob_content &content)
{
    const auto update = compile(on, "UPDATE \"%w\".\"%w\" SET \"%w\" = ? WHERE _rowid_ = ?", cell.schema,
                                cell.table, cell.column);
    bind_to(update.get(), 1,
            {.kind = content.is_text() ? value_kind::text : value_kind::blob, .bytes = content.bytes()});
    sqlite3_bind_int64(update.get(), 2, cell.row);
    if (sqlite3_step(update.get()) != SQLITE_DONE)
        fail_in_engine(on);
}

} // namespace

lob_content &lob::current()
{
    if (is_stale) {
        const auto open = on.lock();
        if (!open || !cell)
            fail_without_row();
        content = read_row(*open, *cell, content.is_text());
        is_stale = false;
    }
    return content;
}

lob &lob_locator::value() const
{
    if (!target)
        fail(ora_invalid_locator, "the LOB locator is not initialized: nothing was fetched into it");
    return *target;
}

void lob_locator::check_writable(const connection &by) const
{
    const lob &written = value();
    if (open_mode == OCI_LOB_READONLY)
        fail(ora_lob_read_only, "the LOB is open for reading only");
    if (written.is_temporary)
        return;
    if (!written.is_locked || !by.in_transaction() || written.on.lock().get() != &by)
        fail(ora_lob_row_not_locked,
             "the row of the LOB is not locked: select it FOR UPDATE, by the name of its column and in the "
             "transaction that writes");
}

lob_locator *locator_in(const void *element)
{
    const void *handle = nullptr;
    std::memcpy(&handle, element, sizeof handle);
    return find<lob_locator>(handle);
}

lob_changes &lobs_of(connection &on)
{
    if (!on.lobs)
        on.lobs = std::make_unique<lob_changes>();
    return static_cast<lob_changes &>(*on.lobs);
}

std::shared_ptr<lob> lob_changes::lock(const std::shared_ptr<connection> &on, std::uint64_t transaction,
                                       const lob_cell &cell, std::shared_ptr<lob> fresh)
{
    const std::scoped_lock guard(mutex_);
    if (transaction != transaction_)
        return fresh;
    std::weak_ptr<lob> &known = locked_[cell];
    auto shared = known.lock();
    if (shared && shared->content.is_text() == fresh->content.is_text()) {
        if (!shared->is_pending)
            shared->content = std::move(fresh->content);
        shared->is_stale = false;
        return shared;
    }
    fresh->cell = cell;
    fresh->on = on;
    fresh->is_locked = true;
    known = fresh;
    return fresh;
}

void lob_changes::add(const connection &on, const std::shared_ptr<lob> &target)
{
    if (target->is_temporary || target->is_pending)
        return;
    lob_cell row = *target->cell;
    row.column = "_rowid_"; // not the value, which may be long
    find_row(on, row);
    target->was_changed = true;
    changed_.push_back(target);
    target->is_pending = true;
}

void lob_changes::write_back(connection &on)
{
    if (!on.in_transaction())
        return undo();
    while (!changed_.empty()) {
        const auto target = std::move(changed_.back());
        changed_.pop_back();
        target->is_pending = false;
        try {
            write_row(on, *target->cell, target->content);
        } catch (failure &failed) {
            // Told once: kept, the value would stop every later statement.
            target->is_stale = true;
            failed.record.text +=
                "; what was written to the LOB in column " + target->cell->column + " is undone";
            throw;
        }
    }
}

void lob_changes::undo()
{
    const std::scoped_lock guard(mutex_);
    revert();
}

void lob_changes::revert()
{
    for (const auto &target : changed_)
        target->is_pending = false;
    changed_.clear();
    for (const auto &[cell, watched] : locked_)
        if (const auto target = watched.lock())
            target->is_stale = target->was_changed;
}

void lob_changes::end(bool is_undone)
{
    const std::scoped_lock guard(mutex_);
    if (is_undone)
        revert();
    for (const auto &[cell, watched] : locked_)
        if (const auto target = watched.lock())
            target->is_locked = target->was_changed = false;
    locked_.clear();
    changed_.clear();
    ++transaction_;
}

} // namespace sqlite_oci
