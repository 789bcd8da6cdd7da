/*
 * A description of a forwarded call: which arguments reach which backend for each routing, what it returns
 * and what it writes to the trace. The tables of the families are run through one test.
 */
#ifndef MANAGER_FORWARDING_H
#define MANAGER_FORWARDING_H

#include "fixture.h"

namespace manager_tests
{

enum class manner {
    exclusive,   // Oracle, or else Dravik
    in_turn,     // Oracle and then Dravik, unless Oracle failed
    oracle_only, // Oracle, or the process stops
    unrouted,    // Oracle, whatever the routing
};

enum class error_record { on_failure, always, never };

class ForwardingTest;
using adjust = std::function<void(ForwardingTest &, words &)>;

/* A wrapper that the call looks up. */
struct lookup {
    std::size_t position;
    int type;
    int entry_type = OM_ENTRY_HANDLE;
    bool through = false;    // the argument points at the handle
    bool when_given = false; // a null handle is not looked up
};

/*
 * The last record of a call. In its text {rc} and {dk_rc} stand for the results of the backends, 7777 for one
 * that was not called, {result} for that of the last one called, {handle} for the handle in an output
 * argument and {0}, {1}, ... for the arguments, as addresses.
 */
struct end_record {
    int level = 0; // 0: none
    std::string text;
    int line = 0;
};

struct forwarded {
    recording::function f;
    manner how;
    std::size_t principal = 0; // position of the argument that routes the call
    std::vector<lookup> lookups = {};
    std::string arguments = {}; // format of the argument record
    adjust given = {};          // sets the arguments that need a certain value
    adjust printed = {};        // arguments as the argument record prints them
    adjust to_dravik = {};      // arguments as Dravik gets them, twins already in place
    adjust to_oracle = {};      // likewise; Oracle gets the arguments as they are
    std::string dravik_text = {};
    std::string oracle_text = {};
    error_record errors = error_record::on_failure;

    std::function<records_t(ForwardingTest &, const words &)> before_routing = {};
    /* Records around a backend's call, which follow the routing record. */
    std::function<records_t(ForwardingTest &, int backend, sword rc, sword dk_rc)> around = {};
    end_record success = {};
    end_record oracle_failure = {};
    end_record dravik_failure = {};

    sword dravik_failure_alone = OCI_INVALID_HANDLE;  // returned when only Dravik is called and fails
    sword dravik_failure_second = OCI_INVALID_HANDLE; // returned when Dravik fails after Oracle's success

    std::string assertion = {};  // for a principal that is not known
    std::string no_backend = {}; // reason when no backend may run; empty: the call returns neither_result
    sword neither_result = OCI_SUCCESS;
    int assertion_line = 0;
    int no_backend_line = 0;
};

#define FUNCTION(name) recording::make_function(#name, &name)

/* Matches any value in an expected argument. */
constexpr word any_word = 0xa11a11a11a11a11aU;

/* Prints words with the conversions %p, %d, %ld and %s. */
std::string print_words(const std::string &text, const words &values);

class ForwardingTest : public ManagerTest
{
public:
    ForwardingTest();

    /* Runs one description through all routings and outcomes. */
    void run(const forwarded &row);

    /* Arguments that all differ: a handle for each handle, else an address or a number of its own. */
    words distinct_arguments(const forwarded &row);
    word own_handle(int type);

    using ManagerTest::dsc;
    using ManagerTest::env;
    using ManagerTest::err;
    using ManagerTest::lob;
    using ManagerTest::ses;
    using ManagerTest::snap_out;
    using ManagerTest::srv;
    using ManagerTest::stmt;
    using ManagerTest::svc;

    OCIBind *bind = nullptr;
    OCIDefine *define = nullptr;
    OCIParam *param = nullptr;
    void *variable = nullptr; // for arguments that point at a handle
    std::string text;         // for text arguments
    std::string narrowed;

private:
    struct outcome {
        ub4 last_exec;
        sword oracle_result;
        sword dravik_result;
        bool null_error;
    };

    void run_once(const forwarded &row, const outcome &o);
    words expected_for_dravik(const forwarded &row, const words &given);
    records_t expected_records(const forwarded &row, const words &given, bool oracle_runs, bool dravik_runs,
                               const outcome &o);
    void run_unroutable(const forwarded &row);

    char arena[16][64];
};

/* Defines a test that runs each row of a table. */
#define FORWARDING_TEST(family, table)                                                                       \
    class family : public ForwardingTest, public testing::WithParamInterface<std::size_t>                    \
    {                                                                                                        \
    };                                                                                                       \
    TEST_P(family, Forwards)                                                                                 \
    {                                                                                                        \
        run(table().at(GetParam()));                                                                         \
    }                                                                                                        \
    INSTANTIATE_TEST_SUITE_P(                                                                                \
        Calls, family, testing::Range<std::size_t>(0, table().size()),                                       \
        [](const testing::TestParamInfo<std::size_t> &info) { return table().at(info.param).f.name; })

} // namespace manager_tests

#endif
