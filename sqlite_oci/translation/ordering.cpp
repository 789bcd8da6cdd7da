// ORDER BY, and OFFSET and FETCH.
#include "text/text_scan.h"
#include "translation/expression_name.h"
#include "translation/translator.h"

#include <charconv>

namespace sqlite_oci::sql
{

std::string expression_name(std::string_view text)
{
    std::string result;
    char quote = 0;
    for (const char c : text) {
        if (!quote && is_blank(c))
            continue;
        if (quote ? c == quote : c == '\'' || c == '"')
            quote = quote ? char{0} : c;
        result += upper(c);
    }
    return result;
}

// What SQLite sorts as a server sorts the value.
std::string translator::order_key(const typed_sql &value) const
{
    switch (value.kind()) {
    case family::number:
        return value.is_wide ? "oci_key(" + value.sql + ")" : value.sql;
    case family::year_interval:
    case family::day_interval:
        return "oci_interval_key(" + value.sql + ")";
    case family::text:
        return value.is_column && value.type.type == SQLT_AFC ? value.sql + " COLLATE BINARY" : value.sql;
    default:
        return value.sql;
    }
}

std::string translator::order_key_of(const order_term &term, const typed_sql &value) const
{
    std::string sql = order_key(value);
    if (value.is_constant && sql == value.sql)
        sql = "(" + sql + ")";
    if (term.is_descending)
        sql += " DESC";
    const bool nulls_first = term.has_nulls ? term.nulls_first : term.is_descending;
    if (value.is_nullable && (term.has_nulls || nulls_first == term.is_descending))
        sql += nulls_first ? " NULLS FIRST" : " NULLS LAST";
    return sql;
}

// `items` and `columns` are those of the select list, which terms may name or count; null in a window.
std::string translator::order_clause(std::vector<order_term> &terms, const std::vector<typed_sql> *items,
                                     const std::vector<output_column> *columns, bool is_distinct)
{
    std::string sql;
    const auto item_of = [&](const expression &by) -> const typed_sql * {
        if (!items)
            return nullptr;
        if (by.kind == node::number) {
            std::size_t place = 0;
            const char *const end = by.text.data() + by.text.size();
            const auto parsed = std::from_chars(by.text.data(), end, place);
            if (parsed.ptr != end || place == 0 || place > items->size())
                fail_at(by.offset, 1785, "ORDER BY names a column by a number that the query does not have");
            return &(*items)[place - 1];
        }
        if (by.kind == node::column && !by.qualifier)
            for (std::size_t i = 0; i < items->size(); ++i)
                if ((*columns)[i].name == by.text)
                    return &(*items)[i];
        return nullptr;
    };
    for (order_term &term : terms) {
        const typed_sql *item = item_of(*term.by);
        const typed_sql value = item ? *item : value_of(*term.by);
        if (value.kind() == family::clob || value.kind() == family::blob)
            fail_at(term.by->offset, 932, "inconsistent datatypes: ORDER BY of a LOB");
        if (is_distinct && !item) {
            bool is_selected = false;
            for (const typed_sql &one : *items)
                is_selected = is_selected || one.sql == value.sql;
            if (!is_selected)
                fail_at(term.by->offset, 1791, "ORDER BY of DISTINCT rows: not a selected expression");
        }
        sql += (sql.empty() ? " ORDER BY " : ", ") + order_key_of(term, value);
    }
    return sql;
}

std::string translator::limit_clause(query &tree)
{
    if (!tree.row_limit && !tree.row_offset)
        return "";
    const auto rows = [&](expression &of) { return "oci_row_limit('<=', " + number_of_value(of).sql + ")"; };
    std::string sql = " LIMIT " + (tree.row_limit ? rows(*tree.row_limit) : std::string("-1"));
    if (tree.row_offset)
        sql += " OFFSET " + rows(*tree.row_offset);
    return sql;
}

} // namespace sqlite_oci::sql
