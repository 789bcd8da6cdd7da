// Reads the tokens of a statement into a tree, by recursive descent. What is no SQL is refused with the
// number that a server gives, at its place.
#pragma once

#include "syntax/definition_tree.h"
#include "syntax/sql_failure.h"
#include "syntax/token.h"
#include "syntax/tree.h"

#include <initializer_list>

namespace sqlite_oci::sql
{

class parser
{
public:
    // Reads from token `first` on. `text` is what the tokens were made from. Both must outlive the parser.
    parser(std::string_view text, const std::vector<token> &tokens, std::size_t first = 0)
        : text_(text), tokens_(tokens), at_(first)
    {
    }

    // --- Whole statements; the caller asks for the end
    query_ptr parse_query();
    lock_clause parse_lock_clause();
    insert_statement parse_insert();
    update_statement parse_update();
    delete_statement parse_delete();
    merge_statement parse_merge();
    expression_ptr parse_expression();
    expression_ptr parse_condition();

    create_table_statement parse_create_table();
    create_view_statement parse_create_view();
    create_index_statement parse_create_index();
    alter_table_statement parse_alter_table();
    sequence_statement parse_sequence();
    name parse_qualified_name(name *schema);

    // Throws unless there is nothing left.
    void expect_end();

    // --- Token by token, for statements that need no tree
    const token &peek(std::size_t ahead = 0) const
    {
        return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
    }
    const token &next();
    bool is_at_end() const { return peek().kind == token_kind::end; }
    bool is_word(std::string_view word, std::size_t ahead = 0) const { return peek(ahead).is_word(word); }
    bool is_mark(std::string_view mark, std::size_t ahead = 0) const { return peek(ahead).is_mark(mark); }
    bool take_word(std::string_view word);
    bool take_words(std::initializer_list<std::string_view> words);
    bool take_mark(std::string_view mark);
    void expect_word(std::string_view word, int code = 905);
    void expect_mark(std::string_view mark, int code = 0);
    name parse_name(int code = 903);
    std::string parse_number_text();
    std::size_t placeholder_index(const token &of) const;
    std::size_t position() const { return at_; }
    std::string_view text_between(std::size_t first_token, std::size_t end_token) const;
    [[noreturn]] void fail_here(int code, const char *what) const;

private:
    // expressions
    expression_ptr make(node kind) const { return std::make_unique<expression>(kind, peek().offset); }
    expression_ptr finish(expression_ptr made) const;
    expression_ptr parse_and();
    expression_ptr parse_not();
    expression_ptr parse_comparison();
    expression_ptr parse_rest_of_comparison(expression_ptr left);
    expression_ptr parse_comparison_with(expression_ptr left, std::string op);
    expression_ptr parse_in(expression_ptr left, bool is_negated);
    expression_ptr parse_like(expression_ptr left, bool is_negated);
    expression_ptr parse_between(expression_ptr left, bool is_negated);
    expression_ptr parse_sum();
    expression_ptr parse_product();
    expression_ptr parse_unary();
    expression_ptr parse_primary();
    expression_ptr parse_parentheses();
    expression_ptr parse_word();
    expression_ptr parse_case();
    expression_ptr parse_cast();
    expression_ptr parse_extract();
    expression_ptr parse_trim();
    expression_ptr parse_typed_literal(node kind);
    expression_ptr parse_interval();
    expression_ptr parse_column();
    expression_ptr parse_call(const name &function, name schema);
    void parse_call_tail(expression &call);
    std::unique_ptr<window> parse_window();
    bool starts_query() const;
    bool starts_typed_literal() const;

    // queries
    query_ptr parse_query_term();
    query_ptr parse_select();
    query_ptr parse_values();
    void parse_with(query &into);
    void parse_select_list(query &into);
    void parse_order_and_limit(query &into);
    void parse_group_by(query &into);
    std::vector<order_term> parse_order_terms();
    std::vector<table_reference> parse_from();
    table_reference parse_table_reference();
    void parse_joins(std::vector<table_reference> &into);
    bool parse_join_kind(table_reference &joined);
    void parse_alias(table_reference &of);
    std::vector<name> parse_name_list();

    // changes
    table_reference parse_target();
    std::vector<assignment> parse_assignments();
    returning_clause parse_returning();

    // definitions
    column_definition parse_column_definition();
    void parse_column_tail(column_definition &column);
    bool parse_column_constraint(column_definition &column, name constraint_name);
    bool parse_table_constraint(create_table_statement &into);
    void parse_references(foreign_key &into);
    void parse_constraint_state(bool *is_deferred = nullptr);
    std::string parse_type();
    identity_definition parse_identity();
    bool take_sequence_option(sequence_options &options);
    void skip_storage_clauses();

    std::string_view text_;
    const std::vector<token> &tokens_;
    std::size_t at_;
    int depth_ = 0;
};

// Whether the word cannot be a name unless it is quoted.
bool is_reserved(std::string_view word);

} // namespace sqlite_oci::sql
