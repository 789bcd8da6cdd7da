#include "program.h"

#include <fmt/format.h>

namespace
{

class Copy : public BothBackends
{
protected:
    void SetUp() override
    {
        output_of({link(), "-e",
                   "create table t(id integer primary key, name varchar2(100) not null, note "
                   "varchar2(100))"});
    }

    Outcome copy(const std::string &arguments) const { return run({link(), "-e", "\\copy " + arguments}); }

    /// The table as CSV, ordered by its key.
    std::string content() const
    {
        return output_of(
            {link(), "--format", "csv", "--no-header", "-e", "select id, name, note from t order by id"});
    }
};
RUN_ON_BOTH_BACKENDS(Copy);

TEST_P(Copy, reads_what_csv_output_wrote)
{
    const std::string csv = "1,\"a, \"\"b\"\"\",\n2,\"two\nlines\",ü東\n3, blank ,\"last\"\n";
    write_file("in.csv", csv);
    const Outcome outcome = copy("in.csv t");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(outcome.out.starts_with("3 rows loaded into t, 0 rejected, in ")) << outcome.out;
    EXPECT_EQ(content(), "1,\"a, \"\"b\"\"\",\n2,\"two\nlines\",ü東\n3,\" blank \",last\n");
}

TEST_P(Copy, options)
{
    write_file("in.csv", "name;id\nx y;7\n-;8\n\n");
    const Outcome outcome = copy("in.csv t with header delimiter ';'");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    write_file("in.tsv", "9\tn\t-\n");
    EXPECT_EQ(copy("in.tsv t delimiter tab null -").status, 0);
    EXPECT_EQ(content(), "7,x y,\n8,-,\n9,n,\n");
}

TEST_P(Copy, many_batches_with_rejects_in_all_places)
{
    // Rows that the database refuses: first, last, next to each other, at both ends of a batch of 1000.
    const auto is_bad = [](int id) {
        return id == 1 || id == 999 || id == 1000 || id == 1001 || id == 1500 || id == 1501 || id == 2500;
    };
    std::string csv;
    std::string expected;
    for (int id = 1; id <= 2500; id++) {
        const std::string good_row = fmt::format("{0},name {0},x\n", id);
        csv += is_bad(id) ? fmt::format("{},,x\n", id) : good_row;
        expected += is_bad(id) ? "" : good_row;
    }
    write_file("in.csv", csv);
    const Outcome outcome = copy("in.csv t");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.out.starts_with("2493 rows loaded into t, 7 rejected, in ")) << outcome.out;
    for (const int id : {1, 999, 1000, 1001, 1500, 1501, 2500})
        EXPECT_NE(outcome.err.find("in.csv:" + std::to_string(id) + ": row rejected: ORA-01400"),
                  std::string::npos)
            << outcome.err;
    EXPECT_EQ(content(), expected);
}

TEST_P(Copy, rejects_name_line_and_reason)
{
    write_file("in.csv",
               "1,a,x\n2,too few\n\"3\"x,c,x\n4,\"two\nlines\",x\n1,again,x\n6,too,many,fields\n7,g,x\n");
    const Outcome outcome = copy("in.csv t");
    EXPECT_EQ(outcome.status, 1);
    const std::string expected = "in.csv:2: row rejected: 2 fields where 3 are expected\n"
                                 "in.csv:3: row rejected: a quotation mark stands where none may be\n"
                                 "in.csv:6: row rejected: ORA-00001";
    EXPECT_TRUE(outcome.err.starts_with(expected)) << outcome.err;
    EXPECT_NE(outcome.err.find("\nin.csv:7: row rejected: 4 fields where 3 are expected\n"),
              std::string::npos);
    EXPECT_NE(outcome.err.find("error: 4 rows of in.csv not loaded\n"), std::string::npos) << outcome.err;
    EXPECT_EQ(content(), "1,a,x\n4,\"two\nlines\",x\n7,g,x\n");
}

TEST_P(Copy, stops_when_going_on_makes_no_sense)
{
    write_file("in.csv", "1,a,x\n1,b,x\n1,c,x\n1,d,x\n2,e,x\n");
    const Outcome too_many = copy("in.csv t rejects 1");
    EXPECT_EQ(too_many.status, 1);
    EXPECT_NE(too_many.err.find("error: the load was stopped: more than 1 rows rejected"), std::string::npos)
        << too_many.err;
    EXPECT_EQ(content(), "1,a,x\n");

    const Outcome no_table = copy("in.csv nowhere");
    EXPECT_EQ(no_table.status, 1);
    EXPECT_NE(no_table.err.find("in.csv:1: ORA-00942"), std::string::npos) << no_table.err;
    EXPECT_TRUE(no_table.out.starts_with("0 rows loaded into nowhere, 0 rejected")) << no_table.out;
}

TEST_P(Copy, values_of_very_different_lengths)
{
    std::string csv;
    std::string expected;
    for (int id = 1; id <= 2200; id++) {
        const std::string row =
            std::to_string(id) + "," + std::string(id % 700 == 0 ? 3000U : 1U, 'v') + ",\n";
        csv += row;
        expected += row;
    }
    output_of({link(), "-e", "drop table t; create table t(id integer, name clob, note varchar2(10))"});
    write_file("in.csv", csv);
    EXPECT_EQ(copy("in.csv t").status, 0);
    EXPECT_EQ(content(), expected);
}

TEST_P(Copy, odd_files)
{
    const struct {
        const char *what;
        std::string file;
        const char *options;
        int status;
        const char *message;
    } cases[] = {
        {"empty", "", "", 0, "0 rows loaded"},
        {"only a header", "id,name\n", "header", 0, "0 rows loaded"},
        {"no header", "", "header", 1, "in.csv has no header line"},
        {"unnamed column", "id,\n1,2\n", "header", 1, "a column in the header line has no name"},
        {"unknown column", "id,colour\n1,2\n", "header", 1, "ORA-00904"},
        {"zero byte", std::string("1,a\0b,c\n", 8), "", 1,
         "in.csv:1: row rejected: a field holds a zero byte"},
        {"open quote", "1,\"a,c\n2,b,c\n", "", 1, "in.csv:1: row rejected: the quotation mark that opens"},
    };
    for (const auto &c : cases) {
        write_file("in.csv", c.file);
        const Outcome outcome = copy(std::string("in.csv t ") + c.options);
        EXPECT_EQ(outcome.status, c.status) << c.what;
        EXPECT_NE((outcome.out + outcome.err).find(c.message), std::string::npos)
            << outcome.out << outcome.err;
        EXPECT_EQ(content(), "") << c.what;
    }
}

} // namespace
