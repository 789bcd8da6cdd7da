/*
 * Running out of memory: each allocation of a call fails in turn. Whatever comes of the call, Dravik is given
 * the program's text or none.
 */
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "bare_backend.h"
#include "child.h"
#include "oci_manager/registry.h"

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
}

namespace
{

/* The allocation that fails, counted from 0; negative: none does. */
thread_local int refused_allocation = -1;
thread_local int allocations;

bool is_refused()
{
    return allocations++ == refused_allocation;
}

} // namespace

extern "C" {

void *malloc(size_t size)
{
    return is_refused() ? nullptr : __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    return is_refused() ? nullptr : __libc_calloc(count, size);
}

} // extern "C"

namespace
{

const std::string long_text(200, 'x');

const OraText *oci_text()
{
    return reinterpret_cast<const OraText *>(long_text.c_str());
}

class MemoryOut : public testing::Test
{
protected:
    MemoryOut()
    {
        OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        make(err, OCI_HTYPE_ERROR);
        make(srv, OCI_HTYPE_SERVER);
        make(stmt, OCI_HTYPE_STMT);
        const char *directory = std::getenv("DKOM_DRK_LIB_PATH");
        void *library =
            dlopen((std::string(directory ? directory : ".") + "/libdkoci.so").c_str(), RTLD_LAZY);
        received = static_cast<bare_received_text *>(dlsym(library, "bare_received"));
    }

    template <class T> void make(T *&handle, ub4 type)
    {
        void *made = nullptr;
        OCIHandleAlloc(env, &made, type, 0, nullptr);
        handle = static_cast<T *>(made);
    }

    /*
     * Runs a call again and again, each time with another allocation that fails. It must end with OCI_ERROR
     * and a reason, or stop for want of a wrapper as `stop` says, or be done with the program's text.
     */
    template <class Call> void expect_no_other_text(Call call, const char *stop = nullptr)
    {
        int failures = 0;
        bool is_last = false;
        for (int n = 0; n < 20 && !is_last; n++) {
            const trace_directory trace(OM_LOG_ASSERT);
            const child_result result = run_in_child([&] {
                cLogInit = 0;
                allocations = 0;
                refused_allocation = n;
                const sword rc = call();
                refused_allocation = -1;
                if (allocations <= n)
                    std::puts("none refused");
                EXPECT_EQ(received->calls, rc == OCI_SUCCESS ? 1U : 0U);
                if (rc == OCI_SUCCESS) {
                    EXPECT_EQ(received->text, long_text);
                    EXPECT_EQ(received->length, 200);
                    return;
                }
                EXPECT_EQ(rc, OCI_ERROR);
                std::puts("ended");
                sb4 code = 0;
                OraText text[10];
                /* The program may ask, as after any failure. */
                EXPECT_EQ(OCIErrorGet(err, 1, nullptr, &code, text, sizeof text, OCI_HTYPE_ERROR),
                          OCI_NO_DATA);
            });
            is_last = result.output.find("none refused") != std::string::npos;
            const bool stopped = stop && WIFSIGNALED(result.status);
            const bool ended = result.output.find("ended") != std::string::npos;
            failures += stopped || ended;
            EXPECT_EQ(stopped || ended, n == 0 || stopped) << n;
            EXPECT_FALSE(is_last && (stopped || ended));
            EXPECT_TRUE(stopped || result.succeeded()) << n << ": " << result.output;
            EXPECT_THAT(result.output, testing::HasSubstr(stopped ? stop : ""));
            EXPECT_THAT(trace.contents(),
                        testing::HasSubstr(ended ? "no memory for the text to give to Dravik" : ""));
        }
        EXPECT_TRUE(is_last);
        EXPECT_EQ(failures, stop ? 2 : 1);
    }

    OCIEnv *env = nullptr;
    OCIError *err = nullptr;
    OCIServer *srv = nullptr;
    OCIStmt *stmt = nullptr;
    bare_received_text *received = nullptr;
};

TEST_F(MemoryOut, Attach)
{
    expect_no_other_text([&] { return OCIServerAttach(srv, err, oci_text(), 200, OCI_DEFAULT); });
}

TEST_F(MemoryOut, Prepare)
{
    expect_no_other_text(
        [&] { return OCIStmtPrepare(stmt, err, oci_text(), 200, OCI_NTV_SYNTAX, OCI_DEFAULT); });
}

TEST_F(MemoryOut, Bind)
{
    expect_no_other_text(
        [&] {
            OCIBind *bind = nullptr;
            return OCIBindByName(stmt, &bind, err, oci_text(), 200, nullptr, 0, SQLT_INT, nullptr, nullptr,
                                 nullptr, 0, nullptr, OCI_DEFAULT);
        },
        "Assertion `wbindp != ((void *)0)' failed");
}

} // namespace
