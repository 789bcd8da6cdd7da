#include "lobs/lob_transfer.h"

#include "handles/call.h"
#include "lobs/lob.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{
namespace
{

// As long as a value can be in SQLite.
constexpr std::size_t longest_lob = 1'000'000'000;

void check_length(std::size_t offset, std::size_t size)
{
    if (offset > longest_lob || size > longest_lob - offset)
        fail(ora_bad_lob_argument, "a LOB holds at most %zu bytes", longest_lob);
}

} // namespace

lob_content::lob_content(bool is_text, std::string_view bytes)
    : is_text_(is_text),
      bytes_(is_text && !utf8_is_valid(bytes) ? to_utf8(charset::utf8, bytes) : std::string(bytes))
{
}

std::size_t lob_content::units_in(std::string_view part) const
{
    return is_text_ ? utf16_length_of_utf8(part) : part.size();
}

std::size_t lob_content::length() const
{
    if (!length_)
        length_ = units_in(bytes_);
    return *length_;
}

std::size_t lob_content::place_of(std::size_t offset) const
{
    if (!is_text_)
        return std::min(offset, bytes_.size());
    if (length_ && offset >= *length_)
        return bytes_.size();
    if (offset < mark_.offset)
        mark_ = {0, 0};
    const auto rest = std::string_view(bytes_).substr(mark_.place);
    const std::size_t step = utf8_offset_of_utf16(rest, offset - mark_.offset);
    mark_ = {mark_.offset + utf16_length_of_utf8(rest.substr(0, step)), mark_.place + step};
    return mark_.place;
}

std::size_t lob_content::write(std::size_t offset, std::string_view written)
{
    check_length(offset, written.size());
    const std::size_t old_length = length();
    if (offset > old_length) {
        const std::size_t gap = offset - old_length;
        bytes_.append(gap, is_text_ ? ' ' : '\0');
        length_ = old_length + gap;
    }
    const std::size_t from = place_of(offset);
    const std::size_t units = units_in(written);
    replace(from, place_of(offset + units), written, units);
    return units;
}

void lob_content::trim(std::size_t length)
{
    replace(place_of(length), bytes_.size(), {}, 0);
}

void lob_content::replace(std::size_t from, std::size_t to, std::string_view written, std::size_t units)
{
    const std::size_t removed = units_in(std::string_view(bytes_).substr(from, to - from));
    length_ = length() - removed + units;
    if (mark_.place > from)
        mark_ = {0, 0};
    // At the end, room grows by doubling, so that appending again and again stays cheap.
    if (to == bytes_.size()) {
        bytes_.resize(from);
        bytes_.append(written);
    } else {
        bytes_.replace(from, to - from, written);
    }
}

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

// Bytes of the content that become at most `room` bytes of the program's.
std::size_t lob_read::fitting(const lob_content &from, std::size_t room) const
{
    // The content may have become shorter since the last piece.
    const std::size_t at = std::min(at_, from.bytes().size());
    const auto rest = std::string_view(from.bytes()).substr(at, end_ - std::min(at, end_));
    if (!from.is_text())
        return std::min(room, rest.size());
    constexpr std::size_t longest = 4; // bytes of UTF-8 in a character
    switch (set_) {
    case charset::utf8:
        return rest.size() <= room ? rest.size() : cut(charset::utf8, rest, room);
    case charset::utf16:
        return utf8_offset_of_utf16(room < rest.size() ? rest.substr(0, room / 2 * 3 + longest) : rest,
                                    room / 2);
    default:
        return utf8_offset(room < rest.size() ? rest.substr(0, room * longest) : rest, room);
    }
}

lob_amounts lob_read::take(const lob_content &from, void *buffer, std::size_t room)
{
    const std::size_t size = fitting(from, std::min(room, bytes_left_));
    if (size == 0)
        fail(ora_bad_lob_argument, "the buffer of %zu bytes has no room for the next character", room);
    const auto part = std::string_view(from.bytes()).substr(at_, size);
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
    check_length(gathered_.size(), piece.size());
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
