/*
 * Figures: one measurement against another, held to a limit.
 */
#ifndef BENCHMARKS_FIGURES_H
#define BENCHMARKS_FIGURES_H

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

struct figure {
    std::string title;
    std::string measured;  /* name of a benchmark */
    std::string against;   /* name of another */
    double limit;          /* of measured / against */
    bool at_least = false; /* the limit is a lower one */
};

/* Shows progress on a terminal, and keeps the median of each benchmark in nanoseconds. */
class median_reporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override;
    const std::map<std::string, double> &medians() const { return kept; }

private:
    std::map<std::string, double> kept;
};

/* Prints a table; true when every figure that was measured keeps its limit. */
bool print_figures(const std::vector<figure> &figures, const std::map<std::string, double> &medians);

#endif
