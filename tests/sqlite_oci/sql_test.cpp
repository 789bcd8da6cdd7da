// Statements as a program runs them: what is known of their texts, what they do, and how they fail.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

class sql : public sqlite_oci_test
{
};

TEST_F(sql, preparation_tells_kind_and_bind_variables_without_a_connection)
{
    const std::tuple<const char *, ub2, ub2, ub4> cases[] = {
        {"select 1 from dual", OCI_STMT_SELECT, 4, 0},
        {"  /* a */ -- b\n SELECT :a, :A, :b1 FROM t", OCI_STMT_SELECT, 4, 3},
        {"WITH x AS (SELECT :1 FROM t) SELECT * FROM x", OCI_STMT_SELECT, 4, 1},
        {"INSERT INTO t WITH x AS (SELECT 1 FROM dual) SELECT * FROM x", OCI_STMT_INSERT, 3, 0},
        {"INSERT INTO t VALUES (':no', \":no\", :yes, 'it''s :no')", OCI_STMT_INSERT, 3, 1},
        {"UPDATE t SET a = :a -- :no\n WHERE b = :b /* :no */", OCI_STMT_UPDATE, 5, 2},
        {"DELETE FROM t WHERE a=:1 AND b=:2", OCI_STMT_DELETE, 9, 2},
        {"MERGE INTO t USING s ON (1=1)", 16, 189, 0},
        {"CREATE TABLE t (a NUMBER)", OCI_STMT_CREATE, 1, 0},
        {"CREATE UNIQUE INDEX i ON t (a)", OCI_STMT_CREATE, 20, 0},
        {"CREATE TRIGGER r AFTER INSERT ON t BEGIN UPDATE t SET a = :new.x; END", OCI_STMT_CREATE, 0, 0},
        {"DROP VIEW v", OCI_STMT_DROP, 7, 0},
        {"ALTER TABLE t ADD b NUMBER", OCI_STMT_ALTER, 26, 0},
        {"BEGIN :x := 1; END;", OCI_STMT_BEGIN, 34, 1},
        {"DECLARE n NUMBER; BEGIN n := 1; END;", OCI_STMT_DECLARE, 34, 0},
        {"CALL p(:a)", OCI_STMT_CALL, 0, 1},
        {"EXPLAIN QUERY PLAN SELECT 1", OCI_STMT_SELECT, 27, 0},
        {"", OCI_STMT_UNKNOWN, 0, 0},
    };
    for (const auto &[text, type, function_code, binds] : cases) {
        SCOPED_TRACE(text);
        const prepared statement(db, text);
        EXPECT_EQ(statement.attribute<ub2>(OCI_ATTR_STMT_TYPE), type);
        EXPECT_EQ(statement.attribute<ub2>(OCI_ATTR_SQLFNCODE), function_code);
        EXPECT_EQ(statement.attribute<ub4>(OCI_ATTR_BIND_COUNT), binds);
        EXPECT_STREQ(statement.attribute<const char *>(OCI_ATTR_STATEMENT), text);
    }
}

TEST_F(sql, failures_have_the_numbers_that_programs_test_for)
{
    const char *table = "CREATE TABLE t (id NUMBER PRIMARY KEY, name VARCHAR2(9) NOT NULL, "
                        "n NUMBER CHECK (n < 10), up NUMBER REFERENCES parent)";
    db.run_all({"CREATE TABLE parent (id NUMBER PRIMARY KEY)", table, "CREATE VIEW v AS SELECT id FROM t",
                "INSERT INTO parent VALUES (1)", "INSERT INTO t VALUES (1, 'one', 1, 1)"});
    const std::pair<const char *, int> cases[] = {
        {"SELECT * FROM missing", 942},     {"INSERT INTO t (missing) VALUES (1)", 904},
        {"SELECT missing FROM t", 904},     {"INSERT INTO t VALUES (1, 'again', 1, 1)", 1},
        {"SELECT missing(1) FROM t", 904},  {"INSERT INTO t VALUES (2, NULL, 1, 1)", 1400},
        {"UPDATE t SET name = NULL", 1407}, {"INSERT INTO t VALUES (2, 'two', 10, 1)", 2290},
        {"DELETE FROM parent", 2292},       {"INSERT INTO t VALUES (2, 'two', 1, 2)", 2291},
        {"INSERT INTO t VALUES (1)", 947},  {"INSERT INTO parent VALUES (1, 2)", 913},
        {"CREATE TABLE t (a NUMBER)", 955}, {"INSERT INTO parent (id) VALUES (1, 2)", 913},
        {"DROP TABLE missing", 942},        {"SELECT p.id FROM t p, t q WHERE id = 1", 918},
        {"DROP INDEX missing", 1418},       {"", 900},
        {"FETCH ALL THINGS", 900},          {"SELECT FROM t", 936},
        {"SELECT * FORM t", 923},           {"SELECT id FROM t WHERE id = 1 nonsense and more", 933},
        {"SELECT 1; SELECT 2", 911},        {"SELECT sum(sum(id)) FROM t", 978},
        {"SELECT \"open FROM t", 1740},     {"SELECT id FROM t UNION SELECT id, n FROM t", 1789},
        {"SELECT id FROM t WHERE", 936},    {"SELECT id FROM t ORDER BY 7", 1785},
        {"UPDATE v SET id = 3", 1732},      {"SELECT to_number('x') FROM dual", 1722},
        {"SELECT ? FROM dual", 911},        {"SELECT to_date('x', 'YYYY-MM-DD') FROM dual", 1858},
        {"BEGIN IF 1; END;", 3001},         {"SELECT to_char(1, 'quux') FROM dual", 1481},
    };
    for (const auto &[text, code] : cases) {
        EXPECT_EQ(db.run(text), code) << text << "\n" << db.message();
        const std::string number = std::to_string(100000 + code).substr(1);
        EXPECT_TRUE(db.message().starts_with("ORA-" + number + ": ")) << db.message();
    }
}

TEST_F(sql, offset_of_a_syntax_error_is_that_in_the_text)
{
    const std::pair<std::string_view, ub2> cases[] = {
        {"SELECT :bind, missing FROM dual", 14},
        {"SELECT * FROM missing", 14},
        {"SELECT 1 FROM dual; SELECT 2", 18},
    };
    for (const auto &[text, offset] : cases) {
        const prepared statement(db, text);
        EXPECT_EQ(statement.execute(1), OCI_ERROR);
        EXPECT_EQ(statement.attribute<ub2>(OCI_ATTR_PARSE_ERROR_OFFSET), offset) << text;
    }
}

TEST_F(sql, changes_stay_in_their_transaction_until_it_ends)
{
    const connected_client other;
    const std::string count = "SELECT count(*) FROM t";
    db.run_all({"CREATE TABLE t (a NUMBER)", "INSERT INTO t VALUES (1)"});
    EXPECT_EQ(db.ask(count), "1");
    EXPECT_EQ(other.ask(count), "0") << "reading needs no lock that a writer holds";
    EXPECT_EQ(other.run("INSERT INTO t VALUES (2)"), 54);
    EXPECT_EQ(other.ask("SELECT a FROM t FOR UPDATE"), "ORA-54");
    EXPECT_EQ(db.commit(), OCI_SUCCESS);
    EXPECT_EQ(other.ask(count), "1");
    EXPECT_EQ(other.run("INSERT INTO t VALUES (2)"), 0) << other.message();
    EXPECT_EQ(other.roll_back(), OCI_SUCCESS);

    db.run_all({"UPDATE t SET a = 2"});
    EXPECT_EQ(db.roll_back(), OCI_SUCCESS);
    EXPECT_EQ(db.ask("SELECT a FROM t"), "1");
    ASSERT_EQ(db.run("INSERT INTO t VALUES (3)", OCI_COMMIT_ON_SUCCESS), 0);
    EXPECT_EQ(other.ask(count), "2");
    db.run_all({"INSERT INTO t VALUES (4)", "CREATE TABLE u (a NUMBER)"});
    EXPECT_EQ(other.ask(count), "3") << "a definition commits what came before";

    db.run_all({"INSERT INTO t VALUES (5)", "SAVEPOINT here", "INSERT INTO t VALUES (6)", "ROLLBACK TO here",
                "COMMIT"});
    EXPECT_EQ(other.ask("SELECT max(a) FROM t"), "5");
    EXPECT_EQ(db.commit(), OCI_SUCCESS) << "nothing to commit is no error";
}

TEST_F(sql, what_changes_nothing_or_only_reads_leaves_no_lock)
{
    const connected_client other;
    db.run_all({"CREATE TABLE t (a NUMBER PRIMARY KEY)", "INSERT INTO t VALUES (1)", "COMMIT"});
    EXPECT_EQ(db.run("INSERT INTO t VALUES (1)"), 1);
    EXPECT_EQ(db.run("DELETE FROM t WHERE a = 5"), 0);
    const prepared query(db, "SELECT a FROM t");
    ASSERT_EQ(query.execute(0), OCI_SUCCESS);
    EXPECT_EQ(other.run("INSERT INTO t VALUES (2)", OCI_COMMIT_ON_SUCCESS), 0) << other.message();
}

TEST_F(sql, describing_and_parsing_do_not_execute)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER, b NUMBER)"), 0);
    const prepared change(db, "INSERT INTO t VALUES (1, 2)");
    EXPECT_EQ(change.execute(1, OCI_PARSE_ONLY), OCI_SUCCESS);
    EXPECT_EQ(db.ask("SELECT count(*) FROM t"), "0");
    const prepared query(db, "SELECT a, b, :x FROM t");
    EXPECT_EQ(query.execute(0, OCI_DESCRIBE_ONLY), OCI_SUCCESS) << "needs no binds";
    EXPECT_EQ(query.attribute<ub4>(OCI_ATTR_PARAM_COUNT), 3u);
    EXPECT_TRUE(db.fails(query.fetch(1), 24374));
    EXPECT_EQ(db.run("SELECT a FROM missing", OCI_PARSE_ONLY), 942);
}

TEST_F(sql, row_count_and_state_follow_execution)
{
    ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER)"), 0);
    const prepared change(db, "INSERT INTO t VALUES (1), (2), (3)");
    EXPECT_EQ(change.attribute<ub4>(OCI_ATTR_STMT_STATE), 1u);
    for (const ub4 times : {1u, 2u}) {
        ASSERT_EQ(change.execute(times), OCI_SUCCESS);
        EXPECT_EQ(change.attribute<ub4>(OCI_ATTR_ROW_COUNT), times * 3);
        EXPECT_EQ(change.attribute<ub4>(OCI_ATTR_STMT_STATE), 2u);
    }
    EXPECT_TRUE(db.fails(change.execute(0), 24333));
}

} // namespace
} // namespace sqlite_oci_test
