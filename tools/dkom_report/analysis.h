#ifndef DKOM_REPORT_ANALYSIS_H
#define DKOM_REPORT_ANALYSIS_H

#include <array>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <trace_reader/record.h>

#include "handles.h"
#include "model.h"
#include "names.h"

namespace dkom_report
{

/// Makes a Report of the records of one or more traces, in memory that does not grow with their length: what
/// there may be any number of (statements, connections, handles) is bounded, and the report counts what was
/// left out.
///
/// Records of the extended edition name their thread. Those of the exact edition do not: a call belongs to
/// the thread whose handles it uses, other records to the table that they name (level 40) or else to the
/// thread that wrote before. Where threads write in between each other within a call, a time may go to
/// another call of the same function.
class Analysis final : public trace_reader::Visitor
{
public:
    static constexpr std::size_t most_statements = 5000;
    static constexpr std::size_t most_connections = 20000;
    static constexpr std::size_t most_leaks = 5000;
    static constexpr std::size_t most_stops = 1000;
    static constexpr std::size_t steps_kept = 64;

    struct Settings {
        bool literals = false; ///< statements that differ in literals are different ones
        bool timeline = false; ///< fill the lanes
    };

    explicit Analysis(Settings settings) : settings_(settings) {}

    /// A file begins; handles of the one before are none of this one.
    void begin_process(const std::string &name);
    void end_process(std::uint64_t bytes);

    void record(const trace_reader::Record &record) override;
    void other_line(std::string_view line) override;
    void skipped_row() override { process().records++; }

    /// The report, once all files have ended.
    Report take();

    /// The function of the call that the last record belongs to; empty if none is open.
    std::string_view current_function() const;

private:
    static constexpr std::size_t deepest = 16;
    static constexpr std::size_t followed_arguments = 4;

    /// A call that has begun.
    struct OpenCall {
        Microseconds begin = 0;
        std::array<std::uint64_t, followed_arguments> pointers{}; ///< the first addresses passed
        std::int32_t type = 0; ///< of the handle that is made, released or given an attribute
        std::int32_t attribute = 0;
        std::uint32_t statement = 0;
        std::uint32_t connection = 0;
        std::uint16_t function = 0;
        Backend backend = backend_none;
        bool has_failed = false; ///< a record before its end told so
    };

    /// What is known of a thread.
    struct Context {
        std::int64_t thread = 0;
        std::vector<OpenCall> stack;
        std::string link;
        std::string arguments; ///< the last argument record
        std::vector<std::string> refusals;
        Backend accepted = backend_none;
    };

    /// How a call ended.
    struct Outcome {
        std::int64_t result = 0;
        bool has_result = false;
        bool failed = false;
        bool is_bound = false; ///< no record tells its end
        bool is_known = true;  ///< its time is
        std::string_view message;
    };

    Process &process() { return report_.processes.back(); }
    Context &current() { return contexts_[current_]; }
    std::uint32_t new_context(std::int64_t thread);

    void exact_record(const trace_reader::Record &record);
    void extended_record(const trace_reader::Record &record);
    void lookup_record(std::string_view message);
    void table_record(std::string_view message);
    void executed_record(std::string_view message);
    void select_context_with(std::uint16_t function);
    void select_context_with_new(std::int32_t type);
    void found_record(std::uint64_t key);
    void stop_record(const trace_reader::Record &record);
    void explain_missing(Stop &stop);
    void failure_record(const trace_reader::Record &record);

    void begin_call(const trace_reader::Record &record, std::string_view function, bool has_arguments);
    OpenCall arguments_of(const trace_reader::Record &record, std::uint16_t function);
    std::uint32_t context_of(const OpenCall &call);
    void start(const OpenCall &call);
    void keep_link(const trace_reader::Record &record, const OpenCall &call);
    void end_call(const trace_reader::Record &record, std::string_view function, std::string_view note);
    void finish(OpenCall &call, const Outcome &outcome, Microseconds at);
    void close_silent_calls(Microseconds at);

    void finish_attach(const OpenCall &call, const Outcome &outcome, Microseconds took);
    void finish_statement_call(OpenCall &call, const Outcome &outcome, Microseconds at, Microseconds took);
    void finish_handle_call(const OpenCall &call, const Outcome &outcome, Microseconds at);
    void close_connection(std::uint64_t handle, Microseconds at);

    Handle *touch(std::uint64_t address);
    void birth(std::uint64_t address, std::int32_t type, std::uint64_t parent);
    void death(std::uint64_t address, std::int32_t type, bool with_statement);
    HandleCount &count_of(std::int32_t type);
    bool is_parent_gone(const Handle &handle);
    std::string history_of(std::uint64_t address);

    std::uint32_t statement_of(std::string_view text);
    Statement *statement_at(std::uint32_t place) { return place ? &report_.statements[place - 1] : nullptr; }
    Connection *connection_at(std::uint32_t place)
    {
        return place ? &report_.connections[place - 1] : nullptr;
    }
    CallRow &row_of(std::uint16_t function, Backend backend);
    void keep_step(const OpenCall &call, const Outcome &outcome, Microseconds took);
    std::vector<Step> last_steps(Microseconds at) const;

    Settings settings_;
    Report report_;
    Names names_;
    Handles handles_;
    std::vector<Context> contexts_;
    std::uint32_t current_ = 0;
    std::unordered_map<std::int64_t, std::uint32_t> threads_;
    std::unordered_map<std::uint64_t, std::uint32_t> tables_;
    std::uint64_t table_ = 0;               ///< of the last lookup
    bool is_fresh_ = false;                 ///< the last record began a call
    std::vector<OpenCall> pending_;         ///< entry records whose arguments are still to come
    std::array<std::uint64_t, 4> recent_{}; ///< handles found last
    std::size_t recent_place_ = 0;
    std::deque<Step> steps_;
    std::unordered_map<std::string, std::uint32_t> statement_places_;
    std::unordered_map<std::size_t, std::uint32_t> known_texts_; ///< hashes of texts that were met
    std::vector<HandleCount> counts_;
    std::string reason_;
    std::uint64_t missing_ = 0;
    Microseconds missing_at_ = 0;
    std::string assertion_;
    std::string assertion_function_;
    Microseconds now_ = 0;
};

/// The address that the end record of a call shows for a variable, "\n\t*hndlpp=0x7f..."; 0 if there is none.
std::uint64_t made_address(std::string_view message);

} // namespace dkom_report

#endif
