#ifndef DKOMSQL_UTF8_H
#define DKOMSQL_UTF8_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace dkomsql
{

/// Makes the C library read multibyte text as UTF-8: the user's locale when it is a UTF-8 one, C.UTF-8
/// otherwise. Call once, before any other function of this file.
void use_utf8_locale();

/// Whether the databases are told that texts are UTF-8, so that malformed ones have to be refused: unless the
/// user has told them otherwise with NLS_LANG.
bool takes_utf8();

/// Text that a terminal shows on one line: control characters and malformed bytes become escapes such as
/// `\n`, `\x1B`; everything else is kept.
std::string printable(std::string_view text);

/// The same for a text of several lines: line feeds are kept.
std::string printable_lines(std::string_view text);

/// Byte offset of the first malformed character; nothing in a text that is UTF-8 throughout.
std::optional<std::size_t> malformed_at(std::string_view text);

/// Terminal columns that `text` takes: 2 for wide characters, 0 for combining ones, 1 for malformed bytes.
std::size_t display_width(std::string_view text);

/// Number of bytes of `text` without a character at its end that was cut in the middle.
std::size_t complete_prefix(std::string_view text);

/// A cut-out of one line around a place in it.
struct Excerpt {
    std::string text;      ///< at most about `columns` wide; an ellipsis stands where text was left out
    std::size_t caret = 0; ///< terminal columns in front of the place
};

/// Cuts the one-line text `line` to `columns` terminal columns so that the byte at `offset` stays visible.
Excerpt excerpt_around(std::string_view line, std::size_t offset, std::size_t columns);

} // namespace dkomsql

#endif
