#include "statements/row_store.h"

#include <algorithm>
#include <limits>

#include <sys/mman.h>

namespace sqlite_oci
{
namespace
{

constexpr std::size_t chunk_size = std::size_t{64} << 10;

// Blocks double up to the size of a huge page of memory, which the kernel hands out far faster than as many
// small ones.
constexpr std::size_t first_block = std::size_t{2} << 10;
constexpr std::size_t longest_number = 21; // bytes

constexpr std::size_t huge_page = std::size_t{2} << 20;

} // namespace

void row_store::clear()
{
    rows_ = 0;
    chunks_.clear();
    blocks_.clear();
    row_start_ = end_ = limit_ = nullptr;
}

void row_store::append(sqlite3_stmt *statement, int columns, const std::vector<bool> &are_numbers)
{
    row_start_ = end_;
    if (chunks_.empty() || end_ - chunks_.back().start >= static_cast<std::ptrdiff_t>(chunk_size))
        chunks_.push_back({rows_, row_start_});
    for (int column = 0; column < columns; ++column)
        append_column(statement, column, are_numbers);
    ++rows_;
}

// The connection's lock is held, so that the value can be read as it stands in the row; asking the statement
// for its type, its bytes and their number would look it up each time.
void row_store::append_column(sqlite3_stmt *statement, int column, const std::vector<bool> &are_numbers)
{
    sqlite3_value *const found = sqlite3_column_value(statement, column);
    const int type = sqlite3_value_type(found);
    switch (type) {
    case SQLITE_INTEGER:
        return append_integer(sqlite3_value_int64(found));
    case SQLITE_FLOAT:
        return put(real_form, sqlite3_value_double(found));
    case SQLITE_NULL:
        reserve(1);
        *end_++ = null_form;
        return;
    default:
        break;
    }
    // The text before its length: it may have to be converted.
    const bool is_text = type == SQLITE_TEXT;
    const void *bytes =
        is_text ? static_cast<const void *>(sqlite3_value_text(found)) : sqlite3_value_blob(found);
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(found));
    if (!bytes && (size || is_text))
        throw std::bad_alloc();
    if (!is_text && bytes && are_numbers[static_cast<std::size_t>(column)] && size <= longest_number) {
        reserve(2 + size);
        put(number_form, static_cast<std::uint8_t>(size));
        std::memcpy(end_, bytes, size);
        end_ += size;
        return;
    }
    append_bytes(bytes, size, is_text);
}

void row_store::append_integer(std::int64_t integer)
{
    const auto fits = [&](auto example) {
        using narrow = decltype(example);
        return integer >= std::numeric_limits<narrow>::min() && integer <= std::numeric_limits<narrow>::max();
    };
    if (fits(std::int16_t{}))
        put(integer16_form, static_cast<std::int16_t>(integer));
    else if (fits(std::int32_t{}))
        put(integer32_form, static_cast<std::int32_t>(integer));
    else
        put(integer64_form, integer);
}

void row_store::append_bytes(const void *bytes, std::size_t size, bool is_text)
{
    reserve(1 + sizeof(std::uint32_t) + size);
    if (size <= std::numeric_limits<std::uint8_t>::max())
        put(is_text ? short_text_form : short_blob_form, static_cast<std::uint8_t>(size));
    else
        put(is_text ? long_text_form : long_blob_form, static_cast<std::uint32_t>(size));
    if (size)
        std::memcpy(end_, bytes, size);
    end_ += size;
}

template <class T> void row_store::put(form as, const T &number)
{
    reserve(1 + sizeof number);
    *end_++ = as;
    std::memcpy(end_, &number, sizeof number);
    end_ += sizeof number;
}

// A row is never split: what there is of it moves to a new block when the last one is full.
void row_store::reserve(std::size_t size)
{
    if (size <= static_cast<std::size_t>(limit_ - end_))
        return;
    const char *const begun = row_start_;
    const auto length = static_cast<std::size_t>(end_ - row_start_);
    add_block(length + size);
    if (length)
        std::memcpy(row_start_, begun, length);
    end_ = row_start_ + length;
    if (chunks_.back().first_row == rows_)
        chunks_.pop_back();
    chunks_.push_back({rows_, row_start_});
}

void row_store::add_block(std::size_t size)
{
    const std::size_t usual = std::min(first_block << std::min<std::size_t>(blocks_.size(), 10), huge_page);
    const bool is_huge = usual == huge_page && size <= usual;
    size = std::max(size, usual);
    block added(static_cast<char *>(is_huge ? std::aligned_alloc(huge_page, huge_page) : std::malloc(size)));
    if (!added)
        throw std::bad_alloc();
    if (is_huge)
        madvise(added.get(), huge_page, MADV_HUGEPAGE);
    row_start_ = added.get();
    limit_ = row_start_ + size;
    blocks_.push_back(std::move(added));
}

row_store::reader::reader(const row_store &store, std::size_t first, std::size_t columns)
    : store_(store), row_(first)
{
    const auto after =
        std::upper_bound(store.chunks_.begin(), store.chunks_.end(), first,
                         [](std::size_t row, const chunk &one) { return row < one.first_row; });
    chunk_ = static_cast<std::size_t>(after - store.chunks_.begin()) - 1;
    at_ = store.chunks_[chunk_].start;
    skip_values((first - store.chunks_[chunk_].first_row) * columns);
}

void row_store::reader::next_row()
{
    if (chunk_ + 1 < store_.chunks_.size() && store_.chunks_[chunk_ + 1].first_row == row_)
        at_ = store_.chunks_[++chunk_].start;
    ++row_;
}

} // namespace sqlite_oci
