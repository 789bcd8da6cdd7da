#include "words.h"

#include <string>

#include <gtest/gtest.h>

#include "credentials.h"
#include "sql_text.h"
#include "user_error.h"

namespace dkomsql
{
namespace
{

std::string joined(const std::vector<std::string> &texts)
{
    std::string all;
    for (const std::string &text : texts)
        all += "[" + text + "]";
    return all;
}

/// What `take` returns, or the message of the error that it throws.
template <typename Take> std::string taken(const Take &take)
{
    try {
        return take();
    } catch (const UserError &error) {
        return std::string("! ") + error.what();
    }
}

TEST(words, of_a_command)
{
    const std::pair<const char *, const char *> cases[] = {
        {" a\tb ", "[a][b]"},
        {"'two words' \"x\"\"y\" it''s", "[two words][x\"y][its]"},
        {"a\"b c\"d", "[ab cd]"},
        {"''", "[]"},
        {"'open", "! a quote ' is not closed"},
    };
    for (const auto &[line, expected] : cases) {
        EXPECT_EQ(taken([&, &text = line] {
                      WordReader reader(text);
                      std::vector<std::string> words;
                      while (const auto word = reader.word())
                          words.push_back(*word);
                      return joined(words);
                  }),
                  expected)
            << line;
    }
}

TEST(words, table_and_columns)
{
    const std::pair<const char *, const char *> cases[] = {
        {"t header", "t [] header"},
        {"hr.t", "hr.t [] -"},
        {"\"My Table\" x", "\"My Table\" [] x"},
        {"t(a, \"B, (c)\" )", "t [a][\"B, (c)\"] -"},
        {"t  ( a ) header", "t [a] header"},
        {"t;drop", "! 't;drop' is not the name of a table"},
        {"t(a", "! the list of columns of t is not closed"},
        {"t()", "! '' is not the name of a column"},
        {"t(a,b+1)", "! 'b+1' is not the name of a column"},
        {"\"open", "! a quote \" is not closed"},
    };
    for (const auto &[line, expected] : cases) {
        EXPECT_EQ(taken([&, &text = line] {
                      WordReader reader(text);
                      const TableColumns parsed = parse_table(reader.name().value_or(""));
                      const std::string columns = parsed.columns.empty() ? "[]" : joined(parsed.columns);
                      return parsed.table + " " + columns + " " + reader.rest().value_or("-");
                  }),
                  expected)
            << line;
    }
}

TEST(words, connect_target)
{
    const std::tuple<const char *, const char *> cases[] = {
        {"world", "- world"},
        {"scott@world", "scott world"},
        {"/@world", " world"},
        {"scott@//host:1521/service", "scott //host:1521/service"},
        {"//host:1521/service", "- //host:1521/service"},
        {"\"a@b/c\"@world", "\"a@b/c\" world"},
        {"(DESCRIPTION=(ADDRESS=(HOST=a@b/c)))", "- (DESCRIPTION=(ADDRESS=(HOST=a@b/c)))"},
        {"scott/tiger@world",
         "! a password in an argument can be seen by other users of this machine; leave it "
         "out to be asked for it, or give it in DKOMSQL_PASSWORD or with --password-file"},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(taken([&, &given = text] {
                      const ConnectTarget target = parse_target(given);
                      return target.user.value_or("-") + " " + target.link;
                  }),
                  expected)
            << text;
    }
}

TEST(words, what_a_statement_names_and_locks)
{
    const std::tuple<const char *, const char *, bool> cases[] = {
        {"select * from a, \"B c\" x, d where e in (select 1 from f) order by g, h", "[a][\"B c\"][d][f]",
         false},
        {"select * from a join b on a.x = b.y for update of a", "[a][b]", true},
        {"update t set a = 1, b = 2", "[t]", false},
        {"insert into t(a, b) select ", "[t]", false},
        {"select 'for update' from t -- for update", "[t]", false},
        {"select * from t FOR /* all */ UPDATE nowait", "[t]", true},
    };
    for (const auto &[sql, tables, locks] : cases) {
        EXPECT_EQ(joined(tables_named(sql)), tables) << sql;
        EXPECT_EQ(locks_rows(sql), locks) << sql;
    }
}

} // namespace
} // namespace dkomsql
