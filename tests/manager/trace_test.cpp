/* The trace log: records, levels, files. */
#include <algorithm>
#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

#include <dlfcn.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

class Trace : public EmptyTest
{
protected:
    ~Trace() override { forget_trace_state(); }
};

TEST_F(Trace, LevelDecidesWhatIsWritten)
{
    const std::vector<int> levels{10, 20, 25, 30, 40, 45, 50, 60};
    for (const int level : {0, 9, 10, 20, 29, 30, 40, 45, 50, 60}) {
        const trace_capture trace(level);
        records_t expected;
        for (const int l : levels) {
            writeLog(l, "test.cpp", l, "level %d", l);
            /* Records of levels that nobody knows come without decoration and text. */
            const bool known = l != 25 && l != 60;
            if (l <= level)
                expected.push_back({known ? l : 0, known ? print("level %d", l) : "", l});
        }
        expect_records(parse_records(trace.contents()), expected);
    }
}

TEST_F(Trace, LevelIsANumberInTheEnvironment)
{
    const std::vector<std::pair<std::optional<std::string>, int>> rows{
        {std::nullopt, 10},    {"30", 30},  {"30abc", 30}, {"abc", 0},  {"", 0},
        {" 40", 40},           {"+20", 20}, {"-5", -5},    {"050", 50}, {"0x1e", 0},
        {"45 everything", 45},
    };
    for (const auto &[value, level] : rows) {
        const trace_capture trace(10);
        const scoped_variable variable("DKOM_LOG_LEVEL", value);
        writeLog(99, "test.cpp", 1, "%s", "");
        EXPECT_EQ(LOG_LVL, level) << value.value_or("unset");
    }
}

TEST_F(Trace, LevelIsReadAgainAfterItsMinute)
{
    const trace_capture trace(10);
    const auto before = static_cast<unsigned>(std::time(nullptr));
    writeLog(10, "test.cpp", 1, "%s", "now");
    EXPECT_GE(lStandardSec, before + 60);
    EXPECT_LE(lStandardSec, static_cast<unsigned>(std::time(nullptr)) + 60);

    const scoped_variable level("DKOM_LOG_LEVEL", "30");
    writeLog(30, "test.cpp", 2, "%s", "not read yet");
    EXPECT_EQ(LOG_LVL, 10);
    lStandardSec = before - 1;
    writeLog(30, "test.cpp", 3, "%s", "read");
    EXPECT_EQ(LOG_LVL, 30);
    EXPECT_GE(lStandardSec, before + 60);
    LOG_LVL = 20; // a program may set it until then
    writeLog(30, "test.cpp", 4, "%s", "set");
    expect_records(trace.records(), {{10, "now", 1}, {30, "read", 3}});

    /* Calls read it too, whatever the level that holds. */
    const scoped_variable higher("DKOM_LOG_LEVEL", "50");
    LOG_LVL = 10;
    lStandardSec = before - 1;
    trace.clear();
    init_oci_manager();
    EXPECT_EQ(LOG_LVL, 50);
    EXPECT_EQ(trace.records().at(0).text, "func_table_init_once");
}

TEST_F(Trace, AccurateTime)
{
    const trace_capture trace(10);
    timeval before{}; // time() reads a coarser clock, which lags behind
    timeval after{};
    gettimeofday(&before, nullptr);
    writeLog(10, "test.cpp", 1, "%s", "now");
    gettimeofday(&after, nullptr);
    std::tm fields{};
    const std::string contents = trace.contents();
    ASSERT_NE(strptime(contents.c_str(), "[%Y-%m-%d %H:%M:%S:", &fields), nullptr) << contents;
    fields.tm_isdst = -1;
    const std::time_t written_at = std::mktime(&fields);
    EXPECT_GE(written_at, before.tv_sec);
    EXPECT_LE(written_at, after.tv_sec);
}

TEST_F(Trace, ExactBytes)
{
    const trace_capture trace(50);
    writeLog(50, "a/b/call.cpp", 7, "%s", "OCIStmtFetch");
    writeLog(10, "call.cpp", 8, "rc=%d%%", 3);
    writeLog(25, "/call.cpp", 9, "%s", "dropped");
    std::vector<std::string> lines;
    std::istringstream in(trace.contents());
    for (std::string line; std::getline(in, line);)
        lines.push_back(line.substr(line.find("] ") + 2));
    EXPECT_THAT(lines, ElementsAre("\x1b[32mTRACE - OCIStmtFetch()\x1b[0m - (call.cpp:7)",
                                   "\x1b[31m\x1b[1mASSERT - rc=3% <<< Check Please \x1b[0m - (call.cpp:8)",
                                   " - (call.cpp:9)"));
}

TEST_F(Trace, LongMessagesAreCut)
{
    const trace_capture trace(50);
    for (const std::size_t length : {7998U, 7999U, 8000U, 20000U})
        writeLog(10, std::string(2000, 'f').c_str(), 1, "%s", std::string(length, 'x').c_str());
    const std::string contents = trace.contents();
    EXPECT_EQ(std::count(contents.begin(), contents.end(), 'x'), 7998 + 3 * 7999);
    /* The suffix is cut at 1023 characters, which costs it its line feed. */
    EXPECT_EQ(std::count(contents.begin(), contents.end(), 'f'), 4 * (1023 - 4));
    EXPECT_EQ(std::count(contents.begin(), contents.end(), '\n'), 0);

    trace.clear();
    writeLog(10, "test.cpp", 1, "up to%czero", '\0');
    EXPECT_EQ(trace.records().at(0).text, "up to");
}

TEST_F(Trace, FileIsNamedAfterTheProcessInADirectoryTakenOnce)
{
    const trace_capture trace(10);
    const std::filesystem::path &directory = trace.directory.path;
    const std::string file = "om_" + std::to_string(getpid()) + ".log";
    const std::filesystem::path before = std::filesystem::current_path();
    {
        const scoped_variable path("DKOM_LOG_PATH", std::nullopt);
        std::filesystem::current_path(directory);
        writeLog(10, "test.cpp", 1, "%s", "here");
        std::filesystem::current_path(before);
    }
    EXPECT_TRUE(std::filesystem::exists(directory / file));
    EXPECT_STREQ(cLogRoot, ".");
    EXPECT_EQ(cLogInit, 1);

    trace.clear();
    forget_trace_state();
    initLog();
    const scoped_variable path("DKOM_LOG_PATH", "/nowhere");
    writeLog(10, "test.cpp", 1, "%s", "first directory");
    EXPECT_EQ(trace.records().size(), 1U);

    /* The middle part of the path is a program's to fill. */
    std::filesystem::create_directory(directory / "today");
    std::strcpy(cLogDate, "today");
    writeLog(10, "test.cpp", 1, "%s", "second directory");
    std::memset(cLogDate, 0, sizeof cLogDate);
    EXPECT_TRUE(std::filesystem::exists(directory / "today" / file));
}

TEST_F(Trace, DirectoriesThatCannotBe)
{
    const scoped_variable level("DKOM_LOG_LEVEL", "50");
    for (const std::string &directory : {std::string(3000, 'd'), std::string("/nowhere/at/all")}) {
        const scoped_variable path("DKOM_LOG_PATH", directory);
        forget_trace_state();
        OCIEnv *env = nullptr;
        EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
        EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
        EXPECT_EQ(std::string(cLogRoot), directory.substr(0, 1023));
    }
}

/* Compilers take the alignment that the ABI gives long arrays for granted, and clear them by 16 bytes. */
TEST_F(Trace, ExportedArraysAreAligned)
{
    for (const char *name : {"cLogRoot", "cLogFileName"})
        EXPECT_EQ(to_word(dlsym(RTLD_DEFAULT, name)) % 16, 0U) << name;
}

TEST_F(Trace, AForkedChildGoesOnWithItsParentsFile)
{
    const trace_capture trace(10);
    writeLog(10, "test.cpp", 1, "%s", "parent");
    const pid_t child = fork();
    if (child == 0) {
        alarm(20); // rather a dead child than a test that hangs
        writeLog(10, "test.cpp", 2, "%s", "child");
        std::thread([] { writeLog(10, "test.cpp", 3, "%s", "thread of the child"); }).join();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const auto lines_of = [&](pid_t process) {
        std::ifstream in(trace.directory.path / ("om_" + std::to_string(process) + ".log"));
        std::vector<int> lines;
        for (const record &r :
             parse_records({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}))
            lines.push_back(r.line);
        return lines;
    };
    EXPECT_THAT(lines_of(getpid()), ElementsAre(1, 2));
    EXPECT_THAT(lines_of(child), ElementsAre(3));
}

} // namespace
