// Transfers of parts of a LOB's content from and to a program's character set.
#pragma once

#include "lobs/lob_content.h"
#include "text/charset.h"

#include <limits>
#include <string>
#include <string_view>

namespace sqlite_oci
{

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

    bool is_done(const lob_content &from) const;

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
