#ifndef DKOMSQL_COPY_IN_H
#define DKOMSQL_COPY_IN_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "session.h"

namespace dkomsql
{

struct CopyOptions {
    std::string file;       ///< `-`: the standard input
    std::string end_marker; ///< a line that ends the input before its end; empty: none does
    std::string table;
    std::vector<std::string>
        columns;         ///< as they stand in SQL; empty: those of the header line, or all of the table
    bool header = false; ///< the first record names the columns
    char delimiter = ',';
    std::optional<std::string> null_text; ///< a field with this text is NULL; otherwise an empty unquoted one
    bool autocommit = true;               ///< false: the rows stay part of the open transaction
    std::size_t commit_every = 0;         ///< rows; 0: all rows are one transaction, whole or not at all
    std::size_t most_rejects = 1000;      ///< the load stops when more rows than this are refused

    /// How messages call the file.
    std::string name() const { return file == "-" ? "stdin" : file; }
};

struct CopyResult {
    std::size_t loaded = 0;    ///< rows that are in the table
    std::size_t committed = 0; ///< of these
    std::size_t undone = 0;    ///< rows that were in the table when the load stopped, and were rolled back
    std::size_t rejected = 0;
    double seconds = 0;
    std::string stopped; ///< why the load ended before the end of the file; empty when it did not
};

/// Called for each row that is left out, with the line of the file on which it begins.
using RejectHandler = std::function<void(std::size_t line, const std::string &reason)>;

/// Loads a CSV file into a table with array inserts. Rows that the database refuses are left out. Where the
/// connection describes columns, those of bytes are read as hexadecimal digits. When the load is stopped,
/// what is not committed is rolled back, with `autocommit`. Throws std::runtime_error when the file cannot be
/// read.
CopyResult copy_in(const Session &session, const CopyOptions &options, const RejectHandler &on_reject);

} // namespace dkomsql

#endif
