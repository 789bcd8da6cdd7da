// Names in expressions: columns, and calls of functions with what may stand behind them.
#include "syntax/nesting.h"

namespace sqlite_oci::sql
{

// A column, a function, or CURRVAL and NEXTVAL of a sequence.
expression_ptr parser::parse_column()
{
    const std::size_t start = peek().offset;
    std::vector<name> parts;
    bool is_quoted = false, is_star = false;
    do {
        if (!parts.empty() && take_mark("*")) {
            is_star = true;
            break;
        }
        is_quoted = peek().kind == token_kind::quoted_name;
        // ROWID and ROWNUM are reserved, but stand in the place of a column.
        const bool is_special = is_word("ROWID") || is_word("ROWNUM") || is_word("LEVEL");
        const bool is_function = !is_quoted && is_mark("(", 1);
        if (is_special || (is_function && peek().kind == token_kind::word && peek().text != "SELECT"))
            parts.push_back({peek().text, peek().offset}), next();
        else
            parts.push_back(parse_name(parts.empty() ? 936 : 904));
    } while (take_mark("."));

    if (!is_star && is_mark("(") && !(is_mark("+", 1) && is_mark(")", 2)))
        return parse_call(parts.back(), parts.size() > 1 ? parts.front() : name{});
    auto made = std::make_unique<expression>(is_star ? node::star : node::column, start);
    made->is_quoted = is_quoted;
    if (!is_star) {
        made->text = parts.back().text;
        parts.pop_back();
    }
    if (!parts.empty()) {
        made->qualifier = parts.back();
        parts.pop_back();
    }
    if (!parts.empty()) {
        made->schema = parts.back();
        parts.pop_back();
    }
    if (!parts.empty())
        fail_at(start, 904, "invalid identifier: too many parts in a name");
    if (made->kind == node::column && !is_quoted && (made->text == "NEXTVAL" || made->text == "CURRVAL") &&
        made->qualifier) {
        made->kind = node::pseudo;
        made->word = made->text;
    } else if (take_mark("(")) {
        expect_mark("+");
        expect_mark(")", 907);
        made->is_outer = true;
    }
    return finish(std::move(made));
}

expression_ptr parser::parse_call(const name &function, name schema)
{
    const nesting level(depth_, function.offset);
    auto made = std::make_unique<expression>(node::call, function.offset);
    made->word = function.text;
    made->schema = std::move(schema);
    expect_mark("(");
    if (take_mark("*")) {
        made->operands.push_back(std::make_unique<expression>(node::star, function.offset));
    } else if (!is_mark(")")) {
        made->is_distinct = take_word("DISTINCT") || take_word("UNIQUE");
        take_word("ALL");
        do
            made->operands.push_back(parse_expression());
        while (take_mark(","));
    }
    if (take_words({"IGNORE", "NULLS"}))
        made->ignore_nulls = true;
    expect_mark(")", 907);
    parse_call_tail(*made);
    return finish(std::move(made));
}

void parser::parse_call_tail(expression &call)
{
    if (take_words({"WITHIN", "GROUP"})) {
        expect_mark("(");
        expect_word("ORDER");
        expect_word("BY", 924);
        call.within = parse_order_terms();
        expect_mark(")", 907);
    }
    if (is_word("KEEP") && is_mark("(", 1))
        fail_unserved(peek().offset, "KEEP (DENSE_RANK ...)");
    if (take_words({"IGNORE", "NULLS"}))
        call.ignore_nulls = true;
    take_words({"RESPECT", "NULLS"});
    if (is_word("OVER") && is_mark("(", 1)) {
        next();
        call.over = parse_window();
    }
}

std::unique_ptr<window> parser::parse_window()
{
    auto made = std::make_unique<window>();
    expect_mark("(");
    if (take_words({"PARTITION", "BY"})) {
        do
            made->partition.push_back(parse_expression());
        while (take_mark(","));
    }
    if (take_words({"ORDER", "BY"}))
        made->order = parse_order_terms();
    const std::size_t first = at_;
    while (!is_mark(")")) {
        if (is_at_end() || !(peek().kind == token_kind::word || peek().kind == token_kind::number))
            fail_here(907, "a right parenthesis is missing");
        next();
    }
    made->frame = upper_case(text_between(first, at_));
    expect_mark(")", 907);
    return made;
}

} // namespace sqlite_oci::sql
