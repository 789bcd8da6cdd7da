#include "shell.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>

#include <fmt/format.h>

namespace
{

constexpr const char *city_table =
    "create table city(id integer primary key, name varchar2(40) not null, people integer);"
    "insert into city values(1, 'Zürich', 436000);"
    "insert into city values(2, '東京', 13960000);"
    "insert into city values(3, '-', null);";

class Queries : public BothBackends
{
};
RUN_ON_BOTH_BACKENDS(Queries);

TEST_P(Queries, formats)
{
    output_of({link(), "-e", city_table});
    const char *query =
        "select id a, name b, people c from city where id < 3 union all select 4, null, null from city "
        "where id = 3 order by 1";
    // @1, @2, @3: the names of the columns
    const std::pair<Arguments, std::string> cases[] = {
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
    for (const auto &[options, out] : cases) {
        Arguments arguments = options;
        arguments.insert(arguments.end(), {link(), "-e", query});
        // Only one of the connections tells the names of columns.
        std::string expected = out;
        for (std::size_t at = 0; (at = expected.find('@', at)) != std::string::npos;)
            expected.replace(at, 2, 1, static_cast<char>(expected[at + 1] + (describes() ? 'A' - '1' : 0)));
        EXPECT_EQ(output_of(arguments), expected);
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
    EXPECT_EQ(rows_of(link(), query), expected);
    EXPECT_EQ(rows_of(link(), query, {"--max-value", "65535"}), expected);
}

TEST_P(Queries, long_values_are_cut_and_said_to_be)
{
    const std::string wide = "select 'äöü', 'abc' from dual_like";
    output_of({link(), "-e", "create table dual_like(x integer); insert into dual_like values(1)"});
    const std::tuple<const char *, std::string, std::string> cases[] = {
        {"6", " äöü | abc\n", ""},
        {"5", " äö… | abc\n", "warning: 1 value cut after 5 bytes; --max-value sets another limit\n"},
        {"2", " ä… | ab…\n", "warning: 2 values cut after 2 bytes; --max-value sets another limit\n"},
    };
    for (const auto &[limit, expected_out, expected_err] : cases) {
        const Outcome outcome = run({link(), "--no-header", "--max-value", limit, "-e", wide});
        EXPECT_TRUE(outcome.ends(0, expected_err));
        EXPECT_EQ(outcome.out, expected_out);
    }
    EXPECT_EQ(rows_of(link(), "select printf('%.20000c', 'x') from dual_like"),
              std::string(20000, 'x') + "\n");
}

TEST_P(Queries, binds)
{
    output_of({link(), "-e", city_table});
    const std::tuple<Arguments, std::string, std::string> cases[] = {
        {{"-b", "id=2"}, "select name from city where id = :id", "東京\n"},
        {{"--bind", "N=Zürich", "--bind", ":p=1000"},
         "select id from city where name = :n and people > :p",
         "1\n"},
        {{"-b", "t=a=b;'"}, "select :t, ':t' from city where id = 1", "a=b;',:t\n"},
        {{"-b", "none"}, "select coalesce(:none, 'was null') from city where id = 1", "was null\n"},
        {{}, "\\bind id 2\nselect name from city where id = :id;\n\\unbind id\n\\bind", "東京\n"},
        {{}, "\\bind n 'two words'\n\\bind", ":N = two words\n"},
    };
    for (const auto &[options, script, rows] : cases)
        EXPECT_EQ(rows_of(link(), script, options), rows);
    EXPECT_TRUE(run({link(), "-e", "select :who from city"})
                    .ends(1, "error: the placeholder :who has no value; give it one with \\bind who VALUE or "
                             "--bind who=VALUE\n"));
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
    // Scripts, what another session sees afterwards, and a warning.
    const std::tuple<const char *, const char *, const char *> cases[] = {
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
    for (const auto &[script, rows, warning] : cases) {
        SCOPED_TRACE(script);
        const Outcome outcome = run({link()}, script);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, warning);
        EXPECT_EQ(rows_of(link(), "select a from t order by 1"), rows);
    }
    EXPECT_TRUE(run({link(), "--no-autocommit", "-e", "insert into t values(9)", "-e", "\\autocommit on"})
                    .says(1, "\\commit or \\rollback them first"));
}

class Errors : public BothBackends
{
};
RUN_ON_BOTH_BACKENDS(Errors);

TEST_P(Errors, show_backend_code_and_place)
{
    output_of({link(), "-e", city_table});
    const std::pair<const char *, const char *> cases[] = {
        {"select * from nowhere", "ORA-00942"},
        {"insert into city values(1, 'again', 0)", "ORA-00001"},
        {"insert into city values(9, null, 0)", "ORA-01400"},
        {"select nope from city", "ORA-00904"},
    };
    const std::string error = "error [" + backend() + "]: ";
    for (const auto &[sql, code] : cases) {
        const Outcome outcome = run({link(), "-e", sql});
        EXPECT_TRUE(outcome.ends(1, error + code));
        EXPECT_EQ(outcome.out, "");
    }
    write_file("bad.sql", "select 1 from city where id = 0;\n\nselect id,\n  東京, nope\nfrom city;\n");
    const Outcome placed = run({link(), "-f", "bad.sql"});
    EXPECT_TRUE(placed.ends(1, "bad.sql:4: " + error + "ORA-00904"));
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
    EXPECT_TRUE(stopped.ends(1, "stdin" + first_error));
    EXPECT_EQ(stopped.out, "Done.\n");

    output_of({link(), "-e", "drop table t"});
    const Outcome continued = run({link(), "--continue", "-f", "script.sql", "--no-header"});
    EXPECT_TRUE(continued.ends(1, "script.sql" + first_error));
    EXPECT_TRUE(continued.says(1, "error: script.sql:4: there is no command \\nonsense"));
    EXPECT_EQ(continued.out, "Done.\n1 row inserted.\n 1\n");
}

class Commands : public ShellTest
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

class Described : public BothBackends
{
protected:
    void SetUp() override
    {
        if (!describes())
            GTEST_SKIP() << "the exact edition does not describe on a Dravik connection";
    }
};
RUN_ON_BOTH_BACKENDS(Described);

TEST_P(Described, tables_and_columns)
{
    output_of({link(), "-e", kinds_table});
    EXPECT_EQ(output_of({link(), "-e", "\\d kinds"}),
              "Table kinds\n column  | type         | nullable\n---------+--------------+----------\n"
              " ID      | NUMBER(8)    | no\n PRICE   | NUMBER(12,2) | yes\n"
              " NAME    | VARCHAR2(20) | yes\n DAY     | DATE         | yes\n"
              " NOTE    | CLOB         | yes\n PICTURE | BLOB         | yes\n(6 rows)\n");
    EXPECT_TRUE(output_of({link(), "-e", "\\d Prices"}).starts_with("View Prices\n column | type "));
    EXPECT_EQ(output_of({link(), "--no-header", "--format", "csv", "-e", "\\d prices"}),
              "ID,NUMBER(8),no\nPRICE,\"NUMBER(12,2)\",yes\n");
    EXPECT_EQ(output_of({link(), "--types", "-e", "select id, name from kinds"}),
              " ID        | NAME\n NUMBER(8) | VARCHAR2(20)\n-----------+--------------\n(0 rows)\n");
    EXPECT_EQ(output_of({link(), "--format", "json", "-e",
                         "insert into kinds(id) values(1); select id, id, id + 1 as id_2 from kinds"}),
              "[\n{\"ID\":\"1\",\"ID_2\":\"1\",\"ID_2_2\":\"2\"}\n]\n");
}

TEST_P(Described, large_objects)
{
    std::string text; // as long as the database makes it, and longer
    for (int line = 1; text.size() < 5000; line++)
        text += "Zeile " + std::to_string(line) + ": Übergröße €\n";
    output_of(
        {link(), "-e",
         std::string(kinds_table) +
             "insert into kinds(id, note) values(1, (with recursive n(i, t) as (select 1, '' union all "
             "select i + 1, t || 'Zeile ' || i || ': Übergröße €' || char(10) from n where nvl(length(t), 0) < 3000) "
             "select t from n order by i desc fetch first row only));"
             "insert into kinds(id, note, picture) values(2, 'short', x'00ff10');"
             "insert into kinds(id, picture) values(3, hextoraw(replace(hex(zeroblob(30000)), '00', '30313233343536373839')));"
             "insert into kinds(id, note) values(4, '')"});
    const std::string length = rows_of(link(), "select length(note) from kinds where id = 1");
    const Outcome rows =
        run({link(), "--no-header", "-e", "select id, note, picture from kinds order by id"});
    for (const std::string &part : {std::string(" 1 | Zeile 1: Übergröße €"), std::string(" | short "),
                                    "… (" + length.substr(0, length.size() - 1) + " characters)",
                                    std::string(" | 00FF10\n"), std::string("… (300000 bytes)\n")})
        EXPECT_TRUE(rows.says(0, part));

    output_of({link(), "-b", "i=1", "-e", "\\lob note.txt select note from kinds where id = :i"});
    const std::string written = read_file("note.txt");
    EXPECT_EQ(written, text.substr(0, written.size()));
    const auto starts_character = [](char byte) { return (byte & 0xc0) != 0x80; };
    EXPECT_EQ(std::to_string(std::count_if(written.begin(), written.end(), starts_character)) + "\n", length);
    EXPECT_EQ(output_of({link(), "-e", "\\lob two.bin select picture from kinds where id = 2;"}),
              "3 bytes written to two.bin.\n");
    EXPECT_EQ(read_file("two.bin"), std::string("\0\xff\x10", 3));
    output_of({link(), "-e", "\\lob three.bin select picture from kinds where id = 3"});
    std::string digits;
    while (digits.size() < 300000)
        digits += "0123456789";
    EXPECT_TRUE(read_file("three.bin") == digits);

    const std::pair<const char *, const char *> wrong[] = {
        {"select id from kinds where id = 1", "the first column, ID, is no CLOB or BLOB"},
        {"select note from kinds where id = 9", "the query has no row"},
        {"select note from kinds where id < 3", "the query has more than one row"},
        {"select picture from kinds where id = 1", "PICTURE is NULL"},
        {"delete from kinds", "this is no query"},
    };
    for (const auto &[query, message] : wrong) {
        EXPECT_TRUE(run({link(), "-e", std::string("\\lob two.bin ") + query}).says(1, message));
        EXPECT_EQ(read_file("two.bin").size(), 3U);
    }
    EXPECT_FALSE(std::filesystem::exists(directory() / "two.bin.part"));
}

TEST_P(Described, names_that_need_quotes_and_lists_of_tables)
{
    output_of(
        {link(), "-e",
         "create table \"My Table\"(\"a b\" integer); create table my_table(x integer); create view v as "
         "select 1 one from dual;"});
    const std::pair<const char *, const char *> cases[] = {
        {"\\d \"My Table\"", "a b,NUMBER(38),yes\n"},
        {"\\d", "MY_TABLE,table\nMy Table,table\nV,view\n"},
        {"\\dt my*", "MY_TABLE,table\n"},
        {"\\dt \"My*\"", "My Table,table\n"},
        {"\\dt my?table;", "MY_TABLE,table\n"},
        {"\\dt my%", ""},
    };
    for (const auto &[command, rows] : cases)
        EXPECT_EQ(rows_of(link(), command), rows) << command;
    write_file("in.csv", "1\n2\n");
    EXPECT_EQ(run({link(), "-e", "\\copy in.csv \"My Table\"(\"a b\")"}).status, 0);
    EXPECT_EQ(rows_of(link(), "select sum(\"a b\") from \"My Table\""), "3\n");
    EXPECT_EQ(output_of({link(), "--format", "json", "--json-numbers", "-e",
                         "select 12345678901234567890 + 0.5 n, to_char(7) t, null z from dual"}),
              "[\n{\"N\":12345678901234567890.5,\"T\":\"7\",\"Z\":null}\n]\n");
}

/// A column that is as long as it likes is fetched in pieces, beside others.
TEST_P(Described, long_columns)
{
    if (!GetParam().is_extended)
        GTEST_SKIP() << "the exact edition has no calls for pieces";
    output_of({link(), "-e", "create table t(id integer, l long); create table u(id integer, l long raw)"});
    write_file("t.csv", "1," + std::string(200000, 'x') + "\n2,\n3,short\n");
    write_file("u.csv", "1," + std::string(140000, 'A') + "\n2,\n");
    for (const std::string name : {"t", "u"}) {
        EXPECT_EQ(run({link(), "-e", fmt::format("\\copy {0}.csv {0}", name)}).status, 0);
        EXPECT_TRUE(rows_of(link(), "select * from " + name + " order by id") == read_file(name + ".csv"))
            << name;
    }
    EXPECT_TRUE(run({link(), "--max-value", "3", "-e", "select l, id from t"}).says(0, " xxx…   |  1"));
}

/// Texts that a program could not show or would store as something else are refused.
TEST_P(Queries, text_has_to_be_utf8)
{
    output_of({link(), "-e", "create table t(a varchar2(9))"});
    const std::tuple<Arguments, std::string, int, const char *> cases[] = {
        {{}, "\ninsert into t values('\xE9');", 1, "stdin:2: byte 0xE9 at position 23 is no valid UTF-8"},
        {{"-e", "\\bind x \xE9"}, "", 1, "byte 0xE9 at position 9 is no valid UTF-8"},
        {{"-b", "x=\xE9", "-e", "insert into t values(:x)"},
         "",
         2,
         "byte 0xE9 at position 1 is no valid UTF-8"},
    };
    for (const auto &[words, input, status, message] : cases) {
        Arguments arguments{link()};
        arguments.insert(arguments.end(), words.begin(), words.end());
        EXPECT_TRUE(run(arguments, input).says(status, message));
    }
    EXPECT_EQ(rows_of(link(), "select count(*) from t"), "0\n");
    // What an error quotes does not reach the terminal as it is.
    EXPECT_TRUE(
        run({link(), "-e", "select \"\033[31m\" from t"}).ends(1, "error [" + backend() + "]: ORA-00904"));
    EXPECT_EQ(run({link(), "-e", "select \"\033[31m\" from t"}).err.find('\033'), std::string::npos);
}

TEST_P(Queries, passwords)
{
    write_file("secret", "tiger\n");
    std::filesystem::permissions(directory() / "secret", std::filesystem::perms(0600));
    write_file("open", "tiger\n");
    std::filesystem::permissions(directory() / "open", std::filesystem::perms(0640));
    write_file("empty", "\n");
    std::filesystem::permissions(directory() / "empty", std::filesystem::perms(0600));
    const std::tuple<const char *, const char *, int, const char *> cases[] = {
        {"scott@", "secret", 0, "SCOTT"},
        {"scott@", "open", 3, "the password file open can be read by others; chmod go-rwx open"},
        {"scott@", "missing", 3, "cannot open the password file missing: No such file"},
        {"scott@", "empty", 3, "has no password in its first line"},
        {"scott/tiger@", "secret", 2, "a password in an argument can be seen by other users"},
    };
    for (const auto &[user, file, status, message] : cases) {
        const bool is_refused = !GetParam().is_extended && status != 2;
        EXPECT_TRUE(
            run({user + link(), "--password-file", file, "-e", "select user from dual"})
                .says(is_refused ? 3 : status, is_refused ? "the exact edition begins sessions" : message));
    }
    if (!GetParam().is_extended)
        return;
    set_variable("DKOMSQL_PASSWORD=tiger");
    EXPECT_EQ(rows_of("scott@" + link(), "\\! echo password=$DKOMSQL_PASSWORD\nselect user from dual;"),
              "password=\nSCOTT\n");
}

TEST_F(Commands, from_other_shells)
{
    // Script, and what it writes.
    const std::tuple<const char *, int, const char *> cases[] = {
        {"select 1 from dual;\nexit\nselect 2 from dual;\n", 0, "1\n"},
        {" Quit;\nselect 2 from dual;\n", 0, ""},
        {"select 1 from dual where 'exit' <> '\nexit\n';\n", 0, "1\n"},
        {"\\c mars\n\\c nowhere\n", 1, ""},
        {"\\c mars\ncreate table t(a integer);\n\\c world\nselect a from t;\n", 1, ""},
        {"\\! echo out; exit 3\n", 1, "out\n"},
        {"\\null -\nselect null from dual;\n\\null\nselect null, 1 from dual;\n", 0, "-\n,1\n"},
        {"\\e\n", 1, ""},
    };
    for (const auto &[script, status, out] : cases) {
        const Outcome outcome = run({"world", "--format", "csv", "--no-header"}, script);
        EXPECT_EQ(outcome.status, status) << script << outcome.err;
        EXPECT_EQ(outcome.out, out) << script;
    }
    EXPECT_TRUE(run({"world"}, "help;\n").says(0, "\\copy FILE TABLE"));
    EXPECT_TRUE(run({"world"}, "\\c mars\n\\status\n").says(0, "Served by        dravik"));
    EXPECT_TRUE(run({"world", "-x"}, "select 1 a, null b from dual;\n")
                    .says(0, "-[ row 1 ]-\n A | 1\n B | (null)\n"));
}

/// The manual and the completions know every option, and the manual every command.
TEST_F(Commands, are_in_the_manual_and_the_completions)
{
    const auto content = [](const std::string &path) {
        std::ifstream file(PROJECT "/" + path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const std::string manual = std::regex_replace(content("docs/man/dkomsql.1"), std::regex(R"(\\-)"), "-");
    const std::string bash = content("tools/dkomsql/completion/dkomsql.bash");
    const std::string zsh = content("tools/dkomsql/completion/_dkomsql");
    const std::string help = output_of({"--help"});
    std::size_t found = 0;
    const std::regex names(R"(--[a-z-]+|\n  \\[a-z!]+)");
    for (std::sregex_iterator name(help.begin(), help.end(), names), end; name != end; ++name, found++) {
        const std::string text = name->str();
        const bool is_option = text.starts_with("--");
        EXPECT_NE(manual.find(is_option ? text : "\\e" + text.substr(4)), std::string::npos) << text;
        EXPECT_TRUE(!is_option || bash.find(text) != std::string::npos) << text;
        EXPECT_TRUE(!is_option || zsh.find(text) != std::string::npos) << text;
    }
    EXPECT_GT(found, 40U);
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
    const std::pair<const char *, const char *> cases[] = {
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
        {"\\copy x.csv", "usage: \\copy FILE TABLE[(COLUMN,...)] [header]"},
        {"\\copy x.csv t;drop", "'t;drop' is not the name of a table"},
        {"\\copy x.csv t delimiter ab", "\\copy: the delimiter has to be one character, or tab"},
        {"\\copy x.csv t rejects many", "\\copy: many is not a number of rows"},
        {"\\copy x.csv t sideways", "\\copy does not know the option sideways"},
        {"\\copy x.csv t", "cannot open x.csv: No such file or directory"},
        {"\\i self.sql", "self.sql is included too deeply; does it include itself?"},
    };
    for (const auto &[command, message] : cases)
        EXPECT_TRUE(run({"world", "-e", command}).says(1, message));
    for (const char *command : {"\\d t", "\\lob - select 1"})
        EXPECT_TRUE(run_other(DKOMSQL_EXACT_PROGRAM, {"mars", "-e", command})
                        .says(1, "dkomsql, which is built on the extended one"));
    const std::tuple<Arguments, int, const char *> arguments[] = {
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
        {{"nowhere", "-e", "select 1"}, 3, "/dravik/nowhere.db"},
        {{"world", "-e", "\\o /dev/full\nselect * from dual;"},
         1,
         "cannot write the output: No space left on device"},
    };
    for (const auto &[words, status, message] : arguments)
        EXPECT_TRUE(run(words).says(status, message));
}

TEST_P(Queries, status_names_backend_and_libraries)
{
    for (const Arguments &arguments : {Arguments{link(), "--status"}, Arguments{link(), "-e", "\\status"}}) {
        const Outcome outcome = run(arguments);
        for (const std::string &part :
             {"Link             " + link() + "\n", "Served by        " + backend() + "\n",
              std::string(GetParam().is_extended ? "/libdkomx.so" : "/libdkom.so"),
              std::string(CLIENT_LIBRARY_DIR "/libclntsh.so"),
              std::string(CLIENT_LIBRARY_DIR "/libdkoci.so")})
            EXPECT_TRUE(outcome.says(0, part));
        EXPECT_EQ(outcome.out.find("(always asked of the Oracle library)") == std::string::npos,
                  GetParam().is_extended);
        EXPECT_EQ(outcome.err, "");
    }
}

/// The exact edition needs both libraries; the extended one makes do with one.
TEST_P(Queries, a_client_library_that_is_missing_is_named)
{
    const std::string other = backend() == "oracle" ? "DRK" : "ORA";
    set_variable("DKOM_" + other + "_LIB_PATH=/nowhere");
    const Outcome outcome = run({link(), "--no-header", "-e", "select 1 from dual"});
    if (GetParam().is_extended) {
        EXPECT_TRUE(outcome.ends(0, ""));
        EXPECT_EQ(outcome.out, " 1\n");
        set_variable("DKOM_ORA_LIB_PATH=/nowhere");
        set_variable("DKOM_DRK_LIB_PATH=/nowhere");
        const Outcome none = run({link(), "-e", "select 1 from dual"});
        EXPECT_TRUE(none.says(3, "/nowhere/libclntsh.so"));
        EXPECT_TRUE(none.says(3, "/nowhere/libdkoci.so"));
        return;
    }
    EXPECT_TRUE(outcome.says(3, "'s client library: /nowhere/lib"));
    EXPECT_TRUE(outcome.says(3, "set DKOM_" + other + "_LIB_PATH to the directory that holds"));
}

} // namespace
