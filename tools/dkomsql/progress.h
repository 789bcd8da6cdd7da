#ifndef DKOMSQL_PROGRESS_H
#define DKOMSQL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dkomsql
{

/// True when colours may be written to the file descriptor: it is a terminal that knows them and
/// NO_COLOR is not set.
bool colours_allowed(int descriptor);

/// A progress bar on the standard error stream; silent when that is not a terminal.
class ProgressBar
{
public:
    /// `total_bytes` 0: the size is not known, only the count is shown. `unit` is what is counted.
    ProgressBar(std::uintmax_t total_bytes, std::string_view unit);
    ~ProgressBar();
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    void update(std::uintmax_t bytes, std::size_t count);

    /// Takes the bar away, so that a message can be written in its place.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::uintmax_t total_bytes_;
    std::string_view unit_;
    bool on_terminal_;
    bool shown_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point last_update_{};
};

} // namespace dkomsql

#endif
