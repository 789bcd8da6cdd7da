// Runs the sample program on a client library itself and through libdkom.so.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Words = std::vector<std::string>;

struct Outcome {
    int status = -1; // exit status; 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;
    long peak_kb = 0; // most memory that was resident
};

std::vector<char *> pointers(Words &words)
{
    std::vector<char *> result;
    for (std::string &word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

// A directory with a database `east` for the Oracle library and `west` for Dravik's.
class Daily : public testing::Test
{
protected:
    Daily()
    {
        std::string name = (std::filesystem::temp_directory_path() / "daily-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a directory like " + name);
        directory_ = name;
        for (const char *part : {"oracle", "dravik", "trace"})
            std::filesystem::create_directory(directory_ / part);
        for (const char *database : {"oracle/east.db", "dravik/west.db"})
            const std::ofstream empty(directory_ / database);
    }

    ~Daily() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

    std::string path(const char *name) const { return (directory_ / name).string(); }

    Outcome run(const char *program, const Words &arguments, int trace_level = 10) const
    {
        Words words{program};
        words.insert(words.end(), arguments.begin(), arguments.end());
        Words variables{"PATH=/usr/bin:/bin",
                        "TZ=UTC",
                        "SQLITE_OCI_CLNTSH_DIR=" + path("oracle"),
                        "SQLITE_OCI_DKOCI_DIR=" + path("dravik"),
                        std::string("DKOM_ORA_LIB_PATH=") + CLIENT_LIBRARY_DIR,
                        std::string("DKOM_DRK_LIB_PATH=") + CLIENT_LIBRARY_DIR,
                        "DKOM_LOG_PATH=" + path("trace"),
                        "DKOM_LOG_LEVEL=" + std::to_string(trace_level),
                        "ASAN_OPTIONS=detect_leaks=0"};

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        const std::string out = path("out");
        const std::string err = path("err");
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t child = 0;
        const int fault = posix_spawn(&child, program, &actions, nullptr, pointers(words).data(),
                                      pointers(variables).data());
        posix_spawn_file_actions_destroy(&actions);
        if (fault != 0)
            throw std::runtime_error(std::string("cannot run ") + program);

        int status = 0;
        rusage usage{};
        while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
        }
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), content(out), content(err),
                usage.ru_maxrss};
    }

    std::uintmax_t trace_bytes() const
    {
        std::uintmax_t bytes = 0;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(directory_ / "trace"))
            bytes += entry.is_regular_file() ? entry.file_size() : 0;
        return bytes;
    }

private:
    static std::string content(const std::string &name)
    {
        std::ifstream file(name, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    std::filesystem::path directory_;
};

std::string without_first_line(const std::string &text)
{
    return text.substr(text.find('\n') + 1);
}

TEST_F(Daily, prints_the_same_directly_and_through_the_library)
{
    const struct {
        Words direct_arguments;
        Words arguments;
        int trace_level;
        const char *told; // by both
    } cases[] = {
        {{"east", "--lob-mb", "2"}, {"east", "--lob-mb", "2"}, 10, "read  2097152 bytes back"},
        {{"east", "--lob-mb", "2"},
         {"east", "--lob-mb", "2"},
         50,
         "AMOUNT     NUMBER    size 22  precision 12  scale 2  may be NULL"},
        {{"east", "--skip", "describe", "--skip", "lob"},
         {"west", "--skip", "describe", "--skip", "lob"},
         10,
         "rolled back: 0 rows"},
        {{"east", "--skip", "describe", "--skip", "lob"},
         {"west", "--skip", "describe", "--skip", "lob"},
         50,
         "ORA-01013"},
    };
    for (const auto &c : cases) {
        const Outcome direct = run(DAILY_DIRECT, c.direct_arguments);
        ASSERT_EQ(direct.status, 0) << direct.out << direct.err;
        EXPECT_NE(direct.out.find(c.told), std::string::npos) << direct.out;

        const std::uintmax_t traced_before = trace_bytes();
        const Outcome through = run(DAILY, c.arguments, c.trace_level);
        EXPECT_EQ(through.status, 0) << through.out << through.err;
        EXPECT_EQ(through.out, "connected to " + c.arguments[0] + "\n" + without_first_line(direct.out));
        EXPECT_EQ(through.err, "");
        EXPECT_EQ(trace_bytes() > traced_before, c.trace_level > 10);
    }
}

// The client library may hold the value. What must not grow with it is what the program and libdkom.so add.
TEST_F(Daily, streams_a_large_value_in_bounded_memory)
{
    constexpr long room_kb = 8 * 1024;
    const auto added = [this](const char *megabytes) {
        const Words arguments{"east", "--lob-mb", megabytes, "--skip", "break"};
        const Outcome direct = run(DAILY_DIRECT, arguments);
        const Outcome through = run(DAILY, arguments);
        EXPECT_EQ(direct.status, 0) << direct.err;
        EXPECT_EQ(through.status, 0) << through.err;
        EXPECT_EQ(through.out, direct.out);
        const std::string bytes = std::to_string(std::stoul(megabytes) << 20);
        EXPECT_NE(through.out.find("read  " + bytes + " bytes back"), std::string::npos) << through.out;
        return through.peak_kb - direct.peak_kb;
    };
    EXPECT_LT(added("100") - added("1"), room_kb);
}

TEST_F(Daily, tells_what_went_wrong)
{
    const struct {
        Words arguments;
        int status;
        const char *message;
    } cases[] = {
        {{"--help"}, 0, "--lob-mb N"},
        {{}, 2, "the LINK is missing"},
        {{"east", "--lob-mb", "many"}, 2, "not a number of megabytes: many"},
        {{"east", "--skip", "lunch"}, 2, "there is no step lunch"},
        {{"east", "--skip"}, 2, "a value is missing behind --skip"},
        {{"nowhere"}, 1, "ORA-12154"},
        {{"east", "--lob-file", "/nowhere"}, 1, "cannot read /nowhere"},
        {{"east", "--lob-file", "/dev/null"}, 0, "read  0 bytes back"},
        {{"west"}, 1, "--skip describe"},
        {{"west", "--skip", "describe"}, 1, "ORA-22275"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run(DAILY, c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        EXPECT_NE((outcome.out + outcome.err).find(c.message), std::string::npos) << outcome.err;
    }
}

} // namespace
