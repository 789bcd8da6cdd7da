#ifndef TESTS_DKOMSQL_SHELL_H
#define TESTS_DKOMSQL_SHELL_H

#include "program.h"

class ShellTest : public ProgramTest
{
protected:
    ShellTest() : ProgramTest(DKOMSQL_PROGRAM) {}

    /// The rows of a query, or what a script writes, as CSV without the names of columns.
    std::string rows_of(const std::string &link, const std::string &script, Arguments options = {}) const
    {
        options.insert(options.end(), {link, "--format", "csv", "--no-header", "-e", script});
        return output_of(options);
    }
};

/// A test that runs once on a database of each backend.
class BothBackends : public ShellTest, public testing::WithParamInterface<std::string>
{
protected:
    std::string link() const { return backend() == "oracle" ? "world" : "mars"; }
    std::string backend() const { return GetParam(); }
};

#define RUN_ON_BOTH_BACKENDS(suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(on, suite, testing::Values("oracle", "dravik"),                                 \
                             [](const auto &info) { return info.param; })

#endif
