/* Describe and parameters. */
#include "forwarding.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

const lookup optional_error{.position = 2, .type = OCI_HTYPE_ERROR, .when_given = true};

const std::vector<forwarded> &describe_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIDescribeAny),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_SVCCTX},
                     {7, OCI_HTYPE_DESCRIBE},
                     {.position = 1, .type = OCI_HTYPE_ERROR, .when_given = true}},
         .arguments =
             "OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, dvoid *objptr, ub4 objnm_len, ub1 objptr_typ, ub1 "
             "info_level, ub1 objtyp, OCIDescribe *dschp)\n\tsvchp=%p\n\terrhp=%p\n\tobjptr=%p\n\tobjnm_len=%d"
             "\n\tobjptr_typ=%d\n\tinfo_level=%d\n\tobjtyp=%d\n\tdschp=%p",
         .success = {OM_LOG_INFO, "END FUNC - OCIDescribeAny()\n\treturn rc={rc}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIDescribeAny(): ORACLE\n\treturn rc={rc}"},
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available svc handle"},
        {.f = FUNCTION(OCIParamGet),
         .how = manner::in_turn,
         .lookups =
             {{0, OCI_HTYPE_STMT},
              optional_error,
              {.position = 3, .type = OCI_DTYPE_PARAM, .entry_type = OM_ENTRY_DESCRIPTOR, .through = true}},
         .arguments =
             "OCIParamGet(CONST dvoid *hndlp, ub4 htype, OCIError *errhp, dvoid **parmdpp, ub4 pos)\n\thndlp=%p"
             "\n\thtype=%d\n\terrhp=%p\n\tparmdpp=%p\n\tpos=%d",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 t.variable = t.param;
                 w[3] = to_word(&t.variable);
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[3] = to_word(&wrapper(t.param)->dk_hndlp); },
         .success = {OM_LOG_INFO, "END FUNC - OCIParamGet()\n\treturn rc=0\n\t*parmdpp={handle}"},
         .oracle_failure = {OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamGet() returns error({rc})"},
         .dravik_failure = {OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamGet() returns error({dk_rc})"},
         .assertion = "whndlp!=((void *)0)"},
        {.f = FUNCTION(OCIParamSet),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error,
                     {.position = 3,
                      .type = OCI_DTYPE_PARAM,
                      .entry_type = OM_ENTRY_DESCRIPTOR,
                      .when_given = true}},
         .arguments =
             "OCIParamSet(dvoid *hdlp, ub4 htyp, OCIError *errhp, CONST dvoid *dscp, ub4 dtyp, ub4 pos)\n\thdlp=%p"
             "\n\thtyp=%d\n\terrhp=%p\n\tdscp=%p\n\tdtyp=%d\n\tpos=%d",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 w[3] = to_word(t.param);
                 w[4] = OCI_DTYPE_PARAM;
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[3] = to_word(twin(t.param)); },
         .success = {OM_LOG_INFO, "END FUNC - OCIParamSet()\n\treturn rc={result}"},
         .oracle_failure = {OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamSet() returns error({rc})"},
         .dravik_failure = {OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamSet() returns error({dk_rc})"},
         .assertion = "whdlp != ((void *)0)"},
    };
    return rows;
}

FORWARDING_TEST(Description, describe_calls);

class Describe : public ManagerTest
{
protected:
    sword describe(OCIDescribe *handle)
    {
        char name[] = "EMP";
        return OCIDescribeAny(svc, err, name, 3, OCI_OTYPE_NAME, OCI_DEFAULT, OCI_PTYPE_TABLE, handle);
    }
};

TEST_F(Describe, TheHandleIsOraclesFromNowOn)
{
    for (const sword rc : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_ERROR}) {
        for (const ub4 before : {2U, 3U}) {
            route(dsc, before);
            wrapper(err)->last_err = 0;
            oracle().next("OCIDescribeAny", rc);
            EXPECT_EQ(describe(dsc), rc);
            EXPECT_EQ(wrapper(dsc)->last_exec, 1U);
            EXPECT_EQ(wrapper(err)->last_err, rc == OCI_SUCCESS ? 0U : 1U);
        }
    }
}

TEST_F(Describe, UnknownDescribeHandleStops)
{
    for (OCIDescribe *handle : {static_cast<OCIDescribe *>(nullptr), reinterpret_cast<OCIDescribe *>(this)})
        expect_stop({.name = "describe handle",
                     .call = [&] { describe(handle); },
                     .function = "OCIDescribeAny",
                     .assertion = "dschp != ((void *)0)"});
}

class Parameter : public ManagerTest
{
protected:
    sword get(void *parent, ub4 type) { return OCIParamGet(parent, type, err, &parameter, 2); }

    void *parameter = nullptr;
};

TEST_F(Parameter, NewOnesKnowWhereTheyComeFrom)
{
    for (const ub4 last_exec : {1U, 3U}) {
        route(stmt, last_exec);
        parameter = nullptr;
        const ub4 count = hdl_list_tbl->hash_count;
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
        const om_handle_t *w = wrapper(parameter);
        ASSERT_NE(w, nullptr);
        EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
        EXPECT_EQ(w->dk_hndlp != nullptr, last_exec == 3);
        EXPECT_EQ(w->state, 3U);
        EXPECT_EQ(w->type, ub4{OCI_DTYPE_PARAM});
        EXPECT_EQ(w->last_exec, last_exec);
        EXPECT_EQ(w->parenthp, wrapper(stmt));
        const records_t records = trace.records();
        ASSERT_GT(records.size(), 2U);
        expect_records(
            {records.end() - 2, records.end()},
            {insertion_records(parameter, OCI_DTYPE_PARAM, OM_ENTRY_DESCRIPTOR)[0],
             {OM_LOG_INFO, format("END FUNC - OCIParamGet()\n\treturn rc=0\n\t*parmdpp=%p", parameter)}});

        /* One of a parameter has the same parent, and asking again adds nothing. */
        void *first = parameter;
        void *nested = nullptr;
        EXPECT_EQ(OCIParamGet(first, OCI_DTYPE_PARAM, err, &nested, 1), OCI_SUCCESS);
        EXPECT_EQ(wrapper(nested)->parenthp, wrapper(stmt));
        const std::vector<om_handle_t *> before = table();
        EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
        EXPECT_EQ(table(), before);
        EXPECT_EQ(OCIDescriptorFree(nested, OCI_DTYPE_PARAM), OCI_SUCCESS);
        EXPECT_EQ(OCIDescriptorFree(parameter, OCI_DTYPE_PARAM), OCI_SUCCESS);
    }
    EXPECT_EQ(wrapper(stmt)->param_link_count, 0U);
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 0U);
}

TEST_F(Parameter, OfDravikAloneIsEnteredUnderNull)
{
    route(stmt, 2);
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(parameter, nullptr);
    const om_handle_t *w = table().back();
    EXPECT_EQ(w->ora_hndlp, nullptr);
    EXPECT_TRUE(dravik().alive(w->dk_hndlp));
    EXPECT_EQ(w->last_exec, 2U);
}

TEST_F(Parameter, Failures)
{
    const std::vector<om_handle_t *> before = table();
    oracle().next("OCIParamGet", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(wrapper(err)->last_err, 1U);
    EXPECT_EQ(table(), before);

    /* What Oracle made for a new one is given back when Dravik fails. */
    parameter = nullptr;
    dravik().always("OCIParamGet", OCI_NO_DATA);
    forget_calls();
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_NO_DATA);
    EXPECT_THAT(called(),
                ElementsAre("Oracle.OCIParamGet", "Dravik.OCIParamGet", "Oracle.OCIDescriptorFree"));
    EXPECT_EQ(calls()[2].arguments, (words{to_word(parameter), OCI_DTYPE_PARAM}));
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    EXPECT_EQ(table(), before);

    parameter = nullptr;
    route(stmt, 2);
    forget_calls();
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_NO_DATA);
    EXPECT_THAT(called(), ElementsAre("Dravik.OCIParamGet", "Oracle.OCIDescriptorFree"));
    EXPECT_EQ(calls()[1].arguments, (words{0, OCI_DTYPE_PARAM}));
}

TEST_F(Parameter, Stops)
{
    expect_stop({.name = "errors of a batch, no descriptor",
                 .call = [&] { get(err, OCI_HTYPE_ERROR); },
                 .function = "OCIParamGet",
                 .assertion = "(*parmdpp) != ((void *)0)"});
    parameter = lob;
    expect_stop({.name = "errors of a batch",
                 .call = [&] { get(err, OCI_HTYPE_ERROR); },
                 .function = "OCIParamGet",
                 .assertion = "whndlp!=((void *)0)"});
    expect_stop({.name = "unknown parameter",
                 .call = [&] { get(this, OCI_DTYPE_PARAM); },
                 .function = "OCIParamGet",
                 .assertion = "whndlp!=((void *)0)"});
    expect_stop({.name = "other descriptors are no parents",
                 .call = [&] { get(lob, OCI_DTYPE_LOB); },
                 .function = "check_hash_table_type",
                 .assertion = "0",
                 .reasons = {"There is no avaiable handle type : 50"}});
}

TEST_F(Parameter, SetWithAnUnknownDescriptor)
{
    for (void *descriptor : {static_cast<void *>(nullptr), static_cast<void *>(this)}) {
        forget_calls();
        EXPECT_EQ(OCIParamSet(stmt, OCI_HTYPE_STMT, err, descriptor, OCI_DTYPE_PARAM, 1), OCI_SUCCESS);
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[0].arguments[3], to_word(descriptor));
        EXPECT_EQ(calls()[1].arguments[3], 0U);
    }
}

} // namespace
