#ifndef DKOM_REPORT_NAMES_H
#define DKOM_REPORT_NAMES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace dkom_report
{

/// What the analysis has to know of a function.
enum class Kind : std::uint8_t {
    other,
    environment,
    allocate,
    release,
    allocate_descriptor,
    release_descriptor,
    attach,
    detach,
    logon,
    logoff,
    attribute_set,
    prepare,
    prepare_in_one, ///< OCIStmtPrepare2, which makes the statement too
    execute,
    fetch,
    bind,
    parameter,
    error_get,
};

/// Numbers for the names of functions: a small hash table of whole names, since one is looked up for each
/// call.
class Names
{
public:
    static constexpr std::size_t most = 2048;

    struct Entry {
        std::string name;
        Kind kind = Kind::other;
        bool is_bare = false;     ///< the exact edition writes its name only
        bool ends_silent = false; ///< the exact edition writes no result
    };

    Names() : slots_(2 * most, 0) {}

    /// The number of a name; 0 when there are too many names.
    std::uint16_t number_of(std::string_view name)
    {
        std::size_t i = hash(name);
        for (; slots_[i] != 0; i = (i + 1) & (slots_.size() - 1))
            if (entries_[slots_[i]].name == name)
                return slots_[i];
        if (entries_.size() >= most)
            return 0;
        slots_[i] = static_cast<std::uint16_t>(entries_.size());
        entries_.push_back(describe(name));
        return slots_[i];
    }

    const Entry &operator[](std::size_t number) const { return entries_[number]; }
    std::size_t size() const { return entries_.size(); }

private:
    static Entry describe(std::string_view name);

    std::size_t hash(std::string_view name) const
    {
        // Names differ in their last bytes and in length.
        std::uint64_t tail = 0;
        const std::size_t size = name.size() < sizeof tail ? name.size() : sizeof tail;
        std::memcpy(&tail, name.data() + name.size() - size, size);
        std::uint64_t middle = 0;
        if (name.size() >= 12)
            std::memcpy(&middle, name.data() + 3, sizeof middle);
        tail = (tail ^ (middle * 0x9e3779b97f4a7c15U) ^ name.size()) * 0xff51afd7ed558ccdU;
        return static_cast<std::size_t>(tail >> 40) & (slots_.size() - 1);
    }

    std::vector<Entry> entries_ = {Entry{"(other)"}};
    std::vector<std::uint16_t> slots_;
};

} // namespace dkom_report

#endif
