#include "measured_calls.h"

#include <algorithm>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

namespace
{

struct measured_call {
    const char *name;
    sword (*through)(connection &);
    sword (*direct)(const direct_calls &, connection &);
};

OCINumber number;
OCIDate date;
const int one = 1;
ub4 row_count;
ub4 amount;

const measured_call measured_calls[] = {
    {"commit", [](connection &c) { return OCITransCommit(c.svchp, c.errhp, OCI_DEFAULT); },
     [](const direct_calls &d, connection &c) { return d.trans_commit(c.svchp, c.errhp, OCI_DEFAULT); }},
    {"fetch",
     [](connection &c) { return OCIStmtFetch2(c.stmtp, c.errhp, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT); },
     [](const direct_calls &d, connection &c) {
         return d.stmt_fetch2(c.stmtp, c.errhp, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
     }},
    {"attribute_get",
     [](connection &c) {
         return OCIAttrGet(c.stmtp, OCI_HTYPE_STMT, &row_count, nullptr, OCI_ATTR_ROW_COUNT, c.errhp);
     },
     [](const direct_calls &d, connection &c) {
         return d.attr_get(c.stmtp, OCI_HTYPE_STMT, &row_count, nullptr, OCI_ATTR_ROW_COUNT, c.errhp);
     }},
    {"rebind",
     [](connection &c) {
         return OCIBindByPos(c.stmtp, &c.bindp, c.errhp, 1, nullptr, 0, SQLT_CHR, nullptr, nullptr, nullptr,
                             0, nullptr, OCI_DEFAULT);
     },
     [](const direct_calls &d, connection &c) {
         return d.bind_by_pos(c.stmtp, &c.bindp, c.errhp, 1, nullptr, 0, SQLT_CHR, nullptr, nullptr, nullptr,
                              0, nullptr, OCI_DEFAULT);
     }},
    {"lob_read",
     [](connection &c) {
         return OCILobRead(c.svchp, c.errhp, c.locp, &amount, 1, nullptr, 0, nullptr, nullptr, 0,
                           SQLCS_IMPLICIT);
     },
     [](const direct_calls &d, connection &c) {
         return d.lob_read(c.svchp, c.errhp, c.locp, &amount, 1, nullptr, 0, nullptr, nullptr, 0,
                           SQLCS_IMPLICIT);
     }},
    {"number", [](connection &c) { return OCINumberFromInt(c.errhp, &one, 4, OCI_NUMBER_SIGNED, &number); },
     [](const direct_calls &d, connection &c) {
         return d.number_from_int(c.errhp, &one, 4, OCI_NUMBER_SIGNED, &number);
     }},
    {"date", [](connection &c) { return OCIDateAddDays(c.errhp, &date, 1, &date); },
     [](const direct_calls &d, connection &c) { return d.date_add_days(c.errhp, &date, 1, &date); }},
};

void through(benchmark::State &state, const measured_call &call)
{
    connection &c = main_connection();
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(call.through(c));
}

void direct(benchmark::State &state, const measured_call &call)
{
    connection &c = main_connection();
    const direct_calls &d = null_backend();
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(call.direct(d, c));
}

enum class which { oldest, newest, any };

void commit_among(benchmark::State &state, which handle)
{
    connection &c = main_connection();
    more_handles more(static_cast<size_t>(state.range(0)));
    std::vector<OCISvcCtx *> order{handle == which::oldest ? c.svchp : more.handles.back()};
    if (handle == which::any) {
        order = more.handles;
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    }
    size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(OCITransCommit(order[next], c.errhp, OCI_DEFAULT));
        if (++next == order.size())
            next = 0;
    }
}

void allocate_and_free(benchmark::State &state)
{
    connection &c = main_connection();
    more_handles more(static_cast<size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        void *hndlp = nullptr;
        OCIHandleAlloc(c.envhp, &hndlp, OCI_HTYPE_STMT, 0, nullptr);
        OCIHandleFree(hndlp, OCI_HTYPE_STMT);
    }
}

/* A statement with its child is made and freed while other statements' children fill the table. */
void free_statement(benchmark::State &state)
{
    connection &c = main_connection();
    more_handles more(static_cast<size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        void *stmtp = nullptr;
        OCIHandleAlloc(c.envhp, &stmtp, OCI_HTYPE_STMT, 0, nullptr);
        OCIBind *bindp = nullptr;
        OCIBindByPos(static_cast<OCIStmt *>(stmtp), &bindp, c.errhp, 1, nullptr, 0, SQLT_CHR, nullptr,
                     nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
        OCIHandleFree(stmtp, OCI_HTYPE_STMT);
    }
}

/* A connection of the calling thread's own; one for all repetitions. */
const connection &thread_connection()
{
    static thread_local const connection c;
    return c;
}

void commit_in_threads(benchmark::State &state)
{
    const connection &c = thread_connection();
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(OCITransCommit(c.svchp, c.errhp, OCI_DEFAULT));
}

/* How far the machine lets two threads run at once. */
void direct_in_threads(benchmark::State &state)
{
    const connection &c = thread_connection();
    const direct_calls &d = null_backend();
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(d.trans_commit(c.svchp, c.errhp, OCI_DEFAULT));
}

} // namespace

connection &main_connection()
{
    static connection c;
    return c;
}

more_handles::more_handles(size_t count)
{
    connection &c = main_connection();
    for (size_t i = 0; i < count; i++) {
        handles.push_back(c.allocate<OCISvcCtx>(OCI_HTYPE_SVCCTX));
        connection::check(OCIAttrSet(handles.back(), OCI_HTYPE_SVCCTX, c.srvhp, 0, OCI_ATTR_SERVER, c.errhp),
                          "OCIAttrSet");
    }
}

more_handles::~more_handles()
{
    for (OCISvcCtx *svchp : handles)
        OCIHandleFree(svchp, OCI_HTYPE_SVCCTX);
}

void register_measured_calls()
{
    for (const measured_call &call : measured_calls) {
        benchmark::RegisterBenchmark((std::string(call.name) + "/through").c_str(),
                                     [&call](benchmark::State &s) { through(s, call); });
        benchmark::RegisterBenchmark((std::string(call.name) + "/direct").c_str(),
                                     [&call](benchmark::State &s) { direct(s, call); });
    }
}

void register_crowds()
{
    for (const int count : {10, 1000, 10000, 100000}) {
        benchmark::RegisterBenchmark("commit/oldest", commit_among, which::oldest)->Arg(count);
        benchmark::RegisterBenchmark("commit/newest", commit_among, which::newest)->Arg(count);
        benchmark::RegisterBenchmark("handle/pair", allocate_and_free)->Arg(count);
        benchmark::RegisterBenchmark("statement/free", free_statement)->Arg(count);
    }
    benchmark::RegisterBenchmark("commit/any", commit_among, which::any)->Arg(10000);
    for (const int threads : {1, 2}) {
        benchmark::RegisterBenchmark("commit", commit_in_threads)->Threads(threads)->UseRealTime();
        benchmark::RegisterBenchmark("direct", direct_in_threads)->Threads(threads)->UseRealTime();
    }
}
