// VALUES, and queries with a set operator.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

const char *operator_words(set_operator of)
{
    switch (of) {
    case set_operator::union_all:
        return " UNION ALL ";
    case set_operator::union_distinct:
        return " UNION ";
    case set_operator::intersect:
        return " INTERSECT ";
    default:
        return " EXCEPT ";
    }
}

} // namespace

translated_query translator::values_of(query &tree, const targets *into)
{
    scope in;
    const entered here(scope_, in, frame_);
    in.forbids_groups = in.forbids_row_number = true;
    in.forbids_columns = into != nullptr;
    translated_query result;
    for (const expressions &row : tree.values) {
        check_into(tree, into, row.size());
        if (row.size() != tree.values[0].size())
            fail_at(tree.offset, row.size() < tree.values[0].size() ? 947 : 913, "rows of different lengths");
        result.sql += result.sql.empty() ? "VALUES (" : ", (";
        for (std::size_t i = 0; i < row.size(); ++i) {
            typed_sql value;
            if (into && row[i]->kind == node::default_value)
                value.sql = default_of(*(*into)[i].column);
            else
                value = value_of(*row[i]);
            if (&row == &tree.values[0])
                result.columns.push_back({"COLUMN" + std::to_string(i + 1), value.type, true, false});
            if (into && row[i]->kind != node::default_value)
                value = stored(std::move(value), *(*into)[i].column, (*into)[i].table, row[i]->offset);
            result.sql += (i ? ", " : "") + value.sql;
        }
        result.sql += ")";
    }
    return result;
}

translated_query translator::combined_of(query &tree, const targets *into)
{
    const auto operand = [&](query &of) {
        translated_query one = query_of(of);
        const bool is_plain = of.with.empty() && of.order_by.empty() && !of.row_limit && !of.row_offset;
        const bool is_left = &of == tree.left.get();
        if (!is_plain || (of.combine != set_operator::none && !is_left) ||
            one.sql.find(" LIMIT ") != std::string::npos)
            one.sql = "SELECT * FROM (" + one.sql + ")";
        return one;
    };
    translated_query result = operand(*tree.left);
    const translated_query right = operand(*tree.right);
    if (result.columns.size() != right.columns.size())
        fail_at(tree.offset, 1789, "the queries of a set operation have different numbers of columns");
    for (std::size_t i = 0; i < right.columns.size(); ++i) {
        output_column &column = result.columns[i];
        const output_column &other = right.columns[i];
        column.is_nullable = column.is_nullable || other.is_nullable;
        const family a = family_of(column.type), b = family_of(other.type);
        const bool is_first_null = a == family::unknown || (column.type.is_text() && column.type.length == 0);
        const bool is_second_null = b == family::unknown || (other.type.is_text() && other.type.length == 0);
        if (is_first_null)
            column.type = other.type;
        else if (!is_second_null && a != b && !(a == family::number && b == family::real) &&
                 !(a == family::real && b == family::number) &&
                 !(a == family::date && b == family::timestamp) &&
                 !(a == family::timestamp && b == family::date))
            fail_at(tree.offset, 1790, "column %zu has different types in the queries of a set operation",
                    i + 1);
        else if (!is_second_null && column.type.is_text())
            column.type = column.type == other.type
                              ? column.type
                              : text_type(std::max(column.type.length, other.type.length));
        else if (!is_second_null && column.type != other.type)
            column.type = b == family::real || b == family::timestamp ? other.type
                          : a == family::number                       ? any_number
                                                                      : column.type;
    }
    result.sql += operator_words(tree.combine) + right.sql;
    result.is_single_row = false;
    if (into || !tree.order_by.empty() || tree.row_limit || tree.row_offset)
        return ordered_rows(tree, std::move(result), into);
    return result;
}

// The rows of a query with set operators, in an order or on their way into a table.
translated_query translator::ordered_rows(query &tree, translated_query rows, const targets *into)
{
    scope in;
    const entered here(scope_, in, frame_);
    const std::string alias = "combined" + std::to_string(++generated_names_);
    source all;
    std::vector<typed_sql> items;
    std::string names;
    for (std::size_t i = 0; i < rows.columns.size(); ++i) {
        const std::string engine = "c" + std::to_string(i + 1);
        const output_column &column = rows.columns[i];
        std::string qualified = alias;
        qualified.append(".").append(engine);
        all.columns.push_back({column.name, qualified, column.type, column.is_nullable, false});
        items.push_back({
            .sql = qualified,
            .type = column.type,
            .is_nullable = column.is_nullable,
            .is_wide = may_be_wide(column.type),
            .is_column = true,
        });
        names += (i ? ", " : "") + engine;
    }
    in.sources.push_back(std::move(all));
    check_into(tree, into, items.size());
    rows.sql = "WITH " + alias + "(" + names + ") AS (" + rows.sql + ") SELECT " +
               converted_list(items, rows.columns, into) + " FROM " + alias;
    if (!tree.order_by.empty())
        rows.sql += order_clause(tree.order_by, &items, &rows.columns);
    rows.sql += limit_clause(tree);
    rows.has_plain_names = has_unique_names(rows.columns);
    return rows;
}

} // namespace sqlite_oci::sql
