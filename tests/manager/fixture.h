/*
 * What the conformance tests share: the two recording backends, views on the library's wrapper table and
 * trace, and a fixture that starts each test with a fresh table and a set of handles.
 */
#ifndef MANAGER_FIXTURE_H
#define MANAGER_FIXTURE_H

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <oci.h>

#include "oci_manager/backends.h"
#include "oci_manager/registry.h"
#include "oci_manager/trace.h"
#include "recording.h"

extern "C" void get_attr_type(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype);

namespace manager_tests
{

using recording::from_word;
using recording::target;
using recording::to_word;
using recording::word;
using recording::words;

/* ---- backends ---- */

/* Opens the recording libraries of two directories for this process, before the library loads its own. */
void use_backends(const std::string &oracle_directory, const std::string &dravik_directory);
/* The directory of a variant of the recording libraries. */
std::string variant(const std::string &name);

recording::backend &oracle();
recording::backend &dravik();
std::vector<recording::call> &calls();
void forget_calls();
/* Calls as "Oracle.OCIStmtFetch", in order. */
std::vector<std::string> called();
/* A call in full, with its arguments in hexadecimal and its text. */
std::string show(const recording::call &c);

/* ---- wrappers ---- */

/* The oldest wrapper with this key in the calling thread's table, or null. */
om_handle_t *wrapper(const void *ora_hndlp);
/* The calling thread's wrappers in table order. */
std::vector<om_handle_t *> table();
/* The wrappers on the list of children of another one. */
std::vector<om_handle_t *> children(const om_handle_t *owner);

template <class T> T *twin(T *handle)
{
    return static_cast<T *>(wrapper(handle)->dk_hndlp);
}

/* Sets the backends that execute calls on a handle. */
inline void route(const void *handle, ub4 last_exec)
{
    wrapper(handle)->last_exec = last_exec;
}

/* ---- environment and trace ---- */

/* Sets a variable of the environment, or unsets it, until the end of the scope. */
class scoped_variable
{
public:
    scoped_variable(const char *name, const std::optional<std::string> &value);
    ~scoped_variable();
    scoped_variable(const scoped_variable &) = delete;
    scoped_variable &operator=(const scoped_variable &) = delete;

private:
    void set(const std::optional<std::string> &value) const;

    const char *name;
    std::optional<std::string> before;
};

/* An empty directory that is removed with its contents, or one that is somebody else's. */
class temporary_directory
{
public:
    temporary_directory();
    explicit temporary_directory(const char *borrowed) : path(borrowed), owned(false) {}
    ~temporary_directory();
    temporary_directory(const temporary_directory &) = delete;
    temporary_directory &operator=(const temporary_directory &) = delete;

    std::filesystem::path path;

private:
    bool owned = true;
};

/* Lets the calling thread set up its trace again at its next record, as a new thread would. */
void forget_trace_state();

struct record {
    int level;
    std::string text;
    int line = 0; // 0 in an expectation: any
    std::string file = {};
};

/* Splits the contents of a trace file; records that are not well-formed fail the test. */
std::vector<record> parse_records(const std::string &contents);

/* Directs the calling thread's trace to a directory of its own while it lives. */
class trace_capture
{
public:
    explicit trace_capture(int level);
    ~trace_capture() { forget_trace_state(); }

    /* Of the one file in the directory: a child process may have written it. */
    std::string contents() const;
    /* All records but the rows of table dumps. */
    std::vector<record> records() const;
    void clear() const;

    temporary_directory directory;

private:
    scoped_variable path_variable;
    scoped_variable level_variable;
};

/* Ends an expected text of which only the beginning is known, as where an address on the stack follows. */
constexpr char any_tail = '\x01';

void expect_records(const std::vector<record> &actual, const std::vector<record> &expected);

std::string format(const char *text, ...) __attribute__((format(printf, 1, 2)));

/* The records of a lookup by the calling thread, without dump rows. */
std::vector<record> lookup_records(const void *key, int type, int entry_type = OM_ENTRY_HANDLE,
                                   bool is_remove = false);
/* The records of an insertion, once done. */
std::vector<record> insertion_records(const void *key, int type, int entry_type = OM_ENTRY_HANDLE);

/* Lists of records, one after the other. */
template <class... Lists> std::vector<record> sequence(const Lists &...lists)
{
    std::vector<record> all;
    (all.insert(all.end(), lists.begin(), lists.end()), ...);
    return all;
}
using records_t = std::vector<record>;

/* ---- stops ---- */

struct stop {
    std::string name; // of the case
    std::function<void()> call;
    std::string function;
    std::string assertion;
    std::vector<std::string> reasons = {}; // records before the last one, which is the same for all
    int reason_line = 0;
    int line = 0;
    /* Up to this level the whole trace is known: these records, then the reasons. */
    int level = OM_LOG_ASSERT;
    records_t before = {};
};

/*
 * Runs a call in a child process and checks how it ends and what it leaves in the trace. A new process starts
 * the test over, so that its backends are not loaded yet; the test must not have called the library before.
 */
void expect_stop(const stop &expected, bool in_new_process = false);

/* Runs a statement in a new process, as above; expectations in it count. */
#define EXPECT_IN_NEW_PROCESS(statement)                                                                     \
    do {                                                                                                     \
        GTEST_FLAG_SET(death_test_style, "threadsafe");                                                      \
        EXPECT_EXIT(                                                                                         \
            {                                                                                                \
                statement;                                                                                   \
                std::exit(::testing::Test::HasFailure() ? 1 : 0);                                            \
            },                                                                                               \
            ::testing::ExitedWithCode(0), "");                                                               \
        GTEST_FLAG_SET(death_test_style, "fast");                                                            \
    } while (0)

/* ---- fixtures ---- */

/* A test that creates its environments itself. */
class EmptyTest : public testing::Test
{
protected:
    EmptyTest();
    ~EmptyTest() override;

    /* Set where a test hands out handles that a backend rightly complains about. */
    bool violations_expected = false;
};

/* One handle of each kind, on both backends unless a test routes it elsewhere. */
class ManagerTest : public EmptyTest
{
protected:
    ManagerTest();

    template <class T> T *allocate(ub4 type)
    {
        void *handle = nullptr;
        EXPECT_EQ(OCIHandleAlloc(env, &handle, type, 0, nullptr), OCI_SUCCESS);
        return static_cast<T *>(handle);
    }

    template <class T> T *allocate_descriptor(ub4 type)
    {
        void *descriptor = nullptr;
        EXPECT_EQ(OCIDescriptorAlloc(env, &descriptor, type, 0, nullptr), OCI_SUCCESS);
        return static_cast<T *>(descriptor);
    }

    OCIBind *bind_by_position(ub4 position);
    OCIDefine *define_by_position(ub4 position);

    OCIEnv *env = nullptr;
    OCIError *err = nullptr;
    OCIServer *srv = nullptr;
    OCISvcCtx *svc = nullptr;
    OCISession *ses = nullptr;
    OCITrans *trans = nullptr;
    OCIStmt *stmt = nullptr;
    OCIDescribe *dsc = nullptr;
    OCISnapshot *snap_in = nullptr;
    OCISnapshot *snap_out = nullptr;
    OCILobLocator *lob = nullptr;
};

} // namespace manager_tests

#endif
