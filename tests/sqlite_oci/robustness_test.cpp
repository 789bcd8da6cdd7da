// What must neither lose data nor crash: texts that reach further than they may, refused values and commits,
// statements and descriptors in other states than a program thinks.
#include "client.h"

#include <atomic>
#include <csignal>
#include <thread>

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
        {"ATTACH DATABASE " + other + " AS other", 900},
        {"ATTACH DATABASE '' AS other", 900},
        {"PRAGMA writable_schema = 1", 900},
        {"PRAGMA journal_mode = OFF", 900},
        {"PRAGMA foreign_keys = OFF", 900},
        {"PRAGMA temp_store_directory = '/'", 900},
        {"UPDATE sqlite_schema SET sql = ''", 942},
        {"SELECT load_extension('x') FROM dual", 904},
        {"END", 900},
        {"DELETE FROM t\0 WHERE a = 1"s, 0}, // a blank
        {"ROLLBACK\0 TO s"s, 1086},
        {"SELECT a FROM t\0"s, 0},
        {"SELECT a FROM t WHERE '\0' = '0'"s, 911},
    };
    EXPECT_EQ(db.run("VACUUM INTO '" + (directory.path() / "copy.db").string() + "'"), 900);
    ASSERT_EQ(db.run("UPDATE t SET a = 2"), 0);
    for (const auto &[sql, code] : cases)
        EXPECT_EQ(db.run(sql), code) << sql << ": " << db.message();
    EXPECT_EQ(db.ask("SELECT a FROM t"), "2") << "nothing was ended or deleted";
    EXPECT_EQ(db.ask("SELECT column_name FROM user_tab_columns WHERE table_name = 'T'"), "A");
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
    ASSERT_EQ(write(select("SELECT c FROM t WHERE length(c) = 1 FOR UPDATE"), too_long), OCI_SUCCESS);
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

TEST_F(robustness, a_refused_commit_tells_on_which_side_the_key_is_broken)
{
    db.run_all({"CREATE TABLE p (id NUMBER PRIMARY KEY)",
                "CREATE TABLE c (id NUMBER REFERENCES p (id) DEFERRABLE INITIALLY DEFERRED)",
                "INSERT INTO p VALUES (1)", "INSERT INTO c VALUES (1)", "COMMIT"});
    const struct {
        const char *statement;
        const char *number;
    } cases[] = {
        {"INSERT INTO c VALUES (5)", "ORA-02291"},
        {"UPDATE c SET id = 6", "ORA-02291"},
        {"DELETE FROM p", "ORA-02292"},
        {"UPDATE p SET id = 2", "ORA-02292"},
        {"BEGIN INSERT INTO p VALUES (3); INSERT INTO c VALUES (3); DELETE FROM p WHERE id = 3; END;",
         "ORA-02291"},
    };
    for (const auto &one : cases) {
        ASSERT_EQ(db.run(one.statement), 0) << one.statement << ": " << db.message();
        EXPECT_TRUE(db.fails(db.commit(), 2091)) << one.statement;
        EXPECT_NE(db.message().find(one.number), std::string::npos) << one.statement << ": " << db.message();
    }
    EXPECT_EQ(db.ask("SELECT p.id || c.id FROM p, c"), "11");
}

TEST_F(robustness, a_refused_change_tells_on_which_side_the_key_is_broken)
{
    db.run_all(
        {"CREATE TABLE top (id NUMBER PRIMARY KEY)",
         "CREATE TABLE mid (id NUMBER PRIMARY KEY, top NUMBER REFERENCES top, over NUMBER REFERENCES mid)",
         "CREATE TABLE low (mid NUMBER REFERENCES mid (id))",
         "CREATE TABLE later (mid NUMBER REFERENCES mid DEFERRABLE INITIALLY DEFERRED)",
         "INSERT INTO top VALUES (1)", "INSERT INTO top VALUES (2)", "INSERT INTO mid VALUES (1, 1, NULL)",
         "INSERT INTO mid VALUES (2, 1, 1)", "INSERT INTO low VALUES (2)", "COMMIT",
         "INSERT INTO later VALUES (77)"});
    const std::pair<const char *, int> cases[] = {
        {"UPDATE top SET id = 3 WHERE id = 1", 2292},
        {"DELETE FROM top WHERE id = 1", 2292},
        {"UPDATE low SET mid = 4", 2291},
        {"INSERT INTO low VALUES (4)", 2291},
        {"UPDATE mid SET id = 4 WHERE id = 2", 2292},
        {"UPDATE mid SET id = 4 WHERE id = 1", 2292},
        {"UPDATE mid SET top = 4 WHERE id = 2", 2291},
        {"UPDATE mid SET over = 4", 2291},
        {"UPDATE mid SET id = 4, top = 2 WHERE id = 2", 2292},
        {"DELETE FROM mid WHERE id = 1", 2292},
        {"BEGIN UPDATE top SET id = 5 WHERE id = 2; UPDATE mid SET id = 9 WHERE id = 2; END;", 2292},
        {"MERGE INTO mid m USING (SELECT 2 a, 9 b FROM dual) s ON (m.id = s.a) WHEN MATCHED THEN UPDATE SET "
         "top = s.b",
         2291},
        {"UPDATE mid SET id = id + 10, over = over + 10 WHERE id < 0", 0},
    };
    for (const auto &[sql, code] : cases)
        EXPECT_EQ(db.run(sql), code) << sql << ": " << db.message();
    EXPECT_EQ(
        db.ask("SELECT listagg(id || ' ' || top || ' ' || over, ',') WITHIN GROUP (ORDER BY id) FROM mid"),
        "1 1 ,2 1 1");
    EXPECT_TRUE(db.fails(db.commit(), 2091)) << "the deferred key is broken as before";
}

TEST_F(robustness, a_kept_query_for_update_sees_the_table_as_it_is)
{
    db.run_all({"CREATE TABLE t (c CLOB, k NUMBER)", "INSERT INTO t VALUES ('first', 1)",
                "INSERT INTO t VALUES ('second', 2)", "COMMIT"});
    const connected_client other;
    const prepared query(db, "SELECT * FROM t WHERE k = 1 FOR UPDATE");
    OCILobLocator *value = locator();
    ASSERT_TRUE(db.succeeds(query.define(1, &value, -1, SQLT_CLOB)));
    ub4 columns = 2;
    for (const connected_client *const by : {static_cast<const connected_client *>(&db), &other}) {
        ASSERT_TRUE(db.succeeds(query.execute(1)));
        EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), columns);
        ASSERT_EQ(db.roll_back(), OCI_SUCCESS);
        const std::string added = "x" + std::to_string(++columns);
        ASSERT_EQ(by->run("ALTER TABLE t ADD " + added + " NUMBER DEFAULT 2"), 0) << by->message();
        ASSERT_TRUE(db.succeeds(query.execute(1)));
        EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), columns);
        void *last = nullptr;
        EXPECT_TRUE(db.succeeds(OCIParamGet(query.handle, OCI_HTYPE_STMT, db.errors, &last, columns)));
        ASSERT_EQ(write(value, "by " + added), OCI_SUCCESS);
        ASSERT_EQ(db.commit(), OCI_SUCCESS);
        EXPECT_EQ(db.ask("SELECT group_concat(c) FROM t"), "by " + added + ",second");
    }
    ASSERT_EQ(other.run("ALTER TABLE t ADD z NUMBER"), 0);
    ASSERT_TRUE(db.succeeds(query.execute(0, OCI_DESCRIBE_ONLY)));
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), columns + 1);
    db.run_all({"DROP TABLE t", "CREATE TABLE s (c CLOB, k NUMBER)", "INSERT INTO s VALUES ('kept', 1)",
                "CREATE VIEW t AS SELECT c, k FROM s"});
    ASSERT_TRUE(db.succeeds(query.execute(1))) << "it is a query all the same";
    EXPECT_EQ(write(value, "lost"), OCI_ERROR) << "but locks no row that it knows";
    EXPECT_EQ(db.ask("SELECT c FROM s"), "kept");
}

TEST_F(robustness, locators_follow_what_sql_does_to_their_row)
{
    const std::string row = "INSERT INTO t VALUES (1, 'abcdef')";
    db.run_all({"CREATE TABLE t (id INTEGER PRIMARY KEY, c CLOB)", row, "COMMIT"});
    const struct {
        std::vector<std::string> statements;
        std::string expected; // the row's value, after a write; nothing where its row is another one
    } cases[] = {
        {{"UPDATE t SET c = 'by SQL'"}, "!! SQL"},
        {{"UPDATE t SET id = 1"}, "!!cdef"},
        {{"SAVEPOINT s", "UPDATE t SET c = 'by SQL'", "ROLLBACK TO s"}, "!!cdef"},
        {{"DELETE FROM t", row}, ""},
        {{"DELETE FROM t WHERE id = 1", row}, ""},
        {{"CREATE TABLE u (id NUMBER)"}, ""}, // commits
    };
    for (const auto &[statements, expected] : cases) {
        SCOPED_TRACE(statements.front());
        OCILobLocator *const value = select("SELECT c FROM t WHERE id = 1 FOR UPDATE");
        ASSERT_EQ(write(value, "X"), OCI_SUCCESS);
        ASSERT_EQ(db.run("UPDATE t SET c = 'abcdef'"), 0);
        for (const std::string &sql : statements)
            ASSERT_EQ(db.run(sql), 0) << db.message();
        EXPECT_EQ(write(value, "!!"), expected.empty() ? OCI_ERROR : OCI_SUCCESS);
        EXPECT_EQ(db.ask("SELECT c FROM t WHERE id = 1"), expected.empty() ? "abcdef" : expected);
        ASSERT_EQ(db.roll_back(), OCI_SUCCESS);
    }
}

// What the callback of a read finds out; its locator stays as it is.
struct visit {
    const connected_client &client;
    OCILobLocator *locator;
    std::vector<int> codes;
};

TEST_F(robustness, a_callback_does_not_wait_for_its_own_call)
{
    OCILobLocator *const value = locator();
    ASSERT_TRUE(db.succeeds(OCILobCreateTemporary(db.service, db.errors, value, 0, SQLCS_IMPLICIT,
                                                  OCI_TEMP_CLOB, 0, OCI_DURATION_SESSION)));
    ASSERT_EQ(write(value, "abc"), OCI_SUCCESS);
    const connected_client other;
    visit seen{db, value, {}};
    char buffer[2];
    ub4 amount = 0;
    const auto call_back = [](void *context, const void *, ub4, ub1) -> sb4 {
        auto &[client, locator, codes] = *static_cast<visit *>(context);
        int is_set = 0;
        codes.push_back(client.run("SELECT 1 FROM dual"));
        codes.push_back(OCILogoff(client.service, client.errors) == OCI_ERROR ? client.code() : 0);
        codes.push_back(OCIDescriptorFree(locator, OCI_DTYPE_LOB));
        codes.push_back(OCIHandleFree(client.session, OCI_HTYPE_SESSION));
        codes.push_back(OCILobLocatorIsInit(client.env, client.errors, locator, &is_set));
        codes.push_back(connected_client().run("SELECT 1 FROM dual"));
        return OCI_CONTINUE;
    };
    ASSERT_TRUE(db.succeeds(OCILobRead(db.service, db.errors, value, &amount, 1, buffer, sizeof buffer, &seen,
                                       call_back, 0, SQLCS_IMPLICIT)));
    const std::vector<int> each{3127, 3127, OCI_ERROR, OCI_ERROR, 0, 0};
    std::vector<int> twice = each;
    twice.insert(twice.end(), each.begin(), each.end());
    EXPECT_EQ(seen.codes, twice);
    EXPECT_EQ(db.ask("SELECT 'on' FROM dual"), "on");
}

TEST_F(robustness, a_lob_is_opened_without_a_lock_and_read_when_empty)
{
    db.run_all({"CREATE TABLE t (c CLOB)", "INSERT INTO t VALUES (empty_clob())", "COMMIT"});
    OCILobLocator *const value = select("SELECT c FROM t");
    EXPECT_TRUE(db.succeeds(OCILobOpen(db.service, db.errors, value, OCI_LOB_READWRITE)));
    EXPECT_EQ(write(value, "x"), OCI_ERROR);
    EXPECT_EQ(db.code(), 22920);
    EXPECT_TRUE(db.succeeds(OCILobClose(db.service, db.errors, value)));
    char buffer[10];
    for (const auto &[offset, expected] : {std::pair{1U, OCI_SUCCESS}, {2U, OCI_NO_DATA}}) {
        ub4 amount = 5;
        EXPECT_EQ(OCILobRead(db.service, db.errors, value, &amount, offset, buffer, sizeof buffer, nullptr,
                             nullptr, 0, SQLCS_IMPLICIT),
                  expected);
        EXPECT_EQ(amount, 0u);
    }
}

// Runs `work(number)` in some threads, and waits for all.
template <class Work> void in_threads(Work work)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
        threads.emplace_back(work, number);
    for (std::thread &one : threads)
        one.join();
}

TEST_F(robustness, threads_of_a_session_share_what_they_lock)
{
    constexpr ub4 size = 20'000;
    db.run_all(
        {"CREATE TABLE t (id NUMBER, c CLOB)", "INSERT INTO t VALUES (1, rpad('x', 20000, 'x'))", "COMMIT"});
    std::atomic<int> wrong = 0;
    in_threads([&](int) {
        auto *const errors = allocate<OCIError>(db.env, OCI_HTYPE_ERROR);
        auto *const query = allocate<OCIStmt>(db.env, OCI_HTYPE_STMT);
        OCILobLocator *value = locator();
        OCIDefine *defined = nullptr;
        constexpr std::string_view sql = "SELECT c FROM t WHERE id = 1 FOR UPDATE";
        wrong += OCIStmtPrepare(query, errors, text(sql), sql.size(), OCI_NTV_SYNTAX, OCI_DEFAULT) != 0;
        wrong += OCIDefineByPos(query, &defined, errors, 1, &value, 8, SQLT_CLOB, nullptr, nullptr, nullptr,
                                OCI_DEFAULT) != 0;
        std::string read(size + 100, '\0');
        for (int round = 0; round < 40; ++round) {
            wrong += OCIStmtExecute(db.service, query, errors, 0, 0, nullptr, nullptr, OCI_DEFAULT) != 0;
            wrong += OCIStmtFetch2(query, errors, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT) != 0;
            ub4 amount = 1;
            char same = 'x';
            wrong += OCILobWrite(db.service, errors, value, &amount, size / 2, &same, 1, OCI_ONE_PIECE,
                                 nullptr, nullptr, 0, SQLCS_IMPLICIT) != 0;
            amount = 0;
            wrong += OCILobRead(db.service, errors, value, &amount, 1, read.data(), size + 100, nullptr,
                                nullptr, 0, SQLCS_IMPLICIT) != 0;
            wrong += amount != size || read.find_first_not_of('x') != size;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(robustness, sessions_read_through_copies_of_one_locator)
{
    db.run_all(
        {"CREATE TABLE t (c CLOB)", "INSERT INTO t VALUES (rpad('\xC3\xA9', 10000, '\xC3\xA9'))", "COMMIT"});
    OCILobLocator *const original = select("SELECT c FROM t");
    std::atomic<int> wrong = 0;
    in_threads([&](int number) {
        const connected_client own;
        void *made = nullptr;
        wrong += OCIDescriptorAlloc(own.env, &made, OCI_DTYPE_LOB, 0, nullptr) != 0;
        auto *copy = static_cast<OCILobLocator *>(made);
        wrong += OCILobAssign(own.env, own.errors, original, &copy) != 0;
        char buffer[400];
        for (ub4 round = 0; round < 300; ++round) {
            ub4 amount = 50;
            const ub4 offset = 1 + round * 7919 * static_cast<ub4>(number + 1) % 9900;
            wrong += OCILobRead(own.service, own.errors, copy, &amount, offset, buffer, sizeof buffer,
                                nullptr, nullptr, 0, SQLCS_IMPLICIT) != 0;
            wrong += amount != 100;
        }
    });
    EXPECT_EQ(wrong, 0);
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
