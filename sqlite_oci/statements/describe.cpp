#include "statements/describe.h"

#include "sql/sql_text.h"
#include "statements/statement.h"
#include "text/text_scan.h"

#include <algorithm>
#include <map>

namespace sqlite_oci
{
namespace
{

struct finalizer {
    void operator()(sqlite3_stmt *compiled) const { sqlite3_finalize(compiled); }
};
using compiled_query = std::unique_ptr<sqlite3_stmt, finalizer>;

compiled_query compile(sqlite3 *db, const std::string &sql)
{
    sqlite3_stmt *compiled = nullptr;
    const int code = sqlite3_prepare_v2(db, sql.c_str(), -1, &compiled, nullptr);
    if (code != SQLITE_OK)
        throw failure{sqlite_record(db, code)};
    return compiled_query(compiled);
}

std::string text_or_empty(const char *text)
{
    return text ? text : "";
}

std::string column_text(sqlite3_stmt *row, int column)
{
    return text_or_empty(reinterpret_cast<const char *>(sqlite3_column_text(row, column)));
}

std::string quoted(std::string_view name)
{
    std::string result = "\"";
    for (const char c : name)
        result.append(c == '"' ? 2 : 1, c);
    return result += '"';
}

bool has_quoted(std::string_view sql, std::string_view name)
{
    return sql.find(quoted(name)) != sql.npos;
}

// What the schema keeps of a table or view; an empty name if there is none.
struct schema_entry {
    std::string name, type, sql;
};

schema_entry find_entry(sqlite3 *db, const std::string &schema, const std::string &name)
{
    const auto query = compile(db, "SELECT name, type, sql FROM " + quoted(schema) +
                                       ".sqlite_schema WHERE type IN ('table', 'view') AND "
                                       "name = ?1 COLLATE NOCASE");
    sqlite3_bind_text(query.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
    const int code = sqlite3_step(query.get());
    if (code == SQLITE_DONE)
        return {};
    if (code != SQLITE_ROW)
        throw failure{sqlite_record(db, code)};
    return {column_text(query.get(), 0), column_text(query.get(), 1), column_text(query.get(), 2)};
}

// A name without quotes is shown in upper case. That of an expression is its text without blanks.
std::string shown_name(std::string_view name)
{
    std::string result;
    char quote = 0;
    for (const char c : name) {
        if (!quote && is_blank(c))
            continue;
        if (quote ? c == quote : c == '\'' || c == '"')
            quote = quote ? char{0} : c;
        result += upper(c);
    }
    return result;
}

// Describes the columns of one query after another.
class column_reader
{
public:
    column_reader(sqlite3_stmt *query, std::string_view text) : query_(query), text_(text) {}

    column_description read(int column, value_kind kind)
    {
        const std::string name = text_or_empty(sqlite3_column_name(query_, column));
        column_description result;
        result.position = static_cast<ub2>(column + 1);
        result.name = keeps_case(name, column) ? name : shown_name(name);
        result.is_nullable = is_nullable(column);
        const char *declared = sqlite3_column_decltype(query_, column);
        result.type = declared ? parse_declared_type(declared) : type_of_values(kind);
        return result;
    }

private:
    static declared_type type_of_values(value_kind kind)
    {
        switch (kind) {
        case value_kind::integer:
        case value_kind::real:
            return any_number;
        case value_kind::blob:
            return any_bytes;
        default:
            return any_text;
        }
    }

    bool keeps_case(const std::string &name, int column)
    {
        if (has_quoted(text_, name))
            return true;
        const char *origin = sqlite3_column_origin_name(query_, column);
        return origin && name == origin && name != upper_case(name) && has_quoted(table_sql(column), name);
    }

    // The statement that made a column's table.
    const std::string &table_sql(int column)
    {
        const std::string schema = text_or_empty(sqlite3_column_database_name(query_, column));
        const std::string table = text_or_empty(sqlite3_column_table_name(query_, column));
        const auto [known, is_new] = table_sql_.try_emplace({schema, table});
        if (is_new)
            known->second = find_entry(sqlite3_db_handle(query_), schema, table).sql;
        return known->second;
    }

    // A primary key is one even where SQLite would let a null in.
    bool is_nullable(int column) const
    {
        const char *origin = sqlite3_column_origin_name(query_, column);
        if (!origin)
            return true;
        int not_null = 0, is_key = 0;
        const int code = sqlite3_table_column_metadata(
            sqlite3_db_handle(query_), sqlite3_column_database_name(query_, column),
            sqlite3_column_table_name(query_, column), origin, nullptr, nullptr, &not_null, &is_key, nullptr);
        return code != SQLITE_OK || (!not_null && !is_key);
    }

    sqlite3_stmt *query_;
    std::string_view text_;
    std::map<std::pair<std::string, std::string>, std::string> table_sql_;
};

// --- Names of objects

struct object_name {
    std::string schema; // empty when not given
    std::string name;
};

// Takes one name, with or without quotes, from the front of *text.
std::string take_name(std::string_view *text)
{
    std::string result;
    if (!take(text, "\"")) {
        while (!text->empty() && text->front() != '.') {
            result += text->front();
            text->remove_prefix(1);
        }
        return std::string(trim(result));
    }
    while (!text->empty()) {
        const char c = text->front();
        text->remove_prefix(1);
        if (c == '"' && !take(text, "\""))
            break;
        result += c;
    }
    return result;
}

object_name split_name(std::string_view text)
{
    text = trim(text);
    object_name result{"", take_name(&text)};
    if (take(&text, ".")) {
        result.schema = std::move(result.name);
        result.name = take_name(&text);
    }
    return result;
}

std::vector<std::string> schemas_of(const connection &on, const object_name &wanted)
{
    if (wanted.schema.empty() || equal_ignoring_case(wanted.schema, on.user))
        return {"temp", "main"};
    std::vector<std::string> result;
    const auto query = compile(on.db(), "PRAGMA database_list");
    while (sqlite3_step(query.get()) == SQLITE_ROW)
        if (equal_ignoring_case(column_text(query.get(), 1), wanted.schema))
            result.push_back(column_text(query.get(), 1));
    return result;
}

// The statement that reads the whole of an object, whose entry is found, too.
std::string find_object_query(const connection &on, const object_name &wanted, schema_entry *found)
{
    for (const std::string &schema : schemas_of(on, wanted)) {
        *found = find_entry(on.db(), schema, wanted.name);
        if (!found->name.empty())
            return "SELECT * FROM " + quoted(schema) + "." + quoted(found->name);
    }
    if (wanted.schema.empty() && equal_ignoring_case(wanted.name, "dual")) {
        *found = {"DUAL", "table", ""};
        return "SELECT * FROM dual";
    }
    return "";
}

} // namespace

column_descriptions describe_columns(sqlite3_stmt *query, std::string_view text,
                                     const std::vector<value_kind> &kinds)
{
    column_reader reader(query, text);
    column_descriptions result;
    for (const value_kind kind : kinds)
        result.push_back(reader.read(static_cast<int>(result.size()), kind));
    return result;
}

object_description describe_object(const connection &on, std::string_view name, ub1 kind)
{
    if (kind != OCI_PTYPE_UNK && kind != OCI_PTYPE_TABLE && kind != OCI_PTYPE_VIEW)
        fail(3001, "objects of type %u are not described: only tables and views are", kind);
    schema_entry found;
    const std::string query = find_object_query(on, split_name(name), &found);
    const ub1 found_kind = found.type == "view" ? OCI_PTYPE_VIEW : OCI_PTYPE_TABLE;
    if (query.empty() || (kind != OCI_PTYPE_UNK && kind != found_kind))
        fail(4043, "object %.*s does not exist", static_cast<int>(name.size()), name.data());
    object_description result;
    result.name = has_quoted(found.sql, found.name) ? found.name : upper_case(found.name);
    result.schema = on.user;
    result.kind = found_kind;
    const auto whole = compile(on.db(), query);
    const std::vector columns(static_cast<std::size_t>(sqlite3_column_count(whole.get())), value_kind::null);
    result.columns = describe_columns(whole.get(), found.sql, columns);
    return result;
}

parameter::parameter(parameter_owner &by, environment *in, std::shared_ptr<const object_description> whole,
                     parameter_kind part, ub4 position)
    : object(in), owner(by), shows(part), of(std::move(whole)),
      column(part == parameter_kind::column ? of->columns[position - 1] : column_description{})
{
}

void describe_handle::set(object_description description)
{
    forget_parameters();
    description_ = std::make_shared<const object_description>(std::move(description));
}

parameter *describe_handle::described()
{
    parameter *known = given_.get();
    if (!known && description_) {
        known = &give(env, description_, parameter_kind::object);
        given_ = weak_handle(known);
    }
    return known;
}

// --- The select list of a statement

const column_descriptions &statement::columns()
{
    if (!is_described)
        fail(24338, "the statement was not executed, so its columns are not known");
    if (columns_.empty() && column_count > 0)
        columns_ = (locked_.empty() ? compiled_ : locking_).describe(text.original, value_kinds());
    return columns_;
}

// By column: the kind of the first value that is not null. The first rows are enough.
std::vector<value_kind> statement::value_kinds() const
{
    constexpr std::size_t rows_to_read = 100;
    std::vector<value_kind> kinds(column_count, value_kind::null);
    if (rows_.size() == 0)
        return kinds;
    row_store::reader reader(rows_, 0, column_count);
    value read;
    for (std::size_t row = 0; row < std::min(rows_.size(), rows_to_read); ++row) {
        reader.next_row();
        for (value_kind &kind : kinds) {
            reader.next_value(read);
            if (kind == value_kind::null)
                kind = read.kind;
        }
    }
    return kinds;
}

column_descriptions compiled_statement::describe(std::string_view text,
                                                 const std::vector<value_kind> &kinds) const
{
    const cleaning_lock lock(on_->mutex());
    return describe_columns(compiled_, text, kinds);
}

} // namespace sqlite_oci
