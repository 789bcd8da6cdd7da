// Fetches: values into variables of every type, nulls, cuts, arrays and positions.
#include "client.h"

#include <cmath>
#include <cstring>

namespace sqlite_oci_test
{
namespace
{

using namespace std::string_literals;

class fetch : public sqlite_oci_test
{
protected:
    // Fetches one value of SQL into a variable of a type and returns its bytes, or "ORA-n".
    std::string value(std::string_view expression, ub2 type, sb4 size, ub2 *length = nullptr)
    {
        const prepared query(db, "SELECT " + std::string(expression) + " FROM dual");
        std::string bytes(static_cast<std::size_t>(size) + 4, '#');
        sb2 indicator = 0;
        EXPECT_TRUE(db.succeeds(query.define(1, bytes.data(), size, type, &indicator, length)));
        const sword status = query.execute(1);
        EXPECT_EQ(bytes.substr(static_cast<std::size_t>(size)), "####")
            << "nothing is written behind the variable";
        if (status == OCI_SUCCESS_WITH_INFO || status == OCI_SUCCESS)
            return bytes.substr(0, static_cast<std::size_t>(size));
        return "ORA-" + std::to_string(db.code());
    }

    template <class T> T plain(std::string_view expression, ub2 type)
    {
        const std::string bytes = value(expression, type, sizeof(T));
        EXPECT_EQ(bytes.size(), sizeof(T)) << expression << ": " << bytes;
        T result{};
        std::memcpy(&result, bytes.data(), std::min(bytes.size(), sizeof result));
        return result;
    }
};

TEST_F(fetch, values_become_numbers)
{
    const std::tuple<const char *, std::int64_t, double> cases[] = {
        {"0", 0, 0},         {"-17", -17, -17},
        {"1.9", 1, 1.9},     {"-1.9", -1, -1.9},
        {"'12'", 12, 12},    {"' -3.75 '", -3, -3.75},
        {"'1E2'", 100, 100}, {"9007199254740993", 9007199254740993, 9007199254740993.0},
    };
    for (const auto &[expression, integer, real] : cases) {
        SCOPED_TRACE(expression);
        EXPECT_EQ(plain<std::int64_t>(expression, SQLT_INT), integer);
        EXPECT_EQ(plain<double>(expression, SQLT_FLT), real);
        EXPECT_EQ(plain<double>(expression, SQLT_BDOUBLE), real);
        EXPECT_EQ(plain<float>(expression, SQLT_BFLOAT), static_cast<float>(real));
        const auto number = plain<OCINumber>(expression, SQLT_VNU);
        double back = 0;
        EXPECT_EQ(OCINumberToReal(db.errors, &number, sizeof back, &back), OCI_SUCCESS);
        EXPECT_EQ(back, real);
    }
    EXPECT_EQ(plain<std::int8_t>("-128", SQLT_INT), -128);
    EXPECT_EQ(plain<std::uint8_t>("255", SQLT_UIN), 255);
    EXPECT_EQ(plain<std::uint64_t>("'18446744073709551615'", SQLT_UIN), 18446744073709551615u);
    ub2 length = 0;
    EXPECT_EQ(value("100", SQLT_NUM, 21, &length).substr(0, 2), "\xC2\x02");
    EXPECT_EQ(length, 2);
}

TEST_F(fetch, what_cannot_be_converted_is_an_error)
{
    const std::tuple<const char *, ub2, sb4, int> cases[] = {
        {"'abc'", SQLT_INT, 4, 1722},      {"'abc'", SQLT_FLT, 8, 1722},
        {"'1x'", SQLT_VNU, 22, 1722},      {"128", SQLT_INT, 1, 1455},
        {"2147483648", SQLT_INT, 4, 1455}, {"1e30", SQLT_INT, 8, 1455},
        {"-1", SQLT_UIN, 4, 1455},         {"256", SQLT_UIN, 1, 1455},
        {"1e300", SQLT_BFLOAT, 4, 1426},   {"1e300", SQLT_VNU, 22, 1426},
        {"x'01'", SQLT_INT, 4, 932},       {"1", SQLT_DAT, 7, 932},
        {"'soon'", SQLT_DAT, 7, 1861},     {"'2023-02-29'", SQLT_ODT, sizeof(OCIDate), 1861},
        {"1", SQLT_BIN, 4, 932},           {"'xyz'", SQLT_BIN, 4, 1465},
    };
    for (const auto &[expression, type, size, code] : cases)
        EXPECT_EQ(value(expression, type, size), "ORA-" + std::to_string(code)) << expression << ' ' << type;
}

TEST_F(fetch, values_become_texts)
{
    const std::tuple<const char *, std::string, sb4, ub2, ub2> cases[] = {
        {"'abc'", "abc##", 5, SQLT_CHR, 3},        {"'abc'", "abc\0#"s, 5, SQLT_STR, 3},
        {"'abc'", "abc  ", 5, SQLT_AFC, 5},        {"'abc'", "abc  \0"s, 6, SQLT_AVC, 5},
        {"'abc'", "abc#", 4, SQLT_LNG, 3},         {"empty_clob()", "\0#"s, 2, SQLT_STR, 0},
        {"-12", "-12#", 4, SQLT_CHR, 3},           {"0.5", ".5##", 4, SQLT_CHR, 2},
        {"12.50", "12.5#", 5, SQLT_CHR, 4},        {"1e20", "100000000000000000000", 21, SQLT_CHR, 21},
        {"x'0aFF'", "0AFF#", 5, SQLT_CHR, 4},      {"x'0aFF'", "\x0A\xFF#", 3, SQLT_BIN, 2},
        {"'0aFf'", "\x0A\xFF#", 3, SQLT_BIN, 2},   {"'abcdef'", "abcd", 4, SQLT_CHR, 4},
        {"'abcdef'", "abc\0"s, 4, SQLT_STR, 3},    {"'abcdef'", "abc", 3, SQLT_AFC, 3},
        {"x'010203'", "\x01\x02", 2, SQLT_BIN, 2}, {"'a\xC3\xA9'", "a#", 2, SQLT_CHR, 1},
    };
    for (const auto &[expression, bytes, size, type, told] : cases) {
        ub2 length = 99;
        EXPECT_EQ(value(expression, type, size, &length), bytes) << expression << " as " << type;
        EXPECT_EQ(length, told) << expression << " as " << type;
    }
    EXPECT_EQ(value("'2024-02-29 13:05:00'", SQLT_DAT, 7), "\x78\x7C\x02\x1D\x0E\x06\x01");
    EXPECT_EQ(value("'2024-02-29'", SQLT_DAT, 7), "\x78\x7C\x02\x1D\x01\x01\x01");
    const auto date = plain<OCIDate>("'1999-12-31 23:59:58'", SQLT_ODT);
    EXPECT_EQ(date.OCIDateYYYY, 1999);
    EXPECT_EQ(date.OCIDateTime.OCITimeSS, 58);
}

// How a null and a cut value are told, by what the program gave to be told with.
TEST_F(fetch, nulls_and_cuts_are_reported)
{
    db.run_all({"CREATE TABLE t (null_value NUMBER, short VARCHAR2(10), longer CLOB)",
                "INSERT INTO t VALUES (NULL, 'abcdefghij', '" + std::string(40000, 'x') + "')"});
    const std::tuple<const char *, bool, bool, sword, int, sb2, ub2> cases[] = {
        {"null_value", true, false, OCI_SUCCESS, 0, -1, 0},
        {"null_value", true, true, OCI_SUCCESS, 0, -1, 1405},
        {"null_value", false, true, OCI_SUCCESS_WITH_INFO, 24345, 0, 1405},
        {"null_value", false, false, OCI_ERROR, 1405, 0, 0},
        {"short", true, false, OCI_SUCCESS_WITH_INFO, 1406, 10, 0},
        {"short", true, true, OCI_SUCCESS_WITH_INFO, 24345, 10, 1406},
        {"short", false, true, OCI_SUCCESS_WITH_INFO, 24345, 0, 1406},
        {"short", false, false, OCI_SUCCESS_WITH_INFO, 1406, 0, 0},
        {"longer", true, true, OCI_SUCCESS_WITH_INFO, 24345, -2, 1406},
    };
    for (const auto &[column, has_indicator, has_code, status, record, told, told_code] : cases) {
        SCOPED_TRACE(testing::Message() << column << has_indicator << has_code);
        const client fresh;
        const prepared query(db, std::string("SELECT ") + column + " FROM t");
        char fetched[4];
        sb2 indicator = 0;
        ub2 code = 0;
        query.out(1, fetched, SQLT_CHR, has_indicator ? &indicator : nullptr, nullptr,
                  has_code ? &code : nullptr);
        EXPECT_EQ(OCIStmtExecute(db.service, query.handle, fresh.errors, 1, 0, nullptr, nullptr, OCI_DEFAULT),
                  status);
        EXPECT_EQ(fresh.code(), record);
        EXPECT_EQ(indicator, told);
        EXPECT_EQ(code, told_code);
    }
}

TEST_F(fetch, arrays_are_filled_in_pieces_with_skipped_columns)
{
    const prepared query(db,
                         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10) "
                         "SELECT 'unused', i, CASE WHEN mod(i, 3) <> 0 THEN 'n' || i END, i * 1000 FROM n");
    struct row {
        sb2 number;
        char name[4];
        sb2 state;
        ub2 length, code;
    } rows[4];
    auto &[number, name, state, length, code] = rows[0];
    query.out(2, number, SQLT_INT);
    ASSERT_EQ(OCIDefineArrayOfStruct(query.last_define, db.errors, sizeof(row), 0, 0, 0), OCI_SUCCESS);
    query.out(3, name, SQLT_STR, &state, &length, &code);
    ASSERT_EQ(OCIDefineArrayOfStruct(query.last_define, db.errors, sizeof(row), sizeof(row), sizeof(row),
                                     sizeof(row)),
              OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(query.execute(4)));
    EXPECT_EQ(rows[3].number, 4);
    EXPECT_STREQ(rows[3].name, "n4");
    EXPECT_EQ(rows[2].state, OCI_IND_NULL);
    EXPECT_EQ(rows[2].code, 1405);
    EXPECT_EQ(OCIStmtFetch(query.handle, db.errors, 4, OCI_FETCH_NEXT, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(rows[0].number, 5);
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_ROW_COUNT), 8u);
    EXPECT_EQ(query.fetch(4), OCI_NO_DATA);
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_ROWS_FETCHED), 2u);
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_ROW_COUNT), 10u);
    EXPECT_EQ(rows[1].number, 10);
    EXPECT_EQ(rows[1].length, 3);
    EXPECT_EQ(rows[2].number, 7) << "what is behind the last row is left alone";
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_STMT_STATE), 3u);
    EXPECT_EQ(query.fetch(4), OCI_NO_DATA);
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_ROWS_FETCHED), 0u);
}

TEST_F(fetch, many_and_long_rows_come_back_as_they_were)
{
    db.run_all({"CREATE TABLE t (i NUMBER, short VARCHAR2(30), longer CLOB, bytes BLOB)",
                "INSERT INTO t "
                "WITH n(i) AS (SELECT 0 FROM dual UNION ALL SELECT i + 1 FROM n WHERE i < 19999) "
                "SELECT i * i * i * 7919 * (mod(i, 2) * 2 - 1), 'row ' || i, CASE WHEN mod(i, 1000) = 7 THEN "
                "printf('%.*c', i * 10, 'x') WHEN mod(i, 5) = 0 THEN 'z' END, zeroblob(mod(i, 300)) FROM n"});
    const prepared query(
        db, "SELECT i, short, length(longer), longer, length(bytes), bytes FROM t ORDER BY rowid");
    constexpr ub4 batch = 64;
    sb8 number[batch];
    char name[batch][32];
    sb4 length[batch], size[batch];
    std::vector<char> content(batch * 200000), bytes(batch * 300);
    sb2 length_state[batch], content_state[batch];
    ub2 bytes_length[batch];
    query.out(1, number, SQLT_INT).out(2, name, SQLT_STR).out(3, length, SQLT_INT, length_state);
    ASSERT_EQ(query.define(4, content.data(), 200000, SQLT_LNG, content_state), OCI_SUCCESS);
    ASSERT_EQ(query.define(6, bytes.data(), 300, SQLT_BIN, nullptr, bytes_length), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(query.out(5, size, SQLT_INT).execute(0)));
    sb8 i = 0;
    sword status = OCI_SUCCESS;
    while (status == OCI_SUCCESS) {
        status = query.fetch(batch);
        const auto rows = query.attribute<ub4>(OCI_ATTR_ROWS_FETCHED);
        for (ub4 row = 0; row < rows; ++row, ++i) {
            ASSERT_EQ(number[row], i * i * i * 7919 * (i % 2 * 2 - 1));
            ASSERT_EQ(name[row], "row " + std::to_string(i));
            ASSERT_EQ(length_state[row], content_state[row]);
            if (length_state[row] == 0) {
                ASSERT_EQ(content[row * 200000 + static_cast<std::size_t>(length[row]) - 1],
                          i % 1000 == 7 ? 'x' : 'z');
            }
            ASSERT_EQ(size[row], bytes_length[row]);
        }
    }
    EXPECT_EQ(status, OCI_NO_DATA) << db.message();
    EXPECT_EQ(i, 20000);
}

TEST_F(fetch, scrollable_statements_move_both_ways)
{
    const prepared query(db, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20) "
                             "SELECT i FROM n");
    sb4 number[3] = {};
    ASSERT_EQ(query.out(1, number, SQLT_INT).execute(0, OCI_STMT_SCROLLABLE_READONLY), OCI_SUCCESS);
    const std::tuple<ub4, ub2, sb4, sword, sb4, ub4> steps[] = {
        {1, OCI_FETCH_LAST, 0, OCI_SUCCESS, 20, 20},     {1, OCI_FETCH_PRIOR, 0, OCI_SUCCESS, 19, 19},
        {3, OCI_FETCH_FIRST, 0, OCI_SUCCESS, 1, 3},      {1, OCI_FETCH_CURRENT, 0, OCI_SUCCESS, 3, 3},
        {3, OCI_FETCH_ABSOLUTE, 5, OCI_SUCCESS, 5, 7},   {1, OCI_FETCH_RELATIVE, 4, OCI_SUCCESS, 11, 11},
        {1, OCI_FETCH_RELATIVE, -10, OCI_SUCCESS, 1, 1}, {1, OCI_FETCH_PRIOR, 0, OCI_NO_DATA, 1, 1},
        {2, OCI_FETCH_NEXT, 0, OCI_SUCCESS, 2, 3},       {3, OCI_FETCH_ABSOLUTE, 19, OCI_NO_DATA, 19, 20},
        {1, OCI_FETCH_NEXT, 0, OCI_NO_DATA, 19, 20},     {1, OCI_FETCH_ABSOLUTE, 99, OCI_NO_DATA, 19, 20},
    };
    for (const auto &[rows, orientation, offset, status, first, position] : steps) {
        SCOPED_TRACE(testing::Message() << "orientation " << orientation << " offset " << offset);
        EXPECT_EQ(query.fetch(rows, orientation, offset), status);
        EXPECT_EQ(number[0], first);
        EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_CURRENT_POSITION), position);
    }
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(query.fetch(1, OCI_FETCH_LAST), 24391));
}

TEST_F(fetch, exact_fetches_and_misuse)
{
    sb4 number[3] = {};
    const auto exactly = [&](std::string_view sql) {
        return prepared(db, sql).out(1, number, SQLT_INT).execute(1, OCI_EXACT_FETCH);
    };
    EXPECT_TRUE(db.succeeds(exactly("SELECT 1 FROM dual")));
    EXPECT_EQ(exactly("SELECT 1 FROM dual WHERE 1 = 0"), OCI_NO_DATA);
    EXPECT_EQ(db.code(), 1403);
    EXPECT_TRUE(db.fails(exactly("SELECT 1 UNION SELECT 2"), 1422));

    const prepared query(db, "SELECT 1, 2 FROM dual");
    EXPECT_TRUE(db.fails(query.fetch(1), 24338));
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(query.fetch(1), 24374));
    EXPECT_TRUE(db.fails(query.define(3, number, 4, SQLT_INT), 1007)) << "the columns are known now";

    const prepared cancelled(db, "SELECT 1 UNION SELECT 2");
    ASSERT_EQ(cancelled.out(1, number, SQLT_INT).execute(1), OCI_SUCCESS);
    EXPECT_EQ(cancelled.fetch(0), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(cancelled.fetch(1), 1002)) << "no rows fetched cancel the query";

    const prepared early(db, "SELECT 1 FROM dual");
    EXPECT_TRUE(db.fails(early.out(2, number, SQLT_INT).execute(1), 1007)) << "not before execution";

    const prepared change(db, "CREATE TABLE t (a NUMBER)");
    ASSERT_EQ(change.execute(1), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(change.fetch(1), 24338));
}

TEST_F(fetch, a_row_that_fails_does_not_block_those_behind_it)
{
    const prepared query(db, "SELECT column1 FROM (VALUES ('1'), ('x'), ('3'))");
    sb4 number[3] = {};
    ASSERT_TRUE(db.succeeds(query.out(1, number, SQLT_INT).execute(0)));
    EXPECT_TRUE(db.fails(query.fetch(3), 1722));
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_ROWS_FETCHED), 1u);
    EXPECT_EQ(number[0], 1);
    EXPECT_EQ(query.fetch(3), OCI_NO_DATA);
    EXPECT_EQ(number[0], 3);
}

TEST_F(fetch, texts_without_a_length_are_padded)
{
    const prepared query(db, "SELECT 'ab', NULL, 'cd' FROM dual");
    char padded[6] = "-----", null[4] = "---", counted[6] = "-----";
    sb2 state = 0;
    ub2 length = 0;
    query.out(1, padded, SQLT_CHR).out(2, null, SQLT_CHR, &state).out(3, counted, SQLT_CHR, nullptr, &length);
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    EXPECT_EQ(std::string(padded, 6) + std::string(null, 4), "ab        ");
    EXPECT_EQ(std::string(counted, length), "cd");
    EXPECT_EQ(counted[2], '-') << "a length tells where the text ends";
}

} // namespace
} // namespace sqlite_oci_test
