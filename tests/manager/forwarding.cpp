#include "forwarding.h"

#include <algorithm>
#include <cstdio>

namespace manager_tests
{

namespace
{

constexpr sword not_called = 7777;
constexpr sword failure = OCI_INVALID_HANDLE;

void replace(std::string &text, const std::string &token, const std::string &value)
{
    const std::size_t position = text.find(token);
    if (position != std::string::npos)
        text.replace(position, token.size(), value);
}

} // namespace

std::string print_words(const std::string &text, const words &values)
{
    std::string result;
    std::size_t used = 0;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const char conversion = text.at(++i);
        const word value = values.at(used++);
        switch (conversion) {
        case 'p':
            result += format("%p", from_word<void *>(value));
            break;
        case 'd':
            result += std::to_string(static_cast<int>(value));
            break;
        case 'l':
            result += std::to_string(static_cast<long>(value));
            i++;
            break;
        default:
            result += from_word<const char *>(value);
        }
    }
    return result;
}

ForwardingTest::ForwardingTest()
{
    bind = bind_by_position(1);
    define = define_by_position(1);
    param = allocate_descriptor<OCIParam>(OCI_DTYPE_PARAM);
    for (std::size_t i = 0; i < std::size(arena); i++)
        std::snprintf(arena[i], sizeof arena[i], "argument %zu", i);
}

word ForwardingTest::own_handle(int type)
{
    switch (type) {
    case OCI_HTYPE_ENV:
        return to_word(env);
    case OCI_HTYPE_ERROR:
        return to_word(err);
    case OCI_HTYPE_SVCCTX:
        return to_word(svc);
    case OCI_HTYPE_STMT:
        return to_word(stmt);
    case OCI_HTYPE_BIND:
        return to_word(bind);
    case OCI_HTYPE_DEFINE:
        return to_word(define);
    case OCI_HTYPE_DESCRIBE:
        return to_word(dsc);
    case OCI_HTYPE_SERVER:
        return to_word(srv);
    case OCI_HTYPE_SESSION:
        return to_word(ses);
    case OCI_DTYPE_SNAP:
        return to_word(snap_in);
    default:
        return to_word(lob);
    }
}

words ForwardingTest::distinct_arguments(const forwarded &row)
{
    words arguments;
    for (std::size_t i = 0; i < row.f.parameters.size(); i++) {
        const recording::parameter &p = row.f.parameters[i];
        if (p.handle_type != 0)
            arguments.push_back(own_handle(p.handle_type));
        else if (p.pointer)
            arguments.push_back(to_word(&arena[i][0]));
        else
            arguments.push_back((p.size == 1   ? 40U
                                 : p.size == 2 ? 2000U
                                 : p.size == 4 ? 70000U
                                               : 5000000000U) +
                                i);
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
        const bool handle = row.f.parameters[i].handle_type != 0 || i == row.principal;
        if (const om_handle_t *known = handle ? wrapper(from_word<void *>(given[i])) : nullptr)
            expected[i] = to_word(known->dk_hndlp);
        if (row.f.parameters[i].handle_type == OCI_HTYPE_ERROR && row.errors == error_record::never)
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
    records_t expected{{OM_LOG_TRACE, row.f.name}};
    if (!row.arguments.empty()) {
        words printed = given;
        if (row.printed)
            row.printed(*this, printed);
        expected.push_back({OM_LOG_INFO, print_words(row.arguments, printed)});
    }
    for (const lookup &l : row.lookups) {
        const void *key =
            l.through ? target<void *>(given[l.position]) : from_word<void *>(given[l.position]);
        if (key != nullptr || !l.when_given)
            expected = sequence(expected, lookup_records(key, l.type, l.entry_type));
    }
    if (row.before_routing)
        expected = sequence(expected, row.before_routing(*this, given));
    const auto routed = [&](int backend, const char *name) {
        if (row.how != manner::unrouted)
            expected.push_back({OM_LOG_INFO, format("[%s] OCI API will be executed", name)});
        if (row.around)
            expected = sequence(expected, row.around(*this, backend, rc, dk_rc));
    };
    if (oracle_runs)
        routed(recording::oracle, "ORACLE");
    if (dravik_runs)
        routed(recording::dravik, "DRAVIK");

    const bool ignored = oracle_runs && row.dravik_failure_second == OCI_SUCCESS;
    const end_record &end = oracle_runs && rc != 0                  ? row.oracle_failure
                            : dravik_runs && dk_rc != 0 && !ignored ? row.dravik_failure
                                                                    : row.success;
    if (end.level != 0) {
        std::string text = end.text;
        replace(text, "{rc}", std::to_string(rc));
        replace(text, "{dk_rc}", std::to_string(dk_rc));
        replace(text, "{result}", std::to_string(dravik_runs ? dk_rc : rc));
        replace(text, "{handle}", format("%p", variable));
        for (std::size_t i = 0; i < given.size(); i++)
            replace(text, "{" + std::to_string(i) + "}", format("%p", from_word<void *>(given[i])));
        expected.push_back({end.level, text, end.line});
    }
    return expected;
}

void ForwardingTest::run_once(const forwarded &row, const outcome &o)
{
    SCOPED_TRACE(format("last_exec %u, Oracle answers %d, Dravik %d%s", o.last_exec, o.oracle_result,
                        o.dravik_result, o.null_error ? ", no error handle" : ""));
    words given = distinct_arguments(row);
    if (o.null_error)
        for (std::size_t i = 0; i < given.size(); i++)
            if (row.f.parameters[i].handle_type == OCI_HTYPE_ERROR)
                given[i] = 0;
    if (om_handle_t *principal = wrapper(from_word<void *>(given[row.principal])))
        principal->last_exec = o.last_exec;
    wrapper(err)->last_err = 0;

    const bool oracle_runs = row.how == manner::unrouted || (o.last_exec & recording::oracle) != 0;
    const bool dravik_runs = (o.last_exec & recording::dravik) != 0 && row.how != manner::unrouted &&
                             ((row.how == manner::exclusive && !oracle_runs) ||
                              (row.how == manner::in_turn && !(oracle_runs && o.oracle_result != 0)));

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

    /* What arrived. */
    ASSERT_EQ(calls().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); i++) {
        recording::call actual = calls()[i];
        ASSERT_EQ(actual.arguments.size(), expected[i].arguments.size());
        for (std::size_t a = 0; a < actual.arguments.size(); a++)
            if (expected[i].arguments[a] == any_word)
                actual.arguments[a] = any_word;
        EXPECT_EQ(show(actual), show(expected[i]));
    }

    /* What came back. */
    const bool oracle_failed = oracle_runs && o.oracle_result != 0;
    const bool dravik_failed = dravik_runs && o.dravik_result != 0;
    const sword dravik_failure = oracle_runs ? row.dravik_failure_second : row.dravik_failure_alone;
    EXPECT_EQ(result, oracle_failed ? o.oracle_result : dravik_failed ? dravik_failure : OCI_SUCCESS);
    ub4 last_err = 0;
    if (row.errors != error_record::never && !o.null_error) {
        if (oracle_failed || (oracle_runs && row.errors == error_record::always))
            last_err = recording::oracle;
        if ((dravik_failed && dravik_failure != OCI_SUCCESS) ||
            (dravik_runs && row.errors == error_record::always))
            last_err = recording::dravik;
    }
    EXPECT_EQ(wrapper(err)->last_err, last_err);

    /* What was written. */
    expect_records(trace.records(), records);
}

void ForwardingTest::run_unroutable(const forwarded &row)
{
    words given = distinct_arguments(row);
    if (!row.assertion.empty()) {
        words unknown = given;
        unknown[row.principal] = to_word(&arena[15][0]);
        expect_stop({.name = "unknown handle",
                     .call = [&] { row.f.call(unknown); },
                     .function = row.f.name,
                     .assertion = row.assertion,
                     .line = row.assertion_line});
        unknown[row.principal] = 0;
        expect_stop({.name = "null handle",
                     .call = [&] { row.f.call(unknown); },
                     .function = row.f.name,
                     .assertion = row.assertion,
                     .line = row.assertion_line});
    }
    if (row.how == manner::unrouted)
        return;
    for (const ub4 last_exec : {0U, static_cast<ub4>(recording::dravik)}) {
        if (last_exec != 0 && row.how != manner::oracle_only)
            continue;
        SCOPED_TRACE(format("last_exec %u", last_exec));
        route(from_word<void *>(given[row.principal]), last_exec);
        if (!row.no_backend.empty()) {
            expect_stop({.name = "no backend",
                         .call = [&] { row.f.call(given); },
                         .function = row.f.name,
                         .assertion = "0",
                         .reasons = {row.no_backend},
                         .reason_line = row.no_backend_line,
                         .line = row.no_backend_line != 0 ? row.no_backend_line + 1 : 0});
        } else {
            forget_calls();
            EXPECT_EQ(static_cast<sword>(row.f.call(given)), row.neither_result);
            EXPECT_THAT(called(), testing::IsEmpty());
        }
    }
}

void ForwardingTest::run(const forwarded &row)
{
    SCOPED_TRACE(row.f.name);
    const std::vector<ub4> routings = row.how == manner::unrouted      ? std::vector<ub4>{0, 1, 2, 3}
                                      : row.how == manner::oracle_only ? std::vector<ub4>{1, 3}
                                                                       : std::vector<ub4>{1, 2, 3};
    for (const ub4 last_exec : routings) {
        run_once(row, {last_exec, OCI_SUCCESS, OCI_SUCCESS, false});
        run_once(row, {last_exec, failure, OCI_SUCCESS, false});
        run_once(row, {last_exec, OCI_SUCCESS, failure, false});
        const bool error_optional = row.f.name != "OCIAttrSet";
        if (error_optional)
            run_once(row, {last_exec, failure, failure, true});
    }
    run_unroutable(row);
}

} // namespace manager_tests
