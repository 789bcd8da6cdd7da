// What a transaction has to do with LOBs: the rows that it selected for update, and the values that were
// changed through locators. A changed value is written to its row when a statement or the commit needs it
// there, so that a program that writes a long value bit by bit does not rewrite the row each time. A row that
// SQL changes meanwhile shows its new value through the locators.
#pragma once

#include "connections/connection.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include <sqlite3.h>

namespace sqlite_oci
{

struct lob;
struct lob_locator;

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

// Of one connection, whose mutex all calls need.
class lob_changes final : public transaction_part
{
public:
    explicit lob_changes(connection &on);

    // Tells one transaction from the next.
    std::uint64_t transaction() const { return transaction_; }

    // Counts the rows that SQL has changed.
    std::uint64_t moment() const { return moment_; }

    // From now on, what SQL does to the rows of a table is noted until the transaction ends.
    void watch(const lob_cell &any_of_table);

    // Makes a locator stand for a cell itself, whose value it has as it was read at a moment. All locators of
    // a cell that the transaction has locked share one value: this one, or what an earlier locator has made
    // of it. A cell that a transaction locked that is over, or whose row was deleted since, is locked no
    // more.
    void lock(const std::shared_ptr<connection> &on, std::uint64_t transaction, std::uint64_t read_at,
              const lob_cell &cell, lob_locator &locator);

    // --- These need the LOB's mutex, too.

    // Notes that a value is to be changed. Throws ORA-22922 when its row is gone.
    void add(const std::shared_ptr<lob> &target);

    // Reads a value again that SQL has changed.
    void refresh(lob &target) const;

    // --- And these must not hold one.

    // Writes what was changed to the rows. Throws a failure where the database refuses a value; the locators
    // then show the row's value again.
    void write_back(connection &on) override;

    // The transaction is over: locators can no longer be written with; after a rollback they show the values
    // that the rows have now.
    void end(bool is_undone) override;

    // A part of the transaction was rolled back.
    void undo();

private:
    // What SQL did to a table's rows, by the moment when it was done.
    struct table_log {
        std::uint64_t changed = 0; // any of them, last
        std::unordered_map<sqlite3_int64, std::uint64_t>
            left; // rows that were deleted, or have another number
    };

    static void note_change(void *self, sqlite3 *db, int operation, const char *schema, const char *table,
                            sqlite3_int64 old_row, sqlite3_int64 new_row);
    std::shared_ptr<lob> shared_value(const std::shared_ptr<connection> &on, std::uint64_t read_at,
                                      const lob_cell &cell, std::shared_ptr<lob> fresh);
    void write(lob &target);
    table_log *log_of(std::string_view schema, std::string_view table);
    const table_log *log_of(const lob_cell &cell) const;
    bool has_left(const lob_cell &cell, std::uint64_t since) const;
    void forget_changes();

    connection &on_;
    std::uint64_t transaction_ = 0;
    std::uint64_t moment_ = 0;
    const lob_cell *in_writing_ = nullptr; // the row that is written to now, until that is noted
    std::map<std::pair<std::string, std::string>, table_log, std::less<>> tables_; // by schema and table
    std::map<lob_cell, std::weak_ptr<lob>> locked_;
    std::vector<std::shared_ptr<lob>> changed_;
};

// Those of the connection, whose mutex is needed.
lob_changes &lobs_of(connection &on);

} // namespace sqlite_oci
