// A session's connection to its database file, with the transaction that is open on it.
#pragma once

#include "catalogue/catalogue.h"
#include "connections/call_mutex.h"
#include "connections/interrupt_point.h"
#include "functions/session_settings.h"
#include "sql/sqlite_errors.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <sqlite3.h>

namespace sqlite_oci
{

class connection;

// What keeps changes of its own beside the database's, and takes part in each end of a transaction.
class transaction_part
{
public:
    virtual ~transaction_part() = default;

    // Before a commit. Throws a failure where the database refuses a change.
    virtual void write_back(connection &on) = 0;

    // The transaction is over.
    virtual void end(bool is_undone) = 0;
};

class connection
{
public:
    // Opens an existing file. Throws a failure when it cannot be opened or is no database.
    connection(const std::string &path, const std::string &user);
    ~connection();
    connection(const connection &) = delete;
    connection &operator=(const connection &) = delete;

    sqlite3 *db() const { return db_; }

    // Held by every call that uses db(), since service contexts of several threads may share a session.
    call_mutex &mutex() { return mutex_; }

    // --- All of these need the mutex and throw a failure.

    bool in_transaction() const { return sqlite3_get_autocommit(db_) == 0; }

    // Takes the write lock; a transaction is opened for it unless one is open. Returns whether it opened one.
    bool begin_changes();

    // Opens a transaction that sees what is in the database when it first reads.
    void begin();

    // Opens a transaction that sees what is in the database now, whatever others commit.
    void begin_serializable();
    void begin_read_only();

    // A transaction that breaks a constraint is rolled back, with ORA-02091.
    void commit();
    void rollback();

    // After a rollback, also one to a savepoint.
    void keep_sequences();

    // Ends a transaction that changed nothing. Throws nothing.
    void give_up() { run("ROLLBACK"); }

    // Runs a statement of this library's own, which may do more than one of a program.
    void execute(const char *sql);

    // Notices what another session has done to the schema, so that what is compiled next fits it.
    void look_at_schema() { execute("SELECT 1 FROM sqlite_schema LIMIT 0"); }

    // Lets every statement be compiled anew before it runs again.
    void compile_anew();

    // The record for a failed call of SQLite.
    error_record record(int code, sql_action action = sql_action::other,
                        std::string_view statement = {}) const;

    // The record for an UPDATE of a table that a foreign key has stopped: the key of the row, or of rows that
    // refer to it. The statement is run again for that where the table has both; nothing stays of it.
    error_record broken_key_record(const std::string &table, sqlite3_stmt *update);

    // What is selected for update and changed through locators; null while there is nothing. See lobs_of().
    std::unique_ptr<transaction_part> lobs;

    // The row that was changed last since forget_changed_row().
    const std::optional<std::int64_t> &changed_row() const { return changed_row_; }
    void forget_changed_row() { changed_row_.reset(); }

    // --- These need no lock.

    // Lets the call in progress, if any, end with ORA-01013.
    interrupt_point &breaks() const { return *breaks_; }
    void start_call() { breaks_->is_requested = false; }
    bool break_requested() const { return breaks_->is_requested; }

    // The server was detached: what was not committed is gone, and nothing more can be done here.
    void cut_off();
    bool is_cut_off() const { return cut_off_; }

    const std::string user;

    // --- These need the mutex.

    session_settings settings;
    sql::catalogue catalogue;

    // How long the call in progress waits for another session's lock, and then fails with ORA-00054 or, where
    // the program says how long, ORA-30006. Negative: as long as usual.
    void set_wait(int seconds) { wait_seconds_ = seconds; }

private:
    std::optional<std::int64_t> changed_row_;
    static int wait_for_lock(void *self, int attempts);
    static int is_to_stop(void *self);
    int run(const char *sql);
    void close();
    void upgrade_to_write();
    void end_transaction(const char *sql);
    error_record roll_back_after(const error_record &refusal);

    sqlite3 *db_ = nullptr;
    call_mutex mutex_;
    interrupt_point *breaks_ = nullptr;
    std::atomic<bool> cut_off_{false};
    bool read_only_ = false;
    int wait_seconds_ = -1;
    bool is_own_sql_ = true; // what runs now, see limit_sql
};

} // namespace sqlite_oci
