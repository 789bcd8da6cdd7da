// What a finished call means for statements, connections and handles.
#include "analysis.h"

#include <algorithm>
#include <functional>

#include <fmt/format.h>

#include <trace_reader/message.h>
#include <trace_reader/sql_text.h>

#include "format.h"

namespace dkom_report
{

namespace
{

constexpr std::int32_t type_environment = 1;
constexpr std::int32_t type_service = 3;
constexpr std::int32_t type_statement = 4;
constexpr std::int32_t type_bind = 5;
constexpr std::int32_t type_define = 6;
constexpr std::int32_t type_parameter = 53;
constexpr std::int32_t attribute_server = 6;

std::string_view first_line(std::string_view text)
{
    return text.substr(0, text.find('\n'));
}

/// The error text in the end record of a failure.
std::string error_in(std::string_view message, std::int64_t result)
{
    constexpr std::size_t longest = 300;
    std::string_view text = trace_reader::value_of(message, "r_bufp").value_or("");
    text = text.substr(0, text.find(", c_sid="));
    if (text.empty())
        return fmt::format("result {}", result);
    return std::string(text.substr(0, longest));
}

} // namespace

std::uint64_t made_address(std::string_view message)
{
    const std::size_t at = message.find("\n\t*");
    if (at == std::string_view::npos)
        return 0;
    const std::string_view line = first_line(message.substr(at + 3));
    return trace_reader::pointer_in(line.substr(line.find('=') + 1));
}

CallRow &Analysis::row_of(std::uint16_t function, Backend backend)
{
    if (report_.functions.size() < names_.size())
        report_.functions.resize(names_.size());
    return report_.functions[function].by_backend[backend];
}

void Analysis::finish(OpenCall &call, const Outcome &outcome, Microseconds at)
{
    const Kind kind = names_[call.function].kind;
    const Microseconds took = at >= call.begin ? at - call.begin : -1; // a clock that was set back
    if (kind == Kind::attach && !outcome.message.empty()) {
        const Backend accepted = current().accepted;
        if (accepted != backend_none)
            call.backend = accepted;
    }
    CallRow &row = row_of(call.function, call.backend);
    row.count++;
    row.failures += outcome.failed ? 1 : 0;
    const bool is_timed = outcome.is_known && took >= 0;
    if (is_timed)
        row.times.add(took, call.begin, outcome.is_bound);
    const Microseconds known_time = is_timed ? took : -1;

    switch (kind) {
    case Kind::attach:
    case Kind::logon:
        finish_attach(call, outcome, known_time);
        break;
    case Kind::detach:
    case Kind::logoff:
        if (!outcome.failed)
            close_connection(call.pointers[0], at);
        break;
    case Kind::attribute_set:
        if (call.type == type_service && call.attribute == attribute_server && !outcome.failed) {
            const Handle *server = handles_.find(call.pointers[1]);
            const std::uint32_t connection = server ? server->connection : 0;
            if (Handle *service = handles_.find_or_add(call.pointers[0]))
                service->connection = connection;
        }
        break;
    case Kind::prepare:
    case Kind::prepare_in_one:
    case Kind::execute:
    case Kind::fetch:
        finish_statement_call(call, outcome, at, known_time);
        break;
    default:
        break;
    }
    finish_handle_call(call, outcome, at);

    Connection *connection = connection_at(call.connection);
    if (connection) {
        connection->calls++;
        connection->failures += outcome.failed ? 1 : 0;
    }
    if (settings_.timeline && known_time >= 0) {
        Event event{call.begin, known_time, call.function, 0, call.backend, outcome.failed, outcome.is_bound};
        if (connection && call.connection <= most_lanes) { // the page shows the first ones
            event.other = call.statement;
            connection->lane.add(event);
        }
        if (Statement *statement = statement_at(call.statement)) {
            event.other = call.connection;
            statement->lane.add(event);
        }
    }
    keep_step(call, outcome, known_time);
}

void Analysis::finish_attach(const OpenCall &call, const Outcome &outcome, Microseconds took)
{
    if (report_.connections.size() >= most_connections) {
        report_.connections_left_out++;
        return;
    }
    Context &context = current();
    const bool is_exact = context.thread == 0;
    const bool is_logon = names_[call.function].kind == Kind::logon;
    Connection connection;
    connection.process = static_cast<std::uint32_t>(report_.processes.size() - 1);
    connection.handle = is_logon ? made_address(outcome.message) : call.pointers[0];
    connection.link = outcome.is_known ? context.link : "";
    connection.call = names_[call.function].name;
    connection.opened = call.begin;
    connection.attach_time = std::max<Microseconds>(took, 0);
    connection.failed = outcome.failed;
    connection.backend = call.backend;
    connection.why = std::move(context.refusals);
    context.refusals.clear();
    if (outcome.failed) {
        if (!is_exact)
            connection.why.push_back(error_in(outcome.message, outcome.result));
        connection.why.push_back(fmt::format("it failed with result {}", outcome.result));
    } else if (!connection.why.empty() || !is_exact) {
        connection.why.push_back(fmt::format("{} accepted it", name_of(call.backend)));
    } else {
        connection.why.emplace_back(call.backend == backend_oracle
                                        ? "Oracle is asked first, and accepted it"
                                        : "the server handle was Dravik's already, and Dravik accepted it");
    }
    report_.connections.push_back(std::move(connection));
    if (outcome.failed)
        return;
    const std::uint64_t address = report_.connections.back().handle;
    if (Handle *handle = address != 0 ? handles_.find_or_add(address) : nullptr)
        handle->connection = static_cast<std::uint32_t>(report_.connections.size());
}

void Analysis::close_connection(std::uint64_t address, Microseconds at)
{
    Handle *handle = address != 0 ? handles_.find(address) : nullptr;
    if (!handle)
        return;
    if (Connection *connection = connection_at(handle->connection))
        connection->closed = at;
}

void Analysis::finish_statement_call(OpenCall &call, const Outcome &outcome, Microseconds at,
                                     Microseconds took)
{
    const Kind kind = names_[call.function].kind;
    Statement *statement = statement_at(call.statement);
    Connection *connection = connection_at(call.connection);
    if (kind == Kind::execute) {
        // A fetch names the statement only; it goes where that was executed.
        if (Handle *handle = call.pointers[1] != 0 ? handles_.find(call.pointers[1]) : nullptr)
            handle->connection = call.connection;
        if (connection) {
            connection->executions++;
            if (took >= 0)
                connection->execute.add(took, call.begin, outcome.is_bound);
        }
        if (!statement)
            report_.statements_left_out++;
    }
    if (!statement)
        return;
    if (statement->first == 0)
        statement->first = call.begin;
    statement->last = at;
    if (kind == Kind::prepare || kind == Kind::prepare_in_one)
        statement->prepares++;
    if (outcome.failed) {
        statement->failures++;
        statement->last_error = error_in(outcome.message, outcome.result);
    }
    if (kind == Kind::execute) {
        statement->executions++;
        statement->backends = static_cast<Backend>(statement->backends | call.backend);
        if (took >= 0)
            statement->execute.add(took, call.begin, outcome.is_bound);
    } else if (kind == Kind::fetch) {
        statement->fetches++;
        if (took >= 0)
            statement->fetch.add(took, call.begin, outcome.is_bound);
    }
}

/// Births and ends of handles in the extended edition, which tells them in the calls themselves.
void Analysis::finish_handle_call(const OpenCall &call, const Outcome &outcome, Microseconds at)
{
    Context &context = current();
    if (context.thread == 0 || outcome.failed || outcome.message.empty())
        return;
    const Kind kind = names_[call.function].kind;
    const auto born = [&](std::int32_t type) {
        now_ = at;
        birth(made_address(outcome.message), type, call.pointers[0]);
        const std::uint64_t address = made_address(outcome.message);
        if (Handle *handle = address != 0 ? handles_.find(address) : nullptr) {
            handle->born_by = call.function;
            handle->last_by = call.function;
            if (kind == Kind::prepare_in_one)
                handle->statement = call.statement;
        }
    };
    switch (kind) {
    case Kind::environment:
        born(type_environment);
        break;
    case Kind::allocate:
    case Kind::allocate_descriptor:
        born(call.type);
        break;
    case Kind::logon:
        born(type_service);
        break;
    case Kind::prepare_in_one:
        born(type_statement);
        break;
    case Kind::parameter:
        born(type_parameter);
        break;
    case Kind::release:
    case Kind::release_descriptor:
    case Kind::logoff:
        death(call.pointers[0],
              call.type > 0          ? call.type
              : kind == Kind::logoff ? type_service
                                     : type_statement,
              false);
        break;
    default:
        break;
    }
}

Handle *Analysis::touch(std::uint64_t address)
{
    if (address == 0)
        return nullptr;
    recent_[recent_place_++ % recent_.size()] = address;
    Handle *handle = handles_.find_or_add(address);
    if (!handle)
        return nullptr;
    if (handle->last_used == 0 && handle->born == 0)
        handle->context = current_;
    else
        current_ = handle->context;
    handle->last_used = now_;
    const auto &stack = current().stack;
    if (!stack.empty())
        handle->last_by = stack.back().function;
    return handle;
}

HandleCount &Analysis::count_of(std::int32_t type)
{
    constexpr std::int32_t most_types = 256;
    const auto place = static_cast<std::size_t>(type >= 0 && type < most_types ? type : 0);
    if (counts_.size() <= place)
        counts_.resize(place + 1);
    return counts_[place];
}

void Analysis::birth(std::uint64_t address, std::int32_t type, std::uint64_t parent)
{
    count_of(type).made++;
    if (address == 0)
        return;
    Handle *handle = handles_.find_or_add(address);
    if (!handle) {
        report_.handles_left_out++;
        return;
    }
    const std::uint32_t live = current().thread == 0 ? handle->live : 0;
    const auto &stack = current().stack;
    *handle = Handle();
    handle->address = address;
    handle->parent = parent;
    handle->born = now_;
    handle->last_used = now_;
    handle->type = type;
    handle->live = live + 1;
    handle->context = current_;
    if (!stack.empty()) {
        handle->born_by = stack.back().function;
        handle->last_by = stack.back().function;
        if (type == type_statement)
            handle->statement = stack.back().statement;
    }
}

/// A handle ends; a type of -1 is that of its birth.
void Analysis::death(std::uint64_t address, std::int32_t type, bool with_statement)
{
    Handle *handle = address != 0 ? handles_.find(address) : nullptr;
    if (type < 0)
        type = handle ? handle->type : 0;
    HandleCount &count = count_of(type);
    (with_statement ? count.with_statement : count.released)++;
    if (!handle)
        return;
    if (handle->live > 0)
        handle->live--;
    handle->died = now_;
    const auto &stack = current().stack;
    if (!stack.empty())
        handle->died_by = stack.back().function;
}

/// Whether a handle went with its environment or another handle above it.
bool Analysis::is_parent_gone(const Handle &handle)
{
    const Handle *h = &handle;
    for (int depth = 0; depth < 8; depth++) {
        const Handle *parent = h->parent != 0 ? handles_.find(h->parent) : nullptr;
        if (!parent || parent == h)
            return false;
        if (parent->died > h->born || (parent->live == 0 && parent->died != 0))
            return true;
        h = parent;
    }
    return false;
}

std::string Analysis::history_of(std::uint64_t address)
{
    const Handle *handle = handles_.find(address);
    if (!handle || (handle->born == 0 && handle->died == 0))
        return process().level >= 30
                   ? "this trace never saw it as a handle: it was made by another thread or process, before the "
                     "trace began, or is none"
                   : "level 30 tells what became of it";
    const std::string type = type_name(handle->type);
    if (handle->live > 0)
        return fmt::format("it is a {} that {} made in another thread", type, names_[handle->born_by].name);
    return fmt::format("it was a {} and was released by {} {} before", type, names_[handle->died_by].name,
                       format_span(now_ - handle->died));
}

std::uint32_t Analysis::statement_of(std::string_view text)
{
    constexpr std::size_t most_texts = 100000;
    const std::size_t hash = std::hash<std::string_view>()(text);
    if (const auto known = known_texts_.find(hash); known != known_texts_.end())
        return known->second;
    std::string shown = settings_.literals ? std::string(text) : trace_reader::sql_shape(text);
    std::uint32_t place = 0;
    if (const auto known = statement_places_.find(shown); known != statement_places_.end()) {
        place = known->second;
    } else if (report_.statements.size() < most_statements) {
        report_.statements.push_back({});
        report_.statements.back().text = shown;
        place = static_cast<std::uint32_t>(report_.statements.size());
        statement_places_.emplace(std::move(shown), place);
    }
    if (known_texts_.size() >= most_texts)
        known_texts_.clear();
    known_texts_.emplace(hash, place);
    return place;
}

void Analysis::keep_step(const OpenCall &call, const Outcome &outcome, Microseconds took)
{
    if (steps_.size() >= steps_kept)
        steps_.pop_front();
    Step step;
    step.at = call.begin;
    step.took = outcome.is_bound ? -1 : took;
    step.function = call.function;
    step.statement = call.statement;
    step.result = outcome.result;
    step.has_result = outcome.has_result;
    step.failed = outcome.failed;
    step.thread = current().thread;
    step.backend = call.backend;
    steps_.push_back(step);
}

/// The last calls, those that are open included.
std::vector<Step> Analysis::last_steps(Microseconds at) const
{
    std::vector<Step> steps(steps_.begin(), steps_.end());
    for (const Context &context : contexts_) {
        for (const OpenCall &call : context.stack) {
            if (call.begin > at)
                continue;
            Step step;
            step.at = call.begin;
            step.function = call.function;
            step.statement = call.statement;
            step.thread = context.thread;
            step.backend = call.backend;
            steps.push_back(step);
        }
    }
    std::ranges::stable_sort(steps, {}, &Step::at);
    return steps;
}

void Analysis::end_process(std::uint64_t bytes)
{
    Process &file = process();
    file.bytes = bytes;
    const auto number = static_cast<std::uint32_t>(report_.processes.size() - 1);
    const bool was_stopped = !report_.stops.empty() && report_.stops.back().process == number;

    // A call that never came back: what its thread did last.
    for (Context &context : contexts_) {
        if (was_stopped || context.stack.empty() || report_.stops.size() >= most_stops)
            continue;
        const OpenCall call = context.stack.back();
        const bool is_last = &context == &contexts_[current_];
        if (names_[call.function].ends_silent && context.thread == 0 && !is_last)
            continue;
        Stop stop;
        stop.process = number;
        stop.at = call.begin;
        stop.is_stop = false;
        stop.function = names_[call.function].name;
        stop.assertion = assertion_;
        stop.last_calls = last_steps(file.last);
        // An exact edition's call without end may well have come back: only an assertion tells that it did
        // not.
        if (!names_[call.function].ends_silent || context.thread != 0 || !assertion_.empty())
            report_.stops.push_back(std::move(stop));
    }
    for (std::uint32_t i = 0; i < contexts_.size(); i++) {
        for (OpenCall &call : contexts_[i].stack) {
            Outcome unknown;
            unknown.is_known = false;
            current_ = i;
            finish(call, unknown, file.last);
        }
        contexts_[i].stack.clear();
    }

    const bool is_exact = file.edition == "exact";
    for (const Handle &handle : handles_.places()) {
        if (handle.address == 0 || handle.live == 0)
            continue;
        const bool goes_with_statement = handle.type == type_bind || handle.type == type_define;
        const bool gone = is_parent_gone(handle);
        if (!is_exact && (goes_with_statement || gone))
            continue;
        count_of(handle.type).left += handle.live;
        if (report_.leaks.size() >= most_leaks) {
            report_.leaks_left_out++;
            continue;
        }
        report_.leaks.push_back({number, handle.address, handle.type, handle.born, handle.born_by,
                                 handle.last_used, handle.last_by, handle.statement, gone});
    }
    for (std::size_t type = 0; type < counts_.size(); type++) {
        HandleCount &count = counts_[type];
        if (count.made + count.released + count.with_statement == 0)
            continue;
        const auto value = static_cast<std::int32_t>(type);
        auto row = std::ranges::find(report_.handles, value, &std::pair<std::int32_t, HandleCount>::first);
        if (row == report_.handles.end())
            row = report_.handles.insert(report_.handles.end(), {value, HandleCount()});
        row->second.made += count.made;
        row->second.released += count.released;
        row->second.with_statement += count.with_statement;
        row->second.left += count.left;
    }
}

Report Analysis::take()
{
    row_of(0, backend_none);
    for (std::size_t i = 0; i < names_.size(); i++)
        report_.functions[i].name = names_[i].name;
    std::ranges::sort(report_.leaks, {}, [](const Leak &leak) { return std::pair(leak.process, leak.born); });
    std::ranges::sort(report_.handles, {}, &std::pair<std::int32_t, HandleCount>::first);
    return std::move(report_);
}

} // namespace dkom_report
