// NVL, DECODE, CASE and their kin: one of several values, which get one type; CAST, EXTRACT and TRIM.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

bool is_text_kind(family kind)
{
    return kind == family::text || kind == family::clob || kind == family::long_text;
}

// Of two types of one kind, one that holds the values of both.
declared_type wider(const declared_type &a, const declared_type &b)
{
    if (a == b)
        return a;
    declared_type result = a;
    if (a.is_text() && b.is_text()) {
        result = text_type(std::max(a.length, b.length));
        return result;
    }
    if (a.type == SQLT_NUM)
        return any_number;
    result.length = std::max(a.length, b.length);
    return result;
}

} // namespace

// Gives all values one type: that of the first one, or, where it is strict, fails if they differ in kind.
bool translator::unify(const std::vector<typed_sql *> &values, declared_type &result, bool is_strict,
                       std::size_t offset)
{
    result = {};
    for (const typed_sql *value : values) {
        if (value->is_null())
            continue;
        const family kind = value->kind();
        if (result.type == 0) {
            result = value->type;
            continue;
        }
        const family so_far = family_of(result);
        if (kind == family::unknown)
            continue;
        if (so_far == kind)
            result = wider(result, value->type);
        else if ((so_far == family::number && kind == family::real) ||
                 (is_text_kind(so_far) && kind == family::clob))
            result = value->type;
        else if (is_strict && !(is_text_kind(so_far) && is_text_kind(kind)) &&
                 !(so_far == family::real && kind == family::number))
            fail_at(offset, 932, "inconsistent datatypes: the values are of different types");
        else if (so_far == family::text && !is_text_kind(kind))
            result = any_text;
    }
    if (result.type == 0)
        return false;
    for (typed_sql *value : values)
        if (!value->is_null())
            *value = converted(std::move(*value), family_of(result), offset);
    return true;
}

typed_sql translator::nvl_of(expression &tree)
{
    check_arguments(tree, 2, 2);
    typed_sql value = value_of(*tree.operands[0]), other = value_of(*tree.operands[1]);
    typed_sql result{.is_nullable = other.is_nullable, .is_constant = value.is_constant && other.is_constant};
    unify({&value, &other}, result.type, false, tree.offset);
    result.sql = "nvl(" + value.sql + ", " + other.sql + ")";
    result.is_wide = value.is_wide || other.is_wide;
    return result;
}

typed_sql translator::nvl2_of(expression &tree)
{
    check_arguments(tree, 3, 3);
    const typed_sql asked = value_of(*tree.operands[0]);
    typed_sql value = value_of(*tree.operands[1]), other = value_of(*tree.operands[2]);
    typed_sql result;
    unify({&value, &other}, result.type, false, tree.offset);
    result.sql = "iif(" + asked.sql + " IS NOT NULL, " + value.sql + ", " + other.sql + ")";
    result.is_wide = value.is_wide || other.is_wide;
    return result;
}

typed_sql translator::coalesce_of(expression &tree)
{
    check_arguments(tree, 2, 999);
    std::vector<typed_sql> values;
    for (const auto &one : tree.operands)
        values.push_back(value_of(*one));
    std::vector<typed_sql *> all;
    for (typed_sql &one : values)
        all.push_back(&one);
    typed_sql result{.sql = "coalesce("};
    unify(all, result.type, true, tree.offset);
    for (const typed_sql &one : values) {
        result.sql += (&one == values.data() ? "" : ", ") + one.sql;
        result.is_wide = result.is_wide || one.is_wide;
    }
    result.sql += ")";
    return result;
}

typed_sql translator::nullif_of(expression &tree)
{
    check_arguments(tree, 2, 2);
    typed_sql value = value_of(*tree.operands[0]);
    if (value.is_null())
        fail_at(tree.offset, 932, "inconsistent datatypes: NULLIF of NULL");
    const std::string equal = comparison_of("=", value, value_of(*tree.operands[1]), tree.offset);
    value.sql = "CASE WHEN " + equal + " THEN NULL ELSE " + value.sql + " END";
    value.is_nullable = true;
    value.is_column = value.is_literal = false;
    value.placeholder = no_placeholder;
    return value;
}

// DECODE(value, candidate, result, ... [, otherwise]); null equals null here.
typed_sql translator::decode_of(expression &tree)
{
    check_arguments(tree, 3, 255);
    auto &operands = tree.operands;
    std::vector<typed_sql> results;
    for (std::size_t i = 2; i < operands.size(); i += 2)
        results.push_back(value_of(*operands[i]));
    const bool has_else = operands.size() % 2 == 0;
    if (has_else)
        results.push_back(value_of(*operands.back()));
    std::vector<typed_sql *> all;
    for (typed_sql &one : results)
        all.push_back(&one);
    typed_sql result{.sql = "CASE"};
    unify(all, result.type, false, tree.offset);
    const typed_sql value = value_of(*operands[0]);
    for (std::size_t i = 1; i + 1 < operands.size(); i += 2) {
        typed_sql a = value, b = value_of(*operands[i]);
        std::string equal;
        if (b.is_null()) {
            equal = a.sql + " IS NULL";
        } else {
            make_comparable(a, b, operands[i]->offset);
            equal = a.sql + " IS " + b.sql;
            if (a.type.type == SQLT_AFC && b.type.type == SQLT_AFC)
                equal += " COLLATE RTRIM";
        }
        result.sql += " WHEN " + equal + " THEN " + results[i / 2].sql;
    }
    if (has_else)
        result.sql += " ELSE " + results.back().sql;
    result.sql += " END";
    result.is_wide = may_be_wide(result.type);
    return result;
}

typed_sql translator::choice_of(expression &tree)
{
    auto &operands = tree.operands;
    std::vector<typed_sql> results;
    const std::size_t first = tree.has_value ? 1 : 0;
    const std::size_t end = operands.size() - (tree.has_else ? 1 : 0);
    std::vector<std::string> conditions;
    for (std::size_t i = first; i + 1 < end; i += 2) {
        conditions.push_back(tree.has_value ? comparison_of("=", value_of(*operands[0]),
                                                            value_of(*operands[i]), operands[i]->offset)
                                            : condition_of(*operands[i]));
        results.push_back(value_of(*operands[i + 1]));
    }
    if (tree.has_else)
        results.push_back(value_of(*operands.back()));
    std::vector<typed_sql *> all;
    for (typed_sql &one : results)
        all.push_back(&one);
    typed_sql result{.sql = "CASE"};
    unify(all, result.type, true, tree.offset);
    for (std::size_t i = 0; i < conditions.size(); ++i)
        result.sql += " WHEN " + conditions[i] + " THEN " + results[i].sql;
    if (tree.has_else)
        result.sql += " ELSE " + results.back().sql;
    result.sql += " END";
    result.is_wide = may_be_wide(result.type);
    return result;
}

// GREATEST and LEAST: of the first one's type; null if any of them is.
typed_sql translator::extreme_of(expression &tree)
{
    check_arguments(tree, 1, 999);
    std::vector<typed_sql> values;
    for (const auto &one : tree.operands)
        values.push_back(value_of(*one));
    std::vector<typed_sql *> all;
    for (typed_sql &one : values)
        all.push_back(&one);
    typed_sql result;
    unify(all, result.type, false, tree.offset);
    result.is_wide =
        std::any_of(values.begin(), values.end(), [](const typed_sql &one) { return one.is_wide; });
    if (values.size() == 1)
        return values.front();
    // SQLite's own of several arguments are null if any of these is, too.
    const bool is_least = tree.word == "LEAST";
    result.sql = result.is_wide ? is_least ? "oci_least(" : "oci_greatest(" : is_least ? "min(" : "max(";
    for (const typed_sql &one : values)
        result.sql += (&one == values.data() ? "" : ", ") + one.sql;
    result.sql += ")";
    return result;
}

typed_sql translator::cast_of(expression &tree)
{
    const declared_type type = server_type(tree.word, tree.offset);
    typed_sql value = value_of(*tree.operands[0]);
    const family to = family_of(type);
    if (to == family::clob || to == family::blob || to == family::long_text)
        fail_at(tree.offset, 932, "CAST to a LOB or LONG: TO_CLOB and TO_LOB do that");
    value = converted(std::move(value), to, tree.offset);
    return {.sql = "oci_cast(" + value.sql + ", " + quoted_text(declared_type_text(type)) + ")",
            .type = type,
            .is_nullable = value.is_nullable,
            .is_constant = value.is_constant,
            .is_wide = may_be_wide(type)};
}

typed_sql translator::extract_of(expression &tree)
{
    typed_sql value = value_of(*tree.operands[0]);
    const family kind = value.kind();
    const bool is_time_field = tree.word == "HOUR" || tree.word == "MINUTE" || tree.word == "SECOND" ||
                               tree.word.starts_with("TIMEZONE_");
    if (kind == family::date && is_time_field)
        fail_at(tree.offset, 30076, "a DATE has no field %s for EXTRACT", tree.word.c_str());
    if (kind != family::date && kind != family::timestamp && kind != family::zoned &&
        kind != family::year_interval && kind != family::day_interval && kind != family::unknown)
        fail_at(tree.offset, 30076, "EXTRACT is for dates and intervals");
    return {.sql = "oci_extract(" + value.sql + ", " + quoted_text(tree.word) + ")",
            .type = any_number,
            .is_constant = value.is_constant,
            .is_wide = true};
}

typed_sql translator::trim_of(expression &tree)
{
    typed_sql value = value_of(*tree.operands[0]);
    if (value.kind() != family::clob)
        value = converted(std::move(value), family::text, tree.offset);
    std::string sql = "oci_trim(" + quoted_text(tree.word) + ", " + value.sql;
    if (tree.operands.size() == 2)
        sql += ", " + text_of_value(*tree.operands[1]).sql;
    return {.sql = sql + ")",
            .type = value.kind() == family::clob ? clob_type : text_type(value.type.length),
            .is_constant = value.is_constant};
}

} // namespace sqlite_oci::sql
