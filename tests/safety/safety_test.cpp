/* What surrounds calls: exceptions, cancellation, signal handlers, forks, and running out of memory. */
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include <execinfo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bare_backend.h"
#include "child.h"
#include "oci_manager/registry.h"

using testing::HasSubstr;

namespace
{

struct handles {
    OCIEnv *env = nullptr;
    OCISvcCtx *svc = nullptr;
    OCIError *err = nullptr;

    handles()
    {
        EXPECT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr),
                  OCI_SUCCESS);
        svc = make<OCISvcCtx>(OCI_HTYPE_SVCCTX);
        err = make<OCIError>(OCI_HTYPE_ERROR);
    }

    template <class T> T *make(ub4 type) const
    {
        void *handle = nullptr;
        EXPECT_EQ(OCIHandleAlloc(env, &handle, type, 0, nullptr), OCI_SUCCESS);
        return static_cast<T *>(handle);
    }
};

void expect_success(const child_result &result)
{
    EXPECT_TRUE(result.succeeded()) << "status " << result.status << "\n" << result.output;
}

/* ---- unwinding ---- */

void *refuse_memory(void *, size_t)
{
    throw std::runtime_error("no memory");
}

sb4 refuse_piece(void *, const void *, ub4, ub1)
{
    throw std::runtime_error("no piece");
}

TEST(Unwinding, ExceptionsLeaveCallbacks)
{
    expect_success(run_in_child([] {
        OCIEnv *env = nullptr;
        EXPECT_THROW(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, refuse_memory, nullptr, nullptr, 0, nullptr),
                     std::runtime_error);
        const handles h;
        void *lob = nullptr;
        OCIDescriptorAlloc(h.env, &lob, OCI_DTYPE_LOB, 0, nullptr);
        ub4 amount = 0;
        EXPECT_THROW(OCILobRead(h.svc, h.err, static_cast<OCILobLocator *>(lob), &amount, 1, nullptr, 0,
                                nullptr, refuse_piece, 0, SQLCS_IMPLICIT),
                     std::runtime_error);
        EXPECT_EQ(OCITransCommit(h.svc, h.err, OCI_DEFAULT), OCI_SUCCESS);
    }));
}

std::atomic<int> destroyed;

void *wait_for_the_server(void *ready)
{
    struct guard {
        ~guard() { destroyed++; }
    };
    const handles h;
    const guard g;
    static_cast<std::atomic<bool> *>(ready)->store(true);
    OCITransRollback(h.svc, h.err, OCI_DEFAULT);
    return nullptr;
}

TEST(Unwinding, CancellationRunsDestructors)
{
    expect_success(run_in_child([] {
        std::atomic<bool> ready = false;
        pthread_t thread{};
        pthread_create(&thread, nullptr, wait_for_the_server, &ready);
        while (!ready)
            std::this_thread::yield();
        pthread_cancel(thread);
        void *result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(destroyed, 1);
    }));
}

void print_backtrace(int)
{
    void *frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
    _exit(0);
}

} // namespace

/* Exported by the program, so that a backtrace can name it. */
extern "C" [[gnu::noinline]] void caller_of_the_stop(void *no_handle)
{
    OCITransCommit(static_cast<OCISvcCtx *>(no_handle), nullptr, OCI_DEFAULT);
    std::puts("not stopped");
}

namespace
{

TEST(Unwinding, BacktracesOfAStopNameTheCaller)
{
    const child_result result = run_in_child([] {
        void *warm_up[1];
        backtrace(warm_up, 1);
        std::signal(SIGABRT, print_backtrace);
        const handles h;
        caller_of_the_stop(warm_up);
    });
    EXPECT_THAT(result.output, HasSubstr("Assertion `wsvchp != ((void *)0)' failed"));
    EXPECT_THAT(result.output, HasSubstr("OCITransCommit"));
    EXPECT_THAT(result.output, HasSubstr("caller_of_the_stop"));
}

/* ---- signal handlers ---- */

OCISvcCtx *context_to_break;
std::atomic<long> breaks;
std::atomic<long> failed_breaks;

/* The next alarm comes a tenth of a millisecond from here, however long the handler took: the program goes
 * on. */
void set_alarm()
{
    const itimerval soon{{0, 0}, {0, 100}};
    setitimer(ITIMER_REAL, &soon, nullptr);
}

void break_off(int)
{
    lStandardSec = 0; // as if the interrupted call had taken longer than the trace level holds
    if (OCIBreak(context_to_break, nullptr) != OCI_SUCCESS)
        failed_breaks++;
    breaks++;
    set_alarm();
}

/* A thread's first environment and service context, made while no signal comes. */
handles start_over()
{
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    sigprocmask(SIG_BLOCK, &alarms, nullptr);
    hdl_list_tbl = nullptr;
    handles h;
    context_to_break = h.svc;
    sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
    return h;
}

class Breaks : public testing::TestWithParam<int>
{
};

/* Every tenth of a millisecond, for some seconds, from a handler that interrupts whatever is done. */
TEST_P(Breaks, HurtNothing)
{
    const trace_directory trace(GetParam());
    /* Above level 30 each call writes the whole table, over and over. */
    const int handles_a_round = GetParam() > OM_LOG_INFO ? 140 : 5000;
    expect_success(run_in_child([&] {
        start_over();
        std::signal(SIGALRM, break_off);
        set_alarm();
        const std::time_t end = std::time(nullptr) + 2;
        while (std::time(nullptr) < end) {
            const handles h = start_over();
            for (int i = 0; i < handles_a_round && std::time(nullptr) < end; i++) {
                h.make<OCIStmt>(OCI_HTYPE_STMT); // lets the index grow
                EXPECT_EQ(OCITransCommit(h.svc, h.err, OCI_DEFAULT), OCI_SUCCESS);
                tzset(); // takes the lock of the C library's zone
            }
        }
        EXPECT_GT(breaks, 100);
        EXPECT_EQ(failed_breaks, 0);
    }));
}

INSTANTIATE_TEST_SUITE_P(AtLevel, Breaks, testing::Values(OM_LOG_ASSERT, OM_LOG_INFO, OM_LOG_TRACE));

/* ---- forks ---- */

TEST(Forks, ChildrenCallWhileThreadsTrace)
{
    const trace_directory trace(OM_LOG_TRACE);
    expect_success(run_in_child([] {
        std::atomic<bool> done = false;
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int i = 0; i < 4; i++)
            threads.emplace_back([&] {
                const handles h;
                while (!done) {
                    OCITransCommit(h.svc, h.err, OCI_DEFAULT);
                    tzset();
                }
            });
        const handles h;
        for (int i = 0; i < 500; i++) {
            const pid_t child = fork();
            if (child == 0) {
                alarm(20); // rather a dead child than a test that hangs
                lStandardSec = 0;
                _exit(OCITransCommit(h.svc, h.err, OCI_DEFAULT));
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        done = true;
        for (std::thread &t : threads)
            t.join();
    }));
}

/* ---- what the program would notice ---- */

TEST(Trace, LeavesTheProgramsZoneAndErrnoAlone)
{
    expect_success(run_in_child([] {
        setenv("TZ", "UTC0", 1);
        tzset();
        setenv("TZ", "XYZ-9", 1);
        setenv("DKOM_LOG_LEVEL", "99999999999999999999", 1); // out of range
        errno = 0;
        const handles h;
        writeLog(OM_LOG_ASSERT, "test.cpp", 1, "%s", "a record");
        EXPECT_EQ(errno, 0);
        EXPECT_STREQ(tzname[0], "UTC");
    }));
}

TEST(Trace, AChangedZoneShowsAtOnce)
{
    const trace_directory trace(OM_LOG_ASSERT);
    expect_success(run_in_child([] {
        for (const char *zone : {"UTC0", "XYZ-9", "UTC0", ":Nowhere/None", "ABC+9"}) {
            setenv("TZ", zone, 1);
            writeLog(OM_LOG_ASSERT, "test.cpp", 1, "%s", zone);
        }
    }));
    std::vector<std::time_t> times;
    std::istringstream lines(trace.contents());
    for (std::string line; std::getline(lines, line);) {
        std::tm fields{};
        ASSERT_NE(strptime(line.c_str(), "[%Y-%m-%d %H:%M:%S:", &fields), nullptr) << line;
        times.push_back(timegm(&fields));
    }
    ASSERT_EQ(times.size(), 5U);
    const long hours[] = {9, 0, 0, -9};
    for (std::size_t i = 0; i < 4; i++)
        EXPECT_NEAR(static_cast<double>(times[i + 1] - times[0]), static_cast<double>(hours[i] * 3600), 60.0);
}

} // namespace
