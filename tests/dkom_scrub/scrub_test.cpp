// dkom-scrub on traces with secrets: none is left, and dkom-report counts the same.
#include <algorithm>
#include <regex>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "traced.h"

namespace
{

using nlohmann::json;

class ScrubTest : public TracedTest
{
protected:
    ScrubTest() : TracedTest(SCRUB) {}

    /// What dkom-report counts in a trace: all but names, addresses and texts.
    json counts_of(const std::string &file) const
    {
        const Outcome outcome = run_other(REPORT, {"--json", file});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        json all = json::parse(outcome.out);
        for (auto &one : all["files"])
            for (const char *key : {"file", "bytes", "program"})
                one.erase(key);
        for (auto &one : all["statements"])
            for (const char *key : {"statement", "last_error"})
                one.erase(key);
        for (auto &one : all["connections"])
            for (const char *key : {"link", "why", "file", "handle"})
                one.erase(key);
        for (auto &one : all["never_released"])
            for (const char *key : {"handle", "file", "statement"})
                one.erase(key);
        for (auto &one : all["stops"]) {
            for (const char *key : {"file", "title", "handle"})
                one.erase(key);
            for (auto &step : one["last_calls"])
                step.erase("statement");
        }
        return all;
    }

    void expect_nothing_of(const std::string &text, std::initializer_list<const char *> secrets) const
    {
        for (const char *secret : secrets) {
            const std::size_t at = text.find(secret);
            EXPECT_EQ(at, std::string::npos)
                << secret << " is left: " << text.substr(at < 80 ? 0 : at - 80, 160);
        }
    }
};

TEST_F(ScrubTest, NoSecretIsLeftAndTheReportCountsTheSame)
{
    struct Case {
        const char *program;
        const char *what;
        int level;
    };
    const Case cases[] = {{TRACED_EXACT, "leak", 30},
                          {TRACED_EXACT, "stop", 50},
                          {TRACED_EXACT, "", 20},
                          {TRACED_EXTENDED, "leak", 50},
                          {TRACED_EXTENDED, "killed", 40}};
    for (const Case &c : cases) {
        for (const Arguments &options : {Arguments{}, Arguments{"--names"}}) {
            SCOPED_TRACE(std::string(c.program) + " " + c.what + " " + std::to_string(c.level));
            write_file("dravik/planet_mars.db", "");
            const std::string trace = trace_of(c.program, "planet_mars", c.what, c.level);
            Arguments arguments{trace, "-o", "shown.log"};
            arguments.insert(arguments.end(), options.begin(), options.end());
            EXPECT_EQ(output_of(arguments), "");
            const std::string before = read_file(trace);
            const std::string after = read_file("shown.log");
            EXPECT_EQ(std::ranges::count(after, '\n'), std::ranges::count(before, '\n'));
            EXPECT_TRUE(c.level < 30 || before.find("Sesame") != std::string::npos) << "no secrets to find";
            expect_nothing_of(after,
                              {"Sesame", "sesame", " 4711)", " 4712)", "planet_mars", directory().c_str()});
            const bool is_there = after.find("SELECT id FROM people WHERE name = :name") != std::string::npos;
            EXPECT_EQ(is_there, options.empty() && c.level >= 30);
            if (!options.empty())
                expect_nothing_of(after, {"people", "strangers", "STRANGERS", ":name"});
            EXPECT_EQ(json::diff(counts_of(trace), counts_of("shown.log")), json::array());
        }
    }
}

TEST_F(ScrubTest, OddRecordsHideNothing)
{
    const std::string at = "[2026-03-04 10:20:30:57] ";
    const std::string end = " - (a.cpp:1)\n";
    const std::string call =
        "INFO - OCIBindByName(OCIStmt *stmtp, CONST OraText *placeholder, sb4 placeh_len, dvoid *valuep, "
        "sb4 value_sz, ub2 dty)";
    const std::string arguments =
        "\n\tstmtp=0x7f0000001000\n\tplaceholder=:n\n\tplaceh_len=2\n\tvaluep=0x7f0000002000";
    const std::string records[] = {
        // a bound value with lines that look like arguments
        at + "[47] " + call + arguments +
            "\n\t*valuep=Eve\n\tpin=5544\n\tvalue_sz=5544\n\tname\n\tvalue_sz=0x28\n\tdty=5" + end,
        at + "INFO - before bindp=(nil), valuep=Eve\n\tpin=5544\nEve" + end,
        // what lies behind a statement in memory, and statements that are cut
        at +
            "INFO - OCIStmtPrepare(OCIStmt *stmtp, CONST OraText *stmt, ub4 stmt_len, ub4 mode)\n\tstmtp=0x7f0000001000"
            "\n\tstmt=SELECT 1 FROM dualEve\nEve, c_sid=SELECT 1 FROM dual\n\tstmt_len=18\n\tmode=0" +
            end,
        at +
            "INFO - OCIStmtPrepare(OCIStmt *stmtp, CONST OraText *stmt, ub4 stmt_len, ub4 mode)\n\tstmtp=0x7f0000001000"
            "\n\tstmt=SELECT 'Eve" +
            end,
        at +
            "ERROR - END FUNC - OCIErrorGet()\n\treturn rc=0\n\tsqlstate=Eve\n\terrcodep=55447722\n\tbufp=ORA-00001: Eve\n\tpin="
            "5544\nEve, c_sid=ORA-00001: Eve" +
            end,
        // kinds that no edition writes, torn records, and lines of others
        at + "INFO - user Eve logs on" + end,
        at + "WARNING - Eve" + end,
        at + "INFO - END FUNC - \"Eve\"" + end,
        at + "TRACE - OCIEve(5544) " + end,
        "Eve\n",
        "p: oci_manager/oci_manager/lob.cpp:5: OCILobRead: Assertion `wlocp != ((void *)0)' failed.\n",
        at + "INFO - OCIServerAttach(OCIServer *srvhp, CONST OraText *dblink, sb4 dblink_len)\n\tdblink=Eve",
    };
    std::string all;
    for (const std::string &record : records)
        all += record;
    const Outcome outcome = run({}, all);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    expect_nothing_of(outcome.out, {"Eve", "5544", "0x7f0000001000"});
    EXPECT_EQ(std::ranges::count(outcome.out, '\n'), std::ranges::count(all, '\n') + 1) << outcome.out;
    for (const char *kept : {"placeholder=:n\n", "\n\tvalue_sz=0x28\n\tdty=5 - (a.cpp:1)\n", "ORA-00001: ***",
                             "c_sid=SELECT 0 FROM dual\n\tstmt_len=18\n",
                             "OCILobRead: Assertion `wlocp != ((void *)0)' failed."})
        EXPECT_NE(outcome.out.find(kept), std::string::npos) << kept << outcome.out;
    EXPECT_EQ(run({"--key", "k"}, run({"--key", "l"}, all).out).status, 0);
}

TEST_F(ScrubTest, TimesMoveTogetherAndNamesAreAlikeInARun)
{
    const std::string trace = trace_of(TRACED_EXACT, "mars", "");
    ASSERT_EQ(run_other("/bin/cp", {trace, "again.log"}).status, 0);
    EXPECT_EQ(output_of({"-d", "shown", "--times", "--gzip", trace, "again.log"}), "");
    ASSERT_EQ(run_other("/bin/gzip", {"-d", "shown/" + trace + ".gz", "shown/again.log.gz"}).status, 0);
    const std::string shown = read_file("shown/" + trace);
    EXPECT_TRUE(shown.starts_with("[2000-01-01 00:00:00:0] ")) << shown.substr(0, 100);
    EXPECT_EQ(read_file("shown/again.log"), shown);
    EXPECT_NE(output_of({"--times", trace}), shown) << "another run, other names";
    EXPECT_EQ(output_of({"--key", "k", trace}), output_of({"--key", "k", trace}));
    EXPECT_EQ(counts_of("shown/" + trace)["calls"].size(), counts_of(trace)["calls"].size());

    EXPECT_TRUE(run({"-o", trace, trace}).says(2, "would be overwritten"));
    EXPECT_TRUE(run({"-d", ".", trace}).says(1, "would be overwritten"));
    EXPECT_TRUE(run({"no_such_file"}).says(1, "cannot open 'no_such_file'"));
    EXPECT_TRUE(run({"-o", "no_such_directory/x", trace}).says(1, "cannot open 'no_such_directory/x'"));
    EXPECT_TRUE(run({"-o", "/dev/full", trace}).says(1, "cannot write '/dev/full'"));
    EXPECT_EQ(read_file("again.log"), read_file(trace)) << "nothing was lost";
}

} // namespace
