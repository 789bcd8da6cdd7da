// Descriptions of select lists, tables and views; locale data.
#include "client.h"

#include <array>

namespace sqlite_oci_test
{
namespace
{

class describe : public sqlite_oci_test
{
protected:
    // A parameter of the list of a described object, or of a statement; null with the failure in db.code().
    OCIParam *parameter(const void *of, ub4 position, ub4 kind = OCI_DTYPE_PARAM) const
    {
        void *result = nullptr;
        OCIParamGet(of, kind, db.errors, &result, position);
        return static_cast<OCIParam *>(result);
    }
    OCIParam *parameter(const prepared &statement, ub4 position) const
    {
        return parameter(statement.handle, position, OCI_HTYPE_STMT);
    }

    template <class T> T attribute(const OCIParam *of, ub4 which) const
    {
        T result{};
        EXPECT_TRUE(db.succeeds(OCIAttrGet(of, OCI_DTYPE_PARAM, &result, nullptr, which, db.errors)))
            << which;
        return result;
    }

    std::string text_attribute(const OCIParam *of, ub4 which) const
    {
        const char *bytes = nullptr;
        ub4 size = 0;
        EXPECT_EQ(OCIAttrGet(of, OCI_DTYPE_PARAM, &bytes, &size, which, db.errors), OCI_SUCCESS);
        return {bytes, size};
    }

    // "VARCHAR2(...)": type, sizes and all in one text, for comparison.
    std::string summary(const OCIParam *of, bool is_explicit = false) const
    {
        const int precision =
            is_explicit ? attribute<ub1>(of, OCI_ATTR_PRECISION) : attribute<sb2>(of, OCI_ATTR_PRECISION);
        std::string result = std::to_string(attribute<ub2>(of, OCI_ATTR_DATA_TYPE));
        for (const int number :
             {int{attribute<ub2>(of, OCI_ATTR_DATA_SIZE)}, int{attribute<ub2>(of, OCI_ATTR_CHAR_SIZE)},
              int{attribute<ub1>(of, OCI_ATTR_CHAR_USED)}, precision, int{attribute<sb1>(of, OCI_ATTR_SCALE)},
              int{attribute<ub1>(of, OCI_ATTR_CHARSET_FORM)}, int{attribute<ub2>(of, OCI_ATTR_CHARSET_ID)},
              int{attribute<ub2>(of, OCI_ATTR_DISP_SIZE)}})
            result += ' ' + std::to_string(number);
        return result;
    }

    int describe_any(std::string_view name, ub1 kind = OCI_PTYPE_UNK) const
    {
        std::string copy(name);
        const sword status = OCIDescribeAny(db.service, db.errors, copy.data(), static_cast<ub4>(copy.size()),
                                            OCI_OTYPE_NAME, OCI_DEFAULT, kind, described);
        return status == OCI_SUCCESS ? 0 : db.code();
    }

    OCIParam *object() const
    {
        OCIParam *result = nullptr;
        OCIAttrGet(described, OCI_HTYPE_DESCRIBE, &result, nullptr, OCI_ATTR_PARAM, db.errors);
        return result;
    }

    OCIDescribe *described = allocate<OCIDescribe>(db.env, OCI_HTYPE_DESCRIBE);
};

// A declaration and type, size, characters, by character, precision, scale, form, set, display.
constexpr std::pair<const char *, const char *> declared_columns[] = {
    {"VARCHAR2(20)", "1 20 20 0 0 0 1 873 20"},
    {"varchar2( 20 )", "1 20 20 0 0 0 1 873 20"},
    {"CHAR(3)", "96 3 3 0 0 0 1 873 3"},
    {"\"VARCHAR2(20 CHAR)\"", "1 80 20 1 0 0 1 873 20"},
    {"NVARCHAR2(10)", "1 40 10 1 0 0 2 873 10"},
    {"NCHAR(2)", "96 8 2 1 0 0 2 873 2"},
    {"NUMBER", "2 22 0 0 0 -127 0 0 40"},
    {"\"VARCHAR2(20 BYTE)\"", "1 20 20 0 0 0 1 873 20"},
    {"NUMBER(10,2)", "2 22 0 0 10 2 0 0 40"},
    {"NUMBER(5)", "2 22 0 0 5 0 0 0 40"},
    {"NUMBER(5,-2)", "2 22 0 0 5 -2 0 0 40"},
    {"CHARACTER VARYING(7)", "1 7 7 0 0 0 1 873 7"},
    {"\"NUMBER(*,3)\"", "2 22 0 0 38 3 0 0 40"},
    {"INTEGER", "2 22 0 0 38 0 0 0 40"},
    {"\"UNSIGNED BIG INT\"", "2 22 0 0 38 0 0 0 40"},
    {"CHAR", "96 1 1 0 0 0 1 873 1"},
    {"FLOAT(24)", "2 22 0 0 24 -127 0 0 40"},
    {"BINARY_FLOAT", "100 4 0 0 0 0 0 0 40"},
    {"BINARY_DOUBLE", "101 8 0 0 0 0 0 0 40"},
    {"DOUBLE PRECISION", "2 22 0 0 126 -127 0 0 40"},
    {"TIMESTAMP", "187 11 0 0 0 6 0 0 26"},
    {"TIMESTAMP(3)", "187 11 0 0 0 3 0 0 23"},
    {"RAW(16)", "23 16 0 0 0 0 0 0 32"},
    {"DATE", "12 7 0 0 0 0 0 0 19"},
    {"LONG", "8 0 0 0 0 0 1 873 4000"},
    {"LONG RAW", "24 0 0 0 0 0 0 0 4000"},
    {"CLOB", "112 4000 0 0 0 0 1 873 4000"},
    {"TIMESTAMP WITH TIME ZONE", "188 13 0 0 0 6 0 0 33"},
    {"NCLOB", "112 4000 0 0 0 0 2 873 4000"},
    {"BLOB", "113 4000 0 0 0 0 0 0 4000"},
    {"\"TEXT\"", "1 4000 4000 0 0 0 1 873 4000"},
    {"\"INTERVAL DAY TO SECOND\"", "190 11 0 0 2 6 0 0 19"},
};

TEST_F(describe, declared_types_are_shown_in_both_ways_of_describing)
{
    std::string columns;
    for (const auto &column : declared_columns)
        columns +=
            (columns.empty() ? "c" : ", c") + std::to_string(&column - declared_columns) + ' ' + column.first;
    ASSERT_EQ(db.run("CREATE TABLE t (" + columns + ")"), 0) << db.message();
    const prepared query(db, "SELECT * FROM t");
    ASSERT_EQ(query.execute(0, OCI_DESCRIBE_ONLY), OCI_SUCCESS);
    ASSERT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), std::size(declared_columns));
    ASSERT_EQ(describe_any("t"), 0) << db.message();
    auto *const list = attribute<OCIParam *>(object(), OCI_ATTR_LIST_COLUMNS);
    ub4 position = 0;
    for (const auto &[declaration, expected] : declared_columns) {
        SCOPED_TRACE(declaration);
        ++position;
        EXPECT_EQ(summary(parameter(query, position)), expected);
        EXPECT_EQ(summary(parameter(list, position), true), expected);
    }
}

TEST_F(describe, sizes_of_texts_are_in_the_environments_set)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a VARCHAR2(20), b NVARCHAR2(10))"), 0);
    const std::pair<ub2, std::array<ub2, 2>> cases[] = {
        {1, {20, 10}}, {31, {20, 10}}, {873, {20, 40}}, {OCI_UTF16ID, {40, 40}}};
    for (const auto &[set, sizes] : cases) {
        const connected_client other(set);
        const prepared query(other, "SELECT a, b FROM t");
        ASSERT_EQ(query.execute(0), OCI_SUCCESS);
        for (const ub4 column : {0U, 1U}) {
            const OCIParam *const found = parameter(query, column + 1);
            EXPECT_EQ(attribute<ub2>(found, OCI_ATTR_DATA_SIZE), sizes[column]) << set;
            EXPECT_EQ(attribute<ub2>(found, OCI_ATTR_CHARSET_ID), set);
            EXPECT_EQ(text_attribute(found, OCI_ATTR_NAME).size(), set == OCI_UTF16ID ? 2u : 1u);
        }
    }
}

TEST_F(describe, names_are_upper_case_unless_quoted)
{
    db.run_all({"CREATE TABLE t (id NUMBER, \"Mixed\" NUMBER, \"two words\" NUMBER)",
                "CREATE VIEW v AS SELECT id AS lower, \"Mixed\" + 1 AS \"View\" FROM t"});
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"SELECT * FROM t", {"ID", "Mixed", "two words"}},
        {"SELECT t.Id, \"Mixed\" FROM t", {"ID", "Mixed"}},
        {"SELECT id AS other, id \"Other\", \"Mixed\" low FROM t", {"OTHER", "Other", "LOW"}},
        {"SELECT count( * ), 1 + 1, upper('a b') FROM t", {"COUNT(*)", "1+1", "UPPER('A B')"}},
        {"SELECT lower, \"View\" FROM v", {"LOWER", "View"}},
        {"SELECT dummy FROM dual", {"DUMMY"}},
    };
    for (const auto &[expected_query, expected_names] : cases) {
        SCOPED_TRACE(expected_query);
        const prepared query(db, expected_query);
        ASSERT_EQ(query.execute(0), OCI_SUCCESS) << db.message();
        std::vector<std::string> names;
        for (ub4 i = 1; i <= query.attribute<ub4>(OCI_ATTR_PARAM_COUNT); ++i) {
            const OCIParam *const found = parameter(query, i);
            names.push_back(text_attribute(found, OCI_ATTR_NAME));
            EXPECT_EQ(text_attribute(found, OCI_ATTR_TYPE_NAME), "");
            EXPECT_EQ(attribute<ub2>(found, OCI_ATTR_POSITION), i);
        }
        EXPECT_EQ(names, expected_names);
    }
}

TEST_F(describe, nullability_and_expressions_follow_origin_and_values)
{
    db.run_all({"CREATE TABLE t (k VARCHAR2(5) PRIMARY KEY, n NUMBER NOT NULL, o DATE)",
                "INSERT INTO t VALUES ('a', 1, NULL)"});
    const prepared query(db, "SELECT k, n AS other, o, n + 1, k || 'x', hextoraw('00'), NULL, nullif(n, 1), "
                             "upper(k), sysdate, count(*) OVER (), 'abc' FROM t");
    ASSERT_EQ(query.execute(0), OCI_SUCCESS) << db.message();
    const prepared plain(db, "SELECT k, n AS other, o, n + 1 FROM t");
    ASSERT_EQ(plain.execute(0), OCI_SUCCESS);
    const ub1 nullable[] = {0, 0, 1, 1};
    for (ub4 i = 0; i < 4; ++i)
        EXPECT_EQ(attribute<ub1>(parameter(plain, i + 1), OCI_ATTR_IS_NULL), nullable[i]) << i;
    const ub2 types[] = {SQLT_CHR, SQLT_NUM, SQLT_DAT, SQLT_NUM, SQLT_CHR, SQLT_BIN,
                         SQLT_CHR, SQLT_NUM, SQLT_CHR, SQLT_DAT, SQLT_NUM, SQLT_AFC};
    for (ub4 i = 0; i < std::size(types); ++i)
        EXPECT_EQ(attribute<ub2>(parameter(query, i + 1), OCI_ATTR_DATA_TYPE), types[i]) << i;
}

TEST_F(describe, parameters_live_as_long_as_what_they_describe)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER, b DATE)"), 0);
    prepared query(db, "SELECT a, b FROM t");
    EXPECT_EQ(parameter(query, 1), nullptr);
    EXPECT_EQ(db.code(), 24338);
    ASSERT_EQ(query.execute(0, OCI_DESCRIBE_ONLY), OCI_SUCCESS);
    for (const ub4 position : {0U, 3U}) {
        EXPECT_EQ(parameter(query, position), nullptr);
        EXPECT_EQ(db.code(), 24334);
    }
    OCIParam *const first = parameter(query, 1);
    const OCIParam *const second = parameter(query, 2);
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_EQ(attribute<ub2>(second, OCI_ATTR_DATA_TYPE), SQLT_DAT) << "an execution leaves it alone";
    ub2 type = 0;
    const auto read = [&](const OCIParam *of, ub4 which) {
        return OCIAttrGet(of, OCI_DTYPE_PARAM, &type, nullptr, which, db.errors);
    };
    EXPECT_EQ(OCIDescriptorFree(first, OCI_DTYPE_PARAM), OCI_SUCCESS);
    EXPECT_EQ(read(first, OCI_ATTR_DATA_TYPE), OCI_INVALID_HANDLE);
    EXPECT_TRUE(db.fails(read(second, OCI_ATTR_NUM_COLS), 24315));
    OCIStmtPrepare(query.handle, db.errors, text("DELETE FROM t"), 13, OCI_NTV_SYNTAX, OCI_DEFAULT);
    EXPECT_EQ(read(second, OCI_ATTR_DATA_TYPE), OCI_INVALID_HANDLE);
    ASSERT_EQ(query.execute(1), OCI_SUCCESS);
    EXPECT_EQ(parameter(query, 1), nullptr);
    EXPECT_EQ(db.code(), 24334);
}

TEST_F(describe, names_outlive_the_parameters_that_they_came_from)
{
    const prepared query(
        db, "SELECT 1 AS a_name_that_is_longer_than_16, 2 AS another_name_of_some_length FROM dual");
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    const char *names[2] = {};
    for (ub4 i = 0; i < 2; ++i) {
        OCIParam *column = nullptr;
        ASSERT_EQ(
            OCIParamGet(query.handle, OCI_HTYPE_STMT, db.errors, reinterpret_cast<void **>(&column), i + 1),
            0);
        ASSERT_EQ(OCIAttrGet(column, OCI_DTYPE_PARAM, &names[i], nullptr, OCI_ATTR_NAME, db.errors),
                  OCI_SUCCESS);
        ASSERT_EQ(OCIDescriptorFree(column, OCI_DTYPE_PARAM), OCI_SUCCESS);
    }
    EXPECT_STREQ(names[0], "A_NAME_THAT_IS_LONGER_THAN_16");
    EXPECT_STREQ(names[1], "ANOTHER_NAME_OF_SOME_LENGTH");
}

TEST_F(describe, tables_and_views_are_found_by_name)
{
    db.run_all({"CREATE TABLE city (id NUMBER NOT NULL, \"Name\" VARCHAR2(40))",
                "CREATE TABLE \"Odd.Name\" (a DATE)",
                "CREATE VIEW names AS SELECT \"Name\", id + 1 AS next FROM city"});
    const std::tuple<const char *, ub1, ub1, const char *, ub2> found[] = {
        {"city", OCI_PTYPE_UNK, OCI_PTYPE_TABLE, "CITY", 2},
        {"CITY", OCI_PTYPE_TABLE, OCI_PTYPE_TABLE, "CITY", 2},
        {" \"city\" ", OCI_PTYPE_TABLE, OCI_PTYPE_TABLE, "CITY", 2},
        {"main.City", OCI_PTYPE_TABLE, OCI_PTYPE_TABLE, "CITY", 2},
        {"\"Odd.Name\"", OCI_PTYPE_TABLE, OCI_PTYPE_TABLE, "Odd.Name", 1},
        {"Names", OCI_PTYPE_VIEW, OCI_PTYPE_VIEW, "NAMES", 2},
        {"dual", OCI_PTYPE_UNK, OCI_PTYPE_TABLE, "DUAL", 1},
    };
    EXPECT_EQ(object(), nullptr);
    for (const auto &[name, wanted, kind, shown, columns] : found) {
        SCOPED_TRACE(name);
        ASSERT_EQ(describe_any(name, wanted), 0) << db.message();
        EXPECT_EQ(attribute<ub1>(object(), OCI_ATTR_PTYPE), kind);
        EXPECT_EQ(text_attribute(object(), OCI_ATTR_OBJ_NAME), shown);
        EXPECT_EQ(attribute<ub2>(object(), OCI_ATTR_NUM_COLS), columns);
    }
    const std::tuple<const char *, ub1, int> refused[] = {
        {"names", OCI_PTYPE_TABLE, 4043},    {"city", OCI_PTYPE_VIEW, 4043}, {"missing", OCI_PTYPE_UNK, 4043},
        {"other.city", OCI_PTYPE_UNK, 4043}, {"", OCI_PTYPE_UNK, 4043},      {"city", OCI_PTYPE_PROC, 3001},
    };
    for (const auto &[name, wanted, code] : refused)
        EXPECT_EQ(describe_any(name, wanted), code) << name;
    ASSERT_EQ(describe_any("city"), 0);
    const auto *const list = attribute<OCIParam *>(object(), OCI_ATTR_LIST_COLUMNS);
    EXPECT_EQ(attribute<ub2>(list, OCI_ATTR_NUM_PARAMS), 2u);
    EXPECT_EQ(parameter(list, 3), nullptr);
    EXPECT_EQ(db.code(), 24334);
    EXPECT_EQ(text_attribute(parameter(list, 2), OCI_ATTR_NAME), "Name");
    EXPECT_EQ(attribute<ub1>(parameter(list, 1), OCI_ATTR_IS_NULL), 0);
}

TEST_F(describe, locale_data)
{
    const std::pair<ub2, const char *> cases[] = {
        {OCI_NLS_DAYNAME1, "Monday"},   {OCI_NLS_DAYNAME7, "Sunday"},   {OCI_NLS_MONTHNAME1, "January"},
        {OCI_NLS_ABDAYNAME1, "Mon"},    {OCI_NLS_ABDAYNAME7, "Sun"},    {OCI_NLS_MONTHNAME12, "December"},
        {OCI_NLS_ABMONTHNAME1, "Jan"},  {OCI_NLS_ABMONTHNAME12, "Dec"}, {OCI_NLS_DATEFORMAT, "DD-MON-RR"},
        {OCI_NLS_DECIMAL, "."},         {OCI_NLS_GROUP, ","},           {OCI_NLS_CHARACTER_SET, "AL32UTF8"},
        {OCI_NLS_LANGUAGE, "AMERICAN"}, {OCI_NLS_TERRITORY, "AMERICA"}, {OCI_NLS_CALENDAR, "GREGORIAN"},
    };
    OraText buffer[OCI_NLS_MAXBUFSZ];
    for (const auto &[item, expected] : cases) {
        ASSERT_EQ(OCINlsGetInfo(db.env, db.errors, buffer, sizeof buffer, item), OCI_SUCCESS);
        EXPECT_STREQ(reinterpret_cast<char *>(buffer), expected);
    }
    EXPECT_TRUE(db.fails(OCINlsGetInfo(db.env, db.errors, buffer, 6, OCI_NLS_DAYNAME1), 1877));
    EXPECT_EQ(OCINlsGetInfo(db.env, db.errors, buffer, sizeof buffer, 77), OCI_ERROR);
    EXPECT_EQ(OCINlsGetInfo(db.errors, db.errors, buffer, sizeof buffer, 1), OCI_INVALID_HANDLE);
    const client wide(OCI_UTF16ID);
    ASSERT_EQ(OCINlsGetInfo(wide.env, wide.errors, buffer, sizeof buffer, OCI_NLS_ABDAYNAME2), OCI_SUCCESS);
    EXPECT_EQ(std::u16string_view(reinterpret_cast<char16_t *>(buffer)), u"Tue");

    sb4 most_bytes = 0;
    EXPECT_EQ(OCINlsNumericInfoGet(db.env, db.errors, &most_bytes, OCI_NLS_CHARSET_MAXBYTESZ), OCI_SUCCESS);
    EXPECT_EQ(most_bytes, 4);
    for (const ub2 id : {ub2{1}, ub2{31}, ub2{871}, ub2{873}, ub2{OCI_UTF16ID}}) {
        ASSERT_EQ(OCINlsCharSetIdToName(db.env, buffer, sizeof buffer, id), OCI_SUCCESS);
        EXPECT_EQ(OCINlsCharSetNameToId(db.env, buffer), id);
        ASSERT_EQ(OCINlsCharSetIdToName(wide.env, buffer, sizeof buffer, id), OCI_SUCCESS);
        EXPECT_EQ(OCINlsCharSetNameToId(wide.env, buffer), id);
    }
    EXPECT_EQ(OCINlsCharSetNameToId(db.env, text("NO SUCH SET")), 0);
    EXPECT_EQ(OCINlsCharSetIdToName(db.env, buffer, sizeof buffer, 7), OCI_ERROR);
}

} // namespace
} // namespace sqlite_oci_test
