#ifndef TESTS_DKOMSQL_PROGRAM_H
#define TESTS_DKOMSQL_PROGRAM_H

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// What a finished run of the program left.
struct Outcome {
    int status = -1; ///< exit status; 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;

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

/// A directory with an empty database `world` that the Oracle library serves and an empty database `mars`
/// that Dravik's serves. The program runs in it; it is removed at the end.
class ProgramTest : public testing::Test
{
protected:
    ProgramTest();
    ~ProgramTest() override;

    using Arguments = std::vector<std::string>;

    /// Runs dkomsql with the arguments and with `input` as its standard input.
    Outcome run(const Arguments &arguments, const std::string &input = "") const;

    /// Like run(), and expects success without a word on the standard error stream; returns the output.
    std::string output_of(const Arguments &arguments, const std::string &input = "") const;

    /// The rows of a query, or what a script writes, as CSV without the names of columns.
    std::string rows_of(const std::string &link, const std::string &script, Arguments options = {}) const
    {
        options.insert(options.end(), {link, "--format", "csv", "--no-header", "-e", script});
        return output_of(options);
    }

    void write_file(const std::string &name, const std::string &content) const;
    std::string read_file(const std::string &name) const;

    const std::filesystem::path &directory() const { return directory_; }

    /// Environment of the program, `NAME=value`.
    std::vector<std::string> environment() const;

    /// Puts a variable, `NAME=value`, before those of the same name.
    void set_variable(const std::string &variable) { own_variables_.push_back(variable); }

private:
    std::filesystem::path directory_;
    std::vector<std::string> own_variables_;
};

/// A test that runs once on a database of each backend.
class BothBackends : public ProgramTest, public testing::WithParamInterface<std::string>
{
protected:
    std::string link() const { return backend() == "oracle" ? "world" : "mars"; }
    std::string backend() const { return GetParam(); }
};

#define RUN_ON_BOTH_BACKENDS(suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(on, suite, testing::Values("oracle", "dravik"),                                 \
                             [](const auto &info) { return info.param; })

#endif
