#ifndef DKOMSQL_CURSOR_H
#define DKOMSQL_CURSOR_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "describe.h"
#include "lob.h"
#include "result_writer.h"
#include "session.h"
#include "statement.h"

namespace dkomsql
{

/// The largest CursorLimits::value: the length of a value in an array is told in 16 bits.
constexpr std::size_t longest_array_value = 65535;

/// How much of long values is wanted, in bytes of text.
struct CursorLimits {
    std::optional<std::size_t> value{}; ///< at most longest_array_value; nothing: whole values
    std::optional<std::size_t> lob{};   ///< of a large object; 0: none is read
};

/// The rows of an executed query, read as text: many rows a call, or piece by piece where a column's values
/// can be longer than an array's.
class Cursor
{
public:
    Cursor(Statement &statement, const CursorLimits &limits);

    /// Column headings: names where the connection describes columns, numbers otherwise.
    const std::vector<std::string> &columns() const { return names_; }

    /// Types of the columns as texts; empty where the connection does not describe columns.
    std::vector<std::string> types() const;

    /// Whether each column is one of numbers; empty where the connection does not describe columns.
    std::vector<bool> numbers() const;

    /// Reads the next rows; returns how many there are, 0 at the end.
    std::size_t fetch();

    /// Rows of the last fetch.
    std::size_t rows() const { return rows_; }

    /// A row (0-based) of the last fetch, valid until the next call of this function or of fetch(). Of a
    /// large object that is cut, `length` tells the length.
    const std::vector<Cell> &row(std::size_t row);

    /// The large object of a row of the last fetch, valid until the next one; nothing for NULL. The column
    /// must be one, see is_lob().
    std::optional<Lob> lob(std::size_t row, std::size_t column) const;
    bool is_lob(std::size_t column) const { return !columns_[column].locators.empty(); }

    /// What the database remarked on the last fetch, apart from cut values.
    const std::optional<OciError> &remark() const { return remark_; }

private:
    struct Column {
        OCIDefine *define = nullptr;
        std::size_t width = 0; // of a value in `text`
        std::unique_ptr<char[]> text;
        std::vector<Locator> locators; // instead of text
        std::vector<OCILobLocator *> locator_array;
        bool in_pieces = false; // the row's value is put together in `whole`
        bool is_binary = false; // it comes as bytes
        std::string whole;      // of the row that was asked for: pieces, or a large object
        std::string length;     // of a large object that is cut
        std::vector<sb2> indicators;
        std::vector<ub2> lengths;
        std::vector<ub2> codes;
    };

    bool wants_pieces(std::size_t index) const;
    std::size_t width_of(std::size_t index) const;
    void define(std::size_t index);
    void define_pieces(std::size_t index);
    sword fetch_pieces();
    void read_lob(std::size_t row, std::size_t index);
    Cell cell(std::size_t row, std::size_t column);

    Statement &statement_;
    CursorLimits limits_;
    std::vector<ColumnDescription> descriptions_; // empty: the connection does not describe
    std::vector<std::string> names_;
    std::vector<Column> columns_;
    std::vector<Cell> row_;
    std::size_t rows_per_fetch_ = 1;
    std::size_t rows_ = 0;
    bool has_pieces_ = false;
    bool at_end_ = false;
    std::optional<OciError> remark_;
};

} // namespace dkomsql

#endif
