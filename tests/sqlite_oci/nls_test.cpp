// Language support: characters, strings of them, and conversion between character sets.
#include "client.h"

#include <cstring>

namespace sqlite_oci_test
{
namespace
{

struct nls_test : testing::Test {
    const OCIWchar *wide(const char32_t *plain) const { return reinterpret_cast<const OCIWchar *>(plain); }

    client db;
};

TEST_F(nls_test, characters_have_unicode_classes)
{
    EXPECT_TRUE(OCIWideCharIsAlnum(db.env, U'ß') && !OCIWideCharIsAlnum(db.env, U'-'));
    EXPECT_TRUE(OCIWideCharIsAlpha(db.env, U'ж') && !OCIWideCharIsAlpha(db.env, U'1'));
    EXPECT_TRUE(OCIWideCharIsCntrl(db.env, U'\n') && !OCIWideCharIsCntrl(db.env, U'a'));
    EXPECT_TRUE(OCIWideCharIsDigit(db.env, U'7') && !OCIWideCharIsDigit(db.env, U'a'));
    EXPECT_TRUE(OCIWideCharIsGraph(db.env, U'é') && !OCIWideCharIsGraph(db.env, U' '));
    EXPECT_TRUE(OCIWideCharIsLower(db.env, U'é') && !OCIWideCharIsLower(db.env, U'É'));
    EXPECT_TRUE(OCIWideCharIsPrint(db.env, U' ') && !OCIWideCharIsPrint(db.env, U'\n'));
    EXPECT_TRUE(OCIWideCharIsPunct(db.env, U'!') && !OCIWideCharIsPunct(db.env, U'a'));
    EXPECT_TRUE(OCIWideCharIsSpace(db.env, U'\t') && !OCIWideCharIsSpace(db.env, U'a'));
    EXPECT_TRUE(OCIWideCharIsUpper(db.env, U'Ж') && !OCIWideCharIsUpper(db.env, U'ж'));
    EXPECT_TRUE(OCIWideCharIsXdigit(db.env, U'F') && !OCIWideCharIsXdigit(db.env, U'G'));
    EXPECT_TRUE(OCIWideCharIsSingleByte(db.env, U'a') && !OCIWideCharIsSingleByte(db.env, U'é'));
    EXPECT_FALSE(OCIWideCharIsAlpha(nullptr, U'a')) << "no environment";
    EXPECT_EQ(OCIWideCharToUpper(db.env, U'é'), U'É');
    EXPECT_EQ(OCIWideCharToLower(db.env, U'Ж'), U'ж');
    EXPECT_EQ(OCIWideCharDisplayLength(db.env, U'漢'), 2);
    EXPECT_EQ(OCIWideCharMultiByteLength(db.env, U'😀'), 4);
}

TEST_F(nls_test, strings_of_wide_characters)
{
    OCIWchar room[20];
    EXPECT_EQ(OCIWideCharStrcpy(db.env, room, wide(U"Ähre")), 4);
    EXPECT_EQ(OCIWideCharStrcat(db.env, room, wide(U"Öl")), 6);
    EXPECT_EQ(OCIWideCharStrncat(db.env, room, wide(U"xyz"), 1), 7);
    EXPECT_EQ(OCIWideCharStrlen(db.env, room), 7);
    EXPECT_EQ(OCIWideCharStrcmp(db.env, room, wide(U"ÄhreÖlx"), OCI_NLS_BINARY), 0);
    EXPECT_EQ(OCIWideCharStrcmp(db.env, room, wide(U"ähreölX"), OCI_NLS_CASE_INSENSITIVE), 0);
    EXPECT_GT(OCIWideCharStrncmp(db.env, room, 7, wide(U"Zz"), 1, OCI_NLS_BINARY), 0);
    EXPECT_EQ(OCIWideCharStrchr(db.env, room, U'Ö'), room + 4);
    EXPECT_EQ(OCIWideCharStrrchr(db.env, room, U'q'), nullptr);
    EXPECT_EQ(OCIWideCharStrCaseConversion(db.env, room, room, OCI_NLS_UPPERCASE), 7);
    EXPECT_EQ(room[4], U'Ö');
    EXPECT_EQ(OCIWideCharStrncpy(db.env, room, wide(U"abc"), 2), 2);
    EXPECT_EQ(room[2], 0);
}

TEST_F(nls_test, strings_of_bytes_are_not_cut_inside_characters)
{
    OraText room[40], same[] = "KäSE";
    EXPECT_EQ(OCIMultiByteStrcpy(db.env, room, text("käse")), 5);
    EXPECT_EQ(OCIMultiByteStrcmp(db.env, room, same, OCI_NLS_CASE_INSENSITIVE), 0);
    EXPECT_NE(OCIMultiByteStrncmp(db.env, room, 5, same, 5, OCI_NLS_BINARY), 0);
    EXPECT_EQ(OCIMultiByteStrncat(db.env, room, text("éé"), 3), 7);
    EXPECT_EQ(OCIMultiByteStrcat(db.env, room, text("!")), 8);
    EXPECT_EQ(OCIMultiByteStrlen(db.env, room), 8);
    EXPECT_EQ(OCIMultiByteStrnDisplayLength(db.env, room, 8), 6);
    EXPECT_EQ(OCIMultiByteStrCaseConversion(db.env, room, room, OCI_NLS_UPPERCASE), 8);
    EXPECT_STREQ(reinterpret_cast<char *>(room), "KÄSEÉ!");
    EXPECT_EQ(OCIMultiByteStrncpy(db.env, room, text("äb"), 1), 0);

    OCIWchar characters[10];
    std::size_t told = 0;
    EXPECT_EQ(OCIMultiByteToWideChar(db.env, characters, text("ä😀"), &told), OCI_SUCCESS);
    EXPECT_TRUE(told == 3 && characters[1] == U'😀' && characters[2] == 0);
    EXPECT_EQ(OCIMultiByteInSizeToWideChar(db.env, characters, 1, text("äbc"), 3, &told), OCI_SUCCESS);
    EXPECT_TRUE(told == 1 && characters[0] == U'ä');
    EXPECT_EQ(OCIWideCharToMultiByte(db.env, room, wide(U"ä😀"), &told), OCI_SUCCESS);
    EXPECT_EQ(told, 7) << "with the terminator";
    EXPECT_EQ(OCIWideCharInSizeToMultiByte(db.env, room, 3, wide(U"äää"), 3, &told), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(room), 2), "ä");
}

TEST_F(nls_test, character_sets_are_converted)
{
    char bytes[20];
    std::size_t told = 0;
    const auto convert = [&](ub2 to, ub2 from, std::string_view plain, std::size_t room) {
        return OCINlsCharSetConvert(db.env, db.errors, to, bytes, room, from, plain.data(), plain.size(),
                                    &told);
    };
    EXPECT_TRUE(db.succeeds(convert(31, 873, "é", sizeof bytes)));
    EXPECT_EQ(std::string(bytes, told), "\xE9");
    EXPECT_FALSE(OCICharSetConversionIsReplacementUsed(db.env));
    EXPECT_TRUE(db.succeeds(convert(1, 873, "é", sizeof bytes)));
    EXPECT_TRUE(OCICharSetConversionIsReplacementUsed(db.env));
    EXPECT_TRUE(db.fails(convert(873, 873, "éé", 3), 1877));
    EXPECT_EQ(told, 2) << "no half characters";
    EXPECT_TRUE(db.fails(convert(999, 873, "e", 3), 12715));

    ub2 units[10];
    EXPECT_EQ(OCICharSetToUnicode(db.env, units, 10, text("a😀"), 5, &told), OCI_SUCCESS);
    EXPECT_EQ(told, 3);
    OraText back[10];
    EXPECT_EQ(OCIUnicodeToCharSet(db.env, back, sizeof back, units, 3, &told), OCI_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(back), told), "a😀");

    OraText name[30];
    EXPECT_EQ(OCINlsNameMap(db.env, name, sizeof name, text("utf-8"), OCI_NLS_CS_IANA_TO_ORA), OCI_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<char *>(name), "AL32UTF8");
    EXPECT_EQ(OCINlsNameMap(db.env, name, sizeof name, text("klingon"), OCI_NLS_CS_IANA_TO_ORA), OCI_ERROR);
    ub2 id = 0;
    EXPECT_EQ(OCINlsEnvironmentVariableGet(&id, sizeof id, OCI_NLS_CHARSET_ID, 0, &told), OCI_SUCCESS);
    EXPECT_EQ(id, 873);
}

} // namespace
} // namespace sqlite_oci_test
