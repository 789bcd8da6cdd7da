#include "lob.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "interrupt.h"
#include "utf8.h"

namespace dkomsql
{

namespace
{

constexpr std::size_t piece_bytes = 256U << 10;

} // namespace

std::string hexadecimal(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

Lob::Lob(const Session &session, OCILobLocator *locator, const ColumnDescription &column)
    : session_(session), locator_(locator), column_(column)
{
    oraub8 length = 0;
    session_.check(OCILobGetLength2(session_.service(), session_.error(), locator_, &length),
                   "OCILobGetLength2");
    length_ = length;
}

std::string Lob::length_text() const
{
    return fmt::format("{} {}{}", length_, column_.is_text_lob() ? "character" : "byte",
                       length_ == 1 ? "" : "s");
}

std::string Lob::head(std::size_t most_bytes, bool &is_whole) const
{
    is_whole = true;
    if (length_ == 0)
        return "";
    const std::size_t wanted = column_.is_text_lob() ? most_bytes : std::max<std::size_t>(1, most_bytes / 2);
    // So much more than wanted that at least a byte more comes when there is more, also in front of a
    // character that does not fit.
    constexpr std::size_t longest_character = 4;
    std::string read_text(wanted + longest_character, '\0');
    oraub8 bytes = read_text.size();
    session_.check(read(bytes, read_text.data(), read_text.size(), OCI_ONE_PIECE), "OCILobRead2");
    read_text.resize(bytes);
    is_whole = bytes <= wanted;
    if (bytes > wanted)
        read_text.resize(wanted);
    if (column_.is_text_lob())
        return read_text.substr(0, complete_prefix(read_text));
    return hexadecimal(read_text);
}

std::string Lob::text() const
{
    std::string whole;
    stream([&](std::string_view piece) {
        whole += column_.is_text_lob() ? std::string(piece) : hexadecimal(piece);
        return !interrupted();
    });
    return whole;
}

bool Lob::stream(const std::function<bool(std::string_view piece)> &take) const
{
    if (length_ == 0)
        return true;
    std::vector<char> buffer(piece_bytes);
    sword rc = OCI_NEED_DATA;
    for (ub1 piece = OCI_FIRST_PIECE; rc == OCI_NEED_DATA; piece = OCI_NEXT_PIECE) {
        oraub8 bytes = 0; // on the first call: up to the end
        rc = read(bytes, buffer.data(), buffer.size(), piece);
        if (rc != OCI_NEED_DATA)
            session_.check(rc, "OCILobRead2");
        if (!take({buffer.data(), bytes}))
            return rc != OCI_NEED_DATA;
    }
    return true;
}

sword Lob::read(oraub8 &bytes, char *buffer, std::size_t room, ub1 piece) const
{
    const BreakOnInterrupt breakable(session_);
    oraub8 characters = 0;
    return OCILobRead2(session_.service(), session_.error(), locator_, &bytes, &characters, 1, buffer, room,
                       piece, nullptr, nullptr, 0, column_.form);
}

} // namespace dkomsql
