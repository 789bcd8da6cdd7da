// INSERT, UPDATE and DELETE.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

bool mentions_row_number(const expression &tree)
{
    if ((tree.kind == node::column && !tree.is_quoted && !tree.qualifier && tree.text == "ROWNUM") ||
        (tree.kind == node::pseudo && tree.word == "ROWNUM"))
        return true;
    return std::any_of(tree.operands.begin(), tree.operands.end(),
                       [](const auto &operand) { return mentions_row_number(*operand); });
}

void split(expression *tree, std::vector<expression *> &into)
{
    if (tree && tree->kind == node::both) {
        split(tree->operands[0].get(), into);
        split(tree->operands[1].get(), into);
    } else if (tree) {
        into.push_back(tree);
    }
}

} // namespace

const table_info &translator::changed_table(const table_reference &of)
{
    const table_info &table = table_of(of.schema, of.table);
    if (table.is_view)
        fail_at(of.offset, 1732, "view \"%s\" cannot be changed", table.name.c_str());
    if (!table.has_row_id && table.name == "DUAL")
        fail_at(of.offset, 1031, "DUAL may not be changed");
    return table;
}

std::string translator::default_of(const column_info &column) const
{
    return column.default_sql.empty() ? "NULL" : "(" + column.default_sql + ")";
}

std::vector<const column_info *> translator::insert_columns(const std::vector<name> &names,
                                                            const table_info &table, std::size_t offset) const
{
    std::vector<const column_info *> result;
    if (names.empty()) {
        for (const column_info &column : table.columns)
            result.push_back(&column);
        for (const column_info *column : result)
            if (column->is_generated)
                fail_at(offset, 54013, "a value for a virtual column");
        return result;
    }
    for (const name &one : names) {
        const column_info *column = table.find(one.text);
        if (column && column->default_sql.ends_with(always_identity))
            fail_at(one.offset, 32795, "a value for the identity column %s, which is always generated",
                    one.text.c_str());
        if (!column)
            fail_at(one.offset, 904, "\"%s\": invalid identifier: no such column", one.text.c_str());
        if (column->is_generated)
            fail_at(one.offset, 54013, "a value for the virtual column %s", one.text.c_str());
        if (std::find(result.begin(), result.end(), column) != result.end())
            fail_at(one.offset, 957, "column %s is given twice", one.text.c_str());
        result.push_back(column);
    }
    return result;
}

void translator::run_insert(insert_statement &tree)
{
    const table_info &table = changed_table(tree.table);
    const auto columns = insert_columns(tree.columns, table, tree.table.offset);
    targets into;
    std::string sql = "INSERT INTO " + quoted_name(table.engine_name);
    for (const column_info *column : columns) {
        sql += (into.empty() ? " (" : ", ") + quoted_name(column->engine_name);
        into.push_back({column, table.name});
    }
    const translated_query source = query_of(*tree.source, &into);
    // SQLite takes the ON of an upsert for that of a join without WHERE.
    sql += ") " + source.sql;
    translated_step &step = add_step("");
    step.table = table.engine_name;
    scope in;
    table_source(tree.table, in);
    scope_ = &in;
    sql += returning_of(tree.returning, step);
    scope_ = &outermost_;
    step.sql = std::move(sql);
}

// A table that is changed, with its columns named alone.
source &translator::table_source(const table_reference &of, scope &in)
{
    const table_info &table = table_of(of.schema, of.table);
    source made;
    made.alias = of.alias ? of.alias.text : of.table.text;
    made.table = &table;
    for (const column_info &column : table.columns)
        made.columns.push_back({column.name, quoted_name(made.alias) + "." + quoted_name(column.engine_name),
                                column.type, column.is_nullable, false});
    in.sources.push_back(std::move(made));
    return in.sources.back();
}

typed_sql translator::assigned(expression &tree, const column_info &column, const table_info &table)
{
    if (tree.kind == node::default_value)
        return {.sql = default_of(column)};
    if (column.is_generated)
        fail_at(tree.offset, 54017, "the virtual column %s cannot be set", column.name.c_str());
    return stored(value_of(tree), column, table.name, tree.offset);
}

std::string translator::assignments_of(std::vector<assignment> &set, const table_info &table, scope &)
{
    std::string sql;
    std::set<std::string> seen;
    const auto column_of = [&](const name &one) -> const column_info & {
        const column_info *column = table.find(one.text);
        if (!column)
            fail_at(one.offset, 904, "\"%s\": invalid identifier: no such column", one.text.c_str());
        if (!seen.insert(one.text).second)
            fail_at(one.offset, 957, "column %s is given twice", one.text.c_str());
        return *column;
    };
    for (assignment &one : set) {
        sql += sql.empty() ? " SET " : ", ";
        if (one.value->kind != node::subquery || one.columns.size() == 1) {
            const column_info &column = column_of(one.columns.front());
            sql += quoted_name(column.engine_name) + " = " + assigned(*one.value, column, table).sql;
            continue;
        }
        targets into;
        std::string names;
        for (const name &column : one.columns) {
            into.push_back({&column_of(column), table.name});
            names += (names.empty() ? "" : ", ") + quoted_name(into.back().column->engine_name);
        }
        sql += "(" + names + ") = (" + query_of(*one.value->subquery, &into).sql + ")";
    }
    return sql;
}

// The WHERE of a change. With conditions on ROWNUM, the rows are found by a subquery first.
std::string translator::change_condition(expression *where, scope &in, const table_info &table)
{
    std::vector<expression *> conditions;
    split(where, conditions);
    const bool counts = std::any_of(conditions.begin(), conditions.end(),
                                    [](const expression *one) { return mentions_row_number(*one); });
    const std::string limit = counts ? row_number_limit(conditions) : "";
    in.forbids_groups = true;
    in.forbids_row_number = true;
    std::string sql;
    for (expression *one : conditions)
        sql += (sql.empty() ? " WHERE " : " AND ") + condition_of(*one);
    in.forbids_groups = false;
    in.forbids_row_number = false;
    if (limit.empty())
        return sql;
    const std::string alias = quoted_name(in.sources[0].alias);
    return " WHERE " + alias + "._rowid_ IN (SELECT " + alias + "._rowid_ FROM " +
           quoted_name(table.engine_name) + " AS " + alias + sql + " LIMIT " + limit + ")";
}

void translator::run_update(update_statement &tree)
{
    const table_info &table = changed_table(tree.table);
    scope in;
    table_source(tree.table, in);
    scope_ = &in;
    in.row_number_by_call = true;
    in.forbids_groups = true;
    std::string sql = "UPDATE " + quoted_name(table.engine_name) + " AS " + quoted_name(in.sources[0].alias);
    sql += assignments_of(tree.set, table, in);
    sql += change_condition(tree.where.get(), in, table);
    translated_step &step = add_step("");
    step.table = table.engine_name;
    sql += returning_of(tree.returning, step);
    step.sql = std::move(sql);
    scope_ = &outermost_;
}

void translator::run_delete(delete_statement &tree)
{
    const table_info &table = changed_table(tree.table);
    scope in;
    table_source(tree.table, in);
    scope_ = &in;
    std::string sql =
        "DELETE FROM " + quoted_name(table.engine_name) + " AS " + quoted_name(in.sources[0].alias);
    sql += change_condition(tree.where.get(), in, table);
    translated_step &step = add_step("");
    sql += returning_of(tree.returning, step, false);
    step.sql = std::move(sql);
    scope_ = &outermost_;
}

// SQLite wants the columns of RETURNING without their table.
std::string translator::returning_of(returning_clause &tree, translated_step &step, bool row_stays)
{
    if (tree.values.empty())
        return "";
    const table_info &table = *scope_->sources[0].table;
    for (source_column &column : scope_->sources[0].columns)
        column.sql = column.sql.substr(column.sql.find("\".\"") + 2);
    scope_->forbids_groups = true;
    std::string sql;
    for (std::size_t i = 0; i < tree.values.size(); ++i) {
        typed_sql value = value_of(*tree.values[i]);
        if (value.kind() == family::row_id)
            value.sql = "oci_row_id_text(_rowid_)";
        step.outputs.push_back({tree.into[i], {"", value.type, value.is_nullable}});
        if (row_stays && table.has_row_id && value.is_column &&
            (value.kind() == family::clob || value.kind() == family::blob)) {
            step.outputs.back().lob_column = table.find(tree.values[i]->text)->engine_name;
            step.gives_row_id = true;
        }
        sql += (sql.empty() ? " RETURNING " : ", ") + value.sql;
    }
    return step.gives_row_id ? sql + ", _rowid_" : sql;
}

// --- MERGE

// An UPDATE of the rows that match, and an INSERT of those that do not. The source is read twice, so it must
// not depend on the table that is changed.
void translator::run_merge(merge_statement &tree)
{
    const table_info &table = changed_table(tree.into);
    scope in;
    table_source(tree.into, in);
    scope_ = &outermost_;
    scope for_source;
    for_source.outer = &outermost_;
    const std::string source_sql = add_source(tree.source, for_source);
    if (source_sql.find(quoted_name(table.engine_name)) != std::string::npos)
        fail_unserved(tree.source.offset, "a MERGE from the table that it changes");
    in.sources.push_back(for_source.sources[0]);
    scope_ = &in;
    in.forbids_groups = true;
    in.forbids_row_number = true;
    const std::string target_alias = quoted_name(in.sources[0].alias);
    const std::string target = quoted_name(table.engine_name) + " AS " + target_alias;
    const std::string on = condition_of(*tree.on);
    if (tree.has_update) {
        for (const assignment &one : tree.set)
            for (const name &column : one.columns)
                if (on.find(target_alias + "." + quoted_name(column.text)) != std::string::npos)
                    fail_at(column.offset, 38104, "columns of the ON clause cannot be updated: %s",
                            column.text.c_str());
        const std::string filter = tree.update_where ? " AND " + condition_of(*tree.update_where) : "";
        // Two rows of the source for one row of the table would have SQLite take one of them.
        translated_step &check =
            add_step("SELECT oci_raise(30926) FROM " + target + ", " + source_sql + " WHERE " + on + filter +
                     " GROUP BY " + target_alias + "._rowid_ HAVING count(*) > 1");
        check.counts_rows = false;
        add_step("UPDATE " + target + assignments_of(tree.set, table, in) + " FROM " + source_sql +
                 " WHERE " + on + filter)
            .table = table.engine_name;
        if (tree.delete_where) {
            translated_step &removal =
                add_step("DELETE FROM " + target + " WHERE " + condition_of(*tree.delete_where) +
                         " AND EXISTS (SELECT 1 FROM " + source_sql + " WHERE " + on + filter + ")");
            removal.counts_rows = false;
        }
    }
    if (!tree.has_insert) {
        scope_ = &outermost_;
        return;
    }
    const auto columns = insert_columns(tree.columns, table, tree.insert_offset);
    if (columns.size() != tree.values.size())
        fail_at(tree.insert_offset, columns.size() < tree.values.size() ? 913 : 947,
                "%zu values for %zu columns", tree.values.size(), columns.size());
    std::string names, values;
    scope from_source;
    from_source.sources.push_back(for_source.sources[0]);
    from_source.forbids_groups = true;
    scope_ = &from_source;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        names += (i ? ", " : "") + quoted_name(columns[i]->engine_name);
        values += (i ? ", " : "") + assigned(*tree.values[i], *columns[i], table).sql;
    }
    std::string sql = "INSERT INTO " + quoted_name(table.engine_name) + " (" + names + ") SELECT " + values +
                      " FROM " + source_sql + " WHERE NOT EXISTS (SELECT 1 FROM " + target + " WHERE " + on +
                      ")";
    if (tree.insert_where)
        sql += " AND " + condition_of(*tree.insert_where);
    scope_ = &outermost_;
    add_step(std::move(sql));
}

} // namespace sqlite_oci::sql
