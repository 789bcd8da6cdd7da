#include "sql_text.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace dkomsql
{

namespace
{

bool is_blank(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool is_word(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '$' || c == '#' || byte >= 0x80;
}

enum class Kind { blank, comment, quoted, word, other };

struct Token {
    Kind kind = Kind::other;
    std::size_t end = 0;
    bool closed = true; // false: quoted text or a comment that has not ended yet
};

Token delimited(std::string_view sql, std::size_t body, std::string_view terminator, Kind kind)
{
    const std::size_t found = sql.find(terminator, body);
    if (found == std::string_view::npos)
        return {kind, sql.size(), false};
    return {kind, found + terminator.size(), true};
}

/// The token that starts at `at`. A doubled quote inside quoted text reads as two neighbouring tokens,
/// which comes to the same.
Token token_at(std::string_view sql, std::size_t at)
{
    const char c = sql[at];
    if (is_blank(c))
        return {Kind::blank, at + 1, true};
    if (c == '\'' || c == '"')
        return delimited(sql, at + 1, sql.substr(at, 1), Kind::quoted);
    if (sql.substr(at, 2) == "/*")
        return delimited(sql, at + 2, "*/", Kind::comment);
    if (sql.substr(at, 2) == "--")
        return delimited(sql, at + 2, "\n", Kind::comment);
    if (is_word(c)) {
        std::size_t end = at + 1;
        while (end < sql.size() && is_word(sql[end]))
            end++;
        return {Kind::word, end, true};
    }
    return {Kind::other, at + 1, true};
}

/// Position of the first character that is neither blank nor part of a comment.
std::size_t skip_blanks_and_comments(std::string_view sql, std::size_t at = 0)
{
    while (at < sql.size()) {
        const Token token = token_at(sql, at);
        if (token.kind != Kind::blank && token.kind != Kind::comment)
            break;
        at = token.end;
    }
    return at;
}

std::string upper(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return result;
}

/// The first `count` words of a statement, in upper case.
std::vector<std::string> leading_words(std::string_view sql, std::size_t count)
{
    std::vector<std::string> words;
    std::size_t at = skip_blanks_and_comments(sql);
    while (at < sql.size() && words.size() < count) {
        const Token token = token_at(sql, at);
        if (token.kind != Kind::word)
            break;
        words.push_back(upper(sql.substr(at, token.end - at)));
        at = skip_blanks_and_comments(sql, token.end);
    }
    return words;
}

bool is_block(std::string_view sql)
{
    constexpr std::array modifiers{"OR", "REPLACE", "TEMP", "TEMPORARY", "EDITIONABLE", "NONEDITIONABLE"};
    constexpr std::array programs{"TRIGGER", "PROCEDURE", "FUNCTION", "PACKAGE", "TYPE"};
    const auto is_one_of = [](const auto &list, const std::string &word) {
        return std::find(list.begin(), list.end(), word) != list.end();
    };

    const std::vector<std::string> words = leading_words(sql, 6);
    if (words.empty())
        return false;
    if (words[0] == "BEGIN" || words[0] == "DECLARE")
        return true;
    if (words[0] != "CREATE")
        return false;
    for (std::size_t i = 1; i < words.size(); i++) {
        if (!is_one_of(modifiers, words[i]))
            return is_one_of(programs, words[i]);
    }
    return false;
}

/// True when the line that holds position `at` consists of a single `/` and blanks.
bool is_slash_line(std::string_view sql, std::size_t at)
{
    const std::size_t before = sql.rfind('\n', at);
    const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
    const std::size_t end = std::min(sql.find('\n', at), sql.size());
    const std::string_view line = sql.substr(start, end - start);
    return std::count_if(line.begin(), line.end(), [](char c) { return !is_blank(c); }) == 1;
}

} // namespace

void StatementSplitter::add_line(std::string_view line)
{
    buffer_ += line;
    buffer_ += '\n';
}

std::optional<SqlStatement> StatementSplitter::next()
{
    while (scanned_ < buffer_.size()) {
        const std::string_view sql = buffer_;
        const Token token = token_at(sql, scanned_);
        if (!token.closed)
            break; // more lines are needed; scanning resumes at the start of this token
        const std::size_t at = scanned_;
        scanned_ = token.end;
        if (token.kind != Kind::other)
            continue;
        const bool ends =
            (sql[at] == ';' && !is_block(sql.substr(0, at))) || (sql[at] == '/' && is_slash_line(sql, at));
        if (!ends)
            continue;
        if (std::optional<SqlStatement> statement = take(at, token.end))
            return statement;
    }
    return std::nullopt;
}

std::optional<SqlStatement> StatementSplitter::finish()
{
    return take(buffer_.size(), buffer_.size());
}

bool StatementSplitter::pending() const
{
    for (std::size_t at = 0; at < buffer_.size();) {
        const Token token = token_at(buffer_, at);
        if (!token.closed || (token.kind != Kind::blank && token.kind != Kind::comment))
            return true;
        at = token.end;
    }
    return false;
}

void StatementSplitter::discard()
{
    take(buffer_.size(), buffer_.size());
}

std::optional<SqlStatement> StatementSplitter::take(std::size_t text_end, std::size_t rest)
{
    const std::string_view sql = std::string_view(buffer_).substr(0, text_end);
    const std::size_t start = skip_blanks_and_comments(sql);
    std::size_t end = sql.size();
    while (end > start && is_blank(sql[end - 1]))
        end--;

    std::optional<SqlStatement> statement;
    if (end > start) {
        const auto lines = std::count(sql.begin(), sql.begin() + static_cast<std::ptrdiff_t>(start), '\n');
        statement = SqlStatement{std::string(sql.substr(start, end - start)),
                                 buffer_line_ + static_cast<std::size_t>(lines)};
    }
    const auto taken = std::count(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(rest), '\n');
    buffer_line_ += static_cast<std::size_t>(taken);
    buffer_.erase(0, rest);
    scanned_ = 0;
    return statement;
}

std::string folded_name(std::string_view name)
{
    return upper(name);
}

std::vector<std::string> placeholders(std::string_view sql)
{
    std::vector<std::string> names;
    const std::vector<std::string> words = leading_words(sql, 1);
    if (!words.empty() && words[0] == "CREATE")
        return names;

    std::vector<std::string> seen;
    for (std::size_t at = 0; at < sql.size();) {
        const Token token = token_at(sql, at);
        const bool starts_name = token.kind == Kind::other && sql[at] == ':' && token.end < sql.size() &&
                                 is_word(sql[token.end]) && (at == 0 || sql[at - 1] != ':');
        if (starts_name) {
            const Token word = token_at(sql, token.end);
            const std::string_view name = sql.substr(token.end, word.end - token.end);
            const std::string folded = folded_name(name);
            if (std::find(seen.begin(), seen.end(), folded) == seen.end()) {
                seen.push_back(folded);
                names.emplace_back(name);
            }
            at = word.end;
        } else {
            at = token.end;
        }
    }
    return names;
}

bool locks_rows(std::string_view sql)
{
    std::string before;
    for (std::size_t at = skip_blanks_and_comments(sql); at < sql.size();) {
        const Token token = token_at(sql, at);
        const std::string word = token.kind == Kind::word ? upper(sql.substr(at, token.end - at)) : "";
        if (before == "FOR" && word == "UPDATE")
            return true;
        before = word;
        at = skip_blanks_and_comments(sql, token.end);
    }
    return false;
}

std::vector<std::string> tables_named(std::string_view sql)
{
    constexpr std::array openers{"FROM", "JOIN", "INTO", "UPDATE", "TABLE"};
    constexpr std::array enders{"WHERE", "GROUP", "ORDER", "SET", "VALUES", "SELECT", "ON", "USING"};
    const auto is_one_of = [](const auto &list, const std::string &word) {
        return std::find(list.begin(), list.end(), word) != list.end();
    };
    std::vector<std::string> names;
    std::string before;
    bool is_expected = false;
    bool in_list = false; // a comma brings another name
    for (std::size_t at = skip_blanks_and_comments(sql); at < sql.size();) {
        const Token token = token_at(sql, at);
        const std::string_view text = sql.substr(at, token.end - at);
        const std::string word = token.kind == Kind::word ? upper(text) : "";
        if (is_one_of(openers, word) && before != "FOR") {
            is_expected = true;
            in_list = word == "FROM";
        } else if (is_one_of(enders, word)) {
            is_expected = in_list = false;
        } else if (is_expected && (token.kind == Kind::word || text.front() == '"')) {
            names.emplace_back(text);
            is_expected = false;
        } else {
            is_expected = in_list && text == ",";
        }
        before = word;
        at = skip_blanks_and_comments(sql, token.end);
    }
    return names;
}

TransactionEnd transaction_end(std::string_view sql)
{
    const std::vector<std::string> words = leading_words(sql, 3);
    if (words.empty() || words.size() > 2 || (words.size() == 2 && words[1] != "WORK"))
        return TransactionEnd::none;
    if (words[0] == "COMMIT")
        return TransactionEnd::commit;
    return words[0] == "ROLLBACK" ? TransactionEnd::rollback : TransactionEnd::none;
}

TextPosition locate(std::string_view text, std::size_t offset)
{
    offset = std::min(offset, text.size());
    const std::string_view before = text.substr(0, offset);
    const std::size_t line_feed = before.rfind('\n');
    const std::size_t start = line_feed == std::string_view::npos ? 0 : line_feed + 1;
    const std::size_t end = std::min(text.find('\n', start), text.size());
    return {static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')),
            text.substr(start, end - start), offset - start};
}

} // namespace dkomsql
