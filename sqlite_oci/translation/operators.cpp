// Operators.
#include "translation/translator.h"

namespace sqlite_oci::sql
{
namespace
{

std::string operator_function(const std::string &op)
{
    return op == "+" ? "oci_add" : op == "-" ? "oci_subtract" : op == "*" ? "oci_multiply" : "oci_divide";
}

bool is_date_like(family kind)
{
    return kind == family::date || kind == family::timestamp || kind == family::zoned;
}

bool is_interval(family kind)
{
    return kind == family::year_interval || kind == family::day_interval;
}

} // namespace

typed_sql translator::binary_of(expression &tree)
{
    typed_sql left = value_of(*tree.operands[0]);
    typed_sql right = value_of(*tree.operands[1]);
    return sum_of(tree.word, std::move(left), std::move(right), tree.offset);
}

typed_sql translator::sum_of(const std::string &op, typed_sql left, typed_sql right, std::size_t offset)
{
    const bool is_constant = left.is_constant && right.is_constant;
    const auto call = [&](const std::string &function, const declared_type &type) {
        return typed_sql{
            .sql = function + "(" + left.sql + ", " + right.sql + ")",
            .type = type,
            .is_constant = is_constant,
            .is_wide = type.type == SQLT_NUM,
        };
    };
    const family a = left.kind(), b = right.kind();
    const bool is_sum = op == "+" || op == "-";
    if (op == "+" && (is_date_like(b) || (is_interval(b) && !is_interval(a) && !is_date_like(a))) &&
        !is_date_like(a))
        std::swap(left, right);
    if (is_sum && is_date_like(left.kind())) {
        const family kind = left.kind(), other = right.kind();
        if (is_interval(other))
            return call(op == "+" ? "oci_add_interval" : "oci_subtract_interval", left.type);
        if (is_date_like(other)) {
            if (op == "+")
                fail_at(offset, 975, "a date plus a date is nothing");
            return kind == family::date && other == family::date
                       ? call("oci_days_between", any_number)
                       : call("oci_interval_between", {SQLT_INTERVAL_DS, 0, 0, false, 9, 9});
        }
        right = converted(std::move(right), family::number, offset);
        if (kind != family::date) // a TIMESTAMP becomes a DATE
            left = converted(std::move(left), family::date, offset);
        return call(op == "+" ? "oci_add_days" : "oci_subtract_days", date_type);
    }
    if (is_interval(a) || is_interval(b)) {
        if (is_sum && a == b)
            return call(op == "+" ? "oci_add_intervals" : "oci_subtract_intervals", left.type);
        if (!is_sum && is_interval(a) != is_interval(b) && (op == "*" || is_interval(a))) {
            if (is_interval(b))
                std::swap(left, right);
            right = converted(std::move(right), family::number, offset);
            return call(op == "*" ? "oci_multiply_interval" : "oci_divide_interval", left.type);
        }
        fail_at(offset, 30081, "%s is not defined for these types", op.c_str());
    }
    if (is_date_like(a) || is_date_like(b))
        fail_at(offset, 932, "inconsistent datatypes: %s of a date", op.c_str());
    const bool is_real = a == family::real || b == family::real;
    const family kind = is_real ? family::real : family::number;
    left = converted(std::move(left), kind, offset);
    right = converted(std::move(right), kind, offset);
    return call(operator_function(op) + (is_real ? "_real" : ""), is_real ? real_type : any_number);
}

void translator::add_concatenated(expression &tree, std::vector<typed_sql> &parts)
{
    if (tree.kind == node::binary && tree.word == "||") {
        add_concatenated(*tree.operands[0], parts);
        add_concatenated(*tree.operands[1], parts);
        return;
    }
    typed_sql part = value_of(tree);
    if (part.kind() != family::clob)
        part = converted(std::move(part), family::text, tree.offset);
    parts.push_back(std::move(part));
}

typed_sql translator::concatenation_of(expression &tree)
{
    std::vector<typed_sql> parts;
    add_concatenated(tree, parts);
    typed_sql result{.sql = "oci_concat(", .is_constant = true};
    std::size_t length = 0;
    bool is_clob = false;
    for (const typed_sql &part : parts) {
        result.sql += (&part == parts.data() ? "" : ", ") + part.sql;
        result.is_constant = result.is_constant && part.is_constant;
        length += part.type.length;
        is_clob = is_clob || part.kind() == family::clob;
    }
    result.sql += ")";
    result.type = is_clob ? clob_type : text_type(length);
    return result;
}

typed_sql translator::minus_of(expression &tree)
{
    typed_sql value = value_of(*tree.operands[0]);
    if (is_interval(value.kind())) {
        value.sql = "oci_negate_interval(" + value.sql + ")";
        return value;
    }
    if (value.kind() != family::real)
        value = converted(std::move(value), family::number, tree.offset);
    const bool is_plain = tree.operands[0]->kind == node::number && !value.is_wide;
    return {.sql = is_plain                       ? "(-" + value.sql + ")"
                   : value.kind() == family::real ? "(-(" + value.sql + "))"
                                                  : "oci_negate(" + value.sql + ")",
            .type = value.type,
            .is_nullable = value.is_nullable,
            .is_constant = value.is_constant,
            .is_wide = value.is_wide};
}

} // namespace sqlite_oci::sql
