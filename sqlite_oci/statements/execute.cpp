// Execution of statements.
#include "statements/run_scopes.h"
#include "statements/statement.h"

namespace sqlite_oci
{
namespace
{

std::vector<bool> number_columns(const sql::translation &translated)
{
    std::vector<bool> result;
    for (const sql::result_column &column : translated.columns)
        result.push_back(column.type.type == SQLT_NUM);
    result.resize(result.size() + translated.given_columns);
    return result;
}

} // namespace

sword statement::execute(const service_context &context, const execution &how, call_errors errors)
{
    check_idle();
    if (!is_prepared)
        fail(24337, "the statement handle is not prepared");
    if (opened_)
        fail(1003, "the statement handle holds a cursor, which a fetch has opened: prepare it first");
    if (awaited_.of && awaited_.by_execution)
        return fetch(1, OCI_FETCH_NEXT, 0, errors);
    if (open_cursor(context, errors))
        return OCI_SUCCESS;
    const auto shared = context.shared_connection();
    connection &on = *shared;
    compiled_.leave_other(on);
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
    compiled_.compile(shared, text, bind_types(), &error_offset);
    column_count = static_cast<ub4>(compiled_.translated().columns.size());
    find_own_texts(on);
    is_described = true;
    if (!is_to_run)
        return OCI_SUCCESS;
    check_binds();
    if (!collect_pieces(how)) {
        errors.set(make_record(3129, "the next piece of a value is needed: OCIStmtSetPieceInfo gives it"));
        return OCI_NEED_DATA;
    }

    const wait_scope wait(on, compiled_.translated().wait_seconds);
    sword status = OCI_SUCCESS;
    if (run_without_rows(on)) {
        is_executed = true;
        return OCI_SUCCESS;
    }
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
    case statement_kind::block:
        run_block(on);
        break;
    default:
        run_savepoint(on);
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
    is_executed = is_described = is_cancelled_ = false;
    was_tried_ = true;
    changed_row_.reset();
    rows_.clear();
    columns_.clear();
    locked_.clear();
    cursor_origin_.reset();
    forget_too_many_parameters();
}

void statement::check_text()
{
    error_offset = 0;
    // In a quoted text, that is. SQLite would take what stands before it for the whole.
    const auto zero = text.original.find('\0');
    if (zero != text.original.npos) {
        error_offset = as_attribute(zero);
        fail(911, "invalid character: there is a zero byte in the text, at offset %zu", zero);
    }
}

void statement::check_binds() const
{
    for (std::size_t i = 0; i < bound_.size(); ++i)
        if (!bound_[i])
            fail(1008, "not all variables are bound: :%s is not", text.placeholders[i].name.c_str());
}

// Whether a step takes the variable's value: those of RETURNING and the like only get one.
bool statement::is_read(sqlite3_stmt *by, const bind &used) const
{
    for (const std::size_t placeholder : used.placeholders) {
        const int position = static_cast<int>(placeholder) + 1;
        if (position <= sqlite3_bind_parameter_count(by) && sqlite3_bind_parameter_name(by, position))
            return true;
    }
    return false;
}

void statement::bind_row(sqlite3_stmt *target, std::size_t row)
{
    cursor_origin *const kept = cursor_origin_.get();
    for (const auto &used : binds_) {
        if (used->placeholders.empty() || (used->may_be_empty() && !kept && !is_read(target, *used)))
            continue;
        const value bound = used->value_of(row);
        for (const std::size_t placeholder : used->placeholders) {
            if (bound_[placeholder] != used.get())
                continue;
            compiled_.bind(target, placeholder, bound);
            if (kept)
                kept->values[placeholder] = kept_value(bound);
        }
    }
}

int statement::step(connection &on, sqlite3_stmt *running, const sql::translated_step *of)
{
    const int code = sqlite3_step(running);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        fail_in_engine(on, code, running, of);
    return code;
}

void statement::fail_in_engine(connection &on, int code, sqlite3_stmt *running,
                               const sql::translated_step *of)
{
    error_offset = 0;
    // Blocks and MERGE have steps of several kinds.
    const sql_action of_step = action_of(sqlite3_sql(running));
    const bool is_broken_key = sqlite3_extended_errcode(on.db()) == SQLITE_CONSTRAINT_FOREIGNKEY;
    failure failed{on.record(code, of_step == sql_action::other ? text.action : of_step, text.original)};
    if (is_broken_key && of && of_step == sql_action::update)
        failed.record = on.broken_key_record(of->table, running);
    // SQLite gives the whole transaction up when a change is interrupted or the disk fails.
    if (text.kind == statement_kind::change && !on.in_transaction()) {
        on.rollback();
        failed.record.text += "; the transaction was rolled back";
    }
    throw std::move(failed);
}

// `code` is that of the first step.
void statement::read_rows(connection &on, sqlite3_stmt *running, int code)
{
    const std::vector<bool> are_numbers = number_columns(result());
    for (; code == SQLITE_ROW; code = step(on, running)) {
        rows_.append(running, static_cast<int>(are_numbers.size()), are_numbers);
        if (!locked_.empty())
            locked_.append(running);
    }
}

sword statement::run_query(const std::shared_ptr<connection> &shared, const execution &how,
                           call_errors errors)
{
    connection &on = *shared;
    const sql::translation &translated = compiled_.translated();
    // A sequence is a row that changes, also in a query, which leaves no lock behind.
    const bool is_change = translated.locks_rows || translated.uses_sequence;
    const bool is_first = is_change && on.begin_changes();
    locked_.clear();
    sqlite3_stmt *const locking = compiled_.locking();
    sqlite3_stmt *const running = locking ? locking : compiled_.step(0);
    if (!translated.cursors.empty())
        cursor_origin_ = std::make_shared<cursor_origin>(
            cursor_origin{shared, bind_types(), std::vector<kept_value>(bound_.size())});
    bind_row(running, 0);
    {
        const run_end end{running};
        const int code = step(on, running);
        if (locking)
            locked_.start(shared, running);
        read_rows(on, running, code);
    }
    if (is_first && !translated.locks_rows)
        on.commit();
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
    on.settings.row_number = 0;
    const auto &steps = compiled_.translated().steps;
    if (steps.size() == 1 && steps[0].outputs.empty()) // a variable may refuse the value that it is given
        return run_step(on, 0, row);
    const savepoint_scope all(on);
    run_steps(on, row);
    all.keep();
}

void statement::run_steps(connection &on, std::size_t row)
{
    for (std::size_t i = 0; i < compiled_.translated().steps.size(); ++i)
        run_step(on, i, row);
}

void statement::run_step(connection &on, std::size_t index, std::size_t row)
{
    const sql::translated_step &translated = compiled_.translated().steps[index];
    if (translated.commits)
        return on.commit();
    if (translated.rolls_back)
        return on.rollback();
    if (translated.gives_row_id)
        lobs_of(on).watch({"main", translated.table, "", 0});
    sqlite3_stmt *const running = compiled_.step(index);
    const run_end end{running};
    bind_row(running, row);
    on.forget_changed_row();
    std::size_t rows = 0;
    while (step(on, running, &translated) == SQLITE_ROW) {
        if (translated.outputs.empty())
            continue;
        if (++rows > 1)
            fail(translated.needs_row ? 1422 : 24369, "several rows for the bind variables of one");
        store_outputs(running, translated, row);
    }
    if (translated.needs_row && rows == 0)
        fail(1403, "no data found");
    if (on.changed_row())
        changed_row_ = on.changed_row();
    if (translated.counts_rows)
        row_count += static_cast<ub4>(sqlite3_changes64(on.db()));
}

// A definition is a transaction of its own.
void statement::run_definition(connection &on)
{
    on.commit();
    on.begin_changes();
    try {
        run_steps(on, 0);
        on.commit();
    } catch (...) {
        if (on.in_transaction())
            on.rollback();
        throw;
    }
    row_count = 0;
    is_executed = true;
}

// A block is done whole or not at all, but for what it commits itself.
void statement::run_block(connection &on)
{
    on.begin_changes();
    const savepoint_scope all(on);
    on.settings.row_number = 0;
    run_steps(on, 0);
    all.keep();
    is_executed = true;
    if (compiled_.translated().steps.empty())
        row_count = 1;
}

void statement::run_savepoint(connection &on)
{
    if (!on.in_transaction())
        on.begin();
    run_steps(on, 0);
    row_count = 0;
    if (text.goes_back())
        on.keep_sequences();
    if (on.lobs && text.goes_back())
        lobs_of(on).undo(); // where the transaction goes back, locators follow it
    is_executed = true;
}

// What concerns the session or its transaction. False for all that runs SQL.
bool statement::run_without_rows(connection &on)
{
    const sql::translation &translated = compiled_.translated();
    switch (translated.does) {
    case sql::effect::run:
        return false;
    case sql::effect::lock_table:
        on.begin_changes();
        return true;
    case sql::effect::set_session:
        for (const auto &[name, value] : translated.session_values)
            on.settings.set(name, value);
        return true;
    case sql::effect::begin_read_only:
        on.begin_read_only();
        return true;
    case sql::effect::begin_serializable:
        on.begin_serializable();
        return true;
    case sql::effect::nothing:
        return true;
    }
    return true;
}

} // namespace sqlite_oci
