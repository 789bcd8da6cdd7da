/*
 * Memory: how much a call allocates at the default trace level, that it gives back what it took, and what
 * happens when there is none. The allocation functions of this program stand in for the C library's; a
 * sanitizer brings its own, so that these tests are not built with one.
 */
#include <cstdlib>
#include <ctime>

#include "fixture.h"

using namespace manager_tests;

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace
{

struct counters {
    bool counting = false;
    long allocated = 0;
    long released = 0;
    bool out_of_zeroed = false; // calloc, from which wrappers come, fails
};

thread_local counters memory;

void count_allocation()
{
    if (memory.counting)
        memory.allocated++;
}

} // namespace

extern "C" {

void *malloc(size_t size)
{
    count_allocation();
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    count_allocation();
    return memory.out_of_zeroed ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    count_allocation();
    return __libc_realloc(block, size);
}

void free(void *block)
{
    if (memory.counting && block != nullptr)
        memory.released++;
    __libc_free(block);
}

} // extern "C"

namespace
{

class Allocation : public ManagerTest
{
protected:
    Allocation() : level("DKOM_LOG_LEVEL", std::nullopt)
    {
        tzset(); // takes memory once
        bind = bind_by_position(1);
        define = define_by_position(1);
        oracle().quiet = true;
        dravik().quiet = true;
    }

    ~Allocation() override
    {
        oracle().quiet = false;
        dravik().quiet = false;
    }

    scoped_variable level;
    OCIBind *bind;
    OCIDefine *define;
};

TEST_F(Allocation, CallsTakeNoMoreThanTheyMustAndGiveItBack)
{
    const auto *text = reinterpret_cast<const OraText *>("SELECT 1");
    OraText buffer[512] = "";
    sb4 code = 0;
    ub4 value = 0;
    struct row {
        const char *name;
        long most; // allocations of a call
        std::function<sword()> call;
    };
    const std::vector<row> rows{
        {"OCIStmtFetch", 0, [&] { return OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT); }},
        {"OCIStmtFetch2", 0, [&] { return OCIStmtFetch2(stmt, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT); }},
        {"OCIServerDetach", 0, [&] { return OCIServerDetach(srv, err, OCI_DEFAULT); }},
        {"OCISessionBegin", 0, [&] { return OCISessionBegin(svc, err, ses, OCI_CRED_EXT, OCI_DEFAULT); }},
        {"OCISessionEnd", 0, [&] { return OCISessionEnd(svc, err, ses, OCI_DEFAULT); }},
        {"OCIAttrSet", 0, [&] { return OCIAttrSet(svc, OCI_HTYPE_SVCCTX, ses, 0, OCI_ATTR_SESSION, err); }},
        {"OCIAttrGet", 0,
         [&] { return OCIAttrGet(stmt, OCI_HTYPE_STMT, &value, nullptr, OCI_ATTR_PREFETCH_ROWS, err); }},
        {"OCIBindByPos", 0,
         [&] {
             return OCIBindByPos(stmt, &bind, err, 1, nullptr, 0, SQLT_INT, nullptr, nullptr, nullptr, 0,
                                 nullptr, OCI_DEFAULT);
         }},
        {"OCIDefineByPos", 0,
         [&] {
             return OCIDefineByPos(stmt, &define, err, 1, nullptr, 0, SQLT_INT, nullptr, nullptr, nullptr,
                                   OCI_DEFAULT);
         }},
        {"OCITransCommit", 0, [&] { return OCITransCommit(svc, err, OCI_DEFAULT); }},
        {"OCIBreak", 0, [&] { return OCIBreak(svc, err); }},
        {"OCILobGetLength", 0, [&] { return OCILobGetLength(svc, err, lob, &value); }},
        {"OCINumberToInt", 0, [&] { return OCINumberToInt(err, nullptr, 4, OCI_NUMBER_UNSIGNED, &value); }},
        {"OCIBindArrayOfStruct", 0, [&] { return OCIBindArrayOfStruct(bind, err, 1, 1, 1, 1); }},
        {"OCIDefineArrayOfStruct", 0, [&] { return OCIDefineArrayOfStruct(define, err, 1, 1, 1, 1); }},
        {"OCIBindByName", 1,
         [&] {
             return OCIBindByName(stmt, &bind, err, text, 2, nullptr, 0, SQLT_INT, nullptr, nullptr, nullptr,
                                  0, nullptr, OCI_DEFAULT);
         }},
        {"OCIStmtPrepare", 1,
         [&] { return OCIStmtPrepare(stmt, err, text, 8, OCI_NTV_SYNTAX, OCI_DEFAULT); }},
        {"OCIServerAttach", 1, [&] { return OCIServerAttach(srv, err, text, 8, OCI_DEFAULT); }},
        {"OCIStmtExecute", 2,
         [&] { return OCIStmtExecute(svc, stmt, err, 1, 0, nullptr, nullptr, OCI_DEFAULT); }},
        {"OCIErrorGet", 1,
         [&] { return OCIErrorGet(err, 1, buffer, &code, buffer, sizeof buffer, OCI_HTYPE_ERROR); }},
    };
    wrapper(err)->last_err = 1;
    for (const row &r : rows) {
        r.call(); // reads the level
        const unsigned long calls_before = oracle().quiet_calls;
        memory = {.counting = true};
        for (int i = 0; i < 100; i++)
            r.call();
        const counters seen = memory;
        memory = {};
        EXPECT_LE(seen.allocated, 100 * r.most) << r.name;
        EXPECT_EQ(seen.released, seen.allocated) << r.name;
        EXPECT_GE(oracle().quiet_calls, calls_before + 100) << r.name;
    }
}

/* Failure paths give back their buffers too, and the wrappers that they made. */
TEST_F(Allocation, FailuresKeepNothing)
{
    const auto *text = reinterpret_cast<const OraText *>("SELECT 1");
    oracle().quiet = false;
    dravik().quiet = false;
    route(srv, 2);
    struct row {
        const char *name;
        recording::backend &failing;
        std::function<sword()> call;
    };
    void *made = nullptr;
    const std::vector<row> rows{
        {"OCIServerAttach", dravik(), [&] { return OCIServerAttach(srv, err, text, 8, OCI_DEFAULT); }},
        {"OCIStmtPrepare", oracle(),
         [&] { return OCIStmtPrepare(stmt, err, text, 8, OCI_NTV_SYNTAX, OCI_DEFAULT); }},
        {"OCIStmtPrepare", dravik(),
         [&] { return OCIStmtPrepare(stmt, err, text, 8, OCI_NTV_SYNTAX, OCI_DEFAULT); }},
        {"OCIStmtExecute", oracle(),
         [&] { return OCIStmtExecute(svc, stmt, err, 1, 0, nullptr, nullptr, OCI_DEFAULT); }},
        {"OCIBindByName", oracle(),
         [&] {
             made = nullptr;
             return OCIBindByName(stmt, from_word<OCIBind **>(to_word(&made)), err, text, 2, nullptr, 0,
                                  SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
         }},
        {"OCIDefineByPos", oracle(),
         [&] {
             made = nullptr;
             return OCIDefineByPos(stmt, from_word<OCIDefine **>(to_word(&made)), err, 1, nullptr, 0,
                                   SQLT_INT, nullptr, nullptr, nullptr, OCI_DEFAULT);
         }},
        {"OCIHandleAlloc", oracle(), [&] { return OCIHandleAlloc(env, &made, OCI_HTYPE_STMT, 0, nullptr); }},
        {"OCIDescriptorAlloc", oracle(),
         [&] {
             made = nullptr;
             return OCIDescriptorAlloc(env, &made, OCI_DTYPE_LOB, 0, nullptr);
         }},
        {"OCIAttrGet", oracle(),
         [&] {
             made = nullptr;
             return OCIAttrGet(svc, OCI_HTYPE_SVCCTX, &made, nullptr, OCI_ATTR_SERVER, err);
         }},
    };
    for (const row &r : rows) {
        /* What the library takes shows as the difference between the first and the later halves of a run: the
         * journal of the backends is emptied in between, and its own memory with it. */
        const auto balance = [&] {
            memory = {.counting = true};
            for (int i = 0; i < 20; i++) {
                r.failing.next(r.name, OCI_ERROR);
                EXPECT_EQ(r.call(), OCI_ERROR) << r.name;
            }
            forget_calls();
            calls().shrink_to_fit();
            oracle().reset();
            dravik().reset();
            const counters seen = memory;
            memory = {};
            return seen.allocated - seen.released;
        };
        balance();
        EXPECT_EQ(balance(), 0) << r.name;
    }
}

TEST_F(Allocation, NoMemoryForAWrapperStops)
{
    const auto *text = reinterpret_cast<const OraText *>("SELECT 1");
    void *made = nullptr;
    struct row {
        const char *name;
        const char *assertion;
        int line;
        std::function<void()> call;
    };
    const std::vector<row> rows{
        {"OCIEnvCreate", "whdlp != ((void *)0)", 0,
         [&] { OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr); }},
        {"OCIEnvNlsCreate", "wenvp != ((void *)0)", 0,
         [&] { OCIEnvNlsCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0, 0); }},
        {"OCIEnvInit", "wenvp != ((void *)0)", 0, [&] { OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr); }},
        {"OCIHandleAlloc", "whdlp != ((void *)0)", 0,
         [&] { OCIHandleAlloc(env, &made, OCI_HTYPE_STMT, 0, nullptr); }},
        {"OCIDescriptorAlloc", "wdescp != ((void *)0)", 0,
         [&] { OCIDescriptorAlloc(env, &made, OCI_DTYPE_LOB, 0, nullptr); }},
        {"OCIStmtPrepare2", "wstmtp != ((void *)0)", 1613,
         [&] {
             OCIStmtPrepare2(svc, from_word<OCIStmt **>(to_word(&made)), err, text, 8, nullptr, 0,
                             OCI_NTV_SYNTAX, OCI_DEFAULT);
         }},
        {"OCIBindByPos", "wbindp != ((void *)0)", 0,
         [&] {
             OCIBindByPos(stmt, from_word<OCIBind **>(to_word(&made)), err, 1, nullptr, 0, SQLT_INT, nullptr,
                          nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
         }},
        {"OCIBindByName", "wbindp != ((void *)0)", 0,
         [&] {
             OCIBindByName(stmt, from_word<OCIBind **>(to_word(&made)), err, text, 2, nullptr, 0, SQLT_INT,
                           nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
         }},
        {"OCIDefineByPos", "wdefnp != ((void *)0)", 0,
         [&] {
             OCIDefineByPos(stmt, from_word<OCIDefine **>(to_word(&made)), err, 1, nullptr, 0, SQLT_INT,
                            nullptr, nullptr, nullptr, OCI_DEFAULT);
         }},
        {"OCIParamGet", "wparmdpp != ((void *)0)", 0,
         [&] { OCIParamGet(stmt, OCI_HTYPE_STMT, err, &made, 1); }},
        {"init_oci_manager", "tblp != ((void *)0)", 0,
         [&] {
             hdl_list_tbl = nullptr;
             init_oci_manager();
         }},
    };
    for (const row &r : rows)
        expect_stop({.name = r.name,
                     .call =
                         [&] {
                             memory.out_of_zeroed = true;
                             r.call();
                         },
                     .function = r.name,
                     .assertion = r.assertion,
                     .line = r.line});
    struct value {
        void *handle;
        ub4 type;
        ub4 attribute;
        int line;
    };
    for (const value &v : {value{svc, OCI_HTYPE_SVCCTX, OCI_ATTR_SERVER, 2226},
                           value{stmt, OCI_HTYPE_STMT, OCI_ATTR_ROWID, 2234}})
        expect_stop({.name = "OCIAttrGet",
                     .call =
                         [&] {
                             memory.out_of_zeroed = true;
                             OCIAttrGet(v.handle, v.type, &made, nullptr, v.attribute, err);
                         },
                     .function = "OCIAttrGet",
                     .assertion = "wattr != ((void *)0)",
                     .line = v.line});
}

} // namespace
