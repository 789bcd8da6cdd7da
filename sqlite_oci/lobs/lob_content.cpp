#include "lobs/lob_content.h"

#include "handles/call.h"
#include "lobs/lob_errors.h"
#include "text/charset.h"

#include <algorithm>

namespace sqlite_oci
{

lob_content::lob_content(bool is_text, std::string_view bytes) : is_text_(is_text)
{
    assign(bytes);
}

void lob_content::assign(std::string_view bytes)
{
    head_ = is_text_ && !utf8_is_valid(bytes) ? to_utf8(charset::utf8, bytes) : std::string(bytes);
    tail_.clear();
    tail_start_ = 0;
    length_.reset();
    mark_ = {0, 0};
}

std::size_t lob_content::units_in(std::string_view part) const
{
    return is_text_ ? utf16_length_of_utf8(part) : part.size();
}

// What follows a place on its side of the gap.
std::string_view lob_content::run_at(std::size_t place) const
{
    if (place < head_.size())
        return std::string_view(head_).substr(place);
    return std::string_view(tail_).substr(std::min(tail_.size(), tail_start_ + place - head_.size()));
}

std::size_t lob_content::units_between(std::size_t from, std::size_t to) const
{
    std::size_t units = 0;
    while (from < to) {
        const auto run = run_at(from).substr(0, to - from);
        units += units_in(run);
        from += run.size();
    }
    return units;
}

std::size_t lob_content::length() const
{
    if (!length_)
        length_ = units_between(0, size());
    return *length_;
}

std::string_view lob_content::part(std::size_t from, std::size_t to) const
{
    from = std::min(from, size());
    to = std::clamp(to, from, size());
    if (from < head_.size() && to > head_.size())
        move_gap(size());
    return run_at(from).substr(0, to - from);
}

std::size_t lob_content::place_of(std::size_t offset) const
{
    if (!is_text_)
        return std::min(offset, size());
    if (length_ && offset >= *length_)
        return size();
    if (offset < mark_.offset)
        mark_ = {0, 0};
    while (mark_.offset < offset && mark_.place < size()) {
        const auto run = run_at(mark_.place);
        const std::size_t step = utf8_offset_of_utf16(run, offset - mark_.offset);
        if (step == 0)
            break; // a character of two units
        mark_ = {mark_.offset + units_in(run.substr(0, step)), mark_.place + step};
    }
    return mark_.place;
}

std::size_t lob_content::write(std::size_t offset, std::string_view written)
{
    check_lob_length(offset, written.size());
    const std::size_t old_length = length();
    if (offset > old_length) {
        const std::size_t gap = offset - old_length;
        replace(size(), size(), std::string(gap, is_text_ ? ' ' : '\0'), gap);
    }
    const std::size_t from = place_of(offset);
    const std::size_t units = units_in(written);
    replace(from, place_of(offset + units), written, units);
    return units;
}

void lob_content::trim(std::size_t length)
{
    replace(place_of(length), size(), {}, 0);
}

void lob_content::replace(std::size_t from, std::size_t to, std::string_view written, std::size_t units)
{
    const std::size_t removed = units_between(from, to);
    if (mark_.place > from)
        mark_ =
            mark_.offset >= removed && mark_.place == to ? mark{mark_.offset - removed, from} : mark{0, 0};
    length_ = length() - removed + units;
    if (to - from == written.size())
        return overwrite(from, written);
    if (from == size()) {
        (tail_start_ == tail_.size() ? head_ : tail_).append(written);
        return;
    }
    move_gap(from);
    tail_start_ += to - from;
    head_.append(written);
    if (mark_.place == from)
        mark_ = {mark_.offset + units, from + written.size()};
}

void lob_content::overwrite(std::size_t from, std::string_view written)
{
    const std::size_t before = from < head_.size() ? std::min(written.size(), head_.size() - from) : 0;
    written.copy(head_.data() + (before ? from : 0), before);
    if (before < written.size())
        written.copy(tail_.data() + tail_start_ + (from + before - head_.size()), written.size() - before,
                     before);
}

void lob_content::move_gap(std::size_t place) const
{
    if (place >= head_.size()) {
        const std::size_t moved = place - head_.size();
        head_.append(tail_, tail_start_, moved);
        tail_start_ += moved;
    } else {
        const std::size_t moved = head_.size() - place;
        if (tail_start_ <
            moved) { // with room before it for as much again: the next pieces may come before this
            const std::size_t more = tail_.size() - tail_start_ + moved - tail_start_;
            tail_.insert(0, more, '\0');
            tail_start_ += more;
        }
        tail_start_ -= moved;
        tail_.replace(tail_start_, moved, head_, place, moved);
        head_.resize(place);
    }
    if (tail_start_ == tail_.size()) {
        tail_.clear();
        tail_start_ = 0;
    }
}

} // namespace sqlite_oci
