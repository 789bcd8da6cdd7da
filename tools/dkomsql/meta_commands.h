#ifndef DKOMSQL_META_COMMANDS_H
#define DKOMSQL_META_COMMANDS_H

#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

class Shell;

/// Runs one line that begins with a backslash. Throws an exception whose what() is for the user when the
/// command is unknown, is given wrong arguments or fails.
void run_meta_command(Shell &shell, std::string_view line);

/// The list of commands, one a line, for a help text.
std::string meta_command_help();

/// What the first argument of a command is, for those who complete it.
enum class Argument { other, file, table, on_off, format };

struct MetaCommandName {
    std::string_view name; ///< without the backslash
    Argument argument;
};

std::vector<MetaCommandName> meta_command_names();

} // namespace dkomsql

#endif
