#include "timeline.h"

#include <algorithm>

namespace dkom_report
{

namespace
{

bool is_longer(const Event &a, const Event &b)
{
    return a.took > b.took;
}

} // namespace

void Lane::add(const Event &event)
{
    count_++;
    if (events_.size() < most_events) {
        events_.push_back(event);
        std::ranges::push_heap(events_, is_longer);
    } else if (event.took > events_.front().took) {
        std::ranges::pop_heap(events_, is_longer);
        events_.back() = event;
        std::ranges::push_heap(events_, is_longer);
    }
    spread(event.at, event.at + std::max<std::int64_t>(event.took, 1));
}

void Lane::spread(std::int64_t from, std::int64_t to)
{
    if (busy_.empty()) {
        busy_.resize(slices);
        begin_ = from;
    }
    from = std::max(from, begin_); // clocks that are set back do not move what is there
    to = std::max(to, from);
    while (to >= begin_ + width_ * static_cast<std::int64_t>(slices)) {
        for (std::size_t i = 0; i < slices / 2; i++)
            busy_[i] = busy_[2 * i] + busy_[2 * i + 1];
        std::fill(busy_.begin() + slices / 2, busy_.end(), 0);
        width_ *= 2;
    }
    while (from < to) {
        const auto slice = static_cast<std::size_t>((from - begin_) / width_);
        const std::int64_t next = std::min(to, begin_ + static_cast<std::int64_t>(slice + 1) * width_);
        busy_[slice] += next - from;
        from = next;
    }
}

} // namespace dkom_report
