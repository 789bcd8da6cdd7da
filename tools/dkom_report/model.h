/// What traces tell, as plain data: the analysis fills it, tables, JSON and HTML show it.
#ifndef DKOM_REPORT_MODEL_H
#define DKOM_REPORT_MODEL_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "timeline.h"

namespace dkom_report
{

/// Microseconds, as points in local time since 1970 or as spans.
using Microseconds = std::int64_t;

/// Bits; a call may run on both backends.
enum Backend : std::uint8_t { backend_none = 0, backend_oracle = 1, backend_dravik = 2, backend_both = 3 };

/// "Oracle", "Dravik", "both" or "-".
const char *name_of(Backend backend);

/// Spans of time that were added up.
struct Times {
    std::uint64_t count = 0;
    Microseconds total = 0;
    Microseconds longest = 0;
    Microseconds longest_at = 0;
    bool is_bound = false; ///< some are measured up to the next call of the thread: the real ones are shorter

    void add(Microseconds span, Microseconds at, bool bound)
    {
        count++;
        total += span;
        is_bound = is_bound || bound;
        if (span >= longest) {
            longest = span;
            longest_at = at;
        }
    }
    Microseconds mean() const { return count > 0 ? total / static_cast<Microseconds>(count) : 0; }
};

/// Calls of one function on one backend.
struct CallRow {
    std::uint64_t count = 0;
    std::uint64_t failures = 0;
    Times times;
};

/// All calls of a function, by backend.
struct Function {
    std::string name;
    std::array<CallRow, 4> by_backend;
};

/// A statement: all texts that differ in literals only, or all of one text if literals count.
struct Statement {
    std::string text;
    std::uint64_t prepares = 0;
    std::uint64_t executions = 0;
    std::uint64_t failures = 0;
    Times execute;
    std::uint64_t fetches = 0;
    Times fetch;
    Backend backends = backend_none;
    std::string last_error;
    Microseconds first = 0;
    Microseconds last = 0;
    Lane lane;

    Microseconds total() const { return execute.total + fetch.total; }
};

/// A link that was attached or logged on to, or on which that failed.
struct Connection {
    std::uint32_t process = 0;
    std::uint64_t handle = 0; ///< server, or service context of a logon
    std::string link;
    std::string call;
    Microseconds opened = 0;
    Microseconds attach_time = 0;
    Microseconds closed = 0; ///< 0: it was not, or the trace does not tell
    bool failed = false;
    Backend backend = backend_none;
    std::vector<std::string> why; ///< in the order of what was tried
    std::uint64_t calls = 0;
    std::uint64_t executions = 0;
    std::uint64_t failures = 0;
    Times execute;
    Lane lane;
};

/// A call as the last ones before a stop are shown.
struct Step {
    Microseconds at = 0;
    Microseconds took = -1; ///< -1: not known
    std::uint32_t function = 0;
    std::uint32_t statement = 0; ///< its place plus 1; 0: none
    std::int64_t result = 0;
    std::int64_t thread = 0; ///< of the extended edition
    Backend backend = backend_none;
    bool has_result = false;
    bool failed = false;
};

/// A process that was stopped, or whose trace ends inside a call.
struct Stop {
    std::uint32_t process = 0;
    Microseconds at = 0;
    bool is_stop = true; ///< false: the trace ends inside a call
    std::string function;
    std::string source;           ///< "transaction.cpp:15"
    std::string reason;           ///< the record before
    std::string assertion;        ///< read in the standard error, or told by what was looked for in vain
    bool is_guess = false;        ///< the assertion is the latter
    std::uint64_t missing = 0;    ///< handle that was looked for in vain
    std::string missing_argument; ///< under which name the program passed it
    std::string missing_history;  ///< what became of it
    std::vector<Step> last_calls;
};

/// A handle that was never released.
struct Leak {
    std::uint32_t process = 0;
    std::uint64_t address = 0;
    std::int32_t type = 0;
    Microseconds born = 0;
    std::uint32_t born_by = 0;
    Microseconds last_used = 0;
    std::uint32_t last_by = 0;
    std::uint32_t statement = 0;
    bool parent_is_gone = false;
};

/// Handles of one type.
struct HandleCount {
    std::uint64_t made = 0;
    std::uint64_t released = 0;
    std::uint64_t with_statement = 0; ///< binds and defines that went with their statement
    std::uint64_t left = 0;
};

/// A file.
struct Process {
    std::string name;
    std::string edition; ///< "exact" or "extended"; empty if no record tells
    std::string program; ///< of the extended edition
    std::string version;
    std::uint64_t bytes = 0;
    std::uint64_t records = 0;
    std::uint64_t torn = 0;
    std::uint64_t other_lines = 0;
    int level = 0; ///< highest level that was seen
    Microseconds first = 0;
    Microseconds last = 0;
};

struct Report {
    std::vector<Process> processes;
    std::vector<Function> functions;
    std::vector<Statement> statements;
    std::vector<Connection> connections;
    std::vector<Stop> stops;
    std::vector<Leak> leaks;
    std::vector<std::pair<std::int32_t, HandleCount>> handles; ///< by type
    std::uint64_t statements_left_out = 0;                     ///< executions of statements beyond the limit
    std::uint64_t connections_left_out = 0;
    std::uint64_t leaks_left_out = 0;
    std::uint64_t handles_left_out = 0; ///< births that were not followed

    std::uint64_t calls() const;
    std::uint64_t failures() const;
    Microseconds first() const;
    Microseconds last() const;
    int level() const;
};

/// What a handle or descriptor type is called: "statement", "LOB".
std::string type_name(std::int32_t type);

} // namespace dkom_report

#endif
