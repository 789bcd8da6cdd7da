#include "utf8.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <langinfo.h>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace dkomsql
{

namespace
{

struct Character {
    wchar_t code = 0;
    std::size_t bytes = 1;
    bool malformed = false;
    bool incomplete = false; // the text ends in the middle of it
};

/// Decodes the first character of `text`, which must not be empty.
Character first_character(std::string_view text)
{
    Character character;
    std::mbstate_t state{};
    const std::size_t bytes = std::mbrtowc(&character.code, text.data(), text.size(), &state);
    if (bytes == static_cast<std::size_t>(-1)) {
        character.malformed = true;
    } else if (bytes == static_cast<std::size_t>(-2)) {
        character.malformed = character.incomplete = true;
    } else {
        character.bytes = bytes == 0 ? 1 : bytes;
    }
    return character;
}

bool is_control(wchar_t code)
{
    return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

std::string escaped_control(wchar_t code)
{
    switch (code) {
    case L'\n':
        return "\\n";
    case L'\r':
        return "\\r";
    case L'\t':
        return "\\t";
    default:
        return fmt::format("\\x{:02X}", static_cast<unsigned>(code));
    }
}

std::size_t width_of(const Character &character)
{
    if (character.malformed)
        return 1;
    const int width = wcwidth(character.code);
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

void use_utf8_locale()
{
    std::setlocale(LC_ALL, "");
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8")
        std::setlocale(LC_CTYPE, "C.UTF-8");
    std::setlocale(LC_NUMERIC, "C");
}

bool takes_utf8()
{
    const char *nls_lang = std::getenv("NLS_LANG");
    return nls_lang == nullptr || std::string_view(nls_lang).ends_with("UTF8");
}

std::string printable(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = first_character(text);
        if (character.malformed)
            result += fmt::format("\\x{:02X}", static_cast<unsigned char>(text.front()));
        else if (is_control(character.code))
            result += escaped_control(character.code);
        else
            result.append(text.substr(0, character.bytes));
        text.remove_prefix(character.bytes);
    }
    return result;
}

std::string printable_lines(std::string_view text)
{
    std::string result;
    for (;;) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        result += printable(text.substr(0, end));
        if (end == text.size())
            return result;
        result += '\n';
        text.remove_prefix(end + 1);
    }
}

std::optional<std::size_t> malformed_at(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            at++;
            continue;
        }
        const Character character = first_character(text.substr(at));
        if (character.malformed)
            return at;
        at += character.bytes;
    }
    return std::nullopt;
}

std::size_t display_width(std::string_view text)
{
    std::size_t width = 0;
    while (!text.empty()) {
        const Character character = first_character(text);
        width += width_of(character);
        text.remove_prefix(character.bytes);
    }
    return width;
}

std::size_t complete_prefix(std::string_view text)
{
    constexpr std::size_t longest_character = 4;
    for (std::size_t tail = 1; tail < longest_character && tail <= text.size(); tail++) {
        const std::size_t start = text.size() - tail;
        if (first_character(text.substr(start)).incomplete)
            return start;
    }
    return text.size();
}

Excerpt excerpt_around(std::string_view line, std::size_t offset, std::size_t columns)
{
    struct Piece {
        std::string text;
        std::size_t width;
        std::size_t start;
    };
    std::vector<Piece> pieces;
    std::size_t caret_piece = 0;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t bytes = first_character(line.substr(at)).bytes;
        const bool is_tab = line[at] == '\t';
        std::string text = is_tab ? " " : printable(line.substr(at, bytes));
        const std::size_t width = display_width(text);
        if (at <= offset)
            caret_piece = pieces.size() + (at + bytes <= offset ? 1 : 0);
        pieces.push_back({std::move(text), width, at});
        at += bytes;
    }

    // Two thirds of the room go to what stands before the place: an error is mostly explained by it.
    std::size_t first = caret_piece;
    for (std::size_t room = columns * 2 / 3; first > 0 && pieces[first - 1].width <= room; first--)
        room -= pieces[first - 1].width;

    Excerpt excerpt;
    std::size_t used = 0;
    if (first > 0) {
        excerpt.text = "…";
        used = 1;
    }
    std::size_t piece = first;
    for (; piece < pieces.size() && used + pieces[piece].width <= columns; piece++) {
        if (piece == caret_piece)
            excerpt.caret = used;
        excerpt.text += pieces[piece].text;
        used += pieces[piece].width;
    }
    if (caret_piece >= piece)
        excerpt.caret = used;
    if (piece < pieces.size())
        excerpt.text += "…";
    return excerpt;
}

} // namespace dkomsql
