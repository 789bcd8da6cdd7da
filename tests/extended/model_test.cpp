/*
 * Random calls, compared with a model of what each must return and where it must run: on handles that live,
 * that were freed, and that are none.
 */
#include <algorithm>
#include <random>
#include <thread>

#include "recorded.h"

namespace extended_tests
{
namespace
{

/* What a call of this thread has last reached a backend with. */
thread_local words last_arguments;
thread_local int last_side = -1;
thread_local own_handles made;

constexpr int nowhere = -1;

struct model_handle {
    void *pointer = nullptr;
    int type = 0;
    own_handles own{};
    int side = nowhere;        // server: attached to; LOB: where its value is; statement: where it ran
    bool prepared = false;     // statement
    std::size_t server = none; // service context
    int reported = nowhere;    // error handle: 0 and 1 a side, 2 the manager

    static constexpr std::size_t none = static_cast<std::size_t>(-1);
};

class model
{
public:
    model(OCIEnv *environment, unsigned int seed, bool alone)
        : env(environment), random(seed), is_alone(alone)
    {
        for (const int type :
             {OCI_HTYPE_ERROR, OCI_HTYPE_SVCCTX, OCI_HTYPE_SERVER, OCI_HTYPE_STMT, OCI_DTYPE_LOB})
            allocate(type);
    }
    ~model()
    {
        for (std::size_t i = 0; i < handles.size(); i++)
            if (handles[i].pointer != nullptr)
                release(i);
    }
    model(const model &) = delete;
    model &operator=(const model &) = delete;

    void step()
    {
        static constexpr int types[] = {OCI_HTYPE_ERROR, OCI_HTYPE_SVCCTX, OCI_HTYPE_SERVER, OCI_HTYPE_STMT,
                                        OCI_DTYPE_LOB};
        switch (number(13)) {
        case 0:
            return allocate(types[number(5)]);
        case 1:
            return release_any();
        case 2:
            return attach();
        case 3:
            return set_server();
        case 4:
            return prepare();
        case 5:
            return execute();
        case 6:
            return trim_lob();
        case 7:
            return read_error();
        case 8:
        case 9:
            return call_with_no_handle();
        default:
            return end_transaction();
        }
    }

    OCISvcCtx *any_service() { return static_cast<OCISvcCtx *>(handles[pick(OCI_HTYPE_SVCCTX)].pointer); }

private:
    std::size_t number(std::size_t below) { return random() % below; }

    /* The number of a live handle; the first of each type is never freed. */
    std::size_t pick(int type)
    {
        std::vector<std::size_t> candidates;
        for (std::size_t i = 0; i < handles.size(); i++)
            if (handles[i].pointer != nullptr && handles[i].type == type)
                candidates.push_back(i);
        return candidates[number(candidates.size())];
    }
    model_handle &any(int type) { return handles[pick(type)]; }

    static OCIError *error(const model_handle &h) { return static_cast<OCIError *>(h.pointer); }
    static OCISvcCtx *service(const model_handle &h) { return static_cast<OCISvcCtx *>(h.pointer); }
    static OCIStmt *statement(const model_handle &h) { return static_cast<OCIStmt *>(h.pointer); }

    /* Where calls on a service context run. */
    int side_of(const model_handle &svc) const
    {
        const int side = svc.server == model_handle::none ? nowhere : handles[svc.server].side;
        return side == nowhere ? static_cast<int>(home()) : side;
    }

    /* A call reached a side with these handles, or none. */
    void expect_reached(int side, const std::vector<const model_handle *> &given)
    {
        ASSERT_EQ(last_side, side);
        for (std::size_t i = 0; i < given.size(); i++)
            ASSERT_EQ(last_arguments[i], to_word(given[i]->own[static_cast<std::size_t>(side)]));
    }

    void allocate(int type)
    {
        if (handles.size() > 200) {
            const auto freed = std::find_if(handles.begin() + 5, handles.end(),
                                            [](const model_handle &h) { return h.pointer == nullptr; });
            if (freed == handles.end())
                return release_any();
        }
        model_handle h;
        h.type = type;
        const sword rc = type < OCI_DTYPE_FIRST
                             ? OCIHandleAlloc(env, &h.pointer, static_cast<ub4>(type), 0, nullptr)
                             : OCIDescriptorAlloc(env, &h.pointer, static_cast<ub4>(type), 0, nullptr);
        ASSERT_EQ(rc, OCI_SUCCESS);
        h.own = made;
        std::erase(freed_handles, h.pointer);
        for (std::size_t i = 5; i < handles.size(); i++) {
            if (handles[i].pointer == nullptr) {
                handles[i] = h;
                return;
            }
        }
        handles.push_back(h);
    }

    void release(std::size_t index)
    {
        model_handle &h = handles[index];
        const sword rc = h.type < OCI_DTYPE_FIRST ? OCIHandleFree(h.pointer, static_cast<ub4>(h.type))
                                                  : OCIDescriptorFree(h.pointer, static_cast<ub4>(h.type));
        ASSERT_EQ(rc, OCI_SUCCESS);
        for (model_handle &other : handles)
            if (other.server == index)
                other.server = model_handle::none;
        freed_handles.push_back(h.pointer);
        if (freed_handles.size() > 50)
            freed_handles.erase(freed_handles.begin());
        h = {};
    }

    void release_any()
    {
        if (handles.size() <= 5)
            return;
        const std::size_t index = 5 + number(handles.size() - 5);
        if (handles[index].pointer != nullptr)
            release(index);
    }

    void attach()
    {
        model_handle &srv = any(OCI_HTYPE_SERVER);
        model_handle &err = any(OCI_HTYPE_ERROR);
        auto *server = static_cast<OCIServer *>(srv.pointer);
        if (srv.side != nowhere) {
            ASSERT_EQ(OCIServerDetach(server, error(err), OCI_DEFAULT), OCI_SUCCESS);
            expect_reached(srv.side, {&srv, &err});
            srv.side = nowhere;
            return;
        }
        const bool is_oracle = number(2) == 0;
        const auto *link = reinterpret_cast<const OraText *>(is_oracle ? "o1" : "d1");
        ASSERT_EQ(OCIServerAttach(server, error(err), link, 2, OCI_DEFAULT), OCI_SUCCESS);
        srv.side = is_oracle ? oracle : dravik;
        expect_reached(srv.side, {&srv, &err});
        err.reported = nowhere; // a new attempt forgets the reasons of the last one
    }

    void set_server()
    {
        model_handle &svc = any(OCI_HTYPE_SVCCTX);
        const std::size_t srv = pick(OCI_HTYPE_SERVER);
        const model_handle &err = any(OCI_HTYPE_ERROR);
        ASSERT_EQ(
            OCIAttrSet(svc.pointer, OCI_HTYPE_SVCCTX, handles[srv].pointer, 0, OCI_ATTR_SERVER, error(err)),
            OCI_SUCCESS);
        svc.server = srv;
    }

    void prepare()
    {
        model_handle &stmt = any(OCI_HTYPE_STMT);
        const OraText text[] = "select";
        ASSERT_EQ(OCIStmtPrepare(statement(stmt), error(any(OCI_HTYPE_ERROR)), text, 6, OCI_NTV_SYNTAX,
                                 OCI_DEFAULT),
                  OCI_SUCCESS);
        stmt.prepared = true;
        stmt.side = nowhere;
    }

    void execute()
    {
        const model_handle &svc = any(OCI_HTYPE_SVCCTX);
        model_handle &stmt = any(OCI_HTYPE_STMT);
        const model_handle &err = any(OCI_HTYPE_ERROR);
        if (!stmt.prepared)
            return;
        ASSERT_EQ(
            OCIStmtExecute(service(svc), statement(stmt), error(err), 1, 0, nullptr, nullptr, OCI_DEFAULT),
            OCI_SUCCESS);
        stmt.side = side_of(svc);
        expect_reached(stmt.side, {&svc, &stmt, &err});
        ASSERT_EQ(OCIStmtFetch2(statement(stmt), error(err), 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT), OCI_SUCCESS);
        expect_reached(stmt.side, {&stmt, &err});
    }

    /* A LOB without a value may go anywhere; one with a value is its database's. */
    void trim_lob()
    {
        const model_handle &svc = any(OCI_HTYPE_SVCCTX);
        model_handle &lob = any(OCI_DTYPE_LOB);
        model_handle &err = any(OCI_HTYPE_ERROR);
        const int side = side_of(svc);
        const bool is_foreign = lob.side != nowhere && lob.side != side;
        last_side = nowhere;
        ASSERT_EQ(OCILobTrim(service(svc), error(err), static_cast<OCILobLocator *>(lob.pointer), 1),
                  is_foreign ? OCI_ERROR : OCI_SUCCESS);
        if (is_foreign) {
            ASSERT_EQ(last_side, nowhere);
            err.reported = 2;
        } else {
            expect_reached(side, {&svc, &err, &lob});
            lob.side = side;
        }
    }

    /* Commits succeed, rollbacks fail. */
    void end_transaction()
    {
        const model_handle &svc = any(OCI_HTYPE_SVCCTX);
        model_handle &err = any(OCI_HTYPE_ERROR);
        const int side = side_of(svc);
        if (number(2) == 0) {
            ASSERT_EQ(OCITransCommit(service(svc), error(err), OCI_DEFAULT), OCI_SUCCESS);
        } else {
            ASSERT_EQ(OCITransRollback(service(svc), error(err), OCI_DEFAULT), OCI_ERROR);
            err.reported = side;
        }
        expect_reached(side, {&svc, &err});
    }

    void read_error()
    {
        const model_handle &err = any(OCI_HTYPE_ERROR);
        sb4 code = 0;
        OraText text[512];
        last_side = nowhere;
        const sword rc = OCIErrorGet(err.pointer, 1, nullptr, &code, text, sizeof text, OCI_HTYPE_ERROR);
        if (err.reported == nowhere) {
            ASSERT_EQ(rc, OCI_NO_DATA);
        } else if (err.reported == 2) {
            ASSERT_EQ(rc, OCI_SUCCESS);
            ASSERT_EQ(code, 90004);
        } else {
            ASSERT_EQ(rc, OCI_SUCCESS);
            expect_reached(err.reported, {&err});
        }
    }

    void call_with_no_handle()
    {
        static char elsewhere[256];
        model_handle &svc = any(OCI_HTYPE_SVCCTX);
        model_handle &err = any(OCI_HTYPE_ERROR);
        std::vector<void *> none{nullptr,
                                 elsewhere,
                                 reinterpret_cast<void *>(&none),
                                 err.pointer,
                                 static_cast<char *>(svc.pointer) + 1 + number(63),
                                 from_word<void *>(to_word(svc.pointer) + (word{1} << 38)),
                                 from_word<void *>(random() | (word{random()} << 32))};
        // What this thread has freed another one may have been given.
        if (is_alone)
            none.insert(none.end(), freed_handles.begin(), freed_handles.end());
        void *bad = none[number(none.size())];
        last_side = nowhere;
        if (number(2) == 0) {
            ASSERT_EQ(OCITransCommit(static_cast<OCISvcCtx *>(bad), error(err), OCI_DEFAULT),
                      OCI_INVALID_HANDLE);
        } else if (bad != nullptr && bad != err.pointer) {
            ASSERT_EQ(OCITransCommit(service(svc), static_cast<OCIError *>(bad), OCI_DEFAULT),
                      OCI_INVALID_HANDLE);
            ASSERT_EQ(OCIHandleFree(bad, OCI_HTYPE_STMT), OCI_INVALID_HANDLE);
        }
        ASSERT_EQ(last_side, nowhere);
    }

    OCIEnv *const env;
    std::mt19937 random;
    const bool is_alone;
    std::vector<model_handle> handles;
    std::vector<void *> freed_handles;
};

class ExtendedModel : public testing::Test
{
protected:
    ExtendedModel()
    {
        setenv("DKOM_ROUTES", "o*=oracle,d*=dravik", 1);
        const char *count = std::getenv("EXTENDED_TESTS_CALLS");
        if (count != nullptr)
            calls_wanted = std::stoul(count);
        const char *seed = std::getenv("DKOM_TEST_SEED");
        if (seed != nullptr)
            first_seed = static_cast<unsigned int>(std::stoul(seed));
        for (const side s : {oracle, dravik}) {
            backend(s).reset();
            for (const char *function : {"OCITransCommit", "OCIServerAttach", "OCIServerDetach",
                                         "OCIStmtExecute", "OCIStmtFetch2", "OCILobTrim", "OCIErrorGet"})
                note_calls(s, function, OCI_SUCCESS);
            note_calls(s, "OCITransRollback", OCI_ERROR);
            for (const char *function : {"OCIHandleAlloc", "OCIDescriptorAlloc"})
                backend(s).always(function, OCI_SUCCESS, [s](const words &a) {
                    made[s] = backend(s).create();
                    target<void *>(a[1]) = made[s];
                });
        }
        EXPECT_EQ(OCIEnvCreate(&env, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0, nullptr),
                  OCI_SUCCESS);
    }
    ~ExtendedModel() override
    {
        EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
        unsetenv("DKOM_ROUTES");
    }

    static void note_calls(side s, const char *function, sword result)
    {
        backend(s).always(function, result, [s](const words &a) {
            last_arguments = a;
            last_side = static_cast<int>(s);
        });
    }

    static void run(model &m, unsigned long count)
    {
        for (unsigned long i = 0; i < count && !HasFailure(); i++) {
            m.step();
            if (i % 1000 == 0)
                forget_calls();
        }
    }

    unsigned long calls_wanted = 1000000;
    unsigned int first_seed = 0;
    OCIEnv *env = nullptr;
};

TEST_F(ExtendedModel, agrees_with_random_calls)
{
    if (!has(oracle) || !has(dravik))
        GTEST_SKIP() << "needs both";
    model m(env, 20260304 + first_seed, true);
    run(m, calls_wanted);
}

TEST_F(ExtendedModel, agrees_in_several_threads_that_share_an_environment)
{
    if (!has(oracle) || !has(dravik))
        GTEST_SKIP() << "needs both";
    model shared(env, 1 + first_seed, false);
    OCISvcCtx *common = shared.any_service();
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 4; i++)
        threads.emplace_back([this, i, common] {
            model m(env, 7 + i + first_seed, false);
            for (int round = 0; round < 100; round++) {
                run(m, calls_wanted / 1000);
                EXPECT_EQ(OCITransCommit(common, nullptr, OCI_DEFAULT), OCI_SUCCESS);
            }
        });
    for (std::thread &t : threads)
        t.join();
}

} // namespace
} // namespace extended_tests
