// The rows of a query, all of them, so that neither a lock nor a cursor stays on the database file.
#pragma once

#include "values/value.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace sqlite_oci
{

class row_store
{
public:
    void clear();

    // Adds the row that the statement stands on.
    // Blobs in columns that `are_numbers` tells are numbers of many digits; it has an element for each
    // column.
    void append(sqlite3_stmt *statement, int columns, const std::vector<bool> &are_numbers);

    std::size_t size() const { return rows_; }

    // Reads rows one after another, and each row's values one after another. Texts and blobs point into the
    // store.
    class reader
    {
    public:
        // Before row `first`, of `columns` values each. There must be such a row.
        reader(const row_store &store, std::size_t first, std::size_t columns);

        // Must be called before the values of each row.
        void next_row();
        void next_value(value &result) { at_ = read(at_, result); }
        void skip_values(std::size_t count)
        {
            value skipped;
            while (count-- > 0)
                next_value(skipped);
        }

    private:
        const row_store &store_;
        std::size_t chunk_;
        std::size_t row_;
        const char *at_;
    };

private:
    // A run of rows that stand one behind another in a block; short enough to find one of them by reading.
    struct chunk {
        std::size_t first_row;
        const char *start;
    };

    struct free_block {
        void operator()(char *block) const { std::free(block); }
    };
    using block = std::unique_ptr<char, free_block>;

    // How a value is kept: this byte, then as many bytes as it says.
    enum form : char {
        null_form,
        integer16_form,
        integer32_form,
        integer64_form,
        real_form,
        short_text_form, // a length of one byte before the text
        short_blob_form,
        long_text_form, // a length of four bytes
        long_blob_form,
        number_form, // a length of one byte
    };

    template <class T> static const char *take(const char *at, T &result)
    {
        std::memcpy(&result, at, sizeof result);
        return at + sizeof result;
    }
    template <class T> static const char *read_integer(const char *at, value &result);
    template <class T> static const char *read_bytes(const char *at, value_kind kind, value &result);
    static const char *read(const char *at, value &result);

    void append_column(sqlite3_stmt *statement, int column, const std::vector<bool> &are_numbers);
    void append_integer(std::int64_t integer);
    void append_bytes(const void *bytes, std::size_t size, bool is_text);
    template <class T> void put(form as, const T &number);
    void reserve(std::size_t size);
    void add_block(std::size_t size);

    std::size_t rows_ = 0;
    std::vector<block> blocks_;
    std::vector<chunk> chunks_;
    char *row_start_ = nullptr; // of the row that is being added
    char *end_ = nullptr;       // of what is used of the last block
    char *limit_ = nullptr;     // of the last block
};

template <class T> const char *row_store::read_integer(const char *at, value &result)
{
    T integer;
    at = take(at, integer);
    result.kind = value_kind::integer;
    result.integer = integer;
    return at;
}

template <class T> const char *row_store::read_bytes(const char *at, value_kind kind, value &result)
{
    T length;
    at = take(at, length);
    result.kind = kind;
    result.bytes = {at, length};
    return at + length;
}

inline const char *row_store::read(const char *at, value &result)
{
    switch (*at++) {
    case integer16_form:
        return read_integer<std::int16_t>(at, result);
    case integer32_form:
        return read_integer<std::int32_t>(at, result);
    case integer64_form:
        return read_integer<std::int64_t>(at, result);
    case real_form:
        result.kind = value_kind::real;
        return take(at, result.real);
    case short_text_form:
        return read_bytes<std::uint8_t>(at, value_kind::text, result);
    case short_blob_form:
        return read_bytes<std::uint8_t>(at, value_kind::blob, result);
    case number_form:
        return read_bytes<std::uint8_t>(at, value_kind::number, result);
    case long_text_form:
        return read_bytes<std::uint32_t>(at, value_kind::text, result);
    case long_blob_form:
        return read_bytes<std::uint32_t>(at, value_kind::blob, result);
    default:
        result.kind = value_kind::null;
        return at;
    }
}

} // namespace sqlite_oci
