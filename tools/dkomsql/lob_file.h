#ifndef DKOMSQL_LOB_FILE_H
#define DKOMSQL_LOB_FILE_H

#include <string>

#include "session.h"
#include "statement.h"

namespace dkomsql
{

/// Writes the large object in the first column of the only row of an executed query to a file, a piece at a
/// time, and returns its length as a text ("12 bytes"). A regular file is put in place when it is complete,
/// and left alone when the value cannot be read. Throws std::runtime_error, or OciError.
std::string write_lob_file(const Session &session, Statement &query, const std::string &path);

} // namespace dkomsql

#endif
