#ifndef TESTS_DKOMSQL_TERMINAL_H
#define TESTS_DKOMSQL_TERMINAL_H

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

/// A program at a terminal of its own.
class Terminal
{
public:
    Terminal(const std::string &directory, std::vector<std::string> words,
             std::vector<std::string> environment);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void type(const std::string &text) const;

    /// Types each first text and waits for the one behind it.
    void talk(const std::vector<std::pair<std::string, std::string>> &steps);

    /// Leaves the program, which has to end well.
    void leave(const std::string &typed = "\\q\n");

    /// Waits until `text` has appeared behind what was found before.
    bool shows(const std::string &text, int patience_ms = 10000);

    /// Exit status of the program; -1 when it did not end by itself.
    int wait();

    /// All that was shown.
    const std::string &screen() const { return screen_; }

private:
    pid_t child_ = -1;
    int terminal_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
    bool is_closed_ = false; // the program has let go of the terminal
};

#endif
