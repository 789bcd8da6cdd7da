#ifndef DKOMSQL_STATEMENT_H
#define DKOMSQL_STATEMENT_H

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "describe.h"
#include "session.h"

namespace dkomsql
{

/// The values of one placeholder for many rows, each in a place of a fixed width: texts that a zero byte
/// ends, or bytes behind their number.
class ValueArray
{
public:
    enum class Kind { text, bytes };

    /// Room for `rows` values of up to `longest` bytes.
    ValueArray(Kind kind, std::size_t rows, std::size_t longest);

    /// Stores a value, or NULL; it must not be longer than the room for it, and a text not hold a zero byte.
    void set(std::size_t row, const std::optional<std::string> &value);

private:
    friend class Statement;

    Kind kind_;
    std::size_t width_;
    std::vector<char> values_;
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
    void bind(ub4 position, ValueArray &values);

    /// Runs the statement. The result is what the database had to remark on a successful run, mostly nothing.
    std::optional<OciError> execute(Commit commit);

    /// Runs the statement for the rows [first, end) of its arrays. It commits nothing.
    ArrayResult execute_rows(std::size_t first, std::size_t end);

    /// The columns of a query, which is not run. Only for connections of which can_describe() is true.
    std::vector<ColumnDescription> describe();

    /// Rows changed by the last execution.
    std::size_t row_count() const;

private:
    /// `T` is the type that the attribute is published with: the library writes as many bytes.
    template <typename T> T attribute(ub4 attribute) const
    {
        T value{};
        session_.check(
            OCIAttrGet(handle_.get(), OCI_HTYPE_STMT, &value, nullptr, attribute, session_.error()),
            "OCIAttrGet");
        return value;
    }

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

} // namespace dkomsql

#endif
