#ifndef DKOM_CHECK_PROGRAM_CHECK_H
#define DKOM_CHECK_PROGRAM_CHECK_H

#include "edition.h"
#include "finding.h"

namespace dkom_check
{

/// What a program, or a shared library that is loaded into one, asks of an OCI library.
struct Program {
    std::string path;
    std::set<std::string> calls;    ///< OCI calls that it makes, its own libraries' included
    std::optional<Edition> edition; ///< of the OCI manager that the loader finds for it
    std::string path_of_library;    ///< path of that library
};

/// A program by its path or, without a slash, by its name in the working directory or in PATH.
std::string find_program(const std::string &name);

/// Looks at a program and at the libraries that it needs: whether all are found, and which of them is asked
/// for the OCI calls.
Program check_program(const std::string &path, std::chrono::milliseconds timeout, Report &report);

/// Whether the edition serves what the program calls.
void check_calls(const Program &program, Edition edition, Report &report);

/// Finds the library of an edition as a program would that is linked with it; adds what it is to the report.
std::string check_library(Edition edition, const std::string &of_program, std::chrono::milliseconds timeout,
                          Report &report);

} // namespace dkom_check

#endif
