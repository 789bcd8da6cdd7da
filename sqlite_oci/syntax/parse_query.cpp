// Queries.
#include "syntax/parser.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

bool is_join_word(const token &here)
{
    for (const char *word : {"JOIN", "INNER", "LEFT", "RIGHT", "FULL", "CROSS", "NATURAL", "ON", "USING"})
        if (here.is_word(word))
            return true;
    return false;
}

// Words behind a table or a select item that are no alias of it, although they may be names elsewhere.
bool is_clause_word(const token &here)
{
    for (const char *word : {"OFFSET", "FETCH", "WHEN", "RETURNING", "RETURN", "LOG", "LIMIT", "PIVOT",
                             "UNPIVOT", "SAMPLE", "PARTITION", "BULK", "MODEL", "WINDOW", "EXCEPT", "OUTER"})
        if (here.is_word(word))
            return true;
    return is_join_word(here);
}

} // namespace

// query [set operator query] ... [ORDER BY] [OFFSET] [FETCH]
query_ptr parser::parse_query()
{
    auto first = std::make_unique<query>();
    first->offset = peek().offset;
    std::vector<common_table> with;
    if (is_word("WITH")) {
        parse_with(*first);
        with = std::move(first->with);
    }
    auto result = parse_query_term();
    for (;;) {
        set_operator combine = set_operator::none;
        if (take_word("UNION"))
            combine = take_word("ALL") ? set_operator::union_all : set_operator::union_distinct;
        else if (take_word("INTERSECT"))
            combine = set_operator::intersect;
        else if (take_word("MINUS") || take_word("EXCEPT"))
            combine = set_operator::minus;
        else
            break;
        if (combine != set_operator::union_all && combine != set_operator::union_distinct && take_word("ALL"))
            fail_unserved(peek().offset, "INTERSECT ALL and MINUS ALL");
        take_word("DISTINCT");
        auto both = std::make_unique<query>();
        both->offset = result->offset;
        both->combine = combine;
        both->left = std::move(result);
        both->right = parse_query_term();
        result = std::move(both);
    }
    parse_order_and_limit(*result);
    if (!with.empty()) {
        if (!result->with.empty())
            fail_at(first->offset, 905, "WITH is given twice");
        result->with = std::move(with);
    }
    return result;
}

query_ptr parser::parse_query_term()
{
    if (is_word("VALUES"))
        return parse_values();
    if (!is_mark("("))
        return parse_select();
    if (++depth_ > 300)
        fail_here(913, "the statement nests too deep");
    next();
    auto inner = parse_query();
    expect_mark(")", 907);
    --depth_;
    return inner;
}

query_ptr parser::parse_values()
{
    auto made = std::make_unique<query>();
    made->offset = peek().offset;
    next();
    do {
        expect_mark("(");
        expressions row;
        do
            row.push_back(parse_expression());
        while (take_mark(","));
        expect_mark(")", 907);
        made->values.push_back(std::move(row));
    } while (take_mark(","));
    return made;
}

void parser::parse_with(query &into)
{
    expect_word("WITH");
    take_word("RECURSIVE");
    do {
        common_table one;
        one.alias = parse_name();
        if (is_mark("("))
            one.columns = parse_name_list();
        expect_word("AS");
        expect_mark("(");
        one.body = parse_query();
        expect_mark(")", 907);
        if (is_word("SEARCH") || is_word("CYCLE"))
            fail_unserved(peek().offset, "SEARCH and CYCLE of WITH");
        into.with.push_back(std::move(one));
    } while (take_mark(","));
}

std::vector<name> parser::parse_name_list()
{
    std::vector<name> result;
    expect_mark("(");
    do
        result.push_back(parse_name(904));
    while (take_mark(","));
    expect_mark(")", 907);
    return result;
}

query_ptr parser::parse_select()
{
    auto made = std::make_unique<query>();
    made->offset = peek().offset;
    if (!take_word("SELECT"))
        fail_here(928, "SELECT is missing");
    made->is_distinct = take_word("DISTINCT") || take_word("UNIQUE");
    if (!made->is_distinct)
        take_word("ALL");
    parse_select_list(*made);
    if (take_word("INTO")) {
        do {
            if (peek().kind != token_kind::placeholder)
                fail_here(1008, "INTO needs bind variables");
            made->into_placeholders.push_back({std::to_string(placeholder_index(peek())), peek().offset});
            next();
        } while (take_mark(","));
    }
    if (take_word("FROM"))
        made->from = parse_from();
    else if (peek().kind != token_kind::end && !is_mark(")") && !is_mark(";") && !is_word("UNION") &&
             !is_word("INTERSECT") && !is_word("MINUS") && !is_word("WHERE") && !is_word("ORDER") &&
             !is_word("EXCEPT"))
        fail_here(923, "FROM was expected");
    if (take_word("WHERE"))
        made->where = parse_condition();
    for (;;) {
        if (is_word("CONNECT") && is_word("BY", 1)) {
            take_words({"CONNECT", "BY"});
            take_word("NOCYCLE");
            made->connect_by = parse_condition();
        } else if (take_words({"START", "WITH"})) {
            made->start_with = parse_condition();
        } else {
            break;
        }
    }
    parse_group_by(*made);
    return made;
}

void parser::parse_group_by(query &into)
{
    if (take_word("GROUP")) {
        expect_word("BY", 924);
        into.is_grouped = true;
        for (const char *word : {"ROLLUP", "CUBE", "GROUPING"})
            if (is_word(word))
                fail_unserved(peek().offset, "ROLLUP, CUBE and GROUPING SETS");
        do {
            if (is_mark("(") && is_mark(")", 1))
                fail_unserved(peek().offset, "GROUP BY ()");
            auto one = parse_expression();
            if (one->kind == node::list)
                std::move(one->operands.begin(), one->operands.end(), std::back_inserter(into.group_by));
            else
                into.group_by.push_back(std::move(one));
        } while (take_mark(","));
    }
    if (take_word("HAVING"))
        into.having = parse_condition();
}

void parser::parse_select_list(query &into)
{
    do {
        select_item item;
        if (is_mark("*")) {
            item.value = make(node::star);
            next();
            item.value = finish(std::move(item.value));
        } else {
            item.value = parse_expression();
            if (is_condition(item.value->kind))
                fail_at(item.value->offset, 923, "a condition is no value");
            const bool has_as = take_word("AS");
            const token &here = peek();
            if (here.kind == token_kind::quoted_name ||
                (here.kind == token_kind::word && !is_reserved(here.text) &&
                 (has_as || !is_clause_word(here))))
                item.alias = parse_name();
            else if (has_as)
                fail_here(923, "a name is missing behind AS");
        }
        into.items.push_back(std::move(item));
    } while (take_mark(","));
}

std::vector<order_term> parser::parse_order_terms()
{
    std::vector<order_term> result;
    do {
        order_term term;
        term.by = parse_expression();
        if (take_word("DESC"))
            term.is_descending = true;
        else
            take_word("ASC");
        if (take_word("NULLS")) {
            term.has_nulls = true;
            term.nulls_first = is_word("FIRST");
            if (!take_word("FIRST"))
                expect_word("LAST");
        }
        result.push_back(std::move(term));
    } while (take_mark(","));
    return result;
}

void parser::parse_order_and_limit(query &into)
{
    if (is_word("ORDER")) {
        next();
        if (is_word("SIBLINGS"))
            fail_unserved(peek().offset, "ORDER SIBLINGS BY");
        expect_word("BY", 924);
        into.order_by = parse_order_terms();
    }
    if (take_word("OFFSET")) {
        into.row_offset = parse_expression();
        if (!take_word("ROWS"))
            expect_word("ROW");
    }
    if (!take_word("FETCH"))
        return;
    if (!take_word("FIRST"))
        expect_word("NEXT");
    if (is_word("ROW") || is_word("ROWS")) {
        into.row_limit = std::make_unique<expression>(node::number, peek().offset);
        into.row_limit->text = "1";
    } else {
        into.row_limit = parse_expression();
    }
    if (is_word("PERCENT"))
        fail_unserved(peek().offset, "FETCH ... PERCENT");
    if (!take_word("ROWS"))
        expect_word("ROW");
    if (is_word("WITH"))
        fail_unserved(peek().offset, "FETCH ... WITH TIES");
    expect_word("ONLY");
}

std::vector<table_reference> parser::parse_from()
{
    std::vector<table_reference> result;
    do {
        result.push_back(parse_table_reference());
        parse_joins(result);
    } while (take_mark(","));
    return result;
}

table_reference parser::parse_table_reference()
{
    table_reference made;
    made.offset = peek().offset;
    if (take_word("LATERAL"))
        fail_unserved(made.offset, "LATERAL");
    if (is_word("ONLY") && is_mark("(", 1))
        fail_unserved(made.offset, "ONLY");
    if (is_word("TABLE") && is_mark("(", 1))
        fail_unserved(made.offset, "TABLE(collection)");
    if (starts_query()) {
        expect_mark("(");
        made.subquery = parse_query();
        expect_mark(")", 907);
    } else if (take_mark("(")) {
        made.group.push_back(parse_table_reference());
        parse_joins(made.group);
        expect_mark(")", 907);
        return made;
    } else {
        made.table = parse_qualified_name(&made.schema);
        if (peek().kind == token_kind::bad && peek().text == "@")
            fail_unserved(peek().offset, "database links");
        if (is_mark("("))
            fail_unserved(made.offset, "table functions");
    }
    if (is_word("AS") && is_word("OF", 1))
        fail_unserved(peek().offset, "flashback queries");
    for (const char *word : {"SAMPLE", "PARTITION", "PIVOT", "UNPIVOT", "VERSIONS"})
        if (is_word(word) && (is_mark("(", 1) || is_word("BLOCK", 1)))
            fail_unserved(peek().offset, word);
    parse_alias(made);
    return made;
}

void parser::parse_alias(table_reference &of)
{
    const token &here = peek();
    if (here.kind == token_kind::quoted_name ||
        (here.kind == token_kind::word && !is_reserved(here.text) && !is_clause_word(here)))
        of.alias = parse_name();
}

bool parser::parse_join_kind(table_reference &joined)
{
    joined.is_natural = take_word("NATURAL");
    if (take_word("CROSS")) {
        joined.join = join_kind::cross;
        if (is_word("APPLY"))
            fail_unserved(peek().offset, "CROSS APPLY");
        expect_word("JOIN");
        return true;
    }
    joined.join = join_kind::inner;
    const bool is_outer = is_word("LEFT") || is_word("RIGHT") || is_word("FULL");
    if (is_outer) {
        const std::string &side = next().text;
        joined.join = side == "LEFT" ? join_kind::left : side == "RIGHT" ? join_kind::right : join_kind::full;
        take_word("OUTER");
    }
    const bool is_inner = take_word("INNER");
    if (take_word("JOIN"))
        return true;
    if (is_outer || is_inner || joined.is_natural)
        fail_here(905, "JOIN is missing");
    return false;
}

void parser::parse_joins(std::vector<table_reference> &into)
{
    for (;;) {
        table_reference kind;
        if (!parse_join_kind(kind))
            return;
        table_reference joined = parse_table_reference();
        joined.join = kind.join;
        joined.is_natural = kind.is_natural;
        if (!joined.is_natural && joined.join != join_kind::cross) {
            if (take_word("ON"))
                joined.on = parse_condition();
            else if (take_word("USING"))
                joined.join_columns = parse_name_list();
            else
                fail_here(905, "ON or USING is missing");
        }
        into.push_back(std::move(joined));
    }
}

// FOR UPDATE [OF column, ...] [NOWAIT | WAIT seconds]
lock_clause parser::parse_lock_clause()
{
    lock_clause result;
    if (!is_word("FOR"))
        return result;
    next();
    expect_word("UPDATE");
    result.is_there = true;
    if (take_word("OF"))
        do
            result.columns.push_back(parse_column());
        while (take_mark(","));
    if (take_word("NOWAIT"))
        result.wait_seconds = 0;
    else if (take_word("WAIT"))
        result.wait_seconds = std::atoi(parse_number_text().c_str());
    else if (is_word("SKIP"))
        fail_unserved(peek().offset, "FOR UPDATE SKIP LOCKED");
    return result;
}

} // namespace sqlite_oci::sql
