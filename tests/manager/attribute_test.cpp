/* Attributes: classification, setting, reading. */
#include <set>

#include "forwarding.h"

using namespace manager_tests;

namespace
{

/* ---- classification ---- */

using pair_of_type_and_attribute = std::pair<ub4, ub4>;

/* Handle and descriptor type of the value; all other attributes are plain. */
const std::map<pair_of_type_and_attribute, std::pair<sword, sword>> valued{
    {{OCI_HTYPE_SVCCTX, OCI_ATTR_ENV}, {OCI_HTYPE_ENV, 0}},
    {{OCI_HTYPE_SVCCTX, OCI_ATTR_SERVER}, {OCI_HTYPE_SERVER, 0}},
    {{OCI_HTYPE_SVCCTX, OCI_ATTR_SESSION}, {OCI_HTYPE_SESSION, 0}},
    {{OCI_HTYPE_SVCCTX, OCI_ATTR_TRANS}, {OCI_HTYPE_TRANS, 0}},
    {{OCI_HTYPE_STMT, 414}, {OCI_HTYPE_SUBSCRIPTION, 0}},
    {{OCI_HTYPE_STMT, OCI_ATTR_ROWID}, {0, OCI_DTYPE_ROWID}},
    {{OCI_HTYPE_DESCRIBE, OCI_ATTR_PARAM}, {0, OCI_DTYPE_PARAM}},
    {{OCI_HTYPE_SERVER, OCI_ATTR_ENV}, {OCI_HTYPE_ENV, 0}},
};

/* Line of the refusal. */
const std::map<pair_of_type_and_attribute, int> refused{
    {{8, 43}, 1857},   {{8, 274}, 1863},  {{13, 160}, 1881}, {{57, 48}, 1911},
    {{58, 54}, 1917},  {{59, 60}, 1925},  {{59, 68}, 1925},  {{59, 69}, 1925},
    {{64, 401}, 1937}, {{64, 408}, 1937}, {{64, 411}, 1937},
};

TEST(Classification, EveryPair)
{
    const scoped_variable level("DKOM_LOG_LEVEL", "10");
    forget_trace_state();
    for (ub4 type = 1; type <= 79; type = type == 29 ? 50 : type + 1) {
        for (ub4 attribute = 0; attribute <= 500; attribute++) {
            if (refused.count({type, attribute}) != 0)
                continue;
            std::pair<sword, sword> actual{-1, -1};
            get_attr_type(type, attribute, &actual.first, &actual.second);
            const auto found = valued.find({type, attribute});
            ASSERT_EQ(actual, found != valued.end() ? found->second : std::make_pair(0, 0))
                << "type " << type << ", attribute " << attribute;
        }
    }
    forget_trace_state();
}

TEST(Classification, RecordAndStops)
{
    sword htype = 0;
    sword dtype = 0;
    const trace_capture trace(OM_LOG_TRACE);
    get_attr_type(3, 6, &htype, &dtype);
    expect_records(trace.records(),
                   {debug("get_attr_type:hdl_type[3] attr_type[6] htype[%p] dtype[%p]", &htype, &dtype)});
    const auto classify = [&](ub4 type, ub4 attribute) {
        return [&, type, attribute] { get_attr_type(type, attribute, &htype, &dtype); };
    };
    for (const auto &[pair, line] : refused)
        expect_stop(
            {classify(pair.first, pair.second), "get_attr_type", "0", "This type is not supported", line});
    for (const ub4 type : {0U, 30U, 31U, 39U, 48U, 49U, 80U, 81U, 1000U, 4294967295U})
        expect_stop({classify(type, 1), "get_attr_type", "0", "Not implemented type", 1957});
}

/* ---- both calls, with arguments that all differ ---- */

records_t classification_records(const forwarded &row, const char *pair, const char *types)
{
    return {debug("get_attr_type:%s htype[%s", pair, std::string(1, any_tail).c_str()),
            debug("CONTINUE FUNC - %s()\n\tATTRIBUTE TYPE: %s", row.f.name.c_str(), types)};
}

const std::vector<forwarded> &attribute_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIAttrSet),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, error_at(5)},
         .prototype =
             "OCIAttrSet(dvoid *hdl, ub4 hdl_type, dvoid *attr, ub4 size, ub4 attr_type, OCIError *errhp)",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.svc);
                 w[1] = OCI_HTYPE_SVCCTX;
                 w[2] = to_word(t.env);
                 w[4] = OCI_ATTR_ENV;
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[2] = to_word(twin(t.env)); },
         .errors = error_record::always,
         .before_routing =
             [](ForwardingTest &t) {
                 return sequence(
                     classification_records(rows[0], "hdl_type[3] attr_type[5]", "htype=1, dtype=0"),
                     lookup_records(t.env, OCI_HTYPE_ENV));
             },
         .success = {OM_LOG_INFO, "()\n\treturn rc={rc}, dk_rc={dk_rc}", 2162},
         .oracle_failure = {OM_LOG_ERROR, "()\n\treturn rc={rc}", 2030},
         .dravik_failure = {OM_LOG_ERROR, "()\n\treturn rc_dk={dk_rc}", 2094},
         .required = {{0, "whdl != ((void *)0)", 2005},
                      {2, "wattr != ((void *)0)", 2020},
                      {5, "werrhp != ((void *)0)", 2008}},
         .neither_result = 7777},
        {.f = FUNCTION(OCIAttrGet),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_STMT}, error_at(5)},
         .prototype = "OCIAttrGet(CONST dvoid *trgthndlp, ub4 trghndltyp, dvoid *attributep, ub4 *sizep, ub4 "
                      "attrtype, OCIError *errhp)",
         .given =
             [](ForwardingTest &t, words &w) {
                 static ub4 size = 12;
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 w[3] = to_word(&size);
                 w[4] = OCI_ATTR_PREFETCH_ROWS;
             },
         .errors = error_record::always,
         .before_routing =
             [](ForwardingTest &) {
                 return classification_records(rows[1], "hdl_type[4] attr_type[11]", "htype=0, dtype=0");
             },
         .success = {OM_LOG_INFO, "()\n\treturn rc={result}\n\tattributep={2}\n\t*sizep=12\n\terrhp={5}",
                     2313},
         .oracle_failure = {OM_LOG_ERROR, "() of Oracle\n\treturn rc={rc}", 2249},
         .dravik_failure = {OM_LOG_ERROR, "() of Dravik\n\treturn rc={dk_rc}", 2272},
         .required = {{0, "wtrgthndlp != ((void *)0)", 2213}},
         .neither_result = OCI_ERROR},
    };
    return rows;
}

FORWARDING_TEST(Attribute, attribute_calls);

/* ---- setting ---- */

class AttributeSet : public ManagerTest
{
protected:
    sword set(void *handle, ub4 type, void *value, ub4 attribute)
    {
        return OCIAttrSet(handle, type, value, 0, attribute, err);
    }

    sword set(void *value, ub4 attribute) { return set(svc, OCI_HTYPE_SVCCTX, value, attribute); }

    void *member(ub4 attribute)
    {
        const auto &group = wrapper(svc)->childhp.child_grp;
        return attribute == OCI_ATTR_SERVER    ? group.first
               : attribute == OCI_ATTR_SESSION ? group.second
                                               : group.third;
    }
};

TEST_F(AttributeSet, FamilyOfAServiceContext)
{
    for (const auto &[attribute, handle] : std::vector<std::pair<ub4, void *>>{
             {OCI_ATTR_SERVER, srv}, {OCI_ATTR_SESSION, ses}, {OCI_ATTR_TRANS, trans}}) {
        om_handle_t *w = wrapper(handle);
        for (const ub4 member_routing : {1U, 2U, 3U}) {
            for (const ub4 context_routing : {1U, 2U, 3U}) {
                SCOPED_TRACE(print("attribute %u: %u and %u", attribute, member_routing, context_routing));
                route(handle, member_routing);
                route(svc, context_routing);
                EXPECT_EQ(set(handle, attribute), OCI_SUCCESS);
                EXPECT_EQ(member(attribute), w);
                EXPECT_EQ(w->parenthp, wrapper(svc));
                /* A server gives its routing, the others take it. */
                const ub4 routing = attribute == OCI_ATTR_SERVER ? member_routing : context_routing;
                EXPECT_EQ(wrapper(svc)->last_exec, routing);
                EXPECT_EQ(w->last_exec, routing);
            }
        }
        /* Another one takes the place; the first keeps its parent. */
        void *other = allocate(w->type);
        EXPECT_EQ(set(other, attribute), OCI_SUCCESS);
        EXPECT_EQ(member(attribute), wrapper(other));
        EXPECT_EQ(w->parenthp, wrapper(svc));
    }
}

TEST_F(AttributeSet, NoFamilyAfterAFailure)
{
    route(srv, 1);
    for (recording::backend *backend : {&oracle(), &dravik()}) {
        backend->next("OCIAttrSet", OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(set(srv, OCI_ATTR_SERVER), OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(member(OCI_ATTR_SERVER), nullptr);
        EXPECT_EQ(wrapper(srv)->parenthp, nullptr);
        EXPECT_EQ(wrapper(svc)->last_exec, 3U);
        EXPECT_EQ(wrapper(err)->last_err, static_cast<ub4>(backend->library));
    }
}

TEST_F(AttributeSet, ABackendWithoutTheValueIsSkipped)
{
    /* A server that only Oracle holds. */
    wrapper(srv)->dk_hndlp = nullptr;
    EXPECT_EQ(set(srv, OCI_ATTR_SERVER), OCI_SUCCESS);
    expect_calls({to_oracle("OCIAttrSet")});
    EXPECT_EQ(member(OCI_ATTR_SERVER), wrapper(srv));
    EXPECT_EQ(wrapper(err)->last_err, 1U);

    /* On a service context that only Dravik serves nobody can take it. */
    wrapper(err)->last_err = 0;
    route(svc, 2);
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(set(srv, OCI_ATTR_SERVER), 7777);
    expect_calls({});
    EXPECT_EQ(wrapper(err)->last_err, 0U);
    expect_last(trace, {info("END FUNC - OCIAttrSet()\n\treturn rc=7777, dk_rc=7777").at(2162)});
}

TEST_F(AttributeSet, DescriptorValue)
{
    void *rowid = allocate_descriptor(OCI_DTYPE_ROWID);
    forget_calls();
    EXPECT_EQ(set(stmt, OCI_HTYPE_STMT, rowid, OCI_ATTR_ROWID), OCI_SUCCESS);
    expect_calls(
        {to_oracle("OCIAttrSet", stmt, OCI_HTYPE_STMT, rowid, 0, OCI_ATTR_ROWID, err),
         to_dravik("OCIAttrSet", twin(stmt), OCI_HTYPE_STMT, twin(rowid), 0, OCI_ATTR_ROWID, twin(err))});
}

TEST_F(AttributeSet, Stops)
{
    ub4 rows = 1;
    const auto guarded = [&](const std::function<void()> &call) {
        expect_stop({call, "OCIAttrSet", "wattr != ((void *)0)", "", 2020});
    };
    guarded([&] { set(stmt, OCI_HTYPE_STMT, &rows, OCI_ATTR_PREFETCH_ROWS); }); // a plain attribute
    guarded([&] { set(ses, OCI_HTYPE_SESSION, &rows, OCI_ATTR_USERNAME); });
    void *path = allocate(OCI_HTYPE_DIRPATH_CTX);
    guarded([&] { set(path, OCI_HTYPE_DIRPATH_CTX, srv, OCI_ATTR_SERVER); });
    expect_stop({[&] { set(&rows, OCI_DTYPE_LOB, srv, OCI_ATTR_SERVER); }, "OCIAttrSet",
                 "whdl != ((void *)0)", "", 2005});
    expect_stop({[&] { set(stmt, 30, srv, OCI_ATTR_SERVER); }, "check_hash_table_type", "0",
                 "There is no avaiable handle type : 30"});
    expect_stop({[&] { set(srv, OCI_HTYPE_SERVER, srv, OCI_ATTR_FOCBK); }, "get_attr_type", "0",
                 "This type is not supported", 1857});
}

/* ---- reading ---- */

class AttributeGet : public ManagerTest
{
protected:
    sword get(void *handle, ub4 type, void *value, ub4 attribute)
    {
        return OCIAttrGet(handle, type, value, nullptr, attribute, err);
    }
    sword get_server() { return get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER); }

    record ended(const void *value, ub4 size) const
    {
        return info("END FUNC - OCIAttrGet()\n\treturn rc=0\n\tattributep=%p\n\t*sizep=%u\n\terrhp=%p", value,
                    size, err)
            .at(2313);
    }

    /* The server of the service context, from now on. */
    static void *next_server(recording::backend &backend)
    {
        void *server = backend.create();
        backend.always("OCIAttrGet", OCI_SUCCESS, returning(server, 2));
        return server;
    }

    void *variable = nullptr;
};

TEST_F(AttributeGet, RecordsOfAHandle)
{
    next_server(oracle());
    const trace_capture trace(OM_LOG_DEBUG);
    const records_t lookups =
        sequence(lookup_records(svc, OCI_HTYPE_SVCCTX), lookup_records(err, OCI_HTYPE_ERROR));
    EXPECT_EQ(get_server(), OCI_SUCCESS);
    EXPECT_EQ(wrapper(err)->last_err, 1U);
    expect_last(
        trace,
        sequence(lookups,
                 classification_records(attribute_calls()[1], "hdl_type[3] attr_type[6]", "htype=8, dtype=0"),
                 oracle_runs, insertion_records(variable, OCI_HTYPE_SERVER), ended(&variable, 0)));
}

TEST_F(AttributeGet, DravikCompletesAKnownHandle)
{
    route(svc, 2);
    route(srv, 1);
    om_handle_t *w = wrapper(srv);
    variable = srv;
    const std::vector<om_handle_t *> before = table();
    dravik().next("OCIAttrGet", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(get_server(), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(w->last_exec, 1U);
    forget_calls();

    void *server = next_server(dravik());
    EXPECT_EQ(get_server(), OCI_SUCCESS);
    expect_calls(
        {to_dravik("OCIAttrGet", twin(svc), OCI_HTYPE_SVCCTX, &w->dk_hndlp, 0, OCI_ATTR_SERVER, twin(err))});
    EXPECT_EQ(variable, srv);
    EXPECT_EQ(w->dk_hndlp, server);
    EXPECT_EQ(w->last_exec, 3U);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    EXPECT_EQ(table(), before);
}

TEST_F(AttributeGet, DescriptorsKnowTheirParent)
{
    oracle().next("OCIAttrGet", OCI_SUCCESS, returning(oracle().create(), 2));
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(get(dsc, OCI_HTYPE_DESCRIBE, &variable, OCI_ATTR_PARAM), OCI_SUCCESS);
    expect_new(wrapper(variable), OCI_DTYPE_PARAM, 3, 1, wrapper(dsc));
    expect_last(trace,
                {insertion_records(variable, OCI_DTYPE_PARAM, OM_ENTRY_DESCRIPTOR)[0], ended(&variable, 0)});

    oracle().next("OCIAttrGet", OCI_SUCCESS, returning(oracle().create(), 2));
    variable = nullptr;
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT, &variable, OCI_ATTR_ROWID), OCI_SUCCESS);
    expect_new(wrapper(variable), OCI_DTYPE_ROWID, 3, 1);
}

TEST_F(AttributeGet, PlainValuesAreTheBackendsOwn)
{
    const auto answer_number = [](ub4 value) {
        return [value](const words &a) {
            target<ub4>(a[2]) = value;
            target<ub4>(a[3]) = sizeof value;
        };
    };
    oracle().always("OCIAttrGet", OCI_SUCCESS, answer_number(42));
    dravik().always("OCIAttrGet", OCI_SUCCESS, answer_number(43));
    const std::vector<om_handle_t *> before = table();
    for (const ub4 last_exec : {1U, 2U, 3U}) {
        route(stmt, last_exec);
        ub4 rows = 0;
        ub4 size = 0;
        const trace_capture trace(OM_LOG_DEBUG);
        EXPECT_EQ(OCIAttrGet(stmt, OCI_HTYPE_STMT, &rows, &size, OCI_ATTR_ROW_COUNT, err), OCI_SUCCESS);
        EXPECT_EQ(rows, last_exec == 2 ? 43U : 42U);
        EXPECT_EQ(size, sizeof rows);
        expect_last(
            trace, {debug("CONTINUE FUNC - OCIAttrGet()\n\tfetch count=%u", rows).at(2303), ended(&rows, 4)});
    }
    EXPECT_EQ(table(), before);

    /* There is no row count to show without a variable, or of another handle. */
    oracle().always("OCIAttrGet", OCI_SUCCESS, [](const words &) {});
    const trace_capture trace(OM_LOG_DEBUG);
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_ROW_COUNT), OCI_SUCCESS);
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT, nullptr, OCI_ATTR_ROW_COUNT), OCI_SUCCESS);
    for (const record &r : trace.records())
        EXPECT_THAT(r.text, testing::Not(testing::HasSubstr("fetch count")));
}

TEST_F(AttributeGet, DescriptorTarget)
{
    route(lob, 2);
    EXPECT_EQ(get(lob, OCI_DTYPE_LOB, &variable, 1), OCI_SUCCESS);
    expect_calls({to_dravik("OCIAttrGet", twin(lob), OCI_DTYPE_LOB, &variable, 0, 1, twin(err))});
}

} // namespace
