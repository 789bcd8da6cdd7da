#include "model.h"

#include <fmt/format.h>

namespace dkom_report
{

const char *name_of(Backend backend)
{
    constexpr const char *names[] = {"-", "Oracle", "Dravik", "both"};
    return names[backend];
}

std::uint64_t Report::calls() const
{
    std::uint64_t sum = 0;
    for (const Function &function : functions)
        for (const CallRow &row : function.by_backend)
            sum += row.count;
    return sum;
}

std::uint64_t Report::failures() const
{
    std::uint64_t sum = 0;
    for (const Function &function : functions)
        for (const CallRow &row : function.by_backend)
            sum += row.failures;
    return sum;
}

Microseconds Report::first() const
{
    Microseconds first = 0;
    for (const Process &process : processes)
        if (process.first != 0 && (first == 0 || process.first < first))
            first = process.first;
    return first;
}

Microseconds Report::last() const
{
    Microseconds last = 0;
    for (const Process &process : processes)
        last = std::max(last, process.last);
    return last;
}

int Report::level() const
{
    int level = 0;
    for (const Process &process : processes)
        level = std::max(level, process.level);
    return level;
}

std::string type_name(std::int32_t type)
{
    struct Name {
        std::int32_t type;
        const char *name;
    };
    constexpr Name names[] = {
        {1, "environment"},
        {2, "error handle"},
        {3, "service context"},
        {4, "statement"},
        {5, "bind"},
        {6, "define"},
        {7, "describe handle"},
        {8, "server"},
        {9, "session"},
        {10, "transaction"},
        {11, "complex object"},
        {12, "security handle"},
        {13, "subscription"},
        {14, "direct path"},
        {17, "process handle"},
        {26, "connection pool"},
        {27, "session pool"},
        {28, "admin handle"},
        {29, "event"},
        {50, "LOB"},
        {51, "snapshot"},
        {52, "result set"},
        {53, "parameter"},
        {54, "row identifier"},
        {56, "file"},
        {62, "interval (Y-M)"},
        {63, "interval (D-S)"},
        {65, "date"},
        {68, "timestamp"},
        {69, "timestamp (zone)"},
        {70, "timestamp (local)"},
        {72, "server name"},
    };
    const auto *found = std::ranges::find(names, type, &Name::type);
    return found != std::end(names) ? found->name : fmt::format("type {}", type);
}

} // namespace dkom_report
