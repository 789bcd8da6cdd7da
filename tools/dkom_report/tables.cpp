#include "tables.h"

#include <algorithm>

#include <fmt/format.h>

#include "format.h"
#include "symptoms.h"

namespace dkom_report
{

namespace
{

using Side = Table::Side;

std::string bold(const View &view, std::string_view text)
{
    return view.colours ? fmt::format("\x1b[1m{}\x1b[0m", text) : std::string(text);
}

std::string red(const View &view, std::string_view text)
{
    return view.colours ? fmt::format("\x1b[31m{}\x1b[0m", text) : std::string(text);
}

std::size_t shown(std::size_t size, const View &view)
{
    return view.limit == 0 ? size : std::min(size, view.limit);
}

std::string more(std::size_t size, const View &view, std::string_view what)
{
    const std::size_t rest = size - shown(size, view);
    return rest == 0 ? ""
                     : fmt::format("... and {} more {} (--limit 0 shows all)\n", format_count(rest), what);
}

/// A span of a sum; "≤" where only an upper bound is known.
std::string span(const Times &times, Microseconds value)
{
    if (times.count == 0)
        return "-";
    return (times.is_bound ? "≤ " : "") + format_span(value);
}

std::string or_dash(std::uint64_t count)
{
    return count == 0 ? "-" : format_count(count);
}

template <class Line, class Key> void sort_down(std::vector<Line> &lines, Key key)
{
    std::ranges::stable_sort(lines, std::ranges::greater(), key);
}

std::string clock(Microseconds at)
{
    const std::string time = format_time(at);
    return time.size() > 11 ? time.substr(11) : time;
}

std::string process_name(const Report &report, std::uint32_t process)
{
    const std::string &path = report.processes[process].name;
    return path == "-" ? "standard input" : path.substr(path.rfind('/') + 1);
}

/// What cannot be told at the level of the traces.
std::string level_note(const Report &report, int needed, std::string_view what)
{
    const int level = report.level();
    if (level >= needed)
        return "";
    return fmt::format("The traces are of level {}: {} from DKOM_LOG_LEVEL={} on.\n", level, what, needed);
}

std::string bound_note(bool is_bound)
{
    return is_bound ? "≤: the exact edition writes no end of these calls, so the time up to the next call of "
                      "their thread stands here.\n"
                    : "";
}

} // namespace

std::vector<CallLine> call_lines(const Report &report, Order order)
{
    std::vector<CallLine> lines;
    for (const Function &function : report.functions)
        for (std::size_t backend = 0; backend < function.by_backend.size(); backend++)
            if (function.by_backend[backend].count > 0)
                lines.push_back({&function, static_cast<Backend>(backend), &function.by_backend[backend]});
    sort_down(lines, [order](const CallLine &line) -> std::uint64_t {
        const CallRow &row = *line.row;
        switch (order) {
        case Order::count:
            return row.count;
        case Order::failures:
            return row.failures;
        case Order::longest:
            return static_cast<std::uint64_t>(row.times.longest);
        case Order::mean:
            return static_cast<std::uint64_t>(row.times.mean());
        default:
            return static_cast<std::uint64_t>(row.times.total);
        }
    });
    return lines;
}

std::vector<const Statement *> statement_lines(const Report &report, Order order)
{
    std::vector<const Statement *> lines;
    for (const Statement &statement : report.statements)
        lines.push_back(&statement);
    sort_down(lines, [order](const Statement *statement) -> std::uint64_t {
        switch (order) {
        case Order::count:
            return statement->executions;
        case Order::failures:
            return statement->failures;
        case Order::longest:
            return static_cast<std::uint64_t>(std::max(statement->execute.longest, statement->fetch.longest));
        case Order::mean:
            return static_cast<std::uint64_t>(statement->execute.mean());
        default:
            return static_cast<std::uint64_t>(statement->total());
        }
    });
    return lines;
}

std::string calls_text(const Report &report, const View &view)
{
    const std::vector<CallLine> lines = call_lines(report, view.order);
    Table table({{"calls", Side::right},
                 {"failed", Side::right},
                 {"total", Side::right},
                 {"mean", Side::right},
                 {"longest", Side::right},
                 {"backend"},
                 {"function"}});
    bool is_bound = false;
    for (std::size_t i = 0; i < shown(lines.size(), view); i++) {
        const Times &times = lines[i].row->times;
        is_bound = is_bound || times.is_bound;
        table.add({format_count(lines[i].row->count), or_dash(lines[i].row->failures),
                   span(times, times.total), span(times, times.mean()), span(times, times.longest),
                   name_of(lines[i].backend), lines[i].function->name});
    }
    if (lines.empty())
        return level_note(report, 30, "calls are told") + "No calls.\n";
    return table.text(view.colours) + more(lines.size(), view, "lines") + bound_note(is_bound) +
           level_note(report, 30, "calls that succeed, and times, are told");
}

std::string statements_text(const Report &report, const View &view)
{
    const std::vector<const Statement *> lines = statement_lines(report, view.order);
    Table table({{"total", Side::right},
                 {"runs", Side::right},
                 {"failed", Side::right},
                 {"mean", Side::right},
                 {"longest", Side::right},
                 {"at"},
                 {"fetches", Side::right},
                 {"fetching", Side::right},
                 {"backend"},
                 {"statement"}});
    constexpr std::size_t other_columns = 95;
    const std::size_t room = std::max<std::size_t>(view.columns, other_columns + 40) - other_columns;
    bool is_bound = false;
    for (std::size_t i = 0; i < shown(lines.size(), view); i++) {
        const Statement &s = *lines[i];
        is_bound = is_bound || s.fetch.is_bound || s.execute.is_bound;
        Times all = s.execute;
        all.count += s.fetch.count;
        all.is_bound = s.execute.is_bound || s.fetch.is_bound;
        table.add({span(all, s.total()), format_count(s.executions), or_dash(s.failures),
                   span(s.execute, s.execute.mean()), span(s.execute, s.execute.longest),
                   clock(s.execute.longest_at), or_dash(s.fetches), span(s.fetch, s.fetch.total),
                   name_of(s.backends), format_line(s.text, room)});
        if (!s.last_error.empty())
            table.add({"", "", "", "", "", "", "", "", "", "  " + format_line(s.last_error, room)});
    }
    if (lines.empty())
        return level_note(report, 30, "statements are told") + "No statements.\n";
    std::string text =
        table.text(view.colours) + more(lines.size(), view, "statements") + bound_note(is_bound);
    if (report.statements_left_out > 0)
        text += fmt::format("{} executions of statements that the trace does not show the text of, or beyond "
                            "the first {} different ones, are left out.\n",
                            format_count(report.statements_left_out), report.statements.size());
    return text;
}

std::string connections_text(const Report &report, const View &view)
{
    if (report.connections.empty())
        return level_note(report, 30, "connections are told") + "No connections.\n";
    std::string text;
    for (std::size_t i = 0; i < shown(report.connections.size(), view); i++) {
        const Connection &c = report.connections[i];
        const std::string where = c.failed ? red(view, "failed") : bold(view, name_of(c.backend));
        text += fmt::format("{}  {} -> {}  {} {} in {}", clock(c.opened),
                            c.link.empty() ? "(link not shown)" : "'" + format_line(c.link, 60) + "'", where,
                            c.call, c.attach_time > 0 ? format_span(c.attach_time) : "-",
                            process_name(report, c.process));
        if (c.handle != 0)
            text += fmt::format(", 0x{:x}", c.handle);
        text += "\n";
        for (const std::string &why : c.why)
            text += "    " + format_line(why, view.columns - 4) + "\n";
        if (!c.failed)
            text += fmt::format("    {} calls, {} executions in {}, {} failures, {}\n", format_count(c.calls),
                                format_count(c.executions), format_span(c.execute.total),
                                format_count(c.failures),
                                c.closed != 0 ? "closed " + clock(c.closed) : "not closed in this trace");
    }
    text += more(report.connections.size(), view, "connections");
    if (report.connections_left_out > 0)
        text += fmt::format("{} connections are left out.\n", format_count(report.connections_left_out));
    return text;
}

std::string leaks_text(const Report &report, const View &view)
{
    if (report.handles.empty())
        return level_note(report, 30, "handles are told") + "No handles.\n";
    Table types({{"made", Side::right},
                 {"released", Side::right},
                 {"with statement", Side::right},
                 {"never", Side::right},
                 {"type"}});
    for (const auto &[type, count] : report.handles)
        types.add({format_count(count.made), or_dash(count.released), or_dash(count.with_statement),
                   or_dash(count.left), type_name(type)});
    std::string text = types.text(view.colours);
    if (report.leaks.empty())
        return text + "Every handle that this trace shows being made was released.\n";
    Table table({{"handle"}, {"type"}, {"made"}, {"by"}, {"last used"}, {"by"}, {"statement"}});
    for (std::size_t i = 0; i < shown(report.leaks.size(), view); i++) {
        const Leak &leak = report.leaks[i];
        std::string note = leak.statement != 0 && leak.statement <= report.statements.size()
                               ? format_line(report.statements[leak.statement - 1].text, 60)
                               : "";
        if (leak.parent_is_gone)
            note += note.empty() ? "its parent is gone" : " (its parent is gone)";
        table.add({fmt::format("0x{:x}", leak.address), type_name(leak.type), clock(leak.born),
                   report.functions[leak.born_by].name, clock(leak.last_used),
                   report.functions[leak.last_by].name, note});
    }
    text += "\n" + bold(view, "Never released") +
            ", oldest first; `dkom-report handle ADDRESS` tells a life\n" + table.text(view.colours) +
            more(report.leaks.size() + report.leaks_left_out, view, "handles");
    if (report.handles_left_out > 0)
        text += fmt::format("{} handles were not followed: more were alive than there is room for.\n",
                            format_count(report.handles_left_out));
    return text;
}

StopText explain(const Report &report, const Stop &stop)
{
    StopText text;
    const std::string in = stop.function.empty() ? "" : " in " + stop.function;
    const std::string where = process_name(report, stop.process);
    if (!stop.is_stop) {
        text.title =
            fmt::format("{}: the trace ends{}, which began {} and has no end", where, in, clock(stop.at));
        if (const auto row = explain_assertion(stop.assertion); row && !stop.assertion.empty()) {
            text.assertion = stop.assertion;
            text.why = row->why;
            text.what_to_do = row->what_to_do;
        } else {
            text.why = "the backend did not come back, or the process ended in the middle: it was killed, or "
                       "crashed without a word from the library";
            text.what_to_do = "see whether the process still runs; if not, look for a core file or a signal";
        }
        return text;
    }
    text.title = fmt::format("{}: stopped {}{} ({})", where, clock(stop.at), in, stop.source);
    if (!stop.reason.empty()) {
        text.assertion = stop.reason;
        if (const auto row = explain_reason(stop.reason)) {
            text.why = row->why;
            text.what_to_do = row->what_to_do;
        }
        return text;
    }
    if (!stop.assertion.empty()) {
        text.assertion = (stop.is_guess ? "assertion (by the handle that was not found): " : "assertion: ") +
                         stop.assertion;
        if (const auto row = explain_assertion(stop.assertion)) {
            text.why = row->why;
            text.what_to_do = row->what_to_do;
        }
        return text;
    }
    if (const auto row = explain_reason("There is a problem. exit now!");
        row && stop.function == "OCILobAssign") {
        text.why = row->why;
        text.what_to_do = row->what_to_do;
        return text;
    }
    text.why = "an assertion failed, which the trace does not name at this level: it stands on the standard "
               "error stream";
    text.what_to_do =
        "give the standard error as a further file, or trace at level 30, which shows the call and "
        "its handles";
    return text;
}

std::string stops_text(const Report &report, const View &view)
{
    if (report.stops.empty())
        return "No stop: no process was ended by the library, and no trace ends inside a call.\n";
    std::string text;
    for (std::size_t i = 0; i < shown(report.stops.size(), view); i++) {
        const Stop &stop = report.stops[i];
        const StopText words = explain(report, stop);
        text += (i > 0 ? "\n" : "") + red(view, words.title) + "\n";
        const auto line = [&](std::string_view title, std::string_view value) {
            if (!value.empty())
                text += fmt::format("  {:<11} {}\n", title, value);
        };
        line("reason", words.assertion);
        line("why", words.why);
        line("what to do", words.what_to_do);
        if (stop.missing != 0)
            line("handle",
                 fmt::format("0x{:x}{} was looked for in vain: {}", stop.missing,
                             stop.missing_argument.empty() ? "" : " (" + stop.missing_argument + ")",
                             stop.missing_history));
        else if (!stop.missing_argument.empty() && stop.is_guess)
            line("handle", fmt::format("the argument {}", stop.missing_argument));
        if (stop.last_calls.empty())
            continue;
        Table table(
            {{"time"}, {"took", Side::right}, {"result", Side::right}, {"backend"}, {"function"}, {""}});
        const std::size_t count =
            std::min<std::size_t>(stop.last_calls.size(), view.limit ? view.limit : 1000);
        for (std::size_t k = stop.last_calls.size() - count; k < stop.last_calls.size(); k++) {
            const Step &step = stop.last_calls[k];
            const Statement *statement =
                step.statement != 0 ? &report.statements[step.statement - 1] : nullptr;
            table.add({clock(step.at), format_span(step.took),
                       step.has_result ? std::to_string(step.result) : "-", name_of(step.backend),
                       report.functions[step.function].name,
                       statement ? format_line(statement->text, 70) : ""});
        }
        text += "  last calls\n" + table.text(view.colours);
    }
    text += more(report.stops.size(), view, "stops");
    return text;
}

std::string overview(const Report &report, const View &view)
{
    View brief = view;
    brief.limit = view.limit == 0 ? 0 : std::min<std::size_t>(view.limit, 10);
    Table files({{"size", Side::right},
                 {"records", Side::right},
                 {"level", Side::right},
                 {"edition"},
                 {"from"},
                 {"to"},
                 {"file"}});
    std::uint64_t torn = 0;
    std::uint64_t other = 0;
    for (const Process &p : report.processes) {
        torn += p.torn;
        other += p.other_lines;
    }
    for (std::size_t i = 0; i < shown(report.processes.size(), view); i++) {
        const Process &p = report.processes[i];
        files.add({format_size(p.bytes), format_count(p.records), std::to_string(p.level),
                   p.edition.empty() ? "-" : p.edition, format_time(p.first), clock(p.last),
                   p.program.empty() ? p.name : p.name + " (" + p.program + ")"});
    }
    std::string text = files.text(view.colours) + more(report.processes.size(), view, "files");
    if (torn + other > 0)
        text += fmt::format("{} records are torn, and {} lines belong to no record.\n", format_count(torn),
                            format_count(other));
    const auto section = [&](std::string_view title, const std::string &body) {
        text += "\n" + bold(view, title) + "\n" + body;
    };
    if (!report.stops.empty()) {
        View stops = brief;
        stops.limit = std::min<std::size_t>(brief.limit, 5);
        section("Stops", stops_text(report, stops));
    }
    section(
        fmt::format("Calls: {}, {} failed", format_count(report.calls()), format_count(report.failures())),
        calls_text(report, brief));
    if (report.level() >= 30) {
        section(fmt::format("Statements: {} different", format_count(report.statements.size())),
                statements_text(report, brief));
        section(fmt::format("Connections: {}", format_count(report.connections.size())),
                connections_text(report, brief));
        section("Handles", leaks_text(report, brief));
    }
    return text;
}

} // namespace dkom_report
