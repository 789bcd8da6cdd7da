#ifndef TESTS_PROGRAM_H
#define TESTS_PROGRAM_H

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// What a finished run of the program left.
struct Outcome {
    int status = -1; ///< exit status; 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;
    long peak_kb = 0; ///< most memory that was resident

    /// Whether the program ended with this status and its errors are, or begin with, `text`.
    testing::AssertionResult ends(int expected_status, const std::string &text) const
    {
        const bool is_whole = text.empty() || text.ends_with('\n');
        if (status == expected_status && (is_whole ? err == text : err.starts_with(text)))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "status " << status << ", not: " << text << '\n' << out << err;
    }

    /// Whether the program ended with this status and wrote `text` to one of its streams.
    testing::AssertionResult says(int expected_status, const std::string &text) const
    {
        if (status == expected_status && (out + err).find(text) != std::string::npos)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "status " << status << ", without: " << text << '\n'
                                           << out << err;
    }
};

/// Pointers into `texts`, ended by a null pointer, as exec takes them.
std::vector<char *> argument_pointers(std::vector<std::string> &texts);

/// A program that runs in a directory of its own, which is removed at the end. An empty database `world`
/// there is served by the Oracle library, an empty database `mars` by Dravik's.
class ProgramTest : public testing::Test
{
protected:
    explicit ProgramTest(std::string program);
    ~ProgramTest() override;

    using Arguments = std::vector<std::string>;

    /// Runs the program with the arguments and with `input` as its standard input.
    Outcome run(const Arguments &arguments, const std::string &input = "") const
    {
        return run_other(program_, arguments, input);
    }

    /// The same for another program.
    Outcome run_other(const std::string &program, const Arguments &arguments,
                      const std::string &input = "") const;

    /// Like run(), and expects success without a word on the standard error stream; returns the output.
    std::string output_of(const Arguments &arguments, const std::string &input = "") const;

    /// What all runs wrote to their traces since this was asked last.
    std::string take_trace() const;

    void write_file(const std::string &name, const std::string &content) const;
    std::string read_file(const std::string &name) const;

    const std::filesystem::path &directory() const { return directory_; }

    /// Environment of the program, `NAME=value`.
    std::vector<std::string> environment() const;

    /// Puts a variable, `NAME=value`, before those of the same name.
    void set_variable(const std::string &variable)
    {
        own_variables_.insert(own_variables_.begin(), variable);
    }

private:
    std::string program_;
    std::filesystem::path directory_;
    std::vector<std::string> own_variables_;
};

#endif
