#ifndef DKOM_CHECK_CHILD_H
#define DKOM_CHECK_CHILD_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace dkom_check
{

/// How a child process ended and what it left.
struct ChildOutcome {
    int status = -1;        ///< exit status; -1: it did not exit by itself
    int signal = 0;         ///< the signal that ended it
    bool timed_out = false; ///< it was ended for taking too long
    std::string output;     ///< what it wrote to its pipe
    std::string errors;     ///< the end of what it wrote to its standard error stream

    bool exited_well() const { return status == 0; }

    /// "was ended by signal 11 (Segmentation fault)", ...
    std::string how_it_ended() const;

    /// The values that the child has told with Teller, merged into one object. What a child has told before
    /// it was ended is there.
    nlohmann::json told() const;
};

/// Tells the parent the values of an object, at once: what is told survives the child's end.
class Teller
{
public:
    explicit Teller(int fd) : fd_(fd) {}
    void tell(const nlohmann::json &values) const;

private:
    int fd_;
};

/**
 * Runs a function in a child process, whose standard output goes nowhere. Code of others that crashes, ends
 * the process or never comes back takes nothing down but the child.
 */
ChildOutcome run_child(const std::function<void(const Teller &)> &work, std::chrono::milliseconds timeout);

/// Runs a program with its standard output as the child's output, and with one variable more.
ChildOutcome run_program(const std::vector<std::string> &words, const std::string &variable,
                         const std::string &value, std::chrono::milliseconds timeout);

} // namespace dkom_check

#endif
