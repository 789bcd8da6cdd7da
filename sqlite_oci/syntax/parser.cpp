#include "syntax/parser.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

constexpr std::string_view reserved_words[] = {
    "ACCESS",     "ADD",      "ALL",        "ALTER",    "AND",        "ANY",        "AS",        "ASC",
    "AUDIT",      "BETWEEN",  "BY",         "CHAR",     "CHECK",      "CLUSTER",    "COLUMN",    "COMMENT",
    "COMPRESS",   "CONNECT",  "CREATE",     "CURRENT",  "DATE",       "DECIMAL",    "DEFAULT",   "DELETE",
    "DESC",       "DISTINCT", "DROP",       "ELSE",     "EXCLUSIVE",  "EXISTS",     "FILE",      "FLOAT",
    "FOR",        "FROM",     "GRANT",      "GROUP",    "HAVING",     "IDENTIFIED", "IMMEDIATE", "IN",
    "INCREMENT",  "INDEX",    "INITIAL",    "INSERT",   "INTEGER",    "INTERSECT",  "INTO",      "IS",
    "LEVEL",      "LIKE",     "LOCK",       "LONG",     "MAXEXTENTS", "MINUS",      "MLSLABEL",  "MODE",
    "MODIFY",     "NOAUDIT",  "NOCOMPRESS", "NOT",      "NOWAIT",     "NULL",       "NUMBER",    "OF",
    "OFFLINE",    "ON",       "ONLINE",     "OPTION",   "OR",         "ORDER",      "PCTFREE",   "PRIOR",
    "PUBLIC",     "RAW",      "RENAME",     "RESOURCE", "REVOKE",     "ROW",        "ROWID",     "ROWNUM",
    "ROWS",       "SELECT",   "SESSION",    "SET",      "SHARE",      "SIZE",       "SMALLINT",  "START",
    "SUCCESSFUL", "SYNONYM",  "SYSDATE",    "TABLE",    "THEN",       "TO",         "TRIGGER",   "UID",
    "UNION",      "UNIQUE",   "UPDATE",     "USER",     "VALIDATE",   "VALUES",     "VARCHAR",   "VARCHAR2",
    "VIEW",       "WHENEVER", "WHERE",      "WITH"};

} // namespace

bool is_reserved(std::string_view word)
{
    return std::find(std::begin(reserved_words), std::end(reserved_words), word) != std::end(reserved_words);
}

const token &parser::next()
{
    const token &taken = peek();
    if (at_ < tokens_.size())
        ++at_;
    return taken;
}

bool parser::take_word(std::string_view word)
{
    if (!is_word(word))
        return false;
    next();
    return true;
}

bool parser::take_words(std::initializer_list<std::string_view> words)
{
    std::size_t ahead = 0;
    for (const std::string_view word : words)
        if (!is_word(word, ahead++))
            return false;
    at_ += words.size();
    return true;
}

bool parser::take_mark(std::string_view mark)
{
    if (!is_mark(mark))
        return false;
    next();
    return true;
}

void parser::fail_here(int code, const char *what) const
{
    const token &here = peek();
    if (here.kind == token_kind::bad)
        fail_at(here.offset, here.error, "%s: %.40s", token_error_text(here.error), here.text.c_str());
    if (here.kind == token_kind::end)
        fail_at(here.offset, code, "%s", what);
    if (here.is_mark(";"))
        fail_at(here.offset, 911, "invalid character: ; ends no statement here");
    const std::string_view text = text_.substr(here.offset, std::min<std::size_t>(here.length, 60));
    fail_at(here.offset, code, "%s, at %.*s", what, static_cast<int>(text.size()), text.data());
}

void parser::expect_word(std::string_view word, int code)
{
    if (!take_word(word))
        fail_here(code, (std::string(word) + " is missing").c_str());
}

void parser::expect_mark(std::string_view mark, int code)
{
    if (take_mark(mark))
        return;
    if (code == 0)
        code = mark == "(" ? 906 : mark == ")" ? 907 : mark == "=" ? 927 : 917;
    fail_here(code, (std::string(mark) + " is missing").c_str());
}

void parser::expect_end()
{
    if (!is_at_end())
        fail_here(933, "the statement should have ended");
}

name parser::parse_name(int code)
{
    const token &here = peek();
    if (here.kind == token_kind::quoted_name || (here.kind == token_kind::word && !is_reserved(here.text))) {
        next();
        return {here.text, here.offset};
    }
    fail_here(code, "a name is missing");
}

name parser::parse_qualified_name(name *schema)
{
    name result = parse_name();
    if (take_mark(".")) {
        *schema = std::move(result);
        result = parse_name();
    }
    return result;
}

std::string parser::parse_number_text()
{
    std::string sign = take_mark("-") ? "-" : "";
    take_mark("+");
    if (peek().kind != token_kind::number)
        fail_here(1722, "a number is missing");
    return sign + next().text;
}

// Placeholders are counted by their occurrences in the whole text.
std::size_t parser::placeholder_index(const token &of) const
{
    std::size_t index = 0;
    for (const token &one : tokens_) {
        if (&one == &of)
            break;
        index += one.kind == token_kind::placeholder;
    }
    return index;
}

std::string_view parser::text_between(std::size_t first_token, std::size_t end_token) const
{
    if (first_token >= end_token)
        return {};
    const token &last = tokens_[end_token - 1];
    const std::size_t start = tokens_[first_token].offset;
    return text_.substr(start, last.offset + last.length - start);
}

} // namespace sqlite_oci::sql
