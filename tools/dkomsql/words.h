#ifndef DKOMSQL_WORDS_H
#define DKOMSQL_WORDS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

/// Takes the line of a command apart, from left to right. Throws UserError for a quote that is not closed.
class WordReader
{
public:
    explicit WordReader(std::string_view line) : rest_(line) {}

    /// The next word; single or double quotes keep blanks together, a doubled quote inside stands for one.
    /// Nothing at the end.
    std::optional<std::string> word();

    /// The next name of SQL as it stands there, quotes included, with a list in parentheses behind it.
    std::optional<std::string> name();

    /// What is left, without blanks around it; nothing at the end.
    std::optional<std::string> rest();

private:
    bool skip_blanks();

    std::string_view rest_;
};

/// A name of a table with a list of columns, `t (a, "B c")`.
struct TableColumns {
    std::string table;
    std::vector<std::string> columns; ///< empty: there is no list
};

/// Takes a table and its columns apart. They will stand in a statement as they were typed, so nothing but
/// names is let through: throws UserError.
TableColumns parse_table(std::string_view text);

} // namespace dkomsql

#endif
