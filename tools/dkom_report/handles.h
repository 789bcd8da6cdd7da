#ifndef DKOM_REPORT_HANDLES_H
#define DKOM_REPORT_HANDLES_H

#include <cstdint>
#include <vector>

namespace dkom_report
{

/// What is known of an address that is or was a handle.
struct Handle {
    std::uint64_t address = 0;
    std::uint64_t parent = 0;
    std::int64_t born = 0; ///< 0: before the trace began
    std::int64_t died = 0;
    std::int64_t last_used = 0;
    std::int32_t type = 0;
    std::uint32_t live = 0; ///< wrappers under this address
    std::uint32_t context = 0;
    std::uint32_t statement = 0;  ///< place plus 1
    std::uint32_t connection = 0; ///< place plus 1
    std::uint16_t born_by = 0;
    std::uint16_t died_by = 0;
    std::uint16_t last_by = 0;
};

/// The handles of a process by their addresses: open addressing, bounded. Dead ones are kept, so that a stop
/// can be explained, as long as there is room.
class Handles
{
public:
    static constexpr std::size_t most = std::size_t{1} << 19;

    Handle *find(std::uint64_t address)
    {
        if (places_.empty())
            return nullptr;
        for (std::size_t i = slot(address);; i = (i + 1) & mask())
            if (places_[i].address == address || places_[i].address == 0)
                return places_[i].address ? &places_[i] : nullptr;
    }

    /// The handle, which is added if it is not there; null when the table is full of live ones.
    Handle *find_or_add(std::uint64_t address)
    {
        if (Handle *known = find(address))
            return known;
        if (2 * (used_ + 1) > places_.size() && !grow())
            return nullptr;
        std::size_t i = slot(address);
        while (places_[i].address != 0)
            i = (i + 1) & mask();
        used_++;
        places_[i].address = address;
        return &places_[i];
    }

    /// All places; those with address 0 are free.
    std::vector<Handle> &places() { return places_; }
    void clear()
    {
        places_.clear();
        used_ = 0;
    }

private:
    std::size_t mask() const { return places_.size() - 1; }
    std::size_t slot(std::uint64_t address) const
    {
        return static_cast<std::size_t>((address * 0x9e3779b97f4a7c15U) >> 20) & mask();
    }

    bool grow()
    {
        std::vector<Handle> before = std::move(places_);
        std::size_t live = 0;
        for (const Handle &h : before)
            live += h.address != 0 && h.live > 0 ? 1 : 0;
        const bool is_full = before.size() >= 2 * most;
        if (is_full && 2 * live > most) {
            places_ = std::move(before);
            return false;
        }
        places_.assign(is_full ? before.size() : before.empty() ? 1024 : 2 * before.size(), Handle());
        used_ = 0;
        for (const Handle &h : before)
            if (h.address != 0 && (!is_full || h.live > 0))
                *find_or_add(h.address) = h;
        return true;
    }

    std::vector<Handle> places_;
    std::size_t used_ = 0;
};

} // namespace dkom_report

#endif
