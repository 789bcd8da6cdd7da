#include "program.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr const char *city_table =
    "create table city(id integer primary key, name varchar2(40) not null, people integer);"
    "insert into city values(1, 'Zürich', 436000);"
    "insert into city values(2, '東京', 13960000);"
    "insert into city values(3, '', null);";

class Queries : public BothBackends
{
protected:
    std::string with_names(std::string text, const std::vector<std::string> &names) const;
};
RUN_ON_BOTH_BACKENDS(Queries);

/// Replaces @1, @2 ... by the names where the connection tells them, and by the numbers otherwise.
std::string Queries::with_names(std::string text, const std::vector<std::string> &names) const
{
    for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at)) {
        const std::string number(1, text[at + 1]);
        text.replace(at, 2, backend() == "oracle" ? names.at(std::stoul(number) - 1) : number);
    }
    return text;
}

TEST_P(Queries, formats)
{
    output_of({link(), "-e", city_table});
    const char *query =
        "select id a, name b, people c from city where id < 3 union all select 4, null, null from city "
        "where id = 3 order by 1";
    const struct {
        Arguments options;
        std::string out; // @1, @2, @3: the names of the columns
    } cases[] = {
        {{},
         " @1 | @2      |        @3\n---+--------+----------\n 1 | Zürich |   436000\n 2 | 東京   | 13960000\n"
         " 4 | (null) |   (null)\n(3 rows)\n"},
        {{"--no-header"}, " 1 | Zürich |   436000\n 2 | 東京   | 13960000\n 4 | (null) |   (null)\n"},
        {{"--format", "csv"}, "@1,@2,@3\n1,Zürich,436000\n2,東京,13960000\n4,,\n"},
        {{"--format=csv", "--no-header"}, "1,Zürich,436000\n2,東京,13960000\n4,,\n"},
        {{"--format", "json"},
         "[\n{\"@1\":\"1\",\"@2\":\"Zürich\",\"@3\":\"436000\"},\n"
         "{\"@1\":\"2\",\"@2\":\"東京\",\"@3\":\"13960000\"},\n"
         "{\"@1\":\"4\",\"@2\":null,\"@3\":null}\n]\n"},
    };
    for (const auto &c : cases) {
        Arguments arguments = c.options;
        arguments.insert(arguments.end(), {link(), "-e", query});
        EXPECT_EQ(output_of(arguments), with_names(c.out, {"A", "B", "C"}));
    }
}

TEST_P(Queries, many_rows_come_in_order_and_complete)
{
    const std::string query =
        "with recursive n(i) as (select 1 union all select i + 1 from n where i < 2345) "
        "select i, 'row ' || i from n";
    std::string expected;
    for (int i = 1; i <= 2345; i++)
        expected += std::to_string(i) + ",row " + std::to_string(i) + "\n";
    EXPECT_EQ(output_of({link(), "--format", "csv", "--no-header", "-e", query}), expected);
    EXPECT_EQ(output_of({link(), "--format", "csv", "--no-header", "--max-value", "65535", "-e", query}),
              expected);
}

TEST_P(Queries, long_values_are_cut_and_said_to_be)
{
    const std::string wide = "select 'äöü', 'abc' from dual_like";
    output_of({link(), "-e", "create table dual_like(x integer); insert into dual_like values(1)"});
    const struct {
        const char *limit;
        std::string out;
        std::string err;
    } cases[] = {
        {"6", " äöü | abc\n", ""},
        {"5", " äö… | abc\n", "warning: 1 value cut after 5 bytes; --max-value sets another limit\n"},
        {"2", " ä… | ab…\n", "warning: 2 values cut after 2 bytes; --max-value sets another limit\n"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run({link(), "--no-header", "--max-value", c.limit, "-e", wide});
        EXPECT_EQ(outcome.out, c.out);
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_EQ(outcome.status, 0);
    }
    const std::string big =
        output_of({link(), "--no-header", "-e", "select printf('%.20000c', 'x') from dual_like"});
    EXPECT_EQ(big, " " + std::string(20000, 'x') + "\n");
}

TEST_P(Queries, binds)
{
    output_of({link(), "-e", city_table});
    const Arguments plain{link(), "--no-header", "--format", "csv"};
    const struct {
        Arguments options;
        std::string out;
    } cases[] = {
        {{"-b", "id=2", "-e", "select name from city where id = :id"}, "東京\n"},
        {{"--bind", "N=Zürich", "--bind", ":p=1000", "-e",
          "select id from city where name = :n and people > :p"},
         "1\n"},
        {{"-b", "t=a=b;'", "-e", "select :t, ':t' from city where id = 1"}, "a=b;',:t\n"},
        {{"-b", "none", "-e", "select coalesce(:none, 'was null') from city where id = 1"}, "was null\n"},
        {{"-e", "\\bind id 2\nselect name from city where id = :id;\n\\unbind id\n\\bind"}, "東京\n"},
        {{"-e", "\\bind n 'two words'\n\\bind"}, ":N = two words\n"},
    };
    for (const auto &c : cases) {
        Arguments arguments = plain;
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(output_of(arguments), c.out);
    }
    const Outcome missing = run({link(), "-e", "select :who from city"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err,
              "error: the placeholder :who has no value; give it one with \\bind who VALUE or --bind "
              "who=VALUE\n");
}

TEST_P(Queries, changes_are_counted_and_committed)
{
    EXPECT_EQ(output_of({link(), "-e", city_table}),
              "Done.\n1 row inserted.\n1 row inserted.\n1 row inserted.\n");
    EXPECT_EQ(
        output_of({link(), "-e", "update city set people = 1 where id < 3; delete from city where id = 9"}),
        "2 rows updated.\n0 rows deleted.\n");
    EXPECT_EQ(output_of({link(), "--format", "csv", "-e", "delete from city where id = 1"}), "");
    EXPECT_EQ(output_of({link(), "--no-header", "-e", "select count(*), sum(people) from city"}), " 2 | 1\n");
}

TEST_P(Queries, transactions)
{
    const struct {
        const char *script;
        const char *rows; // what another session sees afterwards
        const char *warning;
    } cases[] = {
        {"\\autocommit off\ninsert into t values(1);\nrollback;\n", "", ""},
        {"\\autocommit off\ninsert into t values(2);\nCOMMIT WORK;\ninsert into t values(3);\n\\rollback\n",
         "2\n", ""},
        {"\\autocommit off\ninsert into t values(4);\n\\commit\n\\autocommit on\n"
         "insert into t values(5);\n\\rollback\n",
         "2\n4\n5\n", ""},
        {"\\autocommit off\ninsert into t values(6);\n", "2\n4\n5\n",
         "warning: changes that were not committed have been rolled back\n"},
        {"\\autocommit off\n\\copy rows.csv t\n\\rollback\n", "2\n4\n5\n", ""},
        {"\\copy rows.csv t\n\\rollback\n", "2\n4\n5\n7\n8\n", ""},
    };
    write_file("rows.csv", "7\n8\n");
    output_of({link(), "-e", "create table t(a integer)"});
    for (const auto &c : cases) {
        const Outcome outcome = run({link()}, c.script);
        EXPECT_EQ(outcome.status, 0) << c.script;
        EXPECT_EQ(outcome.err, c.warning) << c.script;
        EXPECT_EQ(output_of({link(), "--format", "csv", "--no-header", "-e", "select a from t order by 1"}),
                  c.rows)
            << c.script;
    }
    const Outcome refused =
        run({link(), "--no-autocommit", "-e", "insert into t values(9)", "-e", "\\autocommit on"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("\\commit or \\rollback them first"), std::string::npos) << refused.err;
}

class Errors : public BothBackends
{
};
RUN_ON_BOTH_BACKENDS(Errors);

TEST_P(Errors, show_backend_code_and_place)
{
    output_of({link(), "-e", city_table});
    const struct {
        const char *sql;
        const char *code;
    } cases[] = {
        {"select * from nowhere", "ORA-00942"},
        {"insert into city values(1, 'again', 0)", "ORA-00001"},
        {"insert into city values(9, null, 0)", "ORA-01400"},
        {"select nope from city", "ORA-00904"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run({link(), "-e", c.sql});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("error [" + backend() + "]: " + c.code)) << outcome.err;
    }

    write_file("bad.sql", "select 1 from city where id = 0;\n\nselect id,\n  東京, nope\nfrom city;\n");
    const Outcome placed = run({link(), "-f", "bad.sql"});
    EXPECT_EQ(placed.status, 1);
    EXPECT_TRUE(placed.err.starts_with("bad.sql:4: error [" + backend() + "]: ORA-00904")) << placed.err;
    EXPECT_TRUE(placed.err.ends_with(" 2 |   東京, nope\n   |   ^\n")) << placed.err;
}

TEST_P(Errors, end_a_script_unless_told_otherwise)
{
    const std::string script =
        "create table t(a integer);\ninsert into nowhere values(1);\ninsert into t values(1);\n"
        "\\nonsense\nselect count(*) from t;\n";
    write_file("script.sql", script);
    const std::string first_error = ":2: error [" + backend() + "]: ORA-00942";

    const Outcome stopped = run({link()}, script);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_EQ(stopped.out, "Done.\n");
    EXPECT_TRUE(stopped.err.starts_with("stdin" + first_error)) << stopped.err;

    output_of({link(), "-e", "drop table t"});
    const Outcome continued = run({link(), "--continue", "-f", "script.sql", "--no-header"});
    EXPECT_EQ(continued.status, 1);
    EXPECT_EQ(continued.out, "Done.\n1 row inserted.\n 1\n");
    EXPECT_TRUE(continued.err.starts_with("script.sql" + first_error)) << continued.err;
    EXPECT_NE(continued.err.find("error: script.sql:4: there is no command \\nonsense"), std::string::npos);
}

class Commands : public ProgramTest
{
};

TEST_F(Commands, order_of_statements_and_files)
{
    write_file("two.sql", "select 2 from one");
    write_file("outer.sql", "\\i two.sql\n\\q\nselect 9 from one;\n");
    EXPECT_EQ(
        output_of({"world", "--no-header", "-e", "create table one(x integer); insert into one values(1)",
                   "-e", "select 1 from one;", "-f", "two.sql", "-e", "select 3 from one", "-f", "outer.sql",
                   "-e", "select 9 from one"}),
        "Done.\n1 row inserted.\n 1\n 2\n 3\n 2\n");
    EXPECT_EQ(output_of({"world", "--no-header", "-f", "-"}, "select 5\nfrom one"), " 5\n");
    EXPECT_EQ(output_of({"world", "--no-header", "-e",
                         "\\format csv\nselect 'a b', null from one;\n\\format json\n"
                         "select 1 from one"}),
              "a b,\n[\n{\"1\":\"1\"}\n]\n");
    EXPECT_EQ(output_of({"world", "--no-header", "-e",
                         "\\o result.txt\nselect 7 from one;\n\\o\nselect 8 from one"}),
              " 8\n");
    EXPECT_EQ(read_file("result.txt"), " 7\n");
}

constexpr const char *kinds_table =
    "create table kinds(id number(8) not null, price number(12,2), name varchar2(20), day date, note clob, "
    "picture blob);\n"
    "create view prices as select id, price from kinds;\n";

TEST_F(Commands, describe)
{
    output_of({"world", "-e", kinds_table});
    EXPECT_EQ(output_of({"world", "-e", "\\d kinds"}),
              "Table kinds\n column  | type         | nullable\n---------+--------------+----------\n"
              " ID      | NUMBER(8)    | no\n PRICE   | NUMBER(12,2) | yes\n"
              " NAME    | VARCHAR2(20) | yes\n DAY     | DATE         | yes\n"
              " NOTE    | CLOB         | yes\n PICTURE | BLOB         | yes\n(6 rows)\n");
    EXPECT_TRUE(output_of({"world", "-e", "\\d Prices"}).starts_with("View Prices\n column | type "));
    EXPECT_EQ(output_of({"world", "--no-header", "--format", "csv", "-e", "\\d prices"}),
              "ID,NUMBER(8),no\nPRICE,\"NUMBER(12,2)\",yes\n");
    EXPECT_EQ(output_of({"world", "--types", "-e", "select id, name from kinds"}),
              " ID        | NAME\n NUMBER(8) | VARCHAR2(20)\n-----------+--------------\n(0 rows)\n");
    EXPECT_EQ(output_of({"world", "--format", "json", "-e",
                         "insert into kinds(id) values(1); select id, id, id + 1 as id_2 from kinds"}),
              "[\n{\"ID\":\"1\",\"ID_2\":\"1\",\"ID_2_2\":\"2\"}\n]\n");
}

TEST_F(Commands, large_objects)
{
    std::string text; // as long as the database makes it, and longer
    for (int line = 1; text.size() < 5000; line++)
        text += "Zeile " + std::to_string(line) + ": Übergröße €\n";
    const std::string characters = "select length(note) from kinds where id = 1";
    output_of({"world", "-e", kinds_table});
    output_of(
        {"world", "-e",
         "insert into kinds(id, note) values(1, (with recursive n(i, t) as (select 1, '' union all "
         "select i + 1, t || 'Zeile ' || i || ': Übergröße €' || char(10) from n where length(t) < 3000) "
         "select t from n order by i desc limit 1));"
         "insert into kinds(id, note, picture) values(2, 'short', x'00ff10');"
         "insert into kinds(id, picture) values(3, randomblob(300000));"
         "insert into kinds(id, note) values(4, '')"});
    const std::string length = output_of({"world", "--no-header", "--format", "csv", "-e", characters});
    const std::string rows =
        output_of({"world", "--no-header", "-e", "select id, note, picture from kinds order by id"});
    EXPECT_NE(rows.find(" 1 | Zeile 1: Übergröße €"), std::string::npos) << rows;
    EXPECT_NE(rows.find("… (" + length.substr(0, length.size() - 1) + " characters)"), std::string::npos)
        << rows;
    EXPECT_NE(rows.find(" | short "), std::string::npos) << rows;
    EXPECT_NE(rows.find(" | 00ff10\n"), std::string::npos) << rows;
    EXPECT_NE(rows.find("… (300000 bytes)\n"), std::string::npos) << rows;

    output_of({"world", "-b", "i=1", "-e", "\\lob note.txt select note from kinds where id = :i"});
    const std::string written = read_file("note.txt");
    EXPECT_EQ(written, text.substr(0, written.size()));
    const auto starts_character = [](char byte) { return (byte & 0xc0) != 0x80; };
    EXPECT_EQ(std::to_string(std::count_if(written.begin(), written.end(), starts_character)) + "\n", length);
    EXPECT_EQ(output_of({"world", "-e", "\\lob two.bin select picture from kinds where id = 2;"}),
              "3 bytes written to two.bin.\n");
    EXPECT_EQ(read_file("two.bin"), std::string("\0\xff\x10", 3));
    output_of({"world", "-e", "\\lob three.bin select picture from kinds where id = 3"});
    std::string digits;
    for (const char character : read_file("three.bin")) {
        constexpr const char *hexadecimal = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(character);
        digits += {hexadecimal[byte >> 4], hexadecimal[byte & 15]};
    }
    EXPECT_EQ(output_of({"world", "--no-header", "-b", "d=" + digits.substr(0, 60000), "-e",
                         "select count(*) from kinds where substr(hex(picture), 1, 60000) = :d"}),
              " 1\n");

    const struct {
        const char *link;
        const char *query;
        const char *message;
    } wrong[] = {
        {"world", "select id from kinds where id = 1", "the first column, ID, is no CLOB or BLOB"},
        {"world", "select note from kinds where id = 9", "the query has no row"},
        {"world", "select note from kinds where id < 3", "the query has more than one row"},
        {"world", "select picture from kinds where id = 1", "PICTURE is NULL"},
        {"world", "delete from kinds", "this is no query"},
        {"mars", "select 'x'", "\\lob needs LOB locators, which a Dravik connection does not have"},
    };
    for (const auto &c : wrong) {
        const Outcome outcome = run({c.link, "-e", std::string("\\lob two.bin ") + c.query});
        EXPECT_EQ(outcome.status, 1) << c.query;
        EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
        EXPECT_EQ(read_file("two.bin").size(), 3U);
    }
    EXPECT_FALSE(std::filesystem::exists(directory() / "two.bin.part"));
}

TEST_F(Commands, timing)
{
    const std::string out = output_of({"world", "-e", "\\timing on\ncreate table t(a integer);"});
    double milliseconds = -1;
    EXPECT_EQ(std::sscanf(out.c_str(), "Timing is on.\nDone.\nTime: %lf ms\n", &milliseconds), 1) << out;
    EXPECT_GT(milliseconds, 0);
}

TEST_F(Commands, wrong_ones_say_what_to_do)
{
    write_file("self.sql", "\\i self.sql\n");
    const struct {
        const char *command;
        const char *message;
    } cases[] = {
        {"\\nope", "there is no command \\nope; \\help lists them"},
        {"\\", "there is no command \\; \\help lists them"},
        {"\\format xml ;", "there is no format xml; choose table, csv or json"},
        {"\\format", "usage: \\format table|csv|json"},
        {"\\i missing.sql", "cannot open missing.sql: No such file or directory"},
        {"\\i .", ". is a directory"},
        {"\\o no/such/file", "cannot write no/such/file: No such file or directory"},
        {"\\bind 1-2 x", "'1-2' is not the name of a placeholder"},
        {"\\bind 'a", "a quote ' is not closed"},
        {"\\unbind x", "no value is bound to :x"},
        {"\\d t;drop", "'t;drop' is not the name of a table"},
        {"\\d nowhere", "ORA-04043"},
        {"\\lob file", "usage: \\lob FILE SELECT ..."},
        {"\\autocommit maybe", "\\autocommit takes on or off"},
        {"\\copy x.csv", "usage: \\copy FILE TABLE [header] [delimiter C] [null TEXT] [rejects N]"},
        {"\\copy x.csv t;drop", "'t;drop' is not the name of a table"},
        {"\\copy x.csv t delimiter ab", "\\copy: the delimiter has to be one character, or tab"},
        {"\\copy x.csv t rejects many", "\\copy: many is not a number of rows"},
        {"\\copy x.csv t sideways", "\\copy does not know the option sideways"},
        {"\\copy x.csv t", "cannot open x.csv: No such file or directory"},
        {"\\i self.sql", "self.sql is included too deeply; does it include itself?"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run({"world", "-e", c.command});
        EXPECT_EQ(outcome.status, 1) << c.command;
        EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
    }
}

TEST_F(Commands, status_names_backend_and_libraries)
{
    for (const auto &[link, backend] : {std::pair("world", "oracle"), std::pair("mars", "dravik")}) {
        for (const Arguments &arguments : {Arguments{link, "--status"}, Arguments{link, "-e", "\\status"}}) {
            const std::string status = output_of(arguments);
            EXPECT_NE(status.find(std::string("Link             ") + link + "\n"), std::string::npos)
                << status;
            EXPECT_NE(status.find(std::string("Served by        ") + backend + "\n"), std::string::npos)
                << status;
            EXPECT_NE(status.find("/libdkom.so"), std::string::npos) << status;
            EXPECT_NE(status.find(ORACLE_LIBRARY_DIR "/libclntsh.so"), std::string::npos) << status;
            EXPECT_NE(status.find(DRAVIK_LIBRARY_DIR "/libdkoci.so"), std::string::npos) << status;
            EXPECT_NE(status.find("(always asked of the Oracle library)"), std::string::npos) << status;
        }
    }
}

TEST_F(Commands, a_dravik_connection_is_not_described)
{
    const Outcome outcome = run({"mars", "-e", "\\d t"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "error: a Dravik connection cannot be described in this release\n");
}

TEST_F(Commands, exit_status)
{
    const struct {
        Arguments arguments;
        int status;
        const char *message; // on either stream
    } cases[] = {
        {{"--help"}, 0, "Examples:"},
        {{"--version"}, 0, "dkomsql "},
        {{"world"}, 0, ""},
        {{}, 2, "LINK is required"},
        {{"world", "--format", "xml"}, 2, "xml"},
        {{"world", "--nonsense"}, 2, "--nonsense"},
        {{"world", "--bind", "=x"}, 2, "is not the name of a placeholder"},
        {{"world", "--max-value", "0"}, 2, "--max-value"},
        {{"world", "--continue", "--stop-on-error"}, 2, "--continue"},
        {{"world", "-f", "missing.sql"}, 1, "cannot open missing.sql"},
        {{"nowhere", "-e", "select 1"}, 3, "cannot connect to 'nowhere': ORA-12154"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        EXPECT_NE((outcome.out + outcome.err).find(c.message), std::string::npos)
            << outcome.out << outcome.err;
    }
}

TEST_F(Commands, a_client_library_that_is_missing_is_named)
{
    set_variable("DKOM_DRK_LIB_PATH=/nowhere");
    const Outcome outcome = run({"world", "-e", "select 1"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(
        outcome.err.starts_with("dkomsql: cannot load Dravik's client library: /nowhere/libdkoci.so: "))
        << outcome.err;
    EXPECT_NE(
        outcome.err.find("set DKOM_DRK_LIB_PATH to the directory that holds libdkoci.so (now: /nowhere)"),
        std::string::npos)
        << outcome.err;
}

TEST_F(Commands, an_output_that_cannot_be_written_is_an_error)
{
    const Outcome outcome = run({"world", "-e",
                                 "create table t(a integer); insert into t values(1);\n\\o /dev/full\n"
                                 "select * from t;"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("cannot write the output: No space left on device"), std::string::npos)
        << outcome.err;
}

} // namespace
