#ifndef DKOMSQL_STATEMENT_H
#define DKOMSQL_STATEMENT_H

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "describe.h"
#include "lob.h"
#include "result_writer.h"
#include "session.h"

namespace dkomsql
{

/// The values of one placeholder for many rows, as the database reads them: texts of a fixed width, each
/// ended by a zero byte.
class TextArray
{
public:
    /// Room for `rows` values of up to `longest` bytes.
    TextArray(std::size_t rows, std::size_t longest);

    std::size_t longest() const { return width_ - 1; }

    /// Stores a value, or NULL; it must not be longer than longest() nor hold a zero byte.
    void set(std::size_t row, const std::optional<std::string> &value);

private:
    friend class Statement;

    std::size_t width_;
    std::vector<char> text_;
    std::vector<sb2> indicators_;
};

/// How far an array execution came.
struct ArrayResult {
    std::size_t rows_done = 0;     ///< rows inserted in front of the failing one, or all
    std::optional<OciError> error; ///< why it stopped
};

/// Whether a change is committed by the call that makes it.
enum class Commit { at_once, later };

/// A prepared statement.
class Statement
{
public:
    /// Prepares `sql`. Throws OciError, here as in all functions that call the database.
    Statement(const Session &session, const std::string &sql);

    /// One of OCI_STMT_SELECT, OCI_STMT_INSERT ...; OCI_STMT_UNKNOWN for anything else.
    ub2 type() const { return type_; }
    bool is_query() const { return type_ == OCI_STMT_SELECT; }

    /// Binds a text, or NULL, to a placeholder named without its colon.
    void bind(const std::string &name, const std::optional<std::string> &value);

    /// Binds an array to the placeholder at `position` (from 1). `values` must outlive the executions.
    void bind(ub4 position, TextArray &values);

    /// Runs the statement. The result is what the database had to remark on a successful run, mostly nothing.
    std::optional<OciError> execute(Commit commit);

    /// Runs the statement for the rows [first, end) of its arrays. It commits nothing.
    ArrayResult execute_rows(std::size_t first, std::size_t end);

    /// The columns of a query, which is not run. Only for connections of which can_describe() is true.
    std::vector<ColumnDescription> describe();

    /// Rows changed by the last execution.
    std::size_t row_count() const;

private:
    template <typename T> T attribute(ub4 attribute) const;
    sword run(ub4 iterations, ub4 first_row, ub4 mode);
    std::vector<ColumnDescription> columns() const;
    OciError failure_with_offset(sword rc) const;

    friend class Cursor;

    struct BoundText {
        std::string text;
        sb2 indicator = 0;
    };

    const Session &session_;
    Handle<OCIStmt, OCI_HTYPE_STMT> handle_;
    ub2 type_ = OCI_STMT_UNKNOWN;
    std::deque<BoundText> bound_; // a deque: the addresses are in the hands of the library
};

/// The largest `longest_value`: the length of a fetched value is told in 16 bits.
constexpr std::size_t longest_fetched_value = 65535;

/// The rows of an executed query, read as text, many rows a call.
class Cursor
{
public:
    /// Values longer than `longest_value` bytes (at most 65535) come cut, and large objects longer than
    /// `longest_lob` bytes.
    Cursor(Statement &statement, std::size_t longest_value, std::size_t longest_lob);

    /// Column headings: names where the connection describes columns, numbers otherwise.
    const std::vector<std::string> &columns() const { return names_; }

    /// Types of the columns as texts; empty where the connection does not describe columns.
    std::vector<std::string> types() const;

    /// Reads the next rows; returns how many there are, 0 at the end.
    std::size_t fetch();

    /// Rows of the last fetch.
    std::size_t rows() const { return rows_; }

    /// Value of a row (0-based) of the last fetch, valid until the next one. Of a large object that is cut,
    /// `length` tells the length.
    Cell cell(std::size_t row, std::size_t column) const;

    /// The large object of a row of the last fetch, valid until the next one; nothing for NULL. The column
    /// must be one, see is_lob().
    std::optional<Lob> lob(std::size_t row, std::size_t column) const;
    bool is_lob(std::size_t column) const { return !columns_[column].locators.empty(); }

    /// What the database remarked on the last fetch, apart from cut values.
    const std::optional<OciError> &remark() const { return remark_; }

private:
    /// The beginning of a large object.
    struct LobHead {
        std::string text;
        std::string length; // empty when the text is the whole value
    };

    struct Column {
        std::unique_ptr<char[]> text;
        std::vector<Locator> locators; // instead of text
        std::vector<OCILobLocator *> locator_array;
        std::vector<LobHead> lob_heads;
        std::vector<sb2> indicators;
        std::vector<ub2> lengths;
        std::vector<ub2> codes;
    };

    void define(std::size_t index);
    void read_lob_heads(std::size_t index);

    Statement &statement_;
    std::vector<ColumnDescription> descriptions_; // empty: the connection does not describe
    std::vector<std::string> names_;
    std::vector<Column> columns_;
    std::size_t longest_value_;
    std::size_t longest_lob_;
    std::size_t rows_per_fetch_;
    std::size_t rows_ = 0;
    bool at_end_ = false;
    std::optional<OciError> remark_;
};

} // namespace dkomsql

#endif
