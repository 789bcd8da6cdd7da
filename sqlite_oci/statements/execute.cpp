// Execution of statements.
#include "statements/statement.h"

namespace sqlite_oci
{
namespace
{

// Ends the run of a compiled statement, whatever it came to, so that it keeps no lock.
struct run_end {
    sqlite3_stmt *running;
    ~run_end() { sqlite3_reset(running); }
};

// Opens a transaction for a statement. One that changed nothing leaves no transaction, and so no lock.
class change_scope
{
public:
    explicit change_scope(connection &on)
        : on_(on), is_first_(on.begin_changes()), changes_before_(sqlite3_total_changes64(on.db()))
    {
    }
    ~change_scope()
    {
        if (is_first_ && sqlite3_total_changes64(on_.db()) == changes_before_)
            on_.give_up();
    }
    change_scope(const change_scope &) = delete;

private:
    connection &on_;
    bool is_first_;
    sqlite3_int64 changes_before_;
};

} // namespace

sword statement::execute(const service_context &context, const execution &how, call_errors errors)
{
    check_idle();
    if (!is_prepared)
        fail(24337, "the statement handle is not prepared");
    if (awaited_.of && awaited_.by_execution)
        return fetch(1, OCI_FETCH_NEXT, 0, errors);
    if (open_cursor(context, errors))
        return OCI_SUCCESS;
    const auto shared = context.shared_connection();
    connection &on = *shared;
    compiled_.leave_other(on);
    locking_.leave_other(on);
    const std::scoped_lock lock(on.mutex());
    on.start_call();
    forget_execution();
    check_text();
    if (text.kind == statement_kind::commit) {
        on.commit();
        return OCI_SUCCESS;
    }
    if (text.kind == statement_kind::rollback) {
        on.rollback();
        return OCI_SUCCESS;
    }
    if (on.lobs && !text.goes_back())
        on.lobs->write_back(on);

    const bool is_to_run = (how.mode & (OCI_PARSE_ONLY | OCI_DESCRIBE_ONLY)) == 0;
    if (!is_to_run) {
        compiled_.reset();
        on.look_at_schema();
    }
    compiled_.compile(shared, text, &error_offset);
    column_count = static_cast<ub4>(sqlite3_column_count(compiled_.get()));
    is_described = true;
    if (!is_to_run)
        return OCI_SUCCESS;
    check_binds();
    if (!collect_pieces(how)) {
        errors.set(make_record(3129, "the next piece of a value is needed: OCIStmtSetPieceInfo gives it"));
        return OCI_NEED_DATA;
    }

    sword status = OCI_SUCCESS;
    switch (text.kind) {
    case statement_kind::query:
        status = run_query(shared, how, errors);
        break;
    case statement_kind::change:
        status = run_changes(on, how, errors);
        break;
    case statement_kind::definition:
        run_definition(on);
        break;
    case statement_kind::savepoint:
        run_savepoint(on);
        break;
    default:
        run_once(on);
        break;
    }
    if (how.mode & OCI_COMMIT_ON_SUCCESS)
        on.commit();
    return status;
}

// What is known from an execution before holds no longer, also when this one fails.
void statement::forget_execution()
{
    row_count = rows_fetched = batch_error_count = column_count = current_row = 0;
    is_executed = is_described = false;
    changed_row_.reset();
    rows_.clear();
    columns_.clear();
    locked_.clear();
    forget_too_many_parameters();
}

void statement::check_text()
{
    error_offset = 0;
    // SQLite would take what stands before it for the whole.
    const auto zero = text.original.find('\0');
    if (zero != text.original.npos) {
        error_offset = as_attribute(zero);
        fail(911, "invalid character: there is a zero byte in the text, at offset %zu", zero);
    }
    if (text.kind == statement_kind::block)
        fail(3001, "PL/SQL blocks and calls are not served");
}

void statement::check_binds() const
{
    for (std::size_t i = 0; i < bound_.size(); ++i)
        if (!bound_[i])
            fail(1008, "not all variables are bound: :%s is not", text.placeholders[i].name.c_str());
}

void statement::bind_row(sqlite3_stmt *target, std::size_t row)
{
    for (const auto &used : binds_) {
        if (used->placeholders.empty())
            continue;
        const value bound = used->value_of(row);
        for (const std::size_t placeholder : used->placeholders)
            if (bound_[placeholder] == used.get())
                bind_to(target, static_cast<int>(placeholder) + 1, bound);
    }
}

int statement::step(connection &on, sqlite3_stmt *running)
{
    const int code = sqlite3_step(running);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        fail_in_engine(on, code);
    return code;
}

void statement::fail_in_engine(connection &on, int code)
{
    error_offset = 0;
    failure failed{on.record(code, text.action, text.for_engine)};
    // SQLite gives the whole transaction up when a change is interrupted or the disk fails.
    if (text.kind == statement_kind::change && !on.in_transaction()) {
        on.rollback();
        failed.record.text += "; the transaction was rolled back";
    }
    throw std::move(failed);
}

// Whether there is a query to run instead, which tells locators the rows that it locks.
bool statement::compile_locking(const std::shared_ptr<connection> &on)
{
    if (!text.for_update)
        return false;
    sql_text with_identity = text;
    with_identity.for_engine = locked_rows::with_identity(text);
    if (with_identity.for_engine.empty())
        return false;
    try {
        ub2 ignored = 0;
        locking_.compile(on, with_identity, &ignored);
    } catch (const failure &) {
        return false;
    }
    return true;
}

// Runs that query; false, with nothing read, where it is none or no longer one.
bool statement::try_locking(const std::shared_ptr<connection> &on)
{
    if (!compile_locking(on))
        return false;
    sqlite3_stmt *const running = locking_.get();
    bind_row(running, 0);
    const run_end end{running};
    const int code = sqlite3_step(running);
    if (code == SQLITE_ROW || code == SQLITE_DONE) {
        locked_.start(on, running);
        read_rows(*on, running, code);
        return true;
    }
    // Compiled anew, it may have met a table without such rows; the plain query tells all other errors.
    return false;
}

// The step before may have compiled the query anew, with other columns than it had.
void statement::read_rows(connection &on, sqlite3_stmt *running, int code)
{
    column_count = static_cast<ub4>(sqlite3_column_count(running)) - (locked_.empty() ? 0 : 1);
    for (; code == SQLITE_ROW; code = step(on, running)) {
        rows_.append(running, static_cast<int>(column_count));
        if (!locked_.empty())
            locked_.append(running);
    }
}

sword statement::run_query(const std::shared_ptr<connection> &shared, const execution &how,
                           call_errors errors)
{
    connection &on = *shared;
    if (text.for_update)
        on.begin_changes();
    if (!try_locking(shared)) {
        locking_.reset();
        sqlite3_stmt *const running = compiled_.get();
        bind_row(running, 0);
        const run_end end{running};
        read_rows(on, running, step(on, running));
    }
    is_executed = true;
    is_scrollable_ = (how.mode & OCI_STMT_SCROLLABLE_READONLY) != 0;
    if (how.iterations == 0)
        return OCI_SUCCESS;
    if (how.mode & OCI_EXACT_FETCH)
        return fetch_exactly(how.iterations, errors);
    const sword status = fetch_rows(how.iterations, OCI_FETCH_NEXT, 0, errors);
    awaited_.by_execution = status == OCI_NEED_DATA;
    return status;
}

sword statement::fetch_exactly(ub4 rows, call_errors errors)
{
    const std::size_t found = rows_.size();
    const sword status = fetch_rows(rows, OCI_FETCH_NEXT, 0, errors);
    if (found <= rows)
        return status;
    rows_.clear();
    fail(1422, "an exact fetch of %u rows met %zu", rows, found);
}

sword statement::run_changes(connection &on, const execution &how, call_errors errors)
{
    if (how.iterations <= how.row_offset)
        fail(24333, "no iterations: the row offset %u leaves none of %u", how.row_offset, how.iterations);
    const change_scope scope(on);
    std::vector<error_record> batch;
    for (ub4 row = how.row_offset; row < how.iterations; ++row) {
        if (on.break_requested())
            fail(1013, "the call was interrupted on request");
        try {
            change_row(on, row);
        } catch (failure &failed) {
            if (!(how.mode & OCI_BATCH_ERRORS))
                throw;
            failed.record.row = row;
            batch.push_back(std::move(failed.record));
        }
    }
    is_executed = true;
    if (batch.empty())
        return OCI_SUCCESS;
    batch_error_count = static_cast<ub4>(batch.size());
    if (errors.target())
        errors.target()->batch = std::move(batch);
    return errors.warn(24381, "there are errors in the array execution; each is on a handle of its own");
}

void statement::change_row(connection &on, std::size_t row)
{
    const run_end end{compiled_.get()};
    bind_row(compiled_.get(), row);
    on.forget_changed_row();
    while (step(on, compiled_.get()) == SQLITE_ROW)
        continue; // rows of RETURNING have no place to go
    if (on.changed_row())
        changed_row_ = on.changed_row();
    row_count += static_cast<ub4>(sqlite3_changes64(on.db()));
}

// A definition is a transaction of its own.
void statement::run_definition(connection &on)
{
    on.commit();
    run_once(on);
}

void statement::run_savepoint(connection &on)
{
    if (!on.in_transaction())
        on.begin();
    run_once(on);
    if (on.lobs && text.goes_back())
        lobs_of(on).undo();
}

void statement::run_once(connection &on)
{
    const run_end end{compiled_.get()};
    bind_row(compiled_.get(), 0);
    while (step(on, compiled_.get()) == SQLITE_ROW)
        continue;
    is_executed = true;
}

} // namespace sqlite_oci
