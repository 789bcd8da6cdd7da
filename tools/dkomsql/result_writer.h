#ifndef DKOMSQL_RESULT_WRITER_H
#define DKOMSQL_RESULT_WRITER_H

#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

enum class Format { table, csv, json };

/// `table`, `csv` or `json`; nothing for any other name.
std::optional<Format> format_named(std::string_view name);
std::string_view name_of(Format format);

/// One fetched value.
struct Cell {
    std::string_view text;
    bool is_null = false;
    bool is_cut = false;       ///< `text` is only the beginning of the value
    std::string_view length{}; ///< of the whole value when it is cut, where that is known: "12 bytes"
};

struct WriterOptions {
    bool header = true;               ///< a line with the column names (table and CSV)
    bool colours = false;             ///< terminal colours (table)
    std::vector<std::string> types{}; ///< types of the columns, below their names (table); empty: not shown
    bool expanded = false;            ///< a line for each value instead of one for each row (table)
    std::optional<std::string> null_text{}; ///< stands for NULL (table and CSV)
    std::vector<bool> numbers{};            ///< columns whose values are written as numbers (JSON)
};

/// Writes the rows of one query.
class ResultWriter
{
public:
    virtual ~ResultWriter() = default;

    /// Called once per row, in order, with one cell a column.
    virtual void row(std::span<const Cell> cells) = 0;

    /// Called once, after the last row.
    virtual void finish() = 0;
};

std::unique_ptr<ResultWriter> make_writer(Format format, std::ostream &out, std::vector<std::string> columns,
                                          const WriterOptions &options);

} // namespace dkomsql

#endif
