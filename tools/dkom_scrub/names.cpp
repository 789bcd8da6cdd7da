#include "names.h"

#include <cctype>
#include <stdexcept>
#include <sys/random.h>

#include <fmt/format.h>

namespace dkom_scrub
{

namespace
{

constexpr unsigned int half_bits = 24;
constexpr std::uint64_t half_mask = (std::uint64_t{1} << half_bits) - 1;
constexpr std::uint64_t lowest_address = 0x10000;
constexpr std::uint64_t address_end = std::uint64_t{1} << 47;

/// Mixes the bits of a number.
std::uint64_t mixed(std::uint64_t value)
{
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31);
}

std::uint64_t hash_of(std::string_view text, std::uint64_t key)
{
    for (const char c : text)
        key = mixed(key ^ static_cast<unsigned char>(c)) + 0x9e3779b97f4a7c15U;
    return mixed(key ^ text.size());
}

} // namespace

Names::Names(std::string_view key) : known_(4096)
{
    if (key.empty() && getrandom(keys_.data(), sizeof keys_, 0) != static_cast<ssize_t>(sizeof keys_))
        throw std::runtime_error("the system gives no random numbers");
    for (std::size_t i = 0; !key.empty() && i < keys_.size(); i++)
        keys_[i] = hash_of(key, i + 1);
}

/// A Feistel network: each key gives another permutation of 48-bit numbers.
std::uint64_t Names::permuted(std::uint64_t value) const
{
    std::uint64_t left = value >> half_bits;
    std::uint64_t right = value & half_mask;
    for (const std::uint64_t key : keys_) {
        const std::uint64_t next = left ^ (mixed(right ^ key) & half_mask);
        left = right;
        right = next;
    }
    return left << half_bits | right;
}

std::uint64_t Names::address(std::uint64_t address)
{
    if (address < lowest_address || address >= address_end)
        return address;
    Known &place = known_[mixed(address) % known_.size()];
    if (place.address != address) {
        place.address = address;
        place.name = address;
        do // what lies outside goes round until it is inside, which keeps different ones different
            place.name = permuted(place.name);
        while (place.name < lowest_address || place.name >= address_end);
    }
    return place.name;
}

std::string Names::identifier(std::string_view name) const
{
    std::string folded;
    if (name.size() >= 2 && name.front() == '"') {
        folded = name.substr(1, name.size() - 2);
    } else {
        for (const char c : name)
            folded += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return fmt::format("n_{:010x}", hash_of(folded, keys_[0]) >> 24);
}

std::string Names::link(std::string_view link)
{
    constexpr std::size_t most = 100000;
    const auto known = links_.find(std::string(link));
    if (known != links_.end())
        return fmt::format("link{}", known->second);
    if (links_.size() >= most)
        return fmt::format("link_{:010x}", hash_of(link, keys_[1]) >> 24);
    links_.emplace(link, links_.size() + 1);
    return fmt::format("link{}", links_.size());
}

} // namespace dkom_scrub
