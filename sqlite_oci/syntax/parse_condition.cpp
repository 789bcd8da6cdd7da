// Conditions. They are read by the same rules as expressions; where an expression stands for a condition, or
// the other way round, the translation refuses it.
#include "syntax/nesting.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

constexpr std::string_view comparison_marks[] = {"=", "<>", "!=", "^=", "~=", "<", ">", "<=", ">="};

bool is_comparison(const token &mark)
{
    return mark.kind == token_kind::mark &&
           std::find(std::begin(comparison_marks), std::end(comparison_marks), mark.text) !=
               std::end(comparison_marks);
}

} // namespace

expression_ptr parser::parse_condition()
{
    const nesting level(depth_, peek().offset);
    auto left = parse_and();
    while (take_word("OR"))
        left = finish(combined(node::either, "OR", std::move(left), parse_and()));
    return left;
}

expression_ptr parser::parse_and()
{
    auto left = parse_not();
    while (take_word("AND"))
        left = finish(combined(node::both, "AND", std::move(left), parse_not()));
    return left;
}

expression_ptr parser::parse_not()
{
    if (!is_word("NOT"))
        return parse_comparison();
    const nesting level(depth_, peek().offset);
    auto made = make(node::negation);
    next();
    made->operands.push_back(parse_not());
    return finish(std::move(made));
}

expression_ptr parser::parse_comparison()
{
    if (is_word("EXISTS")) {
        auto made = make(node::exists);
        next();
        expect_mark("(");
        made->subquery = parse_query();
        expect_mark(")", 907);
        return finish(std::move(made));
    }
    auto left = parse_sum();
    return is_condition(left->kind) ? std::move(left) : parse_rest_of_comparison(std::move(left));
}

expression_ptr parser::parse_rest_of_comparison(expression_ptr left)
{
    if (is_comparison(peek())) {
        std::string op = next().text;
        if (op == "!=" || op == "^=" || op == "~=")
            op = "<>";
        return parse_comparison_with(std::move(left), std::move(op));
    }
    if (is_word("IS")) {
        auto made = std::make_unique<expression>(node::is_null, left->offset);
        next();
        made->is_negated = take_word("NOT");
        if (!take_word("NULL"))
            fail_here(908, "NULL is missing");
        made->operands.push_back(std::move(left));
        return finish(std::move(made));
    }
    const bool is_negated =
        is_word("NOT") && (is_word("IN", 1) || is_word("LIKE", 1) || is_word("BETWEEN", 1));
    if (is_negated)
        next();
    if (take_word("IN"))
        return parse_in(std::move(left), is_negated);
    if (take_word("LIKE"))
        return parse_like(std::move(left), is_negated);
    if (take_word("BETWEEN"))
        return parse_between(std::move(left), is_negated);
    return left;
}

expression_ptr parser::parse_comparison_with(expression_ptr left, std::string op)
{
    const bool is_all = is_word("ALL");
    if (!is_all && !is_word("ANY") && !is_word("SOME"))
        return finish(combined(node::comparison, std::move(op), std::move(left), parse_sum()));
    auto made = std::make_unique<expression>(node::all_or_any, left->offset);
    next();
    made->word = std::move(op);
    made->is_negated = is_all;
    made->operands.push_back(std::move(left));
    expect_mark("(", 906);
    if (starts_query()) {
        made->subquery = parse_query();
    } else {
        do
            made->operands.push_back(parse_sum());
        while (take_mark(","));
    }
    expect_mark(")", 907);
    return finish(std::move(made));
}

expression_ptr parser::parse_in(expression_ptr left, bool is_negated)
{
    auto made = std::make_unique<expression>(node::in_list, left->offset);
    made->is_negated = is_negated;
    made->operands.push_back(std::move(left));
    if (!take_mark("(")) { // IN value
        made->operands.push_back(parse_sum());
        return finish(std::move(made));
    }
    if (starts_query()) {
        made->kind = node::in_query;
        made->subquery = parse_query();
    } else {
        do
            made->operands.push_back(parse_sum());
        while (take_mark(","));
    }
    expect_mark(")", 907);
    return finish(std::move(made));
}

expression_ptr parser::parse_like(expression_ptr left, bool is_negated)
{
    auto made = combined(node::like, "LIKE", std::move(left), parse_sum());
    made->is_negated = is_negated;
    if (take_word("ESCAPE"))
        made->operands.push_back(parse_sum());
    return finish(std::move(made));
}

expression_ptr parser::parse_between(expression_ptr left, bool is_negated)
{
    auto made = combined(node::between, "BETWEEN", std::move(left), parse_sum());
    made->is_negated = is_negated;
    expect_word("AND");
    made->operands.push_back(parse_sum());
    return finish(std::move(made));
}

} // namespace sqlite_oci::sql
