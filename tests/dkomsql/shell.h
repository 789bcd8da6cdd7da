#ifndef TESTS_DKOMSQL_SHELL_H
#define TESTS_DKOMSQL_SHELL_H

#include <ostream>

#include "program.h"

class ShellTest : public ProgramTest
{
protected:
    explicit ShellTest(const char *program = DKOMSQL_PROGRAM) : ProgramTest(program)
    {
        set_variable("HOME=" + directory().string());
        set_variable("XDG_CONFIG_HOME=");
    }

    /// The rows of a query, or what a script writes, as CSV without the names of columns.
    std::string rows_of(const std::string &link, const std::string &script, Arguments options = {}) const
    {
        options.insert(options.end(), {link, "--format", "csv", "--no-header", "-e", script});
        return output_of(options);
    }
};

/// The shell on an edition of the library and a database of a backend.
struct Setting {
    const char *name;
    bool is_extended;
    const char *backend;

    friend std::ostream &operator<<(std::ostream &out, const Setting &setting) { return out << setting.name; }
};

/// A test that runs once on a database of each backend, on both editions.
class BothBackends : public ShellTest, public testing::WithParamInterface<Setting>
{
protected:
    BothBackends() : ShellTest(program()) {}

    static const char *program() { return GetParam().is_extended ? DKOMSQL_PROGRAM : DKOMSQL_EXACT_PROGRAM; }
    static std::string backend() { return GetParam().backend; }
    static std::string link() { return backend() == "oracle" ? "world" : "mars"; }

    /// Whether the connection tells names and types of columns, and has LOB locators.
    static bool describes() { return GetParam().is_extended || backend() == "oracle"; }
};

#define RUN_ON_BOTH_BACKENDS(suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(                                                                                \
        on, suite,                                                                                           \
        testing::Values(Setting{"oracle", true, "oracle"}, Setting{"dravik", true, "dravik"},                \
                        Setting{"exact_oracle", false, "oracle"}, Setting{"exact_dravik", false, "dravik"}), \
        [](const auto &info) { return info.param.name; })

#endif
