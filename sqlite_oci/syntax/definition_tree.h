// CREATE, ALTER and their parts, as the parser understands them.
#pragma once

#include "syntax/tree.h"

namespace sqlite_oci::sql
{

struct foreign_key {
    name constraint;
    std::vector<name> columns; // none where it stands behind a column
    name schema, table;
    std::vector<name> referenced;
    std::string on_delete; // CASCADE, SET NULL or empty
    bool is_deferred = false;
};

struct check_constraint {
    name constraint;
    expression_ptr condition;
};

struct key_constraint {
    name constraint;
    bool is_primary = false;
    std::vector<name> columns;
};

struct sequence_options {
    std::string start, increment, minimum, maximum;
    bool no_minimum = false, no_maximum = false;
    int cycle = -1; // 0, 1; -1: not given
};

struct identity_definition {
    bool is_there = false;
    bool is_always = false;
    bool on_null = false;
    sequence_options options;
};

struct column_definition {
    name column;
    std::string type; // as it was written
    std::size_t type_offset = 0;
    expression_ptr default_value;
    std::string default_text;
    expression_ptr virtual_value;
    identity_definition identity;
    int not_null = -1; // 1: NOT NULL, 0: NULL
    name not_null_constraint;
    std::vector<key_constraint> keys;
    std::vector<check_constraint> checks;
    std::vector<foreign_key> references;
};

struct create_table_statement {
    name schema, table;
    std::vector<column_definition> columns;
    std::vector<key_constraint> keys;
    std::vector<check_constraint> checks;
    std::vector<foreign_key> references;
    query_ptr source; // CREATE TABLE ... AS
};

struct create_view_statement {
    name schema, view;
    bool or_replace = false;
    std::vector<name> columns;
    query_ptr body;
    std::string text; // of the query
};

struct create_index_statement {
    name index, schema, table;
    bool is_unique = false;
    std::vector<order_term> terms;
};

struct alter_table_statement {
    enum class action { add, drop_columns, rename_column, rename_table, modify, add_unique };
    name schema, table;
    action does = action::add;
    std::vector<column_definition> columns; // ADD, MODIFY
    std::vector<name> names;                // DROP; old and new name of RENAME
    create_table_statement constraints;     // ADD CONSTRAINT
};

struct sequence_statement {
    name schema, sequence;
    sequence_options options;
};

} // namespace sqlite_oci::sql
