// The parser of records on memory of any kind, and what it makes of messages and statements.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trace_reader/message.h>
#include <trace_reader/record.h>
#include <trace_reader/sql_text.h>

namespace
{

using namespace trace_reader;

/// Writes down what it is given, in one text: "message@file:line" or "torn:..." or "other:...", each with
/// '|'.
class Collector final : public Visitor
{
public:
    void record(const Record &r) override
    {
        text += r.is_whole()
                    ? std::string(r.message) + "@" + std::string(r.file) + ":" + std::to_string(r.line)
                    : "torn:" + std::string(r.message);
        text += '|';
        last_time = r.time;
        last_thread = r.thread;
    }
    void other_line(std::string_view line) override { text += "other:" + std::string(line) + '|'; }
    void skipped_row() override { text += "row|"; }

    std::string text;
    std::int64_t last_time = 0;
    std::int64_t last_thread = 0;
};

const std::string at = "[2026-03-04 10:20:30:57] ";
const std::string info = "\x1b[1mINFO - ";
const std::string reset = "\x1b[0m";

/// Parses in pieces of a size, as from a pipe.
std::string parsed(const std::string &trace, std::size_t piece)
{
    Collector all;
    std::string waiting;
    for (std::size_t from = 0; from < trace.size(); from += piece) {
        waiting += trace.substr(from, piece);
        waiting.erase(0, parse(waiting, false, true, all));
    }
    EXPECT_EQ(parse(waiting, true, true, all), waiting.size());
    return all.text;
}

TEST(TraceReader, RecordsAndOtherLinesAreToldApartHoweverTheyArrive)
{
    struct Case {
        const char *what;
        std::string trace;
        std::string expected;
    };
    const Case cases[] = {
        {"one of each level",
         at + "\x1b[32mTRACE - OCIBreak()" + reset + " - (a.cpp:1)\n" + at +
             "DEBUG LIST - print - (b.cpp:2)\n" + at + "\x1b[31m\x1b[1mASSERT - no <<< Check Please " +
             reset + " - (c.cpp:3)\n",
         "OCIBreak@a.cpp:1|row|no@c.cpp:3|"},
        {"without colours",
         at + "TRACE - OCIBreak() - (a.cpp:1)\n" + at + "ASSERT - no <<< Check Please  - (c.cpp:3)\n",
         "OCIBreak@a.cpp:1|no@c.cpp:3|"},
        {"lines in a text, one like a record's end",
         at + info + "a\n\tstmt=x - (y.cpp:7)\nz\n\tn=1" + reset + " - (a.cpp:1)\n" + at +
             "DEBUG - b - (b.cpp:2)\n",
         "a\n\tstmt=x - (y.cpp:7)\nz\n\tn=1@a.cpp:1|b@b.cpp:2|"},
        {"standard error in between",
         at + "DEBUG - a - (a.cpp:1)\nbroken pipe\n\n" + at + "DEBUG - b - (b.cpp:2)\n",
         "a@a.cpp:1|other:broken pipe|other:|b@b.cpp:2|"},
        {"no message between tag and source", at + "ASSERT - (a.cpp:1)\n", "@a.cpp:1|"},
        {"a time that goes over a line's end", "[2026-\n[-04 10:20:30:810633] ASSERT - a - (a.cpp:1)\n",
         "other:[2026-|other:[-04 10:20:30:810633] ASSERT - a - (a.cpp:1)|"},
        {"torn by a full disk, then on", at + info + "OCISt\n" + at + "DEBUG - b - (b.cpp:2)\n" + at + "DEBU",
         "torn:OCISt|b@b.cpp:2|torn:DEBU|"},
        {"no line end at last", at + "DEBUG - a - (a.cpp:1)", "a@a.cpp:1|"},
        {"no level", at + " - (a.cpp:1)\n", "@a.cpp:1|"},
        {"no trace", std::string("\0\x7f\xff[2026\n[2026-03-04 10:20:30:x] \n", 33),
         std::string("other:\0\x7f\xff[2026|other:[2026-03-04 10:20:30:x] |", 46)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, c.trace.size()})
            EXPECT_EQ(parsed(c.trace, piece), c.expected) << "in pieces of " << piece;
    }
}

TEST(TraceReader, TimesThreadsAndEndlessLinesAreTaken)
{
    Collector all;
    const std::string second = "[1970-01-02 00:00:01:000057] [4711] DEBUG - a - (a.cpp:1)\n";
    EXPECT_EQ(parse(second, true, true, all), second.size());
    EXPECT_EQ(all.last_time, 86401 * 1000000LL + 57);
    EXPECT_EQ(all.last_thread, 4711);
    for (const std::string &start : {std::string(), at + "DEBUG LIST - ", at + info}) {
        const std::string endless = start + std::string(2 * longest_record, 'x');
        EXPECT_GT(parse(endless, false, true, all), 0U) << "memory would grow without end";
    }
}

TEST(TraceReader, AStatementIsAsLongAsItsLengthSays)
{
    const auto text_of = [](const std::string &message) {
        return std::string(passed_text(message, "stmt", "stmt_len").value().text);
    };
    const std::string head = "OCIStmtPrepare(...)\n\tstmtp=0x1";
    EXPECT_EQ(text_of(head + "\n\tstmt=SELECT 1, c_sid=SELECT 1\n\tstmt_len=8\n\tmode=0"), "SELECT 1");
    EXPECT_EQ(text_of(head + "\n\tstmt=SELECT 1rubbish, c_sid=x, c_sid=SELECT 1\n\tstmt_len=8"), "SELECT 1");
    EXPECT_EQ(text_of(head + "\n\tstmt=S, c_sid=SELECT 1\n\tstmt_len=16"), "SELECT 1") << "a wide text";
    EXPECT_EQ(text_of(head + "\n\tstmt=SELECT\n\tstmt_len=3 FROM t\n\tstmt_len=25"),
              "SELECT\n\tstmt_len=3 FROM t");
    EXPECT_EQ(text_of(head + "\n\tstmt=SELECT 'cut of"), "SELECT 'cut of");
}

TEST(TraceReader, DataInStatementsIsMaskedAndNothingElse)
{
    struct Case {
        const char *sql;
        const char *masked;
        const char *shape;
    };
    const Case cases[] = {
        {"SELECT a FROM t WHERE b='it''s' AND c = 12.5e-3 AND d2 = :d",
         "SELECT a FROM t WHERE b='***' AND c = 0 AND d2 = :d",
         "SELECT a FROM t WHERE b=? AND c = ? AND d2 = :d"},
        {"select  q'[it's]', N'x', \"A 1\"\n\tfrom t -- Eve\n",
         "select  '***', '***', \"A 1\"\n\tfrom t -- ***\n", "select ?, ?, \"A 1\" from t"},
        {"/* Eve */ SELECT /*+ FULL(t) */ 1", "/* *** */ SELECT /*+ FULL(t) */ 0", "SELECT /*+ FULL(t) */ ?"},
        {"CREATE TABLE t (n NUMBER(12,2), v VARCHAR2 (20) DEFAULT 'x')",
         "CREATE TABLE t (n NUMBER(12,2), v VARCHAR2 (20) DEFAULT '***')",
         "CREATE TABLE t (n NUMBER(12,2), v VARCHAR2 (20) DEFAULT ?)"},
        {"ALTER USER scott IDENTIFIED BY tiger REPLACE \"lion\"",
         "ALTER USER *** IDENTIFIED BY *** REPLACE ***", "ALTER USER *** IDENTIFIED BY *** REPLACE ***"},
        {"create user x identified by values 'S:1F'", "create user *** identified by values ***",
         "create user *** identified by values ***"},
        {"GRANT SELECT ON t TO scott, adams WITH GRANT OPTION",
         "GRANT SELECT ON t TO ***, *** WITH GRANT OPTION",
         "GRANT SELECT ON t TO ***, *** WITH GRANT OPTION"},
        {"SELECT 'cut of", "SELECT '***'", "SELECT ?"},
        {"INSERT INTO t VALUES ('two\nlines')", "INSERT INTO t VALUES ('***\n')", "INSERT INTO t VALUES (?)"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(mask_sql(c.sql), c.masked);
        EXPECT_EQ(mask_sql(c.masked), c.masked) << "masked twice";
        EXPECT_EQ(sql_shape(c.sql), c.shape);
    }
}

} // namespace
