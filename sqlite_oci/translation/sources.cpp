// FROM: tables, views and subqueries, and their joins.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

const char *join_words(join_kind kind)
{
    switch (kind) {
    case join_kind::cross:
        return " CROSS JOIN ";
    case join_kind::inner:
        return " JOIN ";
    case join_kind::left:
        return " LEFT JOIN ";
    case join_kind::right:
        return " RIGHT JOIN ";
    case join_kind::full:
        return " FULL JOIN ";
    default:
        return ", ";
    }
}

// Aliases of the columns with (+) in a condition, and whether there are others.
void find_outer_columns(const expression &tree, std::vector<const expression *> &outer)
{
    if (tree.kind == node::column && tree.is_outer)
        outer.push_back(&tree);
    for (const auto &operand : tree.operands)
        find_outer_columns(*operand, outer);
}

} // namespace

void translator::check_schema(const name &schema, const name &table) const
{
    if (!schema || schema.text == "MAIN" || schema.text == upper_case(input_.settings.user) ||
        schema.text == input_.settings.user)
        return;
    // The dictionary belongs to SYS.
    if ((schema.text == "SYS" || schema.text == "PUBLIC") &&
        (table.text == "DUAL" || find_dictionary_view(table.text)))
        return;
    fail_at(schema.offset, 942, "table or view \"%s\".\"%s\" does not exist", schema.text.c_str(),
            table.text.c_str());
}

const table_info &translator::table_of(const name &schema, const name &table)
{
    check_schema(schema, table);
    const table_info *found = input_.in.find_table(table.text);
    if (!found)
        fail_at(schema ? schema.offset : table.offset, 942, "table or view \"%s\" does not exist",
                table.text.c_str());
    return *found;
}

// Adds the source's columns to the scope and returns its text.
std::string translator::add_source(table_reference &of, scope &in)
{
    source added;
    std::string sql;
    added.alias = of.alias ? of.alias.text : of.table.text;
    if (added.alias.empty())
        added.alias = "subquery " + std::to_string(++generated_names_);
    const std::string prefix = quoted_name(added.alias) + ".";
    const auto add = [&](const std::string &shown, const std::string &engine, const declared_type &type,
                         bool nullable) {
        added.columns.push_back({shown, prefix + quoted_name(engine), type, nullable, false});
    };
    const auto common = of.schema || of.subquery ? common_.end() : common_.find(of.table.text);
    if (of.subquery) {
        // Tables beside a subquery cannot be seen in it.
        scope *const here = scope_;
        scope_ = in.outer;
        const translated_query inner = query_of(*of.subquery);
        scope_ = here;
        std::string names;
        const std::string body = "subquery" + std::to_string(++generated_names_);
        for (std::size_t i = 0; i < inner.columns.size(); ++i) {
            const std::string engine = "c" + std::to_string(i + 1);
            add(inner.columns[i].name, engine, inner.columns[i].type, inner.columns[i].is_nullable);
            names += (i ? ", " : "") + engine;
        }
        sql = "(WITH " + body + "(" + names + ") AS (" + inner.sql + ") SELECT " + names + " FROM " + body +
              ")";
        if (inner.has_plain_names) {
            sql = "(" + inner.sql + ")";
            for (std::size_t i = 0; i < inner.columns.size(); ++i)
                added.columns[i].sql = prefix + quoted_name(inner.columns[i].name);
        }
    } else if (common != common_.end()) {
        for (std::size_t i = 0; i < common->second.size(); ++i)
            add(common->second[i].name, "c" + std::to_string(i + 1), common->second[i].type,
                common->second[i].is_nullable);
        sql = quoted_name(of.table.text);
    } else {
        const table_info &table = table_of(of.schema, of.table);
        for (const column_info &column : table.columns)
            add(column.name, column.engine_name, column.type, column.is_nullable);
        added.table = &table;
        sql = table.definition.empty() ? quoted_name(table.engine_name) : "(" + table.definition + ")";
    }
    in.sources.push_back(std::move(added));
    return sql + " AS " + quoted_name(in.sources.back().alias);
}

// The text of one table and how it is joined to those before it, which begin at `first_source`.
std::string translator::join_text(table_reference &of, scope &in, std::size_t first_source)
{
    const bool is_first = in.sources.size() == first_source;
    const std::size_t joined = in.sources.size();
    std::string sql = is_first        ? ""
                      : of.is_natural ? " NATURAL" + std::string(join_words(of.join))
                                      : join_words(of.join);
    if (of.group.empty()) {
        sql += add_source(of, in);
    } else {
        sql += "(";
        for (table_reference &one : of.group)
            sql += join_text(one, in, joined);
        sql += ")";
    }
    if (of.join == join_kind::left || of.join == join_kind::full)
        for (std::size_t i = joined; i < in.sources.size(); ++i)
            in.sources[i].is_optional = true;
    if (of.join == join_kind::right || of.join == join_kind::full)
        for (std::size_t i = first_source; i < joined; ++i)
            in.sources[i].is_optional = true;
    if (of.on) {
        const bool before = in.forbids_groups;
        in.forbids_groups = true;
        sql += " ON " + condition_of(*of.on);
        in.forbids_groups = before;
    }
    if (of.is_natural || !of.join_columns.empty())
        join_columns(of, in, joined, sql);
    return sql;
}

// USING and NATURAL: each of the columns is there once, and SQLite chooses the side that has a value.
void translator::join_columns(table_reference &of, scope &in, std::size_t joined, std::string &sql)
{
    std::vector<name> names = of.join_columns;
    source &right = in.sources[joined];
    const auto find = [](source &in_source, const std::string &wanted) {
        return std::find_if(in_source.columns.begin(), in_source.columns.end(),
                            [&](const source_column &one) { return one.name == wanted; });
    };
    if (of.is_natural)
        for (const source_column &column : right.columns)
            for (std::size_t i = 0; i < joined; ++i)
                if (find(in.sources[i], column.name) != in.sources[i].columns.end()) {
                    names.push_back({column.name, of.offset});
                    break;
                }
    std::string list;
    for (const name &one : names) {
        const auto there = find(right, one.text);
        source_column *other = nullptr;
        for (std::size_t i = 0; i < joined && !other; ++i)
            if (const auto found = find(in.sources[i], one.text); found != in.sources[i].columns.end())
                other = &*found;
        if (there == right.columns.end() || !other)
            fail_at(one.offset, 904, "\"%s\": invalid identifier: no such column in both tables",
                    one.text.c_str());
        const std::string engine = there->sql.substr(there->sql.rfind('.') + 1);
        there->is_joined = true;
        if (of.join == join_kind::full || of.join == join_kind::right)
            other->sql = "coalesce(" + other->sql + ", " + there->sql + ")";
        list += (list.empty() ? "" : ", ") + engine;
    }
    if (!of.is_natural)
        sql += " USING (" + list + ")";
}

std::string translator::from_clause(query &tree, scope &in, std::vector<expression *> &conditions)
{
    for (const expression *condition : conditions) {
        std::vector<const expression *> outer;
        find_outer_columns(*condition, outer);
        if (!outer.empty())
            return outer_join_text(tree, in, conditions);
    }
    std::string sql;
    for (table_reference &one : tree.from)
        sql += join_text(one, in, 0);
    return sql;
}

// Conditions with (+) become LEFT JOIN ... ON; the tables that they can leave out come behind the others.
std::string translator::outer_join_text(query &tree, scope &in, std::vector<expression *> &conditions)
{
    struct part {
        std::string alias, sql;
        std::vector<expression *> on;
    };
    std::vector<part> parts;
    for (table_reference &one : tree.from) {
        if (one.join != join_kind::comma || !one.group.empty())
            fail_at(one.offset, 25156, "(+) does not mix with JOIN");
        std::string sql = add_source(one, in);
        parts.push_back({in.sources.back().alias, std::move(sql), {}});
    }
    const auto alias_of = [&](const expression &column) -> std::string {
        if (column.qualifier)
            return column.qualifier.text;
        for (const source &one : in.sources)
            for (const source_column &known : one.columns)
                if (known.name == column.text)
                    return one.alias;
        fail_at(column.offset, 904, "\"%s\": invalid identifier: no such column", column.text.c_str());
    };
    std::vector<expression *> others;
    for (expression *condition : conditions) {
        std::vector<const expression *> outer;
        find_outer_columns(*condition, outer);
        if (outer.empty()) {
            others.push_back(condition);
            continue;
        }
        if (condition->kind == node::either || condition->kind == node::in_list ||
            condition->kind == node::in_query)
            fail_at(condition->offset, 1719, "(+) is not allowed in OR, IN or with a subquery");
        const std::string alias = alias_of(*outer.front());
        for (const expression *column : outer)
            if (alias_of(*column) != alias)
                fail_at(column->offset, 1468, "a condition has (+) on two tables");
        const auto found =
            std::find_if(parts.begin(), parts.end(), [&](const part &one) { return one.alias == alias; });
        if (found == parts.end())
            fail_at(outer.front()->offset, 904, "\"%s\": invalid identifier: no such table", alias.c_str());
        found->on.push_back(condition);
    }
    conditions = std::move(others);
    std::string sql;
    for (const part &one : parts)
        if (one.on.empty())
            sql += (sql.empty() ? "" : ", ") + one.sql;
    if (sql.empty())
        fail_at(tree.offset, 1416, "two tables are outer-joined to each other");
    // A table that is left out may itself be what another one is joined to: SQLite finds names to the left.
    std::stable_sort(parts.begin(), parts.end(), [&](const part &a, const part &b) {
        const auto depends = [&](const part &one, const part &on) {
            std::vector<const expression *> all;
            return std::any_of(one.on.begin(), one.on.end(), [&](const expression *condition) {
                const auto mentions = [&](const auto &self, const expression &in_tree) -> bool {
                    if (in_tree.kind == node::column && alias_of(in_tree) == on.alias)
                        return true;
                    return std::any_of(in_tree.operands.begin(), in_tree.operands.end(),
                                       [&](const auto &operand) { return self(self, *operand); });
                };
                return mentions(mentions, *condition);
            });
        };
        return !a.on.empty() && !b.on.empty() && depends(b, a) && !depends(a, b);
    });
    in.forbids_groups = true;
    for (const part &one : parts) {
        if (one.on.empty())
            continue;
        sql += " LEFT JOIN " + one.sql + " ON ";
        for (std::size_t i = 0; i < one.on.size(); ++i)
            sql += (i ? " AND " : "") + condition_of(*one.on[i]);
    }
    in.forbids_groups = false;
    for (source &one : in.sources)
        one.is_optional = std::any_of(parts.begin(), parts.end(), [&](const part &of) {
            return of.alias == one.alias && !of.on.empty();
        });
    return sql;
}

} // namespace sqlite_oci::sql
