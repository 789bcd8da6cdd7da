#include "completion.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <optional>

#include "meta_commands.h"
#include "shell.h"
#include "sql_text.h"

namespace dkomsql
{

namespace
{

constexpr std::array<std::string_view, 77> sql_words{
    "ALL",       "ALTER",  "AND",     "AS",         "ASC",       "BEGIN",    "BETWEEN", "BLOB",
    "BY",        "CASE",   "CAST",    "CHAR",       "CLOB",      "COALESCE", "COMMIT",  "CONSTRAINT",
    "COUNT",     "CREATE", "CROSS",   "DATE",       "DEFAULT",   "DELETE",   "DESC",    "DISTINCT",
    "DROP",      "ELSE",   "END",     "EXISTS",     "FETCH",     "FIRST",    "FOR",     "FOREIGN",
    "FROM",      "FULL",   "GROUP",   "HAVING",     "IN",        "INDEX",    "INNER",   "INSERT",
    "INTERSECT", "INTO",   "IS",      "JOIN",       "KEY",       "LEFT",     "LIKE",    "MERGE",
    "MINUS",     "NOT",    "NULL",    "NUMBER",     "OFFSET",    "ON",       "ONLY",    "OR",
    "ORDER",     "OUTER",  "PRIMARY", "REFERENCES", "RIGHT",     "ROLLBACK", "ROWS",    "SELECT",
    "SEQUENCE",  "SET",    "TABLE",   "THEN",       "TIMESTAMP", "TRUNCATE", "UNION",   "UNIQUE",
    "UPDATE",    "USING",  "VALUES",  "VARCHAR2",   "WHERE"};

bool is_word(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '$' || c == '#' || byte >= 0x80;
}

/// Where the word at the end of the text begins; a quoted name that is still open is one.
std::size_t word_start(std::string_view text)
{
    if (std::count(text.begin(), text.end(), '"') % 2 != 0)
        return text.rfind('"');
    std::size_t start = text.size();
    while (start > 0 && is_word(text[start - 1]))
        start--;
    return start;
}

std::string lower(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return result;
}

/// A name of the dictionary as it stands in SQL: bare ones are in upper case there.
std::string in_sql(const std::string &name)
{
    const bool is_bare = !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
                         std::all_of(name.begin(), name.end(), is_word) && name == folded_name(name);
    return is_bare ? name : '"' + name + '"';
}

/// A name in a statement as the dictionary has it.
std::string in_dictionary(const std::string &name)
{
    if (name.size() > 1 && name.front() == '"' && name.back() == '"')
        return name.substr(1, name.size() - 2);
    return folded_name(name);
}

/// Keeps those that begin with `typed`, in small letters if that is.
template <typename Names>
void add_matching(std::vector<std::string> &found, const Names &names, std::string_view typed)
{
    const std::string folded = folded_name(typed);
    const bool is_small = typed == lower(typed);
    for (const auto &name : names) {
        const bool is_quoted = name.starts_with('"');
        if (is_quoted ? name.starts_with(typed) : name.starts_with(folded))
            found.push_back(is_quoted || !is_small ? std::string(name) : lower(name));
    }
}

Completion files(std::string_view line)
{
    const std::size_t start = line.find_last_of(" \t") + 1;
    const std::string typed(line.substr(start));
    const std::size_t slash = typed.rfind('/') + 1;
    Completion found{start, {}};
    std::error_code ignored;
    for (const auto &entry :
         std::filesystem::directory_iterator(slash == 0 ? "." : typed.substr(0, slash), ignored)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(typed.substr(slash)) || (name.starts_with('.') && slash == typed.size()))
            continue;
        found.candidates.push_back(typed.substr(0, slash) + name + (entry.is_directory(ignored) ? "/" : ""));
    }
    return found;
}

/// One of a few words.
Completion choice(std::string_view line, const std::vector<std::string> &words)
{
    Completion found{line.find_last_of(" \t") + 1, {}};
    for (const std::string &word : words) {
        if (word.starts_with(line.substr(found.start)))
            found.candidates.push_back(word);
    }
    return found;
}

Completion command_names(std::string_view line)
{
    std::vector<std::string> names;
    for (const MetaCommandName &command : meta_command_names())
        names.push_back('\\' + std::string(command.name));
    return choice(line, names);
}

Argument argument_of(std::string_view name)
{
    for (const MetaCommandName &command : meta_command_names()) {
        if (command.name == name)
            return command.argument;
    }
    return Argument::other;
}

/// The word of SQL in front of the one that is being typed, in upper case.
std::string word_before(std::string_view text)
{
    std::size_t end = text.size();
    while (end > 0 && std::isspace(static_cast<unsigned char>(text[end - 1])) != 0)
        end--;
    const std::size_t start = word_start(text.substr(0, end));
    return folded_name(text.substr(start, end - start));
}

} // namespace

Completion SqlCompletion::complete(const std::string &before, std::string_view line, std::string_view rest)
{
    Completion found{word_start(line), {}};
    const std::string_view typed = line.substr(found.start);
    if (before.empty() && line.starts_with('\\')) {
        const std::size_t blank = line.find_first_of(" \t");
        if (blank == std::string_view::npos)
            return command_names(line);
        const Argument argument = argument_of(line.substr(1, blank - 1));
        const bool is_first = line.find_first_not_of(" \t", blank) >= line.find_last_of(" \t") ||
                              line.find_last_of(" \t") == blank;
        switch (argument) {
        case Argument::file:
            if (is_first)
                return files(line);
            break;
        case Argument::on_off:
            return choice(line, {"on", "off"});
        case Argument::format:
            return choice(line, {"table", "csv", "json"});
        default:
            break;
        }
        add_matching(found.candidates, tables(), typed);
        return found;
    }

    constexpr std::array<std::string_view, 5> before_table{"FROM", "JOIN", "INTO", "UPDATE", "TABLE"};
    const std::string in_front = before + "\n" + std::string(line.substr(0, found.start));
    const std::string word = word_before(in_front);
    if (std::find(before_table.begin(), before_table.end(), word) != before_table.end()) {
        add_matching(found.candidates, tables(), typed);
        return found;
    }
    add_matching(found.candidates, columns_of(tables_named(in_front + "\n" + std::string(rest))), typed);
    if (!in_front.ends_with('.')) {
        add_matching(found.candidates, sql_words, typed);
        add_matching(found.candidates, tables(), typed);
    }
    std::sort(found.candidates.begin(), found.candidates.end());
    found.candidates.erase(std::unique(found.candidates.begin(), found.candidates.end()),
                           found.candidates.end());
    return found;
}

/// What the dictionary answers is kept until a definition is run.
std::vector<std::string> SqlCompletion::names(const std::string &query, const std::string &pattern)
{
    constexpr std::size_t most_names = 5000;
    if (known_definitions_ != shell_.definitions())
        known_.clear();
    known_definitions_ = shell_.definitions();
    const auto [place, is_new] = known_.try_emplace(query + pattern);
    if (is_new) {
        try {
            for (const std::vector<std::string> &row : shell_.rows_of(query, pattern, most_names))
                place->second.push_back(in_sql(row[0]));
        } catch (const OciError &) {
            return place->second; // a database without this dictionary
        }
    }
    return place->second;
}

std::vector<std::string> SqlCompletion::tables()
{
    std::vector<std::string> all =
        names("SELECT table_name FROM user_tables WHERE table_name LIKE :pattern UNION ALL "
              "SELECT view_name FROM user_views WHERE view_name LIKE :pattern",
              "%");
    all.emplace_back("DUAL"); // everybody's
    return all;
}

std::vector<std::string> SqlCompletion::columns_of(const std::vector<std::string> &tables)
{
    std::vector<std::string> all;
    for (const std::string &table : tables) {
        const std::vector<std::string> columns = names(
            "SELECT column_name FROM user_tab_columns WHERE table_name = :pattern", in_dictionary(table));
        all.insert(all.end(), columns.begin(), columns.end());
    }
    return all;
}

} // namespace dkomsql
