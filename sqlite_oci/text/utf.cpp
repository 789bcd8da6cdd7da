// Texts in UTF-8 and UTF-16: conversion, lengths and places.
#include "text/charset.h"
#include "text/code_points.h"

#include <algorithm>

namespace sqlite_oci
{

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
