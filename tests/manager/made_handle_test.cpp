/* Calls that return a handle in a variable: what becomes of the variable and of the handle's wrapper. */
#include "fixture.h"

using namespace manager_tests;

namespace
{

enum class runs_on { both, oracle_or_dravik, oracle };

/* Where the calls differ. */
struct maker {
    std::string name;
    std::size_t position; // of the variable among the arguments
    ub4 type;
    ub4 state;
    runs_on backends;
    bool info_is_failure;  // OCI_SUCCESS_WITH_INFO
    bool reports;          // failures, on the error handle
    bool undone;           // Oracle's part, when Dravik fails
    bool failure_counts;   // for the routing: Dravik was asked, though it failed
    bool keyed_on_failure; // by what Oracle left in the variable
    bool writes_variable;  // from the wrapper, after a success
    bool has_end_record;
    sword dravik_failure_alone;
};

const maker makers[] = {
    {"OCIBindByPos", 1, OCI_HTYPE_BIND, 3, runs_on::both, 0, 1, 0, 1, 1, 0, 1, 7777},
    {"OCIBindByName", 1, OCI_HTYPE_BIND, 3, runs_on::both, 0, 1, 0, 0, 1, 1, 0, OCI_ERROR},
    {"OCIDefineByPos", 1, OCI_HTYPE_DEFINE, 3, runs_on::both, 1, 1, 0, 0, 1, 0, 1, OCI_ERROR},
    {"OCIParamGet", 3, OCI_DTYPE_PARAM, 3, runs_on::both, 1, 1, 1, 0, 1, 0, 1, OCI_ERROR},
    {"OCIDescriptorAlloc", 1, OCI_DTYPE_LOB, 4, runs_on::both, 1, 0, 1, 0, 1, 0, 0, OCI_ERROR},
    {"OCIAttrGet", 2, OCI_HTYPE_SERVER, 3, runs_on::oracle_or_dravik, 1, 1, 0, 0, 0, 0, 1, OCI_ERROR},
    {"OCIStmtPrepare2", 1, OCI_HTYPE_STMT, 4, runs_on::oracle, 1, 1, 0, 0, 1, 0, 1, OCI_ERROR},
};

class Made : public ManagerTest, public testing::WithParamInterface<maker>
{
protected:
    Made()
    {
        for (recording::backend *backend : {&oracle(), &dravik()})
            backend->always("OCIAttrGet", OCI_SUCCESS, [=](const words &a) {
                if (target<void *>(a[2]) == nullptr || !backend->alive(target<void *>(a[2])))
                    target<void *>(a[2]) = backend->create();
            });
    }

    sword make()
    {
        if (k.name == "OCIBindByPos")
            return bind_by_position(stmt, &variable, err);
        if (k.name == "OCIBindByName")
            return bind_by_name(stmt, &variable, err);
        if (k.name == "OCIDefineByPos")
            return define_by_position(stmt, &variable, err);
        if (k.name == "OCIParamGet")
            return OCIParamGet(stmt, OCI_HTYPE_STMT, err, &variable, 1);
        if (k.name == "OCIDescriptorAlloc")
            return OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr);
        if (k.name == "OCIAttrGet")
            return OCIAttrGet(svc, OCI_HTYPE_SVCCTX, &variable, nullptr, OCI_ATTR_SERVER, err);
        return OCIStmtPrepare2(svc, from_word<OCIStmt **>(to_word(&variable)), err, text_of("x"), 1, nullptr,
                               0, OCI_NTV_SYNTAX, OCI_DEFAULT);
    }

    /* Sets the routing of every handle that routes one of the calls. */
    void route_all(ub4 last_exec)
    {
        for (const void *handle :
             {static_cast<void *>(env), static_cast<void *>(svc), static_cast<void *>(stmt)})
            route(handle, last_exec);
    }

    const maker &k = GetParam();
    const void *parent = k.name == "OCIParamGet" ? wrapper(stmt) : nullptr;
    void *variable = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Calls, Made, testing::ValuesIn(makers),
                         [](const testing::TestParamInfo<maker> &i) { return i.param.name; });

TEST_P(Made, WrapperFollowsTheVariable)
{
    for (const ub4 last_exec : {1U, 3U}) {
        SCOPED_TRACE(last_exec);
        route_all(last_exec);
        variable = nullptr;
        const trace_capture trace(OM_LOG_DEBUG);
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(variable));
        om_handle_t *w = wrapper(variable);
        expect_new(w, k.type, k.state, k.backends == runs_on::both ? last_exec : 1, parent);
        EXPECT_EQ(dravik().alive(w->dk_hndlp), w->dk_hndlp != nullptr);
        EXPECT_EQ(table().back(), w);
        EXPECT_EQ(table().size(), hdl_list_tbl->hash_count);
        records_t records = trace.records();
        if (k.has_end_record)
            records.pop_back();
        ASSERT_GT(records.size(), 2U);
        expect_records(
            {records.end() - 2, records.end()},
            insertion_records(variable, k.type, k.type < 50 ? OM_ENTRY_HANDLE : OM_ENTRY_DESCRIPTOR));

        /* A known value keeps its wrapper, wherever it stands in the table, under the value that is returned.
         */
        allocate(OCI_HTYPE_TRANS);
        void *first = variable;
        void *second = oracle().create();
        const std::vector<om_handle_t *> before = table();
        oracle().next(k.name, OCI_SUCCESS, returning(second, k.position));
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_EQ(variable, second);
        EXPECT_EQ(wrapper(second), w);
        EXPECT_EQ(wrapper(first), nullptr);
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_EQ(table(), before);
        EXPECT_EQ(wrapper(variable), w);

        /* A value that nobody knows is looked up in vain. */
        variable = this;
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_EQ(table().size(), before.size() + 1);
        EXPECT_EQ(table().back(), wrapper(variable));
    }
}

TEST_P(Made, OnDravikAloneTheKeyIsNull)
{
    if (k.backends == runs_on::oracle)
        return;
    route_all(2);
    for (void *before : no_handles<void>()) {
        variable = before;
        forget_calls();
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_EQ(variable, k.writes_variable ? nullptr : before);
        const om_handle_t *w = table().back();
        expect_new(w, k.type, k.state, 2, parent);
        EXPECT_EQ(w->ora_hndlp, nullptr);
        EXPECT_TRUE(dravik().alive(w->dk_hndlp));
        ASSERT_EQ(calls().size(), 1U);
        EXPECT_EQ(calls()[0].arguments[k.position], to_word(&w->dk_hndlp));
    }
}

TEST_P(Made, FailureOfOracle)
{
    const std::vector<om_handle_t *> before = table();
    for (const sword rc : {OCI_ERROR, OCI_NO_DATA, OCI_SUCCESS_WITH_INFO}) {
        if (rc == OCI_SUCCESS_WITH_INFO && !k.info_is_failure)
            continue;
        const trace_capture trace(OM_LOG_ERROR);
        wrapper(err)->last_err = 0;
        oracle().next(k.name, rc);
        EXPECT_EQ(make(), rc);
        expect_calls({to_oracle(k.name)});
        EXPECT_EQ(wrapper(err)->last_err, k.reports ? 1U : 0U);
        EXPECT_EQ(table(), before);
        EXPECT_EQ(trace.records().empty(), k.name == "OCIDescriptorAlloc");
    }

    /* A wrapper found stays. */
    EXPECT_EQ(make(), OCI_SUCCESS);
    const std::vector<om_handle_t *> with_one = table();
    const om_handle_t *w = wrapper(variable);
    void *key = variable;
    oracle().next(k.name, OCI_ERROR, returning(this, k.position));
    EXPECT_EQ(make(), OCI_ERROR);
    EXPECT_EQ(table(), with_one);
    EXPECT_EQ(w->ora_hndlp, k.keyed_on_failure ? this : key);
    EXPECT_EQ(wrapper(w->ora_hndlp), w);
}

TEST_P(Made, FailureOfDravik)
{
    if (k.backends == runs_on::oracle)
        return;
    const std::vector<om_handle_t *> before = table();
    dravik().always(k.name, OCI_ERROR);
    route_all(2);
    EXPECT_EQ(make(), k.dravik_failure_alone);
    EXPECT_EQ(wrapper(err)->last_err, k.reports ? 2U : 0U);
    EXPECT_EQ(table(), before);
    if (k.undone)
        expect_calls({to_dravik(k.name), to_oracle("OCIDescriptorFree", 0, k.type)});
    else
        expect_calls({to_dravik(k.name)});

    /* After Oracle's success it undoes Oracle's part, or does not matter. */
    route_all(3);
    wrapper(err)->last_err = 0;
    variable = nullptr;
    if (k.undone) {
        EXPECT_EQ(make(), OCI_ERROR);
        EXPECT_EQ(wrapper(err)->last_err, k.reports ? 2U : 0U);
        expect_calls(
            {to_oracle(k.name), to_dravik(k.name), to_oracle("OCIDescriptorFree", variable, k.type)});
        EXPECT_EQ(table(), before);
    } else if (k.backends == runs_on::both) {
        EXPECT_EQ(make(), OCI_SUCCESS);
        EXPECT_EQ(wrapper(err)->last_err, 0U);
        ASSERT_EQ(table().back(), wrapper(variable));
        EXPECT_EQ(table().back()->last_exec, k.failure_counts ? 3U : 1U);
    }
}

} // namespace
