#include "utf8.h"

#include <string>

#include <gtest/gtest.h>

namespace dkomsql
{
namespace
{

TEST(utf8, width_and_printable_form)
{
    const struct {
        std::string text;
        std::string printed;
        std::size_t width;
    } cases[] = {
        {"", "", 0},
        {"plain", "plain", 5},
        {"Zürich", "Zürich", 6},
        {"Zu\u0308rich", "Zu\u0308rich", 6},                           // u and a combining diaeresis
        {"東京", "東京", 4},                                           // wide
        {"ｶﾀｶﾅ", "ｶﾀｶﾅ", 4},                                           // half-width
        {"한글", "한글", 4},                                           //
        {"\U0001F600!", "\U0001F600!", 3},                             // outside the basic plane
        {"a\u200Bb", "a\u200Bb", 2},                                   // zero-width space
        {"tab\there\n", "tab\\there\\n", 11},                          //
        {std::string("\0\x1B[31m\x7F", 7), "\\x00\\x1B[31m\\x7F", 16}, // must not reach a terminal
        {"\u0085", "\\x85", 4},                                        // a control character of two bytes
        {"caf\xE9", "caf\\xE9", 7},                                    // Latin-1, not UTF-8
        {"\xE6\x9D", "\\xE6\\x9D", 8},                                 // cut in the middle
        {"\xED\xA0\x80", "\\xED\\xA0\\x80", 12},                       // a surrogate
    };
    for (const auto &c : cases) {
        EXPECT_EQ(printable(c.text), c.printed);
        EXPECT_EQ(display_width(c.printed), c.width) << c.printed;
    }
}

TEST(utf8, prefix_without_a_cut_character)
{
    const struct {
        std::string text;
        std::size_t length;
    } cases[] = {
        {"", 0},
        {"ab", 2},
        {"ab\xC3", 2},
        {"ab\xC3\xBC", 4},
        {"ab\xE6\x9D", 2},
        {"ab\xF0\x9F\x98", 2},
        {"ab\xF0\x9F\x98\x80", 6},
        {"\xE6\x9D", 0},
        {"ab\xFF", 3}, // malformed anyway: nothing was cut
    };
    for (const auto &c : cases)
        EXPECT_EQ(complete_prefix(c.text), c.length) << printable(c.text);
}

TEST(utf8, excerpt_keeps_the_place_in_sight)
{
    const struct {
        std::string line;
        std::size_t offset;
        std::size_t columns;
        std::string text;
        std::size_t caret;
    } cases[] = {
        {"select nope from t", 7, 80, "select nope from t", 7},
        {"select 東京, nope", 15, 80, "select 東京, nope", 13},
        {"\tselect nope", 8, 80, " select nope", 8},
        {"select", 6, 80, "select", 6},
        {"0123456789abcdefghij", 15, 9, "…9abcdefg…", 7},
        {"0123456789abcdefghij", 2, 9, "012345678…", 2},
        {"0123456789abcdefghij", 20, 9, "…efghij", 7},
    };
    for (const auto &c : cases) {
        const Excerpt excerpt = excerpt_around(c.line, c.offset, c.columns);
        EXPECT_EQ(excerpt.text, c.text);
        EXPECT_EQ(excerpt.caret, c.caret) << c.text;
    }
}

} // namespace
} // namespace dkomsql
