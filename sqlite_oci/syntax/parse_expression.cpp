// Expressions.
#include "syntax/nesting.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

constexpr std::string_view pseudo_columns[] = {
    "ROWNUM",         "SYSDATE",      "SYSTIMESTAMP",      "USER",           "UID",
    "LEVEL",          "CURRENT_DATE", "CURRENT_TIMESTAMP", "LOCALTIMESTAMP", "DBTIMEZONE",
    "SESSIONTIMEZONE"};

template <class List> bool contains(const List &list, std::string_view wanted)
{
    return std::find(std::begin(list), std::end(list), wanted) != std::end(list);
}

} // namespace

expression_ptr parser::finish(expression_ptr made) const
{
    const token &last = tokens_[at_ ? at_ - 1 : 0];
    made->end = last.offset + last.length;
    return made;
}

expression_ptr parser::parse_expression()
{
    const nesting level(depth_, peek().offset);
    return parse_sum();
}

expression_ptr parser::parse_sum()
{
    auto left = parse_product();
    while (is_mark("+") || is_mark("-") || is_mark("||")) {
        std::string op = next().text;
        left = finish(combined(node::binary, std::move(op), std::move(left), parse_product()));
    }
    return left;
}

expression_ptr parser::parse_product()
{
    auto left = parse_unary();
    while (is_mark("*") || is_mark("/")) {
        std::string op = next().text;
        left = finish(combined(node::binary, std::move(op), std::move(left), parse_unary()));
    }
    return left;
}

expression_ptr parser::parse_unary()
{
    if (take_mark("+"))
        return parse_unary();
    if (!is_mark("-") && !is_word("PRIOR"))
        return parse_primary();
    const nesting level(depth_, peek().offset);
    auto made = make(is_mark("-") ? node::minus : node::prior);
    next();
    made->operands.push_back(parse_unary());
    return finish(std::move(made));
}

expression_ptr parser::parse_primary()
{
    const token &first = peek();
    switch (first.kind) {
    case token_kind::number:
    case token_kind::literal:
    case token_kind::hex_literal: {
        auto made = make(first.kind == token_kind::number    ? node::number
                         : first.kind == token_kind::literal ? node::literal
                                                             : node::bytes);
        made->text = next().text;
        return finish(std::move(made));
    }
    case token_kind::placeholder: {
        auto made = make(node::placeholder);
        made->index = placeholder_index(first);
        made->text = next().text;
        return finish(std::move(made));
    }
    case token_kind::quoted_name:
        return parse_column();
    case token_kind::word:
        return parse_word();
    default:
        break;
    }
    if (is_mark("("))
        return parse_parentheses();
    if (is_at_end())
        fail_here(936, "an expression is missing at the end");
    fail_here(936, "an expression is missing");
}

bool parser::starts_query() const
{
    std::size_t ahead = 0;
    while (is_mark("(", ahead))
        ++ahead;
    return is_word("SELECT", ahead) || is_word("WITH", ahead) || is_word("VALUES", ahead);
}

// An expression, a condition, a list of values or a subquery.
expression_ptr parser::parse_parentheses()
{
    const nesting level(depth_, peek().offset);
    if (starts_query() && (is_word("SELECT", 1) || is_word("WITH", 1) || is_word("VALUES", 1))) {
        auto made = make(node::subquery);
        next();
        made->subquery = parse_query();
        expect_mark(")", 907);
        return finish(std::move(made));
    }
    const std::size_t start = peek().offset;
    next();
    auto inner = parse_condition();
    if (is_mark(",")) {
        auto made = std::make_unique<expression>(node::list, start);
        made->operands.push_back(std::move(inner));
        while (take_mark(","))
            made->operands.push_back(parse_expression());
        inner = std::move(made);
    }
    expect_mark(")", 907);
    inner->offset = start;
    return finish(std::move(inner));
}

bool parser::starts_typed_literal() const
{
    return peek(1).kind == token_kind::literal;
}

expression_ptr parser::parse_word()
{
    const std::string &word = peek().text;
    if (word == "NULL") {
        auto made = make(node::null_value);
        next();
        return finish(std::move(made));
    }
    if (word == "CASE")
        return parse_case();
    if (word == "CAST" && is_mark("(", 1))
        return parse_cast();
    if (word == "EXTRACT" && is_mark("(", 1))
        return parse_extract();
    if (word == "TRIM" && is_mark("(", 1))
        return parse_trim();
    if ((word == "DATE" || word == "TIMESTAMP") && starts_typed_literal())
        return parse_typed_literal(node::datetime);
    if (word == "INTERVAL" && starts_typed_literal())
        return parse_interval();
    if (word == "CURSOR" && is_mark("(", 1)) {
        auto made = make(node::cursor);
        next();
        next();
        made->subquery = parse_query();
        expect_mark(")", 907);
        return finish(std::move(made));
    }
    if (word == "DEFAULT") {
        auto made = make(node::default_value);
        next();
        return finish(std::move(made));
    }
    if (contains(pseudo_columns, word) && !is_mark(".", 1)) {
        auto made = make(node::pseudo);
        made->word = next().text;
        if (take_mark("(")) { // SYSDATE(), SYSTIMESTAMP(3)
            if (!is_mark(")"))
                made->operands.push_back(parse_expression());
            expect_mark(")", 907);
        }
        return finish(std::move(made));
    }
    return parse_column();
}

// CASE value WHEN value THEN ..., or CASE WHEN condition THEN ...
expression_ptr parser::parse_case()
{
    const nesting level(depth_, peek().offset);
    auto made = make(node::choice);
    next();
    made->has_value = !is_word("WHEN");
    if (made->has_value)
        made->operands.push_back(parse_expression());
    while (take_word("WHEN")) {
        made->operands.push_back(made->has_value ? parse_expression() : parse_condition());
        expect_word("THEN");
        made->operands.push_back(parse_expression());
    }
    made->has_else = take_word("ELSE");
    if (made->has_else)
        made->operands.push_back(parse_expression());
    expect_word("END");
    if (made->operands.size() < 2)
        fail_at(made->offset, 905, "WHEN is missing");
    return finish(std::move(made));
}

expression_ptr parser::parse_cast()
{
    auto made = make(node::cast);
    next();
    next();
    made->operands.push_back(parse_expression());
    expect_word("AS");
    made->word = parse_type();
    expect_mark(")", 907);
    return finish(std::move(made));
}

expression_ptr parser::parse_extract()
{
    auto made = make(node::extract);
    next();
    next();
    made->word = next().text;
    expect_word("FROM");
    made->operands.push_back(parse_expression());
    expect_mark(")", 907);
    return finish(std::move(made));
}

// TRIM([[LEADING|TRAILING|BOTH] [characters] FROM] value)
expression_ptr parser::parse_trim()
{
    auto made = make(node::trim);
    next();
    next();
    made->word = "BOTH";
    const bool has_side = is_word("LEADING") || is_word("TRAILING") || is_word("BOTH");
    if (has_side)
        made->word = next().text;
    if (has_side && take_word("FROM")) {
        made->operands.push_back(parse_expression());
    } else {
        made->operands.push_back(parse_expression());
        if (take_word("FROM"))
            made->operands.insert(made->operands.begin(), parse_expression());
    }
    expect_mark(")", 907);
    return finish(std::move(made));
}

expression_ptr parser::parse_typed_literal(node kind)
{
    auto made = make(kind);
    made->word = next().text;
    made->text = next().text;
    return finish(std::move(made));
}

// INTERVAL '1 2' DAY(2) TO SECOND(3)
expression_ptr parser::parse_interval()
{
    auto made = parse_typed_literal(node::interval);
    const auto take_field = [&] {
        made->word += next().text;
        if (!take_mark("("))
            return;
        made->word += '(' + parse_number_text();
        if (take_mark(","))
            made->word += ',' + parse_number_text();
        expect_mark(")", 907);
        made->word += ')';
    };
    made->word.clear();
    take_field();
    if (take_word("TO")) {
        made->word += " TO ";
        take_field();
    }
    return finish(std::move(made));
}

} // namespace sqlite_oci::sql
