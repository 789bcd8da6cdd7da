#include "result_writer.h"

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace dkomsql
{
namespace
{

using Row = std::vector<std::optional<std::string>>;

std::string written(Format format, const std::vector<std::string> &columns, const std::vector<Row> &rows,
                    const WriterOptions &options = {})
{
    std::ostringstream out;
    const auto writer = make_writer(format, out, columns, options);
    for (const Row &row : rows) {
        std::vector<Cell> cells;
        for (const auto &value : row)
            cells.push_back({value ? std::string_view(*value) : "", !value, false});
        writer->row(cells);
    }
    writer->finish();
    return out.str();
}

TEST(result_writer, table_aligns_by_terminal_columns)
{
    const std::vector<Row> rows{
        {"Zürich", "12", "a"},
        {"東京", "-3.5", std::nullopt},
        {"Zu\u0308g", "1e6", "(null)"},
        {"tab\t", std::nullopt, ""},
    };
    EXPECT_EQ(written(Format::table, {"city", "n", "3"}, rows), " city   |      n | 3\n"
                                                                "--------+--------+--------\n"
                                                                " Zürich |     12 | a\n"
                                                                " 東京   |   -3.5 | (null)\n"
                                                                " Zu\u0308g    |    1e6 | (null)\n"
                                                                " tab\\t  | (null) | \n"
                                                                "(4 rows)\n");
}

TEST(result_writer, table_marks_null_and_cut_values)
{
    std::ostringstream out;
    const auto writer = make_writer(Format::table, out, {"1", "2"}, {true, true});
    const std::vector<Cell> cells{{"", true, false}, {"begin", false, true}};
    writer->row(cells);
    writer->finish();
    EXPECT_EQ(out.str(), " 1      | 2\n"
                         "--------+--------\n"
                         " \033[2m(null)\033[0m | begin…\n"
                         "(1 row)\n");
}

TEST(result_writer, right_alignment_needs_nothing_but_numbers)
{
    const std::pair<const char *, bool> cases[] = {
        {"7", true},  {"-0.5", true}, {"+1E-7", true}, {".5", true},   {"", false},
        {"-", false}, {"12a", false}, {"e5", false},   {"1,5", false},
    };
    for (const auto &[value, right] : cases) {
        const std::string table = written(Format::table, {"1"}, {{"1234567"}, {value}}, {false, false});
        const std::string line = table.substr(table.find('\n') + 1);
        EXPECT_EQ(line.starts_with("  "), right) << value;
    }
}

TEST(result_writer, a_late_wide_value_is_written_whole)
{
    std::vector<Row> rows(1500, Row{"x", "y"});
    rows[1400] = {"wider", "y"};
    const std::string table = written(Format::table, {"1", "2"}, rows);
    EXPECT_NE(table.find("\n wider | y\n"), std::string::npos);
    EXPECT_TRUE(table.ends_with(" x | y\n(1500 rows)\n"));
}

TEST(result_writer, formats)
{
    const std::vector<std::string> columns{"id", "a b"};
    const std::vector<Row> rows{{"1", "x,\"y\"\n"}, {"", std::nullopt}, {" 2", "ü\xFF"}};
    const std::tuple<Format, bool, std::vector<Row>, std::string> cases[] = {
        {Format::table, true, {}, " id | a b\n----+-----\n(0 rows)\n"},
        {Format::table, false, {{"1", "b"}}, " 1 | b\n"},
        {Format::csv, true, {}, "id,a b\n"},
        {Format::csv, false, rows, "1,\"x,\"\"y\"\"\n\"\n\"\",\n\" 2\",ü\xFF\n"},
        {Format::json, true, {}, "[\n]\n"},
        {Format::json, true, rows,
         "[\n{\"id\":\"1\",\"a b\":\"x,\\\"y\\\"\\n\"},\n{\"id\":\"\",\"a b\":null},\n"
         "{\"id\":\" 2\",\"a b\":\"ü\uFFFD\"}\n]\n"},
    };
    for (const auto &[format, header, rows, text] : cases)
        EXPECT_EQ(written(format, columns, rows, {header, false}), text) << name_of(format);
}

TEST(result_writer, options)
{
    const std::vector<std::string> columns{"id", "long name"};
    const std::vector<Row> rows{{"1", "x\ny"}, {std::nullopt, "é"}};
    WriterOptions expanded;
    expanded.expanded = true;
    WriterOptions nulls;
    nulls.null_text = "<nil>";
    EXPECT_EQ(written(Format::table, columns, rows, expanded),
              "-[ row 1 ]-\n id        | 1\n long name | x\\ny\n-[ row 2 ]-\n id        | (null)\n"
              " long name | é\n(2 rows)\n");
    EXPECT_EQ(written(Format::csv, columns, rows, nulls), "id,long name\n1,\"x\ny\"\n<nil>,é\n");
    EXPECT_EQ(written(Format::table, columns, rows, nulls),
              "    id | long name\n-------+-----------\n     1 | x\\ny\n <nil> | é\n(2 rows)\n");

    WriterOptions numbers;
    numbers.numbers = {true, false};
    const std::pair<const char *, const char *> cases[] = {
        {"7", "7"},   {"-.5", "-0.5"},    {".25E+100", "0.25E+100"},
        {"-0", "-0"}, {"+1", "1"},        {"12345678901234567890.123", "12345678901234567890.123"},
        {"007", "7"}, {"Inf", "\"Inf\""}, {"1.", "\"1.\""},
        {"", "\"\""}, {"1,5", "\"1,5\""},
    };
    for (const auto &[text, json] : cases) {
        EXPECT_EQ(written(Format::json, columns, {{text, "1"}}, numbers),
                  "[\n{\"id\":" + std::string(json) + ",\"long name\":\"1\"}\n]\n");
    }
}

} // namespace
} // namespace dkomsql
