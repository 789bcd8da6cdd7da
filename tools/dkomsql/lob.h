#ifndef DKOMSQL_LOB_H
#define DKOMSQL_LOB_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "describe.h"
#include "session.h"

namespace dkomsql
{

using Locator = Descriptor<OCILobLocator, OCI_DTYPE_LOB>;

/// Bytes as two hexadecimal digits each, as the databases write them.
std::string hexadecimal(std::string_view bytes);

/// A large object of a fetched row, read through its locator. Throws OciError, here as in all functions that
/// call the database.
class Lob
{
public:
    /// `locator` and `column`, that of the value, must outlive the object.
    Lob(const Session &session, OCILobLocator *locator, const ColumnDescription &column);

    /// Bytes of a BLOB, characters of a CLOB.
    std::uint64_t length() const { return length_; }

    /// "12 bytes", "1 character".
    std::string length_text() const;

    /// The beginning of the value, at most `most_bytes` of text; bytes come as two hexadecimal digits each.
    /// `is_whole` is set to whether that is all.
    std::string head(std::size_t most_bytes, bool &is_whole) const;

    /// The whole value, bytes as digits; what there was of it when the user broke the reading off.
    std::string text() const;

    /// Hands the value out piece by piece until `take` returns false. Returns whether it was handed out
    /// whole.
    bool stream(const std::function<bool(std::string_view piece)> &take) const;

private:
    sword read(oraub8 &bytes, char *buffer, std::size_t room, ub1 piece) const;

    const Session &session_;
    OCILobLocator *locator_;
    const ColumnDescription &column_;
    std::uint64_t length_ = 0;
};

} // namespace dkomsql

#endif
