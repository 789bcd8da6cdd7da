// Conversions against the C library's iconv.
#include "text/charset.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <bit>
#include <random>

using namespace sqlite_oci;

namespace
{

std::mt19937 random_source(1000);

const char *utf16_name()
{
    return std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
}

std::string by_iconv(const char *to, const char *from, std::string text)
{
    iconv_t converter = iconv_open(to, from);
    std::string out(4 * text.size() + 4, '\0');
    char *in_at = text.data();
    char *out_at = out.data();
    std::size_t in_left = text.size();
    std::size_t out_left = out.size();
    EXPECT_EQ(iconv(converter, &in_at, &in_left, &out_at, &out_left), 0U);
    iconv_close(converter);
    out.resize(out.size() - out_left);
    return out;
}

char32_t random_code()
{
    static constexpr char32_t limits[] = {0x7f, 0xff, 0x7ff, 0xffff, 0x10ffff};
    for (;;) {
        char32_t code =
            std::uniform_int_distribution<char32_t>(1, limits[random_source() % 5])(random_source);
        if (code < 0xd800 || code > 0xdfff)
            return code;
    }
}

std::string random_utf8(std::size_t length)
{
    std::u32string codes;
    while (codes.size() < length)
        codes += random_code();
    return by_iconv("UTF-8", std::endian::native == std::endian::little ? "UTF-32LE" : "UTF-32BE",
                    {reinterpret_cast<const char *>(codes.data()), 4 * codes.size()});
}

} // namespace

TEST(Charset, ConvertsAsIconvDoes)
{
    for (int i = 0; i < 2'000; ++i) {
        std::size_t length = random_source() % 50;
        std::string text = random_utf8(length);
        std::string utf16 = by_iconv(utf16_name(), "UTF-8", text);
        ASSERT_EQ(from_utf8(charset::utf16, text), utf16);
        ASSERT_EQ(to_utf8(charset::utf16, utf16), text);
        ASSERT_EQ(to_utf8(charset::utf8, text), text);
        ASSERT_TRUE(utf8_is_valid(text));
        ASSERT_EQ(utf8_length(text), length);
        ASSERT_EQ(utf16_length_of_utf8(text), utf16.size() / 2);
        ASSERT_EQ(utf16_to_utf8(utf8_to_utf16(text)), text);

        std::string bytes;
        for (int k = 0; k < 30; ++k)
            bytes += static_cast<char>(random_source() % 256);
        std::string latin1 = by_iconv("UTF-8", "ISO-8859-1", bytes);
        ASSERT_EQ(to_utf8(charset::latin1, bytes), latin1);
        ASSERT_EQ(from_utf8(charset::latin1, latin1), bytes);
    }
}

TEST(Charset, ReplacesWhatIsIllFormed)
{
    // with ? for U+FFFD
    const std::pair<std::string, std::string> cases[] = {
        {"z\xf1\x80\x80\xe1\x80\xc2z\x80z\x80\xbfz", "z???z?z??z"},
        {"\xc0\xaf\xe0\x80\xbf\xf0\x81\x82z", "????????z"}, // overlong
        {"\xed\xa0\x80\xed\xbf\xbfz", "??????z"},           // surrogates
        {"\xf4\x91\x92\x93\xffz\x80\xbfz", "?????z??z"},    // above U+10FFFF
        {"\xe1\x80\xe2\xf0\x91\x92\xf1\xbfz", "????z"},     // cut short
        {"\xe2\x82", "?"},
        {"\xe2\x82\xac", "\xe2\x82\xac"},
    };
    for (const auto &[from, to] : cases) {
        std::string expected;
        for (char byte : to)
            expected += byte == '?' ? "\xef\xbf\xbd" : std::string(1, byte);
        EXPECT_EQ(to_utf8(charset::utf8, from), expected);
        EXPECT_EQ(utf8_is_valid(from), from == to);
    }
    EXPECT_EQ(utf16_to_utf8(u"a\xd800?\xdc00\xdbff"), "a\xef\xbf\xbd?\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(to_utf8(charset::utf16, std::string("a\0b", 3)), "a\xef\xbf\xbd");
    EXPECT_EQ(to_utf8(charset::us7ascii, "a\xe4"), "a\xef\xbf\xbd");
    EXPECT_EQ(from_utf8(charset::us7ascii, "a\xc3\xa4\xe2\x82\xac"), "a??");
    EXPECT_EQ(from_utf8(charset::latin1, "a\xc3\xa4\xe2\x82\xac"), "a\xe4\xbf");
}

TEST(Charset, CutsBetweenCharacters)
{
    for (int i = 0; i < 2'000; ++i) {
        std::string text = random_utf8(20);
        std::string utf16 = from_utf8(charset::utf16, text);
        for (charset set : {charset::utf8, charset::utf16}) {
            const std::string &bytes = set == charset::utf8 ? text : utf16;
            std::size_t limit = random_source() % (bytes.size() + 1);
            std::size_t length = cut(set, bytes, limit);
            ASSERT_LE(length, limit);
            ASSERT_GT(length + 4, limit);
            std::string start = to_utf8(set, bytes.substr(0, length));
            ASSERT_EQ(start, text.substr(0, start.size()));
        }
        std::size_t index = random_source() % 25;
        std::size_t offset = utf8_offset(text, index);
        ASSERT_EQ(utf8_length(text.substr(0, offset)), std::min<std::size_t>(index, 20));
        offset = utf8_offset_of_utf16(text, index);
        std::size_t units = utf16_length_of_utf8(text.substr(0, offset));
        ASSERT_TRUE(units == std::min(index, utf16.size() / 2) || units + 1 == index);
    }
    EXPECT_EQ(cut(charset::utf8, "abc", 100), 3U);
    EXPECT_EQ(cut(charset::utf8, "a\xe2\x82", 100), 1U); // unfinished
    EXPECT_EQ(cut(charset::utf8, "a\x82\x82", 100), 3U); // never a character
    EXPECT_EQ(cut(charset::utf8, "a\xe2\xe2", 2), 1U);
    EXPECT_EQ(cut(charset::utf8, "\xed\xa0", 2), 2U); // a surrogate is none either
    EXPECT_EQ(cut(charset::utf16, "abc", 3), 2U);
    EXPECT_EQ(cut(charset::latin1, "\xe4\xf6", 1), 1U);
    EXPECT_EQ(count_characters(charset::utf8, "\xc3\xa4?"), 2U);
    EXPECT_EQ(count_characters(charset::utf16, "abcd"), 2U);
    EXPECT_EQ(count_characters(charset::latin1, "\xc3\xa4"), 2U);
}
