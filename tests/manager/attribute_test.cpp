/* Attributes: classification, setting, reading. */
#include <set>

#include "forwarding.h"

using namespace manager_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};
const record dravik_runs{OM_LOG_INFO, "[DRAVIK] OCI API will be executed"};

/* ---- classification ---- */

struct classified {
    ub4 type;
    ub4 attribute;
    sword htype;
    sword dtype;
};

const classified valued[] = {
    {OCI_HTYPE_SVCCTX, OCI_ATTR_ENV, OCI_HTYPE_ENV, 0},
    {OCI_HTYPE_SVCCTX, OCI_ATTR_SERVER, OCI_HTYPE_SERVER, 0},
    {OCI_HTYPE_SVCCTX, OCI_ATTR_SESSION, OCI_HTYPE_SESSION, 0},
    {OCI_HTYPE_SVCCTX, OCI_ATTR_TRANS, OCI_HTYPE_TRANS, 0},
    {OCI_HTYPE_STMT, 414, OCI_HTYPE_SUBSCRIPTION, 0},
    {OCI_HTYPE_STMT, OCI_ATTR_ROWID, 0, OCI_DTYPE_ROWID},
    {OCI_HTYPE_DESCRIBE, OCI_ATTR_PARAM, 0, OCI_DTYPE_PARAM},
    {OCI_HTYPE_SERVER, OCI_ATTR_ENV, OCI_HTYPE_ENV, 0},
};

struct refused {
    ub4 type;
    ub4 attribute;
    int line;
};

const refused refusals[] = {
    {8, 43, 1857},  {8, 274, 1863}, {13, 160, 1881}, {57, 48, 1911},  {58, 54, 1917},  {59, 60, 1925},
    {59, 68, 1925}, {59, 69, 1925}, {64, 401, 1937}, {64, 408, 1937}, {64, 411, 1937},
};

bool known_type(ub4 type)
{
    return (type >= 1 && type <= 29) || (type >= 50 && type <= 79);
}

TEST(Classification, EveryPair)
{
    std::set<std::pair<ub4, ub4>> fatal;
    for (const refused &r : refusals)
        fatal.insert({r.type, r.attribute});
    const scoped_variable level("DKOM_LOG_LEVEL", "10");
    forget_trace_state();
    for (ub4 type = 0; type <= 81; type++) {
        for (ub4 attribute = 0; attribute <= 500 && known_type(type); attribute++) {
            if (fatal.count({type, attribute}) != 0)
                continue;
            sword htype = -1;
            sword dtype = -1;
            get_attr_type(type, attribute, &htype, &dtype);
            classified expected{type, attribute, 0, 0};
            for (const classified &c : valued)
                if (c.type == type && c.attribute == attribute)
                    expected = c;
            ASSERT_EQ(htype, expected.htype) << "type " << type << ", attribute " << attribute;
            ASSERT_EQ(dtype, expected.dtype) << "type " << type << ", attribute " << attribute;
        }
    }
    forget_trace_state();
}

TEST(Classification, Record)
{
    const trace_capture trace(OM_LOG_TRACE);
    sword htype = 0;
    sword dtype = 0;
    get_attr_type(3, 6, &htype, &dtype);
    expect_records(trace.records(),
                   {{OM_LOG_DEBUG, format("get_attr_type:hdl_type[3] attr_type[6] htype[%p] dtype[%p]",
                                          static_cast<void *>(&htype), static_cast<void *>(&dtype))}});
}

TEST(Classification, Stops)
{
    sword htype = 0;
    sword dtype = 0;
    for (const refused &r : refusals)
        expect_stop({.name = format("type %u, attribute %u", r.type, r.attribute),
                     .call = [&] { get_attr_type(r.type, r.attribute, &htype, &dtype); },
                     .function = "get_attr_type",
                     .assertion = "0",
                     .reasons = {"This type is not supported"},
                     .reason_line = r.line,
                     .line = r.line + 1});
    for (const ub4 type : {0U, 30U, 31U, 39U, 48U, 49U, 80U, 81U, 1000U, 4294967295U})
        expect_stop({.name = format("type %u", type),
                     .call = [&] { get_attr_type(type, 1, &htype, &dtype); },
                     .function = "get_attr_type",
                     .assertion = "0",
                     .reasons = {"Not implemented type"},
                     .reason_line = 1957,
                     .line = 1958});
}

/* ---- both calls, with arguments that all differ ---- */

void set_environment(ForwardingTest &t, words &w)
{
    w[0] = to_word(t.svc);
    w[1] = OCI_HTYPE_SVCCTX;
    w[2] = to_word(t.env);
    w[4] = OCI_ATTR_ENV;
}

const std::vector<forwarded> &attribute_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIAttrSet),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {5, OCI_HTYPE_ERROR}},
         .arguments =
             "OCIAttrSet(dvoid *hdl, ub4 hdl_type, dvoid *attr, ub4 size, ub4 attr_type, OCIError *errhp)\n\t"
             "hdl=%p\n\thdl_type=%d\n\tattr=%p\n\tsize=%d\n\tattr_type=%d\n\terrhp=%p",
         .given = set_environment,
         .to_dravik = [](ForwardingTest &t, words &w) { w[2] = to_word(twin(t.env)); },
         .errors = error_record::always,
         .before_routing =
             [](ForwardingTest &t, const words &) {
                 return sequence(
                     records_t{
                         {OM_LOG_DEBUG,
                          std::string("get_attr_type:hdl_type[3] attr_type[5] htype[") + any_tail},
                         {OM_LOG_DEBUG, "CONTINUE FUNC - OCIAttrSet()\n\tATTRIBUTE TYPE: htype=1, dtype=0"}},
                     lookup_records(t.env, OCI_HTYPE_ENV));
             },
         .success = {OM_LOG_INFO, "END FUNC - OCIAttrSet()\n\treturn rc={rc}, dk_rc={dk_rc}", 2162},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIAttrSet()\n\treturn rc={rc}", 2030},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCIAttrSet()\n\treturn rc_dk={dk_rc}", 2094},
         .assertion = "whdl != ((void *)0)",
         .neither_result = 7777,
         .assertion_line = 2005},
        {.f = FUNCTION(OCIAttrGet),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_STMT}, {5, OCI_HTYPE_ERROR}},
         .arguments =
             "OCIAttrGet(CONST dvoid *trgthndlp, ub4 trghndltyp, dvoid *attributep, ub4 *sizep, ub4 attrtype, "
             "OCIError *errhp)\n\ttrgthndlp=%p\n\ttrghndltyp=%d\n\tattributep=%p\n\tsizep=%p\n\tattrtype=%d\n\t"
             "errhp=%p",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 w[4] = OCI_ATTR_PREFETCH_ROWS;
                 static ub4 size = 12;
                 w[3] = to_word(&size);
             },
         .errors = error_record::always,
         .before_routing =
             [](ForwardingTest &, const words &) {
                 return records_t{
                     {OM_LOG_DEBUG, std::string("get_attr_type:hdl_type[4] attr_type[11] htype[") + any_tail},
                     {OM_LOG_DEBUG, "CONTINUE FUNC - OCIAttrGet()\n\tATTRIBUTE TYPE: htype=0, dtype=0"}};
             },
         .success =
             {OM_LOG_INFO,
              "END FUNC - OCIAttrGet()\n\treturn rc={result}\n\tattributep={2}\n\t*sizep=12\n\terrhp={5}",
              2313},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIAttrGet() of Oracle\n\treturn rc={rc}", 2249},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCIAttrGet() of Dravik\n\treturn rc={dk_rc}", 2272},
         .assertion = "wtrgthndlp != ((void *)0)",
         .neither_result = OCI_ERROR,
         .assertion_line = 2213},
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

    void **slot(ub4 attribute)
    {
        auto &group = wrapper(svc)->childhp.child_grp;
        return attribute == OCI_ATTR_SERVER    ? &group.first
               : attribute == OCI_ATTR_SESSION ? &group.second
                                               : &group.third;
    }
};

TEST_F(AttributeSet, FamilyOfAServiceContext)
{
    struct member {
        ub4 attribute;
        void *handle;
        bool gives_routing; // to the service context, else takes it
    };
    for (const member &m : {member{OCI_ATTR_SERVER, srv, true},
                            {OCI_ATTR_SESSION, ses, false},
                            {OCI_ATTR_TRANS, trans, false}}) {
        for (const ub4 member_routing : {1U, 2U, 3U}) {
            for (const ub4 context_routing : {1U, 2U, 3U}) {
                SCOPED_TRACE(format("attribute %u: %u and %u", m.attribute, member_routing, context_routing));
                route(m.handle, member_routing);
                route(svc, context_routing);
                EXPECT_EQ(set(m.handle, m.attribute), OCI_SUCCESS);
                EXPECT_EQ(*slot(m.attribute), wrapper(m.handle));
                EXPECT_EQ(wrapper(m.handle)->parenthp, wrapper(svc));
                EXPECT_EQ(wrapper(svc)->last_exec, m.gives_routing ? member_routing : context_routing);
                EXPECT_EQ(wrapper(m.handle)->last_exec, m.gives_routing ? member_routing : context_routing);
            }
        }
        /* Another one takes the place; the first keeps its parent. */
        void *other = allocate<void>(wrapper(m.handle)->type);
        EXPECT_EQ(set(other, m.attribute), OCI_SUCCESS);
        EXPECT_EQ(*slot(m.attribute), wrapper(other));
        EXPECT_EQ(wrapper(m.handle)->parenthp, wrapper(svc));
    }
}

TEST_F(AttributeSet, NoFamilyAfterAFailure)
{
    route(srv, 1);
    for (recording::backend *backend : {&oracle(), &dravik()}) {
        backend->next("OCIAttrSet", OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(set(srv, OCI_ATTR_SERVER), OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(*slot(OCI_ATTR_SERVER), nullptr);
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
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIAttrSet"));
    EXPECT_EQ(*slot(OCI_ATTR_SERVER), wrapper(srv));
    EXPECT_EQ(wrapper(err)->last_err, 1U);

    /* On a service context that only Dravik serves nobody can take it. */
    wrapper(err)->last_err = 0;
    route(svc, 2);
    forget_calls();
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(set(srv, OCI_ATTR_SERVER), 7777);
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(wrapper(err)->last_err, 0U);
    expect_records({trace.records().back()},
                   {{OM_LOG_INFO, "END FUNC - OCIAttrSet()\n\treturn rc=7777, dk_rc=7777", 2162}});
}

TEST_F(AttributeSet, DescriptorValue)
{
    auto *rowid = allocate_descriptor<OCIRowid>(OCI_DTYPE_ROWID);
    forget_calls();
    EXPECT_EQ(set(stmt, OCI_HTYPE_STMT, rowid, OCI_ATTR_ROWID), OCI_SUCCESS);
    ASSERT_EQ(calls().size(), 2U);
    EXPECT_EQ(calls()[0].arguments[2], to_word(rowid));
    EXPECT_EQ(calls()[1].arguments[2], to_word(twin(rowid)));
}

TEST_F(AttributeSet, Stops)
{
    ub4 rows = 1;
    const auto guarded = [&](const char *name, std::function<void()> call) {
        expect_stop({.name = name,
                     .call = std::move(call),
                     .function = "OCIAttrSet",
                     .assertion = "wattr != ((void *)0)",
                     .line = 2020});
    };
    guarded("plain attribute", [&] { set(stmt, OCI_HTYPE_STMT, &rows, OCI_ATTR_PREFETCH_ROWS); });
    guarded("user name", [&] { set(ses, OCI_HTYPE_SESSION, &rows, OCI_ATTR_USERNAME); });
    guarded("null value", [&] { set(nullptr, OCI_ATTR_SERVER); });
    guarded("unknown value", [&] { set(&rows, OCI_ATTR_SERVER); });
    auto *path = allocate<void>(OCI_HTYPE_DIRPATH_CTX);
    guarded("direct path", [&] { set(path, OCI_HTYPE_DIRPATH_CTX, srv, OCI_ATTR_SERVER); });
    for (OCIError *unknown : {static_cast<OCIError *>(nullptr), reinterpret_cast<OCIError *>(&rows)})
        expect_stop({.name = "error handle",
                     .call = [&] { OCIAttrSet(svc, OCI_HTYPE_SVCCTX, srv, 0, OCI_ATTR_SERVER, unknown); },
                     .function = "OCIAttrSet",
                     .assertion = "werrhp != ((void *)0)",
                     .line = 2008});
    expect_stop({.name = "descriptor",
                 .call = [&] { set(&rows, OCI_DTYPE_LOB, srv, OCI_ATTR_SERVER); },
                 .function = "OCIAttrSet",
                 .assertion = "whdl != ((void *)0)",
                 .line = 2005});
    expect_stop({.name = "handle type",
                 .call = [&] { set(stmt, 30, srv, OCI_ATTR_SERVER); },
                 .function = "check_hash_table_type",
                 .assertion = "0",
                 .reasons = {"There is no avaiable handle type : 30"}});
    expect_stop({.name = "refused attribute",
                 .call = [&] { set(srv, OCI_HTYPE_SERVER, srv, OCI_ATTR_FOCBK); },
                 .function = "get_attr_type",
                 .assertion = "0",
                 .reasons = {"This type is not supported"},
                 .reason_line = 1857,
                 .line = 1858});
}

/* ---- reading ---- */

class AttributeGet : public ManagerTest
{
protected:
    /* What a backend stores as the value. */
    static std::function<void(const words &)> answer(void *value)
    {
        return [value](const words &a) { target<void *>(a[2]) = value; };
    }

    sword get(void *handle, ub4 type, void *variable, ub4 attribute)
    {
        return OCIAttrGet(handle, type, variable, nullptr, attribute, err);
    }
};

TEST_F(AttributeGet, AHandleFromOracleGetsAWrapper)
{
    void *server = oracle().create(OCI_HTYPE_SERVER);
    oracle().always("OCIAttrGet", OCI_SUCCESS, answer(server));
    void *variable = nullptr;
    const trace_capture trace(OM_LOG_TRACE);
    const records_t lookups =
        sequence(lookup_records(svc, OCI_HTYPE_SVCCTX), lookup_records(err, OCI_HTYPE_ERROR));
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(variable, server);
    const om_handle_t *w = wrapper(server);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->state, 3U);
    EXPECT_EQ(w->type, ub4{OCI_HTYPE_SERVER});
    EXPECT_EQ(w->last_exec, 1U);
    EXPECT_EQ(w->dk_hndlp, nullptr);
    EXPECT_EQ(w->parenthp, nullptr);
    EXPECT_EQ(wrapper(err)->last_err, 1U);
    const records_t records = trace.records();
    ASSERT_GT(records.size(), 2U);
    expect_records(
        {records.begin() + 2, records.end()},
        sequence(
            lookups,
            records_t{{OM_LOG_DEBUG, std::string("get_attr_type:hdl_type[3] attr_type[6] htype[") + any_tail},
                      {OM_LOG_DEBUG, "CONTINUE FUNC - OCIAttrGet()\n\tATTRIBUTE TYPE: htype=8, dtype=0"},
                      oracle_runs},
            insertion_records(server, OCI_HTYPE_SERVER),
            records_t{{OM_LOG_INFO,
                       format("END FUNC - OCIAttrGet()\n\treturn rc=0\n\tattributep=%p\n\t*sizep=0\n\t"
                              "errhp=%p",
                              static_cast<void *>(&variable), static_cast<void *>(err)),
                       2313}}));

    /* The variable still holds it: nothing is added. */
    const std::vector<om_handle_t *> before = table();
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(table(), before);

    /* Another answer keys the wrapper found anew. */
    void *other = oracle().create(OCI_HTYPE_SERVER);
    oracle().always("OCIAttrGet", OCI_SUCCESS, answer(other));
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(other), w);
    EXPECT_EQ(wrapper(server), nullptr);

    /* A value that nobody knows is looked up in vain. */
    variable = this;
    void *third = oracle().create(OCI_HTYPE_SERVER);
    oracle().always("OCIAttrGet", OCI_SUCCESS, answer(third));
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(table().size(), before.size() + 1);
    EXPECT_EQ(table().back(), wrapper(third));
}

TEST_F(AttributeGet, AHandleFromDravikIsEnteredUnderNull)
{
    route(svc, 2);
    void *server = dravik().create(OCI_HTYPE_SERVER);
    dravik().always("OCIAttrGet", OCI_SUCCESS, answer(server));
    for (void *before : {static_cast<void *>(nullptr), static_cast<void *>(this)}) {
        void *variable = before;
        forget_calls();
        EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
        EXPECT_EQ(variable, before);
        const om_handle_t *w = table().back();
        EXPECT_EQ(w->ora_hndlp, nullptr);
        EXPECT_EQ(w->dk_hndlp, server);
        EXPECT_EQ(w->last_exec, 2U);
        EXPECT_EQ(w->state, 3U);
        EXPECT_EQ(wrapper(err)->last_err, 2U);
        ASSERT_EQ(calls().size(), 1U);
        EXPECT_EQ(calls()[0].arguments, (words{to_word(twin(svc)), OCI_HTYPE_SVCCTX, to_word(&w->dk_hndlp), 0,
                                               OCI_ATTR_SERVER, to_word(twin(err))}));
    }
    /* A known one is completed. */
    route(srv, 1);
    void *variable = srv;
    const std::vector<om_handle_t *> before = table();
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(srv)->dk_hndlp, server);
    EXPECT_EQ(wrapper(srv)->last_exec, 3U);
}

TEST_F(AttributeGet, DescriptorsKnowTheirParent)
{
    oracle().always("OCIAttrGet", OCI_SUCCESS,
                    [](const words &a) { target<void *>(a[2]) = oracle().create(OCI_DTYPE_PARAM); });
    void *parameter = nullptr;
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(get(dsc, OCI_HTYPE_DESCRIBE, &parameter, OCI_ATTR_PARAM), OCI_SUCCESS);
    const om_handle_t *w = wrapper(parameter);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->type, ub4{OCI_DTYPE_PARAM});
    EXPECT_EQ(w->parenthp, wrapper(dsc));
    records_t records = trace.records();
    ASSERT_GT(records.size(), 2U);
    expect_records({records.end()[-2]},
                   {insertion_records(parameter, OCI_DTYPE_PARAM, OM_ENTRY_DESCRIPTOR)[0]});

    void *rowid = nullptr;
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT, &rowid, OCI_ATTR_ROWID), OCI_SUCCESS);
    EXPECT_EQ(wrapper(rowid)->type, ub4{OCI_DTYPE_ROWID});
    EXPECT_EQ(wrapper(rowid)->parenthp, nullptr);
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
        const records_t records = trace.records();
        ASSERT_GT(records.size(), 2U);
        expect_records({records.end()[-2], records.end()[-1]},
                       {{OM_LOG_DEBUG, format("CONTINUE FUNC - OCIAttrGet()\n\tfetch count=%u", rows), 2303},
                        {OM_LOG_INFO,
                         format("END FUNC - OCIAttrGet()\n\treturn rc=0\n\tattributep=%p\n\t*sizep=4\n\t"
                                "errhp=%p",
                                static_cast<void *>(&rows), static_cast<void *>(err)),
                         2313}});
    }
    EXPECT_EQ(table(), before);
}

TEST_F(AttributeGet, NoRowCountForOtherHandles)
{
    ub4 value = 0;
    oracle().always("OCIAttrGet", OCI_SUCCESS);
    const trace_capture trace(OM_LOG_DEBUG);
    EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &value, OCI_ATTR_ROW_COUNT), OCI_SUCCESS);
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT, nullptr, OCI_ATTR_ROW_COUNT), OCI_SUCCESS);
    for (const record &r : trace.records())
        EXPECT_THAT(r.text, testing::Not(testing::HasSubstr("fetch count")));
}

TEST_F(AttributeGet, FailureAddsNothing)
{
    const std::vector<om_handle_t *> before = table();
    for (const ub4 last_exec : {1U, 2U}) {
        route(svc, last_exec);
        recording::backend &backend = last_exec == 1 ? oracle() : dravik();
        for (void *held : {static_cast<void *>(nullptr), static_cast<void *>(srv)}) {
            void *variable = held;
            const ub4 routing = wrapper(srv)->last_exec;
            backend.next("OCIAttrGet", OCI_SUCCESS_WITH_INFO);
            EXPECT_EQ(get(svc, OCI_HTYPE_SVCCTX, &variable, OCI_ATTR_SERVER), OCI_SUCCESS_WITH_INFO);
            EXPECT_EQ(variable, held);
            EXPECT_EQ(table(), before);
            EXPECT_EQ(wrapper(srv)->last_exec, routing);
            EXPECT_EQ(wrapper(err)->last_err, last_exec);
        }
    }
}

TEST_F(AttributeGet, UnknownErrorHandle)
{
    route(stmt, 2);
    ub4 value = 0;
    EXPECT_EQ(OCIAttrGet(stmt, OCI_HTYPE_STMT, &value, nullptr, OCI_ATTR_PREFETCH_ROWS,
                         reinterpret_cast<OCIError *>(&value)),
              OCI_SUCCESS);
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_EQ(calls()[0].arguments[5], 0U);
}

TEST_F(AttributeGet, DescriptorTarget)
{
    ub4 value = 0;
    EXPECT_EQ(get(lob, OCI_DTYPE_LOB, &value, 1), OCI_SUCCESS);
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_EQ(calls()[0].arguments[0], to_word(lob));
}

} // namespace
