/*
 * What a call through libdkomx.so costs beside the direct call, in one process. Prints a table of the figures
 * that the extended edition is held to; --benchmark_out=FILE writes every measurement as JSON.
 */
#include "figures.h"
#include "measured_calls.h"

namespace
{

std::vector<figure> figures()
{
    std::vector<figure> list = {
        {"commit, against direct", "commit/through", "commit/direct", 2.0},
        {"fetch, against direct", "fetch/through", "fetch/direct", 2.5},
        {"attribute get, against direct", "attribute_get/through", "attribute_get/direct", 2.5},
        {"rebind, against direct", "rebind/through", "rebind/direct", 2.5},
        {"LOB read, against direct", "lob_read/through", "lob_read/direct", 3.0},
        {"number call, against direct", "number/through", "number/direct", 2.5},
        {"date call, against direct", "date/through", "date/direct", 2.5},
        {"two threads, throughput of one", "commit/real_time/threads:1", "commit/real_time/threads:2", 1.9,
         true},
    };
    for (const char *count : {"1000", "10000", "100000"}) {
        const std::string of = std::string(" at ") + count + " handles, against 10";
        for (const char *handle : {"oldest", "newest"})
            list.push_back({"commit, " + std::string(handle) + of,
                            "commit/" + std::string(handle) + "/" + count,
                            "commit/" + std::string(handle) + "/10", 1.25});
        list.push_back({"handle pair" + of, std::string("handle/pair/") + count, "handle/pair/10", 1.25});
        list.push_back({"statement with a bind, freed" + of, std::string("statement/free/") + count,
                        "statement/free/10", 1.25});
    }
    return list;
}

} // namespace

int main(int argc, char **argv)
{
    main_connection();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    register_measured_calls();
    register_crowds();
    median_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return print_figures(figures(), reporter.medians()) ? 0 : 1;
}
