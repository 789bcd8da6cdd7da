// The content of a LOB, and transfers of parts of it from and to a program's character set.
//
// Lengths and offsets within a LOB are counted in bytes for bytes, and in characters for text: 16-bit units
// of UTF-16, as in LOB lengths, so a character outside the basic plane counts two.
#pragma once

#include "text/charset.h"

#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace sqlite_oci
{

class lob_content
{
public:
    // Text is taken for UTF-8; what is ill-formed of it is replaced.
    lob_content(bool is_text, std::string_view bytes);

    bool is_text() const { return is_text_; }
    const std::string &bytes() const { return bytes_; } // text in UTF-8
    std::size_t length() const;

    // Byte offset of what is at `offset`; the end for what lies behind it. Inside a character of two units:
    // its start.
    std::size_t place_of(std::size_t offset) const;

    // Replaces as much as is written, and tells how many characters or bytes that is. A gap behind the end is
    // filled with blanks or zero bytes.
    std::size_t write(std::size_t offset, std::string_view written);
    void trim(std::size_t length);

    // Characters (of text) or bytes that a part of the content counts.
    std::size_t units_in(std::string_view part) const;

private:
    void replace(std::size_t from, std::size_t to, std::string_view written, std::size_t units);

    bool is_text_;
    std::string bytes_;
    mutable std::optional<std::size_t> length_;

    // A place that was looked for last: programs go through a text from its start to its end, and would
    // otherwise have it counted from the start each time.
    struct mark {
        std::size_t offset, place;
    };
    mutable mark mark_{0, 0};
};

struct lob_amounts {
    std::size_t bytes = 0;      // in the program's character set
    std::size_t characters = 0; // as they count in the LOB; bytes in a LOB of bytes
};

// The reading of a part of a LOB, in one or more pieces.
class lob_read
{
public:
    static constexpr std::size_t no_limit = std::numeric_limits<std::size_t>::max();

    // From `offset` on, at most that many characters and at most that many bytes of the program's.
    lob_read(const lob_content &from, charset to, std::size_t offset, std::size_t characters,
             std::size_t bytes = no_limit);

    // Fills the buffer with whole characters. There must be something left.
    lob_amounts take(const lob_content &from, void *buffer, std::size_t room);

    bool is_done(const lob_content &from) const { return fitting(from, bytes_left_) == 0; }

private:
    std::size_t fitting(const lob_content &from, std::size_t room) const;

    charset set_;
    std::size_t at_, end_;
    std::size_t bytes_left_;
};

// The writing of a part of a LOB, in one or more pieces, which are gathered until the last is there.
class lob_write
{
public:
    lob_write(bool is_text, charset from, std::size_t offset) : is_text_(is_text), set_(from), offset_(offset)
    {
    }

    // A character may be split between two pieces.
    void add(std::string_view piece);

    // After the last piece.
    lob_amounts finish(lob_content &target);

private:
    bool is_text_;
    charset set_;
    std::size_t offset_;
    std::string gathered_;   // text in UTF-8
    std::string unfinished_; // the start of a character
    std::size_t received_ = 0;
};

} // namespace sqlite_oci
