// Turns the tree of a statement into SQLite's SQL: looks names up, gives each expression a type, and calls a
// function of this library wherever SQLite would answer something else than a server.
#pragma once

#include "syntax/parser.h"
#include "translation/translation.h"

#include <map>
#include <set>

namespace sqlite_oci::sql
{

// A table, view or subquery in a FROM clause.
struct source_column {
    std::string name;
    std::string sql; // as the query refers to it
    declared_type type{};
    bool is_nullable = true;
    bool is_joined = false; // by USING: the same column stands in a table before it
};

struct source {
    std::string alias;
    std::string schema;
    const table_info *table = nullptr; // null for a subquery
    std::vector<source_column> columns;
    bool is_optional = false; // an outer join may leave it out
};

// The query of a CURSOR(...), which runs on its own for each row: what it takes from the queries around it is
// given to it like bind variables.
struct cursor_frame {
    cursor_frame *outer = nullptr;
    std::vector<std::string> given; // in the words of the query around it
    bool has_common_tables = false;
};

struct scope {
    scope *outer = nullptr;
    cursor_frame *frame = nullptr; // null outside of cursors
    std::vector<source> sources;
    std::vector<std::string> given; // to the cursors of the select list: behind its columns

    // Of a query with GROUP BY or a group function: what may stand outside of those.
    bool is_grouped = false;
    bool has_group_by = false;
    std::vector<std::string> group_keys;
    bool in_group_function = false;
    bool forbids_groups = false; // in WHERE and ON
    bool has_row_number = false; // ROWNUM was used
    bool forbids_row_number = false;
    bool forbids_columns = false;    // in the VALUES of an INSERT
    bool row_number_by_call = false; // an UPDATE counts its rows with a function
    std::string level_sql;           // LEVEL
};

// Enters a scope of names for as long as it lives.
class entered
{
public:
    entered(scope *&current, scope &in, cursor_frame *frame) : current_(current), before_(current)
    {
        in.outer = current;
        in.frame = frame;
        current = &in;
    }
    ~entered() { current_ = before_; }
    entered(const entered &) = delete;

private:
    scope *&current_;
    scope *before_;
};

struct output_column {
    std::string name;
    declared_type type{};
    bool is_nullable = true;
    bool is_literal = false;
};

bool has_unique_names(const std::vector<output_column> &columns);

// A query in SQLite's SQL, with what its columns are.
struct translated_query {
    std::string sql;
    std::vector<output_column> columns;
    std::size_t given = 0;        // columns behind these, for cursors
    std::string with_row_id;      // the same with the identity of the only table's row behind the columns
    bool has_plain_names = false; // its columns have the names above for SQLite, too
    bool is_single_row = false;   // by its own making: group functions without GROUP BY
};

// What the columns of a query are stored in, for conversions.
struct target_column {
    const column_info *column;
    std::string table;
};

class translator
{
public:
    explicit translator(const translation_input &input);

    translation run();

private:
    // --- Statements
    void run_query(parser &from);
    void add_query_step(query &tree, bool is_locking);
    void run_insert(insert_statement &tree);
    void run_update(update_statement &tree);
    void run_delete(delete_statement &tree);
    void run_merge(merge_statement &tree);
    void run_create(parser &from);
    void run_create_table(create_table_statement &tree);
    void run_create_view(create_view_statement &tree);
    void run_create_index(create_index_statement &tree);
    void run_create_sequence(const sequence_statement &tree);
    void run_alter(parser &from);
    void run_alter_session(parser &from);
    void run_alter_table(alter_table_statement &tree);
    void run_alter_sequence(const sequence_statement &tree);
    void run_drop(parser &from);
    void run_truncate(parser &from);
    void run_rename(parser &from);
    void run_set_transaction(parser &from);
    void run_savepoint(parser &from);
    void run_lock(parser &from);
    void run_explain(parser &from);
    void run_block(parser &from);
    void run_block_statement(parser &from);
    void run_assignment(parser &from);
    bool run_change(parser &from);
    void run_statement(parser &from);
    translated_step &add_step(std::string sql);

    // --- Queries
    using targets = std::vector<target_column>;
    translated_query query_of(query &tree, const targets *into = nullptr, bool with_row_id = false);
    translated_query select_of(query &tree, const targets *into, bool with_row_id);
    translated_query values_of(query &tree, const targets *into);
    translated_query combined_of(query &tree, const targets *into);
    std::string with_clause(query &tree);
    std::string from_clause(query &tree, scope &in, std::vector<expression *> &conditions);
    std::string add_source(table_reference &of, scope &in);
    std::string join_text(table_reference &of, scope &in, std::size_t first_source);
    std::string outer_join_text(query &tree, scope &in, std::vector<expression *> &conditions);
    void join_columns(table_reference &of, scope &in, std::size_t first_source, std::string &sql);
    std::vector<typed_sql> select_list(query &tree, scope &in, std::vector<output_column> &columns);
    std::string group_clause(query &tree, scope &in);
    void check_into(const query &tree, const targets *into, std::size_t columns) const;
    std::string order_clause(std::vector<order_term> &terms, const std::vector<typed_sql> *items,
                             const std::vector<output_column> *columns, bool is_distinct = false);
    std::string order_key(const typed_sql &value) const;
    std::string order_key_of(const order_term &term, const typed_sql &value) const;
    std::string limit_clause(query &tree);
    std::string row_number_limit(std::vector<expression *> &conditions);
    void wrap_rows(scope &in, std::string &from, std::string &where, const std::string &limit);
    std::string row_generator(query &tree, scope &in);
    void add_cursor(expression &tree, const name &alias, std::vector<typed_sql> &items,
                    std::vector<output_column> &columns);
    static typed_sql given_to(cursor_frame *cursor, const cursor_frame *from, typed_sql value,
                              std::size_t first);
    void add_select_item(expression &tree, const name &alias, std::vector<typed_sql> &items,
                         std::vector<output_column> &columns);
    std::string_view text_of(const expression &tree) const
    {
        return input_.text.substr(tree.offset, tree.end - tree.offset);
    }
    void add_star(const expression &tree, scope &in, std::vector<typed_sql> &items,
                  std::vector<output_column> &columns);
    translated_query ordered_rows(query &tree, translated_query rows, const targets *into);
    std::string converted_list(const std::vector<typed_sql> &items, const std::vector<output_column> &columns,
                               const targets *into);
    source &table_source(const table_reference &of, scope &in);
    const table_info &table_of(const name &schema, const name &table);
    const table_info &changed_table(const table_reference &of);
    void check_schema(const name &schema, const name &table) const;

    // --- Expressions
    typed_sql value_of(expression &tree);
    typed_sql value_without_grouping(expression &tree);
    typed_sql column_of(expression &tree);
    typed_sql seen_from_here(const scope &in, typed_sql value) const;
    typed_sql pseudo_of(expression &tree);
    typed_sql number_of(const expression &tree) const;
    typed_sql datetime_of(const expression &tree) const;
    typed_sql interval_of(const expression &tree) const;
    typed_sql placeholder_of(const expression &tree);
    typed_sql binary_of(expression &tree);
    typed_sql sum_of(const std::string &op, typed_sql left, typed_sql right, std::size_t offset);
    typed_sql concatenation_of(expression &tree);
    void add_concatenated(expression &tree, std::vector<typed_sql> &parts);
    typed_sql minus_of(expression &tree);
    typed_sql choice_of(expression &tree);
    typed_sql cast_of(expression &tree);
    typed_sql extract_of(expression &tree);
    typed_sql trim_of(expression &tree);
    typed_sql subquery_of(expression &tree);
    typed_sql sequence_of(const expression &tree);

    // --- Functions
    typed_sql call_of(expression &tree);
    typed_sql simple_call(expression &tree, const struct function_rule &rule);
    typed_sql group_call(expression &tree);
    typed_sql window_call(expression &tree, typed_sql value);
    typed_sql ranking_call(expression &tree);
    typed_sql list_aggregate(expression &tree);
    std::string over_clause(expression &tree);
    typed_sql special_call(expression &tree);
    typed_sql decode_of(expression &tree);
    typed_sql nvl_of(expression &tree);
    typed_sql nvl2_of(expression &tree);
    typed_sql coalesce_of(expression &tree);
    typed_sql nullif_of(expression &tree);
    typed_sql extreme_of(expression &tree);
    typed_sql to_char_of(expression &tree);
    typed_sql rounded_of(expression &tree);
    void check_arguments(const expression &tree, std::size_t least, std::size_t most) const;
    bool unify(const std::vector<typed_sql *> &values, declared_type &result, bool is_strict,
               std::size_t offset);

    // --- Conditions
    std::string condition_of(expression &tree, bool is_negated = false);
    std::string comparison_of(const std::string &op, typed_sql left, typed_sql right, std::size_t offset);
    std::string number_comparison(const std::string &op, const typed_sql &left, const typed_sql &right) const;
    std::string text_comparison(const std::string &op, const typed_sql &left, const typed_sql &right) const;
    std::string list_comparison(expression &tree);
    std::string in_list_of(expression &tree);
    std::string in_query_of(expression &tree);
    std::string all_or_any_of(expression &tree, bool is_negated);
    std::string like_of(expression &tree);
    std::string between_of(expression &tree);
    void make_comparable(typed_sql &left, typed_sql &right, std::size_t offset);

    // --- Conversions
    typed_sql converted(typed_sql value, family to, std::size_t offset);
    typed_sql literal_converted(const typed_sql &value, family to) const;
    typed_sql stored(typed_sql value, const column_info &column, const std::string &table,
                     std::size_t offset);
    typed_sql text_of_value(expression &tree);
    typed_sql number_of_value(expression &tree);
    typed_sql with_type(typed_sql value, const declared_type &type) const;

    // --- Changes
    std::string assignments_of(std::vector<assignment> &set, const table_info &table, scope &in);
    typed_sql assigned(expression &tree, const column_info &column, const table_info &table);
    std::string returning_of(returning_clause &tree, translated_step &step, bool row_stays = true);
    std::string default_of(const column_info &column) const;
    std::string change_condition(expression *where, scope &in, const table_info &table);
    std::vector<const column_info *> insert_columns(const std::vector<name> &names, const table_info &table,
                                                    std::size_t offset) const;

    // --- Definitions
    std::string column_text(column_definition &column, const std::string &table);
    std::string key_text(const key_constraint &key) const;
    std::string reference_text(const foreign_key &key);
    std::string check_text(check_constraint &check);
    std::string default_text(column_definition &column, const column_info &info, const std::string &table);
    std::string add_sequence(const std::string &sequence, const sequence_options &options,
                             std::size_t offset);
    const table_info &own_table(const name &schema, const name &table);
    void add_columns(alter_table_statement &tree, const table_info &table);
    source definition_source(const std::string &table, const std::vector<column_definition> &columns) const;

    const translation_input &input_;
    translation result_;
    scope outermost_; // without tables
    scope *scope_ = &outermost_;
    cursor_frame *frame_ = nullptr;
    const query *top_ = nullptr;                               // whose select list may have cursors
    std::map<std::string, std::vector<output_column>> common_; // tables of WITH in reach
    std::string common_sql_;                                   // what makes them
    int generated_names_ = 0;
};

// How the default of an identity column ends that is always generated.
constexpr const char *always_identity = ", 'always')";

// The declared type in a definition or a CAST. Throws ORA-00902 for what is none.
declared_type server_type(const std::string &text, std::size_t offset);

} // namespace sqlite_oci::sql
