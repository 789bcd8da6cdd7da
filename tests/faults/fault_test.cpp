/*
 * A program goes on whatever befalls its trace and its resources, with either edition. Each case runs a
 * scenario in a process of its own, which finds the fault when it starts.
 */
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "scenarios.h"

namespace
{

namespace fs = std::filesystem;

constexpr unsigned int longest_run_seconds = 100;

std::string read_all(const fs::path &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class Faults : public testing::TestWithParam<const char *>
{
protected:
    Faults()
    {
        std::string name = (fs::temp_directory_path() / "dkom_faults_XXXXXX").string();
        root_ = mkdtemp(name.data());
        fs::create_directory(traces());
    }
    ~Faults() override
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    bool is_exact() const { return std::string(GetParam()) == "dkom"; }
    fs::path root() const { return root_; }
    fs::path traces() const { return root_ / "traces"; }

    /*
     * Starts a scenario. `prepare` runs in its process first, with the path of the log that it will write.
     */
    pid_t start(const char *scenario, int level, const std::function<void(const fs::path &log)> &prepare,
                const fs::path &directory) const
    {
        const pid_t child = fork();
        if (child != 0)
            return child;
        setenv("DKOM_ORA_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_DRK_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_LOG_PATH", directory.c_str(), 1);
        setenv("DKOM_LOG_LEVEL", std::to_string(level).c_str(), 1);
        prepare(directory / ("om_" + std::to_string(getpid()) + ".log"));
        alarm(longest_run_seconds);
        const std::string library = std::string(LIBRARIES "/lib") + GetParam() + ".so";
        execl("/proc/self/exe", "fault_tests", "--scenario", scenario, library.c_str(), nullptr);
        _exit(127);
    }

    static void expect_end(pid_t child)
    {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }

    void run(const char *scenario, int level, const std::function<void(const fs::path &log)> &prepare) const
    {
        expect_end(start(scenario, level, prepare, traces()));
    }
    void run(const char *scenario, int level) const
    {
        run(scenario, level, [](const fs::path &) {});
    }

    /* The only log of a directory. */
    static fs::path only_log(const fs::path &directory)
    {
        fs::path found;
        for (const auto &entry : fs::directory_iterator(directory)) {
            EXPECT_TRUE(found.empty()) << found << " and " << entry.path();
            found = entry.path();
        }
        return found;
    }

    /* "[2026-03-04 10:20:30:123456] ", the thread in the extended edition, colours, and the record's tag. */
    static bool begins_record(const std::string &line)
    {
        int year = 0;
        int read = 0;
        if (std::sscanf(line.c_str(), "[%4d-%*2d-%*2d %*2d:%*2d:%*2d:%*6d] %n", &year, &read) != 1 ||
            read == 0)
            return false;
        const std::size_t tag_end = line.find(" - ");
        if (tag_end == std::string::npos)
            return false;
        const std::size_t tag = line.find_last_of("m] ", tag_end - 1);
        const std::string name = line.substr(tag + 1, tag_end - tag - 1);
        return name == "ASSERT" || name == "ERROR" || name == "INFO" || name == "DEBUG" || name == "LIST" ||
               name == "TRACE";
    }

    /* " - (server.cpp:69)" */
    static bool ends_record(const std::string &line)
    {
        const std::size_t source = line.rfind(" - (");
        return source != std::string::npos && line.back() == ')' &&
               line.find(':', source) != std::string::npos;
    }

    /* How many commits a trace of level 50 tells of. Everything in it must be a whole record. */
    static int commits_in(const std::string &trace)
    {
        int commits = 0;
        bool is_inside = false;
        for (std::size_t at = 0; at < trace.size();) {
            const std::size_t line_end = std::min(trace.find('\n', at), trace.size());
            const std::string line = trace.substr(at, line_end - at);
            at = line_end + 1;
            if (!is_inside && !begins_record(line)) {
                ADD_FAILURE() << "no record begins with " << line;
                return -1;
            }
            is_inside = !ends_record(line);
            if (line.find("TRACE - OCITransCommit()") != std::string::npos)
                commits++;
        }
        EXPECT_FALSE(is_inside) << "the last record is torn";
        return commits;
    }

private:
    fs::path root_;
};

/* What a program finds in place of its log, and how much of its trace is there in the end. */
struct trace_fault {
    const char *name;
    std::function<void(const fs::path &log, const fs::path &other)> prepare;
};

TEST_P(Faults, a_trace_that_cannot_be_written_costs_nothing)
{
    const trace_fault faults[] = {
        {"missing directory", [](const fs::path &log, const fs::path &) { fs::remove(log.parent_path()); }},
        {"no directory",
         [](const fs::path &log, const fs::path &) {
             fs::remove(log.parent_path());
             std::ofstream(log.parent_path()) << "a file";
         }},
        {"full disk", [](const fs::path &log, const fs::path &) { fs::create_symlink("/dev/full", log); }},
        {"link that leads nowhere",
         [](const fs::path &log, const fs::path &) { fs::create_symlink("/no/such/file", log); }},
        {"pipe that nobody reads", [](const fs::path &log, const fs::path &) { mkfifo(log.c_str(), 0600); }},
        {"directory in its place", [](const fs::path &log, const fs::path &) { fs::create_directory(log); }},
    };
    for (const trace_fault &fault : faults) {
        SCOPED_TRACE(fault.name);
        run("round", 50, [&](const fs::path &log) { fault.prepare(log, root() / "other"); });
        fs::remove_all(traces());
        fs::create_directory(traces());
    }
    // Where not even the system's administrator makes files.
    expect_end(start(
        "round", 50, [](const fs::path &) {}, "/proc"));
}

TEST_P(Faults, a_file_that_may_not_grow_ends_with_a_whole_record)
{
    constexpr rlim_t limit = 20000;
    run("round", 50, [](const fs::path &) {
        const rlimit small{limit, limit};
        setrlimit(RLIMIT_FSIZE, &small);
    });
    const std::string trace = read_all(only_log(traces()));
    EXPECT_LE(trace.size(), limit);
    EXPECT_GT(trace.size(), limit / 2);
    EXPECT_GT(commits_in(trace), 0);
}

/* A reader gets every record of the exact edition; the extended one writes to plain files only. */
TEST_P(Faults, a_pipe_with_a_reader)
{
    int end[2];
    ASSERT_EQ(pipe(end), 0);
    const pid_t child = start(
        "round", 50,
        [&](const fs::path &log) {
            mkfifo(log.c_str(), 0600);
            ASSERT_EQ(write(end[1], "x", 1), 1);
            // Until the reader has opened it.
            close(open(log.c_str(), O_WRONLY));
        },
        traces());
    char ready = 0;
    ASSERT_EQ(read(end[0], &ready, 1), 1);
    const std::string fifo = only_log(traces()).string();
    const int reading = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int keeps_open = open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
    fcntl(reading, F_SETFL, 0);
    auto reader = std::async(std::launch::async, [reading] {
        std::string all;
        char buffer[4096];
        for (ssize_t count = 0; (count = read(reading, buffer, sizeof buffer)) > 0;)
            all.append(buffer, static_cast<std::size_t>(count));
        return all;
    });
    expect_end(child);
    close(keeps_open);
    EXPECT_EQ(commits_in(reader.get()), is_exact() ? commits_of_a_round : 0);
    close(reading);
    close(end[0]);
    close(end[1]);
}

/* Somebody may put a link or a second name where a log will be. */
TEST_P(Faults, the_extended_edition_never_writes_to_another_file)
{
    if (is_exact())
        GTEST_SKIP() << "the exact edition's file is opened by name";
    const fs::path victim = root() / "victim";
    std::ofstream(victim) << "kept";
    run("round", 50, [&](const fs::path &log) { fs::create_symlink(victim, log); });
    run("round", 50, [&](const fs::path &log) { fs::create_hard_link(victim, log); });
    EXPECT_EQ(read_all(victim), "kept");
    if (geteuid() == 0) {
        run("round", 50, [&](const fs::path &log) {
            std::ofstream(log) << "kept";
            EXPECT_EQ(chown(log.c_str(), 65534, 65534), 0);
        });
        for (const auto &entry : fs::directory_iterator(traces()))
            EXPECT_EQ(read_all(entry.path()), "kept") << entry.path();
    }
}

TEST_P(Faults, a_directory_may_be_replaced)
{
    run("replaced_directory", 50);
    EXPECT_EQ(commits_in(read_all(only_log(traces().string() + ".before"))), commits_of_a_round);
    EXPECT_EQ(commits_in(read_all(only_log(traces()))), commits_of_a_round);
}

TEST_P(Faults, descriptors_used_up_cost_records_only)
{
    run("no_descriptors", 50, [](const fs::path &) {
        const rlimit few{100, 100};
        setrlimit(RLIMIT_NOFILE, &few);
    });
    EXPECT_EQ(commits_in(read_all(only_log(traces()))), commits_of_a_round);
}

TEST_P(Faults, records_of_threads_and_processes_are_whole)
{
    constexpr int processes = 4;
    std::vector<pid_t> children;
    for (int i = 0; i < processes; i++)
        children.push_back(start(
            "crowd", 50, [](const fs::path &) {}, traces()));
    for (const pid_t child : children)
        expect_end(child);
    int files = 0;
    for (const auto &entry : fs::directory_iterator(traces())) {
        EXPECT_EQ(commits_in(read_all(entry.path())),
                  threads_of_a_crowd * rounds_of_a_thread * commits_of_a_round);
        files++;
    }
    EXPECT_EQ(files, processes);
}

TEST_P(Faults, a_forked_child_may_call)
{
    for (const int level : {10, 50})
        run("forks", level);
    for (const auto &entry : fs::directory_iterator(traces()))
        EXPECT_GT(commits_in(read_all(entry.path())), 0) << entry.path();
}

TEST_P(Faults, the_library_may_be_closed_and_opened_again)
{
    run("reload", 10);
    EXPECT_TRUE(fs::is_empty(traces()));
}

TEST_P(Faults, the_extended_edition_is_told_another_level_while_it_runs)
{
    if (is_exact())
        GTEST_SKIP() << "the exact edition reads its variable again";
    run("control_file", 10);
    EXPECT_EQ(commits_in(read_all(only_log(traces()))), commits_of_a_round);
}

INSTANTIATE_TEST_SUITE_P(On, Faults, testing::Values("dkom", "dkomx"));

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--scenario") == 0)
        return run_scenario(argv[2], argv[3]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
