#ifndef TRACE_READER_RECORD_H
#define TRACE_READER_RECORD_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace trace_reader
{

/// Levels of records, by their tags; `none` for a record without a tag.
enum class Level : std::uint8_t { none, stop, error, info, debug, list, trace };

/// The number that DKOM_LOG_LEVEL must have for records of a level to be written; 0 for none.
int level_number(Level level);

/// A point in local time as people read it.
struct CivilTime {
    std::int64_t year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int microsecond = 0;
};

/// @param microseconds  since 1970-01-01 00:00
CivilTime civil_time_of(std::int64_t microseconds);

/// One record of a trace. All texts are views into the memory that was parsed.
struct Record {
    std::string_view text;    ///< the whole record without its last line end
    std::string_view message; ///< without time, tag, colours and source
    std::string_view file;    ///< source file that wrote it; empty for a torn record
    std::uint32_t line = 0;   ///< source line
    std::int64_t time = 0;    ///< microseconds since 1970-01-01 00:00 in the local time of the trace
    std::int64_t thread = 0;  ///< system's number of the thread; 0 where the exact edition wrote it
    Level level = Level::none;

    /// Whether its end was written too. A process that was killed, or a full disk, leaves a torn record.
    bool is_whole() const { return !file.empty(); }
};

/// Takes what a trace consists of, in the order of the file. The views are valid during the call only.
class Visitor
{
public:
    Visitor() = default;
    Visitor(const Visitor &) = delete;
    Visitor &operator=(const Visitor &) = delete;
    virtual ~Visitor() = default;

    virtual void record(const Record &record) = 0;

    /// A line that is part of no record, without its line end.
    virtual void other_line(std::string_view line) = 0;

    /// A row of a table dump that was left out.
    virtual void skipped_row() {}
};

/// Longest stretch of bytes in which a record must end; the libraries write 10240 at most.
inline constexpr std::size_t longest_record = 65536;

/// Splits memory into records and other lines. Allocates nothing and keeps nothing between calls.
///
/// @param is_last  nothing follows: what is there is all there will be
/// @param skip_rows  rows of table dumps (Level::list) are left out, which is most of a trace of level 45
/// @return bytes that were used up; the rest, at most longest_record bytes and the last line, is to be passed
///         again with more behind it. All of them if `is_last`.
std::size_t parse(std::string_view memory, bool is_last, bool skip_rows, Visitor &visitor);

/// Parses the beginning of a record: its time, thread and level. Returns the bytes up to the message, which
/// may begin with none, or 0 if this is no record's beginning.
std::size_t parse_head(std::string_view text, Record &record);

/// Whether a line ends as records do, in " - (file.cpp:12)". Returns the bytes of that end, or 0.
std::size_t source_suffix(std::string_view text, Record &record);

} // namespace trace_reader

#endif
