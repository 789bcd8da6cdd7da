#include "message.h"

#include <algorithm>

namespace trace_reader
{

namespace
{

std::string_view leading_name(std::string_view text)
{
    std::size_t size = 0;
    while (size < text.size() && is_name_character(text[size]))
        size++;
    return text.substr(0, size);
}

std::string_view up_to_line_end(std::string_view text)
{
    return text.substr(0, text.find('\n'));
}

/// Place behind "\n\tname=" in a message, searched from the front or from the back; npos: there is none.
std::size_t place_of(std::string_view message, std::string_view name, bool from_back)
{
    constexpr std::string_view before = "\n\t";
    std::size_t at = from_back ? message.rfind(before) : message.find(before);
    while (at != std::string_view::npos) {
        const std::string_view rest = message.substr(at + before.size());
        if (rest.size() > name.size() && rest[name.size()] == '=' && rest.starts_with(name))
            return at + before.size() + name.size() + 1;
        if (from_back && at == 0)
            break;
        at = from_back ? message.rfind(before, at - 1) : message.find(before, at + 1);
    }
    return std::string_view::npos;
}

} // namespace

std::string_view function_of_call(const Record &record)
{
    std::string_view text = record.message;
    if (record.level == Level::trace)
        return leading_name(text) == text ? text : std::string_view();
    if (record.level != Level::info)
        return {};
    if (text.starts_with("sword "))
        text.remove_prefix(6);
    const std::string_view name = leading_name(text);
    std::size_t next = name.size();
    if (next < text.size() && text[next] == ' ')
        next++;
    if (name.size() < 3 || next >= text.size() || text[next] != '(')
        return {};
    // In the exact edition other messages may begin with a name; in the extended one a single file writes
    // them.
    return name.starts_with("OCI") || record.thread != 0 ? name : std::string_view();
}

std::optional<End> end_of_call(std::string_view message)
{
    constexpr std::string_view prefix = "END FUNC - ";
    if (!message.starts_with(prefix))
        return std::nullopt;
    message.remove_prefix(prefix.size());
    End end;
    end.function = leading_name(message);
    message = up_to_line_end(message.substr(end.function.size()));
    for (const std::string_view before : {"()", ":", " "})
        if (message.starts_with(before))
            message.remove_prefix(before.size());
    end.note = message;
    return end;
}

std::optional<std::string_view> value_of(std::string_view message, std::string_view name)
{
    const std::size_t at = place_of(message, name, false);
    return at == std::string_view::npos ? std::nullopt : std::optional(up_to_line_end(message.substr(at)));
}

std::optional<std::string_view> last_value_of(std::string_view message, std::string_view name)
{
    const std::size_t at = place_of(message, name, true);
    return at == std::string_view::npos ? std::nullopt : std::optional(up_to_line_end(message.substr(at)));
}

std::uint64_t pointer_in(std::string_view text)
{
    if (!text.starts_with("0x"))
        return 0;
    std::uint64_t value = 0;
    for (std::size_t i = 2; i < text.size() && i < 18; i++) {
        const char c = text[i];
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (digit < 0)
            break;
        value = value << 4 | static_cast<unsigned int>(digit);
    }
    return value;
}

std::optional<std::int64_t> number_in(std::string_view text)
{
    const bool is_negative = text.starts_with('-');
    std::size_t i = is_negative ? 1 : 0;
    const std::size_t first = i;
    std::int64_t value = 0;
    for (; i < text.size() && i < first + 18 && text[i] >= '0' && text[i] <= '9'; i++)
        value = value * 10 + (text[i] - '0');
    if (i == first)
        return std::nullopt;
    return is_negative ? -value : value;
}

std::uint64_t pointer_of(std::string_view message, std::string_view name)
{
    const std::size_t at = place_of(message, name, false);
    return at == std::string_view::npos ? 0 : pointer_in(message.substr(at));
}

std::optional<std::int64_t> number_of(std::string_view message, std::string_view name)
{
    const std::size_t at = place_of(message, name, true);
    return at == std::string_view::npos ? std::nullopt : number_in(message.substr(at));
}

std::optional<PassedText> passed_text(std::string_view message, std::string_view name,
                                      std::string_view length_name)
{
    constexpr std::string_view copy_mark = ", c_sid=";
    const std::size_t begin = place_of(message, name, false);
    if (begin == std::string_view::npos)
        return std::nullopt;
    PassedText passed;
    std::size_t behind = place_of(message, length_name, true);
    std::optional<std::int64_t> length;
    if (behind == std::string_view::npos || behind < begin) {
        passed.is_cut = true;
        passed.raw = message.substr(begin);
    } else {
        length = number_in(message.substr(behind));
        behind -= length_name.size() + 3;
        passed.raw = message.substr(begin, behind < begin ? 0 : behind - begin);
    }
    passed.text = passed.raw;

    // The narrowed copy stands last and is as long as the text, or half as long if that was wide.
    const std::size_t size = passed.raw.size();
    std::size_t mark = std::string_view::npos;
    if (length && *length > 0) {
        for (const std::size_t copy :
             {static_cast<std::size_t>(*length), static_cast<std::size_t>(*length) / 2})
            if (mark == std::string_view::npos && size >= copy + copy_mark.size() &&
                passed.raw.substr(size - copy - copy_mark.size()).starts_with(copy_mark))
                mark = size - copy - copy_mark.size();
    }
    if (mark == std::string_view::npos)
        mark = passed.raw.find(copy_mark);
    if (mark != std::string_view::npos) {
        passed.is_narrowed = true;
        const std::string_view copy = passed.raw.substr(mark + copy_mark.size());
        passed.text = passed.is_cut || copy == "(null)" ? passed.raw.substr(0, mark) : copy;
        passed.is_cut = false;
    }
    if (length && *length >= 0 && passed.text.size() > static_cast<std::size_t>(*length))
        passed.text = passed.text.substr(0, static_cast<std::size_t>(*length));
    return passed;
}

std::string_view error_code(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size() && text[at] >= 'A' && text[at] <= 'Z')
        at++;
    if (at == 0 || at >= text.size() || text[at] != '-')
        return {};
    const std::size_t digits = ++at;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9')
        at++;
    return at == digits ? std::string_view() : text.substr(0, at);
}

} // namespace trace_reader
