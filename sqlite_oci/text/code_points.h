// Code points in UTF-8 and UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace sqlite_oci
{

constexpr char32_t replacement = 0xfffd; // for what is not well-formed

inline bool is_high_surrogate(char32_t unit)
{
    return unit >= 0xd800 && unit <= 0xdbff;
}

inline bool is_low_surrogate(char32_t unit)
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

inline utf8_lead classify_lead(unsigned char lead)
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
inline decoded decode_utf8(std::string_view text)
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

inline void put_utf8(char32_t code, std::string *out)
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

inline std::size_t utf16_units(char32_t code)
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

inline std::size_t ascii_prefix(std::string_view text)
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

} // namespace sqlite_oci
