#include "sql/sql_text.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace sqlite_oci
{
namespace
{

bool is_word_character(char c)
{
    const auto u = static_cast<unsigned char>(c);
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '$' || c == '#' || u >= 0x80;
}

enum class token_kind : std::uint8_t { word, placeholder, open, close, other };

struct token {
    token_kind kind;
    std::size_t offset;
    std::string_view text; // of a placeholder: without the colon
};

// Splits a statement; blanks, comments, quoted texts and quoted names yield nothing.
class scanner
{
public:
    explicit scanner(std::string_view text) : text_(text) {}

    std::optional<token> next()
    {
        while (at_ < text_.size()) {
            const std::size_t start = at_;
            const char c = text_[at_];
            if (is_word_character(c))
                return take_word(token_kind::word, start);
            if (c == '\'' || c == '"' || c == '`')
                skip_past(c, at_ + 1);
            else if (text_.substr(at_, 2) == "--")
                skip_past('\n', at_ + 2);
            else if (text_.substr(at_, 2) == "/*")
                skip_comment();
            else if (is_placeholder())
                return take_word(token_kind::placeholder, start + 1);
            else
                return take_character(c, start);
        }
        return std::nullopt;
    }

private:
    // ":name" and ":1", but neither ":=" nor ":new.column", the row of a trigger.
    bool is_placeholder() const
    {
        if (text_[at_] != ':' || at_ + 1 == text_.size() || !is_word_character(text_[at_ + 1]))
            return false;
        const std::size_t end = word_end(at_ + 1);
        return end == text_.size() || text_[end] != '.';
    }

    std::size_t word_end(std::size_t from) const
    {
        const auto end = std::find_if_not(text_.begin() + static_cast<std::ptrdiff_t>(from), text_.end(),
                                          is_word_character);
        return static_cast<std::size_t>(end - text_.begin());
    }

    token take_word(token_kind kind, std::size_t from)
    {
        const std::size_t start = at_;
        at_ = word_end(from);
        return {kind, start, text_.substr(from, at_ - from)};
    }

    token take_character(char c, std::size_t start)
    {
        ++at_;
        const token_kind kind = c == '('   ? token_kind::open
                                : c == ')' ? token_kind::close
                                           : token_kind::other;
        return {kind, start, text_.substr(start, 1)};
    }

    void skip_past(char end, std::size_t from)
    {
        const auto found = text_.find(end, from);
        at_ = found == text_.npos ? text_.size() : found + 1;
    }

    void skip_comment()
    {
        const auto found = text_.find("*/", at_ + 2);
        at_ = found == text_.npos ? text_.size() : found + 2;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

struct verb {
    const char *word;
    statement_kind kind;
    ub2 type;
    ub2 function_code;
    sql_action action;
};

using enum statement_kind;

constexpr verb verbs[] = {
    {"SELECT", query, OCI_STMT_SELECT, 4, sql_action::other},
    {"VALUES", query, OCI_STMT_SELECT, 4, sql_action::other},
    {"PRAGMA", query, OCI_STMT_SELECT, 0, sql_action::other},
    {"EXPLAIN", query, OCI_STMT_SELECT, 27, sql_action::other},
    {"INSERT", change, OCI_STMT_INSERT, 3, sql_action::insert},
    {"REPLACE", change, OCI_STMT_INSERT, 3, sql_action::insert},
    {"UPDATE", change, OCI_STMT_UPDATE, 5, sql_action::update},
    {"DELETE", change, OCI_STMT_DELETE, 9, sql_action::remove},
    {"CREATE", definition, OCI_STMT_CREATE, 0, sql_action::other},
    {"DROP", definition, OCI_STMT_DROP, 0, sql_action::other},
    {"ALTER", definition, OCI_STMT_ALTER, 26, sql_action::other},
    {"BEGIN", block, OCI_STMT_BEGIN, 34, sql_action::other},
    {"DECLARE", block, OCI_STMT_DECLARE, 34, sql_action::other},
    {"CALL", block, OCI_STMT_CALL, 0, sql_action::other},
    {"COMMIT", commit, OCI_STMT_UNKNOWN, 54, sql_action::other},
    {"ROLLBACK", rollback, OCI_STMT_UNKNOWN, sql_text::rollback_code, sql_action::other},
    {"SAVEPOINT", savepoint, OCI_STMT_UNKNOWN, 56, sql_action::other},
    {"RELEASE", savepoint, OCI_STMT_UNKNOWN, 0, sql_action::other},
};

struct definition_code {
    const char *verb, *noun;
    ub2 function_code;
};

constexpr definition_code definition_codes[] = {
    {"CREATE", "TABLE", 1}, {"CREATE", "VIEW", 10}, {"CREATE", "INDEX", 20},
    {"DROP", "TABLE", 8},   {"DROP", "VIEW", 7},    {"DROP", "INDEX", 21},
};

const verb *find_verb(std::string_view word)
{
    const auto *found = std::find_if(std::begin(verbs), std::end(verbs),
                                     [&](const verb &candidate) { return word == candidate.word; });
    return found == std::end(verbs) ? nullptr : found;
}

ub2 function_code_of(std::string_view verb_word, std::string_view noun)
{
    for (const definition_code &code : definition_codes)
        if (verb_word == code.verb && noun == code.noun)
            return code.function_code;
    return 0;
}

bool is_modifier(std::string_view word)
{
    return word == "OR" || word == "TEMP" || word == "TEMPORARY" || word == "UNIQUE" || word == "VIRTUAL";
}

void blank(std::string &text, std::size_t from, std::size_t to)
{
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(from),
              text.begin() + static_cast<std::ptrdiff_t>(to), ' ');
}

// Collects what the tokens tell, one after another.
class analysis
{
public:
    explicit analysis(sql_text &result) : result_(result) {}

    void add(const token &next)
    {
        switch (next.kind) {
        case token_kind::open:
            ++depth_;
            break;
        case token_kind::close:
            --depth_;
            break;
        case token_kind::placeholder:
            add_placeholder(next);
            break;
        case token_kind::word:
            add_word(next);
            break;
        case token_kind::other:
            break;
        }
    }

    void finish()
    {
        if (result_.kind == definition && result_.function_code == 0)
            result_.function_code = function_code_of(verb_, noun_);
        if (result_.kind != query || !result_.for_update)
            return;
        const auto end = result_.for_engine.find_last_not_of("; \t\r\n");
        blank(result_.for_engine, for_offset_, end + 1);
    }

private:
    void add_placeholder(const token &found)
    {
        result_.placeholders.push_back({upper_case(found.text), found.offset});
        result_.for_engine[found.offset] = '?';
        blank(result_.for_engine, found.offset + 1, found.offset + 1 + found.text.size());
    }

    void add_word(const token &found)
    {
        if (depth_ != 0)
            return;
        const std::string word = upper_case(found.text);
        if (verb_.empty())
            add_verb(word);
        else if (noun_.empty() && !is_modifier(word))
            noun_ = word;
        if (result_.kind == rollback && word == "TO")
            result_.kind = savepoint;
        if (word == "FROM" && result_.kind == query && result_.from_offset == 0)
            result_.from_offset = found.offset;
        if (word == "FOR")
            for_offset_ = found.offset;
        else if (previous_ == "FOR" && word == "UPDATE")
            result_.for_update = true;
        previous_ = word;
    }

    // After WITH, the verb is the first one outside of parentheses.
    void add_verb(const std::string &word)
    {
        const verb *known = find_verb(word);
        if (!known && is_with_)
            return;
        if (!known && word == "WITH") {
            is_with_ = true;
            return;
        }
        verb_ = word;
        if (!known)
            return;
        result_.kind = known->kind;
        result_.type = known->type;
        result_.function_code = known->function_code;
        result_.action = known->action;
    }

    sql_text &result_;
    int depth_ = 0;
    bool is_with_ = false;
    std::string verb_, noun_, previous_;
    std::size_t for_offset_ = 0;
};

} // namespace

std::string upper_case(std::string_view name)
{
    std::string result(name);
    for (char &c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

std::size_t find_word(std::string_view text, std::string_view word)
{
    const std::string wanted = upper_case(word);
    scanner tokens(text);
    while (const auto next = tokens.next())
        if (next->kind == token_kind::word && upper_case(next->text) == wanted)
            return next->offset;
    return text.npos;
}

bool is_blank(std::string_view text)
{
    scanner tokens(text);
    while (const auto next = tokens.next())
        if (next->kind != token_kind::other ||
            (next->text != ";" && next->text.find_first_of(" \t\r\n") != 0))
            return false;
    return true;
}

sql_text analyse(std::string text)
{
    sql_text result;
    result.for_engine = text;
    result.original = std::move(text);
    analysis all(result);
    scanner tokens(result.original);
    while (const auto next = tokens.next())
        all.add(*next);
    all.finish();
    return result;
}

} // namespace sqlite_oci
