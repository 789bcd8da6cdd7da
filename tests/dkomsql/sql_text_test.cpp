#include "sql_text.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace dkomsql
{
namespace
{

using Statements = std::vector<std::pair<std::size_t, std::string>>; // line, text

Statements split(const std::string &script)
{
    Statements result;
    StatementSplitter splitter;
    std::istringstream in(script);
    for (std::string line; std::getline(in, line);) {
        splitter.add_line(line);
        while (const auto statement = splitter.next())
            result.emplace_back(statement->line, statement->text);
    }
    if (const auto statement = splitter.finish())
        result.emplace_back(statement->line, statement->text);
    return result;
}

TEST(sql_text, statements_of_a_script)
{
    const std::tuple<const char *, std::string, Statements> cases[] = {
        {"nothing", " \n-- only a remark\n/* and\n another */;;\n;", {}},
        {"several on a line",
         "select 1; select 2;select 3",
         {{1, "select 1"}, {1, "select 2"}, {1, "select 3"}}},
        {"several lines", "select\n 1\n;\n\n  select 2;", {{1, "select\n 1"}, {5, "select 2"}}},
        {"terminators in quotes and comments",
         "select ';', \"a;b\" -- ;\n, 1 /* ;\n ; */ + 2;\nselect 'it''s;'",
         {{1, "select ';', \"a;b\" -- ;\n, 1 /* ;\n ; */ + 2"}, {4, "select 'it''s;'"}}},
        {"quoted text over lines",
         "select 'a;\n--b\n';select 2",
         {{1, "select 'a;\n--b\n'"}, {3, "select 2"}}},
        {"comments in front", "-- first\n/* second */ select 1;", {{2, "select 1"}}},
        {"slash line", "select 1\n / \nselect 4/2\n/\n/\n", {{1, "select 1"}, {3, "select 4/2"}}},
        {"blocks",
         "begin\n a; b;\nend;\n/\nselect 1;\ncreate or replace trigger t begin x; end;\n/\n"
         "create temp trigger u begin y;\nend;\n/\n",
         {{1, "begin\n a; b;\nend;"},
          {5, "select 1"},
          {6, "create or replace trigger t begin x; end;"},
          {8, "create temp trigger u begin y;\nend;"}}},
        {"not a block",
         "create table trigger_log(a); insert into begin values(1);",
         {{1, "create table trigger_log(a)"}, {1, "insert into begin values(1)"}}},
        {"never closed", "select 'a;\nb", {{1, "select 'a;\nb"}}},
    };
    for (const auto &[what, script, statements] : cases)
        EXPECT_EQ(split(script), statements) << what;
}

TEST(sql_text, pending_while_a_statement_or_comment_is_open)
{
    const std::pair<std::string, bool> cases[] = {
        {"", false},          {"   ", false},     {"-- remark", false}, {"/* closed */", false},
        {"/* open", true},    {"select 1", true}, {"select 1;", false}, {"select 1; select", true},
        {"select 'a;", true}, {"begin a;", true},
    };
    for (const auto &[expected_line, expected_pending] : cases) {
        StatementSplitter splitter;
        splitter.add_line(expected_line);
        while (splitter.next()) {
        }
        EXPECT_EQ(splitter.pending(), expected_pending) << expected_line;
        splitter.discard();
        EXPECT_FALSE(splitter.pending());
        splitter.add_line("select 2;");
        const auto next = splitter.next();
        ASSERT_TRUE(next);
        EXPECT_EQ(next->line, 2U);
    }
}

TEST(sql_text, placeholders)
{
    using Names = std::vector<std::string>;
    const std::pair<std::string, Names> cases[] = {
        {"select 1", {}},
        {"select :a, :b_2, :1 from t where x=:a or y=:A", {"a", "b_2", "1"}},
        {"select ':no', \":no\" /* :no */ -- :no\n, :yes", {"yes"}},
        {"select x::text, y : z, w := 1", {}},
        {"create trigger t begin insert into l values(:new.a); end", {}},
        {"/* note */ create table t(a)", {}},
        {":größe", {"größe"}},
    };
    for (const auto &[sql, names] : cases)
        EXPECT_EQ(placeholders(sql), names) << sql;
}

TEST(sql_text, locate)
{
    const std::string text = "one\ntwo\n\nfour";
    const std::tuple<std::size_t, std::size_t, std::string, std::size_t> cases[] = {
        {0, 0, "one", 0}, {3, 0, "one", 3},   {4, 1, "two", 0},
        {8, 2, "", 0},    {12, 3, "four", 3}, {99, 3, "four", 4},
    };
    for (const auto &[expected_offset, expected_line, expected_line_text, in_line] : cases) {
        const TextPosition position = locate(text, expected_offset);
        EXPECT_EQ(position.line, expected_line) << expected_offset;
        EXPECT_EQ(position.line_text, expected_line_text) << expected_offset;
        EXPECT_EQ(position.offset, in_line) << expected_offset;
    }
}

} // namespace
} // namespace dkomsql
