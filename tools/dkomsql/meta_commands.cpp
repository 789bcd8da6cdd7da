#include "meta_commands.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <sys/wait.h>

#include <fmt/format.h>

#include "copy_command.h"
#include "describe.h"
#include "lob_file.h"
#include "shell.h"
#include "status.h"
#include "utf8.h"
#include "words.h"

namespace dkomsql
{

namespace
{

using Words = std::vector<std::string>;

constexpr std::size_t all_rows = static_cast<std::size_t>(-1);
constexpr std::size_t no_name = static_cast<std::size_t>(-1);

struct MetaCommand {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    std::size_t fewest_arguments;
    std::size_t most_arguments;
    void (*run)(Shell &shell, const Words &arguments);
    Argument first = Argument::other;
    std::size_t name_at = no_name; // the argument that is a name of SQL, as it was typed
    bool takes_rest = false;       // the last argument is the rest of the line as it was typed
};

std::string shown(const std::optional<std::string> &value)
{
    return value ? *value : "(null)";
}

void show_help(Shell &shell, const Words &)
{
    shell.out() << "Statements end with ; or with a line that holds only /\n"
                   "(BEGIN, DECLARE and CREATE TRIGGER or PROCEDURE ... end only with the / line).\n"
                   "Changes are committed at once, unless \\autocommit is off.\n\n"
                << meta_command_help();
}

void show_status(Shell &shell, const Words &)
{
    shell.out() << status_text(shell.session());
}

void bind(Shell &shell, const Words &arguments)
{
    Binds &binds = shell.settings().binds;
    if (arguments.empty()) {
        for (const auto &[name, value] : binds)
            shell.out() << printable(fmt::format(":{} = {}", name, shown(value))) << '\n';
        return;
    }
    set_bind(binds, arguments[0],
             arguments.size() == 2 ? std::optional<std::string>(arguments[1]) : std::nullopt);
}

void unbind(Shell &shell, const Words &arguments)
{
    Binds &binds = shell.settings().binds;
    if (arguments.empty())
        binds.clear();
    else if (binds.erase(folded_name(arguments[0])) == 0)
        throw UserError(fmt::format("no value is bound to :{}", arguments[0]));
}

void copy(Shell &shell, const Words &arguments)
{
    run_copy(shell, arguments);
}

/// What `[on|off]` asks for: without an argument, the other way.
bool wanted_switch(bool now, std::string_view command, const Words &arguments)
{
    if (arguments.empty())
        return !now;
    if (arguments[0] != "on" && arguments[0] != "off")
        throw UserError(fmt::format("{} takes on or off", command));
    return arguments[0] == "on";
}

/// Turns a setting, and says how it is now.
void turn(Shell &shell, bool &setting, std::string_view command, std::string_view what,
          const Words &arguments)
{
    setting = wanted_switch(setting, command, arguments);
    shell.remark(fmt::format("{} {}.", what, setting ? "on" : "off"));
}

void timing(Shell &shell, const Words &arguments)
{
    turn(shell, shell.settings().timing, "\\timing", "Timing is", arguments);
}

void types(Shell &shell, const Words &arguments)
{
    turn(shell, shell.settings().types, "\\types", "Types of columns are", arguments);
}

void expanded(Shell &shell, const Words &arguments)
{
    turn(shell, shell.settings().expanded, "\\x", "Expanded tables are", arguments);
}

void pager(Shell &shell, const Words &arguments)
{
    turn(shell, shell.settings().pager, "\\pager", "The pager is", arguments);
}

void numbers(Shell &shell, const Words &arguments)
{
    turn(shell, shell.settings().json_numbers, "\\numbers", "Numbers in JSON are", arguments);
}

void null_text(Shell &shell, const Words &arguments)
{
    if (arguments.empty())
        shell.settings().null_text.reset();
    else
        shell.settings().null_text = arguments[0];
}

void connect(Shell &shell, const Words &arguments)
{
    if (!arguments.empty()) {
        shell.connect(arguments[0]);
        return;
    }
    const Session &session = shell.session();
    shell.remark(fmt::format("Connected to {}{}, served by {}.", session.link(),
                             session.user().empty() ? "" : " as " + session.user(),
                             name_of(session.backend())));
}

/// Names as the dictionary has them: bare ones are in upper case there.
std::string dictionary_pattern(std::string_view typed)
{
    std::string pattern;
    bool quoted = false;
    for (const char c : typed) {
        if (c == '"')
            quoted = !quoted;
        else if (c == '*' || c == '?')
            pattern += c == '*' ? '%' : '_';
        else if (c == '_' || c == '%' || c == '!')
            pattern += std::string("!") + c;
        else
            pattern += quoted ? std::string(1, c) : folded_name({&c, 1});
    }
    return pattern;
}

void list_tables(Shell &shell, const Words &arguments)
{
    constexpr const char *query =
        "SELECT table_name, 'table' FROM user_tables WHERE table_name LIKE :pattern ESCAPE '!' UNION ALL "
        "SELECT view_name, 'view' FROM user_views WHERE view_name LIKE :pattern ESCAPE '!' ORDER BY 1";
    const Settings &settings = shell.settings();
    const std::unique_ptr<ResultWriter> writer =
        make_writer(settings.format, shell.out(), {"name", "kind"}, {settings.header});
    for (const auto &row :
         shell.rows_of(query, dictionary_pattern(arguments.empty() ? "*" : arguments[0]), all_rows)) {
        const std::array cells{Cell{row[0]}, Cell{row[1]}};
        writer->row(cells);
    }
    writer->finish();
}

void run_program(Shell &shell, const Words &arguments)
{
    const char *user_shell = std::getenv("SHELL");
    const std::string command = !arguments.empty()      ? arguments[0]
                                : user_shell != nullptr ? user_shell
                                                        : "/bin/sh";
    shell.out().flush();
    const int status = std::system(command.c_str());
    if (status != 0 && !arguments.empty())
        throw UserError(WIFSIGNALED(status)
                            ? fmt::format("the command was ended by signal {}", WTERMSIG(status))
                            : fmt::format("the command ended with status {}", WEXITSTATUS(status)));
}

void edit(Shell & /*shell*/, const Words & /*arguments*/)
{
    throw UserError("\\e needs a terminal");
}

void autocommit(Shell &shell, const Words &arguments)
{
    bool &on = shell.settings().autocommit;
    const bool wanted = arguments.empty() ? on : wanted_switch(on, "\\autocommit", arguments);
    if (wanted && shell.may_have_changes())
        throw UserError("there may be changes that are not committed; \\commit or \\rollback them first");
    on = wanted;
    shell.remark(on ? "Autocommit is on." : "Autocommit is off.");
}

void commit(Shell &shell, const Words &)
{
    shell.commit();
    shell.remark("Committed.");
}

void rollback(Shell &shell, const Words &)
{
    shell.rollback();
    shell.remark("Rolled back.");
}

void describe(Shell &shell, const Words &arguments)
{
    if (arguments.empty()) {
        list_tables(shell, arguments);
        return;
    }
    const std::string name = parse_table(arguments[0]).table;
    if (!can_describe(shell.session()))
        throw UserError(
            "the exact edition cannot describe on a Dravik connection; dkomsql, which is built on the "
            "extended one, can");
    const ObjectDescription object = describe_object(shell.session(), name);

    const Settings &settings = shell.settings();
    if (settings.format == Format::table && settings.header)
        shell.out() << fmt::format("{} {}\n", object.kind, name);
    const std::unique_ptr<ResultWriter> writer =
        make_writer(settings.format, shell.out(), {"column", "type", "nullable"}, {settings.header});
    for (const ColumnDescription &column : object.columns) {
        const std::string type = type_text(column);
        const std::array cells{Cell{column.name}, Cell{type}, Cell{column.nullable ? "yes" : "no"}};
        writer->row(cells);
    }
    writer->finish();
}

void lob(Shell &shell, const Words &arguments)
{
    const std::string &path = arguments[0];
    shell.query(arguments[1], [&](Statement &query) {
        shell.out().flush();
        const std::string length = write_lob_file(shell.session(), query, path);
        if (path != "-")
            shell.remark(fmt::format("{} written to {}.", length, path));
    });
}

void format(Shell &shell, const Words &arguments)
{
    const std::optional<Format> named = format_named(arguments[0]);
    if (!named)
        throw UserError(fmt::format("there is no format {}; choose table, csv or json", arguments[0]));
    shell.settings().format = *named;
}

void include(Shell &shell, const Words &arguments)
{
    shell.include(arguments[0]);
}

void output(Shell &shell, const Words &arguments)
{
    shell.redirect(arguments.empty() ? "" : arguments[0]);
}

void leave(Shell &shell, const Words &)
{
    shell.leave();
}

constexpr std::array<MetaCommand, 24> commands{{
    {"help", "", "this list", 0, 0, show_help},
    {"status", "", "the connection and the libraries that serve it", 0, 0, show_status},
    {"c", "[[USER@]LINK]", "connect to another database, or show the connection", 0, 1, connect},
    {"d", "[TABLE]", "the columns of a table or view, or the list of \\dt", 0, 1, describe, Argument::table,
     0},
    {"dt", "[PATTERN]", "the user's tables and views; * stands for any text", 0, 1, list_tables,
     Argument::table, 0},
    {"bind", "[NAME [VALUE]]", "give the placeholder :NAME a value (none: NULL), or list the values", 0, 2,
     bind},
    {"unbind", "[NAME]", "forget the value of :NAME, or all", 0, 1, unbind},
    {"autocommit", "[on|off]", "commit each change at once, or only when told to", 0, 1, autocommit,
     Argument::on_off},
    {"commit", "", "keep the changes", 0, 0, commit},
    {"rollback", "", "undo the changes that are not committed", 0, 0, rollback},
    {"lob", "FILE SELECT ...", "write the CLOB or BLOB of one row to a file (-: the standard output)", 2, 2,
     lob, Argument::file, no_name, true},
    {"copy", copy_usage, "load a CSV file (-: the standard input); more than N refused rows (1000) stop it",
     2, 12, copy, Argument::file, 1},
    {"x", "[on|off]", "tables with a line for each value", 0, 1, expanded, Argument::on_off},
    {"timing", "[on|off]", "show how long statements take", 0, 1, timing, Argument::on_off},
    {"types", "[on|off]", "show the types of columns below their names", 0, 1, types, Argument::on_off},
    {"numbers", "[on|off]", "write numbers as numbers in JSON, not as texts", 0, 1, numbers,
     Argument::on_off},
    {"null", "[TEXT]", "what stands for NULL in tables and CSV", 0, 1, null_text},
    {"pager", "[on|off]", "show long results through PAGER", 0, 1, pager, Argument::on_off},
    {"format", "table|csv|json", "how rows are written", 1, 1, format, Argument::format},
    {"e", "[FILE]", "edit the statement, or a file, with EDITOR and run it", 0, 1, edit, Argument::file},
    {"i", "FILE", "run a script", 1, 1, include, Argument::file},
    {"o", "[FILE]", "write results to a file, or to the standard output again", 0, 1, output, Argument::file},
    {"!", "[COMMAND]", "run a command of the system, or its shell", 0, 1, run_program, Argument::other,
     no_name, true},
    {"q", "", "leave (also: exit, quit)", 0, 0, leave},
}};

const MetaCommand &find_command(std::string_view name)
{
    const auto *const found = std::find_if(commands.begin(), commands.end(),
                                           [name](const MetaCommand &c) { return c.name == name; });
    if (found == commands.end())
        throw UserError(fmt::format("there is no command \\{}; \\help lists them", name));
    return *found;
}

} // namespace

void run_meta_command(Shell &shell, std::string_view line)
{
    line.remove_prefix(1);
    line = line.substr(0, line.find_last_not_of(" \t") + 1);
    const bool runs_program = line.starts_with('!'); // its name needs no blank behind it
    if (line.ends_with(';') && !runs_program)        // a command is often ended like a statement
        line.remove_suffix(1);
    const std::size_t name_end = runs_program ? 1 : std::min(line.find_first_of(" \t"), line.size());
    const MetaCommand &command = find_command(line.substr(0, name_end));
    WordReader reader(line.substr(name_end));
    Words arguments;
    for (;;) {
        const std::size_t index = arguments.size();
        const bool is_rest = command.takes_rest && index + 1 == command.most_arguments;
        const std::optional<std::string> argument = is_rest                    ? reader.rest()
                                                    : index == command.name_at ? reader.name()
                                                                               : reader.word();
        if (!argument)
            break;
        arguments.push_back(*argument);
    }
    if (arguments.size() < command.fewest_arguments || arguments.size() > command.most_arguments)
        throw UserError(fmt::format("usage: \\{} {}", command.name, command.arguments));
    command.run(shell, arguments);
}

std::string meta_command_help()
{
    std::string text;
    for (const MetaCommand &command : commands) {
        const std::string usage = fmt::format("\\{} {}", command.name, command.arguments);
        // Long usages get the line to themselves.
        constexpr std::size_t column = 28;
        if (usage.size() < column)
            text += fmt::format("  {:<{}}{}\n", usage, column, command.help);
        else
            text += fmt::format("  {}\n  {:<{}}{}\n", usage, "", column, command.help);
    }
    return text;
}

std::vector<MetaCommandName> meta_command_names()
{
    std::vector<MetaCommandName> names;
    names.reserve(commands.size());
    for (const MetaCommand &command : commands)
        names.push_back({command.name, command.first});
    return names;
}

} // namespace dkomsql
