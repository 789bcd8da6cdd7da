// Cursors in a select list: statement handles that a fetch opens.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

class cursor_test : public sqlite_oci_test
{
protected:
    cursor_test()
    {
        db.run_all({"CREATE TABLE dept (id NUMBER, name VARCHAR2(10), code CHAR(4))",
                    "CREATE TABLE emp (name VARCHAR2(10), dept NUMBER, code CHAR(6), pay NUMBER)",
                    "INSERT INTO dept VALUES (1, 'one', 'a')", "INSERT INTO dept VALUES (2, 'two', 'b')",
                    "INSERT INTO dept VALUES (3, 'none', 'c')",
                    "INSERT INTO emp VALUES ('ann', 1, 'a', 12345678901234567890.5)",
                    "INSERT INTO emp VALUES ('bob', 1, 'a', 10)",
                    "INSERT INTO emp VALUES ('cid', 2, 'b', 20)"});
    }

    // What is left of a statement's first column, texts with commas between them.
    std::string rest_of(const prepared &of, ub4 column = 1) const
    {
        std::string all;
        char value[40];
        of.out(column, value, SQLT_STR);
        sword status = of.fetch(1);
        for (; status == OCI_SUCCESS; status = of.fetch(1))
            all += (all.empty() ? "" : ",") + std::string(value);
        EXPECT_EQ(status, OCI_NO_DATA) << db.message();
        return all;
    }

    // The texts that a query's cursors yield, row by row. The cursor is the second of two columns.
    std::string each(std::string_view sql) const
    {
        const prepared query(db, sql), inner(db, "SELECT 1 FROM dual");
        OCIStmt *handle = inner.handle;
        query.out(2, handle, SQLT_RSET);
        std::string all;
        sword status = query.execute(0);
        while (status == OCI_SUCCESS && (status = query.fetch(1)) == OCI_SUCCESS)
            all += rest_of(inner) + ";";
        return status == OCI_NO_DATA ? all : "ORA-" + std::to_string(db.code());
    }
};

TEST_F(cursor_test, is_opened_by_a_fetch_and_stands_on_its_own)
{
    const prepared query(db, "select d.id, cursor(select e.name, e.pay from emp e where e.dept = d.id "
                             "order by e.name) staff from dept d where id < :most order by d.id");
    const prepared inner(db, "SELECT 1 FROM dual"), other(db, "SELECT 1 FROM dual");
    OCIStmt *handles[] = {inner.handle, other.handle, inner.handle};
    sb4 most = 4, id = 0;
    sb2 indicator = 99;
    query.in("most", most, SQLT_INT).out(1, id, SQLT_INT).out(2, handles, SQLT_RSET, &indicator);
    ASSERT_TRUE(db.succeeds(query.execute(0)));
    most = 0;
    OCIParam *column = nullptr;
    ub2 type = 0;
    ASSERT_EQ(OCIParamGet(query.handle, OCI_HTYPE_STMT, db.errors, reinterpret_cast<void **>(&column), 2), 0);
    ASSERT_EQ(OCIAttrGet(column, OCI_DTYPE_PARAM, &type, nullptr, OCI_ATTR_DATA_TYPE, db.errors), 0);
    EXPECT_EQ(type, SQLT_RSET);

    ASSERT_TRUE(db.succeeds(query.fetch(1)));
    EXPECT_EQ(indicator, OCI_IND_NOTNULL);
    EXPECT_EQ(inner.attribute<ub4>(OCI_ATTR_PARAM_COUNT), 2);
    EXPECT_EQ(inner.attribute<ub2>(OCI_ATTR_STMT_TYPE), OCI_STMT_SELECT);
    ASSERT_EQ(OCIParamGet(inner.handle, OCI_HTYPE_STMT, db.errors, reinterpret_cast<void **>(&column), 2), 0);
    ASSERT_EQ(OCIAttrGet(column, OCI_DTYPE_PARAM, &type, nullptr, OCI_ATTR_DATA_TYPE, db.errors), 0);
    EXPECT_EQ(type, SQLT_NUM);
    char name[10], pay[40];
    inner.out(1, name, SQLT_STR).out(2, pay, SQLT_STR);
    ASSERT_TRUE(db.succeeds(inner.fetch(1)));
    EXPECT_STREQ(pay, "12345678901234567890.5");
    EXPECT_TRUE(db.fails(inner.execute(0), 1003)) << "it has no statement of its own";
    EXPECT_EQ(most, 0) << "what the variable holds now is not used";

    // The next row goes into the other handle; then the outer query ends, and its handle is used anew.
    handles[0] = other.handle;
    ASSERT_TRUE(db.succeeds(query.fetch(1)));
    EXPECT_EQ(id, 2);
    EXPECT_EQ(rest_of(inner), "bob");
    handles[0] = inner.handle;
    ASSERT_TRUE(db.succeeds(query.fetch(1)));
    EXPECT_EQ(rest_of(inner), "") << "it was opened again";
    EXPECT_EQ(query.fetch(1), OCI_NO_DATA);
    EXPECT_EQ(rest_of(other), "cid");

    // Arrays of handles, in the execution itself.
    const prepared many(db, "select cursor(select name from emp where dept = d.id order by 1) from dept d "
                            "order by id");
    handles[1] = query.handle;
    handles[2] = other.handle;
    many.out(1, handles, SQLT_RSET);
    ASSERT_TRUE(db.succeeds(many.execute(3)));
    EXPECT_EQ(rest_of(inner), "ann,bob");
    EXPECT_EQ(rest_of(query), "cid");
    EXPECT_EQ(rest_of(other), "");
}

TEST_F(cursor_test, queries_see_what_is_around_them)
{
    const struct {
        const char *sql, *texts;
    } cases[] = {
        {"select id, cursor(select name from emp where code = d.code order by 1) from dept d order by id",
         "ann,bob;cid;;"},
        {"select 1, cursor(select name from emp order by pay desc) from dual", "ann,cid,bob;"},
        {"select 1, cursor(select x.name || d.name from (select name from emp where dept = d.id) x "
         "order by 1) from dept d where id < 3 order by id",
         "annone,bobone;cidtwo;"},
        {"with d as (select id from dept where id < 3) select id, cursor(select count(*) from d, emp "
         "where emp.dept = d.id) from d",
         "3;3;"},
        {"with d as (select 1 a from dual) select 1, cursor(with e as (select 2 a from dual) select d.a + e.a "
         "from d, e) from dual",
         "3;"},
        {"select 1, cursor(select rowid from emp where rowid = e.rowid) from emp e where 1 = 0", ""},
        {"select 1, cursor(select e.name from emp where rowid = e.rowid) from emp e order by name",
         "ann;bob;cid;"},
        {"select level, cursor(select level from dual) from dual connect by level <= 3", "1;2;3;"},
        {"select dept, cursor(select sum(pay) from emp where dept = x.dept) from (select distinct dept from emp)"
         " x where dept = 2",
         "20;"},
        {"select 1, cursor(select dummy from dual union all select to_char(d.id) from dual) from dept d "
         "where rownum < 2",
         "X,1;"},
        // Where no cursor can stand.
        {"select 1, cursor(select 1 from dual) from dual union all select 2, null from dual", "ORA-22902"},
        {"select distinct 1, cursor(select 1 from dual) from dual", "ORA-22902"},
        {"select 1, 2 from dual where cursor(select 1 from dual) is null", "ORA-22902"},
        {"select 1, c from (select cursor(select 1 from dual) c from dual)", "ORA-22902"},
        {"select 1, cursor(select 1 from dual) from dual for update", "ORA-2014"},
        {"select 1, cursor(select nosuch from dual) from dual", "ORA-904"},
        {"select 1, cursor(select 1 / (d.id - 1) from dual) from dept d order by id", "ORA-1476"},
        {"select 1, 2 from dual", "ORA-932"},
    };
    for (const auto &one : cases)
        EXPECT_EQ(each(one.sql), one.texts) << one.sql;
    EXPECT_EQ(db.run("create view v as select cursor(select 1 from dual) c from dual"), 22902);
}

TEST_F(cursor_test, may_hold_cursors)
{
    const prepared query(db,
                         "select cursor(select e.name, cursor(select d.name || ' ' || e.name || :mark "
                         "from dual) from emp e where e.dept = d.id order by 1) from dept d where id = :id");
    const prepared middle(db, "SELECT 1 FROM dual"), inner(db, "SELECT 1 FROM dual");
    OCIStmt *outer_handle = middle.handle, *inner_handle = inner.handle;
    char mark[] = "!";
    sb4 id = 1;
    query.in("mark", mark, SQLT_STR).in("id", id, SQLT_INT).out(1, outer_handle, SQLT_RSET);
    ASSERT_TRUE(db.succeeds(query.execute(1)));
    mark[0] = '?';
    middle.out(2, inner_handle, SQLT_RSET);
    ASSERT_TRUE(db.succeeds(middle.fetch(1)));
    EXPECT_EQ(rest_of(inner), "one ann!");
    ASSERT_TRUE(db.succeeds(middle.fetch(1)));
    EXPECT_EQ(rest_of(inner), "one bob!");
}

TEST_F(cursor_test, needs_a_statement_handle_of_its_own)
{
    const prepared query(db, "select cursor(select 1 from dual) from dual");
    OCIStmt *handle = query.handle;
    char value[10];
    query.out(1, value, SQLT_STR);
    EXPECT_TRUE(db.fails(query.execute(1), 932));
    query.out(1, handle, SQLT_RSET);
    EXPECT_TRUE(db.fails(query.execute(1), 1023));
    OCIStmt *nothing = nullptr;
    query.out(1, nothing, SQLT_RSET);
    EXPECT_TRUE(db.fails(query.execute(1), 1023));
    const prepared inner(db, "SELECT 1 FROM dual");
    OCIStmt *other = inner.handle;
    query.out(1, other, SQLT_RSET);
    ASSERT_TRUE(db.succeeds(query.execute(0)));
    {
        const connected_client elsewhere;
        ASSERT_EQ(OCIStmtExecute(elsewhere.service, query.handle, elsewhere.errors, 0, 0, nullptr, nullptr,
                                 OCI_DEFAULT),
                  OCI_SUCCESS);
    }
    EXPECT_TRUE(db.fails(query.fetch(1), 3114)) << "the session is over";
}

} // namespace
} // namespace sqlite_oci_test
