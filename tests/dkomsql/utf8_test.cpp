#include "utf8.h"

#include <string>

#include <gtest/gtest.h>

namespace dkomsql
{
namespace
{

TEST(utf8, width_and_printable_form)
{
    const std::tuple<std::string, std::string, std::size_t> cases[] = {
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
    for (const auto &[text, printed, width] : cases) {
        EXPECT_EQ(printable(text), printed);
        EXPECT_EQ(display_width(printed), width) << printed;
        EXPECT_EQ(malformed_at("é" + text).has_value(),
                  text == "caf\xE9" || text == "\xE6\x9D" || text == "\xED\xA0\x80");
    }
    EXPECT_EQ(malformed_at("aé\xFF"), 3U);
    EXPECT_EQ(printable_lines("a\tb\n\x1B\n"), "a\\tb\n\\x1B\n");
}

TEST(utf8, prefix_without_a_cut_character)
{
    const std::pair<std::string, std::size_t> cases[] = {
        {"", 0},           {"ab", 2},         {"ab\xC3", 2},   {"ab\xF0\x9F\x98", 2},
        {"ab\xC3\xBC", 4}, {"ab\xE6\x9D", 2}, {"\xE6\x9D", 0}, {"ab\xF0\x9F\x98\x80", 6},
        {"ab\xFF", 3},
    };
    for (const auto &[text, length] : cases)
        EXPECT_EQ(complete_prefix(text), length) << printable(text);
}

TEST(utf8, excerpt_keeps_the_place_in_sight)
{
    const std::tuple<std::string, std::size_t, std::size_t, std::string, std::size_t> cases[] = {
        {"select nope from t", 7, 80, "select nope from t", 7}, {"\tselect nope", 8, 80, " select nope", 8},
        {"select 東京, nope", 15, 80, "select 東京, nope", 13}, {"select", 6, 80, "select", 6},
        {"0123456789abcdefghij", 15, 9, "…9abcdefg…", 7},       {"0123456789abcdefghij", 20, 9, "…efghij", 7},
        {"0123456789abcdefghij", 2, 9, "012345678…", 2},
    };
    for (const auto &[line, offset, columns, expected_text, expected_caret] : cases) {
        const Excerpt excerpt = excerpt_around(line, offset, columns);
        EXPECT_EQ(excerpt.text, expected_text);
        EXPECT_EQ(excerpt.caret, expected_caret) << expected_text;
    }
}

} // namespace
} // namespace dkomsql
