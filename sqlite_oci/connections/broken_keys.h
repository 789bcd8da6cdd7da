// The foreign keys that stop a commit or a change: SQLite tells that there are some, and not which.
#pragma once

#include <string>
#include <vector>

#include <sqlite3.h>

namespace sqlite_oci
{

// On which sides of foreign keys a table stands.
struct table_keys {
    bool is_child = false, is_parent = false;
};
table_keys keys_of(sqlite3 *db, const std::string &table);

class broken_keys
{
public:
    // While the changes are still there.
    explicit broken_keys(sqlite3 *db);

    // After they were taken back: whether the first row without a parent is as it was, so that the parent has
    // gone from under it. Else the row came without a parent. The same for a table WITHOUT ROWID, where it is
    // not known.
    bool parent_was_removed(sqlite3 *db) const;

private:
    struct broken_key {
        std::string table;
        sqlite3_int64 row = 0;
        int key = 0;        // of the table
        std::string values; // of the key's columns, as literals
    };

    std::vector<broken_key> keys_;
};

} // namespace sqlite_oci
