#include "record.h"

#include <algorithm>
#include <cstring>

namespace trace_reader
{

namespace
{

constexpr std::size_t seconds_end = 20; // of "[2026-03-04 10:20:30"

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/// Whether a line that begins here is the first of a record: "[2026-03-04 10:20:30:" and a digit.
bool begins_record(const char *p, const char *end)
{
    constexpr std::string_view shape = "[0000-00-00 00:00:00:0";
    if (end - p <= static_cast<std::ptrdiff_t>(shape.size()))
        return false;
    for (std::size_t i = 0; i < shape.size(); i++)
        if (shape[i] == '0' ? !is_digit(p[i]) : p[i] != shape[i])
            return false;
    return true;
}

/// Whether what is there of a line may still become the first line of a record.
bool may_begin_record(const char *p, const char *end)
{
    return end - p <= 22 ? (p == end || *p == '[') : begins_record(p, end);
}

int two_digits(const char *p)
{
    return (p[0] - '0') * 10 + (p[1] - '0');
}

/// Days from 1970-01-01 to a date of the Gregorian calendar.
std::int64_t days_of(int year, int month, int day)
{
    year -= month <= 2 ? 1 : 0;
    const int era = year / 400;
    const int year_of_era = year - era * 400;
    const int day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return static_cast<std::int64_t>(era) * 146097 + day_of_era - 719468;
}

std::int64_t seconds_of(const char *p)
{
    const int year = two_digits(p + 1) * 100 + two_digits(p + 3);
    const std::int64_t days = days_of(year, two_digits(p + 6), two_digits(p + 9));
    return ((days * 24 + two_digits(p + 12)) * 60 + two_digits(p + 15)) * 60 + two_digits(p + 18);
}

/// Takes a decimal number of at most `most` digits. Returns how many there were.
int take_number(const char *p, const char *end, int most, std::int64_t &value)
{
    int count = 0;
    value = 0;
    for (; count < most && p + count < end && is_digit(p[count]); count++)
        value = value * 10 + (p[count] - '0');
    return count;
}

/// Skips terminal sequences, ESC [ ... m.
const char *skip_colours(const char *p, const char *end)
{
    while (end - p >= 3 && p[0] == '\x1b' && p[1] == '[') {
        const char *q = p + 2;
        while (q < end && (is_digit(*q) || *q == ';'))
            q++;
        if (q == end || *q != 'm')
            break;
        p = q + 1;
    }
    return p;
}

bool starts_with(const char *p, const char *end, std::string_view text)
{
    return static_cast<std::size_t>(end - p) >= text.size() && std::memcmp(p, text.data(), text.size()) == 0;
}

struct Tag {
    std::string_view text;
    Level level;
};
constexpr Tag tags[] = {
    {"DEBUG LIST - ", Level::list}, {"INFO - ", Level::info},   {"DEBUG - ", Level::debug},
    {"TRACE - ", Level::trace},     {"ASSERT - ", Level::stop}, {"ERROR - ", Level::error},
};

/// Removes what the libraries write behind a message of a level.
std::string_view without_decoration(std::string_view message, Level level)
{
    constexpr std::string_view reset = "\x1b[0m";
    if (message.ends_with(reset))
        message.remove_suffix(reset.size());
    if (level == Level::trace && message.ends_with("()"))
        message.remove_suffix(2);
    if (level == Level::stop) {
        for (const std::string_view mark : {" <<< Check Please ", " <<< Check Please"}) {
            if (message.ends_with(mark)) {
                message.remove_suffix(mark.size());
                break;
            }
        }
    }
    return message;
}

std::string_view view(const char *begin, const char *end)
{
    return {begin, static_cast<std::size_t>(end - begin)};
}

const char *line_end(const char *p, const char *end)
{
    return static_cast<const char *>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
}

/// Gives the visitor the lines of a stretch that holds no record.
void pass_other_lines(const char *p, const char *end, Visitor &visitor)
{
    while (p < end) {
        const char *newline = line_end(p, end);
        visitor.other_line(view(p, newline ? newline : end));
        p = newline ? newline + 1 : end;
    }
}

/// What a record's first line and those that follow it consist of.
struct Extent {
    const char *record_end = nullptr; ///< behind the last line that ends as records do; null: there is none
    const char *end = nullptr;        ///< where the next record begins; null: more memory is needed
    std::size_t suffix = 0;
};

/// Follows the lines of a record up to the next record. Texts may hold line ends, and even lines that end as
/// records do, so the record ends with the last such line.
Extent follow(const char *p, const char *end, bool is_last, Record &record)
{
    Extent extent;
    const char *line = p;
    for (;;) {
        const char *newline = line_end(line, end);
        if (!newline && !is_last)
            return extent;
        const char *stop = newline ? newline : end;
        const bool may_end = stop > line && (stop[-1] == ')' || stop[-1] == '\r');
        if (const std::size_t suffix = may_end ? source_suffix(view(line, stop), record) : 0) {
            extent.record_end = stop;
            extent.suffix = suffix;
        }
        line = newline ? newline + 1 : end;
        if (line == end ? is_last : begins_record(line, end)) {
            extent.end = line;
            return extent;
        }
        if (static_cast<std::size_t>(line - p) > longest_record / 2) {
            extent.end = line;
            return extent;
        }
        if (!is_last && may_begin_record(line, end) && end - line <= 22)
            return extent;
    }
}

} // namespace

int level_number(Level level)
{
    constexpr int numbers[] = {0, 10, 20, 30, 40, 45, 50};
    return numbers[static_cast<std::size_t>(level)];
}

CivilTime civil_time_of(std::int64_t microseconds)
{
    constexpr std::int64_t day = 86400000000;
    std::int64_t days = microseconds / day;
    std::int64_t rest = microseconds % day;
    if (rest < 0) {
        rest += day;
        days--;
    }
    CivilTime time;
    time.microsecond = static_cast<int>(rest % 1000000);
    time.second = static_cast<int>(rest / 1000000 % 60);
    time.minute = static_cast<int>(rest / 60000000 % 60);
    time.hour = static_cast<int>(rest / 3600000000);
    // Years begin in March here, so that the leap day is the last one.
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto day_of_era = static_cast<int>(days - era * 146097);
    const int year = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int day_of_year = day_of_era - (365 * year + year / 4 - year / 100);
    const int month = (5 * day_of_year + 2) / 153;
    time.day = day_of_year - (153 * month + 2) / 5 + 1;
    time.month = month < 10 ? month + 3 : month - 9;
    time.year = year + era * 400 + (time.month <= 2 ? 1 : 0);
    return time;
}

std::size_t parse_head(std::string_view text, Record &record)
{
    const char *const begin = text.data();
    const char *const end = begin + text.size();
    if (!begins_record(begin, end))
        return 0;
    // Records come by the thousand in a second: its date is worked out once.
    thread_local char known_second[seconds_end] = "";
    thread_local std::int64_t known_value = 0;
    if (std::memcmp(known_second, begin, seconds_end) != 0) {
        std::memcpy(known_second, begin, seconds_end);
        known_value = seconds_of(begin);
    }
    std::int64_t fraction = 0;
    const char *p = begin + seconds_end + 1;
    p += take_number(p, end, 6, fraction);
    if (!starts_with(p, end, "] "))
        return 0;
    p += 2;
    record.time = known_value * 1000000 + fraction;
    record.thread = 0;
    if (p < end && *p == '[') {
        std::int64_t thread = 0;
        const int digits = take_number(p + 1, end, 18, thread);
        if (digits > 0 && starts_with(p + 1 + digits, end, "] ")) {
            record.thread = thread;
            p += 3 + digits;
        }
    }
    const char *message = skip_colours(p, end);
    record.level = Level::none;
    for (const Tag &tag : tags) {
        if (starts_with(message, end, tag.text)) {
            record.level = tag.level;
            return static_cast<std::size_t>(message - begin) + tag.text.size();
        }
    }
    return static_cast<std::size_t>(p - begin);
}

std::size_t source_suffix(std::string_view text, Record &record)
{
    const char *const begin = text.data();
    const char *p = begin + text.size();
    if (p > begin && p[-1] == '\r')
        p--;
    if (p == begin || *--p != ')')
        return 0;
    std::uint32_t number = 0;
    std::uint32_t power = 1;
    const char *const digits_end = p;
    while (p > begin && is_digit(p[-1]) && digits_end - p < 9) {
        number += static_cast<std::uint32_t>(*--p - '0') * power;
        power *= 10;
    }
    if (p == digits_end || p == begin || p[-1] != ':')
        return 0;
    const char *const name_end = --p;
    while (p > begin && p[-1] != '(' && p[-1] != ' ' && name_end - p < 256)
        p--;
    if (p == name_end || p - begin < 4 || std::memcmp(p - 4, " - (", 4) != 0)
        return 0;
    record.file = view(p, name_end);
    record.line = number;
    return static_cast<std::size_t>(begin + text.size() - (p - 4));
}

std::size_t parse(std::string_view memory, bool is_last, bool skip_rows, Visitor &visitor)
{
    const char *p = memory.data();
    const char *const end = p + memory.size();
    const auto used = [&] { return static_cast<std::size_t>(p - memory.data()); };
    Record record;
    while (p < end) {
        const std::size_t head = parse_head(view(p, end), record);
        if (head == 0) {
            const char *newline = line_end(p, end);
            if (!is_last && (newline ? false : static_cast<std::size_t>(end - p) < longest_record))
                return used();
            const char *stop = newline ? newline : end;
            visitor.other_line(view(p, stop));
            p = newline ? newline + 1 : end;
            continue;
        }
        if (skip_rows && record.level == Level::list) {
            // One line by its nature; a table of handles has nothing that could hold a line end.
            const char *newline = line_end(p + head, end);
            if (newline) {
                visitor.skipped_row();
                p = newline + 1;
                continue;
            }
            if (!is_last && static_cast<std::size_t>(end - p) < longest_record)
                return used();
        }
        record.file = {};
        record.line = 0;
        const Extent extent = follow(p, end, is_last, record);
        if (!extent.end) {
            if (static_cast<std::size_t>(end - p) < longest_record)
                return used();
            // Nothing that the libraries wrote is that long.
            record.file = {};
        }
        const char *stop = extent.end ? extent.end : end;
        const char *record_end = extent.end ? extent.record_end : nullptr;
        if (record_end) {
            record.text = view(p, record_end);
            // Tag and source may share a blank and a dash where there is no message.
            const char *message_end = std::max(p + head, record_end - extent.suffix);
            record.message = without_decoration(view(p + head, message_end), record.level);
            visitor.record(record);
            if (record_end < stop)
                pass_other_lines(record_end + 1, stop, visitor);
        } else {
            // Torn: its first line is all that is known to belong to it.
            const char *newline = line_end(p, stop);
            record.text = view(p, newline ? newline : stop);
            record.message = without_decoration(record.text.substr(head), record.level);
            visitor.record(record);
            if (newline)
                pass_other_lines(newline + 1, stop, visitor);
        }
        p = stop;
    }
    return used();
}

} // namespace trace_reader
