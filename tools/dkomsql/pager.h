#ifndef DKOMSQL_PAGER_H
#define DKOMSQL_PAGER_H

#include <cstdio>
#include <ostream>
#include <streambuf>
#include <string>

namespace dkomsql
{

/// The command of PAGER, or less; empty when PAGER is, and when there is no less.
std::string pager_command();

/// Output for the terminal that goes through a pager when it is longer or wider than the screen.
class PagedOutput : private std::streambuf
{
public:
    /// An empty `command` writes straight to the standard output.
    explicit PagedOutput(std::string command);
    ~PagedOutput() override;
    PagedOutput(const PagedOutput &) = delete;
    PagedOutput &operator=(const PagedOutput &) = delete;

    std::ostream &stream() { return stream_; }

    /// Writes what is left and waits until the user leaves the pager.
    void finish();

    /// True when the user has left the pager before the end.
    bool is_left() const { return is_left_; }

private:
    int overflow(int c) override;
    std::streamsize xsputn(const char *text, std::streamsize count) override;
    void take(std::string_view text);
    bool fits_screen() const;
    void start();
    void write_on(std::string_view text);

    std::string command_;
    std::ostream stream_;
    std::string held_; // until it is known whether it fits
    std::size_t lines_ = 0;
    std::size_t longest_line_ = 0;
    std::size_t line_start_ = 0;
    std::FILE *pipe_ = nullptr;
    bool is_left_ = false;
    void (*interrupt_before_)(int) = nullptr;
    void (*broken_pipe_before_)(int) = nullptr;
};

} // namespace dkomsql

#endif
