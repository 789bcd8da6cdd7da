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

} // namespace

object_description describe_object(connection &on, std::string_view name, ub1 kind)
{
    if (kind != OCI_PTYPE_UNK && kind != OCI_PTYPE_TABLE && kind != OCI_PTYPE_VIEW)
        fail(3001, "objects of type %u are not described: only tables and views are", kind);
    const object_name wanted = split_name(name);
    const bool is_own = wanted.schema.empty() || equal_ignoring_case(wanted.schema, on.user) ||
                        equal_ignoring_case(wanted.schema, "main");
    on.catalogue.refresh();
    // A quoted name is taken as it stands first.
    const sql::table_info *found = is_own ? on.catalogue.find_table(wanted.name) : nullptr;
    if (is_own && !found)
        found = on.catalogue.find_table(sql::upper_case(wanted.name));
    const ub1 found_kind = found && found->is_view ? OCI_PTYPE_VIEW : OCI_PTYPE_TABLE;
    if (!found || (kind != OCI_PTYPE_UNK && kind != found_kind))
        fail(4043, "object %.*s does not exist", static_cast<int>(name.size()), name.data());
    object_description result;
    result.name = found->name;
    result.schema = on.user;
    result.kind = found_kind;
    for (const sql::column_info &column : found->columns)
        result.columns.push_back({column.name, column.type.type ? column.type : any_text, column.is_nullable,
                                  static_cast<ub2>(result.columns.size() + 1)});
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
        describe_columns();
    return columns_;
}

// By column: the kind of the first value that is not null. The first rows are enough.
std::vector<value_kind> statement::value_kinds() const
{
    constexpr std::size_t rows_to_read = 100;
    std::vector<value_kind> kinds(column_count, value_kind::null);
    if (rows_.size() == 0)
        return kinds;
    row_store::reader reader(rows_, 0, stored_columns());
    value read;
    for (std::size_t row = 0; row < std::min(rows_.size(), rows_to_read); ++row) {
        reader.next_row();
        for (value_kind &kind : kinds) {
            reader.next_value(read);
            if (kind == value_kind::null)
                kind = read.kind;
        }
        reader.skip_values(stored_columns() - column_count);
    }
    return kinds;
}

// Where nothing in the statement tells a column's type, its values do.
void statement::describe_columns()
{
    const std::vector<value_kind> kinds = value_kinds();
    const auto type_of_values = [](value_kind kind) {
        switch (kind) {
        case value_kind::integer:
        case value_kind::real:
        case value_kind::number:
            return any_number;
        case value_kind::blob:
            return any_bytes;
        default:
            return any_text;
        }
    };
    for (const sql::result_column &column : result().columns) {
        const std::size_t place = columns_.size();
        columns_.push_back({column.name, column.type.type ? column.type : type_of_values(kinds[place]),
                            column.is_nullable, static_cast<ub2>(place + 1)});
    }
}

} // namespace sqlite_oci
