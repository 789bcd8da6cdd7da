#include "sql/sql_text.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace sqlite_oci
{
namespace
{

struct verb {
    const char *word;
    statement_kind kind;
    ub2 type;
    ub2 function_code;
    sql_action action = sql_action::other;
};

using enum statement_kind;

constexpr ub2 merge_type = 16; // as servers tell it

constexpr verb verbs[] = {
    {"SELECT", query, OCI_STMT_SELECT, 4},
    {"VALUES", query, OCI_STMT_SELECT, 4},
    {"EXPLAIN", query, OCI_STMT_SELECT, 27},
    {"INSERT", change, OCI_STMT_INSERT, 3, sql_action::insert},
    {"UPDATE", change, OCI_STMT_UPDATE, 5, sql_action::update},
    {"DELETE", change, OCI_STMT_DELETE, 9, sql_action::remove},
    {"MERGE", change, merge_type, 189, sql_action::insert},
    {"CREATE", definition, OCI_STMT_CREATE, 0},
    {"DROP", definition, OCI_STMT_DROP, 0},
    {"ALTER", definition, OCI_STMT_ALTER, 0},
    {"TRUNCATE", definition, OCI_STMT_UNKNOWN, 85},
    {"RENAME", definition, OCI_STMT_UNKNOWN, 37},
    {"BEGIN", block, OCI_STMT_BEGIN, 34},
    {"DECLARE", block, OCI_STMT_DECLARE, 34},
    {"CALL", block, OCI_STMT_CALL, 0},
    {"COMMIT", commit, OCI_STMT_UNKNOWN, 54},
    {"ROLLBACK", rollback, OCI_STMT_UNKNOWN, sql_text::rollback_code},
    {"SAVEPOINT", savepoint, OCI_STMT_UNKNOWN, 56},
    {"SET", other, OCI_STMT_UNKNOWN, 33},
    {"LOCK", other, OCI_STMT_UNKNOWN, 35},
};

struct definition_code {
    const char *verb, *noun;
    ub2 function_code;
};

constexpr definition_code definition_codes[] = {
    {"CREATE", "TABLE", 1},    {"CREATE", "VIEW", 10}, {"CREATE", "INDEX", 20},  {"CREATE", "SEQUENCE", 13},
    {"DROP", "TABLE", 8},      {"DROP", "VIEW", 7},    {"DROP", "INDEX", 21},    {"DROP", "SEQUENCE", 16},
    {"ALTER", "SEQUENCE", 14}, {"ALTER", "INDEX", 41}, {"ALTER", "SESSION", 52}, {"ALTER", "TABLE", 26},
};

const verb *find_verb(std::string_view word)
{
    const auto *found = std::find_if(std::begin(verbs), std::end(verbs),
                                     [&](const verb &candidate) { return word == candidate.word; });
    return found == std::end(verbs) ? nullptr : found;
}

bool is_modifier(std::string_view word)
{
    return word == "OR" || word == "REPLACE" || word == "FORCE" || word == "NO" || word == "UNIQUE" ||
           word == "GLOBAL" || word == "TEMPORARY";
}

// Collects what the words outside of parentheses tell, one after another.
class analysis
{
public:
    explicit analysis(sql_text &result) : result_(result) {}

    void run()
    {
        int depth = 0;
        for (const sql::token &one : result_.tokens) {
            if (one.is_mark("("))
                ++depth;
            else if (one.is_mark(")"))
                --depth;
            else if (one.kind == sql::token_kind::placeholder)
                result_.placeholders.push_back({one.text, one.offset});
            else if (one.kind == sql::token_kind::word && (depth == 0 || verb_.empty()))
                add_word(one.text, depth);
        }
        for (const definition_code &code : definition_codes)
            if (verb_ == code.verb && noun_ == code.noun)
                result_.function_code = code.function_code;
        if (verb_ == "ALTER" && noun_ == "SESSION")
            result_.kind = other;
    }

private:
    // After WITH, the verb is the first one outside of parentheses.
    void add_word(const std::string &word, int depth)
    {
        if (!verb_.empty()) {
            if (noun_.empty() && !is_modifier(word))
                noun_ = word;
            if (result_.kind == rollback && word == "TO")
                result_.kind = savepoint;
            return;
        }
        const verb *known = find_verb(word);
        if (is_with_ && (!known || depth > 0))
            return;
        if (word == "WITH" && !known) {
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
    bool is_with_ = false;
    std::string verb_, noun_;
};

} // namespace

sql_text analyse(std::string text)
{
    sql_text result;
    result.original = std::move(text);
    result.tokens = sql::tokenize(result.original);
    const auto has_zero = [](std::string_view bytes) { return bytes.find('\0') != bytes.npos; };
    if (has_zero(result.original) &&
        std::none_of(result.tokens.begin(), result.tokens.end(), [&](const sql::token &one) {
            return (one.kind == sql::token_kind::literal || one.kind == sql::token_kind::quoted_name) &&
                   has_zero(one.text);
        })) {
        // A blank to a server.
        std::replace(result.original.begin(), result.original.end(), '\0', ' ');
        result.tokens = sql::tokenize(result.original);
    }
    analysis(result).run();
    return result;
}

} // namespace sqlite_oci
