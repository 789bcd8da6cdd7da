#ifndef DKOM_SCRUB_NAMES_H
#define DKOM_SCRUB_NAMES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dkom_scrub
{

/// New names for what is renamed: equal ones for equal ones, different ones for different ones. They follow
/// from a key, so that memory does not grow with what was renamed, and cannot be led back without it.
class Names
{
public:
    /// @param key  runs with equal keys give equal names; empty: a random one
    explicit Names(std::string_view key);

    /// Another address of the same kind: below 2^47 and no small number. Small numbers and values that no
    /// address of a program has are left as they are.
    std::uint64_t address(std::uint64_t address);

    /// "n_" and hexadecimal digits. Names without quotes are equal in both cases.
    std::string identifier(std::string_view name) const;

    /// "link1", "link2" and so on.
    std::string link(std::string_view link);

private:
    static constexpr std::size_t rounds = 8;

    struct Known {
        std::uint64_t address = 0;
        std::uint64_t name = 0;
    };

    std::uint64_t permuted(std::uint64_t value) const;

    std::array<std::uint64_t, rounds> keys_{};
    std::vector<Known> known_;
    std::unordered_map<std::string, std::size_t> links_;
};

} // namespace dkom_scrub

#endif
