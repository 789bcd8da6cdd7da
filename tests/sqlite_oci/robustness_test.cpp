// What must neither lose data nor crash: texts that reach further than they may, refused values and commits,
// statements and descriptors in other states than a program thinks.
#include "client.h"

#include <csignal>

#include <sys/time.h>

namespace sqlite_oci_test
{
namespace
{

using namespace std::string_literals;

class robustness : public sqlite_oci_test
{
protected:
    OCILobLocator *locator()
    {
        void *made = nullptr;
        EXPECT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
        return static_cast<OCILobLocator *>(made);
    }

    OCILobLocator *select(std::string_view sql)
    {
        OCILobLocator *made = locator();
        const prepared query(db, sql);
        EXPECT_TRUE(db.succeeds(query.define(1, &made, -1, SQLT_CLOB)));
        EXPECT_TRUE(db.succeeds(query.execute(1)));
        return made;
    }

    sword write(OCILobLocator *to, std::string value)
    {
        auto amount = static_cast<ub4>(value.size());
        return OCILobWrite(db.service, db.errors, to, &amount, 1, value.data(), amount, OCI_ONE_PIECE,
                           nullptr, nullptr, 0, SQLCS_IMPLICIT);
    }
};

TEST_F(robustness, statements_reach_nothing_but_their_database)
{
    db.run_all({"CREATE TABLE t (a NUMBER)", "INSERT INTO t VALUES (1)", "COMMIT"});
    directory.add("other");
    const std::string other = "'" + (directory.path() / "other.db").string() + "'";
    const std::tuple<std::string, int> cases[] = {
        {"ATTACH DATABASE " + other + " AS other", 1031},
        {"ATTACH DATABASE '' AS other", 1031},
        {"PRAGMA writable_schema = 1", 1031},
        {"PRAGMA journal_mode = OFF", 1031},
        {"PRAGMA foreign_keys = OFF", 1031},
        {"PRAGMA temp_store_directory = '/'", 1031},
        {"UPDATE sqlite_schema SET sql = ''", 1031},
        {"SELECT load_extension('x') FROM dual", 1031},
        {"END", 1031},
        {"DELETE FROM t\0 WHERE a = 2"s, 911},
        {"ROLLBACK\0 TO s"s, 911},
        {"SELECT a FROM t\0"s, 911},
    };
    EXPECT_EQ(db.run("VACUUM INTO '" + (directory.path() / "copy.db").string() + "'"), 1031);
    ASSERT_EQ(db.run("UPDATE t SET a = 2"), 0);
    for (const auto &[sql, code] : cases)
        EXPECT_EQ(db.run(sql), code) << sql << ": " << db.message();
    EXPECT_EQ(db.ask("SELECT a FROM t"), "2") << "nothing was ended or deleted";
    EXPECT_EQ(db.ask("SELECT name FROM pragma_table_info('t')"), "a");
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "copy.db"));

    std::ofstream(directory.path() / "secret");
    const std::string link = "secret\0"s;
    auto *const server = allocate<OCIServer>(db.env, OCI_HTYPE_SERVER);
    EXPECT_TRUE(
        db.fails(OCIServerAttach(server, db.errors, text(link), static_cast<sb4>(link.size()), 0), 12154));
}

TEST_F(robustness, a_statement_that_fails_elsewhere_has_no_description)
{
    directory.add("empty");
    const connected_client elsewhere(0, "empty");
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER)"), 0);
    const prepared query(db, "SELECT a FROM t");
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_EQ(OCIStmtExecute(elsewhere.service, query.handle, db.errors, 0, 0, nullptr, nullptr, 0),
              OCI_ERROR);
    EXPECT_EQ(db.code(), 942);
    void *column = nullptr;
    EXPECT_TRUE(db.fails(OCIParamGet(query.handle, OCI_HTYPE_STMT, db.errors, &column, 1), 24338));
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), 0u);
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_TRUE(db.succeeds(OCIParamGet(query.handle, OCI_HTYPE_STMT, db.errors, &column, 1)));
}

TEST_F(robustness, a_freed_description_is_given_anew)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER)"), 0);
    auto *const described = allocate<OCIDescribe>(db.env, OCI_HTYPE_DESCRIBE);
    std::string name = "T";
    ASSERT_TRUE(db.succeeds(OCIDescribeAny(db.service, db.errors, name.data(), 1, OCI_OTYPE_NAME, OCI_DEFAULT,
                                           OCI_PTYPE_TABLE, described)));
    for (int i = 0; i < 2; ++i) {
        void *table = nullptr;
        ASSERT_TRUE(db.succeeds(
            OCIAttrGet(described, OCI_HTYPE_DESCRIBE, &table, nullptr, OCI_ATTR_PARAM, db.errors)));
        ub2 columns = 0;
        EXPECT_TRUE(
            db.succeeds(OCIAttrGet(table, OCI_DTYPE_PARAM, &columns, nullptr, OCI_ATTR_NUM_COLS, db.errors)));
        EXPECT_EQ(columns, 1);
        EXPECT_EQ(OCIDescriptorFree(table, OCI_DTYPE_PARAM), OCI_SUCCESS);
    }
}

TEST_F(robustness, a_refused_lob_value_is_told_once)
{
    db.run_all({"CREATE TABLE t (c CLOB CHECK (length(c) < 10))", "INSERT INTO t VALUES ('x')", "COMMIT"});
    OCILobLocator *const value = select("SELECT c FROM t FOR UPDATE");
    const std::string too_long = "much too long a text";
    ASSERT_EQ(write(value, too_long), OCI_SUCCESS);
    EXPECT_EQ(db.run("INSERT INTO t VALUES ('y')"), 2290);
    ASSERT_EQ(db.run("INSERT INTO t VALUES ('z')"), 0) << db.message();
    ASSERT_EQ(write(value, too_long), OCI_SUCCESS);
    ASSERT_EQ(db.run("ROLLBACK"), 0) << db.message();
    EXPECT_EQ(db.ask("SELECT group_concat(c) FROM t"), "x");

    ASSERT_EQ(db.run("INSERT INTO t VALUES ('w')"), 0);
    ASSERT_EQ(write(select("SELECT c FROM t WHERE c = 'x' FOR UPDATE"), too_long), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(db.commit(), 2091)) << "half of a transaction is not committed";
    EXPECT_EQ(db.ask("SELECT group_concat(c) FROM t"), "x");
}

TEST_F(robustness, a_session_whose_commit_fails_ends)
{
    db.run_all({"CREATE TABLE p (id NUMBER PRIMARY KEY)",
                "CREATE TABLE c (id NUMBER REFERENCES p (id) DEFERRABLE INITIALLY DEFERRED)"});
    {
        const connected_client ending;
        ASSERT_EQ(ending.run("INSERT INTO c VALUES (5)"), 0);
        EXPECT_TRUE(
            ending.fails(OCISessionEnd(ending.service, ending.errors, ending.session, OCI_DEFAULT), 2091));
        EXPECT_TRUE(ending.fails(ending.commit(), 1012));
        EXPECT_EQ(db.run("INSERT INTO p VALUES (1)"), 0) << "no lock is left: " << db.message();
    }
    EXPECT_EQ(db.ask("SELECT count(*) FROM c"), "0");
}

OCISvcCtx *broken_service;
OCIError *break_errors;

TEST_F(robustness, a_break_in_a_signal_handler_meets_a_context_in_any_state)
{
    broken_service = allocate<OCISvcCtx>(db.env, OCI_HTYPE_SVCCTX);
    break_errors = allocate<OCIError>(db.env, OCI_HTYPE_ERROR);
    struct sigaction on_alarm = {}, before = {};
    on_alarm.sa_handler = [](int) { OCIBreak(broken_service, break_errors); };
    ASSERT_EQ(sigaction(SIGALRM, &on_alarm, &before), 0);
    const itimerval often{{0, 100}, {0, 100}}, never{};
    ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
    for (int i = 0; i < 20'000; ++i) // each makes an error record, and so allocates
        ASSERT_EQ(OCITransCommit(broken_service, db.errors, OCI_DEFAULT), OCI_ERROR);
    for (int i = 0; i < 50; ++i) {
        OCIServer *const server = db.server;
        ASSERT_EQ(OCIAttrSet(broken_service, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, db.errors), 0);
        auto *const session = allocate<OCISession>(db.env, OCI_HTYPE_SESSION);
        ASSERT_EQ(OCIAttrSet(broken_service, OCI_HTYPE_SVCCTX, session, 0, OCI_ATTR_SESSION, db.errors), 0);
        if (OCISessionBegin(broken_service, db.errors, session, OCI_CRED_EXT, OCI_DEFAULT) == OCI_SUCCESS)
            OCISessionEnd(broken_service, db.errors, session, OCI_DEFAULT);
        OCIHandleFree(session, OCI_HTYPE_SESSION);
    }
    ASSERT_EQ(setitimer(ITIMER_REAL, &never, nullptr), 0);
    ASSERT_EQ(sigaction(SIGALRM, &before, nullptr), 0);
    EXPECT_EQ(OCIBreak(broken_service, break_errors), OCI_ERROR);
    EXPECT_EQ(error_code(break_errors), 1012);
}

} // namespace
} // namespace sqlite_oci_test
