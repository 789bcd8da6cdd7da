// The tokens of a statement.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sqlite_oci::sql
{

enum class token_kind : std::uint8_t {
    word,        // a name or a keyword; `text` in upper case
    quoted_name, // "name"; `text` without the quotes
    literal,     // 'text' or q'[text]'; `text` is what it stands for
    hex_literal, // x'00ff', SQLite's way of writing bytes
    number,      // as it is written, a letter D or F behind it included
    placeholder, // :name; `text` is the name in upper case
    mark,        // operators and punctuation, "||" and "<=" as one
    bad,         // starts no token; `error` tells why
    end,
};

struct token {
    token_kind kind = token_kind::end;
    std::size_t offset = 0; // of its first byte in the statement
    std::size_t length = 0;
    std::string text;
    int error = 0; // ORA- number of a bad token

    bool is_word(std::string_view wanted) const { return kind == token_kind::word && text == wanted; }
    bool is_mark(std::string_view wanted) const { return kind == token_kind::mark && text == wanted; }
};

// Blanks and comments yield nothing. Ends with a token of kind `end`; goes on behind bad ones.
std::vector<token> tokenize(std::string_view text);

// What an ORA- number of a bad token means.
const char *token_error_text(int code);

// A name in upper case, ASCII letters only.
std::string upper_case(std::string_view name);

// A name as SQLite reads it in any place: in double quotes.
std::string quoted_name(std::string_view name);

// A text as a literal of SQLite.
std::string quoted_text(std::string_view text);

} // namespace sqlite_oci::sql
