#include "forwarding.h"

#include <algorithm>
#include <cstdio>

namespace manager_tests
{

namespace
{

constexpr sword not_called = 7777;
constexpr ub4 earlier_report = 7; // of no backend; it stays where a call reports nothing

void replace(std::string &text, const std::string &token, const std::string &value)
{
    const std::size_t position = text.find(token);
    if (position != std::string::npos)
        text.replace(position, token.size(), value);
}

bool ignores_routing(const forwarded &row)
{
    return row.how == manner::unrouted || row.how == manner::both;
}

} // namespace

ForwardingTest::ForwardingTest()
{
    bind = new_bind();
    define = new_define();
    param = allocate_descriptor<OCIParam>(OCI_DTYPE_PARAM);
    for (std::size_t i = 0; i < std::size(arena); i++)
        std::snprintf(arena[i], sizeof arena[i], "argument %zu", i);
}

words ForwardingTest::distinct_arguments(const forwarded &row)
{
    const std::map<int, const void *> handles{
        {OCI_HTYPE_ENV, env},      {OCI_HTYPE_ERROR, err},  {OCI_HTYPE_SVCCTX, svc},
        {OCI_HTYPE_STMT, stmt},    {OCI_HTYPE_BIND, bind},  {OCI_HTYPE_DEFINE, define},
        {OCI_HTYPE_DESCRIBE, dsc}, {OCI_HTYPE_SERVER, srv}, {OCI_HTYPE_SESSION, ses},
        {OCI_DTYPE_SNAP, snap_in}, {OCI_DTYPE_LOB, lob},
    };
    const std::map<std::size_t, word> numbers{{1, 40}, {2, 2000}, {4, 70000}, {8, 5000000000}};
    words arguments;
    for (std::size_t i = 0; i < row.f.parameters.size(); i++) {
        const recording::parameter &p = row.f.parameters[i];
        arguments.push_back(p.handle_type != 0 ? to_word(handles.at(p.handle_type))
                            : p.pointer        ? to_word(&arena[i][0])
                                               : numbers.at(p.size) + i);
    }
    if (row.given)
        row.given(*this, arguments);
    for (std::size_t i = 0; i < arguments.size(); i++)
        EXPECT_EQ(std::count(arguments.begin(), arguments.end(), arguments[i]), 1) << "argument " << i;
    return arguments;
}

words ForwardingTest::expected_for_dravik(const forwarded &row, const words &given)
{
    words expected = given;
    for (std::size_t i = 0; i < given.size(); i++) {
        const bool handle = row.f.parameters[i].handle_type != 0 || i == 0;
        if (const om_handle_t *known = handle ? wrapper(from_word<void *>(given[i])) : nullptr)
            expected[i] = to_word(known->dk_hndlp);
        if (row.f.parameters[i].handle_type == OCI_HTYPE_ERROR &&
            (row.errors == error_record::never || wrapper(from_word<void *>(given[i])) == nullptr))
            expected[i] = 0;
    }
    if (row.to_dravik)
        row.to_dravik(*this, expected);
    return expected;
}

records_t ForwardingTest::expected_records(const forwarded &row, const words &given, bool oracle_runs,
                                           bool dravik_runs, const outcome &o)
{
    const sword rc = oracle_runs ? o.oracle_result : not_called;
    const sword dk_rc = dravik_runs ? o.dravik_result : not_called;
    records_t expected{entered(row.f.name)};
    if (!row.prototype.empty()) {
        words printed = given;
        if (row.printed)
            row.printed(*this, printed);
        expected.push_back(argument_record(row.prototype, printed, row.printed_as));
    }
    for (const lookup &l : row.lookups) {
        const void *key =
            l.through ? target<void *>(given[l.position]) : from_word<void *>(given[l.position]);
        if (key != nullptr || !l.when_given)
            append(expected, lookup_records(key, l.type, l.entry_type));
    }
    if (row.before_routing)
        append(expected, row.before_routing(*this));
    for (const int backend : {recording::oracle, recording::dravik}) {
        if (backend == recording::oracle ? !oracle_runs : !dravik_runs)
            continue;
        if (row.how != manner::unrouted)
            append(expected,
                   backend == recording::oracle ? manager_tests::oracle_runs : manager_tests::dravik_runs);
        if (row.around)
            append(expected, row.around(*this, backend, rc, dk_rc));
    }

    const bool ignored = oracle_runs && row.dravik_failure_second == OCI_SUCCESS;
    const end_record &end = oracle_runs && rc != 0                  ? row.oracle_failure
                            : dravik_runs && dk_rc != 0 && !ignored ? row.dravik_failure
                                                                    : row.success;
    if (end.level != 0) {
        std::string text = (end.text.starts_with("()") ? "END FUNC - " + row.f.name : "") + end.text;
        replace(text, "{rc}", std::to_string(rc));
        replace(text, "{dk_rc}", std::to_string(dk_rc));
        replace(text, "{result}", std::to_string(dravik_runs ? dk_rc : rc));
        replace(text, "{handle}", print("%p", variable));
        for (std::size_t i = 0; i < given.size(); i++)
            replace(text, "{" + std::to_string(i) + "}", print("%p", given[i]));
        expected.push_back({end.level, text, end.line});
    }
    return expected;
}

void ForwardingTest::run_once(const forwarded &row, const outcome &o)
{
    SCOPED_TRACE(print("last_exec %u, Oracle answers %d, Dravik %d, error handle %p", o.last_exec,
                       o.oracle_result, o.dravik_result, o.error));
    words given = distinct_arguments(row);
    for (std::size_t i = 0; i < given.size(); i++)
        if (row.f.parameters[i].handle_type == OCI_HTYPE_ERROR)
            given[i] = to_word(o.error);
    if (om_handle_t *principal = wrapper(from_word<void *>(given[0])))
        principal->last_exec = o.last_exec;
    wrapper(err)->last_err = earlier_report;

    const bool in_turn = row.how == manner::in_turn || row.how == manner::both;
    const bool oracle_runs = ignores_routing(row) || (o.last_exec & recording::oracle) != 0;
    const bool dravik_runs = (row.how == manner::both || (o.last_exec & recording::dravik) != 0) &&
                             ((row.how == manner::exclusive && !oracle_runs) ||
                              (in_turn && !(oracle_runs && o.oracle_result != 0)));

    recording::call to_oracle{recording::oracle, row.f.name, given, row.oracle_text};
    if (row.to_oracle)
        row.to_oracle(*this, to_oracle.arguments);
    recording::call to_dravik{recording::dravik, row.f.name, expected_for_dravik(row, given),
                              row.dravik_text};
    std::vector<recording::call> expected;
    if (oracle_runs)
        expected.push_back(to_oracle);
    if (dravik_runs)
        expected.push_back(to_dravik);

    oracle().always(row.f.name, o.oracle_result);
    dravik().always(row.f.name, o.dravik_result);
    const trace_capture trace(OM_LOG_TRACE);
    const records_t records = expected_records(row, given, oracle_runs, dravik_runs, o);
    forget_calls();
    const auto result = static_cast<sword>(row.f.call(given));

    expect_calls(expected);
    const bool oracle_failed = oracle_runs && o.oracle_result != 0;
    const bool dravik_failed = dravik_runs && o.dravik_result != 0;
    const sword dravik_failure =
        (oracle_runs ? row.dravik_failure_second : row.dravik_failure_alone).value_or(o.dravik_result);
    EXPECT_EQ(result, oracle_failed ? o.oracle_result : dravik_failed ? dravik_failure : OCI_SUCCESS);
    ub4 last_err = earlier_report;
    if (row.errors != error_record::never && o.error == err) {
        if (oracle_failed || (oracle_runs && row.errors == error_record::always))
            last_err = recording::oracle;
        if ((dravik_failed && dravik_failure != OCI_SUCCESS) ||
            (dravik_runs && row.errors == error_record::always))
            last_err = recording::dravik;
    }
    EXPECT_EQ(wrapper(err)->last_err, last_err);
    expect_records(trace.records(), records);
}

void ForwardingTest::run_stops(const forwarded &row)
{
    const words given = distinct_arguments(row);
    for (const requirement &r : row.required) {
        for (const void *none : no_handles<void>()) {
            words unknown = given;
            unknown[r.position] = to_word(none);
            expect_stop({[&] { row.f.call(unknown); }, row.f.name, r.assertion, "", r.line});
        }
    }
    if (ignores_routing(row))
        return;
    for (const ub4 last_exec : {0U, 2U}) {
        if (last_exec != 0 && row.how != manner::oracle_only)
            continue;
        SCOPED_TRACE(print("last_exec %u", last_exec));
        route(from_word<void *>(given[0]), last_exec);
        if (!row.no_backend.empty()) {
            expect_stop({[&] { row.f.call(given); }, row.f.name, "0", row.no_backend, row.no_backend_line});
        } else {
            EXPECT_EQ(static_cast<sword>(row.f.call(given)), row.neither_result);
            expect_calls({});
        }
    }
}

void ForwardingTest::run(const forwarded &row)
{
    SCOPED_TRACE(row.f.name);
    const std::vector<ub4> routings = ignores_routing(row)             ? std::vector<ub4>{0, 1, 2, 3}
                                      : row.how == manner::oracle_only ? std::vector<ub4>{1, 3}
                                                                       : std::vector<ub4>{1, 2, 3};
    std::vector<sword> failures{OCI_INVALID_HANDLE};
    if (row.info_fails)
        failures.push_back(OCI_SUCCESS_WITH_INFO);
    if (row.no_data_fails)
        failures.push_back(OCI_NO_DATA);
    for (const ub4 last_exec : routings) {
        run_once(row, {last_exec, OCI_SUCCESS, OCI_SUCCESS, err});
        for (const sword rc : failures) {
            run_once(row, {last_exec, rc, OCI_SUCCESS, err});
            run_once(row, {last_exec, OCI_SUCCESS, rc, err});
        }
        if (row.f.name == "OCIAttrSet" || row.f.name == "OCIStmtPrepare") // these need an error handle
            continue;
        for (OCIError *error : no_handles<OCIError>()) {
            run_once(row, {last_exec, OCI_INVALID_HANDLE, OCI_SUCCESS, error});
            run_once(row, {last_exec, OCI_SUCCESS, OCI_INVALID_HANDLE, error});
        }
    }
    run_stops(row);
}

} // namespace manager_tests
