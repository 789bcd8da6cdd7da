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
    both,        // the same, whatever the routing
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

inline lookup error_at(std::size_t position)
{
    return {.position = position, .type = OCI_HTYPE_ERROR};
}
inline lookup optional_error_at(std::size_t position)
{
    return {.position = position, .type = OCI_HTYPE_ERROR, .when_given = true};
}

/* Text of the assertion that fails for an argument without a wrapper, and its line where that is fixed. */
struct requirement {
    std::size_t position;
    std::string assertion;
    int line = 0;
};

/*
 * The last record of a call. A text that begins with "()" lacks the function's name. In the text {rc} and
 * {dk_rc} stand for the results of the backends, 7777 for one that was not called, {result} for that of the
 * last one called, {handle} for the handle in an output argument and {0}, {1}, ... for the arguments, as
 * addresses.
 */
struct end_record {
    int level = 0; // 0: none
    std::string text;
    int line = 0;
};

struct forwarded {
    recording::function f; // its first argument routes the call
    manner how;
    std::vector<lookup> lookups = {};
    std::string prototype = {}; // in the argument record; empty: there is none
    exceptions printed_as = {};
    adjust given = {};     // sets the arguments that need a certain value
    adjust printed = {};   // arguments as the argument record prints them
    adjust to_dravik = {}; // arguments as Dravik gets them, twins already in place
    adjust to_oracle = {}; // likewise; Oracle gets the arguments as they are
    std::string dravik_text = {};
    std::string oracle_text = {};
    error_record errors = error_record::on_failure;

    std::function<records_t(ForwardingTest &)> before_routing = {};
    /* Records around a backend's call, which follow the routing record. */
    std::function<records_t(ForwardingTest &, int backend, sword rc, sword dk_rc)> around = {};
    end_record success = {};
    end_record oracle_failure = {};
    end_record dravik_failure = {};

    bool info_fails = true; // OCI_SUCCESS_WITH_INFO is a failure as others are
    bool no_data_fails = true;
    std::optional<sword> dravik_failure_alone = {};  // returned when only Dravik is called and fails
    std::optional<sword> dravik_failure_second = {}; // returned when Dravik fails after Oracle's success

    std::vector<requirement> required = {};
    std::string no_backend = {}; // reason when no backend may run; empty: the call returns neither_result
    int no_backend_line = 0;
    sword neither_result = OCI_SUCCESS;
};

#define FUNCTION(name) recording::make_function(#name, &name)

class ForwardingTest : public ManagerTest
{
public:
    ForwardingTest();

    /* Runs one description through all routings and outcomes. */
    void run(const forwarded &row);

    /* Arguments that all differ: a handle for each handle, else an address or a number of its own. */
    words distinct_arguments(const forwarded &row);

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
        OCIError *error;
    };

    void run_once(const forwarded &row, const outcome &o);
    words expected_for_dravik(const forwarded &row, const words &given);
    records_t expected_records(const forwarded &row, const words &given, bool oracle_runs, bool dravik_runs,
                               const outcome &o);
    void run_stops(const forwarded &row);

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
