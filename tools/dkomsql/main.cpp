#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "connector.h"
#include "interactive.h"
#include "interrupt.h"
#include "libraries.h"
#include "meta_commands.h"
#include "shell.h"
#include "status.h"
#include "utf8.h"

namespace
{

using namespace dkomsql;

/// What the program answers to the shell that started it.
enum ExitStatus {
    exit_ok = 0,
    exit_sql_error = 1,
    exit_usage = 2,
    exit_no_connection = 3,
    exit_interrupted = 130
};

constexpr const char *description =
    "Runs SQL on a database through the OCI manager.\n"
    "LINK names the database as OCIServerAttach takes it: the Oracle library is asked\n"
    "first, then Dravik's. Without -e, -f and --status, statements are read from the\n"
    "standard input, interactively when that is a terminal.\n";

constexpr const char *examples =
    "Statements end with ; or with a line that holds only /. Changes are committed at once,\n"
    "unless --no-autocommit is given.\n"
    "\n"
    "Without USER@ the session begins with external credentials. With it, the password is read\n"
    "from --password-file, from DKOMSQL_PASSWORD, or asked for; it is never an argument, which\n"
    "other users could see.\n"
    "\n"
    "Examples:\n"
    "  dkomsql world                                         type statements\n"
    "  dkomsql scott@world                                   the same, with a password\n"
    "  dkomsql world -e 'SELECT name FROM city'              run one and leave\n"
    "  dkomsql world --bind id=7 -e 'SELECT name FROM city WHERE id = :id'\n"
    "  dkomsql world --format csv -e 'SELECT * FROM city' > city.csv\n"
    "  dkomsql world -e '\\copy city.csv city header'         load a CSV file\n"
    "  dkomsql world -e '\\copy - city(id, name)' < city.csv  the same from a pipe\n"
    "  dkomsql world -e '\\lob logo.png SELECT logo FROM city WHERE id = 7'\n"
    "  dkomsql world --continue -f load.sql                  run all of a script\n"
    "  dkomsql world --status                                who serves the connection?\n"
    "\n"
    "Exit status: 0 all went well, 1 a statement or command failed, 2 wrong usage,\n"
    "3 no connection, 130 ended with Ctrl-C.\n"
    "\n"
    "Environment:\n"
    "  DKOM_ORA_LIB_PATH, DKOM_DRK_LIB_PATH  directories of libclntsh.so and libdkoci.so\n"
    "  DKOM_ROUTES                           which of them serves a link, by name\n"
    "  DKOM_LOG_LEVEL, DKOM_LOG_PATH         level (10 to 50) and directory of the trace\n"
    "  DKOMSQL_PASSWORD                      password of USER\n"
    "  PAGER, VISUAL, EDITOR                 programs for long results and for \\e\n"
    "  XDG_CONFIG_HOME, XDG_STATE_HOME       the start-up file and the history go below them\n"
    "  NO_COLOR                              no colours on the terminal\n"
    "\n"
    "Files: a session at the terminal runs ~/.config/dkomsql/startup.sql, or ~/.dkomsqlrc, first.\n"
    "\n"
    "Commands:\n";

struct Arguments {
    std::string target;
    std::string password_file;
    std::vector<std::string> statements;
    std::vector<std::string> files;
    std::vector<std::string> binds;
    std::string format = "table";
    bool no_header = false;
    bool status = false;
    bool stop_on_error = false;
    bool keep_going = false;
    bool timing = false;
    bool no_autocommit = false;
    bool no_startup = false;
    bool no_pager = false;
    Settings settings;
};

/// A piece of work from the command line.
struct Job {
    bool is_file = false;
    std::string text; // a file name, or SQL
};

void declare_options(CLI::App &app, Arguments &arguments)
{
    app.add_option("LINK", arguments.target, "The database to connect to, LINK or USER@LINK")
        ->required()
        ->type_name("");
    app.add_option("--password-file", arguments.password_file,
                   "The first line of FILE is USER's password; others must not be able to read it")
        ->type_name("FILE");
    app.add_option("-e,--execute", arguments.statements, "Run these statements; may be repeated")
        ->type_name("SQL")
        ->allow_extra_args(false);
    app.add_option("-f,--file", arguments.files, "Run a script (-: the standard input); may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_option("--format", arguments.format, "How rows are written")
        ->type_name("table|csv|json")
        ->check(CLI::IsMember({"table", "csv", "json"}).description(""))
        ->capture_default_str();
    app.add_flag("--no-header", arguments.no_header, "No line with the column names, no row count");
    app.add_option("-b,--bind", arguments.binds,
                   "Give the placeholder :NAME a value (no =: NULL); may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    app.add_option("--max-value", arguments.settings.longest_value,
                   "Show the beginning of values that are longer than this (at most 65535)")
        ->type_name("BYTES")
        ->check(CLI::Range(std::size_t{1}, longest_array_value).description(""));
    app.add_option("--null", arguments.settings.null_text, "What stands for NULL in tables and CSV")
        ->type_name("TEXT");
    app.add_flag("-x,--expanded", arguments.settings.expanded, "Tables with a line for each value");
    app.add_flag("--json-numbers", arguments.settings.json_numbers,
                 "Write numbers as numbers in JSON, not as texts");
    app.add_flag("--types", arguments.settings.types, "Show the types of columns below their names");
    app.add_flag("--no-autocommit", arguments.no_autocommit,
                 "Commit only when told to; changes that are not committed at the end are undone");
    app.add_flag("--timing", arguments.timing, "Show how long statements take");
    app.add_flag("--no-startup", arguments.no_startup, "Do not run the start-up file");
    app.add_flag("--no-pager", arguments.no_pager, "Show long results without PAGER");
    app.add_flag("--status", arguments.status, "Show the connection and the libraries that serve it");
    auto *stop = app.add_flag("--stop-on-error", arguments.stop_on_error,
                              "End a script at the first error (the default)");
    app.add_flag("--continue", arguments.keep_going, "Go on with a script after an error")->excludes(stop);
    app.set_version_flag("-V,--version",
                         fmt::format("dkomsql {} ({} edition)", DKOMSQL_VERSION, edition_name()));
    app.footer(examples + meta_command_help());
}

/// The -e and -f options in the order in which they were given.
std::vector<Job> jobs_in_order(const CLI::App &app, const Arguments &arguments)
{
    std::vector<Job> jobs;
    auto statement = arguments.statements.begin();
    auto file = arguments.files.begin();
    for (const CLI::Option *option : app.parse_order()) {
        if (option->check_name("-e"))
            jobs.push_back({false, *statement++});
        else if (option->check_name("-f"))
            jobs.push_back({true, *file++});
    }
    return jobs;
}

bool run_job(Shell &shell, const Job &job)
{
    if (!job.is_file) {
        std::istringstream in(job.text);
        return shell.run_script(in, "");
    }
    if (job.text == "-")
        return shell.run_script(std::cin, "stdin");
    shell.include(job.text);
    return !shell.has_ended();
}

/// Without -e, -f and --status.
int run_standard_input(Shell &shell, const Arguments &arguments)
{
    if (isatty(STDIN_FILENO) != 0) {
        run_interactive(shell, !arguments.no_startup);
        return exit_ok; // the user has seen what failed
    }
    shell.run_script(std::cin, "stdin");
    return interrupted() ? exit_interrupted : shell.has_failed() ? exit_sql_error : exit_ok;
}

int run_jobs(Shell &shell, const Arguments &arguments, const std::vector<Job> &jobs)
{
    if (arguments.status)
        std::cout << status_text(shell.session());
    for (const Job &job : jobs) {
        if (!run_job(shell, job) || interrupted())
            break;
    }
    return interrupted() ? exit_interrupted : shell.has_failed() ? exit_sql_error : exit_ok;
}

int run(const Arguments &arguments, const ConnectTarget &target, Settings settings,
        const std::vector<Job> &jobs)
{
    if (const std::string missing = missing_client_library(); !missing.empty()) {
        fmt::print(stderr, "dkomsql: {}\n", missing);
        return exit_no_connection;
    }

    Connector connector{PasswordSource(arguments.password_file)};
    std::unique_ptr<Session> session;
    try {
        session = connector.connect(target);
    } catch (const std::exception &error) {
        Shell::complain(fmt::format("dkomsql: {}", error.what()));
        return exit_no_connection;
    }
    if (session->greeting())
        Shell::complain(fmt::format("warning: {}", session->greeting()->what()));

    const CatchInterrupts caught;
    Shell shell(std::move(connector), std::move(session), std::move(settings));
    try {
        const bool told_what_to_do = !jobs.empty() || arguments.status;
        return told_what_to_do ? run_jobs(shell, arguments, jobs) : run_standard_input(shell, arguments);
    } catch (const std::exception &error) {
        shell.report(error.what());
        return exit_sql_error;
    }
}

int parse_and_run(int argc, char **argv)
{
    use_utf8_locale();
    // Text goes in and comes out as UTF-8, unless the user has told Oracle's library otherwise.
    setenv("NLS_LANG", "AMERICAN_AMERICA.AL32UTF8", 0);

    CLI::App app(description, is_extended() ? "dkomsql" : "dkomsql-exact");
    Arguments arguments;
    declare_options(app, arguments);
    std::vector<Job> jobs;
    Settings settings;
    ConnectTarget target;
    try {
        app.parse(argc, argv);
        jobs = jobs_in_order(app, arguments);
        settings = arguments.settings;
        settings.format = format_named(arguments.format).value_or(Format::table);
        settings.header = !arguments.no_header;
        settings.stop_on_error = !arguments.keep_going;
        settings.timing = arguments.timing;
        settings.autocommit = !arguments.no_autocommit;
        settings.pager = !arguments.no_pager;
        target = parse_target(arguments.target);
        for (const std::string &bind : arguments.binds) {
            const std::size_t equals = bind.find('=');
            set_bind(settings.binds, std::string_view(bind).substr(0, equals),
                     equals == std::string::npos ? std::nullopt : std::optional(bind.substr(equals + 1)));
        }
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_ok : exit_usage;
    } catch (const UserError &error) {
        Shell::complain(fmt::format("dkomsql: {}", error.what()));
        return exit_usage;
    }
    return run(arguments, target, std::move(settings), jobs);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fputs("dkomsql: ", stderr);
        std::fputs(error.what(), stderr);
        std::fputs("\n", stderr);
        return exit_sql_error;
    }
}
