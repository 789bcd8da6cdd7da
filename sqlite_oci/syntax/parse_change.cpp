// INSERT, UPDATE, DELETE and MERGE.
#include "syntax/parser.h"

namespace sqlite_oci::sql
{

table_reference parser::parse_target()
{
    table_reference made;
    made.offset = peek().offset;
    if (is_mark("("))
        fail_unserved(made.offset, "changes of a subquery");
    made.table = parse_qualified_name(&made.schema);
    if (is_word("SET") || is_word("VALUES"))
        return made;
    parse_alias(made);
    return made;
}

returning_clause parser::parse_returning()
{
    returning_clause made;
    if (is_word("LOG"))
        fail_unserved(peek().offset, "LOG ERRORS");
    if (!take_word("RETURNING") && !take_word("RETURN"))
        return made;
    do
        made.values.push_back(parse_expression());
    while (take_mark(","));
    expect_word("INTO", 925);
    do {
        if (peek().kind != token_kind::placeholder)
            fail_here(1008, "INTO needs bind variables");
        made.into.push_back(placeholder_index(peek()));
        next();
    } while (take_mark(","));
    if (made.into.size() != made.values.size())
        fail_here(made.into.size() < made.values.size() ? 947 : 913,
                  "RETURNING and INTO have different numbers of values");
    return made;
}

insert_statement parser::parse_insert()
{
    insert_statement made;
    expect_word("INSERT");
    if (is_word("ALL") || is_word("FIRST"))
        fail_unserved(peek().offset, "INSERT into several tables");
    expect_word("INTO", 925);
    made.table = parse_target();
    if (is_mark("(") && !starts_query())
        made.columns = parse_name_list();
    if (!is_word("VALUES") && !starts_query())
        fail_here(926, "VALUES is missing");
    made.source = parse_query();
    made.returning = parse_returning();
    return made;
}

std::vector<assignment> parser::parse_assignments()
{
    std::vector<assignment> result;
    expect_word("SET", 971);
    do {
        assignment one;
        const bool is_list = is_mark("(");
        if (is_list) {
            one.columns = parse_name_list();
        } else {
            one.columns.push_back(parse_name(904));
            while (take_mark(".")) // behind the table's name
                one.columns.front() = parse_name(904);
        }
        expect_mark("=");
        one.value = parse_expression();
        if (is_list && one.value->kind != node::subquery)
            fail_at(one.value->offset, 1767, "a list of columns is set from a subquery");
        result.push_back(std::move(one));
    } while (take_mark(","));
    return result;
}

update_statement parser::parse_update()
{
    update_statement made;
    expect_word("UPDATE");
    made.table = parse_target();
    made.set = parse_assignments();
    if (is_word("FROM"))
        fail_here(933, "an UPDATE has no FROM");
    if (take_word("WHERE"))
        made.where = parse_condition();
    made.returning = parse_returning();
    return made;
}

delete_statement parser::parse_delete()
{
    delete_statement made;
    expect_word("DELETE");
    take_word("FROM");
    made.table = parse_target();
    if (take_word("WHERE"))
        made.where = parse_condition();
    made.returning = parse_returning();
    return made;
}

merge_statement parser::parse_merge()
{
    merge_statement made;
    expect_word("MERGE");
    expect_word("INTO", 925);
    made.into = parse_target();
    expect_word("USING");
    made.source = parse_table_reference();
    expect_word("ON", 969);
    made.on = parse_condition();
    while (take_word("WHEN")) {
        const bool is_new = take_word("NOT");
        expect_word("MATCHED");
        expect_word("THEN");
        if (is_new) {
            made.has_insert = true;
            made.insert_offset = peek().offset;
            expect_word("INSERT");
            if (is_mark("("))
                made.columns = parse_name_list();
            expect_word("VALUES", 926);
            expect_mark("(");
            do
                made.values.push_back(parse_expression());
            while (take_mark(","));
            expect_mark(")", 907);
            if (take_word("WHERE"))
                made.insert_where = parse_condition();
            continue;
        }
        made.has_update = true;
        expect_word("UPDATE");
        made.set = parse_assignments();
        if (take_word("WHERE"))
            made.update_where = parse_condition();
        if (take_words({"DELETE", "WHERE"}))
            made.delete_where = parse_condition();
    }
    if (!made.has_update && !made.has_insert)
        fail_here(905, "WHEN is missing");
    return made;
}

} // namespace sqlite_oci::sql
