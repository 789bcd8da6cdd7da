// Expressions, and the columns that they name.
#include "translation/translator.h"

#include <algorithm>

namespace sqlite_oci::sql
{
typed_sql translator::value_of(expression &tree)
{
    scope &in = *scope_;
    if (!in.is_grouped || in.in_group_function || tree.kind == node::subquery)
        return value_without_grouping(tree);
    // What stands in GROUP BY may be selected.
    in.in_group_function = true;
    typed_sql plain;
    try {
        plain = value_without_grouping(tree);
    } catch (...) {
        in.in_group_function = false;
        if (tree.kind == node::column)
            throw;
        return value_without_grouping(tree);
    }
    in.in_group_function = false;
    if (std::find(in.group_keys.begin(), in.group_keys.end(), plain.sql) != in.group_keys.end())
        return plain;
    return value_without_grouping(tree);
}

typed_sql translator::value_without_grouping(expression &tree)
{
    switch (tree.kind) {
    case node::null_value:
        return {.sql = "NULL", .is_constant = true};
    case node::number:
        return number_of(tree);
    case node::literal:
        if (tree.text.empty())
            return {.sql = "NULL", .type = text_type(0), .is_constant = true};
        return {.sql = quoted_text(tree.text),
                .type = text_type(tree.text.size(), SQLT_AFC),
                .is_nullable = false,
                .is_constant = true,
                .is_literal = true,
                .literal = tree.text};
    case node::bytes:
        if (tree.text.size() % 2 != 0 ||
            tree.text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            fail_at(tree.offset, 1465, "not a text of hexadecimal digits");
        return {.sql = "x'" + tree.text + "'", .type = any_bytes, .is_constant = true};
    case node::datetime:
        return datetime_of(tree);
    case node::interval:
        return interval_of(tree);
    case node::placeholder:
        return placeholder_of(tree);
    case node::column:
        return column_of(tree);
    case node::pseudo:
        return pseudo_of(tree);
    case node::binary:
        return tree.word == "||" ? concatenation_of(tree) : binary_of(tree);
    case node::minus:
        return minus_of(tree);
    case node::call:
        return call_of(tree);
    case node::choice:
        return choice_of(tree);
    case node::cast:
        return cast_of(tree);
    case node::extract:
        return extract_of(tree);
    case node::trim:
        return trim_of(tree);
    case node::subquery:
        return subquery_of(tree);
    case node::cursor:
        fail_at(tree.offset, 22902,
                "CURSOR(...) stands in a query's own select list only, without DISTINCT and groups");
    case node::prior:
        fail_unserved(tree.offset, "PRIOR and CONNECT BY");
    case node::default_value:
        fail_at(tree.offset, 936, "DEFAULT stands for a value in INSERT and UPDATE only");
    case node::star:
        fail_at(tree.offset, 936, "an expression is missing: * stands alone");
    case node::list:
        fail_at(tree.offset, 907, "a list of values where one is needed");
    default:
        fail_at(tree.offset, 907, "a condition where a value is needed");
    }
}

typed_sql translator::placeholder_of(const expression &tree)
{
    const bind_type given = tree.index < input_.binds.size() ? input_.binds[tree.index] : bind_type{};
    return {.sql = "?" + std::to_string(tree.index + 1),
            .type = given.type,
            .is_constant = true,
            .is_wide = given.is_wide || given.type.type == 0,
            .placeholder = static_cast<int>(tree.index)};
}

// --- Columns

typed_sql translator::column_of(expression &tree)
{
    if (!tree.is_quoted && !tree.qualifier && tree.text == "ROWNUM") {
        tree.kind = node::pseudo;
        tree.word = "ROWNUM";
        return pseudo_of(tree);
    }
    for (scope *in = scope_; in; in = in->outer) {
        const source_column *found = nullptr;
        const source *of = nullptr;
        bool is_known_source = false;
        for (const source &one : in->sources) {
            if (tree.qualifier && one.alias != tree.qualifier.text)
                continue;
            is_known_source = true;
            if (!tree.is_quoted && tree.text == "ROWID" && one.table && one.table->has_row_id) {
                if (in->is_grouped && !in->in_group_function)
                    fail_at(tree.offset, 979, "ROWID is not in GROUP BY");
                return seen_from_here(
                    *in,
                    {.sql = quoted_name(one.alias) + "._rowid_", .type = row_id_type, .is_column = true});
            }
            for (const source_column &column : one.columns) {
                if (column.name != tree.text || (column.is_joined && !tree.qualifier))
                    continue;
                if (found)
                    fail_at(tree.offset, 918, "column %s is in more than one of the tables",
                            tree.text.c_str());
                found = &column;
                of = &one;
            }
        }
        if (found) {
            if (in->is_grouped && !in->in_group_function &&
                std::find(in->group_keys.begin(), in->group_keys.end(), found->sql) == in->group_keys.end())
                fail_at(tree.offset, in->has_group_by ? 979 : 937,
                        "%s is neither in GROUP BY nor in a group function", tree.text.c_str());
            return seen_from_here(*in, {.sql = found->sql,
                                        .type = found->type,
                                        .is_nullable = found->is_nullable || of->is_optional,
                                        .is_wide = may_be_wide(found->type),
                                        .is_column = true});
        }
        if (is_known_source && tree.qualifier)
            break;
    }
    if (scope_->forbids_columns)
        fail_at(tree.offset, 984, "column not allowed here: %.200s", tree.text.c_str());
    std::string shown = tree.qualifier ? "\"" + tree.qualifier.text + "\"." : "";
    shown += "\"" + tree.text + "\"";
    fail_at(tree.offset, 904, "%.200s: invalid identifier: no such column", shown.c_str());
}

typed_sql translator::pseudo_of(expression &tree)
{
    const std::string &word = tree.word;
    if (word == "NEXTVAL" || word == "CURRVAL")
        return sequence_of(tree);
    typed_sql result{.is_nullable = false};
    if (word == "SYSDATE" || word == "CURRENT_DATE") {
        result.sql = "oci_sysdate()";
        result.type = date_type;
    } else if (word == "SYSTIMESTAMP" || word == "CURRENT_TIMESTAMP") {
        result.sql = "oci_systimestamp()";
        result.type = {SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 6};
    } else if (word == "LOCALTIMESTAMP") {
        result.sql = "oci_localtimestamp()";
        result.type = {SQLT_TIMESTAMP, 0, 0, false, 0, 6};
    } else if (word == "USER") {
        result.sql = "oci_user()";
        result.type = text_type(128);
    } else if (word == "UID") {
        result.sql = "1";
        result.type = any_number;
    } else if (word == "DBTIMEZONE" || word == "SESSIONTIMEZONE") {
        result.sql = "oci_session_zone()";
        result.type = text_type(75);
    } else if (word == "LEVEL") {
        const scope *in = scope_;
        while (in && in->level_sql.empty())
            in = in->outer;
        if (!in)
            fail_at(tree.offset, 1788, "LEVEL needs CONNECT BY");
        result.sql = in->level_sql;
        result.type = any_number;
        result = seen_from_here(*in, std::move(result));
    } else { // ROWNUM
        if (scope_->forbids_row_number || (scope_->is_grouped && !scope_->in_group_function))
            fail_unserved(tree.offset, "ROWNUM in this place");
        scope_->has_row_number = true;
        result.sql = scope_->row_number_by_call ? "oci_next_row()" : "row_number() OVER ()";
        result.type = any_number;
    }
    return result;
}

typed_sql translator::sequence_of(const expression &tree)
{
    const bool is_next = tree.word == "NEXTVAL";
    if (is_next)
        result_.uses_sequence = true;
    return {.sql = std::string(is_next ? "oci_nextval(" : "oci_currval(") + quoted_text(tree.qualifier.text) +
                   ")",
            .type = any_number,
            .is_nullable = false};
}

typed_sql translator::subquery_of(expression &tree)
{
    const translated_query inner = query_of(*tree.subquery);
    if (inner.columns.size() != 1)
        fail_at(tree.offset, 913, "too many values: a subquery of %zu columns", inner.columns.size());
    const declared_type type = inner.columns[0].type;
    // SQLite would take the first of several rows in silence.
    const std::string body = "subquery" + std::to_string(++generated_names_);
    const std::string sql = inner.is_single_row ? inner.sql
                                                : "WITH " + body + "(c1) AS (" + inner.sql +
                                                      ") SELECT oci_only(count(*), max(c1)) FROM " + body;
    return {.sql = "(" + sql + ")", .type = type, .is_wide = may_be_wide(type)};
}

} // namespace sqlite_oci::sql
