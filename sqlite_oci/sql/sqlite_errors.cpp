#include "sql/sqlite_errors.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

namespace sqlite_oci
{
namespace
{

// A message of SQLite's parser or code generator, recognised by two parts in this order; "*" in the text
// stands for what is between them (or, where the second is empty, behind the first).
struct message_rule {
    const char *begin;
    const char *then;
    int code;
    const char *text;
};

constexpr message_rule message_rules[] = {
    {"no such table: ", "", 942, "table or view * does not exist"},
    {"no such view: ", "", 942, "view * does not exist"},
    {"no such index: ", "", 1418, "index * does not exist"},
    {"no such trigger: ", "", 4080, "trigger * does not exist"},
    {"no such savepoint: ", "", 1086, "savepoint * was never established in this transaction"},
    {"no such column: ", "", 904, "* is not a valid identifier here: no such column"},
    {"no such function: ", "", 904, "* is not a valid identifier here: no such function"},
    {" has no column named ", "", 904, "* is not a valid identifier here: no such column"},
    {"ambiguous column name: ", "", 918, "column * is in more than one of the tables"},
    {"duplicate column name: ", "", 957, "column name * is given twice"},
    {"there is already ", " named ", 955, "the name is already used by another object"},
    {" already exists", "", 955, "the name is already used by another object"},
    {"cannot modify ", " because it is a view", 1732, "view * cannot be changed"},
    {"table ", " may not be modified", 1031, "table * may not be changed"},
    {"table ", " may not be dropped", 1031, "table * may not be dropped"},
    {"misuse of aggregate", "", 934, "a group function is not allowed here"},
    {"misuse of window function", "", 30483, "a window function is not allowed here"},
    {"wrong number of arguments to function ", "", 909, "wrong number of arguments for function *"},
    {"do not have the same number of result columns", "", 1789,
     "the queries of a set operation have different numbers of columns"},
    {"sub-select returns ", " columns", 913, "too many values: a subquery returns * columns"},
    {"row value misused", "", 913, "too many values: a list of values where one is needed"},
    {"ORDER BY term out of range", "", 1785,
     "ORDER BY names a column by a number that the query does not have"},
    {"too many terms in", "", 913, "too many terms"},
    {"a GROUP BY clause is required before HAVING", "", 979, "HAVING needs a GROUP BY here"},
    {"incomplete input", "", 921, "the statement ends too early"},
    {"not authorized", "", 1031, "SQL reaches no other file, setting or transaction here"},
    {"datatype mismatch", "", 1722, "not a valid number for a column of integers"},
    {"integer overflow", "", 1426, "numeric overflow"},
    {"cannot start a transaction", "", 1453, "a transaction is already active"},
};

struct result_rule {
    int result; // primary or extended code of SQLite
    int code;
    const char *text;
};

// Extended codes stand before the primary ones that they belong to.
constexpr result_rule result_rules[] = {
    {SQLITE_CONSTRAINT_UNIQUE, 1, "unique constraint violated"},
    {SQLITE_CONSTRAINT_PRIMARYKEY, 1, "unique constraint violated"},
    {SQLITE_CONSTRAINT_ROWID, 1, "unique constraint violated"},
    {SQLITE_CONSTRAINT_CHECK, 2290, "check constraint violated"},
    {SQLITE_CONSTRAINT_DATATYPE, 1722, "not a valid value for the column's type"},
    {SQLITE_CONSTRAINT_TRIGGER, 20000, "refused by a trigger"},
    {SQLITE_CONSTRAINT, 2290, "constraint violated"},
    {SQLITE_BUSY_SNAPSHOT, 8177, "the data has been changed by another session since this transaction began"},
    {SQLITE_BUSY, 54, "the database is locked by another session"},
    {SQLITE_LOCKED, 54, "the table is locked"},
    {SQLITE_INTERRUPT, 1013, "the call was interrupted on request"},
    {SQLITE_READONLY, 16000, "the database file or its directory cannot be written"},
    {SQLITE_PERM, 1031, "no permission"},
    {SQLITE_AUTH, 1031, "SQL reaches no other file, setting or transaction here"},
    {SQLITE_CANTOPEN, 1157, "the database file cannot be opened"},
    {SQLITE_FULL, 1653, "no room left for the database file"},
    {SQLITE_IOERR, 1115, "the database file could not be read or written"},
    {SQLITE_CORRUPT, 1578, "the database file is damaged"},
    {SQLITE_NOTADB, 1578, "the file is not an SQLite database"},
    {SQLITE_NOMEM, 4030, "out of memory"},
    {SQLITE_TOOBIG, 1704, "a text or value is too long"},
    {SQLITE_MISMATCH, 1722, "not a valid number for a column of integers"},
    {SQLITE_RANGE, 1006, "no such bind variable"},
    {SQLITE_SCHEMA, 4068, "the schema was changed by another session"},
};

std::string quoted(std::string_view name)
{
    std::string result = "\"";
    result.append(name);
    return result += '"';
}

std::string with_detail(std::string_view text, std::string_view message)
{
    std::string result(text);
    result.append(" (").append(message);
    return result += ')';
}

std::optional<error_record> by_message(std::string_view message)
{
    for (const message_rule &rule : message_rules) {
        const auto begin = message.find(rule.begin);
        if (begin == message.npos)
            continue;
        const auto word = begin + std::strlen(rule.begin);
        const auto end = *rule.then ? message.find(rule.then, word) : message.size();
        if (end == message.npos)
            continue;
        std::string text = rule.text;
        if (const auto star = text.find('*'); star != text.npos)
            text.replace(star, 1, quoted(message.substr(word, end - word)));
        return make_record(rule.code, text);
    }
    return std::nullopt;
}

// "table T has 2 columns but 3 values were supplied" and "3 values for 2 columns"
std::optional<error_record> by_value_count(std::string_view message)
{
    const auto number_before = [&](std::string_view mark) -> std::optional<int> {
        const auto at = message.find(mark);
        if (at == message.npos)
            return std::nullopt;
        const auto from = message.find_last_of(' ', at - 1);
        const char *digits = message.data() + (from == message.npos ? 0 : from + 1);
        int number = 0;
        const auto parsed = std::from_chars(digits, message.data() + at, number);
        return parsed.ec == std::errc() ? std::optional(number) : std::nullopt;
    };
    const auto values = number_before(" values");
    const auto columns = number_before(" columns");
    if (!values || !columns)
        return std::nullopt;
    return *values > *columns ? make_record(913, "more values than columns")
                              : make_record(947, "fewer values than columns");
}

bool starts_with_word(std::string_view text, std::string_view word)
{
    const auto same = [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; };
    return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(), same);
}

std::string_view without_leading_blanks(std::string_view text)
{
    const auto from = text.find_first_not_of(" \t\r\n");
    return from == text.npos ? std::string_view() : text.substr(from);
}

std::string upper(std::string_view text)
{
    std::string result(text);
    for (char &c : result)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

// A syntax error at `token`: what was expected there follows from the token and from what stands before it.
error_record syntax_record(std::string_view token, std::string_view before)
{
    const std::string name = quoted(token);
    const std::string word = upper(token);
    const std::string_view statement = without_leading_blanks(before);
    if (statement.empty())
        return make_record(900, "not an SQL statement, at " + name);
    if (word == "FROM" || word == "," || word == ")" || word == "WHERE")
        return make_record(936, "an expression is missing before " + name);
    if (starts_with_word(statement, "SELECT") && upper(statement).find("FROM") == std::string::npos)
        return make_record(923, "FROM was expected before or at " + name);
    return make_record(933, "the statement should have ended before " + name);
}

std::optional<error_record> by_syntax(std::string_view message, std::string_view statement, int offset)
{
    constexpr std::string_view near = "near \"";
    if (message.starts_with("unrecognized token: \"")) {
        const char first = message[std::strlen("unrecognized token: \"")];
        return first == '\'' || first == '"' ? make_record(1756, "a quoted text is not terminated")
                                             : make_record(911, with_detail("invalid character", message));
    }
    if (!message.starts_with(near) || !message.ends_with("\": syntax error"))
        return std::nullopt;
    const auto token =
        message.substr(near.size(), message.size() - near.size() - std::strlen("\": syntax error"));
    const auto at = offset < 0 ? statement.size() : static_cast<std::size_t>(offset);
    return syntax_record(token, statement.substr(0, std::min(at, statement.size())));
}

std::optional<error_record> by_action(int code, sql_action action, std::string_view message)
{
    if (code == SQLITE_CONSTRAINT_NOTNULL)
        return action == sql_action::update
                   ? make_record(1407, with_detail("a column cannot be set to null", message))
                   : make_record(1400, with_detail("null cannot be inserted into a column", message));
    if (code == SQLITE_CONSTRAINT_FOREIGNKEY)
        return action == sql_action::remove || action == sql_action::other
                   ? make_record(2292, "foreign key violated: dependent rows exist")
                   : make_record(2291, "foreign key violated: the parent row does not exist");
    return std::nullopt;
}

error_record by_result(int code, std::string_view message)
{
    for (const result_rule &rule : result_rules)
        if (rule.result == code || rule.result == (code & 0xff))
            return make_record(rule.code, with_detail(rule.text, message));
    return make_record(900, with_detail("the statement was refused", message));
}

} // namespace

sql_action action_of(std::string_view statement)
{
    statement = without_leading_blanks(statement);
    return starts_with_word(statement, "INSERT")   ? sql_action::insert
           : starts_with_word(statement, "UPDATE") ? sql_action::update
           : starts_with_word(statement, "DELETE") ? sql_action::remove
                                                   : sql_action::other;
}

std::optional<error_record> record_from_text(std::string_view text)
{
    if (!text.starts_with("ORA-") || text.size() < 11 || text.substr(9, 2) != ": ")
        return std::nullopt;
    int code = 0;
    std::from_chars(text.data() + 4, text.data() + 9, code);
    return error_record{code, std::string(text)};
}

error_record sqlite_record(sqlite3 *db, int code, sql_action action, std::string_view statement)
{
    const std::string_view message = sqlite3_errmsg(db);
    const int extended = sqlite3_extended_errcode(db);
    if ((extended & 0xff) == (code & 0xff))
        code = extended;
    if (auto record = record_from_text(message))
        return *record;
    if (auto record = by_action(code, action, message))
        return *record;
    if ((code & 0xff) == SQLITE_ERROR) {
        if (auto record = by_syntax(message, statement, sqlite3_error_offset(db)))
            return *record;
        if (auto record = by_message(message))
            return *record;
        if (auto record = by_value_count(message))
            return *record;
    }
    return by_result(code, message);
}

} // namespace sqlite_oci
