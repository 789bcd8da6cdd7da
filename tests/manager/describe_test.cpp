/* Describe and parameters. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

const std::vector<forwarded> &describe_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIDescribeAny),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {7, OCI_HTYPE_DESCRIBE}, optional_error_at(1)},
         .prototype = "OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, dvoid *objptr, ub4 objnm_len, ub1 "
                      "objptr_typ, ub1 info_level, ub1 objtyp, OCIDescribe *dschp)",
         .success = {OM_LOG_INFO, "()\n\treturn rc={rc}"},
         .oracle_failure = {OM_LOG_ERROR, "(): ORACLE\n\treturn rc={rc}"},
         .required = {{0, "wsvchp != ((void *)0)"}, {7, "dschp != ((void *)0)"}},
         .no_backend = "There is no available svc handle"},
        {.f = FUNCTION(OCIParamGet),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error_at(2),
                     {3, OCI_DTYPE_PARAM, OM_ENTRY_DESCRIPTOR, true}},
         .prototype = "OCIParamGet(CONST dvoid *hndlp, ub4 htype, OCIError *errhp, dvoid **parmdpp, ub4 pos)",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 t.variable = t.param;
                 w[3] = to_word(&t.variable);
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[3] = to_word(&wrapper(t.param)->dk_hndlp); },
         .success = {OM_LOG_INFO, "()\n\treturn rc=0\n\t*parmdpp={handle}"},
         .oracle_failure = {OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamGet() returns error({rc})"},
         .dravik_failure = {OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamGet() returns error({dk_rc})"},
         .required = {{0, "whndlp!=((void *)0)"}}},
        {.f = FUNCTION(OCIParamSet),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error_at(2),
                     {3, OCI_DTYPE_PARAM, OM_ENTRY_DESCRIPTOR, false, true}},
         .prototype =
             "OCIParamSet(dvoid *hdlp, ub4 htyp, OCIError *errhp, CONST dvoid *dscp, ub4 dtyp, ub4 pos)",
         .given =
             [](ForwardingTest &t, words &w) {
                 w[0] = to_word(t.stmt);
                 w[1] = OCI_HTYPE_STMT;
                 w[3] = to_word(t.param);
                 w[4] = OCI_DTYPE_PARAM;
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[3] = to_word(twin(t.param)); },
         .success = {OM_LOG_INFO, "()\n\treturn rc={result}"},
         .oracle_failure = {OM_LOG_ERROR, "ora_func_table.funcs.func_OCIParamSet() returns error({rc})"},
         .dravik_failure = {OM_LOG_ERROR, "dk_func_table.funcs.func_OCIParamSet() returns error({dk_rc})"},
         .required = {{0, "whdlp != ((void *)0)"}}},
    };
    return rows;
}

FORWARDING_TEST(Description, describe_calls);

class Parameter : public ManagerTest
{
protected:
    sword get(void *parent, ub4 type) { return OCIParamGet(parent, type, err, &parameter, 2); }

    void *parameter = nullptr;
};

TEST_F(Parameter, ADescribeHandleIsOraclesFromNowOn)
{
    char name[] = "EMP";
    for (const sword rc : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_ERROR}) {
        for (const ub4 before : {2U, 3U}) {
            route(dsc, before);
            wrapper(err)->last_err = 0;
            oracle().next("OCIDescribeAny", rc);
            EXPECT_EQ(OCIDescribeAny(svc, err, name, 3, OCI_OTYPE_NAME, OCI_DEFAULT, OCI_PTYPE_TABLE, dsc),
                      rc);
            EXPECT_EQ(wrapper(dsc)->last_exec, 1U);
            EXPECT_EQ(wrapper(err)->last_err, rc == OCI_SUCCESS ? 0U : 1U);
        }
    }
}

TEST_F(Parameter, OneOfAParameterHasTheSameParent)
{
    void *nested = nullptr;
    EXPECT_EQ(get(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(OCIParamGet(parameter, OCI_DTYPE_PARAM, err, &nested, 1), OCI_SUCCESS);
    EXPECT_EQ(wrapper(nested)->parenthp, wrapper(stmt));
    EXPECT_EQ(wrapper(stmt)->param_link_count + wrapper(stmt)->sub_link_count, 0U);
    EXPECT_EQ(OCIDescriptorFree(nested, OCI_DTYPE_PARAM), OCI_SUCCESS);
    EXPECT_EQ(OCIDescriptorFree(parameter, OCI_DTYPE_PARAM), OCI_SUCCESS);
}

TEST_F(Parameter, Stops)
{
    expect_stop({[&] { get(err, OCI_HTYPE_ERROR); }, "OCIParamGet", "(*parmdpp) != ((void *)0)"});
    parameter = lob;
    expect_stop({[&] { get(err, OCI_HTYPE_ERROR); }, "OCIParamGet", "whndlp!=((void *)0)"});
    expect_stop({[&] { get(this, OCI_DTYPE_PARAM); }, "OCIParamGet", "whndlp!=((void *)0)"});
    /* Other descriptors are no parents. */
    expect_stop({[&] { get(lob, OCI_DTYPE_LOB); }, "check_hash_table_type", "0",
                 "There is no avaiable handle type : 50"});
}

TEST_F(Parameter, SetWithAnUnknownDescriptor)
{
    for (void *descriptor : no_handles<void>()) {
        EXPECT_EQ(OCIParamSet(stmt, OCI_HTYPE_STMT, err, descriptor, OCI_DTYPE_PARAM, 1), OCI_SUCCESS);
        expect_calls(
            {to_oracle("OCIParamSet", stmt, OCI_HTYPE_STMT, err, descriptor, OCI_DTYPE_PARAM, 1),
             to_dravik("OCIParamSet", twin(stmt), OCI_HTYPE_STMT, twin(err), 0, OCI_DTYPE_PARAM, 1)});
    }
}

} // namespace
