#ifndef DKOM_CHECK_FINDING_H
#define DKOM_CHECK_FINDING_H

#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace dkom_check
{

enum class Verdict {
    ok,
    warning, ///< a program starts, but something will not be as its user may think
    refused, ///< a program starts, but the link is not served
    fault,   ///< a program does not start, or stops at a call that it makes
};

const char *name_of(Verdict verdict);

/// What was looked at and what was found: one line of the report.
struct Finding {
    Verdict verdict = Verdict::ok;
    std::string subject;                               ///< "Oracle", "program", "trace", ...
    std::string text;                                  ///< what is there, or what is wrong
    std::string advice;                                ///< what to do; empty if nothing
    nlohmann::json details = nlohmann::json::object(); ///< for --json alone: whole lists, paths, numbers
};

class Report
{
public:
    void add(Finding finding);

    Verdict worst() const;

    /// A line a finding, its advice below it, and a last line that sums up.
    void print(std::FILE *to, bool colours) const;

    nlohmann::json as_json() const;

private:
    std::string summary() const;

    std::vector<Finding> findings_;
};

/// "a, b and 3 more": the first names of a list.
std::string some_of(const std::vector<std::string> &names);

/// A text from elsewhere, fit for a terminal: control characters become spaces.
std::string printable(std::string text);

} // namespace dkom_check

#endif
