// A statement as the parser understands it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sqlite_oci::sql
{

struct query;
struct expression;
using expression_ptr = std::unique_ptr<expression>;
using query_ptr = std::unique_ptr<query>;
using expressions = std::vector<expression_ptr>;

// A name as it was written: unquoted names are in upper case. An empty text is no name.
struct name {
    std::string text;
    std::size_t offset = 0;

    explicit operator bool() const { return !text.empty(); }
};

enum class node : std::uint8_t {
    // --- Values
    null_value,
    number,      // text
    literal,     // text
    bytes,       // text: hexadecimal digits
    datetime,    // text: the literal; word: DATE or TIMESTAMP
    interval,    // text: the literal; word: its fields
    placeholder, // index: of the occurrence
    column,      // text, qualifier
    star,        // *, or qualifier.*
    pseudo,      // word: ROWNUM, SYSDATE, LEVEL, NEXTVAL and CURRVAL (of the sequence in qualifier) ...
    binary,      // word: + - * / ||
    minus,
    prior,
    call,    // word: the function; operands; over, is_distinct ...
    choice,  // CASE: operands are [value] {condition, result} [otherwise], with `has_value` and `has_else`
    cast,    // CAST(operand AS word)
    extract, // word: the field
    trim,    // word: LEADING, TRAILING or BOTH; operands: value [characters]
    subquery,
    cursor, // CURSOR(query)
    list,   // (a, b)
    default_value,

    // --- Conditions
    comparison, // word: = <> < > <= >=
    all_or_any, // word: the operator; is_negated: ALL
    between,
    in_list, // operands: the value, then the list
    in_query,
    like, // operands: value, pattern [escape]
    is_null,
    exists,
    both,   // AND
    either, // OR
    negation,
};

inline bool is_condition(node kind)
{
    return kind >= node::comparison;
}

struct order_term {
    expression_ptr by;
    bool is_descending = false;
    bool has_nulls = false; // NULLS FIRST or NULLS LAST is given
    bool nulls_first = false;
};

// OVER (...)
struct window {
    expressions partition;
    std::vector<order_term> order;
    std::string frame; // in the words of the statement
};

struct expression {
    expression(node of, std::size_t at) : kind(of), offset(at) {}

    node kind;
    std::size_t offset;
    std::size_t end = 0; // behind its last byte
    std::string word;
    std::string text;
    name qualifier, schema;
    expressions operands;
    query_ptr subquery;
    std::unique_ptr<window> over;
    std::vector<order_term> within; // WITHIN GROUP (ORDER BY ...), KEEP
    std::size_t index = 0;
    bool is_negated = false;  // NOT IN, NOT LIKE ...
    bool is_distinct = false; // COUNT(DISTINCT ...)
    bool is_outer = false;    // column(+)
    bool has_value = false, has_else = false;
    bool ignore_nulls = false;
    bool is_quoted = false; // the column's name stands in quotes
    bool has_arguments = false;
};

// --- Queries

enum class join_kind : std::uint8_t { comma, cross, inner, left, right, full };

struct table_reference {
    name schema, table; // of a table or view
    query_ptr subquery; // otherwise
    name alias;
    join_kind join = join_kind::comma; // to those before it
    bool is_natural = false;
    expression_ptr on;
    std::vector<name> join_columns;     // USING
    std::vector<table_reference> group; // joined tables in parentheses
    std::size_t offset = 0;
};

struct select_item {
    expression_ptr value;
    name alias;
};

struct common_table {
    name alias;
    std::vector<name> columns;
    query_ptr body;
};

enum class set_operator : std::uint8_t { none, union_all, union_distinct, intersect, minus };

// One SELECT, or two queries with a set operator between them.
struct query {
    std::size_t offset = 0;
    std::vector<common_table> with;

    set_operator combine = set_operator::none;
    query_ptr left, right;

    bool is_distinct = false;
    std::vector<select_item> items;
    std::vector<name> into_placeholders;
    std::vector<table_reference> from;
    expression_ptr where;
    expression_ptr connect_by, start_with;
    expressions group_by;
    bool is_grouped = false;
    expression_ptr having;
    std::vector<expressions> values; // VALUES (...), (...)

    std::vector<order_term> order_by;
    expression_ptr row_offset, row_limit; // OFFSET n ROWS FETCH FIRST n ROWS ONLY
};

struct lock_clause {
    bool is_there = false;
    int wait_seconds = -1; // 0: NOWAIT; -1: as long as usual
    std::vector<expression_ptr> columns;
};

// --- Changes

struct assignment {
    std::vector<name> columns; // several: from a subquery
    expression_ptr value;
};

struct returning_clause {
    expressions values;
    std::vector<std::size_t> into; // occurrences of placeholders
};

struct insert_statement {
    table_reference table;
    std::vector<name> columns;
    query_ptr source; // VALUES is one, too
    returning_clause returning;
};

struct update_statement {
    table_reference table;
    std::vector<assignment> set;
    expression_ptr where;
    returning_clause returning;
};

struct delete_statement {
    table_reference table;
    expression_ptr where;
    returning_clause returning;
};

struct merge_statement {
    table_reference into, source;
    expression_ptr on;
    bool has_update = false, has_insert = false;
    std::vector<assignment> set;
    expression_ptr update_where, delete_where;
    std::vector<name> columns;
    expressions values;
    expression_ptr insert_where;
    std::size_t insert_offset = 0;
};

} // namespace sqlite_oci::sql
