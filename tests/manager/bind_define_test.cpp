/* Binds and defines. */
#include "forwarding.h"

using namespace manager_tests;
using testing::IsEmpty;

namespace
{

constexpr const char *no_function = "There is no available function";
const std::string wide_name("\0e\0m\0p\0n\0o", 10);

/* Where the variable of a bind or define is looked up, after the statement and the error handle. */
std::vector<lookup> lookups_for(int type)
{
    return {{0, OCI_HTYPE_STMT}, optional_error_at(2), {1, type, OM_ENTRY_HANDLE, true}};
}

void use_bind(ForwardingTest &t, words &w)
{
    t.variable = t.bind;
    w[1] = to_word(&t.variable);
}

void use_bind_twin(ForwardingTest &t, words &w)
{
    w[1] = to_word(&wrapper(t.bind)->dk_hndlp);
}

/* A call on a bind or define that Oracle alone gets. */
forwarded refinement(recording::function f, int type, const std::string &prototype,
                     const std::string &assertion, bool has_end_records = true)
{
    return {.f = std::move(f),
            .how = manner::oracle_only,
            .lookups = {{0, type}, optional_error_at(1)},
            .prototype = prototype,
            .success = {has_end_records ? OM_LOG_INFO : 0, "()\n\treturn rc={rc}"},
            .oracle_failure = {has_end_records ? OM_LOG_ERROR : 0, "(): ORACLE\n\treturn rc={rc}"},
            .required = {{0, assertion + " != ((void *)0)"}},
            .no_backend = no_function};
}

const std::vector<forwarded> &bind_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIBindByPos),
         .how = manner::in_turn,
         .lookups = lookups_for(OCI_HTYPE_BIND),
         .prototype = "OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, dvoid "
                      "*valuep, sb4 value_sz, ub2 dty, dvoid *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len, "
                      "ub4 *curelep, ub4 mode)",
         .printed_as = {{"value_sz", "=%p"}},
         .given = use_bind,
         .to_dravik = use_bind_twin,
         .success = {OM_LOG_INFO, "()\n\treturn rc={rc}\n\treturn dk_rc={dk_rc}"},
         .oracle_failure = {OM_LOG_ERROR, "(): ORACLE\n\treturn rc={rc}"},
         .dravik_failure = {OM_LOG_INFO, "(): DRAVIK\n\treturn rc={rc}\n\treturn dk_rc={dk_rc}"},
         .info_fails = false,
         .dravik_failure_alone = 7777,
         .dravik_failure_second = OCI_SUCCESS,
         .required = {{0, "wstmtp != ((void *)0)"}},
         .no_backend = no_function},
        {.f = FUNCTION(OCIBindByName),
         .how = manner::in_turn,
         .lookups = lookups_for(OCI_HTYPE_BIND),
         .prototype = "OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, CONST OraText "
                      "*placeholder, sb4 placeh_len, dvoid *valuep, sb4 value_sz, ub2 dty, dvoid *indp, ub2 "
                      "*alenp, ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode)",
         .printed_as = {{"placeholder", "=%s, c_sid=%s"}, {"value_sz", "=%p"}},
         .given =
             [](ForwardingTest &t, words &w) {
                 use_bind(t, w);
                 w[3] = to_word(wide_name.c_str());
                 w[4] = wide_name.size();
             },
         .printed = [](ForwardingTest &, words &w) { w.insert(w.begin() + 4, to_word("empno")); },
         .to_dravik =
             [](ForwardingTest &t, words &w) {
                 use_bind_twin(t, w);
                 w[3] = any_word;
                 w[4] = 5;
             },
         .dravik_text = "empno",
         .oracle_text = wide_name,
         .around =
             [](ForwardingTest &t, int backend, sword rc, sword dk_rc) {
                 const bool to_oracle = backend == recording::oracle;
                 const char *bindp = "%s bindp=%p, valuep=argument 5";
                 records_t around{
                     info(to_oracle ? "Do OCIBindByName for Oracle" : "Do OCIBindByName for DRAVIK"),
                     info(bindp, "before", t.variable), info(bindp, "after", t.variable)};
                 if (!to_oracle)
                     around.push_back(
                         info("END FUNC - OCIBindByName()\n\treturn rc=%d, dk_rc=%d", rc, dk_rc));
                 return around;
             },
         .oracle_failure = {OM_LOG_ERROR, "Fail to bind at oracle"},
         .info_fails = false,
         .dravik_failure_second = OCI_SUCCESS,
         .required = {{0, "wstmtp != ((void *)0)"}},
         .no_backend = no_function},
        {.f = FUNCTION(OCIDefineByPos),
         .how = manner::in_turn,
         .lookups = lookups_for(OCI_HTYPE_DEFINE),
         .prototype =
             "OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, dvoid "
             "*valuep, sb4 value_sz, ub2 dty, dvoid *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode)",
         .given =
             [](ForwardingTest &t, words &w) {
                 t.variable = t.define;
                 w[1] = to_word(&t.variable);
             },
         .to_dravik = [](ForwardingTest &t, words &w) { w[1] = to_word(&wrapper(t.define)->dk_hndlp); },
         .around =
             [](ForwardingTest &, int backend, sword, sword) {
                 return records_t{info(backend == recording::oracle ? "Do OCIDefineByPos() for ORACLE"
                                                                    : "Do OCIDefineByPos(() for DRAVIK")};
             },
         .success = {OM_LOG_INFO, "()\n\treturn rc={rc}, dk_rc={dk_rc}\n\t*defnp={handle}"},
         .oracle_failure = {OM_LOG_ERROR, "()\n\treturn rc={rc}"},
         .dravik_failure = {OM_LOG_ERROR, "()\n\treturn dk_rc={dk_rc}"},
         .dravik_failure_second = OCI_SUCCESS,
         .required = {{0, "wstmtp != ((void *)0)"}},
         .no_backend = no_function},
        refinement(FUNCTION(OCIBindDynamic), OCI_HTYPE_BIND,
                   "OCIBindDynamic(OCIBind *bindp, OCIError *errhp, dvoid *ictxp, OCICallbackInBind icbfp, "
                   "dvoid *octxp, OCICallbackOutBind ocbfp)",
                   "wbindp"),
        refinement(FUNCTION(OCIBindArrayOfStruct), OCI_HTYPE_BIND,
                   "OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 "
                   "alskip, ub4 rcskip)",
                   "wbindp", false),
        refinement(
            FUNCTION(OCIDefineDynamic), OCI_HTYPE_DEFINE,
            "OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, dvoid *octxp, OCICallbackDefine ocbfp)",
            "wdefnp"),
        refinement(FUNCTION(OCIDefineArrayOfStruct), OCI_HTYPE_DEFINE,
                   "OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 "
                   "rlskip, ub4 rcskip)",
                   "wdefnp"),
    };
    return rows;
}

FORWARDING_TEST(BindAndDefine, bind_calls);

/* What binds by position, binds by name and defines share. */
struct kind {
    std::string name;
    sword (*attach)(OCIStmt *stmt, void **variable, OCIError *err);
    ub4 type;
};

class Child : public ManagerTest, public testing::WithParamInterface<kind>
{
protected:
    sword attach(void **handle) { return k.attach(stmt, handle, err); }

    const kind &k = GetParam();
    const om_handle_t *owner = wrapper(stmt);
    void *variable = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Kinds, Child,
                         testing::Values(kind{"OCIBindByPos", bind_by_position, OCI_HTYPE_BIND},
                                         kind{"OCIBindByName", bind_by_name, OCI_HTYPE_BIND},
                                         kind{"OCIDefineByPos", define_by_position, OCI_HTYPE_DEFINE}),
                         [](const testing::TestParamInfo<kind> &i) { return i.param.name; });

TEST_P(Child, HangsUnderItsStatement)
{
    std::vector<om_handle_t *> expected;
    for (const ub4 last_exec : {1U, 2U, 3U}) {
        route(stmt, last_exec);
        variable = nullptr;
        EXPECT_EQ(attach(&variable), OCI_SUCCESS);
        expected.push_back(table().back());
        if (last_exec != 2) {
            EXPECT_EQ(attach(&variable), OCI_SUCCESS); // adds nothing
        }
        EXPECT_EQ(children(owner), expected);
        EXPECT_EQ(owner->sub_link_count, expected.size());
    }
    for (recording::backend *backend : {&oracle(), &dravik()}) {
        route(stmt, static_cast<ub4>(backend->library));
        variable = nullptr;
        backend->next(k.name, OCI_ERROR);
        EXPECT_NE(attach(&variable), OCI_SUCCESS);
        EXPECT_EQ(owner->sub_link_count, expected.size());
    }

    /* They leave with it. */
    const ub4 count = hdl_list_tbl->hash_count;
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 4);
}

/* It is no failure of a bind, which goes on to Dravik. */
TEST_P(Child, InformationFromOracle)
{
    const bool bind = k.type == OCI_HTYPE_BIND;
    for (const sword dravik_result : {OCI_SUCCESS_WITH_INFO, OCI_ERROR}) {
        const bool refused = !bind || dravik_result == OCI_ERROR;
        oracle().next(k.name, OCI_SUCCESS_WITH_INFO);
        dravik().always(k.name, dravik_result);
        variable = nullptr;
        EXPECT_EQ(attach(&variable),
                  refused && k.name == "OCIBindByName" ? OCI_ERROR : OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(wrapper(err)->last_err, !bind ? 1U : refused ? 2U : 0U);
        EXPECT_EQ(owner->sub_link_count, bind ? 1U : 0U); // the first bind
        EXPECT_EQ(calls().size(), bind ? 2U : 1U);
        forget_calls();
    }
}

/* Programs free binds and defines themselves, before their statement. */
TEST_P(Child, ReleasedBeforeItsStatement)
{
    void *handles[3] = {};
    for (void *&handle : handles)
        ASSERT_EQ(attach(&handle), OCI_SUCCESS);
    const std::vector<om_handle_t *> attached = children(owner);
    ASSERT_EQ(attached.size(), 3U);

    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIHandleFree(handles[1], k.type), OCI_SUCCESS);
    for (const record &r : trace.records())
        EXPECT_THAT(r.text, testing::Not(testing::HasSubstr("delete hash table entry")));
    EXPECT_EQ(wrapper(handles[1]), nullptr);
    EXPECT_EQ(children(owner), attached);
    EXPECT_EQ(owner->sub_link_count, 3U);

    /* Neither a new wrapper nor the end of the statement stumbles over it. */
    ASSERT_EQ(attach(&variable), OCI_SUCCESS);
    const records_t expected{
        deletion_record(handles[0], attached[0]), deletion_record(handles[2], attached[2]),
        deletion_record(variable, wrapper(variable)), info("END FUNC - OCIHandleFree()\n\treturn rc=0")};
    const ub4 count = hdl_list_tbl->hash_count;
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 4);
    expect_last(trace, expected);
}

TEST_P(Child, ReleasedBeforeItsStatementIsPreparedAgain)
{
    ASSERT_EQ(attach(&variable), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(variable, k.type), OCI_SUCCESS);
    wrapper(stmt)->state = 2;
    EXPECT_EQ(OCIStmtPrepare(stmt, err, text_of("x"), 1, OCI_NTV_SYNTAX, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_THAT(children(owner), IsEmpty());
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
}

class Refinement : public ManagerTest
{
};

TEST_F(Refinement, EmptyPlaceholders)
{
    for (const sb4 length : {0, -1}) {
        OCIBind *bind = nullptr;
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(OCIBindByName(stmt, &bind, err, text_of(":a"), length, nullptr, 0, SQLT_INT, nullptr,
                                nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
                  OCI_SUCCESS);
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[0].arguments[4], to_word(length));
        EXPECT_EQ(calls()[1].arguments[4], 0U);
        EXPECT_EQ(calls()[1].text, "");
        EXPECT_THAT(trace.records().at(0).text, testing::HasSubstr("placeholder=:a, c_sid=\n"));
        forget_calls();
    }
}

TEST_F(Refinement, ADefineOfAnArrayOfStructuresIsOraclesAlone)
{
    OCIBind *bind = new_bind();
    OCIDefine *define = new_define();
    oracle().always("OCIDefineArrayOfStruct", OCI_ERROR);
    OCIBindArrayOfStruct(bind, err, 1, 2, 3, 4);
    OCIDefineDynamic(define, err, nullptr, nullptr);
    EXPECT_EQ(wrapper(define)->last_exec, 3U);
    OCIDefineArrayOfStruct(define, err, 1, 2, 3, 4);
    EXPECT_EQ(wrapper(define)->last_exec, 1U);
    EXPECT_EQ(wrapper(bind)->last_exec, 3U);
}

} // namespace
