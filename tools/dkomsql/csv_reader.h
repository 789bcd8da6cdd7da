#ifndef DKOMSQL_CSV_READER_H
#define DKOMSQL_CSV_READER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct csv_parser;

namespace dkomsql
{

/// One record of a CSV file, or a place where the file could not be read as CSV.
struct CsvRecord {
    std::size_t line = 0;                           ///< first line of the record, counted from 1
    std::vector<std::optional<std::string>> fields; ///< nothing: an empty field without quotes
    std::string error;                              ///< why the record is malformed; empty if it is not
    bool blank = false;                             ///< an empty line: read as one empty field
};

/// Reads CSV (RFC 4180, any one-byte delimiter) record by record. After a malformed line reading goes on
/// with the line behind it.
class CsvReader
{
public:
    /// A record's line that is `end_marker` and nothing else ends the input, unless that is empty.
    CsvReader(std::istream &in, char delimiter, std::string end_marker = "");
    ~CsvReader();
    CsvReader(const CsvReader &) = delete;
    CsvReader &operator=(const CsvReader &) = delete;

    /// The next record; nothing at the end of the input.
    std::optional<CsvRecord> next();

    /// Bytes of the input read so far, for a progress display.
    std::uintmax_t bytes_read() const { return bytes_read_; }

private:
    void read_line();
    void parse(const std::string &line);
    void end_of_input();
    void malformed(const std::string &reason);
    void restart();

    static void on_field(void *data, std::size_t length, void *reader);
    static void on_record(int terminator, void *reader);

    std::istream &in_;
    char delimiter_;
    std::string end_marker_;
    std::unique_ptr<csv_parser> parser_;
    CsvRecord current_;
    std::deque<CsvRecord> ready_;
    std::size_t line_ = 0;
    std::uintmax_t bytes_read_ = 0;
    bool inside_record_ = false; // the last line ended inside a quoted field
    bool ended_ = false;
};

} // namespace dkomsql

#endif
