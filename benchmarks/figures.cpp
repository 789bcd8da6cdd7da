#include "figures.h"

#include <cstdio>

namespace
{

std::string in_words(double nanoseconds)
{
    char text[32];
    if (nanoseconds < 1e5)
        std::snprintf(text, sizeof text, "%.1f ns", nanoseconds);
    else
        std::snprintf(text, sizeof text, "%.1f ms", nanoseconds / 1e6);
    return text;
}

} // namespace

void median_reporter::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        const bool is_median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        const bool is_only_run = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
        if (!is_median && !is_only_run)
            continue;
        benchmark::BenchmarkName name = run.run_name;
        name.repetitions.clear();
        kept[name.str()] = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
    }
    ConsoleReporter::ReportRuns(runs);
}

bool print_figures(const std::vector<figure> &figures, const std::map<std::string, double> &medians)
{
    bool all_kept = true;
    std::printf("\n%-58s %10s %10s %7s %9s\n", "figure (medians)", "measured", "against", "ratio", "limit");
    for (const figure &f : figures) {
        const auto measured = medians.find(f.measured);
        const auto against = medians.find(f.against);
        if (measured == medians.end() || against == medians.end())
            continue;
        const double ratio = measured->second / against->second;
        const bool kept = f.at_least ? ratio >= f.limit : ratio <= f.limit;
        all_kept = all_kept && kept;
        std::printf("%-58s %10s %10s %7.2f %2s %6.2f%s\n", f.title.c_str(),
                    in_words(measured->second).c_str(), in_words(against->second).c_str(), ratio,
                    f.at_least ? ">=" : "<=", f.limit, kept ? "" : "  MISSED");
    }
    return all_kept;
}
