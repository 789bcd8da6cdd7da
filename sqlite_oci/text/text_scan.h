// Reading texts from the front, in ASCII and whatever the locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace sqlite_oci
{

inline bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

inline char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool is_letter(char c)
{
    return upper(c) >= 'A' && upper(c) <= 'Z';
}

inline bool is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool equal_ignoring_case(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return upper(x) == upper(y); });
}

inline bool starts_with(std::string_view text, std::string_view start)
{
    return equal_ignoring_case(text.substr(0, start.size()), start);
}

// Removes `start` from the front of *text, in any case; false if it is empty or not there.
inline bool take(std::string_view *text, std::string_view start)
{
    if (start.empty() || !starts_with(*text, start))
        return false;
    text->remove_prefix(start.size());
    return true;
}

inline bool take_end(std::string_view *text, std::string_view end)
{
    if (end.empty() || text->size() < end.size() ||
        !starts_with(text->substr(text->size() - end.size()), end))
        return false;
    text->remove_suffix(end.size());
    return true;
}

inline void skip_blanks(std::string_view *text)
{
    while (!text->empty() && is_blank(text->front()))
        text->remove_prefix(1);
}

inline std::string_view trim(std::string_view text)
{
    skip_blanks(&text);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace sqlite_oci
