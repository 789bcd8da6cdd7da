#include "text/charset.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{
namespace
{

constexpr ub2 us7ascii_id = 1;
constexpr ub2 latin1_id = 31;
constexpr ub2 utf8_id = 871;
constexpr ub2 al32utf8_id = 873;

constexpr char32_t replacement = 0xfffd;
constexpr char ascii_replacement = '?';
constexpr char latin1_replacement = '\xbf';

bool is_high_surrogate(char32_t unit)
{
    return unit >= 0xd800 && unit <= 0xdbff;
}

bool is_low_surrogate(char32_t unit)
{
    return unit >= 0xdc00 && unit <= 0xdfff;
}

struct decoded {
    char32_t code;
    std::size_t length; // bytes used; of an ill-formed sequence, its maximal part
    bool valid;
};

// What a lead byte asks for: the length of the sequence and the range of the second byte, which excludes
// overlong forms, surrogates and what lies above U+10FFFF.
struct utf8_lead {
    std::size_t length;
    unsigned char second_low, second_high;
};

utf8_lead classify_lead(unsigned char lead)
{
    if (lead < 0x80)
        return {1, 0, 0};
    if (lead >= 0xc2 && lead <= 0xdf)
        return {2, 0x80, 0xbf};
    if (lead >= 0xe0 && lead <= 0xef)
        return {3, static_cast<unsigned char>(lead == 0xe0 ? 0xa0 : 0x80),
                static_cast<unsigned char>(lead == 0xed ? 0x9f : 0xbf)};
    if (lead >= 0xf0 && lead <= 0xf4)
        return {4, static_cast<unsigned char>(lead == 0xf0 ? 0x90 : 0x80),
                static_cast<unsigned char>(lead == 0xf4 ? 0x8f : 0xbf)};
    return {0, 0, 0};
}

// The first code point of a text that is not empty.
decoded decode_utf8(std::string_view text)
{
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    utf8_lead lead = classify_lead(byte(0));
    if (lead.length == 0)
        return {replacement, 1, false};
    if (lead.length == 1)
        return {byte(0), 1, true};
    char32_t code = byte(0) & (0x7fU >> lead.length);
    for (std::size_t i = 1; i < lead.length; ++i) {
        unsigned char low = i == 1 ? lead.second_low : 0x80;
        unsigned char high = i == 1 ? lead.second_high : 0xbf;
        if (i >= text.size() || byte(i) < low || byte(i) > high)
            return {replacement, i, false};
        code = code << 6 | (byte(i) & 0x3fU);
    }
    return {code, lead.length, true};
}

void put_utf8(char32_t code, std::string *out)
{
    if (code < 0x80) {
        *out += static_cast<char>(code);
        return;
    }
    char bytes[4];
    std::size_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    for (std::size_t i = length - 1; i > 0; --i, code >>= 6)
        bytes[i] = static_cast<char>(0x80 | (code & 0x3f));
    static constexpr unsigned char marks[] = {0, 0, 0xc0, 0xe0, 0xf0};
    bytes[0] = static_cast<char>(marks[length] | code);
    out->append(bytes, length);
}

std::size_t utf16_units(char32_t code)
{
    return code >= 0x10000 ? 2 : 1;
}

// Hands the 16-bit units of `code` to `put`.
template <typename Put> void put_utf16(char32_t code, Put put)
{
    if (code < 0x10000) {
        put(static_cast<char16_t>(code));
        return;
    }
    code -= 0x10000;
    put(static_cast<char16_t>(0xd800 + (code >> 10)));
    put(static_cast<char16_t>(0xdc00 + (code & 0x3ff)));
}

// Appends `count` units, read through `unit(i)`, as UTF-8.
template <typename Unit> void append_units(std::size_t count, Unit unit, std::string *out)
{
    for (std::size_t i = 0; i < count; ++i) {
        char32_t code = unit(i);
        if (is_high_surrogate(code) && i + 1 < count && is_low_surrogate(unit(i + 1)))
            code = 0x10000 + ((code - 0xd800) << 10) + (unit(++i) - 0xdc00U);
        else if (is_high_surrogate(code) || is_low_surrogate(code))
            code = replacement;
        put_utf8(code, out);
    }
}

// A unit of a byte buffer that need not be aligned.
char16_t unit_at(std::string_view bytes, std::size_t index)
{
    char16_t unit = 0;
    std::memcpy(&unit, bytes.data() + 2 * index, sizeof unit);
    return unit;
}

std::size_t ascii_prefix(std::string_view text)
{
    std::size_t length = 0;
    constexpr std::size_t step = sizeof(std::uint64_t);
    for (; length + step <= text.size(); length += step) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + length, step);
        if (word & 0x8080808080808080U)
            break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

// Walks the code points of a text: `visit(decoded, offset)` returns false to stop.
template <typename Visit> void walk_utf8(std::string_view text, Visit visit)
{
    for (std::size_t offset = 0; offset < text.size();) {
        decoded next = decode_utf8(text.substr(offset));
        if (!visit(next, offset))
            return;
        offset += next.length;
    }
}

std::size_t cut_utf8(std::string_view bytes, std::size_t limit)
{
    // Only the last character may be cut: find its lead byte, at most three bytes back.
    for (std::size_t back = 1; back <= 4 && back <= limit; ++back) {
        std::size_t start = limit - back;
        unsigned char byte = static_cast<unsigned char>(bytes[start]);
        if (byte < 0x80)
            return limit;
        if (byte >= 0xc0) {
            // A beginning that no byte can complete is no character and stays.
            bool promising = decode_utf8(bytes.substr(start, back)).length == back;
            return classify_lead(byte).length > back && promising ? start : limit;
        }
    }
    return limit;
}

std::size_t cut_utf16(std::string_view bytes, std::size_t limit)
{
    std::size_t units = limit / 2;
    if (units > 0 && is_high_surrogate(unit_at(bytes, units - 1)))
        --units;
    return 2 * units;
}

} // namespace

std::optional<charset> charset_from_id(ub2 id, charset otherwise)
{
    switch (id) {
    case 0:
        return otherwise;
    case us7ascii_id:
        return charset::us7ascii;
    case latin1_id:
        return charset::latin1;
    case utf8_id:
    case al32utf8_id:
        return charset::utf8;
    case OCI_UTF16ID:
        return charset::utf16;
    default:
        return std::nullopt;
    }
}

ub2 charset_id(charset set)
{
    static constexpr ub2 ids[] = {us7ascii_id, latin1_id, al32utf8_id, OCI_UTF16ID};
    return ids[static_cast<std::size_t>(set)];
}

const char *charset_name(charset set)
{
    static constexpr const char *names[] = {"US7ASCII", "WE8ISO8859P1", "AL32UTF8", "UTF16"};
    return names[static_cast<std::size_t>(set)];
}

std::size_t charset_max_bytes(charset set)
{
    static constexpr std::size_t sizes[] = {1, 1, 4, 4};
    return sizes[static_cast<std::size_t>(set)];
}

void append_utf8(charset from, std::string_view bytes, std::string *out)
{
    switch (from) {
    case charset::us7ascii:
        for (char c : bytes)
            put_utf8(static_cast<unsigned char>(c) < 0x80 ? static_cast<char32_t>(c) : replacement, out);
        break;
    case charset::latin1:
        for (char c : bytes)
            put_utf8(static_cast<unsigned char>(c), out);
        break;
    case charset::utf8: {
        std::size_t plain = ascii_prefix(bytes);
        out->append(bytes.substr(0, plain));
        walk_utf8(bytes.substr(plain), [&](const decoded &next, std::size_t offset) {
            if (next.valid)
                out->append(bytes.substr(plain + offset, next.length));
            else
                put_utf8(replacement, out);
            return true;
        });
        break;
    }
    case charset::utf16:
        append_units(
            bytes.size() / 2, [&](std::size_t i) { return unit_at(bytes, i); }, out);
        if (bytes.size() % 2 != 0)
            put_utf8(replacement, out);
        break;
    }
}

std::string to_utf8(charset from, std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size());
    append_utf8(from, bytes, &out);
    return out;
}

void append_from_utf8(charset to, std::string_view text, std::string *out)
{
    switch (to) {
    case charset::us7ascii:
        walk_utf8(text, [&](const decoded &next, std::size_t) {
            *out += next.code < 0x80 ? static_cast<char>(next.code) : ascii_replacement;
            return true;
        });
        break;
    case charset::latin1:
        walk_utf8(text, [&](const decoded &next, std::size_t) {
            *out += next.code < 0x100 ? static_cast<char>(next.code) : latin1_replacement;
            return true;
        });
        break;
    case charset::utf8:
        append_utf8(charset::utf8, text, out);
        break;
    case charset::utf16:
        walk_utf8(text, [&](const decoded &next, std::size_t) {
            put_utf16(next.code, [&](char16_t unit) {
                char bytes[sizeof unit];
                std::memcpy(bytes, &unit, sizeof unit);
                out->append(bytes, sizeof unit);
            });
            return true;
        });
        break;
    }
}

std::string from_utf8(charset to, std::string_view text)
{
    std::string out;
    out.reserve(to == charset::utf16 ? 2 * text.size() : text.size());
    append_from_utf8(to, text, &out);
    return out;
}

std::size_t count_characters(charset set, std::string_view bytes)
{
    switch (set) {
    case charset::utf8:
        return utf8_length(bytes);
    case charset::utf16:
        return bytes.size() / 2;
    case charset::us7ascii:
    case charset::latin1:
        break;
    }
    return bytes.size();
}

std::size_t cut(charset set, std::string_view bytes, std::size_t max_bytes)
{
    std::size_t limit = std::min(bytes.size(), max_bytes);
    switch (set) {
    case charset::utf8:
        return cut_utf8(bytes, limit);
    case charset::utf16:
        return cut_utf16(bytes, limit);
    case charset::us7ascii:
    case charset::latin1:
        break;
    }
    return limit;
}

void append_utf16(std::string_view text, std::u16string *out)
{
    walk_utf8(text, [&](const decoded &next, std::size_t) {
        put_utf16(next.code, [&](char16_t unit) { *out += unit; });
        return true;
    });
}

std::u16string utf8_to_utf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    append_utf16(text, &out);
    return out;
}

void append_utf8(std::u16string_view text, std::string *out)
{
    append_units(
        text.size(), [&](std::size_t i) { return text[i]; }, out);
}

std::string utf16_to_utf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    append_utf8(text, &out);
    return out;
}

bool utf8_is_valid(std::string_view text)
{
    bool valid = true;
    walk_utf8(text.substr(ascii_prefix(text)),
              [&](const decoded &next, std::size_t) { return valid = next.valid; });
    return valid;
}

std::size_t utf8_length(std::string_view text)
{
    std::size_t length = ascii_prefix(text);
    walk_utf8(text.substr(length), [&](const decoded &, std::size_t) {
        ++length;
        return true;
    });
    return length;
}

std::size_t utf16_length_of_utf8(std::string_view text)
{
    std::size_t length = ascii_prefix(text);
    walk_utf8(text.substr(length), [&](const decoded &next, std::size_t) {
        length += utf16_units(next.code);
        return true;
    });
    return length;
}

std::size_t utf8_offset(std::string_view text, std::size_t index)
{
    std::size_t result = text.size();
    std::size_t passed = 0;
    walk_utf8(text, [&](const decoded &, std::size_t offset) {
        if (passed++ < index)
            return true;
        result = offset;
        return false;
    });
    return result;
}

std::size_t utf8_offset_of_utf16(std::string_view text, std::size_t index)
{
    std::size_t result = text.size();
    std::size_t passed = 0;
    walk_utf8(text, [&](const decoded &next, std::size_t offset) {
        passed += utf16_units(next.code);
        if (passed <= index)
            return true;
        result = offset;
        return false;
    });
    return result;
}

} // namespace sqlite_oci
