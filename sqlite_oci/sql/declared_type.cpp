#include "sql/declared_type.h"

#include "syntax/token.h"
#include "text/text_scan.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <vector>

namespace sqlite_oci
{
namespace
{

// What the parentheses of a declaration hold.
enum class arguments : std::uint8_t {
    none,
    length,    // (20), (20 BYTE) or (20 CHAR)
    number,    // (precision) or (precision, scale)
    precision, // (binary precision)
    fraction,  // (digits of a fraction of a second)
    leading,   // DAY(digits) TO SECOND(digits of the fraction)
};

struct type_rule {
    std::string_view words; // without the parentheses
    arguments takes;
    declared_type type; // when there are none
};

constexpr declared_type whole_number{SQLT_NUM, 0, 0, false, 38, 0};
constexpr declared_type double_number{SQLT_NUM, 0, 0, false, 126, no_scale};
constexpr declared_type one_character{SQLT_AFC, SQLCS_IMPLICIT, 1};
constexpr declared_type one_national{SQLT_AFC, SQLCS_NCHAR, 1, true};
constexpr declared_type national_text{SQLT_CHR, SQLCS_NCHAR, longest_text / 2, true};

using enum arguments;

constexpr type_rule rules[] = {
    {"VARCHAR2", length, any_text},
    {"VARCHAR", length, any_text},
    {"CHARACTER VARYING", length, any_text},
    {"CHAR VARYING", length, any_text},
    {"CHAR", length, one_character},
    {"CHARACTER", length, one_character},
    {"NVARCHAR2", length, national_text},
    {"NVARCHAR", length, national_text},
    {"NCHAR VARYING", length, national_text},
    {"NATIONAL CHARACTER VARYING", length, national_text},
    {"NCHAR", length, one_national},
    {"NATIONAL CHARACTER", length, one_national},
    {"NUMBER", number, any_number},
    {"NUMERIC", number, whole_number},
    {"DECIMAL", number, whole_number},
    {"DEC", number, whole_number},
    {"INTEGER", none, whole_number},
    {"INT", none, whole_number},
    {"SMALLINT", none, whole_number},
    {"FLOAT", precision, double_number},
    {"DOUBLE PRECISION", none, double_number},
    {"REAL", none, {SQLT_NUM, 0, 0, false, 63, no_scale}},
    {"BINARY_FLOAT", none, {SQLT_IBFLOAT}},
    {"BINARY_DOUBLE", none, {SQLT_IBDOUBLE}},
    {"DATE", none, {SQLT_DAT}},
    {"DATETIME", none, {SQLT_DAT}},
    {"TIMESTAMP", fraction, {SQLT_TIMESTAMP, 0, 0, false, 0, 6}},
    {"TIMESTAMP WITH TIME ZONE", fraction, {SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 6}},
    {"TIMESTAMP WITH LOCAL TIME ZONE", fraction, {SQLT_TIMESTAMP_LTZ, 0, 0, false, 0, 6}},
    {"INTERVAL YEAR TO MONTH", leading, {SQLT_INTERVAL_YM, 0, 0, false, 2, 0}},
    {"INTERVAL DAY TO SECOND", leading, {SQLT_INTERVAL_DS, 0, 0, false, 2, 6}},
    {"RAW", length, any_bytes},
    {"LONG", none, {SQLT_LNG, SQLCS_IMPLICIT}},
    {"LONG VARCHAR", none, {SQLT_LNG, SQLCS_IMPLICIT}},
    {"LONG RAW", none, {SQLT_LBI}},
    {"CLOB", none, {SQLT_CLOB, SQLCS_IMPLICIT}},
    {"NCLOB", none, {SQLT_CLOB, SQLCS_NCHAR}},
    {"BLOB", none, {SQLT_BLOB}},
    {"ROWID", none, {SQLT_RDD}},
    {"UROWID", none, {SQLT_RDD}},
};

// A declaration taken apart: its words joined by single blanks, what is in the parentheses, and whether
// lengths count characters.
struct declaration_parts {
    std::string words;
    std::vector<int> numbers;
    bool by_character = false;
    bool by_byte = false;
    bool has_leading = false; // a number stands before the last word
};

constexpr int any_precision = -1; // NUMBER(*, 2)

class declaration_reader
{
public:
    explicit declaration_reader(std::string_view text) : text_(text) {}

    declaration_parts read()
    {
        for (at_ = 0; at_ < text_.size();) {
            const char c = text_[at_];
            if (is_digit(c) || c == '-')
                add_number();
            else if (is_letter(c))
                add_word();
            else
                add_mark(c);
        }
        return std::move(parts_);
    }

private:
    void add_number()
    {
        int number = 0;
        const char *const start = text_.data() + at_;
        const auto parsed = std::from_chars(start, text_.data() + text_.size(), number);
        at_ += std::max<std::size_t>(static_cast<std::size_t>(parsed.ptr - start), 1);
        if (is_inside_)
            parts_.numbers.push_back(number);
    }

    void add_word()
    {
        const std::size_t start = at_;
        while (at_ < text_.size() && (is_letter(text_[at_]) || is_digit(text_[at_]) || text_[at_] == '_'))
            ++at_;
        const std::string word = sql::upper_case(text_.substr(start, at_ - start));
        if (is_inside_) {
            parts_.by_character |= word == "CHAR";
            parts_.by_byte |= word == "BYTE";
            return;
        }
        parts_.has_leading = !parts_.numbers.empty();
        if (!parts_.words.empty())
            parts_.words += ' ';
        parts_.words += word;
    }

    void add_mark(char c)
    {
        if (c == '(' || c == ')')
            is_inside_ = c == '(';
        else if (c == '*' && is_inside_)
            parts_.numbers.push_back(any_precision);
        ++at_;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    bool is_inside_ = false;
    declaration_parts parts_;
};

void apply(const declaration_parts &parts, arguments takes, declared_type &type)
{
    if (parts.numbers.empty())
        return;
    const int first = parts.numbers.front();
    switch (takes) {
    case none:
        return;
    case length:
        type.length = static_cast<ub2>(std::clamp(first, 1, 32767));
        type.by_character = !parts.by_byte && (type.by_character || parts.by_character);
        return;
    case number:
        if (parts.numbers.size() == 2 && parts.numbers[1] == no_scale) { // how tables keep a FLOAT
            type.precision = static_cast<sb2>(std::clamp(first, 1, 126));
            type.scale = no_scale;
            return;
        }
        type.precision = first == any_precision ? sb2{38} : static_cast<sb2>(std::clamp(first, 1, 38));
        type.scale =
            parts.numbers.size() < 2 ? sb1{0} : static_cast<sb1>(std::clamp(parts.numbers[1], -84, 127));
        return;
    case precision:
        type.precision = static_cast<sb2>(std::clamp(first, 1, 126));
        return;
    case fraction:
        type.scale = static_cast<sb1>(std::clamp(first, 0, 9));
        return;
    case leading: {
        const auto last = static_cast<sb1>(std::clamp(parts.numbers.back(), 0, 9));
        const bool has_leading = parts.has_leading;
        if (has_leading)
            type.precision = static_cast<sb2>(std::clamp(first, 0, 9));
        if (type.type == SQLT_INTERVAL_DS && (!has_leading || parts.numbers.size() > 1))
            type.scale = last;
        return;
    }
    }
}

// SQLite's own rules for declarations that it does not know.
declared_type by_affinity(const declaration_parts &parts)
{
    const auto has = [&](std::string_view word) { return parts.words.find(word) != std::string::npos; };
    if (has("INT"))
        return whole_number;
    if (has("CHAR") || has("CLOB") || has("TEXT")) {
        declared_type text = any_text;
        apply(parts, length, text);
        return text;
    }
    if (has("BLOB"))
        return {SQLT_BLOB};
    if (has("REAL") || has("FLOA") || has("DOUB"))
        return double_number;
    return parts.words.empty() ? any_text : any_number;
}

} // namespace

declared_type parse_declared_type(std::string_view declaration)
{
    const declaration_parts parts = declaration_reader(declaration).read();
    const auto *known = std::find_if(std::begin(rules), std::end(rules),
                                     [&](const type_rule &rule) { return rule.words == parts.words; });
    if (known == std::end(rules))
        return by_affinity(parts);
    declared_type type = known->type;
    apply(parts, known->takes, type);
    return type;
}

bool is_declared_type(std::string_view declaration)
{
    const declaration_parts parts = declaration_reader(declaration).read();
    return std::any_of(std::begin(rules), std::end(rules),
                       [&](const type_rule &rule) { return rule.words == parts.words; });
}

std::string declared_type_text(const declared_type &type)
{
    const auto with = [](const char *word, int number) {
        return word + ("(" + std::to_string(number) + ")");
    };
    const bool is_national = type.form == SQLCS_NCHAR;
    const auto sized = [&](const char *word, const char *national) {
        std::string result = (is_national ? national : word) + ("(" + std::to_string(type.length));
        return result + (!is_national && type.by_character ? " CHAR)" : ")");
    };
    switch (type.type) {
    case SQLT_CHR:
        return sized("VARCHAR2", "NVARCHAR2");
    case SQLT_AFC:
        return sized("CHAR", "NCHAR");
    case SQLT_NUM:
        if (type.precision == 0)
            return "NUMBER";
        if (type.scale == no_scale)
            return with("FLOAT", type.precision);
        return type.scale == 0
                   ? with("NUMBER", type.precision)
                   : "NUMBER(" + std::to_string(type.precision) + "," + std::to_string(type.scale) + ")";
    case SQLT_TIMESTAMP:
        return with("TIMESTAMP", type.scale);
    case SQLT_TIMESTAMP_TZ:
        return with("TIMESTAMP", type.scale) + " WITH TIME ZONE";
    case SQLT_TIMESTAMP_LTZ:
        return with("TIMESTAMP", type.scale) + " WITH LOCAL TIME ZONE";
    case SQLT_INTERVAL_YM:
        return with("INTERVAL YEAR", type.precision) + " TO MONTH";
    case SQLT_INTERVAL_DS:
        return with("INTERVAL DAY", type.precision) + with(" TO SECOND", type.scale);
    case SQLT_BIN:
        return with("RAW", type.length);
    case SQLT_CLOB:
        return is_national ? "NCLOB" : "CLOB";
    default:
        break;
    }
    for (const type_rule &rule : rules)
        if (rule.type.type == type.type)
            return std::string(rule.words);
    return "";
}

} // namespace sqlite_oci
