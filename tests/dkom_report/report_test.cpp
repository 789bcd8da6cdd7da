// dkom-report on traces of programs that run on both editions.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "symptoms.h"
#include "traced.h"

namespace
{

class ReportTest : public TracedTest
{
protected:
    ReportTest() : TracedTest(REPORT) {}

    std::string report(const Arguments &arguments) const { return output_of(arguments); }
};

/// Whether a text has lines that match, in this order and whatever lies between.
testing::AssertionResult has_lines(const std::string &text, const std::vector<std::string> &expressions)
{
    std::size_t from = 0;
    for (const std::string &expression : expressions) {
        std::smatch match;
        const std::string rest = text.substr(from);
        if (!std::regex_search(rest, match, std::regex(expression)))
            return testing::AssertionFailure() << "no '" << expression << "' (any more) in:\n" << text;
        from += static_cast<std::size_t>(match.position() + match.length());
    }
    return testing::AssertionSuccess();
}

TEST_F(ReportTest, ASlowStatementIsFoundWithOneCommand)
{
    for (const char *program : {TRACED_EXACT, TRACED_EXTENDED})
        for (const int level : {30, 50})
            for (const char *link : {"world", "mars"}) {
                const std::string backend = link == std::string("world") ? "Oracle" : "Dravik";
                const std::string trace = trace_of(program, link, "slow", level);
                EXPECT_TRUE(has_lines(
                    report({"statements", "--sort", "longest", trace}),
                    {"^ *total +runs .* statement\n", "^[^\n]* 1 +- .* " + backend +
                                                          " +SELECT COUNT\\(\\*\\) FROM people a, people b.*"
                                                          "> \\?\n"}))
                    << program << level;
            }
}

TEST_F(ReportTest, AFatalStopIsFoundWithOneCommand)
{
    const std::string handle =
        "0x[0-9a-f]+ \\(svchp\\) was looked for in vain: it was a service context and was "
        "released by OCIHandleFree";
    for (const int level : {30, 50}) {
        const std::string trace = trace_of(TRACED_EXACT, "world", "stop", level);
        EXPECT_TRUE(
            has_lines(report({"stop", trace}),
                      {"stopped .* in OCITransCommit \\(transaction.cpp:\\d+\\)\n",
                       "reason +assertion .*: wsvchp != \\(\\(void \\*\\)0\\)\n",
                       "why +it is null, was freed, or belongs to another thread\n", "handle +" + handle,
                       "last calls\n", "OCIServerDetach", "OCIHandleFree", "OCITransCommit"}));
    }
    // At the default level only the standard error names the assertion.
    const std::string trace = trace_of(TRACED_EXACT, "world", "stop", 10);
    write_file("errors.txt", last_.err);
    for (const Arguments &files : {Arguments{"errors.txt", trace}, Arguments{trace, "errors.txt"}})
        EXPECT_TRUE(has_lines(report({"stop", files[0], files[1]}),
                              {"in OCITransCommit", "reason +assertion: wsvchp", "why +it is null"}));

    // A reason of its own stands in the trace at any level.
    set_variable("DKOM_ORA_LIB_PATH=/nowhere");
    EXPECT_TRUE(has_lines(report({"stop", trace_of(TRACED_EXACT, "world", "", 10)}),
                          {"reason +dlopen Oracle Fail: dl_path=/nowhere/libclntsh.so\n",
                           "why +libclntsh.so could not be opened", "what to do +set DKOM_ORA_LIB_PATH"}));
}

TEST_F(ReportTest, ATraceThatEndsInsideACallNamesItAndItsStatement)
{
    for (const char *program : {TRACED_EXACT, TRACED_EXTENDED}) {
        const std::string trace = trace_of(program, "world", "killed");
        EXPECT_NE(last_.status, 0);
        EXPECT_TRUE(
            has_lines(report({"stop", trace}), {"the trace ends in OCIStmtExecute", "last calls\n",
                                                "OCIStmtExecute +SELECT COUNT\\(\\*\\) FROM people a"}));
    }
}

TEST_F(ReportTest, ConnectionsTellWhereTheyWentAndWhy)
{
    const std::string exact = report({"connections", trace_of(TRACED_EXACT, "mars", "")});
    EXPECT_TRUE(has_lines(exact, {"'mars' -> Dravik  OCIServerAttach", "Oracle refused it: ORA-12154",
                                  "Dravik accepted it", "\\d+ executions in .* 1 failures, closed"}));
    EXPECT_TRUE(has_lines(report({"connections", trace_of(TRACED_EXACT, "nowhere", "")}),
                          {"'nowhere' -> failed", "Oracle refused it: ORA-12154", "failed with result -1"}));
    EXPECT_TRUE(has_lines(report({"connections", trace_of(TRACED_EXTENDED, "mars", "")}),
                          {"'mars' -> Dravik  OCIServerAttach", "the usual route: Oracle or else Dravik",
                           "Oracle refused it: ORA-12154", "Dravik accepted it", "1 failures, closed"}));
    set_variable("DKOM_ROUTES=m*=dravik");
    EXPECT_TRUE(has_lines(report({"connections", trace_of(TRACED_EXTENDED, "mars", "")}),
                          {"DKOM_ROUTES: Dravik is to serve it", "Dravik accepted it"}));
    EXPECT_TRUE(has_lines(report({"connections", trace_of(TRACED_EXTENDED, "missing", "")}),
                          {"'missing' -> failed", "DKOM_ROUTES: Dravik is", "ORA-12154", "result -1"}));
}

TEST_F(ReportTest, HandlesThatWereNeverReleasedAreTold)
{
    for (const int level : {30, 50}) {
        const std::string clean = report({"leaks", trace_of(TRACED_EXACT, "world", "", level)});
        EXPECT_TRUE(has_lines(clean, {"1 +- +1 +- +bind\n", "1 +- +1 +- +define\n", "Every handle"}))
            << "binds and defines end with their statement";
        const std::string trace = trace_of(TRACED_EXACT, "world", "leak", level);
        const std::string leaks = report({"leaks", trace});
        std::smatch lob;
        ASSERT_TRUE(std::regex_search(leaks, lob, std::regex("\n(0x[0-9a-f]+)  LOB .*OCIDescriptorAlloc")));
        EXPECT_TRUE(has_lines(
            leaks, {"LOB .*OCIDescriptorAlloc", "statement .*SELECT name FROM people WHERE id = \\?"}));
        EXPECT_TRUE(
            has_lines(report({"handle", lob[1], trace}), {"made: LOB\n([^\n]*table: allocated[^\n]*\n)?$"}));
    }
}

TEST_F(ReportTest, TheExtendedEditionTellsHandlesAndErrors)
{
    const std::string trace = trace_of(TRACED_EXTENDED, "mars", "leak");
    const std::string leaks = report({"leaks", trace});
    EXPECT_TRUE(has_lines(leaks, {"Every handle"})) << "an environment takes its handles along";
    EXPECT_TRUE(
        has_lines(report({"statements", trace}), {"INSERT INTO strangers", "ORA-00942: table or view"}));
    const std::string killed = report({"leaks", trace_of(TRACED_EXTENDED, "mars", "killed")});
    EXPECT_TRUE(
        has_lines(killed, {"Never released", "environment .*OCIEnvCreate", "statement .*SELECT COUNT"}));
}

TEST_F(ReportTest, ThreadsOfAProcessAreToldApart)
{
    struct Numbers {
        const char *program;
        int level;
    };
    for (const Numbers &n : {Numbers{TRACED_EXACT, 30}, {TRACED_EXACT, 50}, {TRACED_EXTENDED, 30}}) {
        const std::string trace = trace_of(n.program, "world", "threads", n.level);
        EXPECT_TRUE(has_lines(report({"statements", "--sort", "count", trace}),
                              {" 81 +-[^\n]* SELECT id FROM people WHERE name = :name\n"}))
            << n.program << n.level;
        EXPECT_TRUE(has_lines(report({"leaks", trace}), {"Every handle"})) << n.program << n.level;
        EXPECT_TRUE(has_lines(report({"stop", trace}), {"^No stop"}));
    }
}

TEST_F(ReportTest, JsonHoldsWhatTheTablesShow)
{
    const auto all = nlohmann::json::parse(report({"--json", trace_of(TRACED_EXACT, "mars", "leak")}));
    EXPECT_EQ(all.at("files").at(0).at("edition"), "exact");
    EXPECT_EQ(all.at("connections").at(0).at("backend"), "Dravik");
    EXPECT_EQ(all.at("never_released").size(), 2U);
    EXPECT_EQ(all.at("stops").size(), 0U);
    std::map<std::string, int> runs;
    for (const auto &statement : all.at("statements"))
        runs[statement.at("statement")] = statement.at("executions");
    EXPECT_EQ(runs.at("INSERT INTO people VALUES (?, ?, ?)"), 2);
    EXPECT_EQ(runs.at("INSERT INTO people SELECT id, name, pin FROM people"), 4);
    for (const auto &call : all.at("calls")) {
        if (call.at("function") == "OCIStmtExecute") {
            EXPECT_EQ(call.at("count"), 9);
            EXPECT_EQ(call.at("failures"), 1);
            EXPECT_EQ(call.at("timed"), 9);
        }
    }
    const std::string trace = trace_of(TRACED_EXACT, "mars", "stop");
    const auto stop = nlohmann::json::parse(report({"--json", trace})).at("stops").at(0);
    EXPECT_EQ(stop.at("function"), "OCITransCommit");
    EXPECT_EQ(stop.at("argument"), "svchp");
    const std::string handle = stop.at("handle");
    const auto life = nlohmann::json::parse(report({"--json", "handle", handle, "-n", "0", trace}));
    EXPECT_EQ(life.at("handle"), handle);
    EXPECT_EQ(life.at("files").at(0).at("life").back().at("what"), "looked for in vain");
}

TEST_F(ReportTest, OddInputIsReadAsFarAsItGoes)
{
    const std::string trace = trace_of(TRACED_EXACT, "world", "");
    const std::string text = read_file(trace);
    const std::string whole = report({"calls", trace});
    EXPECT_EQ(run({"calls", "-"}, text).out, whole);
    ASSERT_EQ(run_other("/bin/gzip", {"-k", trace}).status, 0);
    EXPECT_EQ(report({"calls", trace + ".gz"}), whole);
    EXPECT_EQ(run({"calls", "-"}, read_file(trace + ".gz")).out, whole);

    EXPECT_TRUE(has_lines(run({"-"}, "noise\n" + text.substr(0, text.size() - 20)).out,
                          {"1 records are torn, and \\d lines belong to no record"}));
    EXPECT_TRUE(run({"no_such_file"}).says(1, "cannot open 'no_such_file': No such file or directory\n"));
    EXPECT_TRUE(run({"."}).says(1, "'.' is a directory"));
    EXPECT_TRUE(run({"-"}, "noise\n").says(1, "no record of the OCI manager"));
    EXPECT_TRUE(run({}).says(2, "FILE"));
    EXPECT_TRUE(run({"handle", "x", trace}).says(2, "'x' is no address"));
}

TEST_F(ReportTest, ManualsNameAllThatHelpNames)
{
    for (const char *tool : {REPORT, SCRUB}) {
        const std::string help = run_other(tool, {"--help"}).out;
        std::ifstream file(DOCUMENTS "/man/" + std::filesystem::path(tool).filename().string() + ".1");
        const std::string manual = std::regex_replace(std::string(std::istreambuf_iterator<char>(file), {}),
                                                      std::regex("\\\\-"), "-");
        const std::regex name("\n  (-[a-zA-Z],)?(--[a-z]+|[a-z]+ )");
        std::size_t count = 0;
        for (std::sregex_iterator one(help.begin(), help.end(), name), end; one != end; ++one, count++) {
            const std::string word = (*one)[2].str().substr(0, (*one)[2].str().find(' '));
            EXPECT_TRUE(std::regex_search(manual, std::regex("[ \n\"]" + word + "\\b")))
                << tool << " " << word;
        }
        EXPECT_GE(count, 8U) << help;
    }
}

TEST(Symptoms, EveryRowOfTheDocumentExplainsItsText)
{
    const std::string document = dkom_report::symptoms_document;
    std::ifstream file(DOCUMENTS "/symptoms.md");
    EXPECT_EQ(document, std::string(std::istreambuf_iterator<char>(file), {})) << "build again";
    EXPECT_EQ(dkom_report::explain_assertion("ora_func_table.funcs.func_OCIPing!=((void *)0)")
                  ->what_to_do.substr(0, 17),
              "install a version");
    EXPECT_EQ(dkom_report::explain_assertion("wstmtp != ((void *)0)")->why,
              "it is null, was freed, or belongs to another thread; in OCIStmtPrepare2 memory is out");
    EXPECT_EQ(dkom_report::explain_reason("There is no avaiable handle type : 77")->where, "any");
    EXPECT_EQ(dkom_report::explain_reason("libdkoci.so lacks the entry point OCIPing")->where,
              "a call that needs it");
    EXPECT_FALSE(dkom_report::explain_assertion("something else"));
}

} // namespace
