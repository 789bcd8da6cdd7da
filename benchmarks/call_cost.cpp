/*
 * What a call through libdkom.so costs beside the direct call, in one process. Prints a table of the figures
 * that the library is held to; --benchmark_out=FILE writes every measurement as JSON.
 */
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include "connection.h"
#include "figures.h"
#include "measured_calls.h"

#include "registry.h"

namespace
{

void *volatile wrapper; // what the compiler cannot do without

/* What the two backends need for the pair, and one wrapper. */
void backends_allocate_and_free(benchmark::State &state)
{
    connection &c = main_connection();
    const direct_calls &d = null_backend();
    for ([[maybe_unused]] auto _ : state) {
        void *oracle = nullptr;
        void *dravik = nullptr;
        d.handle_alloc(c.envhp, &oracle, OCI_HTYPE_STMT, 0, nullptr);
        d.handle_alloc(c.envhp, &dravik, OCI_HTYPE_STMT, 0, nullptr);
        wrapper = std::calloc(1, sizeof(om_handle_t));
        d.handle_free(oracle, OCI_HTYPE_STMT);
        d.handle_free(dravik, OCI_HTYPE_STMT);
        std::free(wrapper);
    }
}

/*
 * Lets the process own the memory of so many wrappers already: the first use of a page costs more than what
 * is measured.
 */
void warm_up_memory(size_t wrappers)
{
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    std::vector<void *> blocks;
    for (size_t i = 0; i < wrappers; i++)
        blocks.push_back(std::calloc(1, sizeof(om_handle_t)));
    for (void *block : blocks)
        std::free(block);
}

/* Reads a server into a variable that holds none: each time a wrapper more under the same key. */
void read_handle_value(benchmark::State &state)
{
    warm_up_memory(static_cast<size_t>(state.max_iterations));
    hdl_hash_table_t *const before = hdl_list_tbl;
    hdl_list_tbl = nullptr;
    const connection c;
    for ([[maybe_unused]] auto _ : state) {
        OCIServer *srvhp = nullptr;
        OCIAttrGet(c.svchp, OCI_HTYPE_SVCCTX, &srvhp, nullptr, OCI_ATTR_SERVER, c.errhp);
        benchmark::DoNotOptimize(srvhp);
    }
    hdl_list_tbl = before;
}

constexpr char record_text[] = "END FUNC - OCISessionBegin(): measured record of the usual length, rc=0";

void write_record(benchmark::State &state)
{
    main_connection();
    for ([[maybe_unused]] auto _ : state)
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "%s", record_text);
}

/* The same number of bytes, by the system calls alone. */
void write_bytes(benchmark::State &state)
{
    main_connection();
    writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "%s", record_text);
    const std::string log = std::string(cLogRoot) + "/" + cLogFileName;
    struct stat before {
    };
    struct stat after {
    };
    stat(log.c_str(), &before);
    writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "%s", record_text);
    stat(log.c_str(), &after);
    const std::string bytes(static_cast<size_t>(after.st_size - before.st_size), 'x');
    const std::string path = std::string(cLogRoot) + "/bare.log";
    for ([[maybe_unused]] auto _ : state) {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
        benchmark::DoNotOptimize(write(fd, bytes.data(), bytes.size()));
        close(fd);
    }
}

void commit_at_level(benchmark::State &state)
{
    connection &c = main_connection();
    state.SetLabel(std::to_string(hdl_list_tbl->hash_count) + " handles");
    lStandardSec = ~0U; // the level stays what is set here
    LOG_LVL = static_cast<int>(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(OCITransCommit(c.svchp, c.errhp, OCI_DEFAULT));
    lStandardSec = 0;
    LOG_LVL = OM_DEFAULT_LEVEL;
}

void register_all()
{
    register_measured_calls();
    register_crowds();
    for (const int count : {1000, 100000})
        benchmark::RegisterBenchmark("handle_value", read_handle_value)->Iterations(count);
    benchmark::RegisterBenchmark("handle/backends", backends_allocate_and_free);
    benchmark::RegisterBenchmark("record/written", write_record);
    benchmark::RegisterBenchmark("record/bare", write_bytes);
    for (const int level : {10, 20, 30, 40, 45, 50})
        benchmark::RegisterBenchmark("level", commit_at_level)->Arg(level);
}

std::vector<figure> figures()
{
    std::vector<figure> list = {
        {"commit, against direct", "commit/through", "commit/direct", 4.0},
        {"fetch, against direct", "fetch/through", "fetch/direct", 6.0},
        {"attribute get, against direct", "attribute_get/through", "attribute_get/direct", 6.0},
        {"rebind, against direct", "rebind/through", "rebind/direct", 6.0},
        {"LOB read, against direct", "lob_read/through", "lob_read/direct", 6.0},
        {"number call, against direct", "number/through", "number/direct", 3.0},
        {"date call, against direct", "date/through", "date/direct", 3.0},
        {"commit, any of 10 000 handles, against 10", "commit/any/10000", "commit/newest/10", 2.5},
        {"handle pair, against both backends' and a calloc", "handle/pair/10", "handle/backends", 2.0},
        {"100 000 reads of a handle value, against 1 000", "handle_value/iterations:100000",
         "handle_value/iterations:1000", 1.25},
        {"written record, against open, write, close", "record/written", "record/bare", 1.2},
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
    char directory[] = "/tmp/dkom_bench_XXXXXX";
    if (!mkdtemp(directory)) {
        std::perror("call_cost: no directory for the trace");
        return 1;
    }
    setenv("DKOM_LOG_PATH", directory, 1);
    main_connection();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    register_all();
    median_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const std::string remove = std::string(directory) + "/";
    for (const std::string &file : {remove + cLogFileName, remove + "bare.log"})
        unlink(file.c_str());
    rmdir(directory);
    return print_figures(figures(), reporter.medians()) ? 0 : 1;
}
