#ifndef TRACE_READER_MESSAGE_H
#define TRACE_READER_MESSAGE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "record.h"

namespace trace_reader
{

/// Letters, digits and underscores of ASCII, whatever the locale.
constexpr bool is_name_character(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// The name in front of the parentheses of a declaration or of an entry record, or nothing if the message is
/// neither; "sword OCIBreak (dvoid *hndlp, ...", "OCIBreak(...", "OCIBreak".
std::string_view function_of_call(const Record &record);

/// A record "END FUNC - OCIBreak(): DRAVIK" and the lines behind it.
struct End {
    std::string_view function;
    std::string_view note; ///< what stands behind the parentheses in the same line
};
std::optional<End> end_of_call(std::string_view message);

/// What stands behind `name` and `=` in a line of its own, up to the line's end; the first such line counts.
/// Arguments in front of a text are found so. Null if there is no such line.
std::optional<std::string_view> value_of(std::string_view message, std::string_view name);

/// The same for the last such line: arguments behind a text, which may itself hold such lines.
std::optional<std::string_view> last_value_of(std::string_view message, std::string_view name);

/// Address in "0x7f...", or 0 for "(nil)" and everything else.
std::uint64_t pointer_in(std::string_view text);

/// Decimal number at the beginning of a text; null if there is none.
std::optional<std::int64_t> number_in(std::string_view text);

/// The address behind `name` and `=` in a line of its own; 0 if there is none.
std::uint64_t pointer_of(std::string_view message, std::string_view name);

/// The number behind `name` and `=` in the last such line.
std::optional<std::int64_t> number_of(std::string_view message, std::string_view name);

/// A text argument and where it stands in the message: `raw` from the equals sign to the end of the argument.
struct PassedText {
    std::string_view raw;     ///< as written: text, and in the exact edition ", c_sid=" and its narrowed copy
    std::string_view text;    ///< the text that was passed, as far as it was written
    bool is_narrowed = false; ///< `raw` holds the text twice
    bool is_cut = false;      ///< the message ended before the text did
};

/// The value of the text argument `name`, which the argument `length_name` follows. Texts that a program
/// passes with a length may be followed by whatever lies behind them in memory: the length tells.
std::optional<PassedText> passed_text(std::string_view message, std::string_view name,
                                      std::string_view length_name);

/// The number of an error in the text that a database gave for it, "ORA-00942: table ..." or "DKOM-90001:
/// ...", with its letters; empty if it begins otherwise.
std::string_view error_code(std::string_view text);

} // namespace trace_reader

#endif
