#include "text/charset.h"

#include "text/code_points.h"

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

constexpr char ascii_replacement = '?';
constexpr char latin1_replacement = '\xbf';

// A unit of a byte buffer that need not be aligned.
char16_t unit_at(std::string_view bytes, std::size_t index)
{
    char16_t unit = 0;
    std::memcpy(&unit, bytes.data() + 2 * index, sizeof unit);
    return unit;
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

} // namespace sqlite_oci
