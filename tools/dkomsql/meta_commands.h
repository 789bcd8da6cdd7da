#ifndef DKOMSQL_META_COMMANDS_H
#define DKOMSQL_META_COMMANDS_H

#include <cstddef>
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

constexpr std::size_t all_words = static_cast<std::size_t>(-1);

/// Splits a line at blanks. Single or double quotes keep blanks together; a doubled quote inside stands for
/// one. What follows `most_split` words is one more word, as it stands. Throws UserError for a quote that is
/// not closed.
std::vector<std::string> split_words(std::string_view line, std::size_t most_split = all_words);

} // namespace dkomsql

#endif
