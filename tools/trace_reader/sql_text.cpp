#include "sql_text.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace trace_reader
{

namespace
{

enum class Kind { blank, literal, number, quoted_name, word, placeholder, comment, hint, other };

struct Token {
    Kind kind;
    std::string_view text;
};

bool is_letter(char c)
{
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_word_character(char c)
{
    return is_letter(c) || is_digit(c) || c == '$' || c == '#';
}

std::string upper(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

class Lexer
{
public:
    explicit Lexer(std::string_view text) : rest_(text) {}

    bool next(Token &token)
    {
        if (rest_.empty())
            return false;
        std::size_t size = 0;
        token.kind = measure(size);
        token.text = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return true;
    }

private:
    char at(std::size_t i) const { return i < rest_.size() ? rest_[i] : '\0'; }

    template <class Predicate> std::size_t run_of(std::size_t from, Predicate belongs) const
    {
        while (from < rest_.size() && belongs(rest_[from]))
            from++;
        return from;
    }

    /// Bytes up to and with a text, or all that is left.
    std::size_t up_to(std::string_view end, std::size_t from) const
    {
        const std::size_t found = rest_.find(end, from);
        return found == std::string_view::npos ? rest_.size() : found + end.size();
    }

    /// Bytes of a text in quotes, which are doubled inside it.
    std::size_t quoted(char quote, std::size_t from) const
    {
        for (std::size_t i = from; i < rest_.size(); i++) {
            if (rest_[i] != quote)
                continue;
            if (at(i + 1) != quote)
                return i + 1;
            i++;
        }
        return rest_.size();
    }

    /// Bytes of N'...', q'[...]' and nq'[...]'; 0 if it is none.
    std::size_t prefixed_literal() const
    {
        std::size_t i = 0;
        if (at(i) == 'n' || at(i) == 'N')
            i++;
        if (i == 1 && at(i) == '\'')
            return quoted('\'', i + 1);
        if ((at(i) != 'q' && at(i) != 'Q') || at(i + 1) != '\'' || i + 2 >= rest_.size())
            return 0;
        constexpr std::string_view openers = "[{<(";
        constexpr std::string_view closers = "]}>)";
        const char opener = rest_[i + 2];
        const std::size_t place = openers.find(opener);
        const char closer = place == std::string_view::npos ? opener : closers[place];
        const std::array<char, 2> end = {closer, '\''};
        return up_to({end.data(), end.size()}, i + 3);
    }

    std::size_t number() const
    {
        std::size_t i = run_of(0, [](char c) { return is_digit(c) || c == '.'; });
        if (at(i) == 'e' || at(i) == 'E') {
            const std::size_t exponent = i + (at(i + 1) == '+' || at(i + 1) == '-' ? 2 : 1);
            if (is_digit(at(exponent)))
                i = run_of(exponent, is_digit);
        }
        return i;
    }

    Kind measure(std::size_t &size) const
    {
        const char c = at(0);
        const auto is_blank = [](char b) { return std::isspace(static_cast<unsigned char>(b)) != 0; };
        if (is_blank(c)) {
            size = run_of(0, is_blank);
            return Kind::blank;
        }
        if (c == '\'') {
            size = quoted(c, 1);
            return Kind::literal;
        }
        if (c == '"') {
            size = quoted(c, 1);
            return Kind::quoted_name;
        }
        if (c == '-' && at(1) == '-') {
            size = std::min(rest_.find('\n'), rest_.size());
            return at(2) == '+' ? Kind::hint : Kind::comment;
        }
        if (c == '/' && at(1) == '*') {
            size = up_to("*/", 2);
            return at(2) == '+' ? Kind::hint : Kind::comment;
        }
        if (is_letter(c)) {
            size = prefixed_literal();
            if (size > 0)
                return Kind::literal;
            size = run_of(0, is_word_character);
            return Kind::word;
        }
        if (is_digit(c) || (c == '.' && is_digit(at(1)))) {
            size = number();
            return Kind::number;
        }
        if (c == ':' && is_word_character(at(1))) {
            size = run_of(1, is_word_character);
            return Kind::placeholder;
        }
        if (c == ':' && at(1) == '"') {
            size = quoted('"', 2);
            return Kind::placeholder;
        }
        size = 1;
        return Kind::other;
    }

    std::string_view rest_;
};

template <std::size_t N> bool is_one_of(const std::array<std::string_view, N> &sorted, std::string_view word)
{
    return std::ranges::binary_search(sorted, word);
}

constexpr std::array<std::string_view, 19> types = {
    "BINARY",    "CHAR",   "CHARACTER", "DAY",      "DEC",       "DECIMAL", "FLOAT",
    "NCHAR",     "NUMBER", "NUMERIC",   "NVARCHAR", "NVARCHAR2", "RAW",     "SECOND",
    "TIMESTAMP", "UROWID", "VARCHAR",   "VARCHAR2", "YEAR"};

constexpr auto keywords = std::to_array<std::string_view>({
    "ADD",          "ALL",
    "ALTER",        "ALWAYS",
    "AND",          "ANY",
    "AS",           "ASC",
    "AT",           "AUTHID",
    "AVG",          "BEGIN",
    "BETWEEN",      "BINARY_DOUBLE",
    "BINARY_FLOAT", "BINARY_INTEGER",
    "BLOB",         "BODY",
    "BOOLEAN",      "BULK",
    "BY",           "BYTE",
    "CALL",         "CASCADE",
    "CASE",         "CAST",
    "CHAR",         "CHARACTER",
    "CHECK",        "CLOB",
    "CLOSE",        "CLUSTER",
    "COALESCE",     "COLLECT",
    "COLUMN",       "COLUMNS",
    "COMMENT",      "COMMIT",
    "CONNECT",      "CONSTANT",
    "CONSTRAINT",   "COUNT",
    "CREATE",       "CROSS",
    "CUBE",         "CURRENT",
    "CURRENT_DATE", "CURRENT_TIMESTAMP",
    "CURRVAL",      "CURSOR",
    "CYCLE",        "DATABASE",
    "DATE",         "DAY",
    "DEC",          "DECIMAL",
    "DECLARE",      "DECODE",
    "DEFAULT",      "DEFERRED",
    "DELETE",       "DENSE_RANK",
    "DESC",         "DETERMINISTIC",
    "DISABLE",      "DISTINCT",
    "DOUBLE",       "DROP",
    "DUAL",         "EACH",
    "ELSE",         "ELSIF",
    "ENABLE",       "END",
    "ESCAPE",       "EXCEPT",
    "EXCEPTION",    "EXCLUSIVE",
    "EXEC",         "EXECUTE",
    "EXISTS",       "EXIT",
    "EXPLAIN",      "EXTRACT",
    "FALSE",        "FETCH",
    "FIRST",        "FLOAT",
    "FOLLOWING",    "FOR",
    "FORALL",       "FOREIGN",
    "FROM",         "FULL",
    "FUNCTION",     "GENERATED",
    "GLOBAL",       "GOTO",
    "GRANT",        "GREATEST",
    "GROUP",        "GROUPING",
    "HAVING",       "HOUR",
    "IDENTIFIED",   "IDENTITY",
    "IF",           "IMMEDIATE",
    "IN",           "INCREMENT",
    "INDEX",        "INNER",
    "INSERT",       "INSTR",
    "INT",          "INTEGER",
    "INTERSECT",    "INTERVAL",
    "INTO",         "IS",
    "ISOLATION",    "JOIN",
    "KEY",          "LAST",
    "LEAST",        "LEFT",
    "LENGTH",       "LEVEL",
    "LIKE",         "LIMIT",
    "LINK",         "LOB",
    "LOCK",         "LOCKED",
    "LONG",         "LOOP",
    "LOWER",        "LPAD",
    "LTRIM",        "MATCHED",
    "MATERIALIZED", "MAX",
    "MAXVALUE",     "MERGE",
    "MIN",          "MINUS",
    "MINUTE",       "MINVALUE",
    "MOD",          "MODE",
    "MODIFY",       "MONTH",
    "NATURAL",      "NCHAR",
    "NCLOB",        "NEW",
    "NEXT",         "NEXTVAL",
    "NOCACHE",      "NOCYCLE",
    "NOT",          "NOWAIT",
    "NULL",         "NULLIF",
    "NULLS",        "NUMBER",
    "NUMERIC",      "NVARCHAR2",
    "NVL",          "NVL2",
    "OF",           "OFFSET",
    "OLD",          "ON",
    "ONLY",         "OPEN",
    "OPTION",       "OR",
    "ORDER",        "OTHERS",
    "OUT",          "OUTER",
    "OVER",         "PACKAGE",
    "PARTITION",    "PIVOT",
    "PLAN",         "PLS_INTEGER",
    "PRECEDING",    "PRECISION",
    "PRESERVE",     "PRIMARY",
    "PRIOR",        "PRIVILEGES",
    "PROCEDURE",    "PUBLIC",
    "RAISE",        "RANGE",
    "RANK",         "RAW",
    "READ",         "REAL",
    "REFERENCES",   "RENAME",
    "REPLACE",      "RESTRICT",
    "RETURN",       "RETURNING",
    "REVOKE",       "RIGHT",
    "ROLE",         "ROLLBACK",
    "ROLLUP",       "ROUND",
    "ROW",          "ROWID",
    "ROWNUM",       "ROWS",
    "ROWTYPE",      "ROW_NUMBER",
    "RPAD",         "RTRIM",
    "SAVEPOINT",    "SCHEMA",
    "SECOND",       "SELECT",
    "SEQUENCE",     "SERIALIZABLE",
    "SESSION",      "SET",
    "SETS",         "SHARE",
    "SIBLINGS",     "SKIP",
    "SMALLINT",     "SQL",
    "START",        "SUBSTR",
    "SUM",          "SYNONYM",
    "SYSDATE",      "SYSTEM",
    "SYSTIMESTAMP", "TABLE",
    "TABLESPACE",   "TEMPORARY",
    "THEN",         "TIES",
    "TIME",         "TIMESTAMP",
    "TO",           "TO_CHAR",
    "TO_DATE",      "TO_NUMBER",
    "TO_TIMESTAMP", "TRANSACTION",
    "TRIGGER",      "TRIM",
    "TRUE",         "TRUNC",
    "TRUNCATE",     "TYPE",
    "UNBOUNDED",    "UNION",
    "UNIQUE",       "UNLIMITED",
    "UNPIVOT",      "UPDATE",
    "UPPER",        "UROWID",
    "USER",         "USING",
    "VALUES",       "VARCHAR",
    "VARCHAR2",     "VIEW",
    "WHEN",         "WHENEVER",
    "WHERE",        "WHILE",
    "WITH",         "WORK",
    "WRITE",        "XMLTYPE",
    "YEAR",         "ZONE",
});

static_assert(std::ranges::is_sorted(types) && std::ranges::is_sorted(keywords));

std::string line_ends_of(std::string_view text)
{
    return std::string(static_cast<std::size_t>(std::ranges::count(text, '\n')), '\n');
}

/// Follows the words of a statement and tells which are no names of its own but a user's, or a password.
class Words
{
public:
    /// Whether the word that comes now is secret.
    bool is_secret(const std::string &word)
    {
        const bool secret = expects_secret_ || (lists_users_ && word != "WITH" && word != "IDENTIFIED");
        expects_secret_ = false;
        if (secret && !(after_by_ && word == "VALUES")) {
            after_by_ = false;
            is_behind_password_ = true;
            last_ = "";
            return true;
        }
        if (first_.empty())
            first_ = word;
        const bool is_account = word == "USER" && (last_ == "CREATE" || last_ == "ALTER" || last_ == "DROP");
        const bool is_password = (word == "BY" && last_ == "IDENTIFIED") || (word == "VALUES" && after_by_) ||
                                 (word == "REPLACE" && is_behind_password_);
        const bool is_logon = word == "TO" && last_ == "CONNECT";
        after_by_ = word == "BY" && is_password;
        expects_secret_ = is_account || is_password || is_logon;
        lists_users_ = (word == "TO" && first_ == "GRANT") || (word == "FROM" && first_ == "REVOKE");
        last_ = word;
        return false;
    }

    /// A literal, a name in quotes or a mask takes the place of a password.
    bool takes_secret()
    {
        const bool secret = expects_secret_ || lists_users_;
        expects_secret_ = after_by_ = false;
        is_behind_password_ = is_behind_password_ || secret;
        return secret;
    }

    const std::string &last() const { return last_; }

private:
    std::string first_;
    std::string last_;
    bool expects_secret_ = false;
    bool after_by_ = false;
    bool lists_users_ = false;
    bool is_behind_password_ = false;
};

/// Whether numbers are the length of a type: between the parentheses behind its name.
class TypeLengths
{
public:
    void see(const Token &token, const std::string &last_word)
    {
        if (token.kind == Kind::blank)
            return;
        if (token.kind == Kind::other && token.text == "(")
            is_inside_ = behind_word_ && is_one_of(types, last_word);
        else if (token.kind == Kind::other && token.text == ")")
            is_inside_ = false;
        behind_word_ = token.kind == Kind::word;
    }
    bool is_inside() const { return is_inside_; }

private:
    bool behind_word_ = false;
    bool is_inside_ = false;
};

constexpr std::string_view mask = "***";

std::string masked_comment(std::string_view comment)
{
    std::string result(comment.substr(0, 2));
    result += ' ';
    result += mask;
    result += line_ends_of(comment);
    if (comment.starts_with("/*"))
        result += " */";
    return result;
}

} // namespace

std::string mask_sql(std::string_view sql, const std::function<std::string(std::string_view)> &rename)
{
    std::string result;
    result.reserve(sql.size());
    Lexer lexer(sql);
    Words words;
    TypeLengths lengths;
    for (Token token{}; lexer.next(token);) {
        lengths.see(token, words.last());
        switch (token.kind) {
        case Kind::literal:
            result += words.takes_secret() ? std::string(mask) + line_ends_of(token.text)
                                           : "'***" + line_ends_of(token.text) + "'";
            break;
        case Kind::number:
            result += lengths.is_inside() ? token.text : "0";
            break;
        case Kind::comment:
            result += masked_comment(token.text);
            break;
        case Kind::hint:
            result += rename ? masked_comment(token.text) : std::string(token.text);
            break;
        case Kind::quoted_name:
            if (words.takes_secret())
                result += std::string(mask) + line_ends_of(token.text);
            else
                result += rename ? rename(token.text) + line_ends_of(token.text) : std::string(token.text);
            break;
        case Kind::placeholder:
            result += rename ? ":" + rename(token.text.substr(1)) : std::string(token.text);
            break;
        case Kind::word: {
            const std::string word = upper(token.text);
            if (words.is_secret(word))
                result += mask;
            else
                result += rename && !is_one_of(keywords, word) ? rename(token.text) : std::string(token.text);
            break;
        }
        default:
            if (token.text == "*")
                words.takes_secret();
            result += token.text;
        }
    }
    return result;
}

std::string sql_shape(std::string_view sql)
{
    std::string result;
    result.reserve(sql.size());
    Lexer lexer(sql);
    Words words;
    TypeLengths lengths;
    bool blank = false;
    const auto add = [&](std::string_view text) {
        if (blank && !result.empty())
            result += ' ';
        blank = false;
        result += text;
    };
    for (Token token{}; lexer.next(token);) {
        lengths.see(token, words.last());
        switch (token.kind) {
        case Kind::blank:
        case Kind::comment:
            blank = true;
            break;
        case Kind::literal:
            add(words.takes_secret() ? mask : "?");
            break;
        case Kind::number:
            add(lengths.is_inside() ? token.text : "?");
            break;
        case Kind::quoted_name:
            add(words.takes_secret() ? mask : token.text);
            break;
        case Kind::word:
            add(words.is_secret(upper(token.text)) ? mask : token.text);
            break;
        default:
            if (token.text == "*")
                words.takes_secret();
            add(token.text);
        }
    }
    return result;
}

} // namespace trace_reader
