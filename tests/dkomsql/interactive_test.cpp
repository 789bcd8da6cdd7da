#include "shell.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// The program at a terminal of its own.
class Terminal
{
public:
    Terminal(const std::string &directory, std::vector<std::string> words,
             std::vector<std::string> environment)
    {
        child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (child_ != 0)
            return;
        if (chdir(directory.c_str()) == 0)
            execve(words[0].c_str(), argument_pointers(words).data(), argument_pointers(environment).data());
        _exit(127);
    }

    ~Terminal()
    {
        if (child_ > 0)
            kill(child_, SIGKILL);
        wait();
        close(terminal_);
    }

    void type(const std::string &text) const
    {
        EXPECT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// Types each first text and waits for the one behind it.
    void talk(const std::vector<std::pair<std::string, std::string>> &steps)
    {
        for (const auto &[typed, shown] : steps) {
            type(typed);
            ASSERT_TRUE(shows(shown)) << "not seen: " << shown << '\n' << screen_;
        }
    }

    /// Leaves the program, which has to end well.
    void leave(const std::string &typed = "\\q\n")
    {
        type(typed);
        EXPECT_EQ(wait(), 0) << screen_;
    }

    /// Waits until `text` has appeared behind what was found before.
    bool shows(const std::string &text, int patience_ms = 10000)
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

    /// Exit status of the program; -1 when it did not end by itself.
    int wait()
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

private:
    pid_t child_ = -1;
    int terminal_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
    bool is_closed_ = false; // the program has let go of the terminal
};

class Interactive : public BothBackends
{
protected:
    Terminal start() { return {directory().string(), {program(), link()}, environment()}; }
    std::string prompt() const { return link() + " [" + backend() + "]> "; }
};
RUN_ON_BOTH_BACKENDS(Interactive);

TEST_P(Interactive, session)
{
    Terminal terminal = start();
    terminal.talk({{"", "served by " + backend()},
                   {"", prompt()},
                   {"create table t(a varchar2(20));\n", "Done."},
                   {"insert into t\n", "...> "},
                   {"values('über');\n", "1 row inserted."},
                   {"select nothing from nowhere;\n", "error [" + backend() + "]:"},
                   {"", prompt()},
                   // Ctrl-C drops what has been typed and leaves the shell alone.
                   {"select broken\n", "...> "},
                   {"still broken\003", prompt()},
                   {"select a || '!' from t;\n", " über!"},
                   {"", prompt()}});
    terminal.leave();
    const std::string history = read_file("state/dkomsql/history");
    EXPECT_NE(history.find("create"), std::string::npos) << history;
    EXPECT_EQ(history.find("broken"), std::string::npos) << history;
}

TEST_P(Interactive, interrupt_breaks_the_statement)
{
    Terminal terminal = start();
    const std::string endless =
        "with recursive n(i) as (select 1 union all select i + 1 from n) select count(*) from n;";
    terminal.talk({{"", prompt()}, {endless + "\n", "from n;"}});
    bool is_broken = false;
    for (int attempt = 0; attempt < 10 && !is_broken;
         attempt++) { // the first may come before the statement runs
        usleep(300000);
        terminal.type("\003");
        is_broken = terminal.shows("ORA-01013", 1000);
    }
    ASSERT_TRUE(is_broken);
    terminal.talk({{"", prompt()}, {"select 6 * 7;\n", " 42"}});
    terminal.leave();
}

TEST_P(Interactive, prompt_marks_open_changes)
{
    Terminal terminal = start();
    terminal.talk({{"", prompt()},
                   {"\\autocommit off\n", prompt()},
                   {"create table t(a integer);\n", prompt()},
                   {"insert into t values(1);\n", link() + " [" + backend() + "]*> "},
                   {"rollback;\n", "Rolled back."},
                   {"", prompt()}});
    terminal.leave("\004"); // the end of the input
}

} // namespace
