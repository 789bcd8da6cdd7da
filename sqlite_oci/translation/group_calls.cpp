// Group functions and analytic functions.
#include "translation/function_table.h"
#include "translation/group_search.h"
#include "translation/translator.h"

#include <optional>

namespace sqlite_oci::sql
{
namespace
{

// The arguments of a group function stand for themselves, not for what GROUP BY leaves.
class inside_group_function
{
public:
    explicit inside_group_function(scope &in) : in_(in) { in.in_group_function = true; }
    ~inside_group_function() { in_.in_group_function = false; }
    inside_group_function(const inside_group_function &) = delete;

private:
    scope &in_;
};

bool is_group_name(const expression &tree)
{
    if (tree.word == "COUNT" || tree.word == "MIN" || tree.word == "MAX" || tree.word == "LISTAGG")
        return true;
    const function_rule *rule = find_function(tree.word, tree.operands.size());
    return rule && rule->is_group;
}

} // namespace

bool has_group_call(const expression &tree)
{
    if (tree.kind == node::call && !tree.over && is_group_name(tree))
        return true;
    for (const auto &operand : tree.operands)
        if (has_group_call(*operand))
            return true;
    if (tree.over) {
        for (const auto &one : tree.over->partition)
            if (has_group_call(*one))
                return true;
        for (const order_term &term : tree.over->order)
            if (has_group_call(*term.by))
                return true;
    }
    return false;
}

std::string translator::over_clause(expression &tree)
{
    std::string sql = " OVER (";
    if (!tree.over->partition.empty()) {
        sql += "PARTITION BY ";
        for (const auto &one : tree.over->partition)
            sql += (&one == &tree.over->partition.front() ? "" : ", ") + value_of(*one).sql;
    }
    if (!tree.over->order.empty())
        sql += (tree.over->partition.empty() ? "" : " ") +
               order_clause(tree.over->order, nullptr, nullptr).substr(1);
    const std::string &frame = tree.over->frame;
    if (!frame.empty()) {
        const bool is_rows = frame.starts_with("ROWS ");
        if (!is_rows && frame.find_first_of("0123456789") != std::string::npos)
            fail_unserved(tree.offset, "a window of RANGE with bounds by value");
        if (!is_rows && !frame.starts_with("RANGE "))
            fail_at(tree.offset, 907, "a right parenthesis is missing");
        sql += " " + frame;
    }
    return sql + ")";
}

typed_sql translator::window_call(expression &tree, typed_sql value)
{
    value.sql += over_clause(tree);
    return value;
}

typed_sql translator::group_call(expression &tree)
{
    scope &in = *scope_;
    if (tree.word == "LISTAGG")
        return list_aggregate(tree);
    const bool is_window = tree.over != nullptr;
    if (in.forbids_groups)
        fail_at(tree.offset, is_window ? 30483 : 934, "the group function %s is not allowed here",
                tree.word.c_str());
    if (!is_window && in.in_group_function)
        fail_at(tree.offset, in.has_group_by ? 935 : 978, "group functions nest too deep");
    if (!is_window && !in.is_grouped)
        fail_at(tree.offset, 934, "the group function %s is not allowed here", tree.word.c_str());
    typed_sql result{.type = any_number};
    const std::string distinct = tree.is_distinct ? "DISTINCT " : "";
    if (tree.word == "COUNT" && tree.operands.size() == 1 && tree.operands[0]->kind == node::star) {
        result.sql = "count(*)";
        result.is_nullable = false;
        return is_window ? window_call(tree, std::move(result)) : result;
    }
    if (tree.operands.size() != 1 && !(tree.word == "GROUP_CONCAT" && tree.operands.size() == 2))
        fail_at(tree.offset, 909, "wrong number of arguments for function %s", tree.word.c_str());
    typed_sql value;
    {
        std::optional<inside_group_function> inside;
        if (!is_window)
            inside.emplace(in);
        value = value_of(*tree.operands[0]);
        if (tree.word != "GROUP_CONCAT" && (value.kind() == family::clob || value.kind() == family::blob))
            fail_at(tree.offset, 932, "inconsistent datatypes: a group function of a LOB");
    }
    if (tree.word == "COUNT") {
        result.sql = "count(" + distinct + value.sql + ")";
        result.is_nullable = false;
    } else if (tree.word == "MIN" || tree.word == "MAX") {
        const std::string plain = tree.word == "MIN" ? "min(" : "max(";
        result.sql = (value.is_wide ? "oci_" : "") + plain + value.sql + ")";
        result.type = value.type;
        result.is_wide = value.is_wide;
    } else if (tree.word == "GROUP_CONCAT") {
        value = converted(std::move(value), family::text, tree.offset);
        result.sql = "group_concat(" + distinct + value.sql;
        if (tree.operands.size() == 2)
            result.sql += ", " + text_of_value(*tree.operands[1]).sql;
        result.sql += ")";
        result.type = any_text;
    } else if (value.kind() == family::real && (tree.word == "SUM" || tree.word == "AVG")) {
        result.sql = (tree.word == "SUM" ? "sum(" : "avg(") + distinct + value.sql + ")";
        result.type = real_type;
    } else {
        const function_rule *rule = find_function(tree.word, 1);
        value = converted(std::move(value), family::number, tree.offset);
        result.sql = std::string(rule->function) + "(" + distinct + value.sql + ")";
        result.is_wide = true;
    }
    return is_window ? window_call(tree, std::move(result)) : result;
}

// LISTAGG(value [, separator]) WITHIN GROUP (ORDER BY ...): the function sorts by the keys behind the second
// argument, of which the third tells the directions.
typed_sql translator::list_aggregate(expression &tree)
{
    check_arguments(tree, 1, 2);
    scope &in = *scope_;
    if (in.forbids_groups || (!tree.over && (!in.is_grouped || in.in_group_function)))
        fail_at(tree.offset, 934, "the group function LISTAGG is not allowed here");
    if (tree.is_distinct)
        fail_unserved(tree.offset, "LISTAGG(DISTINCT ...)");
    std::string sql = "oci_listagg(", directions, keys;
    {
        std::optional<inside_group_function> inside;
        if (!tree.over)
            inside.emplace(in);
        sql += text_of_value(*tree.operands[0]).sql + ", ";
        sql += tree.operands.size() == 2 ? text_of_value(*tree.operands[1]).sql : "NULL";
        for (const order_term &term : tree.within) {
            const bool nulls_first = term.has_nulls ? term.nulls_first : term.is_descending;
            directions += term.is_descending ? 'd' : 'a';
            directions += nulls_first ? 'f' : 'l';
            keys += ", " + order_key(value_of(*term.by));
        }
    }
    typed_sql result{.sql = sql + ", " + quoted_text(directions) + keys + ")", .type = any_text};
    if (!tree.over)
        return result;
    if (!tree.over->order.empty())
        fail_at(tree.offset, 30487, "ORDER BY is not for LISTAGG OVER");
    return window_call(tree, std::move(result));
}

// Functions that need OVER.
typed_sql translator::ranking_call(expression &tree)
{
    scope &in = *scope_;
    if (!tree.over)
        fail_at(tree.offset, 30484, "%s needs OVER (...)", tree.word.c_str());
    if (in.forbids_groups)
        fail_at(tree.offset, 30483, "%s is not allowed here", tree.word.c_str());
    if (tree.ignore_nulls)
        fail_unserved(tree.offset, "IGNORE NULLS");
    if (tree.word == "RATIO_TO_REPORT")
        fail_unserved(tree.offset, "RATIO_TO_REPORT");
    const bool needs_order =
        tree.word != "FIRST_VALUE" && tree.word != "LAST_VALUE" && tree.word != "NTH_VALUE";
    if (needs_order && tree.over->order.empty())
        fail_at(tree.offset, 30485, "ORDER BY is missing in OVER");
    typed_sql result{.type = any_number};
    std::string word = tree.word;
    for (char &c : word)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    result.sql = word + "(";
    std::vector<typed_sql> values;
    for (const auto &operand : tree.operands)
        values.push_back(value_of(*operand));
    if (!values.empty() && tree.word != "NTILE") {
        result.type = values[0].type;
        result.is_wide = values[0].is_wide;
        if (values.size() == 3)
            values[2] = converted(std::move(values[2]), family_of(result.type), tree.offset);
    }
    for (const typed_sql &value : values)
        result.sql += (&value == values.data() ? "" : ", ") + value.sql;
    result.sql += ")";
    return window_call(tree, std::move(result));
}

} // namespace sqlite_oci::sql
