#ifndef DKOM_REPORT_TIMELINE_H
#define DKOM_REPORT_TIMELINE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dkom_report
{

/// Lanes of statements, and of connections, that a page shows.
inline constexpr std::size_t most_lanes = 100;

/// A call in a lane.
struct Event {
    std::int64_t at = 0;
    std::int64_t took = 0;
    std::uint32_t function = 0;
    std::uint32_t other =
        0; ///< the statement of a connection's call, the connection of a statement's; plus 1
    std::uint8_t backend = 0; ///< bits of a Backend
    bool failed = false;
    bool is_bound = false;
};

/// A row of the timeline in constant memory: the longest calls one by one, and all of them as how busy the
/// lane was in each of a fixed number of slices, which become wider as time goes on.
class Lane
{
public:
    static constexpr std::size_t most_events = 300;
    static constexpr std::size_t slices = 512;

    void add(const Event &event);

    std::uint64_t count() const { return count_; }
    const std::vector<Event> &events() const { return events_; }

    std::int64_t slice_begin() const { return begin_; }
    std::int64_t slice_width() const { return width_; }
    /// Microseconds spent in each slice.
    const std::vector<std::int64_t> &busy() const { return busy_; }

private:
    void spread(std::int64_t from, std::int64_t to);

    std::uint64_t count_ = 0;
    std::vector<Event> events_; // a heap with the shortest in front, once it is full
    std::int64_t begin_ = 0;
    std::int64_t width_ = 1000;
    std::vector<std::int64_t> busy_;
};

} // namespace dkom_report

#endif
