#include "pager.h"

#include <csignal>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "utf8.h"

namespace dkomsql
{

namespace
{

winsize screen_size()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0)
        size.ws_row = 24;
    if (size.ws_col == 0)
        size.ws_col = 80;
    return size;
}

} // namespace

std::string pager_command()
{
    if (const char *pager = std::getenv("PAGER"))
        return pager;
    static const bool has_less = std::system("command -v less >/dev/null 2>&1") == 0;
    return has_less ? "less" : "";
}

PagedOutput::PagedOutput(std::string command) : command_(std::move(command)), stream_(this)
{
    // Long lines are cut instead of folded, colours are kept; what fits the screen needs no key to leave.
    if (!command_.empty())
        setenv("LESS", "FRSX", 0);
}

PagedOutput::~PagedOutput()
{
    finish();
}

int PagedOutput::overflow(int c)
{
    if (c != traits_type::eof()) {
        const char byte = traits_type::to_char_type(c);
        take({&byte, 1});
    }
    return traits_type::not_eof(c);
}

std::streamsize PagedOutput::xsputn(const char *text, std::streamsize count)
{
    take({text, static_cast<std::size_t>(count)});
    return count;
}

void PagedOutput::take(std::string_view text)
{
    if (command_.empty() || pipe_ != nullptr || is_left_) {
        write_on(text);
        return;
    }
    held_ += text;
    for (std::size_t end = 0; (end = held_.find('\n', line_start_)) != std::string::npos;
         line_start_ = end + 1) {
        lines_++;
        const std::string_view line = std::string_view(held_).substr(line_start_, end - line_start_);
        longest_line_ = std::max(longest_line_, display_width(line));
    }
    if (!fits_screen())
        start();
}

bool PagedOutput::fits_screen() const
{
    const winsize size = screen_size();
    return lines_ + 1 < size.ws_row && longest_line_ <= size.ws_col;
}

void PagedOutput::start()
{
    std::fflush(stdout);
    broken_pipe_before_ = std::signal(SIGPIPE, SIG_IGN);
    pipe_ = popen(command_.c_str(), "we");
    if (pipe_ == nullptr)
        std::signal(SIGPIPE, broken_pipe_before_);
    write_on(held_);
    held_.clear();
}

void PagedOutput::write_on(std::string_view text)
{
    std::FILE *to = pipe_ != nullptr ? pipe_ : stdout;
    if (!is_left_ && std::fwrite(text.data(), 1, text.size(), to) != text.size() && pipe_ != nullptr)
        is_left_ = true;
}

void PagedOutput::finish()
{
    if (pipe_ == nullptr) {
        write_on(held_);
        held_.clear();
        return;
    }
    // In the pager, Ctrl-C is the pager's.
    interrupt_before_ = std::signal(SIGINT, SIG_IGN);
    pclose(pipe_);
    pipe_ = nullptr;
    is_left_ = true; // nothing more is to come
    std::signal(SIGINT, interrupt_before_);
    std::signal(SIGPIPE, broken_pipe_before_);
}

} // namespace dkomsql
