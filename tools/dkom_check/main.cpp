#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "attach_check.h"
#include "backend_check.h"
#include "dkom_version.h"
#include "program_check.h"
#include "trace_check.h"

namespace
{

using namespace dkom_check;

enum ExitStatus { exit_starts = 0, exit_fault = 1, exit_usage = 2, exit_refused = 3, exit_broken = 4 };

constexpr const char *description =
    "Looks at what libdkom.so or libdkomx.so would find, with the variables of this shell: the client\n"
    "libraries, the trace, what PROGRAM (or a shared library) calls, and which backend serves a link.\n"
    "A verdict a line: ok, warning, refused, fault; what to do stands below.\n";

constexpr const char *footer =
    "Examples:\n"
    "  dkom-check                                 would a program start?\n"
    "  dkom-check ./program                       would this one, and does the edition serve its calls?\n"
    "  dkom-check --attach hr                     which backend serves the link, and what did each say?\n"
    "  dkom-check --edition extended --attach hr --user scott\n"
    "\n"
    "Exit status: 0 a program would start (and is connected, with --attach), 1 it would not, or would stop\n"
    "at a call that it makes, 2 wrong usage, 3 it would start, but not get its connection, 4 the check\n"
    "itself failed.\n"
    "\n"
    "Environment: what the libraries read, of which DKOM_ORA_LIB_PATH and DKOM_DRK_LIB_PATH come first; the\n"
    "password in DKOM_CHECK_PASSWORD; NO_COLOR for no colours on a terminal.\n";

struct Arguments {
    std::string program;
    std::string edition;
    std::string link;
    std::string user;
    std::string password_file;
    std::string expected;
    double timeout = 20;
    bool json = false;
};

class UsageError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

void declare_options(CLI::App &app, Arguments &arguments)
{
    app.add_option("PROGRAM", arguments.program, "A program, or a shared library that makes OCI calls");
    app.add_option(
           "-e,--edition", arguments.edition,
           "The edition to check: exact or extended (default: the one that PROGRAM is linked with, or exact)")
        ->type_name("EDITION")
        ->check(CLI::IsMember({"exact", "extended"}).description(""));
    auto *attach =
        app.add_option("-a,--attach", arguments.link, "Attach to the database LINK and detach again")
            ->type_name("LINK");
    auto *user =
        app.add_option("-u,--user", arguments.user,
                       "Begin a session too, as NAME; /: with external credentials. The password is asked "
                       "for, unless DKOM_CHECK_PASSWORD or --password-file has it")
            ->type_name("NAME")
            ->needs(attach);
    app.add_option("--password-file", arguments.password_file,
                   "Read the password from the first line of FILE")
        ->type_name("FILE")
        ->needs(user);
    app.add_option("--expect", arguments.expected, "The backend that is to serve the link: oracle or dravik")
        ->type_name("BACKEND")
        ->check(CLI::IsMember({"oracle", "dravik"}).description(""))
        ->needs(attach);
    app.add_option("--timeout", arguments.timeout, "Longest wait for each piece of work, in seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 3600.0).description(""))
        ->capture_default_str();
    app.add_flag("--json", arguments.json, "Write the report as JSON, with whole lists");
    app.set_version_flag("-V,--version", "dkom-check " DKOM_VERSION);
    app.footer(footer);
}

std::string find_password(const Arguments &arguments)
{
    if (!arguments.password_file.empty()) {
        std::ifstream file(arguments.password_file);
        std::string line;
        if (!std::getline(file, line))
            throw UsageError(
                fmt::format("{} has no first line that could be a password", arguments.password_file));
        return line;
    }
    if (const char *value = std::getenv("DKOM_CHECK_PASSWORD")) {
        std::string password = value;
        unsetenv("DKOM_CHECK_PASSWORD"); // programs that are started need not know it
        return password;
    }
    const char *typed = getpass(fmt::format("Password of {}: ", arguments.user).c_str());
    if (typed == nullptr)
        throw UsageError(
            "there is no terminal to ask for the password; give it in DKOM_CHECK_PASSWORD or with "
            "--password-file");
    return typed;
}

/// The connection that is asked for. Passwords of an edition that takes none are not asked for.
Attach attach_of(const Arguments &arguments, Edition edition)
{
    Attach attach{arguments.link, std::nullopt, "", std::nullopt};
    if (!arguments.expected.empty())
        attach.expected = arguments.expected == "oracle" ? oracle : dravik;
    if (arguments.user.empty())
        return attach;
    if (edition == Edition::exact && arguments.user != "/")
        throw UsageError(
            "the exact edition takes external credentials only: say --user /, or --edition extended");
    attach.user = arguments.user;
    if (arguments.user != "/")
        attach.password = find_password(arguments);
    return attach;
}

Edition edition_of(const Arguments &arguments, const Program &program)
{
    if (!arguments.edition.empty())
        return arguments.edition == "exact" ? Edition::exact : Edition::extended;
    return program.edition.value_or(Edition::exact);
}

Report check(const Arguments &arguments)
{
    Report report;
    Subject subject;
    subject.timeout = std::chrono::milliseconds(static_cast<long>(arguments.timeout * 1000));
    Program program;
    if (!arguments.program.empty())
        program = check_program(find_program(arguments.program), subject.timeout, report);
    subject.edition = edition_of(arguments, program);
    if (!program.calls.empty())
        subject.uses = program.calls;
    Attach attach;
    if (!arguments.link.empty())
        attach = attach_of(arguments, subject.edition);
    check_calls(program, subject.edition, report);
    // With --edition another one than the program's may be asked for.
    subject.path_of_library =
        check_library(subject.edition, program.edition == subject.edition ? program.path_of_library : "",
                      subject.timeout, report);
    const Usable usable = check_backends(subject, report);
    if (subject.edition == Edition::extended)
        check_routes(report);
    check_trace(subject.edition, report);
    if (!arguments.link.empty()) {
        if (usable.starts && !subject.path_of_library.empty())
            check_attach(subject, usable, attach, report);
        else
            report.add({Verdict::refused,
                        "link",
                        fmt::format("{} is not tried, since nothing starts", attach.link),
                        "see the faults above",
                        {}});
    }
    return report;
}

int exit_status(Verdict worst)
{
    switch (worst) {
    case Verdict::fault:
        return exit_fault;
    case Verdict::refused:
        return exit_refused;
    case Verdict::ok:
    case Verdict::warning:
        break;
    }
    return exit_starts;
}

int parse_and_run(int argc, char **argv)
{
    CLI::App app(description, "dkom-check");
    Arguments arguments;
    declare_options(app, arguments);
    try {
        app.parse(argc, argv);
        const Report report = check(arguments);
        if (arguments.json)
            fmt::print("{}\n",
                       report.as_json().dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        else
            report.print(stdout, isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr);
        if (std::fflush(stdout) != 0)
            throw std::runtime_error("the report could not be written");
        return exit_status(report.worst());
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_starts : exit_usage;
    } catch (const UsageError &error) {
        fmt::print(stderr, "dkom-check: {}\n", error.what());
        return exit_usage;
    }
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fputs("dkom-check: ", stderr);
        std::fputs(error.what(), stderr);
        std::fputs("\n", stderr);
        return exit_broken;
    }
}
