// What a transaction has to do with LOBs: the rows that it selected for update, and the values that were
// changed through locators. A changed value is written to its row when a statement or the commit needs it
// there, so that a program that writes a long value bit by bit does not rewrite the row each time.
#pragma once

#include "connections/connection.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include <sqlite3.h>

namespace sqlite_oci
{

struct lob;

// A column of a row.
struct lob_cell {
    std::string schema, table, column;
    sqlite3_int64 row = 0;

    bool operator<(const lob_cell &other) const
    {
        return std::tie(row, column, table, schema) <
               std::tie(other.row, other.column, other.table, other.schema);
    }
};

class lob_changes final : public transaction_part
{
public:
    // Tells one transaction from the next.
    std::uint64_t transaction() const { return transaction_; }

    // All locators of a cell that the transaction has locked share one value: `fresh`, or what an earlier
    // locator has made of it. A cell that a transaction locked that is over is locked no more.
    std::shared_ptr<lob> lock(const std::shared_ptr<connection> &on, std::uint64_t transaction,
                              const lob_cell &cell, std::shared_ptr<lob> fresh);

    // Notes that `target` is to be changed. Throws ORA-22922 when its row is gone.
    void add(const connection &on, const std::shared_ptr<lob> &target);

    // Writes what was changed to the rows. Throws a failure where the database refuses a value; the locators
    // then show the row's value again.
    void write_back(connection &on) override;

    // The transaction is over: locators can no longer be written with; after a rollback they show the values
    // that the rows have now.
    void end(bool is_undone) override;

    // A part of the transaction was rolled back.
    void undo();

private:
    void revert();

    std::atomic<std::uint64_t> transaction_{0};
    std::mutex mutex_; // of locked_: fetches do not hold the connection's
    std::map<lob_cell, std::weak_ptr<lob>> locked_;
    std::vector<std::shared_ptr<lob>> changed_;
};

// Those of the connection. Needs its mutex.
lob_changes &lobs_of(connection &on);

} // namespace sqlite_oci
