// Binds: values of every type into SQL, in arrays, and what is refused.
#include "client.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace sqlite_oci_test
{
namespace
{

class bind : public sqlite_oci_test
{
};

// A host variable as bytes, with its type.
struct variable {
    ub2 type;
    std::string bytes;
};

template <class T> variable of(ub2 type, T plain)
{
    return {type, std::string(reinterpret_cast<const char *>(&plain), sizeof plain)};
}

using namespace std::string_literals;

// How SQL sees a bound value: its type in SQLite and its text.
TEST_F(bind, each_type_arrives_as_its_value)
{
    OCIDate date;
    std::memset(&date, 0, sizeof date);
    OCIDateSetDate(&date, 1999, 12, 31);
    OCIDateSetTime(&date, 23, 59, 58);
    const std::tuple<variable, const char *, std::string> cases[] = {
        {{SQLT_CHR, "plain"}, "text", "plain"},
        {{SQLT_CHR, "caf\xC3\xA9"}, "text", "caf\xC3\xA9"},
        {{SQLT_CHR, " blanks "}, "text", " blanks"},
        {{SQLT_STR, "ends\0here"s}, "text", "ends"},
        {{SQLT_VCS, "\x03\0abcd"s}, "text", "abc"},
        {{SQLT_LVB, "\x02\0\0\0\x01\xFFzz"s}, "blob", "01FF"},
        {of<float>(SQLT_IBFLOAT, 0.5F), "real", ".5"},
        {{SQLT_AVC, "ends\0here"s}, "text", "ends"},
        {{SQLT_AFC, "padded  "}, "text", "padded  "},
        {{SQLT_LNG, std::string(3000, 'x')}, "text", std::string(3000, 'x')},
        {{SQLT_CHR, ""}, "null", "(null)"},
        {{SQLT_STR, "\0"s}, "null", "(null)"},
        {of<std::int8_t>(SQLT_INT, -128), "integer", "-128"},
        {of<std::int16_t>(SQLT_INT, -32768), "integer", "-32768"},
        {of<std::int32_t>(SQLT_INT, 2147483647), "integer", "2147483647"},
        {of<std::int64_t>(SQLT_INT, std::numeric_limits<std::int64_t>::min()), "integer",
         "-9223372036854775808"},
        {of<std::uint8_t>(SQLT_UIN, 255), "integer", "255"},
        {of<std::uint16_t>(SQLT_UIN, 65535), "integer", "65535"},
        {of<std::uint32_t>(SQLT_UIN, 4294967295u), "integer", "4294967295"},
        {of<std::uint64_t>(SQLT_UIN, 18446744073709551615u), "blob", "18446744073709551615"},
        {of<float>(SQLT_FLT, 0.25F), "real", ".25"},
        {of<double>(SQLT_FLT, -0.1), "real", "-.1"},
        {of<float>(SQLT_BFLOAT, 1.5F), "real", "1.5E+000"},
        {of<double>(SQLT_BDOUBLE, -HUGE_VAL), "real", "-Inf"},
        {of<double>(SQLT_BDOUBLE, 1e300), "real", "1.0000000000000001E+300"},
        {{SQLT_NUM, "\xC1\x2B"}, "integer", "42"},
        {{SQLT_NUM, "\x3D\x59\x43\x33\x66"}, "real", "-1234.5"},
        {{SQLT_VNU, "\x0B\xCA\x0A\x17\x22\x49\x04\x45\x37\x4E\x3B\x08"}, "integer", "9223372036854775807"},
        {{SQLT_VNU, "\x14\xD3\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F"},
         "blob",
         "12345678901234567890123456789012345678"},
        {{SQLT_VNU, "\x01\x80"}, "integer", "0"},
        {{SQLT_DAT, "\x78\x7C\x02\x1D\x0E\x06\x01"}, "text", "2024-02-29 13:05:00"},
        {of<OCIDate>(SQLT_ODT, date), "text", "1999-12-31 23:59:58"},
        {{SQLT_BIN, "\x00\xAB\xFF"s}, "blob", "00ABFF"},
        {{SQLT_LBI, "\x01"}, "blob", "01"},
        {{SQLT_BIN, ""}, "null", "(null)"},
    };
    for (const auto &[bound, type, expected] : cases) {
        SCOPED_TRACE(testing::Message() << "type " << bound.type << ", expected " << type);
        const prepared query(db, "SELECT typeof(:x), :x FROM dual");
        std::string value = bound.bytes;
        char fetched_type[10] = {}, fetched[4000] = {};
        sb2 state = 0;
        ASSERT_TRUE(db.succeeds(query.bind(":x", value.data(), static_cast<sb4>(value.size()), bound.type)));
        query.out(1, fetched_type, SQLT_STR).out(2, fetched, SQLT_STR, &state);
        ASSERT_TRUE(db.succeeds(query.execute(1)));
        EXPECT_STREQ(fetched_type, type);
        EXPECT_EQ(state == OCI_IND_NULL ? "(null)" : fetched, expected);
    }
}

TEST_F(bind, values_that_cannot_be_are_refused)
{
    OCIDate no_date;
    std::memset(&no_date, 0, sizeof no_date);
    const std::pair<variable, int> cases[] = {
        {of<double>(SQLT_FLT, std::nan("")), 1722},  {{SQLT_NUM, "\xC1\x00\x07"s}, 1722},
        {{SQLT_VNU, std::string(22, '\xFF')}, 1722}, {{SQLT_DAT, std::string(7, '\xFF')}, 1841},
        {of<OCIDate>(SQLT_ODT, no_date), 1841},      {{SQLT_STR, "no end"}, 1480},
        {of<void *>(SQLT_TIMESTAMP, db.env), 24334},
    };
    for (const auto &[bound, code] : cases) {
        const prepared query(db, "SELECT :x FROM dual");
        std::string value = bound.bytes;
        ASSERT_EQ(query.bind("x", value.data(), static_cast<sb4>(value.size()), bound.type), OCI_SUCCESS);
        EXPECT_TRUE(db.fails(query.execute(0), code)) << "type " << bound.type;
    }
}

TEST_F(bind, types_and_sizes_that_are_not_served_are_refused_at_once)
{
    const std::pair<ub2, sb4> cases[] = {{SQLT_INT, 3},     {SQLT_UIN, 16}, {SQLT_FLT, 10}, {SQLT_BFLOAT, 8},
                                         {SQLT_BDOUBLE, 4}, {SQLT_DAT, 6},  {SQLT_ODT, 7},  {SQLT_PDN, 8},
                                         {SQLT_CUR, 8},     {SQLT_NTY, 8},  {0, 4},         {999, 4}};
    const prepared query(db, "SELECT :x FROM dual");
    char value[32] = {};
    for (const auto &[type, size] : cases) {
        EXPECT_TRUE(db.fails(query.bind("x", value, size, type), 3115)) << type;
        EXPECT_TRUE(db.fails(query.define(1, value, size, type), 3115)) << type;
    }
    EXPECT_EQ(query.execute(0), OCI_ERROR) << "the refused bind does not count as a value";
}

TEST_F(bind, arrays_are_inserted_in_one_call)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER, b VARCHAR2(10))"), 0);
    const prepared insert(db, "INSERT INTO t VALUES (:a, :b)");
    sb4 numbers[] = {10, 20, 30, 40};
    char texts[4][8] = {"one", "two", "three", "four"};
    sb2 indicators[] = {0, OCI_IND_NULL, 0, 0};
    ub2 lengths[] = {3, 3, 2, 4};
    insert.in(":A", numbers, SQLT_INT, indicators).in(":b", texts, SQLT_CHR, nullptr, lengths);
    ASSERT_TRUE(db.succeeds(insert.execute(4)));
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 4u);
    EXPECT_EQ(db.ask("SELECT group_concat(nvl(to_char(a), '-') || b) FROM t"), "10one,-two,30th,40four");
    ASSERT_EQ(insert.execute(4, OCI_DEFAULT, 3), OCI_SUCCESS);
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 1u) << "the row offset leaves the last one";
    EXPECT_TRUE(db.fails(insert.execute(4, OCI_DEFAULT, 4), 24333));
}

TEST_F(bind, members_of_structures_are_bound_with_skips)
{
    struct row {
        char name[6];
        sb2 name_state;
        ub2 name_length;
        double weight;
    } rows[] = {{"ab", 0, 2, 1.5}, {"cd", OCI_IND_NULL, 2, 2.5}, {"efgh", 0, 3, 3.5}};
    ASSERT_EQ(db.run("CREATE TABLE t (name VARCHAR2(6), weight NUMBER)"), 0);
    const prepared insert(db, "INSERT INTO t VALUES (:1, :2)");
    OCIBind *name = nullptr, *weight = nullptr;
    auto &[first_name, state, length, first_weight] = rows[0];
    ASSERT_EQ(insert.bind_at(1, name, first_name, sizeof first_name, SQLT_CHR, &state, &length), OCI_SUCCESS);
    ASSERT_EQ(insert.bind_at(2, weight, &first_weight, sizeof first_weight, SQLT_FLT), OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(name, db.errors, sizeof(row), sizeof(row), sizeof(row), 0), OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(weight, db.errors, sizeof(row), 0, 0, 0), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(insert.execute(3)));
    EXPECT_EQ(db.ask("SELECT group_concat(nvl(name, '-') || weight) FROM t"), "ab1.5,-2.5,efg3.5");
}

TEST_F(bind, by_position_each_occurrence_has_a_value_of_its_own)
{
    const prepared query(db, "SELECT :n || '/' || :other || '/' || :n FROM dual");
    char first[] = "a", second[] = "b", third[] = "c", fetched[20] = {};
    OCIBind *binds[3] = {};
    char *const values[] = {first, second, third};
    for (ub4 i = 0; i < 3; ++i)
        ASSERT_EQ(query.bind_at(i + 1, binds[i], values[i], 2, SQLT_STR), OCI_SUCCESS);
    ASSERT_EQ(query.out(1, fetched, SQLT_STR).execute(1), OCI_SUCCESS);
    EXPECT_STREQ(fetched, "a/b/c");

    ASSERT_EQ(query.in(":N", second, SQLT_STR).execute(1), OCI_SUCCESS);
    EXPECT_STREQ(fetched, "b/b/b") << "by name: all occurrences";
}

TEST_F(bind, missing_and_unknown_variables_are_named)
{
    const prepared query(db, "SELECT :first, :second FROM dual");
    sb4 value = 1;
    EXPECT_TRUE(db.fails(query.bind("third", &value, 4, SQLT_INT), 1036));
    OCIBind *made = nullptr;
    EXPECT_TRUE(db.fails(query.bind_at(3, made, &value, 4, SQLT_INT), 1036));
    EXPECT_TRUE(db.fails(query.in("first", value, SQLT_INT).execute(0), 1008));
    EXPECT_NE(db.message().find(":SECOND"), std::string::npos) << db.message();

    OCIStmt *const unprepared = allocate<OCIStmt>(db.env, OCI_HTYPE_STMT);
    EXPECT_TRUE(db.fails(OCIBindByPos(unprepared, &made, db.errors, 1, &value, 4, SQLT_INT, nullptr, nullptr,
                                      nullptr, 0, nullptr, OCI_DEFAULT),
                         24337));
}

TEST_F(bind, batch_mode_goes_on_after_errors_and_tells_each)
{
    db.run_all({"CREATE TABLE t (a NUMBER PRIMARY KEY, b NUMBER NOT NULL)", "INSERT INTO t VALUES (3, 0)",
                "COMMIT"});
    sb4 keys[] = {1, 2, 3, 4, 1};
    sb2 states[] = {0, OCI_IND_NULL, 0, 0, 0};
    const prepared insert(db, "INSERT INTO t VALUES (:a, :b)");
    insert.in("a", keys, SQLT_INT).in("b", keys, SQLT_INT, states);
    EXPECT_TRUE(db.fails(insert.execute(5), 1400)) << "without batch mode the first error ends it";
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 1u);
    EXPECT_EQ(db.roll_back(), OCI_SUCCESS);

    EXPECT_EQ(insert.execute(5, OCI_BATCH_ERRORS), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(db.code(), 24381);
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 2u);
    ASSERT_EQ(insert.attribute<ub4>(OCI_ATTR_NUM_DML_ERRORS), 3u);
    const std::pair<ub4, int> expected[] = {{1, 1400}, {2, 1}, {4, 1}};
    OCIError *const given = allocate<OCIError>(db.env, OCI_HTYPE_ERROR);
    for (ub4 i = 0; i < 3; ++i) {
        void *row_error = i == 0 ? given : nullptr;
        ASSERT_EQ(OCIParamGet(db.errors, OCI_HTYPE_ERROR, db.errors, &row_error, i), OCI_SUCCESS);
        ub4 row = 99;
        EXPECT_EQ(OCIAttrGet(row_error, OCI_HTYPE_ERROR, &row, nullptr, OCI_ATTR_DML_ROW_OFFSET, db.errors),
                  OCI_SUCCESS);
        EXPECT_EQ(std::pair(row, error_code(static_cast<OCIError *>(row_error))), expected[i]);
    }
    void *none = nullptr;
    EXPECT_EQ(OCIParamGet(db.errors, OCI_HTYPE_ERROR, db.errors, &none, 3), OCI_ERROR);
    EXPECT_EQ(db.ask("SELECT group_concat(a) FROM t"), "1,3,4");
}

TEST_F(bind, handles_are_used_again_also_after_another_preparation)
{
    const prepared statement(db, "SELECT :x FROM dual");
    OCIBind *made = nullptr;
    sb4 value = 5;
    const auto bind_again = [&] { return statement.bind_at(1, made, &value, 4, SQLT_INT); };
    ASSERT_EQ(bind_again(), OCI_SUCCESS);
    OCIBind *const first = made;
    ASSERT_EQ(bind_again(), OCI_SUCCESS);
    EXPECT_EQ(made, first);
    made = nullptr;
    ASSERT_EQ(bind_again(), OCI_SUCCESS);
    EXPECT_EQ(made, first) << "the same place";

    ASSERT_EQ(OCIStmtPrepare(statement.handle, db.errors, text("SELECT :y + 1 FROM dual"), 23, OCI_NTV_SYNTAX,
                             OCI_DEFAULT),
              OCI_SUCCESS);
    EXPECT_TRUE(db.fails(statement.execute(0), 1008)) << "binds belong to the text";
    ASSERT_EQ(bind_again(), OCI_SUCCESS);
    EXPECT_EQ(made, first);
    sb4 fetched = 0;
    ASSERT_TRUE(db.succeeds(statement.out(1, fetched, SQLT_INT).execute(1)));
    EXPECT_EQ(fetched, 6);
    EXPECT_EQ(OCIHandleFree(made, OCI_HTYPE_BIND), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(statement.execute(1), 1008));
}

} // namespace
} // namespace sqlite_oci_test
