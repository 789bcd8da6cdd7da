// Conditions.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

std::string flipped(const std::string &op)
{
    return op == "<" ? ">" : op == ">" ? "<" : op == "<=" ? ">=" : op == ">=" ? "<=" : op;
}

std::string opposite(const std::string &op)
{
    return op == "=" ? "<>" : op == "<>" ? "=" : op == "<" ? ">=" : op == ">" ? "<=" : op == "<=" ? ">" : "<";
}

bool is_text(family kind)
{
    return kind == family::text || kind == family::long_text;
}

bool is_time(family kind)
{
    return kind == family::date || kind == family::timestamp;
}

std::string compared(const std::string &left, const std::string &op, const std::string &right)
{
    return left + " " + op + " " + right;
}

} // namespace

// `is_negated` where the condition stands behind NOT and can be turned round itself.
std::string translator::condition_of(expression &tree, bool is_negated)
{
    const std::string refusal = is_negated ? "NOT " : "";
    switch (tree.kind) {
    case node::both:
        return refusal + "(" + condition_of(*tree.operands[0]) + " AND " + condition_of(*tree.operands[1]) +
               ")";
    case node::either:
        return refusal + "(" + condition_of(*tree.operands[0]) + " OR " + condition_of(*tree.operands[1]) +
               ")";
    case node::negation:
        if (tree.operands[0]->kind == node::all_or_any)
            return condition_of(*tree.operands[0], !is_negated);
        return refusal + "(NOT " + condition_of(*tree.operands[0]) + ")";
    case node::comparison:
        if (tree.operands[0]->kind == node::list || tree.operands[1]->kind == node::list)
            return refusal + list_comparison(tree);
        return refusal + comparison_of(tree.word, value_of(*tree.operands[0]), value_of(*tree.operands[1]),
                                       tree.offset);
    case node::all_or_any:
        return all_or_any_of(tree, is_negated);
    case node::between:
        return refusal + between_of(tree);
    case node::in_list:
        return refusal + in_list_of(tree);
    case node::in_query:
        return refusal + in_query_of(tree);
    case node::like:
        return refusal + like_of(tree);
    case node::is_null:
        return refusal + "(" + value_of(*tree.operands[0]).sql +
               (tree.is_negated ? " IS NOT NULL)" : " IS NULL)");
    case node::exists:
        return refusal + "EXISTS (" + query_of(*tree.subquery).sql + ")";
    case node::call:
        if (tree.word == "LNNVL" && tree.operands.size() == 1)
            return refusal + "((" + condition_of(*tree.operands[0]) + ") IS NOT TRUE)";
        if (tree.word.starts_with("REGEXP_"))
            fail_unserved(tree.offset, tree.word.c_str());
        break;
    default:
        break;
    }
    fail_at(tree.offset, 920, "a relational operator is missing");
}

// Brings both sides to one type, as a server does: a text follows a number or a date.
void translator::make_comparable(typed_sql &left, typed_sql &right, std::size_t offset)
{
    const family a = left.kind(), b = right.kind();
    if (a == family::clob || b == family::clob || a == family::blob || b == family::blob)
        fail_at(offset, 932, "inconsistent datatypes: LOBs are not compared");
    if (a == family::unknown || b == family::unknown || a == b || left.is_null() || right.is_null())
        return;
    if ((is_text(a) && is_text(b)) || (is_time(a) && is_time(b)))
        return;
    if (a == family::real || b == family::real) {
        left = converted(std::move(left), family::real, offset);
        right = converted(std::move(right), family::real, offset);
    } else if (a == family::zoned || b == family::zoned) {
        left = converted(std::move(left), family::zoned, offset);
        right = converted(std::move(right), family::zoned, offset);
    } else if (is_text(a)) {
        left = converted(std::move(left), b, offset);
    } else {
        right = converted(std::move(right), a, offset);
    }
}

std::string translator::comparison_of(const std::string &op, typed_sql left, typed_sql right,
                                      std::size_t offset)
{
    make_comparable(left, right, offset);
    const family kind = left.is_null() ? right.kind() : left.kind();
    switch (kind) {
    case family::number:
        return "(" + number_comparison(op, left, right) + ")";
    case family::text:
        return "(" + text_comparison(op, left, right) + ")";
    case family::zoned:
        return "(oci_compare_times(" + left.sql + ", " + right.sql + ") " + op + " 0)";
    case family::year_interval:
    case family::day_interval:
        return "(oci_compare_intervals(" + left.sql + ", " + right.sql + ") " + op + " 0)";
    case family::unknown:
        if (op != "=" && op != "<>" && !left.is_null() && !right.is_null())
            return "(oci_compare(" + left.sql + ", " + right.sql + ") " + op + " 0)";
        break;
    default:
        break;
    }
    return "(" + compared(left.sql, op, right.sql) + ")";
}

// SQLite compares integers and reals as numbers, but has blobs, which stand for numbers of many digits,
// behind all of them. Conditions on a column can use its index; the calls concern blobs only.
std::string translator::number_comparison(const std::string &op, const typed_sql &left,
                                          const typed_sql &right) const
{
    if (op == "=" || op == "<>" || left.is_null() || right.is_null() || (!left.is_wide && !right.is_wide))
        return compared(left.sql, op, right.sql);
    const auto by_call = [&] {
        return "oci_compare_numbers(" + left.sql + ", " + right.sql + ") " + op + " 0";
    };
    if (left.is_wide && right.is_wide)
        return by_call();
    if (right.is_wide) // the number of few digits to the right
        return number_comparison(flipped(op), right, left);
    if (!left.is_column || !right.is_constant)
        return by_call();
    const std::string plain = compared(left.sql, op, right.sql);
    if (op.starts_with('>'))
        return plain + " AND (" + left.sql + " < x'' OR " + by_call() + ")";
    return plain + " OR (" + left.sql + " >= x'' AND " + by_call() + ")";
}

// Two values of CHAR are compared as if padded with blanks to the same length.
std::string translator::text_comparison(const std::string &op, const typed_sql &left,
                                        const typed_sql &right) const
{
    const bool is_padded = left.type.type == SQLT_AFC && right.type.type == SQLT_AFC;
    const bool has_char_column =
        (left.is_column && left.type.type == SQLT_AFC) || (right.is_column && right.type.type == SQLT_AFC);
    std::string result = compared(left.sql, op, right.sql);
    if (is_padded)
        result += " COLLATE RTRIM";
    else if (has_char_column)
        result += " COLLATE BINARY";
    return result;
}

std::string translator::between_of(expression &tree)
{
    const std::string low =
        comparison_of(">=", value_of(*tree.operands[0]), value_of(*tree.operands[1]), tree.offset);
    const std::string high =
        comparison_of("<=", value_of(*tree.operands[0]), value_of(*tree.operands[2]), tree.offset);
    return std::string(tree.is_negated ? "(NOT (" : "((") + low + " AND " + high + "))";
}

// (a, b) = (SELECT ...) and (a, b) = ((1, 2))
std::string translator::list_comparison(expression &tree)
{
    if ((tree.word != "=" && tree.word != "<>") || tree.operands[0]->kind != node::list)
        fail_at(tree.offset, 1796, "this operator is not for lists");
    // It is the same as IN, and stays so when the tree is translated again.
    tree.is_negated = tree.word == "<>";
    if (tree.operands[1]->kind == node::subquery) {
        tree.kind = node::in_query;
        tree.subquery = std::move(tree.operands[1]->subquery);
        tree.operands.pop_back();
    } else {
        tree.kind = node::in_list;
    }
    return condition_of(tree);
}

std::string translator::in_list_of(expression &tree)
{
    expression &left = *tree.operands[0];
    std::string result = tree.is_negated ? "(NOT (" : "((";
    if (left.kind == node::list) {
        for (std::size_t i = 1; i < tree.operands.size(); ++i) {
            expression &row = *tree.operands[i];
            if (row.kind != node::list || row.operands.size() != left.operands.size())
                fail_at(row.offset, 920, "lists of different lengths");
            result += i > 1 ? " OR (" : "(";
            for (std::size_t k = 0; k < left.operands.size(); ++k)
                result += (k ? " AND " : "") + comparison_of("=", value_of(*left.operands[k]),
                                                             value_of(*row.operands[k]), row.offset);
            result += ")";
        }
        return result + "))";
    }
    // Where nothing has to be done with the left side, SQLite's IN can use an index for all values at once.
    const typed_sql value = value_of(left);
    bool is_plain = true;
    std::string list;
    for (std::size_t i = 1; i < tree.operands.size(); ++i) {
        typed_sql a = value, b = value_of(*tree.operands[i]);
        make_comparable(a, b, tree.offset);
        is_plain = is_plain && a.sql == value.sql &&
                   (a.kind() == family::number || a.kind() == family::date ||
                    (a.kind() == family::text && a.type.type != SQLT_AFC));
        list += (i > 1 ? ", " : "") + b.sql;
    }
    if (is_plain)
        return result + value.sql + " IN (" + list + ")))";
    for (std::size_t i = 1; i < tree.operands.size(); ++i)
        result += (i > 1 ? " OR " : "") + comparison_of("=", value, value_of(*tree.operands[i]), tree.offset);
    return result + "))";
}

std::string translator::in_query_of(expression &tree)
{
    expression &left = *tree.operands[0];
    std::vector<typed_sql> values;
    if (left.kind == node::list)
        for (const auto &one : left.operands)
            values.push_back(value_of(*one));
    else
        values.push_back(value_of(left));
    const translated_query inner = query_of(*tree.subquery);
    if (inner.columns.size() != values.size())
        fail_at(tree.offset, inner.columns.size() > values.size() ? 913 : 947,
                "a subquery of %zu columns where %zu are compared", inner.columns.size(), values.size());
    std::string list, names, items;
    bool is_changed = false;
    const std::string alias = "in" + std::to_string(++generated_names_);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::string name = "c" + std::to_string(i + 1);
        std::string column = alias;
        column.append(".").append(name);
        typed_sql item{.sql = column, .type = inner.columns[i].type};
        make_comparable(values[i], item, tree.offset);
        is_changed = is_changed || item.sql != column;
        const bool is_padded = values[i].type.type == SQLT_AFC && item.type.type == SQLT_AFC;
        const bool is_char = values[i].type.type == SQLT_AFC && values[i].is_column;
        list += (i ? ", " : "") + values[i].sql +
                (is_padded ? " COLLATE RTRIM"
                 : is_char ? " COLLATE BINARY"
                           : "");
        names += (i ? ", " : "") + name;
        items += (i ? ", " : "") + item.sql;
    }
    std::string query = inner.sql;
    if (is_changed) {
        query = "WITH " + alias + "(" + names + ") AS (" + query + ") SELECT " + items + " FROM " + alias;
    }
    if (values.size() > 1)
        list = "(" + list + ")";
    return "(" + list + (tree.is_negated ? " NOT IN (" : " IN (") + query + "))";
}

std::string translator::all_or_any_of(expression &tree, bool is_negated)
{
    bool is_all = tree.is_negated;
    std::string op = tree.word;
    if (is_negated) {
        is_all = !is_all;
        op = opposite(op);
    }
    if (!tree.subquery) {
        std::string result = "(";
        for (std::size_t i = 1; i < tree.operands.size(); ++i)
            result +=
                (i > 1 ? is_all ? " AND " : " OR " : "") +
                comparison_of(op, value_of(*tree.operands[0]), value_of(*tree.operands[i]), tree.offset);
        return result + ")";
    }
    const typed_sql value = value_of(*tree.operands[0]);
    const translated_query inner = query_of(*tree.subquery);
    if (inner.columns.size() != 1)
        fail_at(tree.offset, 913, "too many values");
    const std::string alias = "any" + std::to_string(++generated_names_);
    const declared_type type = inner.columns[0].type;
    const typed_sql item{.sql = alias + ".c1", .type = type, .is_wide = may_be_wide(type)};
    const std::string start =
        "EXISTS (WITH " + alias + "(c1) AS (" + inner.sql + ") SELECT 1 FROM " + alias + " WHERE ";
    const std::string held = comparison_of(op, value, item, tree.offset);
    return is_all ? "(NOT " + start + "(" + held + ") IS NOT TRUE))" : "(" + start + held + "))";
}

std::string translator::like_of(expression &tree)
{
    typed_sql value = value_of(*tree.operands[0]);
    if (value.kind() != family::clob)
        value = converted(std::move(value), family::text, tree.offset);
    std::string result = std::string(tree.is_negated ? "(NOT " : "(") + "oci_like(" + value.sql;
    for (std::size_t i = 1; i < tree.operands.size(); ++i)
        result += ", " + text_of_value(*tree.operands[i]).sql;
    return result + "))";
}

} // namespace sqlite_oci::sql
