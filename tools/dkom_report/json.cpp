#include "json.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "format.h"

namespace dkom_report
{

namespace
{

using json = nlohmann::ordered_json;

std::string address_text(std::uint64_t address)
{
    return fmt::format("0x{:x}", address);
}

json time_or_null(Microseconds at)
{
    return at == 0 ? json() : json(format_time(at));
}

json statement_text(const Report &report, std::uint32_t place)
{
    return place == 0 ? json() : json(report.statements[place - 1].text);
}

json times_json(const Times &times)
{
    return {{"timed", times.count},
            {"total_us", times.total},
            {"mean_us", times.mean()},
            {"longest_us", times.longest},
            {"longest_at", time_or_null(times.longest_at)},
            {"is_upper_bound", times.is_bound}};
}

json files_json(const Report &report)
{
    json files = json::array();
    for (const Process &p : report.processes)
        files.push_back({{"file", p.name},
                         {"edition", p.edition},
                         {"program", p.program},
                         {"version", p.version},
                         {"bytes", p.bytes},
                         {"records", p.records},
                         {"torn_records", p.torn},
                         {"other_lines", p.other_lines},
                         {"level", p.level},
                         {"first", time_or_null(p.first)},
                         {"last", time_or_null(p.last)}});
    return files;
}

json calls_json(const Report &report, Order order)
{
    json calls = json::array();
    for (const CallLine &line : call_lines(report, order)) {
        json call = {{"function", line.function->name},
                     {"backend", name_of(line.backend)},
                     {"count", line.row->count},
                     {"failures", line.row->failures}};
        call.update(times_json(line.row->times));
        calls.push_back(std::move(call));
    }
    return calls;
}

json statements_json(const Report &report, Order order)
{
    json statements = json::array();
    for (const Statement *s : statement_lines(report, order))
        statements.push_back({{"statement", s->text},
                              {"backend", name_of(s->backends)},
                              {"prepares", s->prepares},
                              {"executions", s->executions},
                              {"failures", s->failures},
                              {"last_error", s->last_error.empty() ? json() : json(s->last_error)},
                              {"total_us", s->total()},
                              {"execute", times_json(s->execute)},
                              {"fetches", s->fetches},
                              {"fetch", times_json(s->fetch)},
                              {"first", time_or_null(s->first)},
                              {"last", time_or_null(s->last)}});
    return statements;
}

json connections_json(const Report &report)
{
    json connections = json::array();
    for (const Connection &c : report.connections)
        connections.push_back({{"link", c.link},
                               {"backend", c.failed ? "-" : name_of(c.backend)},
                               {"failed", c.failed},
                               {"why", c.why},
                               {"call", c.call},
                               {"file", report.processes[c.process].name},
                               {"handle", c.handle == 0 ? json() : json(address_text(c.handle))},
                               {"opened", time_or_null(c.opened)},
                               {"attach_us", c.attach_time},
                               {"closed", time_or_null(c.closed)},
                               {"calls", c.calls},
                               {"failures", c.failures},
                               {"executions", c.executions},
                               {"execute", times_json(c.execute)}});
    return connections;
}

json leaks_json(const Report &report)
{
    json leaks = json::array();
    for (const Leak &leak : report.leaks)
        leaks.push_back({{"handle", address_text(leak.address)},
                         {"type", leak.type},
                         {"type_name", type_name(leak.type)},
                         {"file", report.processes[leak.process].name},
                         {"made", time_or_null(leak.born)},
                         {"made_by", report.functions[leak.born_by].name},
                         {"last_used", time_or_null(leak.last_used)},
                         {"last_used_by", report.functions[leak.last_by].name},
                         {"statement", statement_text(report, leak.statement)},
                         {"parent_is_gone", leak.parent_is_gone}});
    return leaks;
}

json stops_json(const Report &report)
{
    json stops = json::array();
    for (const Stop &stop : report.stops) {
        const StopText words = explain(report, stop);
        json last = json::array();
        for (const Step &step : stop.last_calls)
            last.push_back({{"at", time_or_null(step.at)},
                            {"took_us", step.took < 0 ? json() : json(step.took)},
                            {"function", report.functions[step.function].name},
                            {"backend", name_of(step.backend)},
                            {"result", step.has_result ? json(step.result) : json()},
                            {"failed", step.failed},
                            {"thread", step.thread == 0 ? json() : json(step.thread)},
                            {"statement", statement_text(report, step.statement)}});
        stops.push_back({{"file", report.processes[stop.process].name},
                         {"at", time_or_null(stop.at)},
                         {"is_stop", stop.is_stop},
                         {"title", words.title},
                         {"function", stop.function},
                         {"source", stop.source},
                         {"reason", words.assertion},
                         {"why", words.why},
                         {"what_to_do", words.what_to_do},
                         {"handle", stop.missing == 0 ? json() : json(address_text(stop.missing))},
                         {"argument", stop.missing_argument},
                         {"handle_history", stop.missing_history},
                         {"last_calls", std::move(last)}});
    }
    return stops;
}

json handles_json(const Report &report)
{
    json handles = json::array();
    for (const auto &[type, count] : report.handles)
        handles.push_back({{"type", type},
                           {"type_name", type_name(type)},
                           {"made", count.made},
                           {"released", count.released},
                           {"released_with_statement", count.with_statement},
                           {"never_released", count.left}});
    return handles;
}

json whole(const Report &report, Order order)
{
    return {{"files", files_json(report)},
            {"calls", calls_json(report, order)},
            {"statements", statements_json(report, order)},
            {"connections", connections_json(report)},
            {"handles", handles_json(report)},
            {"never_released", leaks_json(report)},
            {"stops", stops_json(report)},
            {"left_out",
             {{"executions_without_statement", report.statements_left_out},
              {"connections", report.connections_left_out},
              {"never_released", report.leaks_left_out},
              {"handles", report.handles_left_out}}}};
}

/// Traces hold texts of any character set.
std::string dump(const json &value, int indent)
{
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

json lane_json(const Lane &lane, Microseconds origin)
{
    std::vector<Event> events = lane.events();
    std::ranges::sort(events, {}, &Event::at);
    json list = json::array();
    for (const Event &e : events)
        list.push_back({e.at - origin, e.took, e.function, e.other,
                        (e.failed ? 1 : 0) + (e.is_bound ? 2 : 0) + 4 * e.backend});
    // Slices at the end that nothing happened in are left out.
    std::size_t count = lane.busy().size();
    while (count > 0 && lane.busy()[count - 1] == 0)
        count--;
    return {{"calls", lane.count()},
            {"events", std::move(list)},
            {"begin", lane.slice_begin() - origin},
            {"width", lane.slice_width()},
            {"busy", std::vector<std::int64_t>(lane.busy().begin(),
                                               lane.busy().begin() + static_cast<std::ptrdiff_t>(count))}};
}

} // namespace

std::string report_json(const Report &report, const View &view)
{
    return dump(whole(report, view.order), 2);
}

std::string handle_json(std::uint64_t address, const std::vector<std::string> &files,
                        const std::deque<HandleLife> &lives)
{
    json list = json::array();
    for (std::size_t i = 0; i < lives.size(); i++) {
        json entries = json::array();
        for (const HandleLife::Entry &entry : lives[i].entries())
            if (!entry.what.empty())
                entries.push_back({{"at", format_time(entry.at)}, {"what", entry.what}});
        list.push_back({{"file", files[i]},
                        {"uses", lives[i].uses()},
                        {"uses_left_out", lives[i].left_out()},
                        {"life", std::move(entries)}});
    }
    return dump({{"handle", address_text(address)}, {"files", std::move(list)}}, 2);
}

std::string page_json(const Report &report)
{
    const Microseconds origin = report.first();
    json functions = json::array();
    for (const Function &function : report.functions)
        functions.push_back(function.name);

    json lanes = json::array();
    std::size_t left_out = 0;
    for (std::size_t i = 0; i < report.connections.size(); i++) {
        const Connection &c = report.connections[i];
        if (i >= most_lanes) {
            left_out++;
            continue;
        }
        json lane = lane_json(c.lane, origin);
        lane["kind"] = "connection";
        lane["number"] = i + 1;
        lane["name"] = c.link.empty() ? "(link not shown)" : c.link;
        lane["backend"] = c.failed ? "failed" : name_of(c.backend);
        lane["opened"] = c.opened - origin;
        lane["attach"] = c.attach_time;
        lane["closed"] = c.closed == 0 ? json() : json(c.closed - origin);
        lanes.push_back(std::move(lane));
    }
    std::size_t count = 0;
    for (const Statement *s : statement_lines(report, Order::total)) {
        if (count++ >= most_lanes) {
            left_out++;
            continue;
        }
        json lane = lane_json(s->lane, origin);
        lane["kind"] = "statement";
        lane["number"] = s - report.statements.data() + 1;
        lane["name"] = s->text;
        lane["backend"] = name_of(s->backends);
        lanes.push_back(std::move(lane));
    }
    json page = whole(report, Order::total);
    page["origin"] = format_time(origin);
    page["span_us"] = report.last() - origin;
    page["functions"] = std::move(functions);
    page["lanes"] = std::move(lanes);
    page["lanes_left_out"] = left_out;
    std::string text = dump(page, -1);
    // The data stands in a script element, which a text must not end.
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at + 2))
        text.replace(at, 2, "<\\/");
    for (std::size_t at = text.find("<!"); at != std::string::npos; at = text.find("<!", at + 2))
        text.replace(at, 2, "<\\u0021");
    return text;
}

} // namespace dkom_report
