#include "lobs/lob_changes.h"

#include "lobs/lob.h"
#include "sql/own_query.h"

#include <utility>

namespace sqlite_oci
{
namespace
{

struct free_text {
    void operator()(char *text) const { sqlite3_free(text); }
};

[[noreturn]] void fail_in_engine(const connection &on)
{
    throw failure{on.record(sqlite3_extended_errcode(on.db()))};
}

// `format` names the column, the schema and the table of the cell in this order.
own_query compile(const connection &on, const char *format, const std::string &first,
                  const std::string &second, const std::string &third)
{
    const std::unique_ptr<char, free_text> sql(
        sqlite3_mprintf(format, first.c_str(), second.c_str(), third.c_str()));
    if (!sql)
        throw std::bad_alloc();
    auto made = compile_query(on.db(), sql.get());
    if (!made)
        fail_in_engine(on);
    return made;
}

[[noreturn]] void fail_without_row()
{
    fail(ora_no_such_lob, "the row of the LOB is no longer there");
}

// The query of a cell, on its row.
own_query find_row(const connection &on, const lob_cell &cell)
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

void read_row(const connection &on, lob &target)
{
    const auto query = find_row(on, *target.cell);
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(query.get(), 0));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(query.get(), 0));
    target.content.assign({bytes ? bytes : "", size});
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
    if (sqlite3_changes64(on.db()) != 1)
        fail_without_row();
}

} // namespace

lob_changes &lobs_of(connection &on)
{
    if (!on.lobs)
        on.lobs = std::make_unique<lob_changes>(on);
    return static_cast<lob_changes &>(*on.lobs);
}

lob_changes::lob_changes(connection &on) : on_(on)
{
    sqlite3_preupdate_hook(on.db(), note_change, this);
    // Where there is no hook, SQLite empties a table without a look at its rows.
    on.compile_anew();
}

void lob_changes::note_change(void *self, sqlite3 *, int operation, const char *schema, const char *table,
                              sqlite3_int64 old_row, sqlite3_int64 new_row)
{
    auto &changes = *static_cast<lob_changes *>(self);
    table_log *const log = changes.log_of(schema, table);
    if (!log)
        return;
    const bool has_left = operation == SQLITE_DELETE || (operation == SQLITE_UPDATE && old_row != new_row);
    const lob_cell *const own = std::exchange(changes.in_writing_, nullptr);
    if (own && !has_left && own->row == old_row && own->table == table)
        return;
    log->changed = ++changes.moment_;
    if (has_left)
        log->left[old_row] = changes.moment_;
}

lob_changes::table_log *lob_changes::log_of(std::string_view schema, std::string_view table)
{
    for (auto &[name, log] : tables_)
        if (name.second == table && name.first == schema)
            return &log;
    return nullptr;
}

const lob_changes::table_log *lob_changes::log_of(const lob_cell &cell) const
{
    const auto found = tables_.find(std::pair(cell.schema, cell.table));
    return found == tables_.end() ? nullptr : &found->second;
}

bool lob_changes::has_left(const lob_cell &cell, std::uint64_t since) const
{
    const table_log *const log = log_of(cell);
    if (!log)
        return false;
    const auto found = log->left.find(cell.row);
    return found != log->left.end() && found->second > since;
}

void lob_changes::watch(const lob_cell &any_of_table)
{
    tables_.try_emplace({any_of_table.schema, any_of_table.table});
}

void lob_changes::lock(const std::shared_ptr<connection> &on, std::uint64_t transaction,
                       std::uint64_t read_at, const lob_cell &cell, lob_locator &locator)
{
    const std::scoped_lock guard(locator.mutex);
    if (locator.target && transaction == transaction_ && !has_left(cell, read_at))
        locator.target = shared_value(on, read_at, cell, std::move(locator.target));
}

std::shared_ptr<lob> lob_changes::shared_value(const std::shared_ptr<connection> &on, std::uint64_t read_at,
                                               const lob_cell &cell, std::shared_ptr<lob> fresh)
{
    std::weak_ptr<lob> &known = locked_[cell];
    if (auto shared = known.lock(); shared && shared->is_text == fresh->is_text) {
        const std::scoped_lock guard(shared->mutex);
        if (!has_left(cell, shared->since))
            return shared;
    }
    const std::scoped_lock guard(fresh->mutex);
    fresh->cell = cell;
    fresh->on = on;
    fresh->is_locked = true;
    fresh->since = fresh->as_of = read_at;
    known = fresh;
    return fresh;
}

void lob_changes::refresh(lob &target) const
{
    if (has_left(*target.cell, target.since))
        fail_without_row();
    const table_log *const log = log_of(*target.cell);
    if (target.is_pending || (!target.is_lost && log && log->changed <= target.as_of))
        return;
    read_row(on_, target);
    target.as_of = moment_;
    target.is_lost = false;
}

void lob_changes::add(const std::shared_ptr<lob> &target)
{
    if (target->is_temporary || target->is_pending)
        return;
    lob_cell row = *target->cell;
    row.column = "_rowid_"; // not the value, which may be long
    find_row(on_, row);
    changed_.push_back(target);
    target->was_changed = target->is_pending = true;
}

void lob_changes::write_back(connection &on)
{
    if (!on.in_transaction())
        return undo();
    while (!changed_.empty()) {
        const auto target = std::move(changed_.back());
        changed_.pop_back();
        const std::scoped_lock guard(target->mutex);
        write(*target);
    }
}

void lob_changes::write(lob &target)
{
    target.is_pending = false;
    target.as_of = moment_;
    try {
        in_writing_ = &*target.cell;
        write_row(on_, *target.cell, target.content);
        in_writing_ = nullptr;
    } catch (failure &failed) {
        in_writing_ = nullptr;
        // Told once: kept, the value would stop every later statement.
        target.is_lost = true; // until it is read again
        failed.record.text += "; what was written to the LOB in column " + target.cell->column + " is undone";
        throw;
    }
}

void lob_changes::forget_changes()
{
    for (const auto &target : std::exchange(changed_, {})) {
        const std::scoped_lock guard(target->mutex);
        target->is_pending = false;
    }
}

void lob_changes::undo()
{
    forget_changes();
    for (auto &[name, log] : tables_)
        log.changed = ++moment_;
}

void lob_changes::end(bool is_undone)
{
    forget_changes();
    for (const auto &[cell, watched] : std::exchange(locked_, {})) {
        const auto target = watched.lock();
        if (!target)
            continue;
        const std::scoped_lock guard(target->mutex);
        // Another session may change the row at any time from now on, so its value is read at once.
        try {
            if (is_undone && target->was_changed)
                read_row(on_, *target);
            else
                refresh(*target);
        } catch (...) {
            target->is_lost = true;
        }
        target->is_locked = target->was_changed = false;
    }
    tables_.clear();
    ++transaction_;
}

} // namespace sqlite_oci
