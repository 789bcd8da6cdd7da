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

OCIEnv *create_environment()
{
    OCIEnv *env = nullptr;
    EXPECT_EQ(OCIEnvCreate(&env, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    return env;
}

class ThreadTest : public EmptyTest
{
};

TEST_F(ThreadTest, RacingFirstCallsLoadOnce)
{
    EXPECT_IN_NEW_PROCESS({
        in_threads([](int) {
            OCIEnv *env = create_environment();
            EXPECT_EQ(table().size(), 1U);
            EXPECT_EQ(wrapper(env)->last_exec, 3U);
            EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
        });
        const std::vector<std::string> names = called();
        EXPECT_EQ(std::count(names.begin(), names.end(), "Oracle.OCIEnvCreate"), 1 + thread_count);
        EXPECT_EQ(std::count(names.begin(), names.end(), "Dravik.OCIEnvCreate"), thread_count);
        EXPECT_EQ(std::count(names.begin(), names.end(), "Oracle.OCIHandleAlloc"), 1);
    });
}

/* One connection, from the environment to its end, by each thread; half of them on Dravik. */
TEST_F(ThreadTest, AnEnvironmentEach)
{
    oracle().always("OCIServerAttach", OCI_SUCCESS);
    in_threads([](int number) {
        for (int round = 0; round < 20; round++) {
            OCIEnv *env = create_environment();
            const auto allocate = [&](ub4 type) {
                void *handle = nullptr;
                EXPECT_EQ(OCIHandleAlloc(env, &handle, type, 0, nullptr), OCI_SUCCESS);
                return handle;
            };
            auto *err = static_cast<OCIError *>(allocate(OCI_HTYPE_ERROR));
            auto *srv = static_cast<OCIServer *>(allocate(OCI_HTYPE_SERVER));
            auto *svc = static_cast<OCISvcCtx *>(allocate(OCI_HTYPE_SVCCTX));
            auto *stmt = static_cast<OCIStmt *>(allocate(OCI_HTYPE_STMT));
            const ub4 backend = number % 2 == 0 ? 1 : 2;
            route(srv, backend);
            const auto *link = reinterpret_cast<const OraText *>("link");
            EXPECT_EQ(OCIServerAttach(srv, err, link, 4, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, srv, 0, OCI_ATTR_SERVER, err), OCI_SUCCESS);
            EXPECT_EQ(OCIStmtPrepare(stmt, err, link, 4, OCI_NTV_SYNTAX, OCI_DEFAULT), OCI_SUCCESS);
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
    OCIEnv *env = create_environment();
    void *stmt = nullptr;
    EXPECT_EQ(OCIHandleAlloc(env, &stmt, OCI_HTYPE_STMT, 0, nullptr), OCI_SUCCESS);
    const auto fetch_elsewhere = [&](bool with_table) {
        return [&, with_table] {
            std::thread([&] {
                if (with_table)
                    create_environment();
                OCIStmtFetch(static_cast<OCIStmt *>(stmt), nullptr, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
            }).join();
        };
    };
    expect_stop({.name = "with a table of its own",
                 .call = fetch_elsewhere(true),
                 .function = "OCIStmtFetch",
                 .assertion = "wstmtp != ((void *)0)",
                 .line = 3151});
    expect_stop({.name = "without a table",
                 .call = fetch_elsewhere(false),
                 .function = "get_hash_table_entry",
                 .assertion = "tblp != ((void *)0)"});
}

} // namespace
