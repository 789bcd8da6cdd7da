// The content of a LOB.
//
// Lengths and offsets within a LOB are counted in bytes for bytes, and in characters for text: 16-bit units
// of UTF-16, as in LOB lengths, so a character outside the basic plane counts two. Places count bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sqlite_oci
{

// Programs write a long value piece by piece from its start to its end. So the content is kept in two parts
// with a gap between them at the place that was written last: a piece of another size moves nothing behind
// it.
class lob_content
{
public:
    // Text is taken for UTF-8; what is ill-formed of it is replaced.
    lob_content(bool is_text, std::string_view bytes);

    // Another content of the same kind.
    void assign(std::string_view bytes);

    bool is_text() const { return is_text_; }
    std::size_t size() const { return head_.size() + tail_.size() - tail_start_; } // in bytes; text in UTF-8
    std::size_t length() const;

    // All bytes, or some; the view lives until the content is asked for another one or changed.
    std::string_view bytes() const { return part(0, size()); }
    std::string_view part(std::size_t from, std::size_t to) const;

    // The place of what is at `offset`; the end for what lies behind it. Inside a character of two units: its
    // start.
    std::size_t place_of(std::size_t offset) const;

    // Replaces as much as is written, and tells how many characters or bytes that is. A gap behind the end is
    // filled with blanks or zero bytes. Throws ORA-24801 when the LOB would become too long.
    std::size_t write(std::size_t offset, std::string_view written);
    void trim(std::size_t length);

    // Characters (of text) or bytes that some bytes count.
    std::size_t units_in(std::string_view part) const;

private:
    std::size_t units_between(std::size_t from, std::size_t to) const;
    std::string_view run_at(std::size_t place) const;
    void replace(std::size_t from, std::size_t to, std::string_view written, std::size_t units);
    void overwrite(std::size_t from, std::string_view written);
    void move_gap(std::size_t place) const;

    bool is_text_;

    // What is before the gap and what is behind it, there from tail_start_ on.
    mutable std::string head_, tail_;
    mutable std::size_t tail_start_ = 0;

    mutable std::optional<std::size_t> length_;

    // A place that was looked for last: programs go through a text from its start to its end, and would
    // otherwise have it counted from the start each time.
    struct mark {
        std::size_t offset, place;
    };
    mutable mark mark_{0, 0};
};

} // namespace sqlite_oci
