// Whole statements, by their first words.
#include "functions/sequences.h"
#include "translation/translator.h"

namespace sqlite_oci::sql
{

translator::translator(const translation_input &input) : input_(input)
{
    std::size_t placeholders = 0;
    for (const token &one : input.tokens)
        placeholders += one.kind == token_kind::placeholder;
    result_.binds.resize(placeholders);
    outermost_.forbids_groups = true;
    outermost_.forbids_row_number = true;
    result_.schema_version = input.in.refresh();
    result_.settings_version = input.settings.version;
}

translation translate(const translation_input &input)
{
    return translator(input).run();
}

translated_step &translator::add_step(std::string sql)
{
    result_.steps.emplace_back();
    result_.steps.back().sql = std::move(sql);
    return result_.steps.back();
}

translation translator::run()
{
    parser from(input_.text, input_.tokens);
    run_statement(from);
    from.expect_end();
    return std::move(result_);
}

void translator::run_statement(parser &from)
{
    if (from.is_at_end())
        from.fail_here(900, "there is no SQL statement in the text");
    if (from.is_word("SELECT") || from.is_word("WITH") || from.is_mark("(") || from.is_word("VALUES"))
        return run_query(from);
    if (run_change(from))
        return;
    if (from.take_word("CREATE"))
        return run_create(from);
    if (from.take_word("ALTER"))
        return run_alter(from);
    if (from.take_word("DROP"))
        return run_drop(from);
    if (from.take_words({"TRUNCATE", "TABLE"}))
        return run_truncate(from);
    if (from.take_word("RENAME"))
        return run_rename(from);
    if (from.is_word("BEGIN") || from.is_word("DECLARE") || from.is_word("CALL"))
        return run_block(from);
    if (from.take_words({"SET", "TRANSACTION"}))
        return run_set_transaction(from);
    if (from.is_word("SAVEPOINT") || from.is_word("ROLLBACK") || from.is_word("RELEASE"))
        return run_savepoint(from);
    if (from.take_words({"LOCK", "TABLE"}))
        return run_lock(from);
    if (from.take_word("EXPLAIN"))
        return run_explain(from);
    for (const char *word :
         {"GRANT", "REVOKE", "COMMENT", "ANALYZE", "PURGE", "FLASHBACK", "AUDIT", "NOAUDIT", "SET"})
        if (from.is_word(word))
            fail_unserved(from.peek().offset, word);
    from.fail_here(900, "this is no SQL statement");
}

void translator::run_query(parser &from)
{
    const query_ptr tree = from.parse_query();
    const lock_clause lock = from.parse_lock_clause();
    if (!tree->into_placeholders.empty())
        fail_at(tree->into_placeholders[0].offset, 1744, "INTO stands in a block only");
    result_.locks_rows = lock.is_there;
    result_.wait_seconds = lock.wait_seconds;
    add_query_step(*tree, lock.is_there);
    if (lock.is_there && !result_.cursors.empty())
        fail_at(tree->offset, 2014, "FOR UPDATE cannot stand in a query with CURSOR(...)");
}

// The query of a statement or a cursor.
void translator::add_query_step(query &tree, bool is_locking)
{
    top_ = &tree;
    translated_query query = query_of(tree, nullptr, is_locking);
    top_ = nullptr;
    result_.given_columns = query.given;
    bool has_row_id = false;
    std::string names, list;
    for (std::size_t i = 0; i < query.columns.size(); ++i) {
        const output_column &column = query.columns[i];
        const std::string engine = "c" + std::to_string(i + 1);
        const bool is_row_id = column.type.type == SQLT_RDD;
        has_row_id = has_row_id || is_row_id;
        names += (i ? ", " : "") + engine;
        list += (i ? ", " : "") + (is_row_id ? "oci_row_id_text(" + engine + ")" : engine);
        result_.columns.push_back({column.name, column.type, column.is_nullable});
    }
    for (std::size_t i = 0; i < query.given; ++i) {
        const std::string engine = ", given" + std::to_string(i + 1);
        names += engine;
        list += engine;
    }
    translated_step &step = add_step(std::move(query.sql));
    step.with_row_id = std::move(query.with_row_id);
    if (has_row_id) {
        if (!step.with_row_id.empty())
            step.with_row_id = "WITH result(" + names + ", id) AS (" + step.with_row_id + ") SELECT " + list +
                               ", id FROM result";
        step.sql = "WITH result(" + names + ") AS (" + step.sql + ") SELECT " + list + " FROM result";
    }
}

// False if the statement is none of them.
bool translator::run_change(parser &from)
{
    if (from.is_word("INSERT")) {
        insert_statement tree = from.parse_insert();
        run_insert(tree);
    } else if (from.is_word("UPDATE")) {
        update_statement tree = from.parse_update();
        run_update(tree);
    } else if (from.is_word("DELETE")) {
        delete_statement tree = from.parse_delete();
        run_delete(tree);
    } else if (from.is_word("MERGE")) {
        merge_statement tree = from.parse_merge();
        run_merge(tree);
    } else {
        return false;
    }
    return true;
}

void translator::run_create(parser &from)
{
    const std::size_t offset = from.peek().offset;
    const bool or_replace = from.take_words({"OR", "REPLACE"});
    from.take_words({"NO", "FORCE"}) || from.take_word("FORCE") || from.take_words({"EDITIONABLE"});
    if (from.take_word("VIEW")) {
        create_view_statement tree = from.parse_create_view();
        tree.or_replace = or_replace;
        return run_create_view(tree);
    }
    if (or_replace)
        fail_unserved(offset, "CREATE OR REPLACE, but for views");
    if (from.take_word("TABLE")) {
        create_table_statement tree = from.parse_create_table();
        return run_create_table(tree);
    }
    const bool is_unique = from.take_word("UNIQUE");
    if (from.take_word("INDEX")) {
        create_index_statement tree = from.parse_create_index();
        tree.is_unique = is_unique;
        return run_create_index(tree);
    }
    if (from.take_word("SEQUENCE"))
        return run_create_sequence(from.parse_sequence());
    for (const char *word :
         {"GLOBAL",    "PRIVATE",    "TRIGGER",      "FUNCTION", "PROCEDURE", "PACKAGE",   "TYPE",
          "SYNONYM",   "PUBLIC",     "MATERIALIZED", "USER",     "ROLE",      "DATABASE",  "BITMAP",
          "DIRECTORY", "TABLESPACE", "CLUSTER",      "CONTEXT",  "TEMP",      "TEMPORARY", "VIRTUAL"})
        if (from.is_word(word))
            fail_unserved(offset, ("CREATE " + std::string(word)).c_str());
    from.fail_here(901, "invalid CREATE command");
}

void translator::run_alter(parser &from)
{
    if (from.take_word("SESSION"))
        return run_alter_session(from);
    if (from.take_word("TABLE")) {
        alter_table_statement tree = from.parse_alter_table();
        return run_alter_table(tree);
    }
    if (from.take_word("SEQUENCE"))
        return run_alter_sequence(from.parse_sequence());
    fail_unserved(from.peek().offset, "this ALTER");
}

// ALTER SESSION SET name = value ...
void translator::run_alter_session(parser &from)
{
    from.expect_word("SET", 922);
    result_.does = effect::set_session;
    do {
        const token setting = from.next();
        from.expect_mark("=");
        const token value = from.next();
        if (setting.kind != token_kind::word || value.kind == token_kind::end)
            fail_at(setting.offset, 2248, "invalid option for ALTER SESSION");
        session_settings probe = input_.settings;
        if (const int code = probe.set(setting.text, value.text))
            fail_at(setting.offset, code, "ALTER SESSION SET %.100s: not served, or not with this value",
                    setting.text.c_str());
        result_.session_values.emplace_back(setting.text, value.text);
    } while (!from.is_at_end() && from.peek().kind == token_kind::word);
}

void translator::run_drop(parser &from)
{
    name schema;
    const auto drop = [&](const char *type, const char *words, int missing) {
        const name what = from.parse_qualified_name(&schema);
        const schema_entry entry = input_.in.find_entry(what.text);
        if (entry.type != type)
            fail_at(what.offset, missing, "%s \"%s\" does not exist", type, what.text.c_str());
        from.take_words({"CASCADE", "CONSTRAINTS"});
        from.take_word("PURGE");
        add_step(words + quoted_name(entry.name));
        return what.text;
    };
    if (from.take_word("TABLE")) {
        const std::string table = drop("table", "DROP TABLE ", 942);
        if (has_sequences(input_.in.db()))
            add_step(drop_identities_sql(table));
    } else if (from.take_word("VIEW")) {
        drop("view", "DROP VIEW ", 942);
    } else if (from.take_word("INDEX")) {
        drop("index", "DROP INDEX ", 1418);
    } else if (from.take_word("TRIGGER")) {
        drop("trigger", "DROP TRIGGER ", 4080);
    } else if (from.take_word("SEQUENCE")) {
        const name what = from.parse_qualified_name(&schema);
        if (!has_sequence(input_.in.db(), what.text))
            fail_at(what.offset, 2289, "sequence \"%s\" does not exist", what.text.c_str());
        add_step(drop_sequence_sql(what.text));
    } else {
        fail_unserved(from.peek().offset, "this DROP");
    }
}

void translator::run_truncate(parser &from)
{
    name schema;
    const name what = from.parse_qualified_name(&schema);
    const table_info &table = own_table(schema, what);
    from.take_words({"DROP", "STORAGE"}) || from.take_words({"REUSE", "STORAGE"});
    add_step("DELETE FROM " + quoted_name(table.engine_name));
}

void translator::run_rename(parser &from)
{
    const name old = from.parse_name();
    from.expect_word("TO");
    const table_info &table = own_table({}, old);
    add_step("ALTER TABLE " + quoted_name(table.engine_name) + " RENAME TO " +
             quoted_name(from.parse_name().text));
}

void translator::run_set_transaction(parser &from)
{
    result_.does = effect::nothing;
    if (from.take_words({"READ", "ONLY"}))
        result_.does = effect::begin_read_only;
    else if (from.take_words({"ISOLATION", "LEVEL", "SERIALIZABLE"}))
        result_.does = effect::begin_serializable;
    else if (!from.take_words({"READ", "WRITE"}) &&
             !from.take_words({"ISOLATION", "LEVEL", "READ", "COMMITTED"}) && !from.is_word("NAME"))
        from.fail_here(900, "not a transaction's property");
    if (from.take_word("NAME"))
        from.next();
}

void translator::run_savepoint(parser &from)
{
    const bool is_rollback = from.take_word("ROLLBACK");
    if (is_rollback) {
        from.take_word("WORK");
        from.expect_word("TO");
        from.take_word("SAVEPOINT");
    } else if (!from.take_word("SAVEPOINT")) {
        from.fail_here(900, "this is no SQL statement");
    }
    add_step((is_rollback ? "ROLLBACK TO " : "SAVEPOINT ") + quoted_name(from.parse_name(3001).text));
}

void translator::run_lock(parser &from)
{
    result_.does = effect::lock_table;
    do {
        name schema;
        const name what = from.parse_qualified_name(&schema);
        own_table(schema, what);
    } while (from.take_mark(","));
    from.expect_word("IN");
    while (!from.is_word("MODE") && !from.is_at_end())
        from.next();
    from.expect_word("MODE");
    if (from.take_word("NOWAIT"))
        result_.wait_seconds = 0;
    else if (from.take_word("WAIT"))
        result_.wait_seconds = std::atoi(from.parse_number_text().c_str());
}

// SQLite's EXPLAIN QUERY PLAN, for those who look for a missing index.
void translator::run_explain(parser &from)
{
    if (!from.take_words({"QUERY", "PLAN"}))
        fail_unserved(from.peek().offset, "EXPLAIN PLAN; EXPLAIN QUERY PLAN shows SQLite's");
    if (from.is_word("SELECT") || from.is_word("WITH"))
        run_query(from);
    else if (!run_change(from))
        from.fail_here(905, "a query or a change is missing");
    if (result_.steps.size() != 1)
        fail_unserved(from.peek().offset, "the plan of a statement in several steps");
    result_.steps[0].sql.insert(0, "EXPLAIN QUERY PLAN ");
    result_.steps[0].with_row_id.clear();
    result_.locks_rows = false;
    result_.cursors.clear();
    result_.given_columns = 0;
    result_.columns = {{"ID", any_number, true},
                       {"PARENT", any_number, true},
                       {"NOTUSED", any_number, true},
                       {"DETAIL", any_text, true}};
}

// --- BEGIN ... END

void translator::run_block(parser &from)
{
    if (!from.take_word("BEGIN"))
        fail_unserved(from.peek().offset, "PL/SQL, but for BEGIN and END around SQL statements");
    do {
        run_block_statement(from);
        if (!from.take_mark(";"))
            fail_unserved(from.peek().offset, "PL/SQL, but for BEGIN and END around SQL statements");
    } while (!from.is_word("END"));
    from.next();
    if (!from.take_mark(";"))
        fail_at(from.peek().offset, 6550, "; is missing behind END");
}

void translator::run_block_statement(parser &from)
{
    if (from.take_word("NULL"))
        return;
    if (from.peek().kind == token_kind::placeholder && from.is_mark(":=", 1))
        return run_assignment(from);
    if (from.is_word("SELECT") || from.is_word("WITH")) {
        const query_ptr tree = from.parse_query();
        const translated_query query = query_of(*tree);
        if (tree->into_placeholders.size() != query.columns.size())
            fail_at(tree->offset, tree->into_placeholders.empty() ? 6550 : 947,
                    "INTO must name a bind variable for each of %zu columns", query.columns.size());
        translated_step &step = add_step(query.sql);
        step.needs_row = true;
        step.counts_rows = false;
        for (std::size_t i = 0; i < query.columns.size(); ++i)
            step.outputs.push_back({static_cast<std::size_t>(std::stoull(tree->into_placeholders[i].text)),
                                    {"", query.columns[i].type, true}});
        return;
    }
    if (run_change(from))
        return;
    if (from.take_word("COMMIT")) {
        from.take_word("WORK");
        add_step("").commits = true;
    } else if (from.is_word("SAVEPOINT") || (from.is_word("ROLLBACK") && from.is_word("TO", 1))) {
        run_savepoint(from);
    } else if (from.take_word("ROLLBACK")) {
        from.take_word("WORK");
        add_step("").rolls_back = true;
    } else {
        fail_unserved(from.peek().offset, "PL/SQL, but for BEGIN and END around SQL statements");
    }
}

// :variable := expression
void translator::run_assignment(parser &from)
{
    const std::size_t placeholder = from.placeholder_index(from.peek());
    from.next();
    from.next();
    const expression_ptr tree = from.parse_expression();
    const typed_sql value = value_of(*tree);
    translated_step &step = add_step("SELECT " + value.sql);
    step.counts_rows = false;
    step.outputs.push_back({placeholder, {"", value.type, true}});
}

} // namespace sqlite_oci::sql
