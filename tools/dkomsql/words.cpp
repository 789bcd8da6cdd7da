#include "words.h"

#include <cctype>

#include <fmt/format.h>

#include "user_error.h"

namespace dkomsql
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos)
        return "";
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

UserError open_quote(char quote)
{
    return UserError(fmt::format("a quote {} is not closed", quote));
}

/// Position of the first of `wanted` outside of double quotes, or the end.
std::size_t find_unquoted(std::string_view text, std::string_view wanted)
{
    for (std::size_t at = 0; at < text.size(); at++) {
        if (wanted.find(text[at]) != std::string_view::npos)
            return at;
        if (text[at] != '"')
            continue;
        at = text.find('"', at + 1);
        if (at == std::string_view::npos)
            throw open_quote('"');
    }
    return text.size();
}

std::string checked_name(std::string_view text, std::string_view what)
{
    const std::string_view name = trimmed(text);
    bool quoted = false;
    bool is_name = !name.empty();
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"')
            quoted = !quoted;
        else if (!quoted && std::isalnum(byte) == 0 && byte < 0x80 && c != '_' && c != '$' && c != '#' &&
                 c != '.')
            is_name = false;
    }
    if (!is_name || quoted)
        throw UserError(fmt::format("'{}' is not the name of a {}", name, what));
    return std::string(name);
}

} // namespace

bool WordReader::skip_blanks()
{
    rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size()));
    return !rest_.empty();
}

std::optional<std::string> WordReader::word()
{
    if (!skip_blanks())
        return std::nullopt;
    std::string word;
    while (!rest_.empty() && blanks.find(rest_.front()) == std::string_view::npos) {
        const char quote = rest_.front();
        rest_.remove_prefix(1);
        if (quote != '\'' && quote != '"') {
            word += quote;
            continue;
        }
        for (bool closed = false; !closed;) {
            const std::size_t end = rest_.find(quote);
            if (end == std::string_view::npos)
                throw open_quote(quote);
            word += rest_.substr(0, end);
            rest_.remove_prefix(end + 1);
            closed = !rest_.starts_with(quote);
            if (!closed) {
                word += quote;
                rest_.remove_prefix(1);
            }
        }
    }
    return word;
}

std::optional<std::string> WordReader::name()
{
    if (!skip_blanks())
        return std::nullopt;
    std::string name(rest_.substr(0, find_unquoted(rest_, " \t(")));
    rest_.remove_prefix(name.size());
    if (skip_blanks() && rest_.front() == '(') {
        const std::size_t end = find_unquoted(rest_, ")");
        name += rest_.substr(0, end + 1);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
    }
    return name;
}

std::optional<std::string> WordReader::rest()
{
    if (!skip_blanks())
        return std::nullopt;
    const std::string_view all = trimmed(rest_);
    rest_ = {};
    return std::string(all);
}

TableColumns parse_table(std::string_view text)
{
    const std::size_t open = find_unquoted(text, "(");
    TableColumns parsed{checked_name(text.substr(0, open), "table"), {}};
    if (open == text.size())
        return parsed;
    std::string_view list = text.substr(open + 1);
    if (!list.ends_with(')'))
        throw UserError(fmt::format("the list of columns of {} is not closed", parsed.table));
    list.remove_suffix(1);
    for (;;) {
        const std::size_t end = find_unquoted(list, ",");
        parsed.columns.push_back(checked_name(list.substr(0, end), "column"));
        if (end == list.size())
            return parsed;
        list.remove_prefix(end + 1);
    }
}

} // namespace dkomsql
