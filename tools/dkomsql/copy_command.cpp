#include "copy_command.h"

#include <charconv>
#include <cstdio>
#include <iostream>

#include <fmt/format.h>

#include "copy_in.h"
#include "interrupt.h"
#include "shell.h"
#include "utf8.h"
#include "words.h"

namespace dkomsql
{

namespace
{

using Words = std::vector<std::string>;

std::string rows(std::size_t count)
{
    return fmt::format("{} row{}", count, count == 1 ? "" : "s");
}

std::size_t number_of_rows(const std::string &text)
{
    std::size_t number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (fault != std::errc() || end != text.data() + text.size())
        throw UserError(fmt::format("\\copy: {} is not a number of rows", text));
    return number;
}

char delimiter_of(const std::string &text)
{
    const std::string delimiter = text == "tab" || text == "\\t" ? "\t" : text;
    if (delimiter.size() != 1 || delimiter.find_first_of("\"\r\n") != std::string::npos)
        throw UserError("\\copy: the delimiter has to be one character, or tab");
    return delimiter.front();
}

/// Reads the words behind the table name.
void read_options(const Words &words, CopyOptions &options)
{
    for (std::size_t i = 2; i < words.size(); i++) {
        const std::string option = folded_name(words[i]);
        if (option == "WITH")
            continue;
        if (option == "HEADER") {
            options.header = true;
            continue;
        }
        if (option != "DELIMITER" && option != "NULL" && option != "REJECTS" && option != "COMMIT")
            throw UserError(fmt::format("\\copy does not know the option {}", words[i]));
        if (++i == words.size())
            throw UserError(fmt::format("\\copy: the option {} needs a value", words[i - 1]));
        if (option == "NULL")
            options.null_text = words[i];
        else if (option == "DELIMITER")
            options.delimiter = delimiter_of(words[i]);
        else if (option == "REJECTS")
            options.most_rejects = number_of_rows(words[i]);
        else
            options.commit_every = number_of_rows(words[i]);
    }
}

/// What has become of the rows of a load that did not come to its end.
std::string state_after_stop(const CopyResult &result, bool autocommit)
{
    if (!autocommit)
        return result.loaded == 0 ? "no row was loaded"
                                  : rows(result.loaded) + " loaded before that, not committed";
    const std::string committed = result.committed == 0 ? "no row is"
                                                        : fmt::format("{} {}", rows(result.committed),
                                                                      result.committed == 1 ? "is" : "are");
    const std::string undone = result.undone == 0 ? "" : fmt::format(", {} rolled back", rows(result.undone));
    return fmt::format("{} committed{}", committed, undone);
}

/// Gets the standard input ready for what comes behind the rows.
void take_up_input(const CopyOptions &options)
{
    if (options.file != "-" || options.end_marker.empty())
        return;
    std::cin.clear();
    std::clearerr(stdin);
}

} // namespace

void run_copy(Shell &shell, const Words &arguments)
{
    constexpr std::size_t most_shown = 20;
    constexpr const char *end_marker = "\\.";
    CopyOptions options;
    options.file = arguments[0];
    const TableColumns target = parse_table(arguments[1]);
    options.table = target.table;
    options.columns = target.columns;
    read_options(arguments, options);
    options.autocommit = shell.settings().autocommit;
    if (options.file == "-" && shell.reads_standard_input()) {
        options.end_marker = end_marker;
        if (shell.is_interactive())
            shell.remark("Type or paste the rows, and a line with \\. behind them.");
    }

    std::size_t shown_rejects = 0;
    const auto on_reject = [&](std::size_t line, const std::string &reason) {
        if (shown_rejects++ < most_shown)
            Shell::complain(fmt::format("{}:{}: row rejected: {}", options.name(), line, reason));
    };
    const CopyResult result = copy_in(shell.session(), options, on_reject);
    take_up_input(options);
    if (result.loaded > result.committed)
        shell.note_changes();

    if (result.rejected > most_shown)
        Shell::complain(fmt::format("... and {} more rejected rows", result.rejected - most_shown));
    const double rate = result.seconds > 0 ? static_cast<double>(result.loaded) / result.seconds : 0;
    shell.remark(fmt::format("{} loaded into {}, {} rejected, in {:.2f} s ({:.0f} rows/s)",
                             rows(result.loaded), options.table, result.rejected, result.seconds, rate));
    if (!result.stopped.empty())
        throw UserError(fmt::format("the load was stopped: {}\n{}", result.stopped,
                                    state_after_stop(result, options.autocommit)));
    if (result.rejected > 0)
        throw UserError(fmt::format("{} of {} not loaded", rows(result.rejected), options.name()));
}

} // namespace dkomsql
