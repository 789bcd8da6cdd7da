// What a database holds: its tables and views with the types of their columns, and its sequences.
#pragma once

#include "sql/declared_type.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <sqlite3.h>

namespace sqlite_oci::sql
{

struct column_info {
    std::string name;        // as a server shows it: in upper case unless it was quoted
    std::string engine_name; // as SQLite knows it
    declared_type type;      // of type 0 where nothing tells it
    std::string default_sql; // in SQLite's words; empty for none
    bool is_nullable = true;
    bool is_generated = false; // its value follows from other columns
};

struct table_info {
    std::string name;
    std::string engine_name;
    std::string definition; // of a view that is not in the database: the query in SQLite's words
    std::vector<column_info> columns;
    bool is_view = false;
    bool has_row_id = false;

    const column_info *find(std::string_view column) const;
};

// What SQLite keeps of a table, a view, an index or a trigger; an empty name if there is none.
struct schema_entry {
    std::string name, type, sql;
};

class catalogue
{
public:
    explicit catalogue(sqlite3 *db) : db_(db) {}

    // The table or view with a name as a server shows it, DUAL and the views of the dictionary among them;
    // null if there is none. What is returned stays valid until the next refresh().
    const table_info *find_table(const std::string &name);

    // Forgets what is no longer true. Returns a number that changes with each change of the schema.
    int refresh();

    schema_entry find_entry(const std::string &name) const;

    sqlite3 *db() const { return db_; }

private:
    std::unique_ptr<table_info> read_table(const std::string &name) const;
    void read_columns(table_info &table, const std::string &sql) const;
    void read_view_types(table_info &view, const std::string &sql) const;

    sqlite3 *db_;
    int version_ = -1;
    std::unordered_map<std::string, std::unique_ptr<table_info>> tables_;
};

// The name as a server shows it of what SQLite knows by `engine_name` and `sql` made.
std::string shown_name(std::string_view engine_name, std::string_view sql);

// A remark in the text of a view that tells the types of its columns, since SQLite knows none for
// expressions.
struct view_column {
    declared_type type{};
    bool is_nullable = true;
};
std::string view_types_remark(const std::vector<view_column> &columns);

// The query behind a view of the dictionary (USER_TABLES ...); null for other names.
struct dictionary_view {
    const char *name;
    const char *columns; // "NAME TYPE, ..."
    const char *query;
};
const dictionary_view *find_dictionary_view(std::string_view name);

} // namespace sqlite_oci::sql
