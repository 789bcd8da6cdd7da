// CREATE, ALTER, DROP and TRUNCATE.
#include "functions/sequences.h"
#include "translation/translator.h"

namespace sqlite_oci::sql
{
namespace
{

std::string constraint_start(const name &constraint)
{
    return constraint ? " CONSTRAINT " + quoted_name(constraint.text) : "";
}

std::string name_list(const std::vector<name> &names)
{
    std::string sql;
    for (const name &one : names)
        sql += (sql.empty() ? "" : ", ") + quoted_name(one.text);
    return "(" + sql + ")";
}

// A type as SQLite's schema keeps it. SQLite takes from its words how to store values: a LONG must read as a
// text, and a FLOAT, which is a decimal number, must not read as a real.
std::string storage_type(const declared_type &type)
{
    if (type.type == SQLT_LNG)
        return "LONG VARCHAR";
    if (type.type == SQLT_NUM && type.scale == no_scale && type.precision > 0)
        return "NUMBER(" + std::to_string(type.precision) + ", -127)";
    const std::string text = declared_type_text(type);
    const bool is_plain =
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789(), ") == std::string::npos &&
        text.find(" CHAR)") == std::string::npos && text.find(") ") == std::string::npos &&
        text.find(" TO ") == std::string::npos && text.find(" WITH ") == std::string::npos;
    return is_plain ? text : quoted_name(text);
}

} // namespace

const table_info &translator::own_table(const name &schema, const name &table)
{
    const table_info &found = table_of(schema, table);
    if (found.is_view || found.name == "DUAL")
        fail_at(table.offset, 942, "table \"%s\" does not exist", table.text.c_str());
    return found;
}

// --- CREATE TABLE

std::string translator::key_text(const key_constraint &key) const
{
    return constraint_start(key.constraint) + (key.is_primary ? " PRIMARY KEY " : " UNIQUE ") +
           name_list(key.columns);
}

std::string translator::reference_text(const foreign_key &key)
{
    std::string sql = " REFERENCES " + quoted_name(key.table.text);
    if (!key.referenced.empty())
        sql += " " + name_list(key.referenced);
    if (!key.on_delete.empty())
        sql += " ON DELETE " + key.on_delete;
    if (key.is_deferred)
        sql += " DEFERRABLE INITIALLY DEFERRED";
    return sql;
}

std::string translator::check_text(check_constraint &check)
{
    scope_->forbids_groups = true;
    scope_->forbids_row_number = true;
    return constraint_start(check.constraint) + " CHECK (" + condition_of(*check.condition) + ")";
}

std::string translator::default_text(column_definition &column, const column_info &info,
                                     const std::string &table)
{
    if (column.identity.is_there) {
        const std::string sequence = identity_sequence(table, info.name);
        add_step(add_sequence(sequence, column.identity.options, column.type_offset));
        return " NOT NULL DEFAULT (oci_nextval(" + quoted_text(sequence) +
               (column.identity.is_always ? std::string(always_identity) : ")") + ")";
    }
    if (!column.default_value)
        return "";
    scope empty;
    scope *const here = scope_;
    scope_ = &empty;
    empty.forbids_groups = true;
    empty.forbids_row_number = true;
    const typed_sql value =
        stored(value_of(*column.default_value), info, table, column.default_value->offset);
    scope_ = here;
    if (value.placeholder != no_placeholder)
        fail_at(column.default_value->offset, 1027, "bind variables are not allowed in definitions");
    return " DEFAULT (" + value.sql + ")";
}

std::string translator::column_text(column_definition &column, const std::string &table)
{
    std::string sql = quoted_name(column.column.text);
    if (column.type.empty() && !column.virtual_value)
        fail_at(column.type_offset, 2263, "column %s needs a type", column.column.text.c_str());
    typed_sql computed;
    if (column.virtual_value)
        computed = value_of(*column.virtual_value);
    column_info info;
    info.name = column.column.text;
    const bool is_quoted = input_.text[column.type_offset] == '"';
    info.type = column.type.empty() ? computed.type
                : is_quoted         ? parse_declared_type(column.type)
                                    : server_type(column.type, column.type_offset);
    sql += " " + (is_quoted ? quoted_name(column.type) : storage_type(info.type));
    if (info.type.type == SQLT_AFC)
        sql += " COLLATE RTRIM";
    if (column.virtual_value)
        sql += " AS (" + stored(std::move(computed), info, table, column.virtual_value->offset).sql + ")";
    sql += default_text(column, info, table);
    bool is_key = false;
    for (const key_constraint &key : column.keys)
        is_key = is_key || key.is_primary;
    if (column.not_null == 1 || is_key)
        sql += constraint_start(column.not_null_constraint) + " NOT NULL";
    for (check_constraint &check : column.checks)
        sql += check_text(check);
    for (const foreign_key &key : column.references)
        sql += constraint_start(key.constraint) + reference_text(key);
    return sql;
}

// The columns of a table that is being made, for its CHECKs and virtual columns.
source translator::definition_source(const std::string &table,
                                     const std::vector<column_definition> &columns) const
{
    source made;
    made.alias = table;
    for (const column_definition &column : columns) {
        const bool is_quoted = input_.text[column.type_offset] == '"';
        const declared_type type = column.type.empty() ? declared_type{}
                                   : is_quoted         ? parse_declared_type(column.type)
                                                       : server_type(column.type, column.type_offset);
        made.columns.push_back({column.column.text, quoted_name(column.column.text), type, true, false});
    }
    return made;
}

void translator::run_create_table(create_table_statement &tree)
{
    check_schema(tree.schema, tree.table);
    const std::string table = tree.table.text;
    std::string sql = "CREATE TABLE " + quoted_name(table) + " (";
    if (tree.source) {
        const translated_query source = query_of(*tree.source);
        if (!tree.columns.empty())
            fail_unserved(tree.columns[0].column.offset, "CREATE TABLE ... AS with a list of columns");
        std::string names;
        for (const output_column &column : source.columns) {
            declared_type type = column.type.type == 0 ? any_text : column.type;
            if (type.type == SQLT_RDD)
                type = text_type(18);
            if (type.is_text() && type.length == 0)
                fail_at(tree.source->offset, 1723, "zero-length columns are not allowed");
            names += (names.empty() ? "" : ", ") + quoted_name(column.name) + " " + storage_type(type) +
                     (type.type == SQLT_AFC ? " COLLATE RTRIM" : "");
        }
        add_step(sql + names + ")");
        add_step("INSERT INTO " + quoted_name(table) + " " + source.sql);
        return;
    }
    scope in;
    in.sources.push_back(definition_source(table, tree.columns));
    scope_ = &in;
    std::vector<key_constraint> keys = tree.keys;
    std::string parts;
    for (column_definition &column : tree.columns) {
        for (const key_constraint &key : tree.keys)
            for (const name &one : key.columns)
                if (key.is_primary && one.text == column.column.text)
                    column.not_null = 1;
        parts += (parts.empty() ? "" : ", ") + column_text(column, table);
        keys.insert(keys.end(), column.keys.begin(), column.keys.end());
    }
    if (parts.empty())
        fail_at(tree.table.offset, 904, "a table needs columns");
    for (const key_constraint &key : keys)
        parts += "," + key_text(key);
    for (check_constraint &check : tree.checks)
        parts += "," + check_text(check);
    for (const foreign_key &key : tree.references)
        parts += "," + constraint_start(key.constraint) + " FOREIGN KEY " + name_list(key.columns) +
                 reference_text(key);
    scope_ = &outermost_;
    add_step(sql + parts + ")");
}

void translator::run_create_view(create_view_statement &tree)
{
    check_schema(tree.schema, tree.view);
    const translated_query body = query_of(*tree.body);
    for (const token &one : input_.tokens)
        if (one.kind == token_kind::placeholder)
            fail_at(one.offset, 1027, "bind variables are not allowed in definitions");
    if (!tree.columns.empty() && tree.columns.size() != body.columns.size())
        fail_at(tree.view.offset, 1730, "%zu names for %zu columns", tree.columns.size(),
                body.columns.size());
    std::string names;
    std::vector<view_column> types;
    std::set<std::string> seen;
    for (std::size_t i = 0; i < body.columns.size(); ++i) {
        const std::string &column = tree.columns.empty() ? body.columns[i].name : tree.columns[i].text;
        if (column.find_first_of("+-*/()' ,|") != std::string::npos && tree.columns.empty())
            fail_at(tree.body->offset, 998, "the expression %.100s needs a name", column.c_str());
        if (!seen.insert(column).second)
            fail_at(tree.body->offset, 957, "column name %s is given twice", column.c_str());
        names += (names.empty() ? "" : ", ") + quoted_name(column);
        types.push_back(
            {body.columns[i].type.type == 0 ? any_text : body.columns[i].type, body.columns[i].is_nullable});
    }
    const schema_entry entry = input_.in.find_entry(tree.view.text);
    if (tree.or_replace && entry.type == "view")
        add_step("DROP VIEW " + quoted_name(entry.name));
    add_step("CREATE VIEW " + quoted_name(tree.view.text) + " (" + names + ") AS " +
             view_types_remark(types) + " " + body.sql);
}

void translator::run_create_index(create_index_statement &tree)
{
    const table_info &table = own_table(tree.schema, tree.table);
    scope in;
    source made;
    made.alias = table.name;
    for (const column_info &column : table.columns)
        made.columns.push_back(
            {column.name, quoted_name(column.engine_name), column.type, column.is_nullable, false});
    in.sources.push_back(std::move(made));
    in.forbids_groups = true;
    in.forbids_row_number = true;
    scope_ = &in;
    std::string sql = std::string(tree.is_unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
                      quoted_name(tree.index.text) + " ON " + quoted_name(table.engine_name) + " (";
    for (const order_term &term : tree.terms) {
        const typed_sql value = value_of(*term.by);
        if (value.kind() == family::clob || value.kind() == family::blob)
            fail_at(term.by->offset, 2327, "an index on a LOB");
        sql += (&term == tree.terms.data() ? "" : ", ") + value.sql + (term.is_descending ? " DESC" : "");
    }
    scope_ = &outermost_;
    add_step(sql + ")");
}

// --- Sequences

std::string translator::add_sequence(const std::string &sequence, const sequence_options &options,
                                     std::size_t offset)
{
    add_step(create_sequences_table());
    std::string sql;
    const int code = insert_sequence_sql(sequence, options.start, options.increment, options.minimum,
                                         options.maximum, options.cycle == 1, &sql);
    if (code)
        fail_at(offset, code, "the numbers of the sequence %s contradict each other or are too long",
                sequence.c_str());
    return sql;
}

void translator::run_create_sequence(const sequence_statement &tree)
{
    check_schema(tree.schema, tree.sequence);
    if (!input_.in.find_entry(tree.sequence.text).name.empty() ||
        has_sequence(input_.in.db(), tree.sequence.text))
        fail_at(tree.sequence.offset, 955, "the name %s is already used by another object",
                tree.sequence.text.c_str());
    std::string sql = add_sequence(tree.sequence.text, tree.options, tree.sequence.offset);
    add_step(std::move(sql));
}

void translator::run_alter_sequence(const sequence_statement &tree)
{
    if (!has_sequence(input_.in.db(), tree.sequence.text))
        fail_at(tree.sequence.offset, 2289, "sequence %s does not exist", tree.sequence.text.c_str());
    const sequence_options &options = tree.options;
    if (!options.start.empty())
        fail_at(tree.sequence.offset, 2283, "the start of a sequence cannot be changed");
    std::string sql;
    if (alter_sequence_sql(tree.sequence.text, options.increment, options.minimum, options.maximum,
                           options.cycle, &sql))
        fail_at(tree.sequence.offset, 4013, "a number of the sequence is too long");
    add_step(std::move(sql));
}

// --- ALTER TABLE

void translator::add_columns(alter_table_statement &tree, const table_info &table)
{
    scope in;
    in.sources.push_back(definition_source(table.name, tree.columns));
    scope_ = &in;
    const std::string start = "ALTER TABLE " + quoted_name(table.engine_name) + " ADD COLUMN ";
    for (column_definition &column : tree.columns) {
        if (table.find(column.column.text))
            fail_at(column.column.offset, 1430, "the table already has a column %s",
                    column.column.text.c_str());
        if (column.identity.is_there)
            fail_unserved(column.column.offset, "an identity column that is added");
        if (column.default_value && column.default_value->kind != node::number &&
            column.default_value->kind != node::literal && column.default_value->kind != node::null_value &&
            column.default_value->kind != node::minus)
            fail_unserved(column.default_value->offset, "a column added with a default that is not constant");
        add_step(start + column_text(column, table.name));
        for (const key_constraint &key : column.keys) {
            if (key.is_primary)
                fail_unserved(column.column.offset, "a primary key that is added");
            tree.constraints.keys.push_back(key);
        }
    }
    scope_ = &outermost_;
    for (const key_constraint &key : tree.constraints.keys) {
        if (key.is_primary)
            fail_unserved(tree.table.offset, "a primary key that is added");
        const std::string index =
            key.constraint ? key.constraint.text : table.name + "_" + key.columns[0].text + "_UK";
        add_step("CREATE UNIQUE INDEX " + quoted_name(index) + " ON " + quoted_name(table.engine_name) + " " +
                 name_list(key.columns));
    }
    if (!tree.constraints.checks.empty() || !tree.constraints.references.empty())
        fail_unserved(tree.table.offset, "a CHECK or foreign key that is added");
}

void translator::run_alter_table(alter_table_statement &tree)
{
    using action = alter_table_statement::action;
    const table_info &table = own_table(tree.schema, tree.table);
    const std::string start = "ALTER TABLE " + quoted_name(table.engine_name);
    const auto engine_name = [&](const name &column) {
        const column_info *found = table.find(column.text);
        if (!found)
            fail_at(column.offset, 904, "\"%s\": invalid identifier: no such column", column.text.c_str());
        return quoted_name(found->engine_name);
    };
    switch (tree.does) {
    case action::add:
        return add_columns(tree, table);
    case action::drop_columns:
        for (const name &column : tree.names)
            add_step(start + " DROP COLUMN " + engine_name(column));
        return;
    case action::rename_column:
        add_step(start + " RENAME COLUMN " + engine_name(tree.names[0]) + " TO " +
                 quoted_name(tree.names[1].text));
        return;
    case action::rename_table:
        add_step(start + " RENAME TO " + quoted_name(tree.names[0].text));
        return;
    default:
        fail_unserved(tree.table.offset, "ALTER TABLE ... MODIFY");
    }
}

} // namespace sqlite_oci::sql
