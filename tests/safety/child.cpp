#include "child.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr auto longest_run = std::chrono::seconds(100);

} // namespace

child_result run_in_child(const std::function<void()> &body)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    close(ends[1]);
    child_result result;
    const auto end = std::chrono::steady_clock::now() + longest_run;
    for (;;) {
        pollfd readable{ends[0], POLLIN, 0};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        char buffer[4096];
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            close(ends[0]);
            return {-1, result.output + "\n(killed: it took too long)"};
        }
        const ssize_t count = read(ends[0], buffer, sizeof buffer);
        if (count <= 0)
            break;
        result.output.append(buffer, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    waitpid(child, &result.status, 0);
    return result;
}

trace_directory::trace_directory(int level)
{
    std::string name = (std::filesystem::temp_directory_path() / "dkom_safety_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no directory for traces");
    path = name;
    setenv("DKOM_LOG_PATH", path.c_str(), 1);
    setenv("DKOM_LOG_LEVEL", std::to_string(level).c_str(), 1);
}

trace_directory::~trace_directory()
{
    unsetenv("DKOM_LOG_PATH");
    unsetenv("DKOM_LOG_LEVEL");
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string trace_directory::contents() const
{
    std::string all;
    for (const auto &file : std::filesystem::directory_iterator(path)) {
        std::ifstream in(file.path());
        all.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return all;
}
