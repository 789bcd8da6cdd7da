#include "handle_life.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include <fmt/format.h>

#include <trace_reader/message.h>
#include <trace_reader/sql_text.h>

#include "model.h"

namespace dkom_report
{

namespace
{

constexpr std::size_t most_facts = 10000;

std::optional<std::int64_t> number_behind(std::string_view message, std::string_view before)
{
    const std::size_t at = message.rfind(before);
    return at == std::string_view::npos ? std::nullopt
                                        : trace_reader::number_in(message.substr(at + before.size()));
}

std::string type_in(std::string_view message)
{
    return type_name(static_cast<std::int32_t>(number_behind(message, "type=").value_or(0)));
}

/// A row of a table dump in words.
std::string row_in_words(std::string_view message)
{
    const auto word = [](auto number, auto... words) {
        const char *const all[] = {words...};
        return number && *number >= 0 && static_cast<std::size_t>(*number) < sizeof...(words)
                   ? std::string(all[static_cast<std::size_t>(*number)])
                   : std::string("?");
    };
    return fmt::format("table: {}, runs on {}, last error from {}",
                       word(number_behind(message, "state="), "?", "prepared", "executed",
                            "made along with a call", "allocated"),
                       word(number_behind(message, "last_exec="), "none", "Oracle", "Dravik", "both"),
                       word(number_behind(message, "last_err="), "none", "Oracle", "Dravik", "both"));
}

} // namespace

HandleLife::HandleLife(std::uint64_t address, std::size_t most_uses)
    : address_(fmt::format("0x{:x}", address)), most_uses_(most_uses)
{
}

bool HandleLife::is_named_in(std::string_view message, std::size_t from) const
{
    for (std::size_t at = message.find(address_, from); at != std::string_view::npos;
         at = message.find(address_, at + 1)) {
        const std::size_t end = at + address_.size();
        if (end == message.size() || std::isxdigit(static_cast<unsigned char>(message[end])) == 0)
            return true;
    }
    return false;
}

/// The names under which the address is passed: " as svchp".
std::string HandleLife::arguments_named(std::string_view message) const
{
    std::string names;
    for (std::size_t at = message.find("\n\t"); at != std::string_view::npos;
         at = message.find("\n\t", at + 2)) {
        const std::string_view line = message.substr(at + 2, message.find('\n', at + 2) - at - 2);
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos && line.substr(equals + 1) == address_)
            names += (names.empty() ? " as " : ", ") + std::string(line.substr(0, equals));
    }
    return names;
}

void HandleLife::record(const trace_reader::Record &record)
{
    const std::string_view message = record.message;
    if (!is_named_in(message, 0))
        return;
    const std::string key = "key=" + address_;
    const std::string_view function = trace_reader::function_of_call(record);
    if (record.level == trace_reader::Level::list) {
        std::string row = row_in_words(message);
        if (message.find(key + ",") != std::string_view::npos && row != row_) {
            keep(record.time, row, false);
            row_ = std::move(row);
        }
    } else if (message.starts_with("put_")) {
        keep(record.time, "made: " + type_in(message), false);
    } else if (message.starts_with("del_hash_table_entry: FOUND")) {
        keep(record.time, "released", false);
    } else if (message.starts_with("delete ") && message.find(key + ",") != std::string_view::npos) {
        keep(record.time, "released with its statement: " + type_in(message), false);
    } else if (message.find("NOT FOUND") != std::string_view::npos) {
        keep(record.time, "looked for in vain", false);
    } else if (const auto end = trace_reader::end_of_call(message)) {
        if (message.find("\n\t*") != std::string_view::npos)
            keep(record.time, fmt::format("given to the program by {}", end->function), false);
    } else if (!function.empty()) {
        const std::string names = arguments_named(message);
        std::string what = fmt::format("{}{}", function, names);
        if (const auto text = trace_reader::passed_text(message, "stmt", "stmt_len"))
            what += ": " + trace_reader::sql_shape(text->text);
        if (function == "OCIHandleFree" || function == "OCIDescriptorFree")
            what += ", " + type_in(message);
        if (!names.empty())
            keep(record.time, what, true);
    }
}

void HandleLife::keep(std::int64_t at, std::string what, bool is_use)
{
    Entry entry{at, std::move(what), order_++};
    if (!is_use) {
        if (facts_.size() < most_facts)
            facts_.push_back(std::move(entry));
        return;
    }
    uses_++;
    if (most_uses_ == 0 || first_.size() < (most_uses_ + 1) / 2) {
        first_.push_back(std::move(entry));
        return;
    }
    last_.push_back(std::move(entry));
    if (last_.size() > most_uses_ / 2) {
        last_.pop_front();
        left_out_++;
    }
}

std::vector<HandleLife::Entry> HandleLife::entries() const
{
    std::vector<Entry> all = facts_;
    all.insert(all.end(), first_.begin(), first_.end());
    if (left_out_ > 0)
        all.push_back({0, "", first_.back().order});
    all.insert(all.end(), last_.begin(), last_.end());
    std::ranges::stable_sort(all, {}, &Entry::order);
    return all;
}

} // namespace dkom_report
