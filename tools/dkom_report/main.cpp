#include <cerrno>
#include <cstdio>
#include <cstring>
#include <deque>
#include <fstream>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <dkom_version.h>
#include <dkomsql/progress.h>
#include <trace_reader/message.h>
#include <trace_reader/source.h>

#include "analysis.h"
#include "format.h"
#include "handle_life.h"
#include "json.h"
#include "page.h"
#include "tables.h"

namespace
{

using namespace dkom_report;

/// What the program answers to the shell that started it.
enum ExitStatus { exit_ok = 0, exit_no_trace = 1, exit_usage = 2 };

constexpr const char *description =
    "Tells what traces of the OCI manager say, of libdkom.so and of libdkomx.so.\n"
    "FILE is an om_PROCESS.log, plain or packed by gzip; - is the standard input.\n"
    "Without a command: an overview of all of it.\n";

constexpr const char *footer =
    "Examples:\n"
    "  dkom-report om_4711.log                       what happened?\n"
    "  dkom-report statements om_*.log               which statements are slow?\n"
    "  dkom-report statements --sort longest --limit 5 om_*.log.gz\n"
    "  dkom-report connections om_4711.log           which database served a link, and why?\n"
    "  dkom-report stop om_4711.log errors.txt       why was the process stopped? (errors.txt: its\n"
    "                                                standard error, if there is one)\n"
    "  dkom-report leaks om_4711.log                 which handles were never released?\n"
    "  dkom-report handle 0x55d0c8a3f2e0 om_4711.log the life of one handle\n"
    "  dkom-report --json om_4711.log | jq .calls    for programs\n"
    "  dkom-report --html day.html om_*.log          a timeline to look at in a browser\n"
    "\n"
    "Traces of level 30 tell calls, statements, connections and handles; those of level 20 failures,\n"
    "those of level 10 stops only.\n"
    "\n"
    "Exit status: 0 the traces were read, 1 a file could not be read or holds no record, 2 wrong usage.\n"
    "\n"
    "Environment:\n"
    "  NO_COLOR   no colours on the terminal\n";

enum class What { overview, calls, statements, connections, leaks, handle, stop };

struct Arguments {
    What what = What::overview;
    std::vector<std::string> files;
    std::string address;
    std::string order = "total";
    std::size_t limit = 20;
    std::string html;
    bool json = false;
    bool wide = false;
    bool literals = false;
};

void declare_options(CLI::App &app, Arguments &arguments)
{
    struct Command {
        What what;
        const char *name;
        const char *text;
    };
    constexpr Command commands[] = {
        {What::calls, "calls", "Calls by function and backend: counts, failures, times"},
        {What::statements, "statements", "Statements: counts, failures, times; slowest first"},
        {What::connections, "connections", "Which connection went where, and why"},
        {What::leaks, "leaks", "Handles by type, and those that were never released"},
        {What::handle, "handle", "The life of one handle"},
        {What::stop, "stop", "Why a process was stopped, and its last calls"},
    };
    const auto add_files = [&arguments](CLI::App *to) {
        to->add_option("FILE", arguments.files, "Traces; - is the standard input")->required();
    };
    // Options may stand on either side of the command.
    app.fallthrough();
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.require_subcommand(0, 1);
    for (const Command &command : commands) {
        CLI::App *sub = app.add_subcommand(command.name, command.text);
        sub->fallthrough();
        if (command.what == What::handle)
            sub->add_option("ADDRESS", arguments.address, "The handle, as records show it: 0x55d0c8a3f2e0")
                ->required();
        add_files(sub);
        sub->callback([&arguments, what = command.what] { arguments.what = what; });
    }
    app.add_option("FILE", arguments.files, "Traces; - is the standard input");
    app.add_option("-s,--sort", arguments.order, "What calls and statements are sorted by")
        ->type_name("total|longest|mean|count|failures")
        ->check(CLI::IsMember({"total", "longest", "mean", "count", "failures"}).description(""))
        ->capture_default_str();
    app.add_option("-n,--limit", arguments.limit, "Rows of a table, uses of a handle; 0: all")
        ->type_name("ROWS")
        ->capture_default_str();
    app.add_flag("-w,--wide", arguments.wide, "Show texts whole, however long the lines become");
    app.add_flag(
        "--literals", arguments.literals,
        "Statements that differ in literals only are different ones, and are shown with their values");
    app.add_flag("--json", arguments.json, "Write all of it as JSON; times are in microseconds");
    app.add_option("--html", arguments.html,
                   "Write a page with a timeline into this file, to be opened in a browser")
        ->type_name("OUT");
    app.set_version_flag("-V,--version", "dkom-report " DKOM_VERSION);
    app.footer(footer);
}

Order order_named(std::string_view name)
{
    return name == "longest"    ? Order::longest
           : name == "mean"     ? Order::mean
           : name == "count"    ? Order::count
           : name == "failures" ? Order::failures
                                : Order::total;
}

std::size_t terminal_columns()
{
    constexpr std::size_t columns_of_a_file = 200;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return columns_of_a_file;
}

/// Reads a file. Returns its size, or null if it cannot be read, which is said.
std::optional<std::uint64_t> read_file(const std::string &path, bool skip_rows,
                                       trace_reader::Visitor &visitor)
{
    constexpr std::uint64_t big = 64 << 20;
    std::optional<dkomsql::ProgressBar> bar;
    try {
        return trace_reader::read_trace(path, skip_rows, visitor,
                                        [&](std::uint64_t read, std::uint64_t total) {
                                            if (!bar)
                                                bar.emplace(total, "MB");
                                            if (read >= big)
                                                bar->update(read, read / 1000000);
                                        });
    } catch (const trace_reader::SourceError &error) {
        bar.reset();
        fmt::print(stderr, "dkom-report: {}\n", error.what());
        return std::nullopt;
    }
}

int show_handle(const Arguments &arguments, const View &view)
{
    const std::uint64_t address = trace_reader::pointer_in(
        arguments.address.starts_with("0x") ? arguments.address : "0x" + arguments.address);
    if (address == 0) {
        fmt::print(stderr, "dkom-report: '{}' is no address; records show them like 0x55d0c8a3f2e0\n",
                   arguments.address);
        return exit_usage;
    }
    std::deque<HandleLife> lives; // of each file: another process has another handle under the address
    bool all = true;
    for (const std::string &path : arguments.files) {
        lives.emplace_back(address, arguments.limit);
        all = read_file(path, false, lives.back()).has_value() && all;
    }
    if (arguments.json) {
        fmt::print("{}\n", handle_json(address, arguments.files, lives));
        return all ? exit_ok : exit_no_trace;
    }
    bool is_known = false;
    for (std::size_t i = 0; i < lives.size(); i++) {
        const auto entries = lives[i].entries();
        if (!entries.empty() && lives.size() > 1)
            fmt::print("{}{}\n", is_known ? "\n" : "", arguments.files[i]);
        is_known = is_known || !entries.empty();
        for (const HandleLife::Entry &entry : entries) {
            if (entry.what.empty())
                fmt::print("... {} uses are left out (--limit 0 shows all)\n",
                           format_count(lives[i].left_out()));
            else
                fmt::print("{}  {}\n", format_time(entry.at), format_line(entry.what, view.columns - 28));
        }
    }
    if (!is_known)
        fmt::print("0x{:x} is in no record that was read.\n", address);
    return all ? exit_ok : exit_no_trace;
}

/// The page may hold what the trace holds, so it is the owner's alone.
bool write_page(const std::string &path, const Report &report)
{
    constexpr mode_t others = 077;
    const mode_t before = umask(others);
    std::ofstream file(path, std::ios::binary);
    umask(before);
    file << page_of(report) << std::flush;
    if (!file)
        fmt::print(stderr, "dkom-report: cannot write '{}': {}\n", path, std::strerror(errno));
    return static_cast<bool>(file);
}

int run(const Arguments &arguments)
{
    View view;
    view.limit = arguments.limit;
    view.order = order_named(arguments.order);
    view.columns = arguments.wide ? 1000000 : terminal_columns();
    view.colours = dkomsql::colours_allowed(STDOUT_FILENO);
    if (arguments.what == What::handle)
        return show_handle(arguments, view);

    Analysis::Settings settings;
    settings.literals = arguments.literals;
    settings.timeline = !arguments.html.empty();
    Analysis analysis(settings);
    bool all = true;
    for (const std::string &path : arguments.files) {
        analysis.begin_process(path);
        const auto bytes = read_file(path, true, analysis);
        analysis.end_process(bytes.value_or(0));
        all = all && bytes;
    }
    const Report report = analysis.take();
    std::uint64_t records = 0;
    for (const Process &process : report.processes)
        records += process.records;

    if (records > 0 && !arguments.html.empty()) {
        if (!write_page(arguments.html, report))
            return exit_no_trace;
    } else if (arguments.json) {
        fmt::print("{}\n", report_json(report, view));
    } else if (records > 0) {
        const auto text = [&] {
            switch (arguments.what) {
            case What::calls:
                return calls_text(report, view);
            case What::statements:
                return statements_text(report, view);
            case What::connections:
                return connections_text(report, view);
            case What::leaks:
                return leaks_text(report, view);
            case What::stop:
                return stops_text(report, view);
            default:
                return overview(report, view);
            }
        }();
        fmt::print("{}", text);
    }
    if (records == 0 && all)
        fmt::print(stderr, "dkom-report: there is no record of the OCI manager in what was read\n");
    return all && records > 0 ? exit_ok : exit_no_trace;
}

int parse_and_run(int argc, char **argv)
{
    CLI::App app(description, "dkom-report");
    Arguments arguments;
    declare_options(app, arguments);
    try {
        app.parse(argc, argv);
        if (arguments.files.empty())
            throw CLI::RequiredError("FILE");
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_ok : exit_usage;
    }
    return run(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fputs("dkom-report: ", stderr);
        std::fputs(error.what(), stderr);
        std::fputs("\n", stderr);
        return exit_no_trace;
    }
}
