// Binds and defines through callbacks.
#include "client.h"

#include <map>

namespace sqlite_oci_test
{
namespace
{

class dynamic : public sqlite_oci_test
{
};

// The values of the rows of an array execution, given in pieces of at most `piece_size` bytes.
struct source {
    std::vector<std::optional<std::string>> rows;
    std::size_t piece_size;
    sb2 indicator = 0;
    std::map<ub4, std::size_t> given{}; // by row
    sb4 answer = OCI_CONTINUE;
};

sb4 give(void *context, OCIBind *, ub4 row, ub4 index, void **buffer, ub4 *length, ub1 *piece,
         void **indicator)
{
    auto &from = *static_cast<source *>(context);
    EXPECT_EQ(index, 0u);
    from.indicator = from.rows.at(row) ? OCI_IND_NOTNULL : OCI_IND_NULL;
    *indicator = &from.indicator;
    *piece = OCI_ONE_PIECE;
    if (!from.rows[row])
        return from.answer;
    std::size_t &at = from.given[row];
    const std::size_t left = from.rows[row]->size() - at;
    const std::size_t size = std::min(from.piece_size, left);
    *buffer = from.rows[row]->data() + at;
    *length = static_cast<ub4>(size);
    *piece = size < left ? at ? OCI_NEXT_PIECE : OCI_FIRST_PIECE : at ? OCI_LAST_PIECE : OCI_ONE_PIECE;
    at += size;
    return from.answer;
}

// What a define's callback was given, by row; its buffer is `size` bytes long.
struct target {
    std::size_t size;
    std::vector<std::string> rows{};
    std::vector<sb2> indicators = std::vector<sb2>(10, 99);
    std::string buffer{};
    ub4 length = 0;
    ub2 code = 99;
    std::vector<ub1> pieces{};
    ub1 wanted = OCI_FIRST_PIECE; // what the program answers: as many pieces as there are

    // The piece that was filled since the last call.
    void collect()
    {
        if (!rows.empty())
            rows.back().append(buffer, 0, length);
    }
};

sb4 take(void *context, OCIDefine *, ub4 row, void **buffer, ub4 **length, ub1 *piece, void **indicator,
         ub2 **code)
{
    auto &into = *static_cast<target *>(context);
    into.collect();
    into.pieces.push_back(*piece);
    if (*piece == OCI_FIRST_PIECE)
        into.rows.emplace_back();
    EXPECT_EQ(into.rows.size(), row + 1);
    into.buffer.assign(into.size, '?');
    into.length = static_cast<ub4>(into.size);
    *buffer = into.buffer.data();
    *length = &into.length;
    *indicator = &into.indicators[row];
    *code = &into.code;
    if (into.wanted != OCI_FIRST_PIECE)
        *piece = into.wanted;
    return OCI_CONTINUE;
}

sword bind_source(const prepared &statement, ub2 type, source &from, sb4 size = 1 << 20)
{
    EXPECT_EQ(statement.bind(":x", nullptr, size, type, nullptr, nullptr, OCI_DATA_AT_EXEC), OCI_SUCCESS);
    return OCIBindDynamic(statement.last_bind, statement.client.errors, &from, give, nullptr, nullptr);
}

sword define_target(const prepared &statement, ub2 type, sb4 size, target &into)
{
    EXPECT_TRUE(statement.client.succeeds(
        statement.define(1, nullptr, size, type, nullptr, nullptr, nullptr, OCI_DYNAMIC_FETCH)));
    return OCIDefineDynamic(statement.last_define, statement.client.errors, &into, take);
}

TEST_F(dynamic, values_pass_in_pieces)
{
    const std::string accents = "caf\xC3\xA9 \xF0\x9F\x98\x80 ", bytes("\0\1\2\3\4\5\6\7\xFF", 9);
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += accents;
    const std::pair<ub2, std::vector<std::optional<std::string>>> cases[] = {
        {SQLT_CHR, {"short", many, std::nullopt, accents}},
        {SQLT_LNG, {many, "x"}},
        {SQLT_BIN, {bytes, std::nullopt, many}},
        {SQLT_LBI, {many, bytes}},
    };
    for (const auto &[type, rows] : cases) {
        for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, many.size()}) {
            SCOPED_TRACE(testing::Message() << "type " << type << " pieces of " << size);
            ASSERT_EQ(db.run("CREATE TABLE t(id NUMBER GENERATED AS IDENTITY PRIMARY KEY, x " +
                             std::string(type == SQLT_BIN || type == SQLT_LBI ? "BLOB" : "CLOB") + ")"),
                      0);
            const prepared insert(db, "INSERT INTO t(x) VALUES(:x)");
            source from{rows, size};
            ASSERT_EQ(bind_source(insert, type, from), OCI_SUCCESS);
            ASSERT_TRUE(db.succeeds(insert.execute(static_cast<ub4>(rows.size()))));

            const prepared query(db, "SELECT x FROM t ORDER BY id");
            target into{size};
            ASSERT_EQ(define_target(query, type, 1 << 30, into), OCI_SUCCESS);
            ASSERT_TRUE(db.succeeds(query.execute(static_cast<ub4>(rows.size()))));
            into.collect();
            ASSERT_EQ(into.rows.size(), rows.size());
            for (std::size_t i = 0; i < rows.size(); ++i) {
                EXPECT_EQ(into.rows[i], rows[i].value_or(""));
                EXPECT_EQ(into.indicators[i], rows[i] ? OCI_IND_NOTNULL : OCI_IND_NULL);
            }
            ASSERT_EQ(db.run("DROP TABLE t"), 0);
        }
    }
}

TEST_F(dynamic, numbers_pass_whole)
{
    const prepared query(db, "SELECT :x + 1 FROM dual");
    const int given = 41;
    source from{{std::string(reinterpret_cast<const char *>(&given), sizeof given)}, 100};
    target into{sizeof(int)};
    ASSERT_EQ(bind_source(query, SQLT_INT, from, sizeof given), OCI_SUCCESS);
    ASSERT_EQ(define_target(query, SQLT_INT, sizeof(int), into), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    EXPECT_EQ(*reinterpret_cast<const int *>(into.buffer.data()), 42);
    EXPECT_EQ(into.code, 0);
}

TEST_F(dynamic, programs_can_stop_or_take_less)
{
    const prepared query(db, "SELECT :x FROM dual");
    source from{{"a value"}, 2};
    from.answer = OCI_ERROR;
    target into{3};
    ASSERT_EQ(bind_source(query, SQLT_CHR, from), OCI_SUCCESS);
    ASSERT_EQ(define_target(query, SQLT_CHR, 100, into), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(query.execute(1), 24343));

    from = {{"a value"}, 2};
    into.wanted = OCI_ONE_PIECE;
    EXPECT_EQ(query.execute(1), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(db.code(), 1406);
    EXPECT_EQ(into.buffer, "a v");
    EXPECT_EQ(into.code, 1406);

    // A callback for what is in the program's memory already, and none for what is not.
    char value[] = "x";
    query.in(":x", value, SQLT_CHR);
    EXPECT_TRUE(db.fails(OCIBindDynamic(query.last_bind, db.errors, &from, give, nullptr, nullptr), 24315));
}

// Gives or takes the pieces of a statement's values between calls; returns what the last call answered.
template <class Call> sword in_pieces(const prepared &of, const std::vector<std::string> &values, Call call)
{
    sword status = call();
    std::size_t given = 0;
    while (status == OCI_NEED_DATA) {
        void *variable = nullptr;
        ub4 type = 0, iteration = 0, index = 0;
        ub1 direction = 0, piece = 0;
        EXPECT_EQ(OCIStmtGetPieceInfo(of.handle, of.client.errors, &variable, &type, &direction, &iteration,
                                      &index, &piece),
                  OCI_SUCCESS);
        EXPECT_EQ(std::make_pair(type, direction), std::make_pair(ub4{OCI_HTYPE_BIND}, ub1{OCI_PARAM_IN}));
        given = piece == OCI_FIRST_PIECE ? 0 : given;
        const std::string &value = values[iteration];
        std::string part = value.substr(given, 3);
        given += part.size();
        sb2 state = value.empty() ? OCI_IND_NULL : OCI_IND_NOTNULL;
        ub4 length = static_cast<ub4>(part.size());
        const ub1 kind = given == value.size() ? OCI_LAST_PIECE : piece;
        EXPECT_EQ(OCIStmtSetPieceInfo(variable, type, of.client.errors, part.data(), &length, kind, &state,
                                      nullptr),
                  OCI_SUCCESS);
        status = call();
    }
    return status;
}

TEST_F(dynamic, values_pass_in_pieces_between_calls)
{
    ASSERT_EQ(db.run("CREATE TABLE t (id NUMBER, x CLOB, y VARCHAR2(20))"), 0);
    const prepared insert(db, "INSERT INTO t VALUES (:id, :x, :y)");
    sb4 ids[] = {1, 2, 3};
    insert.in("id", ids, SQLT_INT);
    for (const char *name : {":x", ":y"})
        ASSERT_EQ(insert.bind(name, nullptr, 1 << 30, SQLT_CHR, nullptr, nullptr, OCI_DATA_AT_EXEC),
                  OCI_SUCCESS);
    const std::vector<std::string> values = {"caf\xC3\xA9 au lait", "", "abc"};
    ASSERT_TRUE(db.succeeds(in_pieces(insert, values, [&] { return insert.execute(3); })));
    EXPECT_EQ(insert.attribute<ub4>(OCI_ATTR_ROW_COUNT), 3);
    EXPECT_EQ(db.ask("SELECT count(*) FROM t WHERE to_char(x) = y"), "2");
    void *variable = nullptr;
    EXPECT_TRUE(db.fails(
        OCIStmtGetPieceInfo(insert.handle, db.errors, &variable, nullptr, nullptr, nullptr, nullptr, nullptr),
        24338));

    const prepared query(db, "SELECT x, id, y FROM t ORDER BY id");
    sb4 fetched_ids[3] = {};
    query.out(2, fetched_ids, SQLT_INT);
    for (const ub4 column : {1u, 3u})
        ASSERT_EQ(
            query.define(column, nullptr, 1 << 30, SQLT_CHR, nullptr, nullptr, nullptr, OCI_DYNAMIC_FETCH),
            OCI_SUCCESS);
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    std::vector<std::string> fetched;
    std::vector<char> buffer(4);
    ub4 length = 0;
    sb2 state = 0;
    const auto keep = [&] {
        if (length && state == OCI_IND_NOTNULL)
            fetched.back().append(buffer.data(), length);
        length = 0;
    };
    sword status = query.fetch(3);
    EXPECT_EQ(db.code(), 3130);
    for (; status == OCI_NEED_DATA; status = query.fetch(3)) {
        keep();
        ub4 type = 0, row = 0;
        ub1 piece = 0;
        ASSERT_EQ(
            OCIStmtGetPieceInfo(query.handle, db.errors, &variable, &type, nullptr, &row, nullptr, &piece),
            OCI_SUCCESS);
        if (piece == OCI_FIRST_PIECE)
            fetched.emplace_back();
        length = static_cast<ub4>(buffer.size());
        ASSERT_EQ(
            OCIStmtSetPieceInfo(variable, type, db.errors, buffer.data(), &length, piece, &state, nullptr),
            OCI_SUCCESS);
    }
    keep();
    ASSERT_TRUE(db.succeeds(status));
    EXPECT_EQ(fetched, (std::vector<std::string>{values[0], values[0], "", "", "abc", "abc"}));
    EXPECT_EQ(fetched_ids[2], 3);
    EXPECT_EQ(query.fetch(1), OCI_NO_DATA);
    EXPECT_EQ(OCIStmtSetPieceInfo(db.env, OCI_HTYPE_BIND, db.errors, nullptr, nullptr, 0, nullptr, nullptr),
              OCI_INVALID_HANDLE);
}

TEST_F(sqlite_oci_test, blocks_open_cursors_for_bound_statements)
{
    db.run_all({"CREATE TABLE t (a NUMBER)", "INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (2)",
                "INSERT INTO t VALUES (3)"});
    const prepared block(db, "begin open :c for select a from t where a > :least order by a; end;");
    const prepared cursor(db, "SELECT 0 FROM dual");
    OCIStmt *handle = cursor.handle;
    sb4 least = 1, fetched[3] = {};
    EXPECT_TRUE(db.fails(block.execute(1), 1008));
    block.in("c", handle, SQLT_RSET).in("least", least, SQLT_INT);
    ASSERT_TRUE(db.succeeds(block.execute(1)));
    EXPECT_EQ(cursor.attribute<ub4>(OCI_ATTR_PARAM_COUNT), 1);
    cursor.out(1, fetched, SQLT_INT);
    EXPECT_EQ(cursor.fetch(3), OCI_NO_DATA);
    EXPECT_EQ(fetched[0] * 10 + fetched[1], 23);
    least = 2;
    ASSERT_TRUE(db.succeeds(block.execute(1))) << "again, with another value";
    cursor.out(1, fetched, SQLT_INT);
    EXPECT_EQ(cursor.fetch(1), OCI_SUCCESS);
    EXPECT_EQ(fetched[0], 3);
    handle = block.handle;
    EXPECT_TRUE(db.fails(block.execute(1), 1023));
    const prepared query(db, "SELECT :c FROM dual");
    query.in("c", handle, SQLT_RSET);
    EXPECT_TRUE(db.fails(query.execute(0), 932));
}

// What the callbacks of these two tests hand over, without buffer or length of its own.
struct handed_descriptor {
    void *descriptor;
    ub4 length = 0;
    ub2 code = 0;
    sb2 indicator = OCI_IND_NOTNULL;
};

sb4 hand_over(void *context, OCIBind *, ub4, ub4, void **buffer, ub4 *length, ub1 *piece, void **indicator)
{
    auto &from = *static_cast<handed_descriptor *>(context);
    *buffer = from.descriptor;
    *length = static_cast<ub4>(-1);
    *piece = OCI_ONE_PIECE;
    *indicator = &from.indicator;
    return OCI_CONTINUE;
}

sb4 receive(void *context, OCIDefine *, ub4, void **buffer, ub4 **length, ub1 *piece, void **indicator,
            ub2 **code)
{
    auto &into = *static_cast<handed_descriptor *>(context);
    *buffer = into.descriptor;
    *length = &into.length;
    *piece = OCI_ONE_PIECE;
    *indicator = &into.indicator;
    *code = &into.code;
    return OCI_CONTINUE;
}

struct returned_number {
    sb4 number = 0;
    ub4 length = sizeof(sb4);
    ub2 code = 0;
    sb2 indicator = 99;
    ub4 row = 99;
};

sb4 take_returned(void *context, OCIBind *, ub4 row, ub4 index, void **buffer, ub4 **length, ub1 *piece,
                  void **indicator, ub2 **code)
{
    auto &into = *static_cast<returned_number *>(context);
    EXPECT_EQ(index, 0u);
    into.row = row;
    *buffer = &into.number;
    *length = &into.length;
    *piece = OCI_ONE_PIECE;
    *indicator = &into.indicator;
    *code = &into.code;
    return OCI_CONTINUE;
}

sb4 never_asked(void *, OCIBind *, ub4, ub4, void **, ub4 *, ub1 *, void **)
{
    ADD_FAILURE() << "a variable that only gets a value was asked for one";
    return OCI_ERROR;
}

TEST_F(dynamic, returned_values_come_to_callbacks)
{
    db.run_all({"CREATE TABLE t (a NUMBER)"});
    const prepared insert(db, "INSERT INTO t VALUES (6 * 7) RETURNING a INTO :x");
    returned_number into;
    ASSERT_EQ(insert.bind(":x", nullptr, sizeof into.number, SQLT_INT, nullptr, nullptr, OCI_DATA_AT_EXEC),
              0);
    ASSERT_TRUE(
        db.succeeds(OCIBindDynamic(insert.last_bind, db.errors, nullptr, never_asked, &into, take_returned)));
    ASSERT_TRUE(db.succeeds(insert.execute(1)));
    EXPECT_EQ(into.number, 42);
    EXPECT_EQ(into.indicator, OCI_IND_NOTNULL);
    EXPECT_EQ(into.row, 0u);
}

TEST_F(dynamic, descriptors_are_given_themselves)
{
    db.run_all({"CREATE TABLE t (a NUMBER, b CLOB)", "INSERT INTO t VALUES (1, 'content')"});
    handed_descriptor lob{nullptr};
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &lob.descriptor, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    const prepared query(db, "SELECT b FROM t");
    ASSERT_TRUE(
        db.succeeds(query.define(1, nullptr, -1, SQLT_CLOB, nullptr, nullptr, nullptr, OCI_DYNAMIC_FETCH)));
    ASSERT_TRUE(db.succeeds(OCIDefineDynamic(query.last_define, db.errors, &lob, receive)));
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    EXPECT_EQ(lob.indicator, OCI_IND_NOTNULL);

    const prepared copy(db, "INSERT INTO t VALUES (2, :b)");
    ASSERT_TRUE(db.succeeds(copy.bind(":b", nullptr, -1, SQLT_CLOB, nullptr, nullptr, OCI_DATA_AT_EXEC)));
    ASSERT_TRUE(db.succeeds(OCIBindDynamic(copy.last_bind, db.errors, &lob, hand_over, nullptr, nullptr)));
    ASSERT_TRUE(db.succeeds(copy.execute(1)));
    char fetched[20] = "";
    const prepared copied(db, "SELECT b FROM t WHERE a = 2");
    copied.out(1, fetched, SQLT_STR);
    ASSERT_TRUE(db.succeeds(copied.execute(1)));
    EXPECT_STREQ(fetched, "content");

    // A length that no buffer has, of a value that is no descriptor.
    const prepared refused(db, "INSERT INTO t (a) VALUES (:a)");
    ASSERT_EQ(refused.bind(":a", nullptr, 10, SQLT_CHR, nullptr, nullptr, OCI_DATA_AT_EXEC), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(OCIBindDynamic(refused.last_bind, db.errors, &lob, hand_over, nullptr, nullptr)));
    EXPECT_TRUE(db.fails(refused.execute(1), 24343));
}

} // namespace
} // namespace sqlite_oci_test
