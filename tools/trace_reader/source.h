#ifndef TRACE_READER_SOURCE_H
#define TRACE_READER_SOURCE_H

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "record.h"

namespace trace_reader
{

/// A file that cannot be read; what() names it and says why.
class SourceError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// How far reading has come: bytes that were read, and all bytes of the file or 0 if that is not known.
using Progress = std::function<void(std::uint64_t read, std::uint64_t total)>;

/// Reads a trace from beginning to end and gives its records to the visitor. Plain and gzip files are told
/// apart by their first bytes. Memory does not depend on the size.
///
/// @param path  "-" stands for the standard input
/// @return bytes of the trace, unpacked
/// @throws SourceError if it cannot be opened or read; a gzip file that ends early is read as far as it goes
std::uint64_t read_trace(const std::string &path, bool skip_rows, Visitor &visitor,
                         const Progress &progress = nullptr);

} // namespace trace_reader

#endif
