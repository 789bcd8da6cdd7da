// Environments whose texts are in UTF-16 or in a single-byte set.
#include "client.h"

#include <cstring>

namespace sqlite_oci_test
{
namespace
{

std::string bytes_of(std::u16string_view text)
{
    return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
}

class utf16 : public testing::Test
{
protected:
    // Runs a query whose text and fetched value are UTF-16.
    std::u16string ask(std::u16string_view sql)
    {
        const prepared query(db, bytes_of(sql));
        char16_t fetched[64] = {};
        EXPECT_EQ(query.out(1, fetched, SQLT_STR).execute(1), OCI_SUCCESS);
        return fetched;
    }

    database_directory directory;
    connected_client db{OCI_UTF16ID, bytes_of(u"main")};
};

TEST_F(utf16, statements_values_and_errors_are_in_the_environments_set)
{
    EXPECT_EQ(ask(u"SELECT 'gr\u00fc\u00df \U0001F600' FROM dual"), u"gr\u00fc\u00df \U0001F600");
    EXPECT_EQ(ask(u"SELECT 42 FROM dual"), u"42");

    const prepared query(db, bytes_of(u"SELECT length(:wert) || :wert FROM dual"));
    char16_t value[] = u"\u00e9\U0001F600", fetched[8] = {};
    ub2 length = 6;
    EXPECT_EQ(query.bind(bytes_of(u":WERT"), value, sizeof value, SQLT_CHR, nullptr, &length), OCI_SUCCESS);
    EXPECT_EQ(query.out(1, fetched, SQLT_CHR, nullptr, &length).execute(1), OCI_SUCCESS);
    EXPECT_EQ(std::u16string(fetched, length / 2), u"2\u00e9\U0001F600");

    EXPECT_EQ(prepared(db, bytes_of(u"SELECT * FROM missing")).execute(0), OCI_ERROR);
    char16_t message[100] = {};
    sb4 code = 0;
    EXPECT_EQ(OCIErrorGet(db.errors, 1, nullptr, &code, reinterpret_cast<OraText *>(message), sizeof message,
                          OCI_HTYPE_ERROR),
              OCI_SUCCESS);
    EXPECT_EQ(code, 942);
    EXPECT_TRUE(std::u16string(message).starts_with(u"ORA-00942: ")) << "and terminated by two zero bytes";
}

TEST_F(utf16, narrow_texts_of_sql_are_understood_too)
{
    const std::string narrow = "SELECT 'w\xC3\xA4r' || :x FROM dual";
    const prepared query(db, narrow);
    char16_t value[] = u"e", fetched[8] = {};
    EXPECT_EQ(query.in(":x", value, SQLT_STR).out(1, fetched, SQLT_STR).execute(1), OCI_SUCCESS);
    EXPECT_EQ(std::u16string(fetched), u"w\u00e4re");
    EXPECT_EQ(OCIServerDetach(db.server, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(OCIServerAttach(db.server, db.errors, text("main"), 4, OCI_DEFAULT), OCI_SUCCESS);
}

TEST_F(utf16, cuts_and_blanks_are_whole_characters)
{
    const std::tuple<const char16_t *, std::u16string, sb4, ub2, sb2> cases[] = {
        {u"abc", u"ab", 4, SQLT_CHR, 6},        {u"abc", std::u16string(u"ab\0", 3), 6, SQLT_STR, 6},
        {u"abc", u"ab", 5, SQLT_CHR, 6},        {u"ab", std::u16string(u"ab \0", 4), 8, SQLT_AVC, 0},
        {u"a\U0001F600", u"a", 4, SQLT_CHR, 6}, {u"ab", u"ab  ", 8, SQLT_AFC, 0},
    };
    for (const auto &[value, expected_fetched, expected_size, type, expected_indicator] : cases) {
        const prepared query(db, bytes_of(std::u16string(u"SELECT '") + value + u"' FROM dual"));
        char16_t fetched[8] = {};
        sb2 indicator = 99;
        EXPECT_EQ(query.define(1, fetched, expected_size, type, &indicator), OCI_SUCCESS);
        query.execute(1);
        EXPECT_EQ(std::u16string(fetched, expected_fetched.size()), expected_fetched) << type;
        EXPECT_EQ(indicator, expected_indicator) << type << " of " << expected_size;
    }
}

TEST(charsets, a_variable_can_have_a_set_of_its_own)
{
    const database_directory directory;
    const connected_client db;
    const prepared query(db, "SELECT :x FROM dual");
    char value[] = "\xE9", fetched[4] = {};
    char16_t wide[4] = {};
    const auto set = [&](void *variable, ub4 kind, ub2 id) {
        return OCIAttrSet(variable, kind, &id, 0, OCI_ATTR_CHARSET_ID, db.errors);
    };
    ASSERT_EQ(query.bind("x", value, 1, SQLT_CHR), OCI_SUCCESS);
    ASSERT_EQ(set(query.last_bind, OCI_HTYPE_BIND, 31), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(set(query.last_bind, OCI_HTYPE_BIND, 9999), 12715));
    ASSERT_EQ(query.out(1, fetched, SQLT_STR).execute(1), OCI_SUCCESS);
    EXPECT_STREQ(fetched, "\xC3\xA9");
    query.out(1, wide, SQLT_STR);
    ASSERT_EQ(set(query.last_define, OCI_HTYPE_DEFINE, OCI_UTF16ID), OCI_SUCCESS);
    ASSERT_EQ(query.execute(1), OCI_SUCCESS);
    EXPECT_EQ(std::u16string(wide), u"\u00e9");
}

TEST(charsets, environments_tell_their_set_and_refuse_unknown_ones)
{
    const std::tuple<ub2, ub4, ub2, ub1> cases[] = {{0, OCI_DEFAULT, 873, 0},
                                                    {873, OCI_DEFAULT, 873, 0},
                                                    {31, OCI_DEFAULT, 31, 0},
                                                    {1, OCI_THREADED, 1, 0},
                                                    {OCI_UTF16ID, OCI_DEFAULT, OCI_UTF16ID, 1},
                                                    {0, OCI_UTF16, OCI_UTF16ID, 1}};
    for (const auto &[given, mode, expected_set, expected_is_utf16] : cases) {
        const client made(given, mode);
        ub2 set = 0;
        ub1 is_utf16 = 9;
        OCIAttrGet(made.env, OCI_HTYPE_ENV, &set, nullptr, OCI_ATTR_ENV_CHARSET_ID, made.errors);
        OCIAttrGet(made.env, OCI_HTYPE_ENV, &is_utf16, nullptr, OCI_ATTR_ENV_UTF16, made.errors);
        EXPECT_EQ(set, expected_set);
        EXPECT_EQ(is_utf16, expected_is_utf16);
    }
    OCIEnv *env = nullptr;
    EXPECT_EQ(OCIEnvNlsCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 9999, 0),
              OCI_ERROR);
    EXPECT_EQ(env, nullptr);
}

} // namespace
} // namespace sqlite_oci_test
