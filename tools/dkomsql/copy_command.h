#ifndef DKOMSQL_COPY_COMMAND_H
#define DKOMSQL_COPY_COMMAND_H

#include <string>
#include <vector>

namespace dkomsql
{

class Shell;

/// The arguments of \copy, for a help text.
constexpr const char *copy_usage =
    "FILE TABLE[(COLUMN,...)] [header] [delimiter C] [null TEXT] [rejects N] [commit N]";

/// Runs \copy and tells how much was loaded. Throws an exception whose what() is for the user.
void run_copy(Shell &shell, const std::vector<std::string> &arguments);

} // namespace dkomsql

#endif
