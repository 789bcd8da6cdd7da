// Records, and which call and thread they belong to. What a finished call means is in analysis_calls.cpp.
#include "analysis.h"

#include <algorithm>

#include <fmt/format.h>

#include <trace_reader/message.h>

namespace dkom_report
{

using trace_reader::Level;
using trace_reader::Record;

namespace
{

constexpr std::int32_t environment_type = 1;
constexpr std::int32_t statement_type = 4;
constexpr std::int32_t server_type = 8;
constexpr std::int64_t not_called = 7777;

/// The address behind "key=" or "key[".
std::uint64_t key_in(std::string_view message, std::string_view before)
{
    const std::size_t at = message.find(before);
    return at == std::string_view::npos ? 0 : trace_reader::pointer_in(message.substr(at + before.size()));
}

std::int32_t number_behind(std::string_view message, std::string_view before)
{
    const std::size_t at = message.rfind(before);
    return at == std::string_view::npos
               ? 0
               : static_cast<std::int32_t>(
                     trace_reader::number_in(message.substr(at + before.size())).value_or(0));
}

Backend backend_named(std::string_view name)
{
    return name == "Oracle"              ? backend_oracle
           : name == "Dravik"            ? backend_dravik
           : name == "Oracle and Dravik" ? backend_both
                                         : backend_none;
}

/// Results that are no failures: success, information, more data to give or to come, the end, still
/// executing.
bool is_failure(std::int64_t result)
{
    constexpr std::int64_t others[] = {0, 1, 99, 100, -24200, -3123};
    return std::ranges::count(others, result) == 0;
}

/// The result in an end record; the exact edition has a name for each call's.
std::optional<std::int64_t> result_in(std::string_view message)
{
    const auto dravik = [&]() -> std::optional<std::int64_t> {
        for (const std::string_view before : {", dk_rc=", "\n\treturn dk_rc=", "\n\treturn rc_dk="}) {
            const std::size_t at = message.find(before);
            if (at != std::string_view::npos)
                return trace_reader::number_in(message.substr(at + before.size()));
        }
        return std::nullopt;
    };
    for (const std::string_view name : {"return rc", "rc", "return ora_rc"}) {
        if (const auto value = trace_reader::value_of(message, name)) {
            const auto number = trace_reader::number_in(*value);
            return number == not_called ? dravik().value_or(not_called) : number;
        }
    }
    return dravik();
}

} // namespace

void Analysis::begin_process(const std::string &name)
{
    // The standard error may be given in a file of its own, in front of the trace.
    if (!report_.processes.empty() && process().records > 0)
        assertion_.clear();
    if (assertion_.empty())
        assertion_function_.clear();
    report_.processes.push_back({});
    process().name = name;
    handles_.clear();
    contexts_.clear();
    new_context(0);
    current_ = 0;
    threads_.clear();
    tables_.clear();
    pending_.clear();
    recent_.fill(0);
    steps_.clear();
    counts_.clear();
    reason_.clear();
    missing_ = 0;
    now_ = 0;
    table_ = 0;
    is_fresh_ = false;
}

std::uint32_t Analysis::new_context(std::int64_t thread)
{
    constexpr std::size_t most_contexts = 100000;
    if (contexts_.size() >= most_contexts)
        return 0;
    const auto place = static_cast<std::uint32_t>(contexts_.size());
    contexts_.push_back({});
    contexts_.back().thread = thread;
    return place;
}

std::string_view Analysis::current_function() const
{
    if (contexts_.empty())
        return {};
    const Context &context = contexts_[current_];
    return context.stack.empty() ? std::string_view() : names_[context.stack.back().function].name;
}

void Analysis::record(const Record &record)
{
    Process &file = process();
    file.records++;
    if (record.level == Level::list)
        return;
    if (!record.is_whole())
        file.torn++;
    now_ = record.time;
    if (file.first == 0)
        file.first = record.time;
    file.last = std::max(file.last, record.time);
    file.level = std::max(file.level, trace_reader::level_number(record.level));
    if (file.edition.empty() && record.level != Level::none)
        file.edition = record.thread != 0 ? "extended" : "exact";
    if (record.level == Level::stop) {
        stop_record(record);
    } else if (record.thread != 0) {
        extended_record(record);
    } else {
        const bool began = is_fresh_;
        exact_record(record);
        is_fresh_ = is_fresh_ && !began;
    }
}

void Analysis::other_line(std::string_view line)
{
    if (line.empty())
        return;
    process().other_lines++;
    // Standard error that was put into the same file, or given as one: "...: OCITransCommit: Assertion `...'
    // failed."
    constexpr std::string_view before = ": Assertion `";
    const std::size_t at = line.find(before);
    const std::size_t end = line.rfind("' failed");
    if (at == std::string_view::npos || end == std::string_view::npos || end < at + before.size())
        return;
    assertion_ = line.substr(at + before.size(), end - at - before.size());
    const std::string_view front = line.substr(0, at);
    assertion_function_ = front.substr(front.rfind(' ') + 1);
    for (auto stop = report_.stops.rbegin(); stop != report_.stops.rend(); ++stop) {
        if ((stop->assertion.empty() || stop->is_guess) && stop->is_stop) {
            stop->assertion = assertion_;
            stop->is_guess = false;
            if (stop->function.empty())
                stop->function = assertion_function_;
            break;
        }
    }
}

void Analysis::exact_record(const Record &record)
{
    const std::string_view message = record.message;
    if (record.level == Level::trace) {
        const std::string_view name = trace_reader::function_of_call(record);
        if (name.starts_with("OCI")) // the library's own functions are none
            begin_call(record, name, false);
        return;
    }
    if (message.starts_with("END FUNC - ")) {
        const auto end = trace_reader::end_of_call(message);
        end_call(record, end->function, end->note);
        return;
    }
    if (record.level == Level::error) {
        failure_record(record);
        return;
    }
    if (message.starts_with('[')) {
        std::vector<OpenCall> &stack = current().stack;
        const Backend backend = message.starts_with("[ORACLE]")   ? backend_oracle
                                : message.starts_with("[DRAVIK]") ? backend_dravik
                                                                  : backend_none;
        if (!stack.empty() && backend != backend_none)
            stack.back().backend = static_cast<Backend>(stack.back().backend | backend);
        return;
    }
    if (message.find("hash_table_entry") < 5 || message.starts_with("delete hash table entry")) {
        lookup_record(message);
        return;
    }
    if (message.starts_with("oci_mng_is_oracle_conn: Oracle")) {
        const std::string_view text = trace_reader::value_of(message, "r_bufp").value_or("");
        const std::size_t copy = text.find(", c_sid=");
        current().refusals.push_back(
            fmt::format("Oracle refused it: {}", copy == 0 ? "no reason given" : text.substr(0, copy)));
        return;
    }
    if (message.starts_with("Executed ")) {
        executed_record(message);
        return;
    }
    if (message.starts_with("CONTINUE FUNC - OCIServerAttach to ")) {
        current().accepted =
            message.find("oracle") != std::string_view::npos ? backend_oracle : backend_dravik;
        return;
    }
    if (record.level == Level::info)
        if (const std::string_view name = trace_reader::function_of_call(record); !name.empty())
            begin_call(record, name, true);
}

/// "Executed OCIStmtExecute() to Oracle, rc=0": the backend's own call has come back.
void Analysis::executed_record(std::string_view message)
{
    constexpr std::string_view before = "Executed ";
    const std::string_view rest = message.substr(before.size());
    const std::uint16_t function = names_.number_of(rest.substr(0, rest.find('(')));
    select_context_with(function);
    std::vector<OpenCall> &stack = current().stack;
    const auto call = std::ranges::find(stack.rbegin(), stack.rend(), function, &OpenCall::function);
    if (call == stack.rend())
        return;
    const Backend backend =
        rest.find("to Oracle") != std::string_view::npos ? backend_oracle : backend_dravik;
    call->backend =
        names_[function].kind == Kind::execute ? backend : static_cast<Backend>(call->backend | backend);
}

/// Goes to a thread that has a call of a function open: the current one if it has.
void Analysis::select_context_with(std::uint16_t function)
{
    const auto has_it = [&](const Context &context) {
        return std::ranges::count(context.stack, function, &OpenCall::function) > 0;
    };
    if (has_it(current()))
        return;
    const auto found = std::ranges::find_if(contexts_, has_it);
    if (found != contexts_.end())
        current_ = static_cast<std::uint32_t>(found - contexts_.begin());
}

/// Goes to a thread that is allocating a handle of a type, unless the current one does or may do otherwise.
void Analysis::select_context_with_new(std::int32_t type)
{
    const auto allocates = [&](const Context &context) {
        return !context.stack.empty() && context.stack.back().type == type &&
               (names_[context.stack.back().function].kind == Kind::environment ||
                names_[context.stack.back().function].kind == Kind::allocate ||
                names_[context.stack.back().function].kind == Kind::allocate_descriptor);
    };
    if (allocates(current()))
        return;
    const auto found = std::ranges::find_if(contexts_, allocates);
    if (found != contexts_.end())
        current_ = static_cast<std::uint32_t>(found - contexts_.begin());
}

/// The beginning of a lookup names the table, which is the thread's.
void Analysis::table_record(std::string_view message)
{
    table_ = key_in(message, "tblp[");
    const auto known = tables_.find(table_);
    if (known == tables_.end())
        return;
    const std::uint32_t owner = known->second;
    std::vector<OpenCall> &stack = current().stack;
    if (owner != current_ && is_fresh_ && !stack.empty()) {
        // The call's handles are another thread's, but it is this one's call.
        const OpenCall call = stack.back();
        std::string arguments = current().arguments;
        stack.pop_back();
        current_ = owner;
        start(call);
        current().arguments = std::move(arguments);
    }
    current_ = owner;
}

void Analysis::found_record(std::uint64_t key)
{
    Handle *handle = touch(key);
    if (!handle)
        return;
    if (table_ != 0) {
        handle->context = tables_.emplace(table_, handle->context).first->second;
        current_ = handle->context;
        table_ = 0;
    }
    // OCIStmtPrepare2 was given a statement that is known already.
    auto &stack = current().stack;
    if (handle->type == statement_type && !stack.empty() && stack.back().statement != 0 &&
        names_[stack.back().function].kind == Kind::prepare_in_one)
        handles_.find(key)->statement = stack.back().statement;
}

/// What the registry of the exact edition writes.
void Analysis::lookup_record(std::string_view message)
{
    if (message.starts_with("get_hash_table_entry:tblp[")) {
        table_record(message);
        return;
    }
    const std::uint64_t key = key_in(message, "key=");
    if (message.starts_with("put_")) {
        select_context_with_new(number_behind(message, "type="));
        auto &stack = current().stack;
        birth(key, number_behind(message, "type="), stack.empty() ? 0 : stack.back().pointers[0]);
        if (!stack.empty())
            stack.back().type = 0; // a call makes one handle: the next one is another thread's
    } else if (message.starts_with("del_")) {
        touch(key);
        death(key, -1, false);
    } else if (message.starts_with("delete ")) {
        death(key, number_behind(message, "type="), true);
    } else {
        found_record(key);
    }
}

/// Level 20 of the exact edition but for ends of calls.
void Analysis::failure_record(const Record &record)
{
    const std::string_view message = record.message;
    if (message.find("NOT FOUND") != std::string_view::npos) {
        missing_ = key_in(message, "key=");
        missing_at_ = record.time;
        table_ = 0;
        return;
    }
    // "Fail to bind at oracle", and "ora_func_table.funcs.func_OCIParamGet() returns error(-1)"
    constexpr std::string_view before = "func_OCI";
    const std::size_t at = message.find(before);
    std::string_view function = "OCIBindByName";
    if (at != std::string_view::npos) {
        function = message.substr(at + before.size() - 3);
        function = function.substr(0, function.find('('));
    } else if (!message.starts_with("Fail to bind")) {
        return;
    }
    end_call(record, function, message.starts_with("dk_") ? "DRAVIK" : "ORACLE");
}

void Analysis::extended_record(const Record &record)
{
    const auto known = threads_.find(record.thread);
    current_ = known != threads_.end()
                   ? known->second
                   : threads_.emplace(record.thread, new_context(record.thread)).first->second;
    const std::string_view message = record.message;
    if (const auto end = trace_reader::end_of_call(message)) {
        end_call(record, end->function, end->note);
    } else if (message.starts_with("OCI manager, extended edition ")) {
        constexpr std::string_view title = "OCI manager, extended edition ";
        Process &file = process();
        file.version = message.substr(title.size(), message.find('\n') - title.size());
        file.program = trace_reader::value_of(message, "program").value_or("");
    } else if (record.level == Level::info && message.find(" refused it\n") < 10) {
        const std::string_view text = trace_reader::value_of(message, "r_bufp").value_or("no reason given");
        current().refusals.push_back(fmt::format("{}: {}", message.substr(0, message.find('\n')), text));
    } else if (message.ends_with(" is to serve it")) {
        current().refusals.emplace_back(message); // the route: where it is tried, and in which order
    } else if (message.starts_with("DKOM-")) {
        current().refusals.emplace_back(message.substr(0, message.find('\n')));
    } else if (const std::string_view name = trace_reader::function_of_call(record); !name.empty()) {
        begin_call(record, name, record.level == Level::info);
    }
}

void Analysis::begin_call(const Record &record, std::string_view function, bool has_arguments)
{
    const std::uint16_t number = names_.number_of(function);
    const bool is_exact = record.thread == 0;
    if (!has_arguments && is_exact && !names_[number].is_bare) {
        // The arguments that follow tell the thread.
        if (pending_.size() >= 4 * deepest)
            pending_.erase(pending_.begin());
        pending_.push_back({});
        pending_.back().function = number;
        pending_.back().begin = record.time;
        return;
    }
    OpenCall call;
    if (has_arguments) {
        call = arguments_of(record, number);
    } else {
        call.function = number;
        call.begin = record.time;
    }
    if (is_exact) {
        const auto entry = std::ranges::find(pending_, number, &OpenCall::function);
        if (entry != pending_.end()) {
            call.begin = entry->begin;
            pending_.erase(entry);
        }
        current_ = context_of(call);
        is_fresh_ = true;
    } else if (has_arguments) {
        for (const std::uint64_t pointer : call.pointers)
            if (Handle *handle = handles_.find(pointer); handle && pointer != 0) {
                handle->last_used = record.time;
                handle->last_by = number;
            }
        // The entry record of level 50 has begun the call already.
        auto &stack = current().stack;
        if (!stack.empty() && stack.back().function == number && stack.back().pointers[0] == 0 &&
            stack.back().type == -1) {
            call.begin = stack.back().begin;
            stack.pop_back();
        }
    } else {
        call.type = -1; // arguments are to come
    }
    start(call);
    if (has_arguments) {
        current().arguments = record.message;
        keep_link(record, call);
    }
}

/// The first addresses and the numbers of an argument record that matter.
Analysis::OpenCall Analysis::arguments_of(const Record &record, std::uint16_t function)
{
    OpenCall call;
    call.function = function;
    call.begin = record.time;
    const std::string_view message = record.message;
    std::size_t count = 0;
    int lines = 0;
    for (std::size_t at = message.find("\n\t");
         at != std::string_view::npos && lines < 6 && count < followed_arguments;
         at = message.find("\n\t", at + 2), lines++) {
        const std::size_t equals = message.find('=', at);
        if (equals == std::string_view::npos)
            break;
        const std::string_view value = message.substr(equals + 1);
        if (value.starts_with("0x") || value.starts_with("(nil)"))
            call.pointers[count++] = trace_reader::pointer_in(value);
    }
    switch (names_[function].kind) {
    case Kind::environment:
        call.type = environment_type;
        break;
    case Kind::allocate:
    case Kind::allocate_descriptor:
    case Kind::release:
    case Kind::release_descriptor:
        call.type = static_cast<std::int32_t>(trace_reader::number_of(message, "type").value_or(0));
        break;
    case Kind::attribute_set:
        call.type = static_cast<std::int32_t>(
            trace_reader::number_of(message, record.thread != 0 ? "trghndltyp" : "hdl_type").value_or(0));
        call.attribute = static_cast<std::int32_t>(
            trace_reader::number_of(message, record.thread != 0 ? "attrtype" : "attr_type").value_or(0));
        break;
    case Kind::prepare:
    case Kind::prepare_in_one:
        if (const auto text = trace_reader::passed_text(message, "stmt", "stmt_len"))
            call.statement = statement_of(text->text);
        if (names_[function].kind == Kind::prepare && call.pointers[0] != 0) {
            if (Handle *handle = handles_.find_or_add(call.pointers[0])) {
                handle->type = statement_type;
                handle->statement = call.statement;
                handle->connection = 0; // until it is executed
            }
        }
        break;
    case Kind::execute:
        if (const Handle *statement = handles_.find(call.pointers[1]))
            call.statement = statement->statement;
        if (const Handle *service = handles_.find(call.pointers[0]))
            call.connection = service->connection;
        break;
    case Kind::fetch:
    case Kind::bind:
        if (const Handle *statement = handles_.find(call.pointers[0])) {
            call.statement = statement->statement;
            call.connection = statement->connection;
        }
        break;
    default:
        if (const Handle *first = handles_.find(call.pointers[0]))
            call.connection = first->connection;
    }
    return call;
}

/// The thread of a call of the exact edition: that of its oldest handle, to which the others are counted
/// then. Where threads write in between each other, a new handle may have been taken for another one's.
std::uint32_t Analysis::context_of(const OpenCall &call)
{
    std::array<Handle *, followed_arguments> known{};
    const Handle *oldest = nullptr;
    for (std::size_t i = 0; i < call.pointers.size(); i++) {
        known[i] = call.pointers[i] != 0 ? handles_.find(call.pointers[i]) : nullptr;
        if (known[i] &&
            (!oldest || (known[i]->live > 0 && (oldest->live == 0 || known[i]->born < oldest->born))))
            oldest = known[i];
    }
    if (oldest) {
        for (Handle *handle : known)
            if (handle)
                handle->context = oldest->context;
        return oldest->context;
    }
    // Another environment may be another thread's.
    if (names_[call.function].kind == Kind::environment && !handles_.places().empty())
        return new_context(0);
    return current_;
}

void Analysis::start(const OpenCall &call)
{
    close_silent_calls(call.begin);
    Context &context = current();
    if (context.stack.size() >= deepest) {
        OpenCall lost = context.stack.front();
        context.stack.erase(context.stack.begin());
        Outcome unknown;
        unknown.is_known = false;
        finish(lost, unknown, call.begin);
    }
    context.stack.push_back(call);
    const Kind kind = names_[call.function].kind;
    if (kind == Kind::attach || kind == Kind::logon) {
        context.refusals.clear();
        context.accepted = backend_none;
    }
}

void Analysis::keep_link(const Record &record, const OpenCall &call)
{
    const Kind kind = names_[call.function].kind;
    if (kind != Kind::attach && kind != Kind::logon)
        return;
    struct LinkArgument {
        std::string_view name;
        std::string_view length;
    };
    constexpr LinkArgument arguments[] = {
        {"dblink", "dblink_len"}, {"dbname", "dbname_len"}, {"poolName", "poolName_len"}};
    Context &context = current();
    context.link.clear();
    for (const LinkArgument &argument : arguments)
        if (const auto text = trace_reader::passed_text(record.message, argument.name, argument.length))
            context.link = text->text;
}

/// A call that tells no end of its own has ended when its thread begins another.
void Analysis::close_silent_calls(Microseconds at)
{
    std::vector<OpenCall> &stack = current().stack;
    const bool is_exact = current().thread == 0;
    while (is_exact && !stack.empty() && names_[stack.back().function].ends_silent) {
        OpenCall call = stack.back();
        stack.pop_back();
        Outcome outcome;
        outcome.is_bound = true;
        finish(call, outcome, at);
    }
}

void Analysis::end_call(const Record &record, std::string_view function, std::string_view note)
{
    const std::uint16_t number = names_.number_of(function);
    const std::string_view message = record.message;
    if (record.thread == 0) {
        const Handle *made = handles_.find(made_address(message));
        if (made && made->address != 0)
            current_ = made->context;
        select_context_with(number);
    }
    Outcome outcome;
    outcome.message = message;
    const auto result = result_in(message);
    outcome.has_result = result.has_value();
    outcome.result = result.value_or(0);
    const bool is_error = record.level == Level::error;
    const bool is_code = record.thread == 0 || is_error;
    outcome.failed = result ? is_code && is_failure(*result) : is_error;
    if (!result && is_error) {
        constexpr std::string_view before = "error(";
        const std::size_t at = message.find(before);
        outcome.result = at == std::string_view::npos
                             ? -1
                             : trace_reader::number_in(message.substr(at + before.size())).value_or(-1);
        outcome.has_result = true;
    }

    OpenCall call;
    std::vector<OpenCall> &stack = current().stack;
    const auto open = std::ranges::find(stack.rbegin(), stack.rend(), number, &OpenCall::function);
    if (open != stack.rend()) {
        call = *open;
        if (is_error && record.thread == 0 && names_[number].kind == Kind::release) {
            open->has_failed = true; // its last record is still to come
            return;
        }
        // Calls that began within it and tell no end stay: they may be another thread's.
        stack.erase(std::next(open).base());
        outcome.failed = outcome.failed || call.has_failed;
    } else {
        if (record.thread == 0)
            close_silent_calls(record.time);
        outcome.is_known = false;
        call.function = number;
        call.begin = record.time;
    }
    // Detaching shows no arguments: it is about the server that was found last.
    if (names_[number].kind == Kind::detach && call.pointers[0] == 0) {
        for (const std::uint64_t handle : recent_) {
            const Handle *server = handle != 0 ? handles_.find(handle) : nullptr;
            if (server && server->type == server_type && server->connection != 0) {
                call.pointers[0] = handle;
                call.connection = server->connection;
            }
        }
    }
    if (record.thread != 0)
        call.backend = backend_named(trace_reader::value_of(message, "backend").value_or(""));
    else if (call.backend == backend_none)
        call.backend =
            note.find("DRAVIK") != std::string_view::npos || note.find("Dravik") != std::string_view::npos
                ? backend_dravik
            : note.find("ORACLE") != std::string_view::npos || note.find("Oracle") != std::string_view::npos
                ? backend_oracle
                : backend_none;
    // What other threads write in between does not count: a connection stays where it went.
    if (const Connection *connection = connection_at(call.connection);
        connection && record.thread == 0 && !connection->failed)
        call.backend = connection->backend;
    finish(call, outcome, record.time);
}

/// Which handle was looked for in vain, under which name it was passed, and so which assertion has failed:
/// they are called after the argument.
void Analysis::explain_missing(Stop &stop)
{
    const bool is_recent = missing_ != 0 && stop.at - missing_at_ < 1000000;
    const std::string wanted = is_recent ? fmt::format("=0x{:x}", missing_) : "=(nil)";
    const std::string &arguments = current().arguments;
    if (is_recent) {
        stop.missing = missing_;
        stop.missing_history = history_of(missing_);
    }
    if (stop.function.empty() || !arguments.starts_with("OCI"))
        return;
    if (!is_recent && stop.function == "OCIAttrSet")
        stop.missing_argument = "attr"; // a plain attribute is looked for nowhere
    for (std::size_t at = arguments.find("\n\t"); at != std::string::npos && stop.missing_argument.empty();
         at = arguments.find("\n\t", at + 2)) {
        const std::size_t equals = arguments.find('=', at);
        if (equals == std::string::npos || arguments.compare(equals, wanted.size(), wanted) != 0)
            continue;
        const std::size_t end = equals + wanted.size();
        if (end == arguments.size() || arguments[end] == '\n')
            stop.missing_argument = arguments.substr(at + 2, equals - at - 2);
    }
    if (stop.missing_argument.empty() || !stop.assertion.empty())
        return;
    stop.assertion = fmt::format("w{} != ((void *)0)",
                                 stop.function == "OCIServerAttach" ? "hdlp" : stop.missing_argument);
    stop.is_guess = true;
}

void Analysis::stop_record(const Record &record)
{
    if (record.thread != 0 || !record.message.starts_with("There is a problem. exit now!")) {
        reason_ = record.message;
        return;
    }
    if (report_.stops.size() < most_stops) {
        Stop stop;
        stop.process = static_cast<std::uint32_t>(report_.processes.size() - 1);
        stop.at = record.time;
        stop.source = fmt::format("{}:{}", record.file, record.line);
        stop.reason = reason_;
        stop.function = current_function();
        if (stop.function.empty())
            stop.function = assertion_function_;
        stop.assertion = assertion_;
        if (reason_.empty())
            explain_missing(stop);
        stop.last_calls = last_steps(record.time);
        report_.stops.push_back(std::move(stop));
    }
    reason_.clear();
}

} // namespace dkom_report
