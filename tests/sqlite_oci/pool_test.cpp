// Pools of sessions and connections, passwords, statement tags, and what is told of bind variables.
#include "client.h"

#include <thread>

namespace sqlite_oci_test
{
namespace
{

struct pool_test : testing::Test {
    sword create(ub4 least, ub4 most, ub4 mode = OCI_SPC_HOMOGENEOUS)
    {
        OraText user[] = "scott", password[] = "tiger";
        return OCISessionPoolCreate(db.env, db.errors, pool, &name, &name_length, text("main"), 4, least,
                                    most, 1, user, 5, password, 5, mode);
    }

    // A session from the pool, for release() at last.
    OCISvcCtx *take(std::string_view tag = {}, int *found = nullptr, ub4 mode = OCI_SESSGET_SPOOL)
    {
        OCISvcCtx *taken = nullptr;
        const sword status =
            OCISessionGet(db.env, db.errors, &taken, nullptr, name, name_length, text(tag),
                          static_cast<ub4>(tag.size()), &returned_tag, &returned_length, found, mode);
        return status == OCI_SUCCESS ? taken : nullptr;
    }

    sword release(OCISvcCtx *taken, std::string tag = {}, ub4 mode = OCI_DEFAULT) const
    {
        return OCISessionRelease(taken, db.errors, reinterpret_cast<OraText *>(tag.data()),
                                 static_cast<ub4>(tag.size()), tag.empty() ? mode : mode | OCI_SESSRLS_RETAG);
    }

    template <class T> T attribute(ub4 which) const
    {
        T value{};
        EXPECT_TRUE(db.succeeds(OCIAttrGet(pool, OCI_HTYPE_SPOOL, &value, nullptr, which, db.errors)));
        return value;
    }

    sword run(OCISvcCtx *on, std::string_view sql) const
    {
        OCIStmt *statement = nullptr;
        EXPECT_TRUE(
            db.succeeds(OCIStmtPrepare2(on, &statement, db.errors, text(sql), static_cast<ub4>(sql.size()),
                                        nullptr, 0, OCI_NTV_SYNTAX, OCI_DEFAULT)));
        const sword status = OCIStmtExecute(on, statement, db.errors, 1, 0, nullptr, nullptr, OCI_DEFAULT);
        EXPECT_EQ(OCIStmtRelease(statement, db.errors, nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
        return status;
    }

    database_directory directory;
    client db;
    OCISPool *pool = allocate<OCISPool>(db.env, OCI_HTYPE_SPOOL);
    OraText *name = nullptr, *returned_tag = nullptr;
    ub4 name_length = 0, returned_length = 0;
};

TEST_F(pool_test, sessions_come_back_with_their_tags)
{
    ASSERT_TRUE(db.succeeds(create(1, 2)));
    EXPECT_EQ(attribute<ub4>(OCI_ATTR_SPOOL_OPEN_COUNT), 1);
    ub1 nowait = OCI_SPOOL_ATTRVAL_NOWAIT;
    EXPECT_EQ(OCIAttrSet(pool, OCI_HTYPE_SPOOL, &nowait, 0, OCI_ATTR_SPOOL_GETMODE, db.errors), OCI_SUCCESS);
    OCISvcCtx *const first = take(), *const second = take();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(take(), nullptr);
    EXPECT_EQ(db.code(), 24418);
    EXPECT_EQ(attribute<ub4>(OCI_ATTR_SPOOL_BUSY_COUNT), 2);
    EXPECT_EQ(run(first, "CREATE TABLE t (a NUMBER)"), OCI_SUCCESS);
    EXPECT_EQ(run(first, "INSERT INTO t VALUES (1)"), OCI_SUCCESS);
    EXPECT_TRUE(db.succeeds(release(first, "blue"))) << "commits";
    EXPECT_EQ(run(second, "DELETE FROM t"), OCI_SUCCESS) << "no lock was kept";
    EXPECT_TRUE(db.succeeds(release(second)));
    EXPECT_EQ(release(second), OCI_INVALID_HANDLE);

    int found = 0;
    OCISvcCtx *const blue = take("blue", &found);
    EXPECT_TRUE(found);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(returned_tag), returned_length), "blue");
    OCISvcCtx *const plain = take("red", &found);
    EXPECT_FALSE(found);
    EXPECT_EQ(returned_length, 0);
    EXPECT_TRUE(db.fails(OCISessionPoolDestroy(pool, db.errors, OCI_DEFAULT), 24422));
    EXPECT_TRUE(db.succeeds(release(blue, {}, OCI_SESSRLS_DROPSESS)));
    EXPECT_EQ(attribute<ub4>(OCI_ATTR_SPOOL_OPEN_COUNT), 1);
    EXPECT_TRUE(db.succeeds(OCISessionPoolDestroy(pool, db.errors, OCI_SPD_FORCE)));
    EXPECT_EQ(run(plain, "DELETE FROM t"), OCI_ERROR) << "cut off";
    EXPECT_TRUE(db.succeeds(release(plain)));
    EXPECT_EQ(take(), nullptr);
    EXPECT_EQ(db.code(), 24416);
    EXPECT_TRUE(db.fails(create(3, 2), 24413));
}

TEST_F(pool_test, a_full_pool_waits_for_a_session)
{
    ASSERT_TRUE(db.succeeds(create(0, 1)));
    OCISvcCtx *const first = take();
    ASSERT_TRUE(first);
    std::thread other([&] {
        OCISvcCtx *waited = nullptr;
        EXPECT_EQ(OCISessionGet(db.env, nullptr, &waited, nullptr, name, name_length, nullptr, 0, nullptr,
                                nullptr, nullptr, OCI_SESSGET_SPOOL),
                  OCI_SUCCESS);
        EXPECT_EQ(OCISessionRelease(waited, nullptr, nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
    });
    EXPECT_TRUE(db.succeeds(release(first)));
    other.join();
}

TEST_F(pool_test, names_of_pools_stand_for_links)
{
    auto *const connections = allocate<OCICPool>(db.env, OCI_HTYPE_CPOOL);
    sb4 length = 0;
    OraText *pool_name = nullptr;
    ASSERT_TRUE(
        db.succeeds(OCIConnectionPoolCreate(db.env, db.errors, connections, &pool_name, &length, text("main"),
                                            4, 1, 5, 1, text("u"), 1, text("p"), 1, OCI_DEFAULT)));
    OCISvcCtx *service = nullptr;
    ASSERT_TRUE(db.succeeds(OCILogon2(db.env, db.errors, &service, text("scott"), 5, text("tiger"), 5,
                                      pool_name, static_cast<ub4>(length), OCI_LOGON2_CPOOL)));
    const auto change = [&](const char *before, const char *after) {
        return OCIPasswordChange(service, db.errors, text("scott"), 5, text(before),
                                 static_cast<ub4>(std::string_view(before).size()), text(after),
                                 static_cast<ub4>(std::string_view(after).size()), OCI_DEFAULT);
    };
    EXPECT_TRUE(db.fails(change("lion", "puma"), 28008));
    EXPECT_TRUE(db.fails(change("tiger", ""), 988));
    EXPECT_TRUE(db.succeeds(change("tiger", "puma")));
    EXPECT_TRUE(db.fails(change("tiger", "lynx"), 28008));
    EXPECT_EQ(OCILogoff(service, db.errors), OCI_SUCCESS);
    auto *const server = allocate<OCIServer>(db.env, OCI_HTYPE_SERVER);
    EXPECT_TRUE(db.succeeds(OCIServerAttach(server, db.errors, pool_name, length, OCI_CPOOL)));
    EXPECT_EQ(OCIConnectionPoolDestroy(connections, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(OCILogon2(db.env, db.errors, &service, text("scott"), 5, text("tiger"), 5,
                                   text("gone"), 4, OCI_LOGON2_CPOOL),
                         24416));
    OCISvcCtx *plain = nullptr;
    OraText link[] = "main";
    EXPECT_TRUE(db.succeeds(OCISessionGet(db.env, db.errors, &plain, nullptr, link, 4, nullptr, 0, nullptr,
                                          nullptr, nullptr, OCI_DEFAULT)));
    EXPECT_TRUE(db.succeeds(OCISessionRelease(plain, db.errors, nullptr, 0, OCI_DEFAULT)));
}

TEST_F(sqlite_oci_test, tags_stand_for_statements_and_names_are_told)
{
    OCIStmt *statement = nullptr;
    const std::string sql = "SELECT :a, :B FROM dual WHERE :a = 1";
    const auto prepare = [&](std::string_view plain, std::string_view tag) {
        return OCIStmtPrepare2(db.service, &statement, db.errors, plain.empty() ? nullptr : text(plain),
                               static_cast<ub4>(plain.size()), text(tag), static_cast<ub4>(tag.size()),
                               OCI_NTV_SYNTAX, OCI_DEFAULT);
    };
    EXPECT_TRUE(db.fails(prepare({}, "mine"), 24431));
    ASSERT_TRUE(db.succeeds(prepare(sql, "mine")));
    EXPECT_EQ(OCIStmtRelease(statement, db.errors, text("mine"), 4, OCI_DEFAULT), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(prepare({}, "mine")));

    sb4 found = 0, number = 0;
    OraText *names[2] = {}, *indicators[2] = {};
    ub1 lengths[2] = {}, indicator_lengths[2] = {}, repeated[2] = {};
    OCIBind *binds[2] = {}, *bound = nullptr;
    ASSERT_TRUE(db.succeeds(OCIBindByPos(statement, &bound, db.errors, 2, &number, sizeof number, SQLT_INT,
                                         nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT)));
    const auto tell = [&](ub4 start) {
        return OCIStmtGetBindInfo(statement, db.errors, 2, start, &found, names, lengths, indicators,
                                  indicator_lengths, repeated, binds);
    };
    ASSERT_TRUE(db.succeeds(tell(1)));
    EXPECT_EQ(found, -3) << "there are more than two";
    EXPECT_EQ(std::string(reinterpret_cast<char *>(names[1]), lengths[1]), "B");
    EXPECT_EQ(binds[1], bound);
    ASSERT_TRUE(db.succeeds(tell(3)));
    EXPECT_EQ(found, 3);
    EXPECT_TRUE(repeated[0]);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(names[0]), lengths[0]), "A");
}

TEST_F(sqlite_oci_test, rows_are_named_by_descriptors)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER)"), 0);
    void *made = nullptr;
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_ROWID, 0, nullptr), OCI_SUCCESS);
    auto *row = static_cast<OCIRowid *>(made);
    OraText shown[20];
    ub2 length = sizeof shown;
    EXPECT_TRUE(db.fails(OCIRowidToChar(row, shown, &length, db.errors), 1410));
    const auto name_row = [&](const prepared &of) {
        EXPECT_TRUE(
            db.succeeds(OCIAttrGet(of.handle, OCI_HTYPE_STMT, row, nullptr, OCI_ATTR_ROWID, db.errors)));
        length = sizeof shown;
        EXPECT_TRUE(db.succeeds(OCIRowidToChar(row, shown, &length, db.errors)));
        return std::string(reinterpret_cast<char *>(shown), length);
    };
    const prepared insert(db, "INSERT INTO t SELECT :a FROM dual");
    sb4 number = 0;
    insert.in("a", number, SQLT_INT);
    for (number = 10; number <= 30; number += 10)
        ASSERT_TRUE(db.succeeds(insert.execute(1)));
    const std::string last = name_row(insert);

    const prepared query(db, "SELECT rowid, a FROM t WHERE a = 20 FOR UPDATE");
    query.out(1, row, SQLT_RDD).out(2, number, SQLT_INT);
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    const std::string found = name_row(query);
    EXPECT_NE(found, last);
    EXPECT_EQ(db.ask("SELECT rowid FROM t WHERE a = 20"), found) << "one form for all";
    EXPECT_EQ(db.ask("SELECT a FROM t WHERE rowid = '" + found + "'"), "20");
    const prepared update(db, "UPDATE t SET a = 25 WHERE rowid = :r");
    update.in("r", row, SQLT_RDD);
    ASSERT_TRUE(db.succeeds(update.execute(1)));
    EXPECT_EQ(update.attribute<ub4>(OCI_ATTR_ROW_COUNT), 1);
    EXPECT_EQ(db.ask("SELECT sum(a) FROM t"), "65");
    length = 0;
    EXPECT_TRUE(db.fails(OCIRowidToChar(row, shown, &length, db.errors), 1877));
    EXPECT_GT(length, 0);
}

} // namespace
} // namespace sqlite_oci_test
