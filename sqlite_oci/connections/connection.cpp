#include "connections/connection.h"

#include "connections/authorizer.h"
#include "connections/broken_keys.h"
#include "functions/sequences.h"
#include "functions/sql_functions.h"
#include "handles/call.h"
#include "syntax/token.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace sqlite_oci
{
namespace
{

// How long a call waits for another session's lock before it fails with ORA-00054.
constexpr std::chrono::milliseconds lock_wait{1000};
constexpr std::chrono::milliseconds lock_retry{5};

// Steps of SQLite's machine, some tenths of a millisecond, after which it is asked for a break. SQLite
// forgets an interrupt that comes just before a statement starts.
constexpr int steps_between_looks = 20000;

constexpr int ora_parent_not_found = 2291;
constexpr int ora_child_found = 2292;

bool is_constraint(int code)
{
    return code == 1 || code == 1400 || code == 1407 || code == 2290 || code == ora_parent_not_found ||
           code == ora_child_found;
}

} // namespace

connection::connection(const std::string &path, const std::string &user_name)
    : user(user_name), catalogue(nullptr)
{
    settings.user = sql::upper_case(user_name);
    // The mutex of this class makes SQLite's own superfluous.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    int code = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
    try {
        if (code != SQLITE_OK)
            throw failure{sqlite_record(db_, code)};
        catalogue = sql::catalogue(db_);
        breaks_ = &interrupt_point::take(db_);
        sqlite3_extended_result_codes(db_, 1);
        sqlite3_busy_handler(db_, wait_for_lock, this);
        sqlite3_db_config(db_, SQLITE_DBCONFIG_ENABLE_FKEY, 1, nullptr);
        add_sql_functions(db_, settings);
        sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr); // "name" is never a text
        sqlite3_update_hook(
            db_,
            [](void *self, int, const char *, const char *, sqlite3_int64 row) {
                static_cast<connection *>(self)->changed_row_ = row;
            },
            this);
        sqlite3_progress_handler(db_, steps_between_looks, is_to_stop, this);
        execute("PRAGMA schema_version"); // reads the file: one that is no database is told here
        // Readers then see what was committed when they began, and neither wait for writers nor stop them. A
        // file that cannot be changed is read as it is.
        run("PRAGMA journal_mode = WAL");
        limit_sql(db_, &is_own_sql_);
        is_own_sql_ = false;
    } catch (...) {
        close();
        throw;
    }
}

// Statements that are still compiled for it keep the closed connection until they end.
connection::~connection()
{
    if (in_transaction())
        run("ROLLBACK");
    close();
}

void connection::close()
{
    if (breaks_)
        breaks_->give_back();
    sqlite3_close_v2(db_);
}

int connection::wait_for_lock(void *self, int attempts)
{
    const auto &waiting = *static_cast<const connection *>(self);
    const std::chrono::milliseconds longest =
        waiting.wait_seconds_ < 0 ? lock_wait : std::chrono::seconds(waiting.wait_seconds_);
    if (waiting.break_requested() || attempts * lock_retry >= longest)
        return 0;
    std::this_thread::sleep_for(lock_retry);
    return 1;
}

int connection::is_to_stop(void *self)
{
    return static_cast<connection *>(self)->break_requested();
}

int connection::run(const char *sql)
{
    const bool was_own = is_own_sql_;
    is_own_sql_ = true;
    const int code = sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
    is_own_sql_ = was_own;
    return code;
}

void connection::execute(const char *sql)
{
    const int code = run(sql);
    if (code != SQLITE_OK)
        throw failure{record(code)};
}

error_record connection::record(int code, sql_action action, std::string_view statement) const
{
    if ((code & 0xff) == SQLITE_BUSY && break_requested())
        return make_record(1013, "the wait for another session's lock was interrupted on request");
    if ((code & 0xff) == SQLITE_BUSY && code != SQLITE_BUSY_SNAPSHOT && wait_seconds_ > 0)
        return make_record(30006, "the database is locked by another session; the wait is over");
    return sqlite_record(db_, code, action, statement);
}

bool connection::begin_changes()
{
    if (read_only_)
        fail(1456, "the transaction is read-only");
    // The write lock is taken at once: a transaction that reads first and then cannot get it could only be
    // rolled back.
    if (!in_transaction()) {
        execute("BEGIN IMMEDIATE");
        return true;
    }
    if (sqlite3_txn_state(db_, nullptr) != SQLITE_TXN_WRITE)
        upgrade_to_write();
    return false;
}

// SQLite takes the lock with the first change only; this is one that changes nothing.
void connection::upgrade_to_write()
{
    int version = 0;
    const auto keep = [](void *number, int, char **values, char **) {
        *static_cast<int *>(number) = std::atoi(values[0]);
        return 0;
    };
    const int code = sqlite3_exec(db_, "PRAGMA main.user_version", keep, &version, nullptr);
    if (code != SQLITE_OK)
        throw failure{record(code)};
    execute(("PRAGMA main.user_version = " + std::to_string(version)).c_str());
}

void connection::begin()
{
    if (in_transaction())
        fail(1453, "a transaction is already active");
    execute("BEGIN");
}

void connection::begin_serializable()
{
    begin();
    execute("PRAGMA schema_version"); // the first look at the database
}

void connection::begin_read_only()
{
    begin_serializable();
    read_only_ = true;
}

void connection::commit()
{
    try {
        if (lobs)
            lobs->write_back(*this);
        end_transaction("COMMIT");
    } catch (const failure &failed) {
        if (!is_constraint(failed.record.code))
            throw;
        // As a server does: a transaction that breaks a constraint at its end leaves nothing.
        fail(2091, "the transaction was rolled back: %s", roll_back_after(failed.record).text.c_str());
    }
    if (lobs)
        lobs->end(false);
}

// Returns the record with the number of the key that was broken, where it was one.
error_record connection::roll_back_after(const error_record &refusal)
{
    if (refusal.code != ora_parent_not_found && refusal.code != ora_child_found) {
        rollback();
        return refusal;
    }
    const broken_keys broken(db_);
    rollback();
    const bool is_parent_gone = broken.parent_was_removed(db_);
    return record(SQLITE_CONSTRAINT_FOREIGNKEY, is_parent_gone ? sql_action::remove : sql_action::insert);
}

error_record connection::broken_key_record(const std::string &table, sqlite3_stmt *update)
{
    const table_keys keys = keys_of(db_, table);
    bool is_parent_gone = keys.is_parent;
    if (keys.is_parent && keys.is_child) {
        sqlite3_reset(update);
        execute("SAVEPOINT \"oci$keys\"");
        run("PRAGMA defer_foreign_keys = ON");
        while (sqlite3_step(update) == SQLITE_ROW) {
        }
        sqlite3_reset(update);
        const broken_keys broken(db_);
        run("ROLLBACK TO \"oci$keys\"; RELEASE \"oci$keys\"; PRAGMA defer_foreign_keys = OFF");
        is_parent_gone = broken.parent_was_removed(db_);
    }
    return record(SQLITE_CONSTRAINT_FOREIGNKEY, is_parent_gone ? sql_action::remove : sql_action::update);
}

void connection::rollback()
{
    end_transaction("ROLLBACK");
    keep_sequences();
    if (lobs)
        lobs->end(true);
}

// Numbers of sequences that were given are not given again, also when the transaction that got them goes
// back.
void connection::keep_sequences()
{
    if (settings.sequence_values.empty())
        return;
    const bool is_own = !in_transaction() && run("BEGIN IMMEDIATE") == SQLITE_OK;
    run(keep_values_sql(settings).c_str());
    if (is_own)
        run("COMMIT");
}

void connection::end_transaction(const char *sql)
{
    if (in_transaction())
        execute(sql);
    read_only_ = false;
}

void connection::compile_anew()
{
    limit_sql(db_, &is_own_sql_); // a new authorizer has that effect
}

void connection::cut_off()
{
    if (in_transaction())
        run("ROLLBACK");
    if (lobs)
        lobs->end(true);
    breaks_->attachment = nullptr;
    cut_off_ = true;
}

} // namespace sqlite_oci
