#include "syntax/token.h"

#include "text/text_scan.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

constexpr std::size_t longest_name = 128;

enum token_error : int {
    invalid_character = 911,
    name_too_long = 972,
    open_name = 1740,
    empty_name = 1741,
    open_comment = 1742,
    open_literal = 1756,
};

constexpr std::string_view two_character_marks[] = {
    "||", "<=", ">=", "<>", "!=", "^=", "~=", ":=", "=>", ".."};
constexpr std::string_view one_character_marks = "()+-*/,.=<>;";

bool is_name_start(char c)
{
    return is_letter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool is_name_part(char c)
{
    return is_name_start(c) || is_digit(c) || c == '$' || c == '#';
}

class tokenizer
{
public:
    explicit tokenizer(std::string_view text) : text_(text) {}

    std::vector<token> run()
    {
        while (skip_blanks())
            add_next();
        add(token_kind::end, text_.size(), "");
        return std::move(found_);
    }

private:
    char peek(std::size_t ahead = 0) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }

    // False at the end of the text.
    bool skip_blanks()
    {
        for (;;) {
            while (at_ < text_.size() && is_blank(text_[at_]))
                ++at_;
            if (text_.substr(at_, 2) == "--")
                at_ = std::min(text_.find('\n', at_), text_.size());
            else if (text_.substr(at_, 2) != "/*")
                return at_ < text_.size();
            else if (!skip_comment())
                return false;
        }
    }

    bool skip_comment()
    {
        const auto found = text_.find("*/", at_ + 2);
        if (found == text_.npos) {
            add_bad(open_comment, at_, text_.size());
            return false;
        }
        at_ = found + 2;
        return true;
    }

    void add_next()
    {
        const char c = peek();
        if (c == '\'')
            return add_literal(at_, token_kind::literal);
        if (c == '"')
            return add_quoted_name();
        if (is_digit(c) || (c == '.' && is_digit(peek(1))))
            return add_number();
        if (is_name_start(c))
            return add_word_or_literal();
        if (c == ':' && is_name_part(peek(1)) && add_placeholder())
            return;
        add_mark();
    }

    void add(token_kind kind, std::size_t start, std::string text, int error = 0)
    {
        found_.push_back({kind, start, at_ - start, std::move(text), error});
    }

    void add_bad(int error, std::size_t start, std::size_t end)
    {
        at_ = end;
        add(token_kind::bad, start, std::string(text_.substr(start, end - start)), error);
    }

    // From the opening quote at at_, where a doubled quote stands for itself.
    void add_literal(std::size_t start, token_kind kind)
    {
        std::string value;
        for (++at_; at_ < text_.size(); ++at_) {
            if (text_[at_] == '\'' && peek(1) != '\'') {
                ++at_;
                return add(kind, start, std::move(value));
            }
            at_ += text_[at_] == '\'';
            value += text_[at_];
        }
        add_bad(open_literal, start, text_.size());
    }

    // q'[text]': up to the closing delimiter and a quote.
    void add_free_literal(std::size_t start, std::size_t quote)
    {
        constexpr std::string_view opening = "[{(<", closing = "]})>";
        const char open = quote + 1 < text_.size() ? text_[quote + 1] : '\0';
        const auto pair = opening.find(open);
        const std::string end{pair == opening.npos ? open : closing[pair], '\''};
        const auto found = text_.find(end, quote + 2);
        if (found == text_.npos)
            return add_bad(open_literal, start, text_.size());
        at_ = found + 2;
        add(token_kind::literal, start, std::string(text_.substr(quote + 2, found - quote - 2)));
    }

    void add_quoted_name()
    {
        const std::size_t start = at_;
        const auto end = text_.find('"', at_ + 1);
        if (end == text_.npos)
            return add_bad(open_name, start, text_.size());
        const std::string_view name = text_.substr(start + 1, end - start - 1);
        if (name.empty() || name.size() > longest_name)
            return add_bad(name.empty() ? empty_name : name_too_long, start, end + 1);
        at_ = end + 1;
        if (peek() == '"') { // SQLite's way of a quote in a name
            return add_name_with_quotes(start);
        }
        add(token_kind::quoted_name, start, std::string(name));
    }

    void add_name_with_quotes(std::size_t start)
    {
        std::string name;
        for (at_ = start + 1; at_ < text_.size(); ++at_) {
            if (text_[at_] == '"' && peek(1) != '"') {
                ++at_;
                return add(token_kind::quoted_name, start, std::move(name));
            }
            at_ += text_[at_] == '"';
            name += text_[at_];
        }
        add_bad(open_name, start, text_.size());
    }

    void skip_digits()
    {
        while (is_digit(peek()))
            ++at_;
    }

    void add_number()
    {
        const std::size_t start = at_;
        skip_digits();
        if (peek() == '.' && peek(1) != '.') {
            ++at_;
            skip_digits();
        }
        const std::size_t sign = peek(1) == '+' || peek(1) == '-' ? 1 : 0;
        if (upper(peek()) == 'E' && is_digit(peek(1 + sign))) {
            at_ += 1 + sign;
            skip_digits();
        }
        if ((upper(peek()) == 'D' || upper(peek()) == 'F') && !is_name_part(peek(1)))
            ++at_;
        add(token_kind::number, start, upper_case(text_.substr(start, at_ - start)));
    }

    void add_word_or_literal()
    {
        const std::size_t start = at_;
        while (is_name_part(peek()))
            ++at_;
        const std::string word = upper_case(text_.substr(start, at_ - start));
        if (peek() == '\'') {
            if (word == "N")
                return add_literal(start, token_kind::literal);
            if (word == "X")
                return add_literal(start, token_kind::hex_literal);
            if (word == "Q" || word == "NQ")
                return add_free_literal(start, at_);
        }
        if (word.size() > longest_name)
            return add_bad(name_too_long, start, at_);
        add(token_kind::word, start, word);
    }

    // ":name" and ":1", but not ":new.column", the row of a trigger.
    bool add_placeholder()
    {
        std::size_t end = at_ + 1;
        while (end < text_.size() && is_name_part(text_[end]))
            ++end;
        if (end < text_.size() && text_[end] == '.')
            return false;
        const std::size_t start = at_;
        at_ = end;
        add(token_kind::placeholder, start, upper_case(text_.substr(start + 1, end - start - 1)));
        return true;
    }

    void add_mark()
    {
        const std::size_t start = at_;
        const std::string_view two = text_.substr(at_, 2);
        if (std::find(std::begin(two_character_marks), std::end(two_character_marks), two) !=
            std::end(two_character_marks)) {
            at_ += 2;
            return add(token_kind::mark, start, std::string(two));
        }
        if (one_character_marks.find(peek()) == one_character_marks.npos)
            return add_bad(invalid_character, start, start + 1);
        ++at_;
        add(token_kind::mark, start, std::string(two.substr(0, 1)));
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<token> found_;
};

std::string in_quotes(std::string_view text, char quote)
{
    std::string result(1, quote);
    for (const char c : text)
        result.append(c == quote ? 2 : 1, c);
    return result += quote;
}

} // namespace

std::vector<token> tokenize(std::string_view text)
{
    return tokenizer(text).run();
}

const char *token_error_text(int code)
{
    switch (code) {
    case name_too_long:
        return "the name is too long";
    case open_name:
        return "a name in double quotes is not ended";
    case empty_name:
        return "a name has no characters";
    case open_comment:
        return "a comment is not ended";
    case open_literal:
        return "a quoted text is not ended";
    default:
        return "invalid character";
    }
}

std::string upper_case(std::string_view name)
{
    std::string result(name);
    std::transform(result.begin(), result.end(), result.begin(), upper);
    return result;
}

std::string quoted_name(std::string_view name)
{
    return in_quotes(name, '"');
}

std::string quoted_text(std::string_view text)
{
    return in_quotes(text, '\'');
}

} // namespace sqlite_oci::sql
