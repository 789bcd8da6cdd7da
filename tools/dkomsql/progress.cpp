#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include <fmt/format.h>

namespace dkomsql
{

bool colours_allowed(int descriptor)
{
    const char *no_color = std::getenv("NO_COLOR");
    const char *terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return isatty(descriptor) != 0 && !is_dumb && (no_color == nullptr || *no_color == '\0');
}

ProgressBar::ProgressBar(std::uintmax_t total_bytes, std::string_view unit)
    : total_bytes_(total_bytes), unit_(unit), on_terminal_(isatty(STDERR_FILENO) != 0)
{
}

ProgressBar::~ProgressBar()
{
    clear();
}

void ProgressBar::update(std::uintmax_t bytes, std::size_t count)
{
    constexpr std::chrono::milliseconds redraw_interval{100};
    constexpr std::size_t bar_columns = 30;

    const Clock::time_point now = Clock::now();
    if (!on_terminal_ || now - last_update_ < redraw_interval)
        return;
    last_update_ = now;

    std::string line;
    if (total_bytes_ > 0) {
        const double part = std::min(1.0, static_cast<double>(bytes) / static_cast<double>(total_bytes_));
        const auto filled = static_cast<std::size_t>(part * bar_columns);
        line = fmt::format("[{:#<{}}{:.<{}}] {:3.0f}%  ", "", filled, "", bar_columns - filled, part * 100);
    }
    const double seconds = std::chrono::duration<double>(now - start_).count();
    const double rate = seconds > 0 ? static_cast<double>(count) / seconds : 0;
    fmt::print(stderr, "\r{}{} {}  {:.0f} {}/s\033[K", line, count, unit_, rate, unit_);
    std::fflush(stderr);
    shown_ = true;
}

void ProgressBar::clear()
{
    if (!shown_)
        return;
    fmt::print(stderr, "\r\033[K");
    std::fflush(stderr);
    shown_ = false;
}

} // namespace dkomsql
