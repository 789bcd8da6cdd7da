#include "format.h"

#include <algorithm>

#include <fmt/format.h>

#include <trace_reader/record.h>

namespace dkom_report
{

namespace
{

/// Columns of a UTF-8 text whose characters are one column wide.
std::size_t width_of(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U; }));
}

} // namespace

std::string format_span(std::int64_t microseconds)
{
    const auto value = static_cast<double>(microseconds);
    if (microseconds < 0)
        return "-";
    if (microseconds < 1000)
        return fmt::format("{} µs", microseconds);
    if (microseconds < 1000000)
        return fmt::format("{:.{}f} ms", value / 1e3, microseconds < 100000 ? 2 : 1);
    if (microseconds < 120000000)
        return fmt::format("{:.2f} s", value / 1e6);
    const std::int64_t seconds = microseconds / 1000000;
    if (seconds < 7200)
        return fmt::format("{} min {} s", seconds / 60, seconds % 60);
    return fmt::format("{} h {} min", seconds / 3600, seconds / 60 % 60);
}

std::string format_time(std::int64_t microseconds)
{
    if (microseconds == 0)
        return "";
    const trace_reader::CivilTime t = trace_reader::civil_time_of(microseconds);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:06}", t.year, t.month, t.day, t.hour, t.minute,
                       t.second, t.microsecond);
}

std::string format_count(std::uint64_t count)
{
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3; place -= 3)
        digits.insert(place - 3, " ");
    return digits;
}

std::string format_size(std::uint64_t bytes)
{
    const auto value = static_cast<double>(bytes);
    if (bytes < 10000)
        return fmt::format("{} bytes", bytes);
    if (bytes < 10000000)
        return fmt::format("{:.0f} kB", value / 1e3);
    if (bytes < 1000000000)
        return fmt::format("{:.0f} MB", value / 1e6);
    return fmt::format("{:.2f} GB", value / 1e9);
}

std::string format_line(std::string_view text, std::size_t columns)
{
    std::string line;
    std::size_t width = 0;
    bool blank = false;
    const bool is_long = width_of(text) > columns;
    for (const char c : text) {
        const bool starts_character = (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
        const bool is_blank = c == ' ' || c == '\n' || c == '\t' || c == '\r';
        if (is_blank && blank)
            continue;
        blank = is_blank;
        if (starts_character && is_long && width + 1 >= columns) {
            line += "…";
            return line;
        }
        width += starts_character ? 1 : 0;
        const bool is_control = static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
        line += is_blank ? ' ' : is_control ? '?' : c;
    }
    return line;
}

std::string Table::text(bool colours) const
{
    std::vector<std::size_t> widths(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); i++) {
        widths[i] = width_of(columns_[i].title);
        for (const auto &row : rows_)
            widths[i] = std::max(widths[i], width_of(row[i]));
    }
    const auto line = [&](const auto &cell_of) {
        std::string result;
        for (std::size_t i = 0; i < columns_.size(); i++) {
            const std::string_view cell = cell_of(i);
            const std::string padding(widths[i] - width_of(cell), ' ');
            result += i > 0 ? "  " : "";
            if (columns_[i].side == Side::right)
                result += padding;
            result += cell;
            if (columns_[i].side == Side::left && i + 1 < columns_.size())
                result += padding;
        }
        result.erase(result.find_last_not_of(' ') + 1);
        return result;
    };
    const std::string titles = line([&](std::size_t i) { return columns_[i].title; });
    std::string result = colours ? "\x1b[1m" + titles + "\x1b[0m\n" : titles + "\n";
    for (const auto &row : rows_)
        result += line([&](std::size_t i) { return std::string_view(row[i]); }) + "\n";
    return result;
}

} // namespace dkom_report
