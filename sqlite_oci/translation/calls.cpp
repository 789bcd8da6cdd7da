// Calls of functions that yield a value for each row.
#include "translation/function_table.h"
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

struct special_function {
    const char *name;
    bool is_group;
};

constexpr std::string_view ranking_functions[] = {
    "ROW_NUMBER",  "RANK",       "DENSE_RANK", "NTILE",        "LAG",       "LEAD",
    "FIRST_VALUE", "LAST_VALUE", "NTH_VALUE",  "PERCENT_RANK", "CUME_DIST", "RATIO_TO_REPORT"};
constexpr std::string_view group_functions[] = {"COUNT", "MIN", "MAX", "LISTAGG"};

// Functions of a server that are not served, so that they are told from names that nobody knows.
constexpr std::string_view unserved_functions[] = {"REGEXP_SUBSTR",   "REGEXP_REPLACE", "REGEXP_INSTR",
                                                   "REGEXP_COUNT",    "REGEXP_LIKE",    "XMLAGG",
                                                   "XMLELEMENT",      "SOUNDEX",        "DUMP",
                                                   "VSIZE",           "ORA_HASH",       "COLLECT",
                                                   "GROUPING",        "GROUP_ID",       "FROM_TZ",
                                                   "NEW_TIME",        "TZ_OFFSET",      "NLSSORT",
                                                   "COMPOSE",         "DECOMPOSE",      "CONVERT",
                                                   "ASCIISTR",        "UNISTR",         "CORR",
                                                   "COVAR_POP",       "COVAR_SAMP",     "NANVL",
                                                   "WIDTH_BUCKET",    "JSON_VALUE",     "JSON_QUERY",
                                                   "JSON_TABLE",      "XMLTYPE",        "SYS_CONNECT_BY_PATH",
                                                   "BIN_TO_NUM",      "STANDARD_HASH",  "PERCENTILE_CONT",
                                                   "PERCENTILE_DISC", "BFILENAME",      "CARDINALITY",
                                                   "REVERSE"};

template <class List> bool contains(const List &list, std::string_view wanted)
{
    return std::find(std::begin(list), std::end(list), wanted) != std::end(list);
}

declared_type result_type(char letter, const typed_sql *first)
{
    switch (letter) {
    case 'n':
        return any_number;
    case 'd':
        return date_type;
    case 't':
        return {SQLT_TIMESTAMP, 0, 0, false, 0, 9};
    case 'z':
        return {SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 9};
    case 'r':
        return any_bytes;
    case 'l':
        return clob_type;
    case 'b':
        return blob_type;
    case 'y':
        return {SQLT_INTERVAL_YM, 0, 0, false, 9, 0};
    case 'i':
        return {SQLT_INTERVAL_DS, 0, 0, false, 9, 9};
    case 'C':
        return text_type(first ? first->type.length : longest_text);
    case 'x':
        if (first && first->kind() == family::clob)
            return clob_type;
        return any_text;
    default:
        return any_text;
    }
}

} // namespace

void translator::check_arguments(const expression &tree, std::size_t least, std::size_t most) const
{
    if (tree.operands.size() < least)
        fail_at(tree.offset, 938, "not enough arguments for function %s", tree.word.c_str());
    if (tree.operands.size() > most)
        fail_at(tree.offset, 939, "too many arguments for function %s", tree.word.c_str());
}

typed_sql translator::call_of(expression &tree)
{
    if (tree.schema)
        fail_at(tree.offset, 904, "\"%s\".\"%s\": invalid identifier: no such function",
                tree.schema.text.c_str(), tree.word.c_str());
    if (contains(ranking_functions, tree.word))
        return ranking_call(tree);
    const function_rule *rule = find_function(tree.word, tree.operands.size());
    if (contains(group_functions, tree.word) || (rule && rule->is_group))
        return group_call(tree);
    if (tree.over)
        fail_at(tree.offset, 30484, "OVER stands behind group functions only");
    if (tree.is_distinct)
        fail_at(tree.offset, 30482, "DISTINCT is not for this function");
    if (rule)
        return simple_call(tree, *rule);
    typed_sql special = special_call(tree);
    if (!special.sql.empty())
        return special;
    if (is_function_name(tree.word))
        fail_at(tree.offset, 909, "wrong number of arguments for function %s", tree.word.c_str());
    if (contains(unserved_functions, tree.word))
        fail_unserved(tree.offset, ("the function " + tree.word).c_str());
    fail_at(tree.offset, 904, "\"%.128s\": invalid identifier: no such function", tree.word.c_str());
}

typed_sql translator::simple_call(expression &tree, const function_rule &rule)
{
    typed_sql result{.sql = std::string(rule.function) + "(", .is_constant = true};
    typed_sql first;
    const std::string_view accepts = rule.accepts;
    for (std::size_t i = 0; i < tree.operands.size(); ++i) {
        expression &argument = *tree.operands[i];
        typed_sql value = value_of(argument);
        switch (accepts[std::min(i, accepts.size() - 1)]) {
        case 'n':
            value = converted(std::move(value), family::number, argument.offset);
            break;
        case 'd':
            value = converted(std::move(value), family::date, argument.offset);
            break;
        case 'r':
            value = converted(std::move(value), family::raw, argument.offset);
            break;
        case 'c':
            value = converted(std::move(value), family::text, argument.offset);
            break;
        case 'x':
            if (value.kind() != family::clob && value.kind() != family::blob)
                value = converted(std::move(value), family::text, argument.offset);
            break;
        default:
            break;
        }
        result.sql += (i ? ", " : "") + value.sql;
        result.is_constant = result.is_constant && value.is_constant;
        if (i == 0)
            first = std::move(value);
    }
    result.sql += ")";
    result.type = result_type(*rule.yields, tree.operands.empty() ? nullptr : &first);
    if (*rule.yields == 'x' &&
        (tree.word == "UPPER" || tree.word == "LOWER" || tree.word.ends_with("TRIM")) &&
        result.type.type == SQLT_CHR)
        result.type = text_type(first.type.length);
    if (tree.word == "CHR")
        result.type = text_type(4);
    result.is_wide = result.type.type == SQLT_NUM;
    return result;
}

typed_sql translator::special_call(expression &tree)
{
    const std::string &word = tree.word;
    if (word == "DECODE")
        return decode_of(tree);
    if (word == "NVL" || word == "IFNULL")
        return nvl_of(tree);
    if (word == "NVL2")
        return nvl2_of(tree);
    if (word == "COALESCE")
        return coalesce_of(tree);
    if (word == "NULLIF")
        return nullif_of(tree);
    if (word == "GREATEST" || word == "LEAST")
        return extreme_of(tree);
    if (word == "TO_CHAR" || word == "TO_NCHAR")
        return to_char_of(tree);
    if (word == "ROUND" || word == "TRUNC")
        return rounded_of(tree);
    const auto one = [&](family to) {
        check_arguments(tree, 1, 1);
        return converted(value_of(*tree.operands[0]), to, tree.operands[0]->offset);
    };
    if (word == "TO_NUMBER")
        return one(family::number);
    if (word == "TO_DATE")
        return one(family::date);
    if (word == "TO_TIMESTAMP")
        return one(family::timestamp);
    if (word == "TO_TIMESTAMP_TZ")
        return one(family::zoned);
    if (word == "TO_CLOB" || word == "TO_LOB")
        return one(family::clob);
    if (word == "TO_BINARY_DOUBLE" || word == "TO_BINARY_FLOAT")
        return one(family::real);
    if (word == "ROWIDTOCHAR")
        return one(family::text);
    if (word == "CHARTOROWID")
        return one(family::row_id);
    if (word == "SYS_EXTRACT_UTC") {
        check_arguments(tree, 1, 1);
        typed_sql value = converted(value_of(*tree.operands[0]), family::zoned, tree.offset);
        value.sql = "oci_utc(" + value.sql + ")";
        value.type = {SQLT_TIMESTAMP, 0, 0, false, 0, 9};
        return value;
    }
    if (word == "SYSDATE" || word == "USER") {
        expression pseudo(node::pseudo, tree.offset);
        pseudo.word = word;
        return pseudo_of(pseudo);
    }
    return {};
}

typed_sql translator::to_char_of(expression &tree)
{
    check_arguments(tree, 1, 3);
    typed_sql value = value_of(*tree.operands[0]);
    if (tree.operands.size() == 1)
        return converted(std::move(value), family::text, tree.offset);
    const char *function = "oci_format_number";
    switch (value.kind()) {
    case family::date:
    case family::timestamp:
    case family::zoned:
        function = "oci_format_date";
        break;
    case family::real:
    case family::number:
        break;
    case family::text:
        if (value.placeholder == no_placeholder && !value.is_literal) {
            value = converted(std::move(value), family::number, tree.offset);
            break;
        }
        value = converted(std::move(value), family::number, tree.offset);
        break;
    case family::unknown:
        function = "oci_format_any";
        break;
    default:
        fail_at(tree.offset, 932, "TO_CHAR with a format is for numbers and dates");
    }
    std::string sql = function + ("(" + value.sql);
    for (std::size_t i = 1; i < tree.operands.size(); ++i)
        sql += ", " + text_of_value(*tree.operands[i]).sql;
    return {.sql = sql + ")", .type = text_type(75), .is_constant = value.is_constant};
}

// ROUND and TRUNC of numbers and of dates.
typed_sql translator::rounded_of(expression &tree)
{
    check_arguments(tree, 1, 2);
    const bool is_round = tree.word == "ROUND";
    typed_sql value = value_of(*tree.operands[0]);
    const family kind = value.kind();
    const bool has_format = tree.operands.size() == 2 && tree.operands[1]->kind == node::literal;
    if (kind == family::date || kind == family::timestamp || kind == family::zoned ||
        (kind == family::unknown && has_format)) {
        value = converted(std::move(value), family::date, tree.offset);
        value.sql = (is_round ? "oci_round_date(" : "oci_truncate_date(") + value.sql;
        if (tree.operands.size() == 2)
            value.sql += ", " + text_of_value(*tree.operands[1]).sql;
        value.sql += ")";
        value.is_column = false;
        return value;
    }
    value = converted(std::move(value), family::number, tree.offset);
    std::string sql = (is_round ? "oci_round(" : "oci_truncate(") + value.sql;
    if (tree.operands.size() == 2)
        sql += ", " + number_of_value(*tree.operands[1]).sql;
    return {.sql = sql + ")", .type = any_number, .is_constant = value.is_constant, .is_wide = true};
}

} // namespace sqlite_oci::sql
