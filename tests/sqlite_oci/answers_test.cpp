// Answers that servers' documentation promises, in tables: expressions first, then statements one after
// another.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

class answers : public sqlite_oci_test
{
protected:
    // The rows of a query as "a|b;c|d" with nothing for null, the number of rows that a change made, "ORA-n".
    std::string answer(std::string_view sql) const
    {
        constexpr ub4 most_columns = 8;
        const prepared statement(db, sql);
        const bool is_query = statement.attribute<ub2>(OCI_ATTR_STMT_TYPE) == OCI_STMT_SELECT;
        if (statement.execute(is_query ? 0 : 1) != OCI_SUCCESS)
            return "ORA-" + std::to_string(db.code());
        if (!is_query)
            return std::to_string(statement.attribute<ub4>(OCI_ATTR_ROW_COUNT));
        const auto columns = statement.attribute<ub4>(OCI_ATTR_PARAM_COUNT);
        char values[most_columns][400];
        sb2 states[most_columns];
        for (ub4 i = 0; i < columns; ++i)
            statement.out(i + 1, values[i], SQLT_STR, &states[i]);
        std::string result;
        sword status = OCI_SUCCESS;
        for (ub4 row = 0; (status = statement.fetch(1)) == OCI_SUCCESS; ++row)
            for (ub4 i = 0; i < columns; ++i) {
                result += i ? "|" : row ? ";" : "";
                result += states[i] == OCI_IND_NULL ? "" : values[i];
            }
        return status == OCI_NO_DATA ? result : "ORA-" + std::to_string(db.code());
    }
};

using answer_table = std::pair<const char *, const char *>;

TEST_F(answers, of_expressions)
{
    const answer_table cases[] = {
        // Arithmetic
        {"1/2", ".5"},
        {"-1/4", "-.25"},
        {"1/3", ".3333333333333333333333333333333333333333"},
        {"2/3*3", "2"},
        {"1/0", "ORA-1476"},
        {".1+.2", ".3"},
        {"1 - 0.9", ".1"},
        {"99999999999999999999999999999999999999 - 1", "99999999999999999999999999999999999998"},
        {"9223372036854775807 + 1", "9223372036854775808"},
        {"3000000000 * 4000000000", "12000000000000000000"},
        {"12345678901234567890.123456789 * 2", "24691357802469135780.246913578"},
        {"7 - 2 * 3", "1"},
        {"-(-5)", "5"},
        {"1e3 + 1", "1001"},
        {"'5' + 1", "6"},
        {"'abc' + 1", "ORA-1722"},
        {"null + 1", ""},
        {"mod(7, 0)", "7"},
        {"mod(-7, 3)", "-1"},
        {"mod(7.5, 2)", "1.5"},
        {"abs(-3.5)", "3.5"},
        {"sign(-2)", "-1"},
        {"ceil(1.2) || '/' || floor(-1.2)", "2/-2"},
        {"round(2.5)", "3"},
        {"round(-2.5)", "-3"},
        {"round(1234.567, 2)", "1234.57"},
        {"round(1250, -2)", "1300"},
        {"trunc(-1.79, 1)", "-1.7"},
        {"trunc(1299, -2)", "1200"},
        {"power(2, 10)", "1024"},
        {"sqrt(16)", "4"},
        {"sqrt(-1)", "ORA-1428"},
        {"bitand(12, 10)", "8"},
        {"greatest(1, 10, 9)", "10"},
        {"greatest('b', 'a', 'C')", "b"},
        {"least(3, null, 1)", ""},
        {"5d / 2", "2.5E+000"},
        // Texts
        {"'a' || null", "a"},
        {"null || null", ""},
        {"'a' || 1 || .5", "a1.5"},
        {"''", ""},
        {"length('')", ""},
        {"nvl('', 'none')", "none"},
        {"length('abc')", "3"},
        {"length('\xC3\xA9')", "1"},
        {"lengthb('\xC3\xA9')", "2"},
        {"upper('\xC3\xA9' || 'x')", "\xC3\x89X"},
        {"initcap('hello wORLD of-sql')", "Hello World Of-Sql"},
        {"substr('abcdef', 3)", "cdef"},
        {"substr('abcdef', 0, 2)", "ab"},
        {"substr('abcdef', -3, 2)", "de"},
        {"substr('abcdef', 3, 0)", ""},
        {"substr('abc', 9)", ""},
        {"instr('corporate floor', 'or')", "2"},
        {"instr('corporate floor', 'or', 3, 2)", "14"},
        {"instr('corporate floor', 'or', -3, 2)", "2"},
        {"instr('abc', 'x')", "0"},
        {"lpad('7', 3, '0')", "007"},
        {"lpad('abcdef', 3)", "abc"},
        {"rpad('ab', 5, '+-')", "ab+-+"},
        {"lpad('a', 0)", ""},
        {"trim('  a b ')", "a b"},
        {"trim(leading 'x' from 'xxaxx')", "axx"},
        {"trim(both 'x' from 'xxaxx')", "a"},
        {"ltrim('xyxab', 'xy')", "ab"},
        {"rtrim('ab  ')", "ab"},
        {"replace('abcabc', 'b', 'XX')", "aXXcaXXc"},
        {"replace('abc', 'b')", "ac"},
        {"translate('2KRW229', '0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ', '9999999999XXXXXXXXXXXXXXXXXXXXXXXXXX')",
         "9XXX999"},
        {"chr(67) || chr(65)", "CA"},
        {"ascii('A')", "65"},
        {"concat('a', 1)", "a1"},
        {"hextoraw('0012')", "0012"},
        {"rawtohex(hextoraw('ff0'))", "0FF0"},
        {"to_clob('x') || 'y'", "xy"},
        {"q'[it's]'", "it's"},
        {"'it''s'", "it's"},
        // Nulls and choices
        {"nvl2(null, 1, 2)", "2"},
        {"coalesce(null, null, 3)", "3"},
        {"nullif(1, 1)", ""},
        {"nullif('a', 'b')", "a"},
        {"decode(2, 1, 'one', 2, 'two', 'many')", "two"},
        {"decode(null, 1, 'one', null, 'none')", "none"},
        {"decode(3, 1, 'one')", ""},
        {"case when null = null then 'equal' else 'unknown' end", "unknown"},
        {"case 3 when 1 then 'a' when 3 then 'c' end", "c"},
        {"case when 1 = 1 then 'a' else 1 end", "ORA-932"},
        {"nvl(1, 'x')", "ORA-1722"},
        // Comparisons
        {"case when '1' = 1 then 'y' else 'n' end", "y"},
        {"case when 'a' = 'A' then 'y' else 'n' end", "n"},
        {"case when 'a' = 'a  ' then 'y' else 'n' end", "y"},
        {"case when 'abc' like 'A%' then 'y' else 'n' end", "n"},
        {"case when 'abc' like 'a_c' then 'y' else 'n' end", "y"},
        {"case when 'a%c' like 'a\\%c' escape '\\' then 'y' else 'n' end", "y"},
        {"case when 10 > '9' then 'y' else 'n' end", "y"},
        {"case when '10' > '9' then 'y' else 'n' end", "n"},
        {"case when 1 in (2, null) then 'y' else 'n' end", "n"},
        {"case when 1 not in (2, null) then 'y' else 'n' end", "n"},
        {"case when 2 between 1 and 3 then 'y' else 'n' end", "y"},
        {"case when 3 > all (select 1 from dual union select 2 from dual) then 'y' end", "y"},
        {"case when '' is null then 'y' else 'n' end", "y"},
        // Numbers as texts
        {"to_char(.5)", ".5"},
        {"to_char(-.5)", "-.5"},
        {"to_char(100)", "100"},
        {"to_char(1234.5, '9,999.99')", " 1,234.50"},
        {"to_char(1234.5, 'FM9,999.00')", "1,234.50"},
        {"to_char(12345, '999')", "####"},
        {"to_char(-7, '099')", "-007"},
        {"to_char(0, 'FM990.00')", "0.00"},
        {"to_char(1, 'quux')", "ORA-1481"},
        {"to_number('1,234.5', '9,999.9') + 1", "1235.5"},
        {"to_number('x')", "ORA-1722"},
        // Dates
        {"to_char(date '2024-02-29', 'DD-MON-YYYY')", "29-FEB-2024"},
        {"to_char(date '2024-02-29', 'FMDay, DD Month YYYY')", "Thursday, 29 February 2024"},
        {"to_char(to_date('01.02.2003 13:05', 'DD.MM.YYYY HH24:MI'), 'YYYYMMDD HH24MISS')",
         "20030201 130500"},
        {"to_char(to_date('99', 'RR'), 'YYYY')", "1999"},
        {"to_date('2024-13-01', 'YYYY-MM-DD')", "ORA-1843"},
        {"to_date('x', 'DD')", "ORA-1858"},
        {"date '2024-03-01' - date '2024-02-01'", "29"},
        {"to_char(date '2024-02-28' + 2, 'YYYY-MM-DD')", "2024-03-01"},
        {"to_char(date '2024-01-01' + 1/24, 'HH24:MI:SS')", "01:00:00"},
        {"to_date('2024-01-01 12:00', 'YYYY-MM-DD HH24:MI') - date '2024-01-01'", ".5"},
        {"to_char(add_months(date '2024-01-31', 1), 'YYYY-MM-DD')", "2024-02-29"},
        {"to_char(last_day(date '2023-02-01'), 'YYYY-MM-DD')", "2023-02-28"},
        {"months_between(date '2024-03-31', date '2024-02-29')", "1"},
        {"round(months_between(date '1995-02-02', date '1995-01-01'), 8)", "1.03225806"},
        {"to_char(next_day(date '2024-02-29', 'FRIDAY'), 'YYYY-MM-DD')", "2024-03-01"},
        {"to_char(trunc(date '2024-05-17', 'MM'), 'YYYY-MM-DD')", "2024-05-01"},
        {"to_char(trunc(date '2024-05-17', 'Q'), 'YYYY-MM-DD')", "2024-04-01"},
        {"to_char(trunc(date '2024-05-17', 'IW'), 'YYYY-MM-DD')", "2024-05-13"},
        {"to_char(round(date '2024-07-01', 'YYYY'), 'YYYY-MM-DD')", "2025-01-01"},
        {"to_char(round(date '2024-05-16', 'MONTH'), 'YYYY-MM-DD')", "2024-06-01"},
        {"extract(year from date '2024-02-29')", "2024"},
        {"extract(hour from timestamp '2024-02-29 13:05:00')", "13"},
        {"extract(hour from date '2024-02-29')", "ORA-30076"},
        {"case when sysdate + 1 > sysdate then 'y' end", "y"},
        {"case when trunc(sysdate) <= sysdate then 'y' end", "y"},
        {"date '2024-02-30'", "ORA-1861"},
        {"sysdate + sysdate", "ORA-975"},
        {"to_char(timestamp '2024-01-01 10:00:00' + interval '90' minute, 'HH24:MI')", "11:30"},
        {"interval '1' day * 2", "+02 00:00:00.000000"},
        {"to_char(date '2024-01-31' + interval '1' day, 'YYYY-MM-DD')", "2024-02-01"},
        {"date '2024-01-31' + interval '1' month", "ORA-1839"},
        // Names and casts
        {"nosuch", "ORA-904"},
        {"\"nosuch\"", "ORA-904"},
        {"nosuch(1)", "ORA-904"},
        {"substr('a')", "ORA-909"},
        {"cast('12.345' as number(4,1))", "12.3"},
        {"cast('abcdef' as varchar2(3))", "abc"},
        {"cast(7 as char(3)) || '!'", "7  !"},
        {"cast('x' as text)", "ORA-902"},
        {"(select 1 from dual where 1 = 0)", ""},
        {"(select 1 from dual union all select 2 from dual)", "ORA-1427"},
        {"regexp_substr('a', 'a')", "ORA-3001"},
    };
    for (const auto &[expression, expected] : cases)
        EXPECT_EQ(answer(std::string("SELECT ") + expression + " FROM dual"), expected) << expression << "\n"
                                                                                        << db.message();
}

TEST_F(answers, of_statements)
{
    const answer_table cases[] = {
        {"CREATE TABLE emp (id NUMBER(4) PRIMARY KEY, name VARCHAR2(5) NOT NULL, job CHAR(5), sal NUMBER(7,2), "
         "boss NUMBER(4), hired DATE DEFAULT DATE '2024-01-01', maker VARCHAR2(30) DEFAULT USER, at DATE DEFAULT "
         "SYSDATE)",
         "0"},
        {"INSERT INTO emp (id, name, job, sal) VALUES (1, 'Ada', 'boss', 5000.555)", "1"},
        {"INSERT INTO emp (id, name, job, sal, boss) VALUES (2, 'Bob', 'clerk', 1000, 1)", "1"},
        {"INSERT INTO emp (id, name, job, sal, boss) SELECT 3, 'Cy', 'clerk', NULL, 1 FROM dual", "1"},
        {"INSERT INTO emp (id, name) VALUES (1, 'Eve')", "ORA-1"},
        {"INSERT INTO emp (id, name) VALUES (4, '')", "ORA-1400"},
        {"INSERT INTO emp (id, name) VALUES (4, 'Edward')", "ORA-12899"},
        {"INSERT INTO emp (id, name) VALUES (12345, 'Ed')", "ORA-1438"},
        {"INSERT INTO emp (id, name) VALUES ('x', 'Ed')", "ORA-1722"},
        {"INSERT INTO emp (id, name) VALUES (4, Ed)", "ORA-984"},
        {"INSERT INTO emp (id) VALUES (4, 5)", "ORA-913"},
        {"INSERT INTO emp (id, name) VALUES (4)", "ORA-947"},
        {"INSERT INTO emp (id, id) VALUES (4, 5)", "ORA-957"},
        {"UPDATE emp SET name = NULL", "ORA-1407"},
        {"SELECT id, name, sal, job || '!' FROM emp ORDER BY id",
         "1|Ada|5000.56|boss !;2|Bob|1000|clerk!;3|Cy||clerk!"},
        {"SELECT name FROM emp WHERE job = 'boss'", "Ada"},
        {"SELECT name FROM emp WHERE name = 'ada'", ""},
        {"SELECT name FROM emp WHERE id = '2'", "Bob"},
        {"SELECT count(*) FROM emp WHERE hired = '01-JAN-24' AND hired = '2024-01-01'", "3"},
        {"SELECT count(*) FROM emp WHERE maker = user AND at > sysdate - 1 AND at <= sysdate", "3"},
        {"SELECT name FROM emp ORDER BY sal", "Bob;Ada;Cy"},
        {"SELECT name FROM emp ORDER BY sal DESC", "Cy;Ada;Bob"},
        {"SELECT name FROM emp ORDER BY sal NULLS FIRST", "Cy;Bob;Ada"},
        {"SELECT name, rownum FROM emp WHERE rownum <= 2 ORDER BY name DESC", "Bob|2;Ada|1"},
        {"SELECT name FROM (SELECT name FROM emp ORDER BY name DESC) WHERE rownum = 1", "Cy"},
        {"SELECT name FROM emp WHERE rownum > 1", ""},
        {"SELECT name FROM emp ORDER BY id OFFSET 1 ROWS FETCH NEXT 1 ROWS ONLY", "Bob"},
        {"SELECT e.name, b.name FROM emp e, emp b WHERE e.boss = b.id(+) ORDER BY e.id",
         "Ada|;Bob|Ada;Cy|Ada"},
        {"SELECT b.name, count(*) FROM emp e JOIN emp b ON e.boss = b.id GROUP BY b.name", "Ada|2"},
        {"SELECT job, count(*), sum(sal), avg(sal), max(id) FROM emp GROUP BY job ORDER BY 1",
         "boss |1|5000.56|5000.56|1;clerk|2|1000|1000|3"},
        {"SELECT name, count(*) FROM emp", "ORA-937"},
        {"SELECT name, count(*) FROM emp GROUP BY job", "ORA-979"},
        {"SELECT name FROM emp WHERE count(*) > 1", "ORA-934"},
        {"SELECT id FROM emp e, emp f", "ORA-918"},
        {"SELECT listagg(name, ',') WITHIN GROUP (ORDER BY name DESC) FROM emp", "Cy,Bob,Ada"},
        {"SELECT name, rank() OVER (ORDER BY job) FROM emp ORDER BY id", "Ada|1;Bob|2;Cy|2"},
        {"SELECT id FROM emp MINUS SELECT 2 FROM dual", "1;3"},
        {"SELECT id FROM emp UNION SELECT 'x' FROM dual", "ORA-1790"},
        {"SELECT id FROM emp INTERSECT SELECT boss FROM emp", "1"},
        {"SELECT DISTINCT name FROM emp ORDER BY id", "ORA-1791"},
        {"SELECT level FROM dual CONNECT BY level <= 3", "1;2;3"},
        {"SELECT name FROM emp WHERE (id, name) IN ((1, 'Ada'), (2, 'Eve'))", "Ada"},
        {"SELECT name FROM emp e WHERE EXISTS (SELECT 1 FROM emp WHERE boss = e.id)", "Ada"},
        {"WITH x AS (SELECT id * 10 n FROM emp) SELECT sum(n) FROM x", "60"},
        {"SELECT * FROM nowhere", "ORA-942"},
        {"SELECT name FROM emp;", "ORA-911"},
        {"SELECT name FROM emp FOR UPDATE NOWAIT", "Ada;Bob;Cy"},
        {"UPDATE emp SET (sal, job) = (SELECT sal, job FROM emp WHERE id = 1) WHERE id = 3", "1"},
        {"UPDATE emp SET sal = sal * 1.1, name = upper(name) WHERE id = 2", "1"},
        {"SELECT name, sal FROM emp WHERE id > 1 ORDER BY id", "BOB|1100;Cy|5000.56"},
        {"MERGE INTO emp e USING (SELECT 3 i, 'Di' n FROM dual UNION ALL SELECT 4, 'Ed' FROM dual) s ON (e.id = s.i) "
         "WHEN MATCHED THEN UPDATE SET name = s.n WHEN NOT MATCHED THEN INSERT (id, name) VALUES (s.i, s.n)",
         "2"},
        {"SELECT name FROM emp WHERE id >= 3 ORDER BY id", "Di;Ed"},
        {"DELETE FROM emp WHERE rownum <= 1 AND id = 4", "1"},
        {"CREATE SEQUENCE s START WITH 5 INCREMENT BY 5", "0"},
        {"SELECT s.CURRVAL FROM dual", "ORA-8002"},
        {"SELECT s.NEXTVAL, s.CURRVAL FROM dual", "5|5"},
        {"INSERT INTO emp (id, name) VALUES (s.NEXTVAL, 'Fay')", "1"},
        {"ROLLBACK", "0"},
        {"SELECT s.NEXTVAL FROM dual", "15"},
        {"SELECT none.NEXTVAL FROM dual", "ORA-2289"},
        {"SELECT name FROM emp ORDER BY id", "Ada;BOB;Di"},
        {"DELETE FROM emp WHERE id IN (SELECT id FROM emp)", "3"},
        {"CREATE OR REPLACE VIEW v AS SELECT id, sal * 2 twice FROM emp", "0"},
        {"CREATE OR REPLACE VIEW v AS SELECT id, sal * 3 thrice FROM emp", "0"},
        {"INSERT INTO emp (id, name, sal) VALUES (9, 'Flo', 1.5)", "1"},
        {"SELECT thrice FROM v", "4.5"},
        {"UPDATE v SET id = 1", "ORA-1732"},
        {"ALTER TABLE emp ADD (x NUMBER DEFAULT 5, y VARCHAR2(3))", "0"},
        {"SELECT id, x, y FROM emp", "9|5|"},
        {"SELECT column_name, data_type, data_precision, data_scale, nullable FROM user_tab_columns WHERE table_name = "
         "'EMP' AND column_id IN (1, 2, 4)",
         "ID|NUMBER|4|0|N;NAME|VARCHAR2|||N;SAL|NUMBER|7|2|Y"},
        {"SELECT table_name FROM all_tables", "EMP"},
        {"ALTER SESSION SET NLS_DATE_FORMAT = 'DD/MM/YYYY'", "0"},
        {"SELECT hired, to_char(hired), hired || '' FROM emp WHERE hired = '01/01/2024'",
         "01/01/2024|01/01/2024|01/01/2024"},
        {"ALTER SESSION SET NLS_DATE_FORMAT = 'YYYY-MM-DD HH24:MI:SS'", "0"},
        {"CREATE TABLE later (n NUMBER CHECK (n > 0) DEFERRABLE INITIALLY DEFERRED)", "ORA-3001"},
        {"CREATE TABLE fine (n DECIMAL CHECK (n > 0) DEFERRABLE INITIALLY IMMEDIATE, f BINARY_FLOAT, t "
         "TIMESTAMP(2), i INTERVAL DAY(2) TO SECOND(3))",
         "0"},
        {"INSERT INTO fine VALUES (1.7, 567.456, TIMESTAMP '2024-01-02 03:04:05.678', INTERVAL '1 2:3:4.5' DAY TO "
         "SECOND)",
         "1"},
        {"SELECT n, f, t, i FROM fine", "2|5.67455994E+002|2024-01-02 03:04:05.68|+01 02:03:04.500"},
        {"CREATE TABLE wide (n NUMBER, f FLOAT, r RAW(2), l LONG, v VARCHAR2(40))", "0"},
        {"INSERT INTO wide VALUES (12345678901234567890.5, 1/3, '0012', '00123', 5.0)", "1"},
        {"INSERT INTO wide VALUES (12345678901234567890.25, 2, 'FF', 'x', .5)", "1"},
        {"INSERT INTO wide (n) VALUES (100)", "1"},
        {"SELECT n, r, l, v FROM wide ORDER BY n",
         "100|||;12345678901234567890.25|FF|x|.5;12345678901234567890.5|0012|00123|5"},
        {"SELECT count(*) FROM wide WHERE n > 100", "2"},
        {"SELECT count(*) FROM wide WHERE n < 12345678901234567890.5", "2"},
        {"SELECT sum(n), max(n), min(n) FROM wide", "24691357802469135880.75|12345678901234567890.5|100"},
        {"SELECT n + .01 FROM wide WHERE n = 12345678901234567890.5", "12345678901234567890.51"},
        {"INSERT INTO wide (r) VALUES ('001122')", "ORA-12899"},
        {"TRUNCATE TABLE wide", "0"},
        {"SELECT count(*) FROM wide", "0"},
        {"BEGIN INSERT INTO wide (n) VALUES (1); UPDATE wide SET n = n + 1; END;", "2"},
        {"BEGIN INSERT INTO wide (n) VALUES (1); INSERT INTO wide (r) VALUES ('x'); END;", "ORA-1465"},
        {"SELECT n FROM wide", "2"},
        {"CREATE TABLE emp (a NUMBER)", "ORA-955"},
        {"CREATE TABLE t (a VARCHAR2)", "ORA-906"},
        {"CREATE TABLE t (a TEXT)", "ORA-902"},
        {"CREATE TABLE t (date NUMBER)", "ORA-904"},
        {"DROP TABLE nowhere", "ORA-942"},
        {"DROP SEQUENCE s", "0"},
        {"COMMENT ON TABLE emp IS 'x'", "ORA-3001"},
        {"CREATE FUNCTION f RETURN NUMBER IS BEGIN RETURN 1; END;", "ORA-3001"},
        {"SELECT 1 FROM dual WHERE 1", "ORA-920"},
        {"SELEC 1 FROM dual", "ORA-900"},
        {"SELECT (1 FROM dual", "ORA-907"},
        {"SELECT 1 FROM dual ORDER 1", "ORA-924"},
        {"INSERT emp VALUES (1)", "ORA-925"},
    };
    for (const auto &[sql, expected] : cases)
        EXPECT_EQ(answer(sql), expected) << sql << "\n" << db.message();
}

TEST_F(answers, in_bind_variables)
{
    db.run_all({"CREATE TABLE t (id NUMBER GENERATED ALWAYS AS IDENTITY, name VARCHAR2(10), amount NUMBER)"});
    sb4 id = 0;
    char name[11] = "one", text_number[] = "12.50", shown[20] = {};
    const prepared insert(
        db, "INSERT INTO t (name, amount) VALUES (:n, :a) RETURNING id, upper(name) INTO :id, :s");
    insert.in("n", name, SQLT_STR)
        .in("a", text_number, SQLT_STR)
        .in("id", id, SQLT_INT)
        .in("s", shown, SQLT_STR);
    ASSERT_TRUE(db.succeeds(insert.execute(1)));
    ASSERT_TRUE(db.succeeds(insert.execute(1)));
    EXPECT_EQ(id, 2);
    EXPECT_STREQ(shown, "ONE");
    const prepared select_into(db, "BEGIN SELECT sum(amount) INTO :id FROM t; :s := 'sum ' || :id; END;");
    select_into.in("id", id, SQLT_INT).in("s", shown, SQLT_STR);
    ASSERT_TRUE(db.succeeds(select_into.execute(1)));
    EXPECT_EQ(id, 25);
    EXPECT_STREQ(shown, "sum 25");
    const prepared none(db, "BEGIN SELECT id INTO :id FROM t WHERE id = 99; END;");
    none.in("id", id, SQLT_INT);
    EXPECT_TRUE(db.fails(none.execute(1), 1403));
    EXPECT_EQ(answer("INSERT INTO t (id) VALUES (1)"), "ORA-32795");
}

} // namespace
} // namespace sqlite_oci_test
