#ifndef DKOMSQL_INTERACTIVE_H
#define DKOMSQL_INTERACTIVE_H

namespace dkomsql
{

class Shell;

/// Reads statements from the terminal until the user leaves; `startup` has the user's start-up file run
/// first.
void run_interactive(Shell &shell, bool startup);

} // namespace dkomsql

#endif
