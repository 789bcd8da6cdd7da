// CREATE TABLE, VIEW, INDEX and SEQUENCE, and ALTER TABLE, each behind its first words.
#include "syntax/parser.h"

#include <algorithm>

namespace sqlite_oci::sql
{

// A type in the words of the statement: "VARCHAR2(20 CHAR)", "TIMESTAMP(3) WITH TIME ZONE".
std::string parser::parse_type()
{
    const std::size_t first = at_;
    if (peek().kind == token_kind::quoted_name) // a type that SQLite's grammar cannot write
        return next().text;
    if (peek().kind != token_kind::word)
        fail_here(902, "a type is missing");
    const auto take_parentheses = [&] {
        if (!take_mark("("))
            return;
        while (!is_mark(")")) {
            if (is_at_end())
                fail_here(907, "a right parenthesis is missing");
            next();
        }
        next();
    };
    next();
    // The words that go on with a type of several words.
    constexpr std::string_view more[] = {"VARYING", "PRECISION", "CHARACTER", "CHAR", "VARCHAR", "LARGE",
                                         "OBJECT",  "BIG",       "INT",       "RAW",  "LOCAL",   "TIME",
                                         "ZONE",    "YEAR",      "MONTH",     "DAY",  "SECOND",  "TO"};
    for (;;) {
        take_parentheses();
        const bool goes_on = std::any_of(std::begin(more), std::end(more),
                                         [&](std::string_view word) { return is_word(word); });
        const bool has_zone = is_word("WITH") && (is_word("TIME", 1) || is_word("LOCAL", 1));
        if (!goes_on && !has_zone)
            break;
        next();
    }
    return std::string(text_between(first, at_));
}

bool parser::take_sequence_option(sequence_options &options)
{
    if (take_words({"START", "WITH"}))
        options.start = parse_number_text();
    else if (take_words({"INCREMENT", "BY"}))
        options.increment = parse_number_text();
    else if (take_word("MINVALUE"))
        options.minimum = parse_number_text();
    else if (take_word("MAXVALUE"))
        options.maximum = parse_number_text();
    else if (take_word("NOMINVALUE"))
        options.no_minimum = true;
    else if (take_word("NOMAXVALUE"))
        options.no_maximum = true;
    else if (take_word("CYCLE"))
        options.cycle = 1;
    else if (take_word("NOCYCLE"))
        options.cycle = 0;
    else if (take_word("CACHE"))
        parse_number_text();
    else
        return take_word("NOCACHE") || take_word("ORDER") || take_word("NOORDER") || take_word("KEEP") ||
               take_word("NOKEEP");
    return true;
}

identity_definition parser::parse_identity()
{
    identity_definition made;
    made.is_there = true;
    if (take_mark("(")) {
        while (take_sequence_option(made.options))
            continue;
        expect_mark(")", 907);
    }
    return made;
}

// No is_deferred: the constraint cannot be checked later.
void parser::parse_constraint_state(bool *is_deferred)
{
    for (;;) {
        if (is_word("INITIALLY") && is_word("DEFERRED", 1)) {
            if (!is_deferred)
                fail_unserved(peek().offset, "INITIALLY DEFERRED, but for foreign keys");
            *is_deferred = take_words({"INITIALLY", "DEFERRED"});
            continue;
        }
        if (take_words({"INITIALLY", "IMMEDIATE"}) || take_word("DEFERRABLE") ||
            take_words({"NOT", "DEFERRABLE"}) || take_word("ENABLE") || take_word("VALIDATE") ||
            take_word("RELY") || take_word("NORELY"))
            continue;
        if (is_word("DISABLE") || is_word("NOVALIDATE"))
            fail_unserved(peek().offset, "constraints that are not in force");
        if (!take_words({"USING", "INDEX"}))
            return;
        if (is_mark("("))
            fail_unserved(peek().offset, "USING INDEX (...)");
        if (!is_word("TABLESPACE") && peek().kind == token_kind::word && !is_reserved(peek().text))
            next();
        skip_storage_clauses();
    }
}

void parser::parse_references(foreign_key &into)
{
    expect_word("REFERENCES");
    into.table = parse_qualified_name(&into.schema);
    if (is_mark("("))
        into.referenced = parse_name_list();
    if (take_words({"ON", "DELETE"})) {
        if (take_word("CASCADE"))
            into.on_delete = "CASCADE";
        else if (take_words({"SET", "NULL"}))
            into.on_delete = "SET NULL";
        else
            fail_here(905, "CASCADE or SET NULL is missing");
    }
    parse_constraint_state(&into.is_deferred);
}

bool parser::parse_column_constraint(column_definition &column, name constraint_name)
{
    if (is_word("NOT") || is_word("NULL")) {
        column.not_null = take_word("NOT") ? 1 : 0;
        column.not_null_constraint = constraint_name;
        if (!take_word("NULL"))
            fail_here(908, "NULL is missing");
    } else if (is_word("PRIMARY") || is_word("UNIQUE")) {
        key_constraint key{std::move(constraint_name), is_word("PRIMARY"), {column.column}};
        next();
        if (key.is_primary)
            expect_word("KEY");
        column.keys.push_back(std::move(key));
    } else if (take_word("CHECK")) {
        expect_mark("(");
        column.checks.push_back({std::move(constraint_name), parse_condition()});
        expect_mark(")", 907);
    } else if (is_word("REFERENCES")) {
        foreign_key key;
        key.constraint = std::move(constraint_name);
        key.columns.push_back(column.column);
        parse_references(key);
        column.references.push_back(std::move(key));
    } else {
        return false;
    }
    parse_constraint_state();
    return true;
}

void parser::parse_column_tail(column_definition &column)
{
    for (;;) {
        if (take_word("DEFAULT")) {
            if (is_word("ON"))
                fail_unserved(peek().offset, "DEFAULT ON NULL");
            const std::size_t first = at_;
            column.default_value = parse_expression();
            column.default_text = text_between(first, at_);
        } else if (is_word("GENERATED") || (is_word("AS") && is_mark("(", 1))) {
            const bool is_always = !take_word("GENERATED") || !take_words({"BY", "DEFAULT"});
            take_word("ALWAYS");
            const bool on_null = take_words({"ON", "NULL"});
            expect_word("AS");
            if (take_word("IDENTITY")) {
                column.identity = parse_identity();
                column.identity.is_always = is_always;
                column.identity.on_null = on_null;
                continue;
            }
            expect_mark("(");
            column.virtual_value = parse_expression();
            expect_mark(")", 907);
            take_word("VIRTUAL");
        } else {
            name constraint_name;
            if (take_word("CONSTRAINT"))
                constraint_name = parse_name(2250);
            const bool is_named = static_cast<bool>(constraint_name);
            if (parse_column_constraint(column, std::move(constraint_name)))
                continue;
            if (is_named)
                fail_here(2253, "a constraint is missing");
            return;
        }
    }
}

column_definition parser::parse_column_definition()
{
    column_definition made;
    made.column = parse_name(904);
    made.type_offset = peek().offset;
    const bool has_type =
        peek().kind == token_kind::quoted_name ||
        (peek().kind == token_kind::word && !is_word("DEFAULT") && !is_word("NOT") && !is_word("NULL") &&
         !is_word("PRIMARY") && !is_word("UNIQUE") && !is_word("CHECK") && !is_word("REFERENCES") &&
         !is_word("CONSTRAINT") && !is_word("GENERATED") && !is_word("AS"));
    if (has_type)
        made.type = parse_type();
    parse_column_tail(made);
    return made;
}

bool parser::parse_table_constraint(create_table_statement &into)
{
    const bool is_named = is_word("CONSTRAINT");
    const bool is_key = is_word("PRIMARY") || is_word("UNIQUE");
    if (!is_named && !(is_key && (is_word("KEY", 1) || is_mark("(", 1))) &&
        !(is_word("FOREIGN") && is_word("KEY", 1)) && !(is_word("CHECK") && is_mark("(", 1)))
        return false;
    name constraint_name;
    if (take_word("CONSTRAINT"))
        constraint_name = parse_name(2250);
    if (is_word("PRIMARY") || is_word("UNIQUE")) {
        key_constraint key{std::move(constraint_name), is_word("PRIMARY"), {}};
        next();
        if (key.is_primary)
            expect_word("KEY");
        key.columns = parse_name_list();
        into.keys.push_back(std::move(key));
    } else if (take_words({"FOREIGN", "KEY"})) {
        foreign_key key;
        key.constraint = std::move(constraint_name);
        key.columns = parse_name_list();
        parse_references(key);
        into.references.push_back(std::move(key));
    } else if (take_word("CHECK")) {
        expect_mark("(");
        into.checks.push_back({std::move(constraint_name), parse_condition()});
        expect_mark(")", 907);
    } else {
        fail_here(904, "a constraint is missing");
    }
    parse_constraint_state();
    return true;
}

// What says only where and how a server keeps a table.
void parser::skip_storage_clauses()
{
    for (;;) {
        if (take_word("TABLESPACE")) {
            parse_name();
        } else if (take_word("PCTFREE") || take_word("PCTUSED") || take_word("INITRANS") ||
                   take_word("MAXTRANS")) {
            parse_number_text();
        } else if (take_word("STORAGE")) {
            expect_mark("(");
            while (!is_mark(")") && !is_at_end())
                next();
            expect_mark(")", 907);
        } else if (take_words({"ORGANIZATION", "INDEX"}) || take_words({"ORGANIZATION", "HEAP"}) ||
                   take_words({"ROW", "STORE", "COMPRESS"}) || take_words({"SEGMENT", "CREATION"})) {
            if (!take_word("IMMEDIATE"))
                take_word("DEFERRED");
        } else if (!take_word("LOGGING") && !take_word("NOLOGGING") && !take_word("COMPRESS") &&
                   !take_word("NOCOMPRESS") && !take_word("CACHE") && !take_word("NOCACHE") &&
                   !take_word("PARALLEL") && !take_word("NOPARALLEL") && !take_word("MONITORING")) {
            return;
        }
    }
}

create_table_statement parser::parse_create_table()
{
    create_table_statement made;
    made.table = parse_qualified_name(&made.schema);
    if (is_mark("(")) {
        next();
        do
            if (!parse_table_constraint(made))
                made.columns.push_back(parse_column_definition());
        while (take_mark(","));
        expect_mark(")", 907);
    } else if (!is_word("AS") && !is_word("TABLESPACE")) {
        fail_here(is_at_end() ? 906 : 922, "columns are missing");
    }
    skip_storage_clauses();
    if (take_word("AS"))
        made.source = parse_query();
    return made;
}

create_view_statement parser::parse_create_view()
{
    create_view_statement made;
    made.view = parse_qualified_name(&made.schema);
    if (is_mark("("))
        made.columns = parse_name_list();
    expect_word("AS");
    const std::size_t first = at_;
    made.body = parse_query();
    made.text = text_between(first, at_);
    if (is_word("WITH") && is_word("CHECK", 1))
        fail_unserved(peek().offset, "WITH CHECK OPTION");
    take_words({"WITH", "READ", "ONLY"});
    return made;
}

create_index_statement parser::parse_create_index()
{
    create_index_statement made;
    name ignored;
    made.index = parse_qualified_name(&ignored);
    expect_word("ON", 969);
    made.table = parse_qualified_name(&made.schema);
    expect_mark("(");
    made.terms = parse_order_terms();
    expect_mark(")", 907);
    for (;;) {
        skip_storage_clauses();
        if (!take_word("ONLINE") && !take_word("REVERSE") && !take_words({"COMPUTE", "STATISTICS"}))
            break;
    }
    return made;
}

alter_table_statement parser::parse_alter_table()
{
    using action = alter_table_statement::action;
    alter_table_statement made;
    made.table = parse_qualified_name(&made.schema);
    if (take_words({"RENAME", "TO"})) {
        made.does = action::rename_table;
        made.names = {parse_name()};
    } else if (take_words({"RENAME", "COLUMN"})) {
        made.does = action::rename_column;
        made.names.push_back(parse_name(904));
        expect_word("TO");
        made.names.push_back(parse_name(904));
    } else if (take_words({"DROP", "COLUMN"})) {
        made.does = action::drop_columns;
        made.names = {parse_name(904)};
    } else if (is_word("DROP") && is_mark("(", 1)) {
        next();
        made.does = action::drop_columns;
        made.names = parse_name_list();
    } else if (is_word("ADD") || is_word("MODIFY")) {
        made.does = next().text == "ADD" ? action::add : action::modify;
        take_word("COLUMN");
        const bool is_list = take_mark("(");
        do
            if (!parse_table_constraint(made.constraints))
                made.columns.push_back(parse_column_definition());
        while (is_list && take_mark(","));
        if (is_list)
            expect_mark(")", 907);
    } else {
        fail_unserved(peek().offset, "this change of a table");
    }
    take_words({"CASCADE", "CONSTRAINTS"});
    return made;
}

sequence_statement parser::parse_sequence()
{
    sequence_statement made;
    made.sequence = parse_qualified_name(&made.schema);
    while (take_sequence_option(made.options))
        continue;
    return made;
}

} // namespace sqlite_oci::sql
