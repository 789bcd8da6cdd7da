/*
 * Memory: that a call takes none at the default trace level and makes no system call, that a failing one
 * gives back what it took, and what happens when there is none. The allocation functions of this program
 * stand in for the C library's; a sanitizer brings its own, so that these tests are not built with one.
 */
#include <cstdlib>
#include <ctime>

#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

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

/* Runs a function in a copy of this process that the kernel ends at any system call but its own end. */
bool runs_without_system_calls(const std::function<sword()> &call)
{
    const pid_t child = fork();
    if (child == 0) {
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) == 0)
            call();
        syscall(SYS_exit, 0);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status);
}

class Allocation : public ManagerTest
{
protected:
    Allocation()
    {
        tzset(); // takes memory once
        bind = new_bind();
        define = new_define();
    }

    sword attach() { return OCIServerAttach(srv, err, text_of("link"), 4, OCI_DEFAULT); }
    sword prepare() { return OCIStmtPrepare(stmt, err, text_of("x"), 1, OCI_NTV_SYNTAX, OCI_DEFAULT); }
    /* These start with an empty variable. */
    void *&empty() { return made = nullptr; }
    sword new_handle() { return OCIHandleAlloc(env, &empty(), OCI_HTYPE_STMT, 0, nullptr); }
    sword new_descriptor() { return OCIDescriptorAlloc(env, &empty(), OCI_DTYPE_LOB, 0, nullptr); }
    sword get(void *handle, ub4 type, ub4 attribute)
    {
        return OCIAttrGet(handle, type, &empty(), nullptr, attribute, err);
    }

    const scoped_variable level{"DKOM_LOG_LEVEL", std::nullopt};
    OCIBind *bind;
    OCIDefine *define;
    void *made = nullptr;
};

TEST_F(Allocation, CallsTakeNoMemoryAndMakeNoSystemCall)
{
    OraText buffer[512] = "";
    sb4 code = 0;
    ub4 value = 0;
    void *known_bind = bind;
    void *known_define = define;
    struct row {
        const char *name;
        std::function<sword()> call;
    };
    const std::vector<row> rows{
        {"OCIStmtFetch", [&] { return fetch(); }},
        {"OCIStmtFetch2", [&] { return OCIStmtFetch2(stmt, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT); }},
        {"OCIServerDetach", [&] { return OCIServerDetach(srv, err, OCI_DEFAULT); }},
        {"OCISessionBegin", [&] { return OCISessionBegin(svc, err, ses, OCI_CRED_EXT, OCI_DEFAULT); }},
        {"OCISessionEnd", [&] { return OCISessionEnd(svc, err, ses, OCI_DEFAULT); }},
        {"OCIAttrSet", [&] { return OCIAttrSet(svc, OCI_HTYPE_SVCCTX, ses, 0, OCI_ATTR_SESSION, err); }},
        {"OCIAttrGet", [&] { return get(stmt, OCI_HTYPE_STMT, OCI_ATTR_PREFETCH_ROWS); }},
        {"OCIBindByPos", [&] { return bind_by_position(stmt, &known_bind, err); }},
        {"OCIDefineByPos", [&] { return define_by_position(stmt, &known_define, err); }},
        {"OCITransCommit", [&] { return OCITransCommit(svc, err, OCI_DEFAULT); }},
        {"OCIBreak", [&] { return OCIBreak(svc, err); }},
        {"OCILobGetLength", [&] { return OCILobGetLength(svc, err, lob, &value); }},
        {"OCINumberToInt", [&] { return OCINumberToInt(err, nullptr, 4, OCI_NUMBER_UNSIGNED, &value); }},
        {"OCIBindArrayOfStruct", [&] { return OCIBindArrayOfStruct(bind, err, 1, 1, 1, 1); }},
        {"OCIDefineArrayOfStruct", [&] { return OCIDefineArrayOfStruct(define, err, 1, 1, 1, 1); }},
        {"OCIBindByName", [&] { return bind_by_name(stmt, &known_bind, err); }},
        {"OCIStmtPrepare", [&] { return prepare(); }},
        {"OCIServerAttach", [&] { return attach(); }},
        {"OCIStmtExecute", [&] { return execute(); }},
        {"OCIErrorGet",
         [&] { return OCIErrorGet(err, 1, buffer, &code, buffer, sizeof buffer, OCI_HTYPE_ERROR); }},
    };
    const bool watched = !runs_without_system_calls([] { return static_cast<sword>(syscall(SYS_getppid)); });
    wrapper(err)->last_err = 1;
    oracle().quiet = true;
    dravik().quiet = true;
    for (const row &r : rows) {
        r.call(); // reads the level
        const unsigned long calls_before = oracle().quiet_calls;
        memory = {.counting = true};
        for (int i = 0; i < 100; i++)
            r.call();
        const counters seen = memory;
        memory = {};
        EXPECT_EQ(seen.allocated, 0) << r.name;
        EXPECT_GE(oracle().quiet_calls, calls_before + 100) << r.name;
        EXPECT_TRUE(!watched || runs_without_system_calls(r.call)) << r.name;
    }
    oracle().quiet = false;
    dravik().quiet = false;
    if (!watched)
        GTEST_SKIP() << "system calls were not watched: the kernel does not stop them here";
}

/* Failure paths give back their buffers too, and the wrappers that they made. */
TEST_F(Allocation, FailuresKeepNothing)
{
    route(srv, 2);
    struct row {
        const char *name;
        recording::backend &failing;
        std::function<sword()> call;
    };
    const std::vector<row> rows{
        {"OCIServerAttach", dravik(), [&] { return attach(); }},
        {"OCIStmtPrepare", oracle(), [&] { return prepare(); }},
        {"OCIStmtPrepare", dravik(), [&] { return prepare(); }},
        {"OCIStmtExecute", oracle(), [&] { return execute(); }},
        {"OCIBindByName", oracle(), [&] { return bind_by_name(stmt, &empty(), err); }},
        {"OCIDefineByPos", oracle(), [&] { return define_by_position(stmt, &empty(), err); }},
        {"OCIHandleAlloc", oracle(), [&] { return new_handle(); }},
        {"OCIDescriptorAlloc", oracle(), [&] { return new_descriptor(); }},
        {"OCIEnvInit", oracle(), [&] { return OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr); }},
        {"OCIAttrGet", oracle(), [&] { return get(svc, OCI_HTYPE_SVCCTX, OCI_ATTR_SERVER); }},
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
    struct row {
        const char *function;
        const char *wrapper;
        std::function<void()> call;
        int line = 0;
    };
    const std::vector<row> rows{
        {"OCIEnvCreate", "whdlp", [&] { create_environment(&env); }},
        {"OCIEnvNlsCreate", "wenvp",
         [&] { OCIEnvNlsCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0, 0); }},
        {"OCIEnvInit", "wenvp", [&] { OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr); }},
        {"OCIHandleAlloc", "whdlp", [&] { new_handle(); }},
        {"OCIDescriptorAlloc", "wdescp", [&] { new_descriptor(); }},
        {"OCIStmtPrepare2", "wstmtp",
         [&] {
             OCIStmtPrepare2(svc, from_word<OCIStmt **>(to_word(&made)), err, text_of("x"), 1, nullptr, 0,
                             OCI_NTV_SYNTAX, OCI_DEFAULT);
         },
         1613},
        {"OCIBindByPos", "wbindp", [&] { bind_by_position(stmt, &made, err); }},
        {"OCIBindByName", "wbindp", [&] { bind_by_name(stmt, &made, err); }},
        {"OCIDefineByPos", "wdefnp", [&] { define_by_position(stmt, &made, err); }},
        {"OCIParamGet", "wparmdpp", [&] { OCIParamGet(stmt, OCI_HTYPE_STMT, err, &made, 1); }},
        {"OCIAttrGet", "wattr", [&] { get(svc, OCI_HTYPE_SVCCTX, OCI_ATTR_SERVER); }, 2226},
        {"OCIAttrGet", "wattr", [&] { get(stmt, OCI_HTYPE_STMT, OCI_ATTR_ROWID); }, 2234},
        {"init_oci_manager", "tblp",
         [&] {
             hdl_list_tbl = nullptr;
             init_oci_manager();
         }},
    };
    for (const row &r : rows)
        expect_stop({[&] {
                         memory.out_of_zeroed = true;
                         r.call();
                     },
                     r.function, std::string(r.wrapper) + " != ((void *)0)", "", r.line});
}

} // namespace
