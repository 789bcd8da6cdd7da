#include "meta_commands.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <memory>

#include <fmt/format.h>

#include "copy_in.h"
#include "describe.h"
#include "lob_file.h"
#include "shell.h"
#include "status.h"

namespace dkomsql
{

namespace
{

using Words = std::vector<std::string>;

struct MetaCommand {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    std::size_t fewest_arguments;
    std::size_t most_arguments;
    void (*run)(Shell &shell, const Words &arguments);
    bool takes_rest = false; // the last argument is the rest of the line as it was typed
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
            shell.out() << fmt::format(":{} = {}\n", name, shown(value));
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

/// Reads the words behind the table name of \copy.
void read_copy_options(const Words &words, CopyOptions &options)
{
    for (std::size_t i = 2; i < words.size(); i++) {
        const std::string option = folded_name(words[i]);
        if (option == "WITH")
            continue;
        if (option == "HEADER") {
            options.header = true;
            continue;
        }
        if (option != "DELIMITER" && option != "NULL" && option != "REJECTS")
            throw UserError(fmt::format("\\copy does not know the option {}", words[i]));
        if (++i == words.size())
            throw UserError(fmt::format("\\copy: the option {} needs a value", words[i - 1]));
        const std::string &value = words[i];
        if (option == "NULL") {
            options.null_text = value;
        } else if (option == "DELIMITER") {
            const std::string delimiter = value == "tab" || value == "\\t" ? "\t" : value;
            if (delimiter.size() != 1 || delimiter.find_first_of("\"\r\n") != std::string::npos)
                throw UserError("\\copy: the delimiter has to be one character, or tab");
            options.delimiter = delimiter.front();
        } else {
            const auto [end, fault] =
                std::from_chars(value.data(), value.data() + value.size(), options.most_rejects);
            if (fault != std::errc() || end != value.data() + value.size())
                throw UserError(fmt::format("\\copy: {} is not a number of rows", value));
        }
    }
}

/// The table name stands in a statement as it was typed, so nothing but a name may be let through.
void check_table_name(std::string_view table)
{
    bool quoted = false;
    for (const char c : table) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"')
            quoted = !quoted;
        else if (!quoted && std::isalnum(byte) == 0 && byte < 0x80 && c != '_' && c != '$' && c != '#' &&
                 c != '.')
            throw UserError(fmt::format("'{}' is not the name of a table", table));
    }
    if (table.empty() || quoted)
        throw UserError(fmt::format("'{}' is not the name of a table", table));
}

void copy(Shell &shell, const Words &arguments)
{
    constexpr std::size_t most_shown = 20;
    CopyOptions options;
    options.file = arguments[0];
    options.table = arguments[1];
    check_table_name(options.table);
    read_copy_options(arguments, options);

    options.commit = shell.settings().autocommit;

    std::size_t shown_rejects = 0;
    const auto on_reject = [&](std::size_t line, const std::string &reason) {
        if (shown_rejects++ < most_shown)
            fmt::print(stderr, "{}:{}: row rejected: {}\n", options.file, line, reason);
    };
    const CopyResult result = copy_in(shell.session(), options, on_reject);
    if (result.loaded > 0)
        shell.note_changes();

    if (result.rejected > most_shown)
        fmt::print(stderr, "... and {} more rejected rows\n", result.rejected - most_shown);
    const double rate = result.seconds > 0 ? static_cast<double>(result.loaded) / result.seconds : 0;
    shell.remark(fmt::format("{} row{} loaded into {}, {} rejected, in {:.2f} s ({:.0f} rows/s)",
                             result.loaded, result.loaded == 1 ? "" : "s", options.table, result.rejected,
                             result.seconds, rate));
    if (!result.stopped.empty())
        throw UserError("the load was stopped: " + result.stopped);
    if (result.rejected > 0)
        throw UserError(fmt::format("{} row{} of {} not loaded", result.rejected,
                                    result.rejected == 1 ? "" : "s", options.file));
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

void timing(Shell &shell, const Words &arguments)
{
    bool &on = shell.settings().timing;
    on = wanted_switch(on, "\\timing", arguments);
    shell.remark(on ? "Timing is on." : "Timing is off.");
}

void types(Shell &shell, const Words &arguments)
{
    bool &on = shell.settings().types;
    on = wanted_switch(on, "\\types", arguments);
    shell.remark(on ? "Types are shown." : "Types are not shown.");
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
    const std::string &name = arguments[0];
    check_table_name(name);
    if (!can_describe(shell.session()))
        throw UserError("a Dravik connection cannot be described in this release");
    const ObjectDescription object = describe_object(shell.session(), name);

    const Settings &settings = shell.settings();
    if (settings.format == Format::table && settings.header)
        shell.out() << fmt::format("{} {}\n", object.kind, name);
    const std::unique_ptr<ResultWriter> writer = make_writer(
        settings.format, shell.out(), {"column", "type", "nullable"}, {settings.header, false, {}});
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
        const std::string length = write_lob_file(shell.session(), query, path);
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

constexpr std::array<MetaCommand, 16> commands{{
    {"help", "", "this list", 0, 0, show_help},
    {"status", "", "the connection and the libraries that serve it", 0, 0, show_status},
    {"bind", "[NAME [VALUE]]", "give the placeholder :NAME a value (none: NULL), or list the values", 0, 2,
     bind},
    {"unbind", "[NAME]", "forget the value of :NAME, or all", 0, 1, unbind},
    {"d", "TABLE", "the columns of a table or view (Oracle connections)", 1, 1, describe},
    {"autocommit", "[on|off]", "commit each change at once, or only when told to", 0, 1, autocommit},
    {"commit", "", "keep the changes", 0, 0, commit},
    {"rollback", "", "undo the changes that are not committed", 0, 0, rollback},
    {"lob", "FILE SELECT ...", "write the CLOB or BLOB of one row to a file (Oracle connections)", 2, 2, lob,
     true},
    {"copy", "FILE TABLE [header] [delimiter C] [null TEXT] [rejects N]",
     "load a CSV file; stop when more than N rows (1000) are refused", 2, 10, copy},
    {"timing", "[on|off]", "show how long statements take", 0, 1, timing},
    {"types", "[on|off]", "show the types of columns below their names", 0, 1, types},
    {"format", "table|csv|json", "how rows are written", 1, 1, format},
    {"i", "FILE", "run a script", 1, 1, include},
    {"o", "[FILE]", "write results to a file, or to the standard output again", 0, 1, output},
    {"q", "", "leave", 0, 0, leave},
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
    if (line.ends_with(';')) // a command is often ended like a statement
        line.remove_suffix(1);
    const MetaCommand &command = find_command(line.substr(0, line.find_first_of(" \t")));
    const std::size_t most_split = command.takes_rest ? command.most_arguments : all_words;
    const Words words = split_words(line, most_split);
    const Words arguments(words.begin() + 1, words.end());
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

std::vector<std::string> split_words(std::string_view line, std::size_t most_split)
{
    std::vector<std::string> words;
    std::size_t at = 0;
    const auto at_blank = [&] { return std::isspace(static_cast<unsigned char>(line[at])) != 0; };
    while (at < line.size()) {
        if (at_blank()) {
            at++;
            continue;
        }
        if (words.size() == most_split) {
            words.emplace_back(line.substr(at));
            break;
        }
        std::string word;
        while (at < line.size() && !at_blank()) {
            const char quote = line[at++];
            if (quote != '\'' && quote != '"') {
                word += quote;
                continue;
            }
            for (;; at++) {
                if (at == line.size())
                    throw UserError(fmt::format("a quote {} is not closed", quote));
                if (line[at] != quote) {
                    word += line[at];
                } else if (at + 1 < line.size() && line[at + 1] == quote) {
                    word += quote;
                    at++;
                } else {
                    at++;
                    break;
                }
            }
        }
        words.push_back(std::move(word));
    }
    return words;
}

} // namespace dkomsql
