#ifndef DKOM_REPORT_HANDLE_LIFE_H
#define DKOM_REPORT_HANDLE_LIFE_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <trace_reader/record.h>

namespace dkom_report
{

/// Collects what records say of one address. Births and ends are kept first, uses up to a limit.
class HandleLife final : public trace_reader::Visitor
{
public:
    struct Entry {
        std::int64_t at = 0;
        std::string what;
        std::uint64_t order = 0;
    };

    /// @param most_uses  uses that are kept: half of them the first ones, half the last ones; 0: all
    HandleLife(std::uint64_t address, std::size_t most_uses);

    void record(const trace_reader::Record &record) override;
    void other_line(std::string_view) override {}

    /// All that is known, in the order of the trace; uses are left out at the place of an entry without
    /// words.
    std::vector<Entry> entries() const;
    std::uint64_t uses() const { return uses_; }
    std::uint64_t left_out() const { return left_out_; }

private:
    void keep(std::int64_t at, std::string what, bool is_use);
    bool is_named_in(std::string_view message, std::size_t from) const;
    std::string arguments_named(std::string_view message) const;

    std::string address_;
    std::size_t most_uses_;
    std::string row_; ///< what the table showed last
    std::vector<Entry> facts_;
    std::vector<Entry> first_;
    std::deque<Entry> last_;
    std::uint64_t uses_ = 0;
    std::uint64_t left_out_ = 0;
    std::uint64_t order_ = 0;
};

} // namespace dkom_report

#endif
