#ifndef DKOM_SCRUB_SCRUBBER_H
#define DKOM_SCRUB_SCRUBBER_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <trace_reader/record.h>

#include "declaration.h"
#include "names.h"

namespace dkom_scrub
{

/// Writes records anew without what may be data or a secret. What is not known to be harmless is masked: a
/// record of a kind that is not known keeps its time, level and source only. Each line stays one line.
class Scrubber final : public trace_reader::Visitor
{
public:
    struct Settings {
        bool names = false; ///< rename tables, columns and placeholders too
        bool times = false; ///< let the first record be of 2000-01-01 00:00:00
    };
    /// Takes the scrubbed trace, whole lines at a time.
    using Sink = std::function<void(std::string_view)>;

    Scrubber(Settings settings, Names &names, Sink sink);
    ~Scrubber() override;

    void record(const trace_reader::Record &record) override;
    void other_line(std::string_view line) override;

    /// Hands everything to the sink.
    void flush();

private:
    void add_head(const trace_reader::Record &record, std::size_t size);
    void add_message(const trace_reader::Record &record);
    void add_call(std::string_view message, bool is_extended);
    void add_text_argument(std::string_view message, std::string_view name, std::string_view next);
    void add_end(std::string_view message);
    void add_lines(std::string_view lines);
    void add_line(std::string_view line);
    void add_value(std::string_view name, std::string_view value);
    void add_error_text(std::string_view text);
    void add_with_addresses(std::string_view text);
    void add_masked(std::string_view text);
    void add_first_record(std::string_view message);
    void add_address(std::uint64_t address);
    std::string sql(std::string_view text) const;

    Settings settings_;
    Names &names_;
    Sink sink_;
    Declarations declarations_;
    std::string out_;
    std::int64_t shift_ = 0;
    bool has_shift_ = false;
};

} // namespace dkom_scrub

#endif
