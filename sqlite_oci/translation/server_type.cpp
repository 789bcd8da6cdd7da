// Types in definitions and CASTs.
#include "syntax/token.h"
#include "translation/translator.h"

namespace sqlite_oci::sql
{
namespace
{

constexpr std::size_t longest_char = 2000;

// The first number in the parentheses; -1 for none.
long first_number(const std::string &text)
{
    const auto open = text.find('(');
    return open == text.npos ? -1 : std::strtol(text.c_str() + open + 1, nullptr, 10);
}

} // namespace

declared_type server_type(const std::string &text, std::size_t offset)
{
    if (!is_declared_type(text))
        fail_at(offset, 902, "%.100s: invalid datatype", text.c_str());
    const declared_type type = parse_declared_type(text);
    const std::string word = upper_case(text.substr(0, text.find_first_of(" (")));
    const long number = first_number(text);
    const bool needs_length = word == "VARCHAR2" || word == "NVARCHAR2" || word == "RAW" || word == "VARCHAR";
    if (needs_length && number < 0)
        fail_at(offset, 906, "%s needs a length", word.c_str());
    if (type.is_text() || type.type == SQLT_BIN) {
        const long most =
            type.type == SQLT_AFC || type.type == SQLT_BIN ? long{longest_char} : long{longest_text};
        if (number == 0)
            fail_at(offset, 1723, "zero-length columns are not allowed");
        if (number > most)
            fail_at(offset, 910, "the length %ld is more than %ld", number, most);
    }
    const bool is_number = type.type == SQLT_NUM && type.scale != no_scale;
    if (is_number && number >= 0 && (number < 1 || number > 38) && text.find('*') == std::string::npos)
        fail_at(offset, 1727, "the precision of a NUMBER is 1 to 38");
    return type;
}

} // namespace sqlite_oci::sql
