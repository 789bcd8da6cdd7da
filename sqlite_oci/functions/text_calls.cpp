// Texts. Characters are code points; an empty result is null.
#include "functions/arguments.h"
#include "functions/families.h"
#include "functions/letters.h"
#include "text/charset.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

constexpr std::int64_t longest_padding = 1'000'000;

void length(sqlite3_context *context, int, arguments given)
{
    if (sqlite3_value_type(given[0]) == SQLITE_BLOB)
        sqlite3_result_int64(context, sqlite3_value_bytes(given[0]));
    else if (!is_null(given[0]))
        sqlite3_result_int64(context, static_cast<sqlite3_int64>(utf8_length(text_of(given[0]))));
}

void length_in_bytes(sqlite3_context *context, int, arguments given)
{
    if (!is_null(given[0]))
        sqlite3_result_int64(context, static_cast<sqlite3_int64>(bytes_of(given[0]).size()));
}

void concatenate(sqlite3_context *context, int count, arguments given)
{
    std::string result;
    bool is_null_so_far = true;
    for (int i = 0; i < count; ++i) {
        is_null_so_far = is_null_so_far && is_null(given[i]);
        result += text_of(given[i]);
    }
    if (!is_null_so_far)
        return_text(context, result);
}

// --- Parts

struct part {
    std::int64_t start, count; // from 0
};

// From a place that counts from 1, or from the end where it is negative; 0 is the first one, too.
bool find_part(sqlite3_context *context, int count, arguments given, std::int64_t size, part *found)
{
    std::int64_t start = 0, wanted = size;
    if (any_null(count, given) || !integer_argument(context, given[1], &start) ||
        (count == 3 && !integer_argument(context, given[2], &wanted)))
        return false;
    start = start > 0 ? start - 1 : start < 0 ? size + start : 0;
    if (start < 0 || start >= size || wanted < 1)
        return false;
    *found = {start, std::min(wanted, size - start)};
    return true;
}

void substring(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]))
        return;
    const bool is_blob = sqlite3_value_type(given[0]) == SQLITE_BLOB;
    const std::string_view text = is_blob ? bytes_of(given[0]) : text_of(given[0]);
    const auto size = static_cast<std::int64_t>(is_blob ? text.size() : utf8_length(text));
    part found{};
    if (!find_part(context, count, given, size, &found))
        return;
    if (is_blob)
        return sqlite3_result_blob64(context, text.data() + found.start,
                                     static_cast<sqlite3_uint64>(found.count), SQLITE_TRANSIENT);
    const std::string_view rest = text.substr(utf8_offset(text, static_cast<std::size_t>(found.start)));
    return_text(context, rest.substr(0, utf8_offset(rest, static_cast<std::size_t>(found.count))));
}

void substring_of_bytes(sqlite3_context *context, int count, arguments given)
{
    const std::string_view text = text_of(given[0]);
    part found{};
    if (find_part(context, count, given, static_cast<std::int64_t>(text.size()), &found))
        return_text(context, text.substr(static_cast<std::size_t>(found.start),
                                         static_cast<std::size_t>(found.count)));
}

// Byte offset of the occurrence asked for, at or behind `from` (bytes), or before the end backwards.
std::size_t find_occurrence(std::string_view text, std::string_view wanted, std::size_t from,
                            bool is_backward, std::int64_t occurrence)
{
    std::size_t at = is_backward ? text.rfind(wanted, from) : text.find(wanted, from);
    while (at != text.npos && --occurrence > 0) {
        if (is_backward)
            at = at == 0 ? text.npos : text.rfind(wanted, at - 1);
        else
            at = text.find(wanted, at + 1);
    }
    return at;
}

template <bool by_byte> void find_text(sqlite3_context *context, int count, arguments given)
{
    std::int64_t from = 1, occurrence = 1;
    if (any_null(count, given) || (count > 2 && !integer_argument(context, given[2], &from)) ||
        (count > 3 && !integer_argument(context, given[3], &occurrence)))
        return;
    if (occurrence < 1)
        return return_error(context, 1428, "the occurrence that INSTR looks for is not above 0");
    const std::string_view text = text_of(given[0]), wanted = text_of(given[1]);
    const auto size = static_cast<std::int64_t>(by_byte ? text.size() : utf8_length(text));
    if (from == 0 || from > size || from < -size || wanted.empty())
        return sqlite3_result_int64(context, 0);
    const auto start = static_cast<std::size_t>(from > 0 ? from - 1 : size + from);
    const std::size_t found =
        find_occurrence(text, wanted, by_byte ? start : utf8_offset(text, start), from < 0, occurrence);
    if (found == text.npos)
        return sqlite3_result_int64(context, 0);
    sqlite3_result_int64(
        context, static_cast<sqlite3_int64>(by_byte ? found : utf8_length(text.substr(0, found))) + 1);
}

// --- Padding and trimming

std::string filling_of(std::string_view filling, std::size_t characters)
{
    std::string result;
    for (std::size_t left = characters; left > 0;) {
        const std::size_t taken = std::min(left, utf8_length(filling));
        result.append(filling.substr(0, utf8_offset(filling, taken)));
        left -= taken;
    }
    return result;
}

enum class side : std::uint8_t { left, right };

template <side where> void pad(sqlite3_context *context, int count, arguments given)
{
    std::int64_t width = 0;
    if (any_null(count, given) || !integer_argument(context, given[1], &width))
        return;
    const std::string_view filling = count == 3 ? text_of(given[2]) : " ";
    if (filling.empty() || width < 1)
        return;
    if (width > longest_padding)
        return return_error(context, 1489, "the result of padding is too long");
    const std::string_view text = text_of(given[0]);
    const auto wanted = static_cast<std::size_t>(width);
    const std::size_t present = utf8_length(text);
    if (present >= wanted)
        return return_text(context, text.substr(0, utf8_offset(text, wanted)));
    const std::string added = filling_of(filling, wanted - present);
    return_text(context, where == side::left ? added + std::string(text) : std::string(text) + added);
}

std::size_t character_length(std::string_view text)
{
    return utf8_offset(text, 1);
}

bool has_character(std::string_view set, std::string_view character)
{
    for (; !set.empty(); set.remove_prefix(character_length(set)))
        if (set.substr(0, character_length(set)) == character)
            return true;
    return false;
}

std::string_view trimmed(std::string_view text, std::string_view set, bool left, bool right)
{
    while (left && !text.empty() && has_character(set, text.substr(0, character_length(text))))
        text.remove_prefix(character_length(text));
    while (right && !text.empty()) {
        std::size_t last = text.size() - 1;
        while (last > 0 && (static_cast<unsigned char>(text[last]) & 0xc0) == 0x80)
            --last;
        if (!has_character(set, text.substr(last)))
            break;
        text.remove_suffix(text.size() - last);
    }
    return text;
}

template <side where> void trim_side(sqlite3_context *context, int count, arguments given)
{
    if (!any_null(count, given))
        return_text(context, trimmed(text_of(given[0]), count == 2 ? text_of(given[1]) : " ",
                                     where == side::left, where == side::right));
}

// trim(side, text [, character])
void trim_both(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    const std::string_view where = text_of(given[0]), set = count == 3 ? text_of(given[2]) : " ";
    if (utf8_length(set) != 1)
        return return_error(context, 30001, "TRIM takes one character away");
    return_text(context, trimmed(text_of(given[1]), set, where != "TRAILING", where != "LEADING"));
}

// --- Replacing

void replace(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]))
        return;
    const std::string_view text = text_of(given[0]), wanted = text_of(given[1]);
    const std::string_view other = count == 3 ? text_of(given[2]) : "";
    if (wanted.empty())
        return return_text(context, text);
    std::string result;
    std::size_t at = 0;
    for (std::size_t found; (found = text.find(wanted, at)) != text.npos; at = found + wanted.size())
        result.append(text.substr(at, found - at)).append(other);
    return_text(context, result.append(text.substr(at)));
}

// Each character of the second text becomes the one in the same place of the third, or nothing.
void translate(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    const std::string_view from = text_of(given[1]), to = text_of(given[2]);
    std::string result;
    for (std::string_view rest = text_of(given[0]); !rest.empty();
         rest.remove_prefix(character_length(rest))) {
        const std::string_view character = rest.substr(0, character_length(rest));
        const auto place = from.find(character);
        if (place == from.npos) {
            result += character;
            continue;
        }
        const std::size_t index = utf8_length(from.substr(0, place));
        const std::string_view other = to.substr(utf8_offset(to, index));
        result += other.substr(0, other.empty() ? 0 : character_length(other));
    }
    return_text(context, result);
}

template <std::string (*change)(std::string_view)>
void with_letters(sqlite3_context *context, int, arguments given)
{
    if (!is_null(given[0]))
        return_text(context, change(text_of(given[0])));
}

// --- LIKE: % stands for any text and _ for any character.

bool is_like(std::string_view text, std::string_view pattern, std::string_view escape)
{
    // Where the last % was met: there, one more character may belong to it.
    std::string_view retry_text, retry_pattern;
    bool can_retry = false;
    for (;;) {
        if (!pattern.empty() && !escape.empty() && pattern.starts_with(escape)) {
            const std::string_view rest = pattern.substr(escape.size());
            const std::size_t size = character_length(rest);
            if (!text.empty() && text.substr(0, size) == rest.substr(0, size)) {
                text.remove_prefix(size);
                pattern = rest.substr(size);
                continue;
            }
        } else if (pattern.starts_with('%')) {
            pattern.remove_prefix(1);
            retry_text = text;
            retry_pattern = pattern;
            can_retry = true;
            continue;
        } else if (pattern.empty() && text.empty()) {
            return true;
        } else if (!pattern.empty() && !text.empty()) {
            const std::size_t size = character_length(text);
            if (pattern.front() == '_' || pattern.substr(0, size) == text.substr(0, size)) {
                pattern.remove_prefix(pattern.front() == '_' ? 1 : size);
                text.remove_prefix(size);
                continue;
            }
        }
        if (!can_retry || retry_text.empty())
            return false;
        retry_text.remove_prefix(character_length(retry_text));
        text = retry_text;
        pattern = retry_pattern;
    }
}

void like(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    const std::string_view pattern = text_of(given[1]), escape = count == 3 ? text_of(given[2]) : "";
    if (count == 3 && utf8_length(escape) != 1)
        return return_error(context, 1425, "ESCAPE takes one character");
    if (!escape.empty())
        for (std::size_t at = pattern.find(escape); at != pattern.npos; at = pattern.find(escape, at)) {
            const std::string_view next = pattern.substr(at + escape.size());
            if (!next.starts_with('%') && !next.starts_with('_') && !next.starts_with(escape))
                return return_error(context, 1424, "the escape character stands before %, _ and itself only");
            at += escape.size() + 1;
        }
    sqlite3_result_int(context, is_like(text_of(given[0]), pattern, escape));
}

// --- Characters

void character(sqlite3_context *context, int, arguments given)
{
    std::int64_t code = 0;
    if (is_null(given[0]) || !integer_argument(context, given[0], &code))
        return;
    if (code < 0 || code > 0xffffffffLL)
        return return_error(context, 1428, "not the number of a character");
    // The number is that of the character's bytes.
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        if (const auto byte = static_cast<char>((code >> shift) & 0xff);
            byte != 0 || !bytes.empty() || shift == 0)
            bytes += byte;
    if (!utf8_is_valid(bytes))
        return return_error(context, 1428, "not the number of a character in UTF-8");
    return_text(context, bytes);
}

void character_number(sqlite3_context *context, int, arguments given)
{
    const std::string_view text = text_of(given[0]);
    if (text.empty())
        return;
    std::int64_t code = 0;
    for (const char c : text.substr(0, character_length(text)))
        code = code * 256 + static_cast<unsigned char>(c);
    sqlite3_result_int64(context, code);
}

constexpr function_entry entries[] = {
    {"oci_length", length, 1},
    {"oci_lengthb", length_in_bytes, 1},
    {"oci_concat", concatenate, -1},
    {"oci_substr", substring, 2},
    {"oci_substr", substring, 3},
    {"oci_substrb", substring_of_bytes, 2},
    {"oci_substrb", substring_of_bytes, 3},
    {"oci_instr", find_text<false>, -1},
    {"oci_instrb", find_text<true>, -1},
    {"oci_lpad", pad<side::left>, 2},
    {"oci_lpad", pad<side::left>, 3},
    {"oci_rpad", pad<side::right>, 2},
    {"oci_rpad", pad<side::right>, 3},
    {"oci_ltrim", trim_side<side::left>, -1},
    {"oci_rtrim", trim_side<side::right>, -1},
    {"oci_trim", trim_both, -1},
    {"oci_replace", replace, -1},
    {"oci_translate", translate, 3},
    {"oci_upper", with_letters<upper_letters>, 1},
    {"oci_lower", with_letters<lower_letters>, 1},
    {"oci_initcap", with_letters<initial_capitals>, 1},
    {"oci_like", like, 2},
    {"oci_like", like, 3},
    {"oci_chr", character, 1},
    {"oci_ascii", character_number, 1},
    // By the names in views of older databases.
    {"lengthb", length_in_bytes, 1},
    {"lpad", pad<side::left>, 2},
    {"lpad", pad<side::left>, 3},
    {"rpad", pad<side::right>, 2},
    {"rpad", pad<side::right>, 3},
};

} // namespace

void add_text_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
