#ifndef DKOM_REPORT_FORMAT_H
#define DKOM_REPORT_FORMAT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dkom_report
{

/// "12 µs", "3.40 ms", "2.50 s", "3 min 20 s"; for negative spans "-".
std::string format_span(std::int64_t microseconds);

/// "2026-03-04 10:20:30.123456"; empty for 0.
std::string format_time(std::int64_t microseconds);

/// "12 345 678"
std::string format_count(std::uint64_t count);

/// "1.2 GB"
std::string format_size(std::uint64_t bytes);

/// One line in at most `columns` columns of a terminal; line ends become blanks, control characters "?".
std::string format_line(std::string_view text, std::size_t columns);

/// Lines of cells in columns that are as wide as their widest cell; the last one may be of any width.
class Table
{
public:
    enum class Side { left, right };
    struct Column {
        std::string_view title;
        Side side = Side::left;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool is_empty() const { return rows_.empty(); }

    /// The table with titles, bold if `colours`.
    std::string text(bool colours) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace dkom_report

#endif
