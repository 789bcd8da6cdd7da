#include "catalogue/catalogue.h"

#include "sql/own_query.h"
#include "sql/sqlite_errors.h"
#include "syntax/sql_failure.h"
#include "syntax/token.h"
#include "text/text_scan.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

constexpr std::string_view types_mark = "/* types: ";
constexpr std::string_view not_null_mark = " NOT NULL";

own_query compile(sqlite3 *db, const std::string &sql)
{
    auto compiled = compile_query(db, sql);
    if (!compiled)
        throw failure{sqlite_record(db, sqlite3_errcode(db))};
    return compiled;
}

bool step(sqlite3 *db, const own_query &query)
{
    const int code = sqlite3_step(query.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        throw failure{sqlite_record(db, code)};
    return code == SQLITE_ROW;
}

table_info dual_info()
{
    table_info dual;
    dual.name = "DUAL";
    dual.engine_name = "dual";
    declared_type one = any_text;
    one.length = 1;
    dual.columns.push_back({"DUMMY", "dummy", one, "", true, false});
    return dual;
}

// "NAME TYPE, NAME TYPE"
void read_column_list(std::string_view list, table_info &into)
{
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t at = 0; at <= list.size(); ++at) {
        if (at < list.size() && (list[at] != ',' || depth > 0)) {
            depth += list[at] == '(' ? 1 : list[at] == ')' ? -1 : 0;
            continue;
        }
        const std::string_view one = trim(list.substr(start, at - start));
        const auto blank = one.find(' ');
        const std::string name(one.substr(0, blank));
        into.columns.push_back({name, name, parse_declared_type(one.substr(blank + 1)), "", true, false});
        start = at + 1;
    }
}

} // namespace

const column_info *table_info::find(std::string_view column) const
{
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const column_info &one) { return one.name == column; });
    return found == columns.end() ? nullptr : &*found;
}

std::string shown_name(std::string_view engine_name, std::string_view sql)
{
    return sql.find(quoted_name(engine_name)) != sql.npos ? std::string(engine_name)
                                                          : upper_case(engine_name);
}

std::string view_types_remark(const std::vector<view_column> &columns)
{
    std::string result(types_mark);
    for (const view_column &column : columns) {
        result.append(&column == columns.data() ? "" : "|").append(declared_type_text(column.type));
        if (!column.is_nullable)
            result.append(not_null_mark);
    }
    return result += " */";
}

int catalogue::refresh()
{
    const auto query = compile(db_, "PRAGMA schema_version");
    const int version = step(db_, query) ? sqlite3_column_int(query.get(), 0) : 0;
    if (version != version_)
        tables_.clear();
    return version_ = version;
}

schema_entry catalogue::find_entry(const std::string &name) const
{
    const auto query =
        compile(db_, "SELECT name, type, sql FROM sqlite_schema WHERE name = ?1 COLLATE NOCASE "
                     "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'");
    bind_name(query, name);
    while (step(db_, query)) {
        schema_entry found{column_text(query, 0), column_text(query, 1), column_text(query, 2)};
        if (shown_name(found.name, found.sql) == name)
            return found;
    }
    return {};
}

const table_info *catalogue::find_table(const std::string &name)
{
    const auto known = tables_.find(name);
    if (known != tables_.end())
        return known->second.get();
    auto read = read_table(name);
    const table_info *result = read.get();
    tables_.emplace(name, std::move(read));
    return result;
}

std::unique_ptr<table_info> catalogue::read_table(const std::string &name) const
{
    const schema_entry entry = find_entry(name);
    auto result = std::make_unique<table_info>();
    if (entry.type == "table" || entry.type == "view") {
        result->name = name;
        result->engine_name = entry.name;
        result->is_view = entry.type == "view";
        result->has_row_id =
            !result->is_view && upper_case(entry.sql).find("WITHOUT ROWID") == std::string::npos;
        read_columns(*result, entry.sql);
        return result;
    }
    if (name == "DUAL") {
        *result = dual_info();
        return result;
    }
    const dictionary_view *view = find_dictionary_view(name);
    if (!view)
        return nullptr;
    result->name = name;
    result->engine_name = name;
    result->definition = view->query;
    result->is_view = true;
    read_column_list(view->columns, *result);
    return result;
}

void catalogue::read_columns(table_info &table, const std::string &sql) const
{
    enum : int { column_name, column_type, not_null, default_value, key_place, hidden };
    const auto query = compile(db_, "SELECT name, type, \"notnull\", dflt_value, pk, hidden FROM "
                                    "pragma_table_xinfo(?1) ORDER BY cid");
    bind_name(query, table.engine_name);
    while (step(db_, query)) {
        const int hiding = sqlite3_column_int(query.get(), hidden);
        if (hiding == 1)
            continue;
        column_info column;
        column.engine_name = column_text(query, column_name);
        column.name = shown_name(column.engine_name, sql);
        column.type = parse_declared_type(column_text(query, column_type));
        column.is_nullable =
            !sqlite3_column_int(query.get(), not_null) && !sqlite3_column_int(query.get(), key_place);
        column.default_sql = column_text(query, default_value);
        column.is_generated = hiding != 0;
        table.columns.push_back(std::move(column));
    }
    if (table.is_view)
        read_view_types(table, sql);
}

// From the remark, or, for views of other makers, from SQLite, which knows those of plain columns.
void catalogue::read_view_types(table_info &view, const std::string &sql) const
{
    const auto mark = sql.find(types_mark);
    if (mark != sql.npos) {
        std::string_view types = std::string_view(sql).substr(mark + types_mark.size());
        types = types.substr(0, types.find(" */"));
        for (column_info &column : view.columns) {
            const auto end = types.find('|');
            std::string_view one = types.substr(0, end);
            column.is_nullable = !one.ends_with(not_null_mark);
            if (!column.is_nullable)
                one.remove_suffix(not_null_mark.size());
            column.type = parse_declared_type(one);
            types.remove_prefix(end == types.npos ? types.size() : end + 1);
        }
        return;
    }
    const auto query = compile(db_, "SELECT * FROM " + quoted_name(view.engine_name));
    for (std::size_t i = 0; i < view.columns.size(); ++i) {
        const char *declared = sqlite3_column_decltype(query.get(), static_cast<int>(i));
        view.columns[i].type = declared ? parse_declared_type(declared) : declared_type{};
    }
}

} // namespace sqlite_oci::sql
