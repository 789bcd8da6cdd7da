#include "shell.h"

#include <set>

#include <fmt/format.h>

namespace
{

class Copy : public BothBackends
{
protected:
    void SetUp() override
    {
        output_of(
            {link(), "-e",
             "create table t(id integer primary key, name varchar2(100) not null, note varchar2(100))"});
    }

    Outcome copy(const std::string &arguments) const { return run({link(), "-e", "\\copy " + arguments}); }

    /// The table as CSV, ordered by its key.
    std::string content() const { return rows_of(link(), "select id, name, note from t order by id"); }
};
RUN_ON_BOTH_BACKENDS(Copy);

TEST_P(Copy, reads_what_csv_output_wrote)
{
    const std::string csv = "1,\"a, \"\"b\"\"\",\n2,\"two\nlines\",ü東\n3, blank ,\"last\"\n";
    write_file("in.csv", csv);
    const Outcome outcome = copy("in.csv t");
    EXPECT_TRUE(outcome.ends(0, ""));
    EXPECT_TRUE(outcome.out.starts_with("3 rows loaded into t, 0 rejected, in ")) << outcome.out;
    EXPECT_EQ(content(), "1,\"a, \"\"b\"\"\",\n2,\"two\nlines\",ü東\n3,\" blank \",last\n");
}

TEST_P(Copy, options)
{
    write_file("in.csv", "name;id\nx y;7\n-;8\n\n");
    EXPECT_TRUE(copy("in.csv t with header delimiter ';'").ends(0, ""));
    write_file("in.tsv", "9\tn\t-\n");
    EXPECT_EQ(copy("in.tsv t delimiter tab null -").status, 0);
    EXPECT_EQ(content(), "7,x y,\n8,-,\n9,n,\n");
}

TEST_P(Copy, standard_input_and_columns)
{
    // Command, input, and what is in the table afterwards.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"\\copy - t", "1,a,x\n", "1,a,x\n"},
        {"\\copy - t (\"NAME\", id)", "b,2\n", "1,a,x\n2,b,\n"},
        // The names in the list, not those in the header line.
        {"\\copy - t(id, name) header", "nope,neither\n3,c\n", "1,a,x\n2,b,\n3,c,\n"},
    };
    for (const auto &[command, input, rows] : cases) {
        EXPECT_EQ(run({link(), "-e", command}, input).status, 0) << command;
        EXPECT_EQ(content(), rows) << command;
    }
    // A script that carries its rows.
    const Outcome script =
        run({link(), "--format", "csv", "--no-header"},
            "delete from t;\n\\copy - t\n4,d,\n5,\"\\.\n\\.\",\n\\.\nselect count(*) from t;\n");
    EXPECT_TRUE(script.says(0, "2 rows loaded"));
    EXPECT_EQ(script.out, "2\n");
    EXPECT_EQ(content(), "4,d,\n5,\"\\.\n\\.\",\n");
}

/// Values longer than an array of the interface can hold come and go whole, or not at all.
TEST_P(Copy, long_texts_and_bytes_go_to_csv_and_back)
{
    std::string csv, without_bytes;
    int id = 0;
    for (const std::size_t length : {0U, 1U, 32767U, 32768U, 70000U, 300000U}) {
        std::string text, digits;
        while (text.size() < length)
            text += "Größe ";
        while (digits.size() < length)
            digits += "00FF0D0A";
        text += text.empty() ? "" : ".";
        csv += fmt::format("{},{},{}\n", ++id, text, digits);
        without_bytes += fmt::format("{},{}\n", id, text);
    }
    write_file("in.csv", csv);
    output_of(
        {link(), "-e",
         "create table big(id integer, c clob, b blob); create table again(id integer, c clob, b blob)"});
    EXPECT_EQ(copy("in.csv big").status, 0);
    const Outcome out =
        run({link(), "--format", "csv", "--no-header", "-e",
             describes() ? "select * from big order by id" : "select id, c from big order by id"});
    if (!describes()) {
        EXPECT_TRUE(out.ends(1, "error: 1 value cannot be fetched whole"));
        EXPECT_TRUE(without_bytes.starts_with(out.out)) << "only whole rows";
        EXPECT_TRUE(run({link(), "-e", "select b from big"}).ends(1, "error [dravik]: ORA-00932: "))
            << "bytes are no text";
        return;
    }
    EXPECT_EQ(out.status, 0) << out.err;
    EXPECT_TRUE(out.out == csv);
    write_file("out.csv", out.out);
    EXPECT_EQ(copy("out.csv again").status, 0);
    EXPECT_EQ(rows_of(link(),
                      "select count(*) from big x, again y where x.id = y.id and length(x.b) = length(y.b)"),
              "5\n"); // the length of NULL is none
    EXPECT_EQ(run({link(), "-e", "\\lob - select b from again where id = 2"}).out,
              std::string("\0\xFF\r\n", 4));
    write_file("bad.csv", "9,x,0G\n9,x,012\n");
    EXPECT_TRUE(copy("bad.csv again")
                    .says(1, "bad.csv:2: row rejected: field 3 is for bytes and does not consist of"));
}

TEST_P(Copy, many_batches_with_rejects_in_all_places)
{
    // Rows that the database refuses: first, last, next to each other, at both ends of a batch of 1000.
    const std::set<int> bad{1, 999, 1000, 1001, 1500, 1501, 2500};
    std::string csv, expected;
    for (int id = 1; id <= 2500; id++) {
        const std::string good_row = fmt::format("{0},name {0},x\n", id);
        csv += bad.contains(id) ? fmt::format("{},,x\n", id) : good_row;
        expected += bad.contains(id) ? "" : good_row;
    }
    write_file("in.csv", csv);
    const Outcome outcome = copy("in.csv t");
    EXPECT_TRUE(outcome.out.starts_with("2493 rows loaded into t, 7 rejected, in ")) << outcome.out;
    for (const int id : bad)
        EXPECT_TRUE(outcome.says(1, fmt::format("in.csv:{}: row rejected: ORA-01400", id)));
    EXPECT_EQ(content(), expected);
}

TEST_P(Copy, rejects_name_line_and_reason)
{
    write_file("in.csv",
               "1,a,x\n2,too few\n\"3\"x,c,x\n4,\"two\nlines\",x\n1,again,x\n6,too,many,fields\n7,g,x\n");
    const Outcome outcome = copy("in.csv t");
    EXPECT_TRUE(outcome.err.starts_with("in.csv:2: row rejected: 2 fields where 3 are expected\n"
                                        "in.csv:3: row rejected: a quotation mark stands where none may be\n"
                                        "in.csv:6: row rejected: ORA-00001"))
        << outcome.err;
    EXPECT_TRUE(outcome.says(1, "\nin.csv:7: row rejected: 4 fields where 3 are expected\n"));
    EXPECT_TRUE(outcome.says(1, "error: 4 rows of in.csv not loaded\n"));
    EXPECT_EQ(content(), "1,a,x\n4,\"two\nlines\",x\n7,g,x\n");
}

TEST_P(Copy, stops_when_going_on_makes_no_sense)
{
    write_file("in.csv", "1,a,x\n1,b,x\n1,c,x\n1,d,x\n2,e,x\n");
    // A load is whole or not at all, unless it is to be committed as it goes on.
    EXPECT_TRUE(
        copy("in.csv t rejects 1")
            .says(1, "error: the load was stopped: more than 1 rows rejected\nno row is committed, 1 row "
                     "rolled back\n"));
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(copy("in.csv t rejects 1 commit 1").says(1, "rows rejected\n1 row is committed\n"));
    EXPECT_EQ(content(), "1,a,x\n");

    const Outcome no_table = copy("in.csv nowhere");
    EXPECT_TRUE(no_table.says(1, "in.csv:1: ORA-00942"));
    EXPECT_TRUE(no_table.out.starts_with("0 rows loaded into nowhere, 0 rejected")) << no_table.out;
}

TEST_P(Copy, values_of_very_different_lengths)
{
    std::string csv;
    for (int id = 1; id <= 2200; id++)
        csv += fmt::format("{},{},\n", id, std::string(id % 700 == 0 ? 3000U : 1U, 'v'));
    output_of({link(), "-e", "drop table t; create table t(id integer, name clob, note varchar2(10))"});
    write_file("in.csv", csv);
    EXPECT_EQ(copy("in.csv t").status, 0);
    EXPECT_EQ(content(), csv);
}

TEST_P(Copy, odd_files)
{
    const std::tuple<const char *, std::string, const char *, int, const char *> cases[] = {
        {"empty", "", "", 0, "0 rows loaded"},
        {"only a header", "id,name\n", "header", 0, "0 rows loaded"},
        {"no header", "", "header", 1, "in.csv has no header line"},
        {"unnamed column", "id,\n1,2\n", "header", 1, "a column in the header line has no name"},
        {"unknown column", "id,colour\n1,2\n", "header", 1, "ORA-00904"},
        {"zero byte", std::string("1,a\0b,c\n", 8), "", 1,
         "in.csv:1: row rejected: a field holds a zero byte"},
        {"no UTF-8", "1,a\xE9,c\n", "", 1, "in.csv:1: row rejected: field 2 is no valid UTF-8"},
        {"open quote", "1,\"a,c\n2,b,c\n", "", 1, "in.csv:1: row rejected: the quotation mark that opens"},
    };
    for (const auto &[what, file, options, expected_status, message] : cases) {
        write_file("in.csv", file);
        EXPECT_TRUE(copy(std::string("in.csv t ") + options).says(expected_status, message)) << what;
        EXPECT_EQ(content(), "") << what;
    }
}

} // namespace
