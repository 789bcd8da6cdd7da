#include "shell.h"

#include <sys/stat.h>
#include <unistd.h>

#include "terminal.h"

namespace
{

class Interactive : public BothBackends
{
protected:
    Terminal start(const std::string &target, const Arguments &options = {})
    {
        std::vector<std::string> words{program(), target};
        words.insert(words.end(), options.begin(), options.end());
        return {directory().string(), words, environment()};
    }
    Terminal start() { return start(link()); }
    std::string prompt() const { return link() + " [" + backend() + "]> "; }
};
RUN_ON_BOTH_BACKENDS(Interactive);

TEST_P(Interactive, session)
{
    Terminal terminal = start();
    terminal.talk({{"", "served by " + backend()},
                   {"", prompt()},
                   {"create table t(a varchar2(20));\n", "Done."},
                   {"insert into t\n", "...> "},
                   {"values('über');\n", "1 row inserted."},
                   {"\\timing\n", "Timing is on."},
                   {"select nothing from nowhere;\n", "error [" + backend() + "]:"},
                   {"", "Time: "}, // of what failed, too
                   {"", prompt()},
                   // Ctrl-C drops what has been typed and leaves the shell alone.
                   {"select broken\n", "...> "},
                   {"still broken\003", prompt()},
                   {"select a || '!' from t;\n", " über!"},
                   {"", prompt()}});
    terminal.leave("EXIT;\n");
    const std::string history = read_file("state/dkomsql/history");
    EXPECT_NE(history.find("create"), std::string::npos) << history;
    EXPECT_EQ(history.find("broken"), std::string::npos) << history;
}

TEST_P(Interactive, interrupt_breaks_the_statement)
{
    Terminal terminal = start();
    const std::string endless =
        "with recursive n(i) as (select 1 union all select i + 1 from n) select count(*) from n;";
    terminal.talk({{"", prompt()}, {endless + "\n", "from n;"}});
    bool is_broken = false;
    for (int attempt = 0; attempt < 10 && !is_broken;
         attempt++) { // the first may come before the statement runs
        usleep(300000);
        terminal.type("\003");
        is_broken = terminal.shows("ORA-01013", 1000);
    }
    ASSERT_TRUE(is_broken);
    terminal.talk({{"", prompt()}, {"select 6 * 7;\n", " 42"}});
    terminal.leave();
}

TEST_P(Interactive, prompt_marks_open_changes_and_locks)
{
    Terminal terminal = start();
    const std::string marked = link() + " [" + backend() + "]*> ";
    terminal.talk({{"", prompt()},
                   {"create table t(a integer);\n", prompt()},
                   {"select * from t for update;\n", marked},
                   {"\\rollback\n", prompt()},
                   {"\\autocommit off\n", prompt()},
                   {"insert into t values(1);\n", marked},
                   {"\\c " + link() + "\n", "\\commit or \\rollback them first"},
                   {"rollback;\n", "Rolled back."},
                   {"", prompt()}});
    terminal.leave("\004"); // the end of the input
}

/// Tabs in what is pasted are data, whether the terminal announces a paste or not.
TEST_P(Interactive, what_is_pasted_stays_as_it_is)
{
    Terminal terminal = start();
    terminal.talk({{"", prompt()},
                   {"create table t(a varchar2(20));\n", "Done."},
                   {"insert into t values('a\tb');\n", "1 row inserted."},
                   {"\033[200~insert into t values('c\td\n\te');\nselect 6 * 7 from \033[201~", "6 * 7"},
                   {"dual;\n", " 42"},
                   {"", prompt()}});
    terminal.leave();
    EXPECT_EQ(rows_of(link(), "select a from t order by 1"), "a\tb\n\"c\td\n\te\"\n");
}

TEST_P(Interactive, completion)
{
    Terminal terminal = start();
    terminal.talk({{"", prompt()},
                   {"create table inventory(amount integer, shelf varchar2(9));\n", prompt()},
                   {"create table \"Odd One\"(x integer);\n", prompt()},
                   {"sel\t", "select "},
                   {"amount from inv\t", "inventory "},
                   {"where sh\t", "shelf "},
                   {"\025select sh from inventory\001\033f\033f\t", "shelf "},
                   {"\025SELECT * FROM INV\t", "INVENTORY "},
                   {"\025select * from \"O\t", "\"Odd One\" "},
                   {"\025\\ti\t", "\\timing "},
                   {"o\t", "on  off"},
                   {"\025\\i /etc/pass\t", "passwd"},
                   {"\025select 6 * 7 from du\t", "dual "},
                   {";\n", " 42"},
                   {"", prompt()}});
    terminal.leave();
}

TEST_P(Interactive, editor_pager_and_programs)
{
    set_variable("EDITOR=sed -i s/one/two/");
    set_variable("PAGER=sed s/^/page:/");
    Terminal terminal = start();
    terminal.talk(
        {{"", prompt()},
         {"select 'one' || '!' from dual;\n", " one!"},
         {"\\e\n", " two!"},
         {"\\e\n", "Nothing was changed"},
         {"select 'one\n\\e\n", "...> "},
         {"' || 'more' from dual;\n", " two\\nmore"},
         {"", prompt()},
         {"with recursive n(i) as (select 1 union all select i + 1 from n where i < 60) select * from n;\n",
          "page: 60"},
         {"", prompt()},
         {"\\pager off\n", "off."},
         {"\\! expr 6 '*' 7\n", "42\r\n"},
         {"\\x on\n", "on."},
         {"select 8 from dual;\n", "-[ row 1 ]-"},
         {"", prompt()}});
    terminal.leave();
}

TEST_P(Interactive, shells_share_their_history)
{
    Terminal one = start();
    Terminal other = start();
    one.talk({{"", prompt()}, {"select 'first' from dual;\n", prompt()}});
    other.talk({{"", prompt()}, {"select 'second' from dual;\n", prompt()}});
    one.talk({{"select 'third' from dual;\n", prompt()}});
    one.leave();
    other.leave();
    const std::string history = read_file("state/dkomsql/history");
    for (const char *entry : {"first", "second", "third"})
        EXPECT_NE(history.find(entry), std::string::npos) << entry << '\n' << history;
    struct stat status = {};
    ASSERT_EQ(stat((directory() / "state/dkomsql/history").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_P(Interactive, startup_file)
{
    write_file(".dkomsqlrc", "\\null <nil>\n\\nope\nselect 'star' || 'ted' from dual;\n");
    Terminal terminal = start();
    terminal.talk({{"", ".dkomsqlrc:2: there is no command \\nope"},
                   {"", "started"},
                   {"", prompt()},
                   {"select null from dual;\n", "<nil>"}});
    terminal.leave();
    Terminal without = start(link(), {"--no-startup"});
    without.talk({{"", prompt()}, {"select null from dual;\n", "(null)"}});
    without.leave();
    chmod((directory() / ".dkomsqlrc").c_str(), 0666);
    Terminal unsafe = start();
    unsafe.talk({{"", "can be written by others"}, {"", prompt()}, {"select null from dual;\n", "(null)"}});
    unsafe.leave();
}

TEST_P(Interactive, rows_are_typed_behind_copy)
{
    Terminal terminal = start();
    terminal.talk({{"", prompt()},
                   {"create table t(a integer, b varchar2(9));\n", "Done."},
                   {"\\copy - t(b, a)\n", "a line with \\. behind them"},
                   {"x,1\n\"\\.\n\",2\n\\.\n", "2 rows loaded into t"},
                   {"select count(*) + 40 from t;\n", " 42"},
                   {"", prompt()}});
    terminal.leave();
}

/// Ctrl-C in a load says what has become of the rows.
TEST_P(Interactive, interrupted_load)
{
    // Command, what it says of rows of which the last is refused, what it says in the end, and the rows that
    // stay.
    const std::tuple<const char *, const char *, const char *, const char *> cases[] = {
        {"\\copy - t", "", "no row is committed", ""},
        {"\\copy - t commit 1", "stdin:3: row rejected: ORA-01722", "2 rows are committed", "1\n2\n"},
    };
    output_of({link(), "-e", "create table t(a integer)"});
    for (const auto &[command, refusal, message, rows] : cases) {
        Terminal terminal =
            start(link(), {"-e", "\\! echo ready", "-e", command, "-e", "insert into t values(99)"});
        terminal.talk({{"", "ready"}, {"1\n2\nx\n", refusal}});
        usleep(300000);
        terminal.talk({{"\003", "the load was stopped: interrupted"}, {"", message}});
        EXPECT_EQ(terminal.wait(), 130);
        EXPECT_EQ(rows_of(link(), "select a from t order by 1"), rows);
    }
}

TEST_P(Interactive, password)
{
    Terminal terminal = start("scott@" + link());
    if (!GetParam().is_extended) {
        terminal.talk({{"", "the exact edition begins sessions with external credentials only"}});
        EXPECT_EQ(terminal.wait(), 3);
        return;
    }
    terminal.talk({{"", "Password of scott on " + link() + ": "},
                   {"tiger\n", "scott@" + prompt()},
                   {"select user from dual;\n", " SCOTT"},
                   {"\\c joe@" + link() + "\n", "Password of joe"},
                   {"tiger\n", "joe@" + prompt()},
                   {"\\c jim@" + link() + "\n", "Password of jim"},
                   {"\003", "no password was given"},
                   {"", "joe@" + prompt()},
                   {"\\c /@" + link() + "\n", "\n" + prompt()}});
    terminal.leave();
    EXPECT_EQ(terminal.screen().find("tiger"), std::string::npos);
}

} // namespace
