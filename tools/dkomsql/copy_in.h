#ifndef DKOMSQL_COPY_IN_H
#define DKOMSQL_COPY_IN_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "session.h"

namespace dkomsql
{

struct CopyOptions {
    std::string file;
    std::string table;
    bool header = false; ///< the first record names the columns
    char delimiter = ',';
    std::optional<std::string> null_text; ///< a field with this text is NULL; otherwise an empty unquoted one
    bool commit = true;                   ///< false: the rows stay part of the open transaction
    std::size_t most_rejects = 1000;      ///< the load stops when more rows than this are refused
};

struct CopyResult {
    std::size_t loaded = 0;
    std::size_t rejected = 0;
    double seconds = 0;
    std::string stopped; ///< why the load ended before the end of the file; empty when it did not
};

/// Called for each row that is left out, with the line of the file on which it begins.
using RejectHandler = std::function<void(std::size_t line, const std::string &reason)>;

/// Loads a CSV file into a table with array inserts. Rows that the database refuses are left out, the others
/// are committed as the load goes on. Throws std::runtime_error when the file cannot be read or the table
/// cannot be inserted into.
CopyResult copy_in(const Session &session, const CopyOptions &options, const RejectHandler &on_reject);

} // namespace dkomsql

#endif
