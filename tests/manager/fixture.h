/*
 * What the conformance tests share: the two recording backends, views on the library's wrapper table and
 * trace, and a fixture that starts each test with a fresh table and a set of handles.
 */
#ifndef MANAGER_FIXTURE_H
#define MANAGER_FIXTURE_H

#include <array>
#include <filesystem>
#include <functional>
#include <map>
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
inline void forget_calls()
{
    calls().clear();
}

/* Matches any value in an expected argument. */
constexpr word any_word = 0xa11a11a11a11a11aU;

/* Expected calls. One without arguments stands for a call of the function with any. */
template <class... A> recording::call to_oracle(const std::string &function, A... arguments)
{
    return {recording::oracle, function, {to_word(arguments)...}, {}};
}
template <class... A> recording::call to_dravik(const std::string &function, A... arguments)
{
    return {recording::dravik, function, {to_word(arguments)...}, {}};
}
inline recording::call with_text(recording::call c, const std::string &text)
{
    c.text = text;
    return c;
}

/* Compares all calls since the last comparison, or since forget_calls(). */
void expect_calls(const std::vector<recording::call> &expected);

/* An answer's effect: the object that the call returns in its argument at a position. */
inline std::function<void(const words &)> returning(void *value, std::size_t position = 1)
{
    return [=](const words &a) { target<void *>(a[position]) = value; };
}

/* ---- wrappers ---- */

/* The oldest wrapper with this key in the calling thread's table, or null. */
om_handle_t *wrapper(const void *ora_hndlp);
/* The calling thread's wrappers in table order. */
std::vector<om_handle_t *> table();
/* The wrappers on the list of children of another one. */
std::vector<om_handle_t *> children(const om_handle_t *owner);
/* Expects a wrapper as it is when new: no report, no family, a twin if it is routed to Dravik. */
void expect_new(const om_handle_t *w, ub4 type, ub4 state, ub4 last_exec, const void *parent = nullptr);

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
    ~scoped_variable() { set(before); }
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
    explicit temporary_directory(const char *borrowed = nullptr);
    ~temporary_directory();
    temporary_directory(const temporary_directory &) = delete;
    temporary_directory &operator=(const temporary_directory &) = delete;

    std::filesystem::path path;

private:
    bool owned;
};

/* Lets the calling thread set up its trace again at its next record, as a new thread would. */
void forget_trace_state();

struct record {
    int level;
    std::string text;
    int line = 0; // 0 in an expectation: any
    std::string file = {};

    record at(int expected_line) const { return {level, text, expected_line, file}; }
};
using records_t = std::vector<record>;

/* Splits the contents of a trace file; records that are not well-formed fail the test. */
records_t parse_records(const std::string &contents);

/* Directs the calling thread's trace to a directory of its own while it lives. */
class trace_capture
{
public:
    explicit trace_capture(int level);
    ~trace_capture() { forget_trace_state(); }

    /* Of the one file in the directory: a child process may have written it. */
    std::string contents() const;
    /* All records but the rows of table dumps. */
    records_t records() const;
    void clear() const;

    temporary_directory directory;

private:
    scoped_variable path_variable;
    scoped_variable level_variable;
};

/* Ends an expected text of which only the beginning is known, as where an address on the stack follows. */
constexpr char any_tail = '\x01';

void expect_records(const records_t &actual, const records_t &expected);
/* Expects a trace to end with these records. */
void expect_last(const trace_capture &trace, const records_t &expected);

/* Prints words with the conversions %p, %d, %u, %ld, %zu and %s. */
std::string print_words(const std::string &text, const words &values);
template <class... A> std::string print(const std::string &text, A... values)
{
    return print_words(text, {to_word(values)...});
}

inline record entered(const std::string &function)
{
    return {OM_LOG_TRACE, function};
}
template <class... A> record debug(const std::string &text, A... values)
{
    return {OM_LOG_DEBUG, print(text, values...)};
}
template <class... A> record info(const std::string &text, A... values)
{
    return {OM_LOG_INFO, print(text, values...)};
}
template <class... A> record failed(const std::string &text, A... values)
{
    return {OM_LOG_ERROR, print(text, values...)};
}

inline const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};
inline const record dravik_runs{OM_LOG_INFO, "[DRAVIK] OCI API will be executed"};

/*
 * The argument record of a call: its prototype, then a line for each parameter with its value, which is an
 * address or a number. What else follows the name of a parameter is listed; nothing: it has no line.
 */
using exceptions = std::map<std::string, std::string>;
record argument_record(const std::string &prototype, words values, const exceptions &printed_as = {});

/* The records of a lookup by the calling thread, without dump rows. */
records_t lookup_records(const void *key, int type, int entry_type = OM_ENTRY_HANDLE, bool is_remove = false);
/* The records of an insertion, once done; the second is one of the level for details. */
records_t insertion_records(const void *key, ub4 type, int entry_type = OM_ENTRY_HANDLE);
/* Tells that a statement takes a child along. */
record deletion_record(const void *key, const om_handle_t *w);

/* Records and lists of them, one after the other. */
inline void append(records_t &all, const record &one)
{
    all.push_back(one);
}
inline void append(records_t &all, const records_t &more)
{
    all.insert(all.end(), more.begin(), more.end());
}
template <class... Parts> records_t sequence(const Parts &...parts)
{
    records_t all;
    (append(all, parts), ...);
    return all;
}

/* ---- stops ---- */

struct stop {
    std::function<void()> call;
    std::string function;
    std::string assertion;
    std::string reason = {}; // a record before the last one, which is the same for all
    int line = 0;            // of the assertion, or of the reason, which the assertion follows
    /* A new process starts the test over, so that its backends are not loaded yet. */
    bool in_new_process = false;
    /* Up to this level the whole trace is known: these records, then the reason. */
    int level = OM_LOG_ASSERT;
    records_t before = {};
    /* What else stands on the standard error stream. */
    std::string says = {};
};

/* Runs a call in a child process and checks how it ends and what it leaves in the trace. */
void expect_stop(const stop &expected, const char *file = __builtin_FILE(), int line = __builtin_LINE());

/* Null, and a pointer that is no handle. */
template <class T> std::array<T *, 2> no_handles()
{
    static void *none[1];
    return {nullptr, reinterpret_cast<T *>(none)};
}

/* Runs a statement in a new process, in which the library has not been called; expectations in it count. */
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

/* ---- calls with arguments that do not matter ---- */

sword create_environment(OCIEnv **env);
/* These attach a bind or define at the first position or under the name :a. */
sword bind_by_position(OCIStmt *stmt, void **variable, OCIError *err);
sword bind_by_name(OCIStmt *stmt, void **variable, OCIError *err);
sword define_by_position(OCIStmt *stmt, void **variable, OCIError *err);

inline const OraText *text_of(const std::string &text)
{
    return reinterpret_cast<const OraText *>(text.c_str());
}

/* ---- fixtures ---- */

/* A test that creates its environments itself. */
class EmptyTest : public testing::Test
{
protected:
    EmptyTest();
};

/* One handle of each kind, on both backends unless a test routes it elsewhere. */
class ManagerTest : public EmptyTest
{
public:
    ManagerTest();

    template <class T = void> T *allocate(ub4 type)
    {
        void *handle = nullptr;
        EXPECT_EQ(OCIHandleAlloc(env, &handle, type, 0, nullptr), OCI_SUCCESS);
        return static_cast<T *>(handle);
    }

    template <class T = void> T *allocate_descriptor(ub4 type)
    {
        void *descriptor = nullptr;
        EXPECT_EQ(OCIDescriptorAlloc(env, &descriptor, type, 0, nullptr), OCI_SUCCESS);
        return static_cast<T *>(descriptor);
    }

    OCIBind *new_bind();
    OCIDefine *new_define();
    sword execute() { return OCIStmtExecute(svc, stmt, err, 1, 0, snap_in, snap_out, OCI_DEFAULT); }
    sword fetch() { return OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT); }

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
