#ifndef TESTS_TRACED_H
#define TESTS_TRACED_H

#include <filesystem>
#include <string>

#include "program.h"

/// Runs a tool on traces that tests/dkom_report/traced.c leaves.
class TracedTest : public ProgramTest
{
protected:
    using ProgramTest::ProgramTest;

    /// Runs the traced program on empty databases and returns the name of its trace, the only one that is
    /// there.
    std::string trace_of(const std::string &program, const std::string &link, const std::string &what,
                         int level = 30)
    {
        set_variable("DKOM_LOG_LEVEL=" + std::to_string(level));
        for (const char *databases : {"oracle", "dravik"})
            for (const auto &entry : std::filesystem::directory_iterator(directory() / databases))
                write_file(std::string(databases) + "/" + entry.path().filename().string(), "");
        take_trace();
        last_ = run_other(program, {link, what});
        for (const auto &entry : std::filesystem::directory_iterator(directory()))
            if (entry.path().filename().string().starts_with("om_"))
                return entry.path().filename();
        ADD_FAILURE() << "no trace of " << program << ": " << last_.err;
        return "";
    }

    Outcome last_; ///< of the traced program
};

#endif
