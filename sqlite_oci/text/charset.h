#pragma once

#include "oci.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Character sets of environments, binds, defines and LOB transfers. UTF-8 is the form in which everything is
// kept; the others are converted at the border. UTF-16 is in the byte order of this machine. A sequence that
// is not well-formed becomes U+FFFD, one per maximal ill-formed part, and never stops a conversion.
namespace sqlite_oci
{

enum class charset : std::uint8_t { us7ascii, latin1, utf8, utf16 };

// The character set of an OCI character set number (1, 31, 871, 873, 1000); 0 is `otherwise`. Empty if
// unknown.
std::optional<charset> charset_from_id(ub2 id, charset otherwise = charset::utf8);

// The OCI number: 1, 31, 873, 1000.
ub2 charset_id(charset set);

// The name, e.g. "AL32UTF8".
const char *charset_name(charset set);

// Most bytes that one character takes: 1, 1, 4, 4.
std::size_t charset_max_bytes(charset set);

// Appends to *out. `bytes` in UTF-16 may be unaligned; an odd last byte becomes U+FFFD.
void append_utf8(charset from, std::string_view bytes, std::string *out);
std::string to_utf8(charset from, std::string_view bytes);

// Characters that the target lacks become '?' in US7ASCII and an inverted question mark in Latin-1.
void append_from_utf8(charset to, std::string_view text, std::string *out);
std::string from_utf8(charset to, std::string_view text);

// Characters in `bytes`: code points in UTF-8, bytes in the single-byte sets, 16-bit units in UTF-16 (a
// character outside the basic plane counts two there, as in LOB lengths).
std::size_t count_characters(charset set, std::string_view bytes);

// The longest start of `bytes` of at most `max_bytes` bytes that does not cut a character (a pair of UTF-16
// surrogates included) in two. With max_bytes >= bytes.size(), that leaves out an unfinished last character
// only, which a piecewise writer keeps for the next piece.
std::size_t cut(charset set, std::string_view bytes, std::size_t max_bytes);

void append_utf16(std::string_view text, std::u16string *out);
std::u16string utf8_to_utf16(std::string_view text);
void append_utf8(std::u16string_view text, std::string *out);
std::string utf16_to_utf8(std::u16string_view text);

bool utf8_is_valid(std::string_view text);

// Code points; ill-formed parts count as the U+FFFD that they become.
std::size_t utf8_length(std::string_view text);
// 16-bit units that the text takes in UTF-16.
std::size_t utf16_length_of_utf8(std::string_view text);

// Byte offset of the code point with this index (0 first); text.size() if there are not so many.
std::size_t utf8_offset(std::string_view text, std::size_t index);
// The same for an index in 16-bit units; an index inside a surrogate pair gives the character's start.
std::size_t utf8_offset_of_utf16(std::string_view text, std::size_t index);

} // namespace sqlite_oci
