#include "child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

namespace dkom_check
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t most_output = std::size_t{4} << 20; // a child that writes on and on is cut
constexpr std::size_t most_errors = 4096;

class Pipe
{
public:
    Pipe()
    {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0)
            throw std::runtime_error(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
    }
    ~Pipe()
    {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    int read_end() const { return ends_[0]; }
    int write_end() const { return ends_[1]; }
    void close_end(std::size_t end)
    {
        if (ends_.at(end) >= 0)
            close(ends_.at(end));
        ends_.at(end) = -1;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Appends what can be read; false at the end of the stream.
bool drain(int fd, std::string &into)
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    into.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
}

/// The child's side: alone in its process group, without a core file, gone when the parent is.
[[noreturn]] void become(const std::function<void(int)> &work, const Pipe &output, const Pipe &errors)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(errors.write_end(), STDERR_FILENO);
    try {
        work(output.write_end());
    } catch (const std::exception &error) {
        const std::string text = error.what();
        if (write(STDERR_FILENO, text.data(), text.size()) < 0)
            _exit(126);
        _exit(125);
    }
    _exit(0);
}

/// Reads both streams until they end or time is up.
bool read_streams(const Pipe &output, const Pipe &errors, Clock::time_point deadline, ChildOutcome &outcome)
{
    bool open_output = true;
    bool open_errors = true;
    while (open_output || open_errors) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        std::array<pollfd, 2> polled{pollfd{open_output ? output.read_end() : -1, POLLIN, 0},
                                     pollfd{open_errors ? errors.read_end() : -1, POLLIN, 0}};
        if (poll(polled.data(), polled.size(), static_cast<int>(left.count())) < 0 && errno != EINTR)
            return false;
        if (polled[0].revents != 0)
            open_output = drain(output.read_end(), outcome.output);
        if (polled[1].revents != 0)
            open_errors = drain(errors.read_end(), outcome.errors);
        if (outcome.errors.size() > most_errors)
            outcome.errors.erase(0, outcome.errors.size() - most_errors);
        if (outcome.output.size() > most_output)
            return false;
    }
    return true;
}

/// Waits until time is up.
bool wait_for(pid_t child, Clock::time_point deadline, int *status)
{
    for (;;) {
        const pid_t ended = waitpid(child, status, WNOHANG);
        if (ended == child)
            return true;
        if (Clock::now() >= deadline)
            return false;
        constexpr timespec pause{0, 2'000'000};
        nanosleep(&pause, nullptr);
    }
}

ChildOutcome fork_and_read(const std::function<void(int)> &work, std::chrono::milliseconds timeout)
{
    Pipe output;
    Pipe errors;
    const auto deadline = Clock::now() + timeout;
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error(fmt::format("cannot start a process: {}", std::strerror(errno)));
    if (child == 0)
        become(work, output, errors);
    output.close_end(1);
    errors.close_end(1);

    ChildOutcome outcome;
    int status = 0;
    if (!read_streams(output, errors, deadline, outcome) || !wait_for(child, deadline, &status)) {
        outcome.timed_out = true;
        kill(child, SIGKILL); // before it was alone in its group
    }
    kill(-child, SIGKILL); // and what it has started
    if (outcome.timed_out)
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    else if (WIFEXITED(status))
        outcome.status = WEXITSTATUS(status);
    if (!outcome.timed_out && WIFSIGNALED(status))
        outcome.signal = WTERMSIG(status);
    return outcome;
}

} // namespace

std::string ChildOutcome::how_it_ended() const
{
    if (timed_out)
        return "did not come back in time";
    if (signal != 0)
        return fmt::format("was ended by signal {} ({})", signal, strsignal(signal));
    return status == 0 ? "ended well" : fmt::format("ended the process with status {}", status);
}

nlohmann::json ChildOutcome::told() const
{
    nlohmann::json all = nlohmann::json::object();
    for (std::size_t begin = 0, end = 0; (end = output.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
        const auto line = nlohmann::json::parse(output.substr(begin, end - begin), nullptr, false);
        if (line.is_object())
            all.update(line);
    }
    return all;
}

void Teller::tell(const nlohmann::json &values) const
{
    const std::string line = values.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t count = write(fd_, line.data() + done, line.size() - done);
        if (count < 0 && errno != EINTR)
            return;
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

ChildOutcome run_child(const std::function<void(const Teller &)> &work, std::chrono::milliseconds timeout)
{
    return fork_and_read([&work](int fd) { work(Teller(fd)); }, timeout);
}

ChildOutcome run_program(const std::vector<std::string> &words, const std::string &variable,
                         const std::string &value, std::chrono::milliseconds timeout)
{
    return fork_and_read(
        [&](int fd) {
            setenv(variable.c_str(), value.c_str(), 1);
            dup2(fd, STDOUT_FILENO);
            std::vector<char *> pointers;
            pointers.reserve(words.size() + 1);
            for (const std::string &word : words)
                pointers.push_back(const_cast<char *>(word.c_str()));
            pointers.push_back(nullptr);
            execv(pointers[0], pointers.data());
            _exit(127);
        },
        timeout);
}

} // namespace dkom_check
