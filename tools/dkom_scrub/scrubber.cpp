#include "scrubber.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include <trace_reader/message.h>
#include <trace_reader/sql_text.h>

namespace dkom_scrub
{

using trace_reader::Level;
using trace_reader::Record;

namespace
{

constexpr std::string_view mask = "***";
constexpr std::string_view copy_mark = ", c_sid=";

/// Messages that hold fixed words, numbers and addresses only.
constexpr std::string_view harmless[] = {
    "print_hash_table",
    "get_hash_table_entry",
    "del_hash_table_entry",
    "put_hash_table_entry",
    "delete hash table entry",
    "[ORACLE] OCI API will be executed",
    "[DRAVIK] OCI API will be executed",
    "Do OCI",
    "Executed OCI",
    "CONTINUE FUNC - OCI",
    "get_attr_type:",
    "The last error is ",
    "There is ",
    "Fail to bind at ",
    "ora_func_table.funcs.",
    "dk_func_table.funcs.",
    "libclntsh.so lacks the entry point ",
    "libdkoci.so lacks the entry point ",
    "Oracle server handle is not set",
    "Unexpected calling...",
    "This type is not supported",
    "Not implemented type",
    "DKOM_ROUTES: ",
    "the usual route: ",
};

bool is_name(std::string_view text)
{
    return !text.empty() && std::ranges::all_of(text, trace_reader::is_name_character);
}

bool is_number(std::string_view text)
{
    if (text.starts_with('-'))
        text.remove_prefix(1);
    return !text.empty() && text.size() <= 20 &&
           std::ranges::all_of(text, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool is_address(std::string_view text)
{
    return text.size() > 2 && text.size() <= 18 && text.starts_with("0x") &&
           std::ranges::all_of(text.substr(2), [](unsigned char c) { return std::isxdigit(c) != 0; });
}

/// The words that the libraries write in place of values.
bool is_fixed_value(std::string_view text)
{
    constexpr std::string_view words[] = {"(nil)", "(null)", "***", "Oracle", "Dravik", "Oracle and Dravik"};
    return std::ranges::count(words, text) > 0;
}

std::string line_ends_of(std::string_view text)
{
    return std::string(static_cast<std::size_t>(std::ranges::count(text, '\n')), '\n');
}

std::string_view first_line(std::string_view text)
{
    return text.substr(0, text.find('\n'));
}

/// Path without its directories, which may tell names of people and machines.
std::string without_directory(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string(path) : "***/" + std::string(path.substr(slash + 1));
}

bool has_any(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::ranges::count(names, name) > 0;
}

} // namespace

Scrubber::Scrubber(Settings settings, Names &names, Sink sink)
    : settings_(settings), names_(names), sink_(std::move(sink))
{
}

Scrubber::~Scrubber() = default;

void Scrubber::flush()
{
    sink_(out_);
    out_.clear();
}

std::string Scrubber::sql(std::string_view text) const
{
    if (!settings_.names)
        return trace_reader::mask_sql(text);
    return trace_reader::mask_sql(text, [this](std::string_view name) { return names_.identifier(name); });
}

void Scrubber::record(const Record &record)
{
    constexpr std::size_t enough = 1 << 20;
    const auto head = static_cast<std::size_t>(record.message.data() - record.text.data());
    const std::size_t message_end = head + record.message.size();
    add_head(record, head);
    const std::size_t begin = out_.size();
    add_message(record);
    // Records that no library has written may lose lines with what is masked.
    const auto lines = [](std::string_view text) { return std::ranges::count(text, '\n'); };
    const auto missing = lines(record.message) - lines(std::string_view(out_).substr(begin));
    out_.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(missing, 0)), '\n');
    if (record.is_whole())
        out_ += record.text.substr(message_end); // the end of colours, and the source
    out_ += '\n';
    if (out_.size() > enough)
        flush();
}

/// Time, thread and tag.
void Scrubber::add_head(const Record &record, std::size_t size)
{
    constexpr std::int64_t first_time = 946684800000000; // 2000-01-01 00:00:00
    const std::string_view head = record.text.substr(0, size);
    if (!settings_.times) {
        out_ += head;
        return;
    }
    if (!has_shift_)
        shift_ = first_time - record.time;
    has_shift_ = true;
    const trace_reader::CivilTime t = trace_reader::civil_time_of(record.time + shift_);
    fmt::format_to(std::back_inserter(out_), "[{:04}-{:02}-{:02} {:02}:{:02}:{:02}:{}", t.year, t.month,
                   t.day, t.hour, t.minute, t.second, t.microsecond);
    out_ += head.substr(std::min(head.find(']'), head.size()));
}

void Scrubber::add_message(const Record &record)
{
    const std::string_view message = record.message;
    if (record.level == Level::list) {
        add_with_addresses(is_plain(message) ? message : mask);
        return;
    }
    if (message.starts_with("END FUNC - ")) {
        add_end(message);
        return;
    }
    if (const std::string_view function = trace_reader::function_of_call(record); !function.empty()) {
        if (record.level == Level::trace)
            out_ += message;
        else
            add_call(message, record.thread != 0);
        return;
    }
    if (record.level == Level::trace && is_name(message)) {
        out_ += message;
        return;
    }
    for (const std::string_view direction : {"before bindp=", "after bindp="}) {
        if (!message.starts_with(direction))
            continue;
        const std::size_t value = message.find(", valuep=");
        add_with_addresses(message.substr(0, value));
        if (value != std::string_view::npos) {
            out_ += ", valuep=";
            add_masked(message.substr(value + 9));
        }
        return;
    }
    if (message.starts_with("oci_mng_is_oracle_conn: Oracle") || message.starts_with("Oracle refused it\n") ||
        message.starts_with("Dravik refused it\n")) {
        out_ += first_line(message);
        add_lines(message.substr(first_line(message).size()));
        return;
    }
    if (message.starts_with("OCI manager, ")) {
        add_first_record(message);
        return;
    }
    if (message.starts_with("dlopen ")) {
        const std::size_t path = message.find("dl_path=");
        out_ += path == std::string_view::npos ? std::string(mask)
                                               : std::string(message.substr(0, path + 8)) +
                                                     without_directory(first_line(message.substr(path + 8)));
        out_ += line_ends_of(message);
        return;
    }
    const bool is_harmless = std::ranges::any_of(
        harmless, [&](std::string_view beginning) { return message.starts_with(beginning); });
    if (is_harmless && is_plain(first_line(message))) {
        add_with_addresses(first_line(message));
        add_lines(message.substr(first_line(message).size()));
        return;
    }
    // "OCIBindByName ends with OCI_ERROR: no memory for ..."
    constexpr std::string_view memory = " ends with OCI_ERROR: no memory for the text to give to Dravik";
    if (message.ends_with(memory) && is_name(message.substr(0, message.size() - memory.size()))) {
        out_ += message;
        return;
    }
    add_error_text(message); // the number of an error stays
}

/// A declaration and the arguments that follow it, each in a line of its own.
void Scrubber::add_call(std::string_view message, bool is_extended)
{
    const std::string_view first = first_line(message);
    const Declaration &declaration = declarations_.of(first, is_extended);
    if (!declaration.is_plain) {
        add_masked(message);
        return;
    }
    out_ += first;
    const std::vector<Parameter> &parameters = declaration.parameters;
    std::string_view rest = message.substr(first.size());
    for (std::size_t i = 0; i < parameters.size(); i++) {
        const std::string_view before = parameters[i].before;
        const std::string_view next =
            i + 1 < parameters.size() ? parameters[i + 1].before : std::string_view();
        if (!rest.starts_with(before))
            continue; // a few arguments are shown under other names, or not at all
        std::size_t end = next.empty()            ? rest.size()
                          : parameters[i].is_text ? rest.rfind(next)
                                                  : rest.find(next);
        end = std::min(end, rest.size());
        const std::string_view value =
            rest.substr(before.size(), end < before.size() ? 0 : end - before.size());
        if (parameters[i].name == "valuep" && is_extended) {
            // The bound value may have lines of its own.
            end = std::min(rest.rfind(next), rest.size());
            const std::string_view bound = rest.substr(before.size(), end - before.size());
            out_ += before;
            add_value("", first_line(bound));
            if (first_line(bound).size() < bound.size()) {
                out_ += "\n\t*valuep=";
                add_masked(bound.substr(first_line(bound).size() + 1));
            }
            rest.remove_prefix(end);
            continue;
        }
        if (!parameters[i].is_text || value == "(nil)") {
            // Arguments of other names up to the next known one are taken line by line.
            add_lines(rest.substr(0, end));
            rest.remove_prefix(end);
            continue;
        }
        out_ += before;
        add_text_argument(rest, parameters[i].name, i + 1 < parameters.size() ? parameters[i + 1].name : "");
        rest.remove_prefix(end);
        // The length that follows is that of the text as it was; it was written with it.
        if (!next.empty() && rest.starts_with(next) && next.find("len") != std::string_view::npos) {
            const std::size_t line_end = std::min(rest.find('\n', 1), rest.size());
            rest.remove_prefix(line_end);
        }
    }
    add_lines(rest);
}

/// The value of a text argument and, if one follows, its length.
void Scrubber::add_text_argument(std::string_view message, std::string_view name, std::string_view next)
{
    const bool has_length = next.find("len") != std::string_view::npos;
    const auto passed = trace_reader::passed_text(message, name, next);
    std::string text(mask);
    if (passed && has_length && has_any(name, {"stmt", "sqlstmt"}))
        text = sql(passed->text);
    else if (passed && has_any(name, {"dblink", "dbname", "connStr", "poolName"}))
        text = passed->text.empty() ? "" : names_.link(passed->text);
    else if (passed && name == "placeholder" && passed->text.size() > 1 && is_name(passed->text.substr(1)))
        text = settings_.names ? ":" + names_.identifier(passed->text.substr(1)) : std::string(passed->text);
    const std::string_view length_line = [&]() -> std::string_view {
        const auto value = trace_reader::last_value_of(message, next);
        return has_length && value ? *value : std::string_view();
    }();
    const auto length = trace_reader::number_in(length_line);
    const std::size_t size = passed ? passed->text.size() : 0;
    const bool is_wide =
        passed && passed->is_narrowed && length && size > 0 && static_cast<std::size_t>(*length) == 2 * size;
    const bool is_null = passed && passed->raw.starts_with("NULL");
    // Line ends of what lay behind the text in memory, and of what is masked.
    const bool is_twice = passed && passed->is_narrowed;
    const auto lines = [](std::string_view t) { return std::ranges::count(t, '\n'); };
    const auto missing = lines(passed ? passed->raw : "") - lines(text) * (is_twice && !is_wide ? 2 : 1);
    const std::string rest(static_cast<std::size_t>(std::max<std::ptrdiff_t>(missing, 0)), '\n');
    const bool is_no_text = is_null && size == 0;
    if (is_twice)
        out_ += (is_no_text ? "NULL"
                 : is_wide  ? std::string(mask.substr(0, 1))
                            : text) +
                rest + std::string(copy_mark) + (is_no_text ? "NULL" : text);
    else
        out_ += text + rest;
    if (length_line.empty())
        return;
    // A text that was shown whole has its new length.
    const bool is_whole = length && (static_cast<std::size_t>(*length) == size || is_wide || text == mask);
    const std::int64_t shown =
        is_whole ? static_cast<std::int64_t>(is_wide ? 2 * text.size() : text.size()) : length.value_or(0);
    out_ += fmt::format("\n\t{}={}", next, shown);
    if (const std::size_t copy = length_line.find(", c_sid_len="); copy != std::string_view::npos)
        out_ += fmt::format(", c_sid_len={}", size > 0 ? text.size() : 0);
}

void Scrubber::add_end(std::string_view message)
{
    const std::string_view line = first_line(message);
    if (!is_plain(line)) {
        add_masked(message);
        return;
    }
    out_ += line;
    add_lines(message.substr(line.size()));
}

/// Lines "name=value" of which nothing is known: numbers and addresses stay, texts do not. An error's text is
/// the last one and may have lines of its own.
void Scrubber::add_lines(std::string_view lines)
{
    while (!lines.empty()) {
        const std::string_view line = first_line(lines.substr(1));
        for (const std::string_view name : {"r_bufp=", "bufp="}) {
            if (line.substr(std::min<std::size_t>(1, line.size())).starts_with(name) &&
                !is_address(line.substr(1 + name.size()))) {
                out_ += "\n\t";
                out_ += name;
                add_error_text(lines.substr(2 + name.size()));
                return;
            }
        }
        out_ += '\n';
        add_line(line);
        lines.remove_prefix(1 + line.size());
    }
}

void Scrubber::add_line(std::string_view line)
{
    if (line.starts_with('\t')) {
        out_ += '\t';
        line.remove_prefix(1);
    }
    if (line.empty())
        return;
    const std::size_t equals = line.find('=');
    std::string_view name = line.substr(0, equals);
    if (equals == std::string_view::npos) {
        // "return 0x7f..." and "lenp5"
        for (const std::string_view front : {"return ", "lenp"}) {
            const std::string_view value = line.substr(std::min(front.size(), line.size()));
            if (line.starts_with(front) && (is_number(value) || is_address(value))) {
                out_ += front;
                add_value("", value);
                return;
            }
        }
        out_ += mask;
        return;
    }
    if (name.starts_with("*"))
        name.remove_prefix(1);
    if (name.starts_with("return "))
        name.remove_prefix(7);
    if (name.starts_with("ATTRIBUTE TYPE: "))
        name.remove_prefix(16);
    if (name == "fetch count")
        name = "fetch";
    if (!is_name(name)) {
        out_ += mask;
        return;
    }
    out_ += line.substr(0, equals + 1);
    std::string_view value = line.substr(equals + 1);
    if (line.starts_with("*valuep=")) {
        out_ += mask;
        return;
    }
    if (name == "errcodep" && is_number(value)) {
        out_ += '0'; // an address that is printed as a number
        return;
    }
    // "rc=0, dk_rc=0"
    const std::size_t comma = value.find(", ");
    if (comma == std::string_view::npos) {
        add_value(name, value);
        return;
    }
    const std::string_view second = value.substr(comma + 2);
    const std::size_t second_equals = second.find('=');
    add_value(name, value.substr(0, comma));
    out_ += ", ";
    if (second_equals != std::string_view::npos && is_name(second.substr(0, second_equals))) {
        out_ += second.substr(0, second_equals + 1);
        add_value(name, second.substr(second_equals + 1));
    } else {
        out_ += mask;
    }
}

void Scrubber::add_value(std::string_view name, std::string_view value)
{
    if (is_address(value) && !has_any(name, {"value_sz", "timeout"}))
        add_address(trace_reader::pointer_in(value));
    else if (is_number(value) || is_fixed_value(value) || is_address(value))
        out_ += value;
    else
        out_ += mask;
}

/// An error keeps its number: "ORA-00942: ***".
void Scrubber::add_error_text(std::string_view text)
{
    const auto masked = [](std::string_view part) {
        const std::string_view code = trace_reader::error_code(part);
        return (part.empty() || part == "(null)") ? std::string(part)
               : code.empty()                     ? std::string(mask)
                                                  : std::string(code) + ": " + std::string(mask);
    };
    const std::size_t copy = text.rfind(copy_mark);
    out_ += masked(text.substr(0, copy));
    if (copy != std::string_view::npos) {
        out_ += copy_mark;
        out_ += masked(text.substr(copy + copy_mark.size()));
    }
    out_ += line_ends_of(text);
}

void Scrubber::add_masked(std::string_view text)
{
    out_ += mask;
    out_ += line_ends_of(text);
}

void Scrubber::add_address(std::uint64_t address)
{
    fmt::format_to(std::back_inserter(out_), "0x{:x}", names_.address(address));
}

/// Fixed words between which addresses stand.
void Scrubber::add_with_addresses(std::string_view text)
{
    for (;;) {
        const std::size_t at = text.find("0x");
        out_ += text.substr(0, at);
        if (at == std::string_view::npos)
            return;
        std::size_t end = at + 2;
        while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end])) != 0)
            end++;
        add_address(trace_reader::pointer_in(text.substr(at, end - at)));
        text.remove_prefix(end);
    }
}

/// The extended edition's first record: the program and both libraries by their file names.
void Scrubber::add_first_record(std::string_view message)
{
    out_ += is_plain(first_line(message)) ? first_line(message) : mask;
    std::string_view lines = message.substr(first_line(message).size());
    while (!lines.empty()) {
        const std::string_view line = first_line(lines.substr(1));
        lines.remove_prefix(1 + line.size());
        const std::size_t equals = std::min(line.find('='), line.size());
        const std::string_view name = line.substr(0, equals);
        const std::string_view value = line.substr(std::min(equals + 1, line.size()));
        out_ += '\n';
        if (has_any(name, {"\tprocess", "\tlevel"}) && is_number(value)) {
            out_ += line;
        } else if (has_any(name, {"\tprogram", "\tOracle", "\tDravik"})) {
            // "Oracle=/opt/lib/libclntsh.so, loaded", or a reason of the loader's in place of the last word
            const std::size_t comma = std::min(value.find(", "), value.size());
            const std::string_view state = value.substr(std::min(comma + 2, value.size()));
            out_ += name;
            out_ += '=';
            out_ += without_directory(value.substr(0, comma));
            if (comma < value.size())
                out_ += has_any(state, {"loaded", "not loaded yet"}) ? ", " + std::string(state) : ", ***";
        } else {
            out_ += mask;
        }
    }
}

/// What is no record may be anything. A failed assertion is what a stop is explained by, so it stays.
void Scrubber::other_line(std::string_view line)
{
    constexpr std::string_view assertion = ": Assertion `";
    const std::size_t at = line.find(assertion);
    const std::size_t end = line.rfind("' failed");
    if (at != std::string_view::npos && end != std::string_view::npos && end > at) {
        const std::size_t function = line.rfind(' ', at > 0 ? at - 1 : 0);
        const std::string_view name =
            line.substr(function == std::string_view::npos ? 0 : function + 1,
                        function == std::string_view::npos ? at : at - function - 1);
        const std::string_view condition = line.substr(at + assertion.size(), end - at - assertion.size());
        if (is_name(name) && is_plain(condition)) {
            out_ += fmt::format("***: {}: Assertion `{}' failed.\n", name, condition);
            return;
        }
    }
    out_ += line.empty() ? "" : mask;
    out_ += '\n';
}

} // namespace dkom_scrub
