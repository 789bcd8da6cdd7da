#include "terminal.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "program.h"

Terminal::Terminal(const std::string &directory, std::vector<std::string> words,
                   std::vector<std::string> environment)
{
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ != 0)
        return;
    if (chdir(directory.c_str()) == 0)
        execve(words[0].c_str(), argument_pointers(words).data(), argument_pointers(environment).data());
    _exit(127);
}

Terminal::~Terminal()
{
    if (child_ > 0)
        kill(child_, SIGKILL);
    wait();
    close(terminal_);
}

void Terminal::type(const std::string &text) const
{
    EXPECT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void Terminal::talk(const std::vector<std::pair<std::string, std::string>> &steps)
{
    for (const auto &[typed, shown] : steps) {
        type(typed);
        ASSERT_TRUE(shows(shown)) << "not seen: " << shown << '\n' << screen_;
    }
}

void Terminal::leave(const std::string &typed)
{
    type(typed);
    EXPECT_EQ(wait(), 0) << screen_;
}

bool Terminal::shows(const std::string &text, int patience_ms)
{
    for (;;) {
        const std::size_t found = screen_.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        pollfd waiting{terminal_, POLLIN, 0};
        std::array<char, 4096> buffer{};
        if (poll(&waiting, 1, patience_ms) <= 0)
            return false;
        const ssize_t count = read(terminal_, buffer.data(), buffer.size());
        if (count <= 0) {
            is_closed_ = true;
            return false;
        }
        screen_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

int Terminal::wait()
{
    if (child_ <= 0)
        return -1;
    while (shows("\n")) { // reads up to the end: a full terminal would keep the program from ending
    }
    int status = -1;
    if (!is_closed_)
        kill(child_, SIGKILL);
    waitpid(child_, &status, 0);
    child_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
