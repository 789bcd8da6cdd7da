#include "program.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <utility>

std::vector<char *> argument_pointers(std::vector<std::string> &texts)
{
    std::vector<char *> result;
    result.reserve(texts.size() + 1);
    for (std::string &text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

ProgramTest::ProgramTest(std::string program) : program_(std::move(program))
{
    std::string name = (std::filesystem::temp_directory_path() / "program-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot make a directory like " + name);
    directory_ = name;
    std::filesystem::create_directory(directory_ / "oracle");
    std::filesystem::create_directory(directory_ / "dravik");
    write_file("oracle/world.db", "");
    write_file("dravik/mars.db", "");
}

ProgramTest::~ProgramTest()
{
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

std::vector<std::string> ProgramTest::environment() const
{
    const std::vector<std::string> common{
        "PATH=/usr/bin:/bin",
        "LC_ALL=C.UTF-8",
        "TERM=dumb",
        std::string("DKOM_ORA_LIB_PATH=") + CLIENT_LIBRARY_DIR,
        std::string("DKOM_DRK_LIB_PATH=") + CLIENT_LIBRARY_DIR,
        "DKOM_LOG_PATH=" + directory_.string(),
        "SQLITE_OCI_CLNTSH_DIR=" + (directory_ / "oracle").string(),
        "SQLITE_OCI_DKOCI_DIR=" + (directory_ / "dravik").string(),
        "XDG_STATE_HOME=" + (directory_ / "state").string(),
    };
    std::vector<std::string> variables = own_variables_;
    variables.insert(variables.end(), common.begin(), common.end());
    return variables;
}

Outcome ProgramTest::run_other(const std::string &program, const Arguments &arguments,
                               const std::string &input) const
{
    write_file("stdin", input);
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory_.c_str());
    posix_spawn_file_actions_addopen(&actions, 0, "stdin", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "stdout", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, "stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    const int fault = posix_spawn(&child, words.front().c_str(), &actions, nullptr,
                                  argument_pointers(words).data(), argument_pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (fault != 0)
        throw std::runtime_error("cannot run " + words.front());

    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), read_file("stdout"),
            read_file("stderr"), usage.ru_maxrss};
}

std::string ProgramTest::output_of(const Arguments &arguments, const std::string &input) const
{
    const Outcome outcome = run(arguments, input);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

std::string ProgramTest::take_trace() const
{
    std::string all;
    for (const auto &entry : std::filesystem::directory_iterator(directory_)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with("om_"))
            continue;
        all += read_file(name);
        std::filesystem::remove(entry.path());
    }
    return all;
}

void ProgramTest::write_file(const std::string &name, const std::string &content) const
{
    std::ofstream(directory_ / name, std::ios::binary) << content;
}

std::string ProgramTest::read_file(const std::string &name) const
{
    std::ifstream file(directory_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
