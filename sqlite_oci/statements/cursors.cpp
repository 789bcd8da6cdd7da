// Cursors that a block opens for the statement handles that are bound to it.
#include "statements/statement.h"
#include "text/text_scan.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

struct opening {
    std::string variable; // in upper case, without the colon
    std::string query;
};

bool is_name_letter(char c)
{
    return is_letter(c) || is_digit(c) || c == '_' || c == '$' || c == '#';
}

// Takes a word that ends where it ends.
bool take_word(std::string_view *text, std::string_view word)
{
    std::string_view rest = *text;
    skip_blanks(&rest);
    if (!take(&rest, word) || (!rest.empty() && is_name_letter(rest.front())))
        return false;
    *text = rest;
    return true;
}

// "BEGIN OPEN :c FOR SELECT ...; END;", and no other block.
std::optional<opening> opening_of(std::string_view text)
{
    if (!take_word(&text, "BEGIN") || !take_word(&text, "OPEN"))
        return std::nullopt;
    skip_blanks(&text);
    if (!take(&text, ":"))
        return std::nullopt;
    std::size_t length = 0;
    while (length < text.size() && is_name_letter(text[length]))
        ++length;
    opening found{sql::upper_case(text.substr(0, length)), {}};
    text.remove_prefix(length);
    if (found.variable.empty() || !take_word(&text, "FOR"))
        return std::nullopt;
    text = trim(text);
    if (take_end(&text, ";"))
        text = trim(text);
    if (!take_end(&text, "END"))
        return std::nullopt;
    text = trim(text);
    if (!take_end(&text, ";"))
        return std::nullopt;
    found.query = trim(text);
    return found;
}

} // namespace

bind *statement::bind_of_name(std::string_view name) const
{
    for (std::size_t i = 0; i < bound_.size(); ++i)
        if (text.placeholders[i].name == name)
            return bound_[i];
    return nullptr;
}

// The query runs in the bound statement, with this one's bind variables.
bool statement::open_cursor(const service_context &context, call_errors errors)
{
    const auto cursor = text.kind == statement_kind::block ? opening_of(text.original) : std::nullopt;
    if (!cursor)
        return false;
    const bind *const variable = bind_of_name(cursor->variable);
    if (!variable)
        fail(1008, "not all variables are bound: :%s is not", cursor->variable.c_str());
    if (variable->array.host.type != SQLT_RSET || !variable->array.values)
        fail(932, "a cursor is opened for a variable of type SQLT_RSET");
    auto *const target = find<statement>(pointer_in(variable->array.value_at(0)));
    if (!target || target == this)
        fail(1023, "the variable :%s holds no other statement handle", cursor->variable.c_str());

    target->prepare(cursor->query);
    if (target->text.kind != statement_kind::query)
        fail(900, "a cursor is opened for a query");
    for (const placeholder &wanted : target->text.placeholders) {
        const bind *const given = bind_of_name(wanted.name);
        if (!given || given->is_dynamic)
            fail(1008, "not all variables are bound: :%s is not", wanted.name.c_str());
        target->bind_name(nullptr, wanted.name).describe(given->array);
    }
    target->execute(context, {}, errors);
    row_count = 1;
    is_executed = true;
    return true;
}

} // namespace sqlite_oci
