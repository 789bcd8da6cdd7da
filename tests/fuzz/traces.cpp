/*
 * Traces: whatever a file holds, it is taken apart without a fault, nothing of it is lost, and taking it in
 * two parts gives the same. First byte: where it is cut.
 */
#include <vector>

#include "input.h"
#include "trace_reader/message.h"
#include "trace_reader/record.h"

namespace
{

class collector : public trace_reader::Visitor
{
public:
    void record(const trace_reader::Record &record) override
    {
        parts.emplace_back(record.text);
        const std::string_view function = trace_reader::function_of_call(record);
        if (!function.empty())
            trace_reader::end_of_call(record.message);
        trace_reader::passed_text(record.message, "stmt", "stmt_len");
        trace_reader::number_of(record.message, "rc");
        trace_reader::pointer_of(record.message, "hndlp");
    }
    void other_line(std::string_view line) override { parts.emplace_back(line); }

    std::vector<std::string> parts;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    input in(bytes, size);
    const std::size_t where = in.byte();
    const std::string trace = in.rest();
    collector whole;
    if (trace_reader::parse(trace, true, false, whole) != trace.size())
        std::abort();

    collector parts;
    const std::size_t cut = trace.size() * where / 255;
    const std::size_t used = trace_reader::parse(std::string_view(trace).substr(0, cut), false, false, parts);
    if (used > cut)
        std::abort();
    trace_reader::parse(std::string_view(trace).substr(used), true, false, parts);
    if (whole.parts != parts.parts)
        std::abort();
    return 0;
}
