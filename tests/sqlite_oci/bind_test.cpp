// Binds: values of every type into SQL, in arrays, and what is refused.
#include "client.h"

#include <cmath>
#include <cstring>
#include <limits>

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

// A constant with zero bytes in it.
template <std::size_t size> std::string bytes(const char (&literal)[size])
{
    return {literal, size - 1};
}

// How SQL sees a bound value: its type in SQLite and its text.
TEST_F(bind, each_type_arrives_as_its_value)
{
    OCIDate date;
    std::memset(&date, 0, sizeof date);
    OCIDateSetDate(&date, 1999, 12, 31);
    OCIDateSetTime(&date, 23, 59, 58);
    const struct {
        variable bound;
        const char *type, *value;
    } cases[] = {
        {{SQLT_CHR, "plain"}, "text", "plain"},
        {{SQLT_CHR, "caf\xC3\xA9"}, "text", "caf\xC3\xA9"},
        {{SQLT_CHR, " blanks "}, "text", " blanks "},
        {{SQLT_STR, bytes("ends\0here")}, "text", "ends"},
        {{SQLT_STR, "no end"}, "text", "no end"},
        {{SQLT_AVC, bytes("ends\0here")}, "text", "ends"},
        {{SQLT_AFC, "padded  "}, "text", "padded  "},
        {{SQLT_LNG, std::string(3000, 'x')}, "text", nullptr},
        {{SQLT_CHR, ""}, "null", "(null)"},
        {{SQLT_STR, bytes("\0")}, "null", "(null)"},
        {of<std::int8_t>(SQLT_INT, -128), "integer", "-128"},
        {of<std::int16_t>(SQLT_INT, -32768), "integer", "-32768"},
        {of<std::int32_t>(SQLT_INT, 2147483647), "integer", "2147483647"},
        {of<std::int64_t>(SQLT_INT, std::numeric_limits<std::int64_t>::min()), "integer",
         "-9223372036854775808"},
        {of<std::uint8_t>(SQLT_UIN, 255), "integer", "255"},
        {of<std::uint16_t>(SQLT_UIN, 65535), "integer", "65535"},
        {of<std::uint32_t>(SQLT_UIN, 4294967295u), "integer", "4294967295"},
        {of<std::uint64_t>(SQLT_UIN, 18446744073709551615u), "text", "18446744073709551615"},
        {of<float>(SQLT_FLT, 0.25F), "real", ".25"},
        {of<double>(SQLT_FLT, -0.1), "real", "-.1"},
        {of<float>(SQLT_BFLOAT, 1.5F), "real", "1.5"},
        {of<double>(SQLT_BDOUBLE, -HUGE_VAL), "real", "-Inf"},
        {of<double>(SQLT_BDOUBLE, 1e300), "real", "1E+300"},
        {{SQLT_NUM, "\xC1\x2B"}, "integer", "42"},
        {{SQLT_NUM, "\x3D\x59\x43\x33\x66"}, "real", "-1234.5"},
        {{SQLT_VNU, "\x0B\xCA\x0A\x17\x22\x49\x04\x45\x37\x4E\x3B\x08"}, "integer", "9223372036854775807"},
        {{SQLT_VNU, "\x14\xD3\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F\x5B\x0D\x23\x39\x4F"},
         "text",
         "12345678901234567890123456789012345678"},
        {{SQLT_VNU, "\x01\x80"}, "integer", "0"},
        {{SQLT_DAT, "\x78\x7C\x02\x1D\x0E\x06\x01"}, "text", "2024-02-29 13:05:00"},
        {of<OCIDate>(SQLT_ODT, date), "text", "1999-12-31 23:59:58"},
        {{SQLT_BIN, bytes("\x00\xAB\xFF")}, "blob", "00ABFF"},
        {{SQLT_LBI, "\x01"}, "blob", "01"},
        {{SQLT_BIN, ""}, "null", "(null)"},
    };
    for (const auto &tested : cases) {
        SCOPED_TRACE(testing::Message() << "type " << tested.bound.type << ", expected " << tested.type);
        for (const char *expression : {"typeof(:x)", ":x"}) {
            const bool is_type = *expression == 't';
            const prepared query(db, std::string("SELECT ") + expression + " FROM dual");
            std::string value = tested.bound.bytes;
            char fetched[4000] = {};
            sb2 indicator = 0;
            ASSERT_EQ(query.bind(":x", value.data(), static_cast<sb4>(value.size()), tested.bound.type),
                      OCI_SUCCESS)
                << db.message();
            ASSERT_EQ(query.define(1, fetched, sizeof fetched, SQLT_STR, &indicator), OCI_SUCCESS);
            ASSERT_EQ(query.execute(1), OCI_SUCCESS) << db.message();
            const char *const expected = is_type ? tested.type : tested.value;
            if (expected) {
                EXPECT_STREQ(indicator == OCI_IND_NULL ? "(null)" : fetched, expected);
            }
        }
    }
}

TEST_F(bind, values_that_cannot_be_are_refused)
{
    OCIDate no_date;
    std::memset(&no_date, 0, sizeof no_date);
    const struct {
        variable bound;
        int code;
    } cases[] = {
        {of<double>(SQLT_FLT, std::nan("")), 1722},  {{SQLT_NUM, bytes("\xC1\x00\x07")}, 1722},
        {{SQLT_VNU, std::string(22, '\xFF')}, 1722}, {{SQLT_DAT, std::string(7, '\xFF')}, 1841},
        {of<OCIDate>(SQLT_ODT, no_date), 1841},
    };
    for (const auto &tested : cases) {
        const prepared query(db, "SELECT :x FROM dual");
        std::string value = tested.bound.bytes;
        ASSERT_EQ(query.bind("x", value.data(), static_cast<sb4>(value.size()), tested.bound.type),
                  OCI_SUCCESS);
        EXPECT_EQ(query.execute(0), OCI_ERROR);
        EXPECT_EQ(db.code(), tested.code) << "type " << tested.bound.type;
    }
}

TEST_F(bind, types_and_sizes_that_are_not_served_are_refused_at_once)
{
    const struct {
        ub2 type;
        sb4 size;
    } cases[] = {{SQLT_INT, 3},     {SQLT_UIN, 16}, {SQLT_FLT, 10}, {SQLT_BFLOAT, 8},
                 {SQLT_BDOUBLE, 4}, {SQLT_DAT, 6},  {SQLT_ODT, 7},  {SQLT_PDN, 8},
                 {SQLT_RSET, 8},    {SQLT_NTY, 8},  {0, 4},         {999, 4}};
    const prepared query(db, "SELECT :x FROM dual");
    char value[32] = {};
    for (const auto &tested : cases) {
        EXPECT_EQ(query.bind("x", value, tested.size, tested.type), OCI_ERROR) << tested.type;
        EXPECT_EQ(db.code(), 3115);
        EXPECT_EQ(query.define(1, value, tested.size, tested.type), OCI_ERROR) << tested.type;
        EXPECT_EQ(db.code(), 3115);
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
    ASSERT_EQ(insert.bind(":A", numbers, sizeof numbers[0], SQLT_INT, indicators), OCI_SUCCESS);
    ASSERT_EQ(insert.bind(":b", texts, sizeof texts[0], SQLT_CHR, nullptr, lengths), OCI_SUCCESS);
    ASSERT_EQ(insert.execute(4), OCI_SUCCESS) << db.message();
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 4u);
    EXPECT_EQ(db.ask("SELECT group_concat(nvl(a, '-') || b) FROM t"), "10one,-two,30th,40four");
    ASSERT_EQ(insert.execute(4, OCI_DEFAULT, 3), OCI_SUCCESS);
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 1u) << "the row offset leaves the last one";
    EXPECT_EQ(insert.execute(4, OCI_DEFAULT, 4), OCI_ERROR);
    EXPECT_EQ(db.code(), 24333);
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
    ASSERT_EQ(OCIBindByPos(insert.handle, &name, db.errors, 1, rows[0].name, sizeof rows[0].name, SQLT_CHR,
                           &rows[0].name_state, &rows[0].name_length, nullptr, 0, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIBindByPos(insert.handle, &weight, db.errors, 2, &rows[0].weight, sizeof(double), SQLT_FLT,
                           nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(name, db.errors, sizeof(row), sizeof(row), sizeof(row), 0), OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(weight, db.errors, sizeof(row), 0, 0, 0), OCI_SUCCESS);
    ASSERT_EQ(insert.execute(3), OCI_SUCCESS) << db.message();
    EXPECT_EQ(db.ask("SELECT group_concat(nvl(name, '-') || weight) FROM t"), "ab1.5,-2.5,efg3.5");
}

TEST_F(bind, by_position_each_occurrence_has_a_value_of_its_own)
{
    const prepared query(db, "SELECT :n || '/' || :other || '/' || :n FROM dual");
    char first[] = "a", second[] = "b", third[] = "c", fetched[20] = {};
    OCIBind *binds[3] = {};
    char *const values[] = {first, second, third};
    for (ub4 i = 0; i < 3; ++i)
        ASSERT_EQ(OCIBindByPos(query.handle, &binds[i], db.errors, i + 1, values[i], 2, SQLT_STR, nullptr,
                               nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
                  OCI_SUCCESS);
    ASSERT_EQ(query.define(1, fetched, sizeof fetched, SQLT_STR), OCI_SUCCESS);
    ASSERT_EQ(query.execute(1), OCI_SUCCESS);
    EXPECT_STREQ(fetched, "a/b/c");

    ASSERT_EQ(query.bind(":N", second, 2, SQLT_STR), OCI_SUCCESS) << "by name: all occurrences";
    ASSERT_EQ(query.execute(1), OCI_SUCCESS);
    EXPECT_STREQ(fetched, "b/b/b");
}

TEST_F(bind, missing_and_unknown_variables_are_named)
{
    const prepared query(db, "SELECT :first, :second FROM dual");
    sb4 value = 1;
    EXPECT_EQ(query.bind("third", &value, 4, SQLT_INT), OCI_ERROR);
    EXPECT_EQ(db.code(), 1036);
    OCIBind *made = nullptr;
    EXPECT_EQ(OCIBindByPos(query.handle, &made, db.errors, 3, &value, 4, SQLT_INT, nullptr, nullptr, nullptr,
                           0, nullptr, OCI_DEFAULT),
              OCI_ERROR);
    EXPECT_EQ(db.code(), 1036);
    EXPECT_EQ(query.bind("first", &value, 4, SQLT_INT), OCI_SUCCESS);
    EXPECT_EQ(query.execute(0), OCI_ERROR);
    EXPECT_EQ(db.code(), 1008);
    EXPECT_NE(db.message().find(":SECOND"), std::string::npos) << db.message();

    OCIStmt *const unprepared = allocate<OCIStmt>(db.env, OCI_HTYPE_STMT);
    EXPECT_EQ(OCIBindByPos(unprepared, &made, db.errors, 1, &value, 4, SQLT_INT, nullptr, nullptr, nullptr, 0,
                           nullptr, OCI_DEFAULT),
              OCI_ERROR);
    EXPECT_EQ(db.code(), 24337);
}

TEST_F(bind, batch_mode_goes_on_after_errors_and_tells_each)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER PRIMARY KEY, b NUMBER NOT NULL)"), 0);
    ASSERT_EQ(db.run("INSERT INTO t VALUES (3, 0)", OCI_COMMIT_ON_SUCCESS), 0);
    sb4 keys[] = {1, 2, 3, 4, 1};
    sb2 states[] = {0, OCI_IND_NULL, 0, 0, 0};
    const prepared insert(db, "INSERT INTO t VALUES (:a, :b)");
    ASSERT_EQ(insert.bind("a", keys, 4, SQLT_INT), OCI_SUCCESS);
    ASSERT_EQ(insert.bind("b", keys, 4, SQLT_INT, states), OCI_SUCCESS);

    EXPECT_EQ(insert.execute(5), OCI_ERROR) << "without batch mode the first error ends it";
    EXPECT_EQ(db.code(), 1400);
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 1u);
    EXPECT_EQ(OCITransRollback(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS);

    EXPECT_EQ(insert.execute(5, OCI_BATCH_ERRORS), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(db.code(), 24381);
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 2u);
    ASSERT_EQ(insert.attribute<ub4>(OCI_ATTR_NUM_DML_ERRORS), 3u);
    const struct {
        ub4 row;
        int code;
    } expected[] = {{1, 1400}, {2, 1}, {4, 1}};
    OCIError *const given = allocate<OCIError>(db.env, OCI_HTYPE_ERROR);
    for (ub4 i = 0; i < 3; ++i) {
        void *row_error = i == 0 ? given : nullptr;
        ASSERT_EQ(OCIParamGet(db.errors, OCI_HTYPE_ERROR, db.errors, &row_error, i), OCI_SUCCESS);
        ub4 row = 99;
        EXPECT_EQ(OCIAttrGet(row_error, OCI_HTYPE_ERROR, &row, nullptr, OCI_ATTR_DML_ROW_OFFSET, db.errors),
                  OCI_SUCCESS);
        EXPECT_EQ(row, expected[i].row);
        EXPECT_EQ(error_code(static_cast<OCIError *>(row_error)), expected[i].code);
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
    const auto bind_again = [&] {
        return OCIBindByPos(statement.handle, &made, db.errors, 1, &value, 4, SQLT_INT, nullptr, nullptr,
                            nullptr, 0, nullptr, OCI_DEFAULT);
    };
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
    EXPECT_EQ(statement.execute(0), OCI_ERROR);
    EXPECT_EQ(db.code(), 1008) << "binds belong to the text";
    ASSERT_EQ(bind_again(), OCI_SUCCESS);
    EXPECT_EQ(made, first);
    sb4 fetched = 0;
    ASSERT_EQ(statement.define(1, &fetched, 4, SQLT_INT), OCI_SUCCESS);
    ASSERT_EQ(statement.execute(1), OCI_SUCCESS) << db.message();
    EXPECT_EQ(fetched, 6);
    EXPECT_EQ(OCIHandleFree(made, OCI_HTYPE_BIND), OCI_SUCCESS);
    EXPECT_EQ(statement.execute(1), OCI_ERROR);
    EXPECT_EQ(db.code(), 1008);
}

TEST_F(bind, values_are_read_at_each_execution)
{
    const prepared query(db, "SELECT :x * 2 FROM dual");
    sb4 value = 0, fetched = 0;
    ASSERT_EQ(query.bind("x", &value, 4, SQLT_INT), OCI_SUCCESS);
    ASSERT_EQ(query.define(1, &fetched, 4, SQLT_INT), OCI_SUCCESS);
    for (value = 1; value < 4; ++value) {
        ASSERT_EQ(query.execute(1), OCI_SUCCESS);
        EXPECT_EQ(fetched, value * 2);
    }
}

} // namespace
} // namespace sqlite_oci_test
