/* Threads: racing first calls, an environment each, handles of another thread. */
#include <algorithm>
#include <barrier>
#include <thread>

#include "fixture.h"

using namespace manager_tests;

namespace
{

constexpr int thread_count = 8;

/* Runs a function in several threads that start together. */
void in_threads(const std::function<void(int)> &body)
{
    std::barrier start(thread_count);
    std::vector<std::thread> threads;
    threads.reserve(thread_count);
    for (int i = 0; i < thread_count; i++)
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            body(i);
        });
    for (std::thread &t : threads)
        t.join();
}

OCIEnv *new_environment()
{
    OCIEnv *env = nullptr;
    EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
    return env;
}

template <class T> T *allocate(OCIEnv *env, ub4 type)
{
    void *handle = nullptr;
    EXPECT_EQ(OCIHandleAlloc(env, &handle, type, 0, nullptr), OCI_SUCCESS);
    return static_cast<T *>(handle);
}

class ThreadTest : public EmptyTest
{
};

TEST_F(ThreadTest, RacingFirstCallsLoadOnce)
{
    EXPECT_IN_NEW_PROCESS({
        in_threads([](int) {
            OCIEnv *env = new_environment();
            EXPECT_EQ(table().size(), 1U);
            EXPECT_EQ(wrapper(env)->last_exec, 3U);
            EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
        });
        const auto count = [](int from, const char *function) {
            return std::count_if(calls().begin(), calls().end(), [&](const recording::call &c) {
                return c.from == from && c.function == function;
            });
        };
        EXPECT_EQ(count(recording::oracle, "OCIEnvCreate"), 1 + thread_count);
        EXPECT_EQ(count(recording::dravik, "OCIEnvCreate"), thread_count);
        EXPECT_EQ(count(recording::oracle, "OCIHandleAlloc"), 1);
    });
}

/* One connection, from the environment to its end, by each thread; half of them on Dravik. */
TEST_F(ThreadTest, AnEnvironmentEach)
{
    in_threads([](int number) {
        for (int round = 0; round < 20; round++) {
            OCIEnv *env = new_environment();
            auto *err = allocate<OCIError>(env, OCI_HTYPE_ERROR);
            auto *srv = allocate<OCIServer>(env, OCI_HTYPE_SERVER);
            auto *svc = allocate<OCISvcCtx>(env, OCI_HTYPE_SVCCTX);
            auto *stmt = allocate<OCIStmt>(env, OCI_HTYPE_STMT);
            const ub4 backend = number % 2 == 0 ? 1 : 2;
            route(srv, backend);
            EXPECT_EQ(OCIServerAttach(srv, err, text_of("link"), 4, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, srv, 0, OCI_ATTR_SERVER, err), OCI_SUCCESS);
            EXPECT_EQ(OCIStmtPrepare(stmt, err, text_of("link"), 4, OCI_NTV_SYNTAX, OCI_DEFAULT),
                      OCI_SUCCESS);
            EXPECT_EQ(OCIStmtExecute(svc, stmt, err, 1, 0, nullptr, nullptr, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(wrapper(stmt)->last_exec, backend);
            EXPECT_EQ(OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
            EXPECT_EQ(OCIHandleFree(svc, OCI_HTYPE_SVCCTX), OCI_SUCCESS);
            EXPECT_EQ(OCIHandleFree(srv, OCI_HTYPE_SERVER), OCI_SUCCESS);
            EXPECT_EQ(OCIHandleFree(err, OCI_HTYPE_ERROR), OCI_SUCCESS);
            EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
            EXPECT_EQ(hdl_list_tbl->hash_count, 0U);
        }
    });
}

TEST_F(ThreadTest, RecordsArriveWhole)
{
    const trace_capture trace(30);
    in_threads([](int number) {
        for (int i = 0; i < 50; i++)
            writeLog(30, "test.cpp", number, "%s",
                     std::string(5000, static_cast<char>('a' + number)).c_str());
    });
    std::vector<int> count(thread_count);
    for (const record &r : trace.records()) {
        ASSERT_GE(r.line, 0);
        ASSERT_LT(r.line, thread_count);
        count[static_cast<std::size_t>(r.line)]++;
        EXPECT_EQ(r.text, std::string(5000, static_cast<char>('a' + r.line)));
    }
    EXPECT_THAT(count, testing::Each(50));
}

TEST_F(ThreadTest, StateIsEachThreadsOwn)
{
    LOG_LVL = 45;
    lStandardSec = ~0U;
    init_oci_manager();
    std::thread([] {
        EXPECT_EQ(LOG_LVL, 10);
        EXPECT_EQ(lStandardSec, 0U);
        EXPECT_EQ(cLogInit, 0);
        EXPECT_EQ(hdl_list_tbl, nullptr);
        LOG_LVL = 20;
    }).join();
    EXPECT_EQ(LOG_LVL, 45);
}

TEST_F(ThreadTest, AnotherThreadsHandleStops)
{
    OCIEnv *env = new_environment();
    auto *stmt = allocate<OCIStmt>(env, OCI_HTYPE_STMT);
    const auto fetch_elsewhere = [&](bool with_table) {
        return [&, with_table] {
            std::thread([&] {
                if (with_table)
                    new_environment();
                OCIStmtFetch(stmt, nullptr, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
            }).join();
        };
    };
    expect_stop({fetch_elsewhere(true), "OCIStmtFetch", "wstmtp != ((void *)0)", "", 3151});
    expect_stop({fetch_elsewhere(false), "get_hash_table_entry", "tblp != ((void *)0)"});
}

} // namespace
