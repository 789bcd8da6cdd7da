// ROWNUM and LEVEL.
#include "translation/translator.h"

namespace sqlite_oci::sql
{

// ROWNUM behind an ORDER BY, GROUP BY or DISTINCT: the rows are counted in a subquery, and all columns are
// known by other names from here on.
void translator::wrap_rows(scope &in, std::string &from, std::string &where, const std::string &limit)
{
    const std::string alias = "counted" + std::to_string(++generated_names_);
    std::string list;
    int number = 0;
    for (source &one : in.sources) {
        one.table = nullptr;
        for (source_column &column : one.columns) {
            const std::string engine = "c" + std::to_string(++number);
            list.append(list.empty() ? "" : ", ").append(column.sql).append(" AS ").append(engine);
            column.sql = alias;
            column.sql.append(".").append(engine);
        }
    }
    from = "(SELECT " + (list.empty() ? "1" : list) + " FROM " + from + where + " LIMIT " + limit + ") AS " +
           alias;
    where.clear();
}

// Conditions on ROWNUM become one number of rows. Empty where there is none; they are taken from the list.
std::string translator::row_number_limit(std::vector<expression *> &conditions)
{
    std::string limit;
    const auto is_row_number = [](const expression &tree) {
        return (tree.kind == node::column && !tree.is_quoted && !tree.qualifier && tree.text == "ROWNUM") ||
               (tree.kind == node::pseudo && tree.word == "ROWNUM");
    };
    const auto add = [&](const std::string &op, expression &bound) {
        typed_sql value = number_of_value(bound);
        if (!value.is_constant)
            fail_unserved(bound.offset, "ROWNUM compared with what differs from row to row");
        const std::string one = "oci_row_limit(" + quoted_text(op) + ", " + value.sql + ")";
        limit = limit.empty() ? one : "min(" + limit + ", " + one + ")";
    };
    std::erase_if(conditions, [&](expression *condition) {
        auto &operands = condition->operands;
        if (condition->kind == node::between && !condition->is_negated && is_row_number(*operands[0])) {
            add(">=", *operands[1]);
            add("<=", *operands[2]);
            return true;
        }
        if (condition->kind != node::comparison)
            return false;
        if (is_row_number(*operands[0])) {
            add(condition->word, *operands[1]);
            return true;
        }
        if (!is_row_number(*operands[1]))
            return false;
        const std::string &op = condition->word;
        add(op == "<" ? ">" : op == ">" ? "<" : op == "<=" ? ">=" : op == ">=" ? "<=" : op, *operands[0]);
        return true;
    });
    return limit;
}

// SELECT ... FROM dual CONNECT BY LEVEL <= n: the numbers from 1.
std::string translator::row_generator(query &tree, scope &in)
{
    const expression &by = *tree.connect_by;
    const bool counts = by.kind == node::comparison && (by.word == "<=" || by.word == "<") &&
                        ((by.operands[0]->kind == node::pseudo &&
                          (by.operands[0]->word == "LEVEL" || by.operands[0]->word == "ROWNUM")));
    if (!counts || tree.start_with || tree.from.size() != 1 || tree.from[0].table.text != "DUAL" ||
        tree.where)
        fail_unserved(by.offset, "CONNECT BY, but for LEVEL <= n from DUAL");
    add_source(tree.from[0], in);
    const typed_sql bound = number_of_value(*tree.connect_by->operands[1]);
    const std::string alias = quoted_name(in.sources[0].alias);
    in.sources[0].table = nullptr;
    in.level_sql = alias + ".n";
    return "(WITH RECURSIVE numbers(n, dummy) AS (SELECT 1, 'X' UNION ALL SELECT n + 1, 'X' FROM numbers WHERE n + 1 " +
           by.word + " " + bound.sql + ") SELECT n, dummy FROM numbers) AS " + alias;
}

} // namespace sqlite_oci::sql
