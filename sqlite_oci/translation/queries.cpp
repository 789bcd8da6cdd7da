// Queries.
#include "translation/expression_name.h"
#include "translation/group_search.h"
#include "translation/translator.h"

#include <algorithm>
#include <utility>

namespace sqlite_oci::sql
{
namespace
{

// The tables of WITH are known as long as their query is translated.
template <class Map> class kept
{
public:
    explicit kept(Map &map) : map_(map), before_(map) {}
    ~kept() { map_ = std::move(before_); }
    kept(const kept &) = delete;

private:
    Map &map_;
    Map before_;
};

void split_conditions(expression *tree, std::vector<expression *> &into)
{
    if (!tree)
        return;
    if (tree->kind == node::both) {
        split_conditions(tree->operands[0].get(), into);
        split_conditions(tree->operands[1].get(), into);
    } else {
        into.push_back(tree);
    }
}

bool is_grouped(const query &tree)
{
    if (tree.is_grouped || (tree.having && has_group_call(*tree.having)) || tree.having)
        return true;
    for (const select_item &item : tree.items)
        if (has_group_call(*item.value))
            return true;
    for (const order_term &term : tree.order_by)
        if (has_group_call(*term.by))
            return true;
    return false;
}

} // namespace

translated_query translator::query_of(query &tree, const targets *into, bool with_row_id)
{
    const kept common(common_);
    const kept common_sql(common_sql_);
    const std::string with = with_clause(tree);
    translated_query result;
    if (!tree.values.empty())
        result = values_of(tree, into);
    else if (tree.combine != set_operator::none)
        result = combined_of(tree, into);
    else
        result = select_of(tree, into, with_row_id);
    result.sql = with + result.sql;
    if (!result.with_row_id.empty())
        result.with_row_id = with + result.with_row_id;
    return result;
}

// WITH name AS (...): columns are named c1, c2 ... for SQLite. A table may refer to itself in the second part
// of a UNION ALL.
std::string translator::with_clause(query &tree)
{
    std::string sql;
    for (common_table &one : tree.with) {
        std::vector<output_column> columns;
        const auto named = [&](std::vector<output_column> found) {
            if (!one.columns.empty() && one.columns.size() != found.size())
                fail_at(one.alias.offset, 32038, "%zu names for %zu columns", one.columns.size(),
                        found.size());
            for (std::size_t i = 0; i < one.columns.size(); ++i)
                found[i].name = one.columns[i].text;
            return found;
        };
        if (one.body->combine == set_operator::union_all && !one.columns.empty()) {
            columns = named(query_of(*one.body->left).columns);
            common_[one.alias.text] = columns;
        }
        const translated_query body = query_of(*one.body);
        columns = named(body.columns);
        common_[one.alias.text] = columns;
        sql += (sql.empty() ? "WITH RECURSIVE " : ", ") + quoted_name(one.alias.text) + "(";
        for (std::size_t i = 0; i < columns.size(); ++i)
            sql += (i ? ", c" : "c") + std::to_string(i + 1);
        sql += ") AS (" + body.sql + ")";
    }
    if (sql.empty())
        return sql;
    if (frame_)
        frame_->has_common_tables = true;
    common_sql_ += (common_sql_.empty() ? "" : ", ") + sql.substr(std::string_view("WITH RECURSIVE ").size());
    return sql + " ";
}

void translator::check_into(const query &tree, const targets *into, std::size_t columns) const
{
    if (into && into->size() != columns)
        fail_at(tree.offset, into->size() < columns ? 913 : 947, "%zu values for %zu columns", columns,
                into->size());
}

// --- One SELECT

translated_query translator::select_of(query &tree, const targets *into, bool with_row_id)
{
    scope in;
    const entered here(scope_, in, frame_);
    std::vector<expression *> conditions;
    split_conditions(tree.where.get(), conditions);
    std::string from = tree.connect_by ? row_generator(tree, in) : from_clause(tree, in, conditions);

    const bool groups = is_grouped(tree);
    const std::string row_limit = row_number_limit(conditions);
    std::string where;
    in.forbids_groups = true;
    in.forbids_row_number = true;
    for (expression *condition : conditions)
        where += (where.empty() ? " WHERE " : " AND ") + condition_of(*condition);
    in.forbids_groups = false;
    in.forbids_row_number = false;
    // ROWNUM counts rows before they are grouped or sorted.
    const bool is_plain =
        !groups && !tree.is_distinct && tree.order_by.empty() && !tree.row_limit && !tree.row_offset;
    if (!row_limit.empty() && !is_plain)
        wrap_rows(in, from, where, row_limit);

    in.is_grouped = groups;
    in.has_group_by = tree.is_grouped;
    const std::string group = group_clause(tree, in);
    translated_query result;
    std::vector<typed_sql> items = select_list(tree, in, result.columns);
    check_into(tree, into, items.size());
    if (in.has_row_number && (groups || tree.is_distinct))
        fail_unserved(tree.offset, "ROWNUM beside GROUP BY and DISTINCT: select it in a subquery");
    std::string tail = from.empty() ? "" : " FROM " + from;
    tail += where + group;
    if (tree.having)
        tail += " HAVING " + condition_of(*tree.having);
    if (!tree.order_by.empty())
        tail += order_clause(tree.order_by, &items, &result.columns, tree.is_distinct);
    tail += limit_clause(tree);
    if (!row_limit.empty() && is_plain)
        tail += " LIMIT " + row_limit;
    std::string list = std::string(tree.is_distinct ? "SELECT DISTINCT " : "SELECT ") +
                       converted_list(items, result.columns, into);
    for (const std::string &given : in.given)
        list += ", " + given;
    result.given = in.given.size();
    result.sql = list + tail;
    result.has_plain_names = has_unique_names(result.columns);
    result.is_single_row = groups && !tree.is_grouped;
    const bool has_identity = in.sources.size() == 1 && in.sources[0].table &&
                              in.sources[0].table->has_row_id && !groups && !tree.is_distinct &&
                              (row_limit.empty() || is_plain);
    if (with_row_id && has_identity)
        result.with_row_id = list + ", " + quoted_name(in.sources[0].alias) + "._rowid_" + tail;
    return result;
}

std::string translator::converted_list(const std::vector<typed_sql> &items,
                                       const std::vector<output_column> &columns, const targets *into)
{
    std::string result;
    for (std::size_t i = 0; i < items.size(); ++i) {
        result += i ? ", " : "";
        result += into ? stored(items[i], *(*into)[i].column, (*into)[i].table, 0).sql : items[i].sql;
        result += " AS " + quoted_name(columns[i].name);
    }
    return result;
}

std::vector<typed_sql> translator::select_list(query &tree, scope &in, std::vector<output_column> &columns)
{
    std::vector<typed_sql> items;
    for (select_item &item : tree.items) {
        if (item.value->kind == node::star)
            add_star(*item.value, in, items, columns);
        else if (item.value->kind == node::cursor && &tree == top_ && !tree.is_distinct && !in.is_grouped)
            add_cursor(*item.value, item.alias, items, columns);
        else
            add_select_item(*item.value, item.alias, items, columns);
    }
    return items;
}

void translator::add_star(const expression &tree, scope &in, std::vector<typed_sql> &items,
                          std::vector<output_column> &columns)
{
    bool is_found = false;
    for (source &one : in.sources) {
        if (tree.qualifier && one.alias != tree.qualifier.text)
            continue;
        is_found = true;
        for (source_column &column : one.columns) {
            if (column.is_joined && !tree.qualifier)
                continue;
            expression as_column(node::column, tree.offset);
            as_column.text = column.name;
            as_column.is_quoted = true;
            as_column.qualifier = {one.alias, tree.offset};
            items.push_back(value_of(as_column));
            columns.push_back({column.name, column.type, column.is_nullable || one.is_optional, false});
        }
    }
    if (!is_found)
        fail_at(tree.offset, tree.qualifier ? 904 : 936, "%s.*: no such table here",
                tree.qualifier.text.c_str());
}

void translator::add_select_item(expression &tree, const name &alias, std::vector<typed_sql> &items,
                                 std::vector<output_column> &columns)
{
    const node kind = tree.kind;
    typed_sql value = value_of(tree);
    output_column column;
    column.type = value.type;
    column.is_nullable = value.is_nullable;
    column.is_literal = value.is_literal;
    if (alias)
        column.name = alias.text;
    else if (kind == node::column)
        column.name = tree.text;
    else
        column.name = expression_name(text_of(tree));
    if (value.is_null() && value.type.type == 0)
        column.type = text_type(0);
    items.push_back(std::move(value));
    columns.push_back(std::move(column));
}

std::string translator::group_clause(query &tree, scope &in)
{
    if (tree.group_by.empty())
        return "";
    std::string sql;
    in.in_group_function = true; // what stands here is not grouped yet
    in.forbids_groups = true;
    for (const auto &one : tree.group_by) {
        const typed_sql value = value_of(*one);
        if (value.kind() == family::clob || value.kind() == family::blob)
            fail_at(one->offset, 932, "inconsistent datatypes: GROUP BY of a LOB");
        in.group_keys.push_back(value.sql);
        // A number would stand for a column's place.
        sql += (sql.empty() ? " GROUP BY " : ", ") + (value.is_constant ? "(" + value.sql + ")" : value.sql);
    }
    in.in_group_function = false;
    in.forbids_groups = false;
    return sql;
}

} // namespace sqlite_oci::sql
