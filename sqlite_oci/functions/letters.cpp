#include "functions/letters.h"

#include "text/charset.h"

namespace sqlite_oci
{
namespace
{

struct letter_range {
    char16_t first, last; // capitals
    char16_t distance;    // of the small letter; 1: capitals and small letters take turns
};

constexpr letter_range ranges[] = {
    {u'A', u'Z', 32},     {0x00c0, 0x00d6, 32}, {0x00d8, 0x00de, 32}, {0x0100, 0x012e, 1},
    {0x0132, 0x0136, 1},  {0x0139, 0x0147, 1},  {0x014a, 0x0176, 1},  {0x0179, 0x017d, 1},
    {0x0386, 0x0386, 38}, {0x0388, 0x038a, 37}, {0x038c, 0x038c, 64}, {0x038e, 0x038f, 63},
    {0x0391, 0x03a1, 32}, {0x03a3, 0x03ab, 32}, {0x0400, 0x040f, 80}, {0x0410, 0x042f, 32},
    {0x0460, 0x0480, 1},  {0x048a, 0x04be, 1},  {0x04c1, 0x04cd, 1},  {0x04d0, 0x052e, 1},
    {0x1e00, 0x1e94, 1},  {0x1ea0, 0x1efe, 1},
};

char16_t small_letter(char16_t c)
{
    for (const letter_range &range : ranges)
        if (c >= range.first && c <= range.last && (range.distance != 1 || (c - range.first) % 2 == 0))
            return static_cast<char16_t>(c + range.distance);
    return c == 0x0178 ? u'\u00ff' : c;
}

char16_t capital_letter(char16_t c)
{
    for (const letter_range &range : ranges)
        if (c >= range.first + range.distance && c <= range.last + range.distance &&
            (range.distance != 1 || (c - range.first) % 2 == 1))
            return static_cast<char16_t>(c - range.distance);
    return c == 0x00ff ? u'\u0178' : c;
}

template <class Change> std::string changed(std::string_view text, Change change)
{
    std::u16string wide = utf8_to_utf16(text);
    for (char16_t &c : wide)
        c = change(c);
    return utf16_to_utf8(wide);
}

bool is_word_part(char16_t c)
{
    return (c >= u'0' && c <= u'9') || small_letter(c) != c || capital_letter(c) != c || c == 0x00df ||
           c >= 0x0600;
}

} // namespace

std::string upper_letters(std::string_view text)
{
    return changed(text, capital_letter);
}

std::string lower_letters(std::string_view text)
{
    return changed(text, small_letter);
}

std::string initial_capitals(std::string_view text)
{
    bool is_inside = false;
    return changed(text, [&](char16_t c) {
        const char16_t result = is_inside ? small_letter(c) : capital_letter(c);
        is_inside = is_word_part(c);
        return result;
    });
}

} // namespace sqlite_oci
