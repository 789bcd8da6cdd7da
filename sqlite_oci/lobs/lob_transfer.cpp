#include "lobs/lob_transfer.h"

#include "lobs/lob_errors.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{

lob_read::lob_read(const lob_content &from, charset to, std::size_t offset, std::size_t characters,
                   std::size_t bytes)
    : set_(to), at_(from.place_of(offset)), bytes_left_(bytes)
{
    const std::size_t wanted = std::min(characters, no_limit - offset);
    end_ = from.place_of(offset + wanted);
    // One unit of a character of two: the reader would otherwise never get past it.
    if (end_ <= at_ && wanted)
        end_ = from.place_of(offset + 2);
}

bool lob_read::is_done(const lob_content &from) const
{
    constexpr std::size_t longest_in_any_set = 8;
    return fitting(from, std::min(bytes_left_, longest_in_any_set)) == 0;
}

// Bytes of the content that become at most `room` bytes of the program's.
std::size_t lob_read::fitting(const lob_content &from, std::size_t room) const
{
    constexpr std::size_t longest = 4; // bytes of UTF-8 in a character
    // The content may have become shorter since the last piece.
    const std::size_t at = std::min(at_, from.size());
    const std::size_t end = std::clamp(end_, at, from.size());
    if (!from.is_text())
        return std::min(room, end - at);
    const auto rest = from.part(at, room < (end - at) / longest ? at + (room + 1) * longest : end);
    switch (set_) {
    case charset::utf8:
        return rest.size() <= room ? rest.size() : cut(charset::utf8, rest, room);
    case charset::utf16:
        return utf8_offset_of_utf16(rest, room / 2);
    default:
        return utf8_offset(rest, room);
    }
}

lob_amounts lob_read::take(const lob_content &from, void *buffer, std::size_t room)
{
    const std::size_t size = fitting(from, std::min(room, bytes_left_));
    if (size == 0)
        fail(ora_bad_lob_argument, "the buffer of %zu bytes has no room for the next character", room);
    const auto part = from.part(at_, at_ + size);
    at_ += size;
    lob_amounts taken{size, from.units_in(part)};
    if (from.is_text() && set_ != charset::utf8) {
        const std::string converted = from_utf8(set_, part);
        taken.bytes = converted.copy(static_cast<char *>(buffer), room);
    } else {
        std::memcpy(buffer, part.data(), size);
    }
    bytes_left_ -= bytes_left_ == no_limit ? 0 : taken.bytes;
    return taken;
}

void lob_write::add(std::string_view piece)
{
    check_lob_length(gathered_.size(), piece.size());
    received_ += piece.size();
    if (!is_text_) {
        gathered_ += piece;
        return;
    }
    if (!unfinished_.empty()) {
        unfinished_ += piece;
        piece = unfinished_;
    }
    const std::size_t whole = cut(set_, piece, piece.size());
    append_utf8(set_, piece.substr(0, whole), &gathered_);
    unfinished_ = std::string(piece.substr(whole));
}

lob_amounts lob_write::finish(lob_content &target)
{
    append_utf8(set_, unfinished_, &gathered_);
    return {received_, target.write(offset_, gathered_)};
}

} // namespace sqlite_oci
