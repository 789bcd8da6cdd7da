// What has to be put right again when the run of a statement ends, however it ends.
#pragma once

#include "connections/connection.h"

namespace sqlite_oci
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

// What several steps do is taken back unless it is kept.
class savepoint_scope
{
public:
    explicit savepoint_scope(connection &on) : on_(on) { on.execute("SAVEPOINT \"oci$steps\""); }
    ~savepoint_scope()
    {
        if (is_kept_)
            return;
        sqlite3_exec(on_.db(), "ROLLBACK TO \"oci$steps\"; RELEASE \"oci$steps\"", nullptr, nullptr, nullptr);
        on_.keep_sequences();
    }
    savepoint_scope(const savepoint_scope &) = delete;

    // There is none any more where a step ended the transaction.
    void keep() const
    {
        is_kept_ = true;
        sqlite3_exec(on_.db(), "RELEASE \"oci$steps\"", nullptr, nullptr, nullptr);
    }

private:
    connection &on_;
    mutable bool is_kept_ = false;
};

class wait_scope
{
public:
    wait_scope(connection &on, int seconds) : on_(on) { on.set_wait(seconds); }
    ~wait_scope() { on_.set_wait(-1); }
    wait_scope(const wait_scope &) = delete;

private:
    connection &on_;
};

} // namespace sqlite_oci
