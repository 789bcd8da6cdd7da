/* Binds and defines. */
#include "forwarding.h"

using namespace manager_tests;
using testing::IsEmpty;

namespace
{

constexpr const char *no_function = "There is no available function";
const lookup optional_error{.position = 2, .type = OCI_HTYPE_ERROR, .when_given = true};
const lookup second_error{.position = 1, .type = OCI_HTYPE_ERROR, .when_given = true};

void use_bind(ForwardingTest &t, words &w)
{
    t.variable = t.bind;
    w[1] = to_word(&t.variable);
}

void use_define(ForwardingTest &t, words &w)
{
    t.variable = t.define;
    w[1] = to_word(&t.variable);
}

const std::vector<forwarded> &bind_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIBindByPos),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error,
                     {.position = 1, .type = OCI_HTYPE_BIND, .through = true}},
         .arguments =
             "OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, dvoid *valuep, sb4 "
             "value_sz, ub2 dty, dvoid *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 "
             "mode)\n\tstmtp=%p\n\tbindp=%p\n\terrhp=%p\n\tposition=%d\n\tvaluep=%p\n\tvalue_sz=%p\n\tdty=%d"
             "\n\tindp=%p\n\talenp=%p\n\trcodep=%p\n\tmaxarr_len=%d\n\tcurelep=%p\n\tmode=%d",
         .given = use_bind,
         .to_dravik = [](ForwardingTest &t, words &w) { w[1] = to_word(&wrapper(t.bind)->dk_hndlp); },
         .success = {OM_LOG_INFO, "END FUNC - OCIBindByPos()\n\treturn rc={rc}\n\treturn dk_rc={dk_rc}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIBindByPos(): ORACLE\n\treturn rc={rc}"},
         .dravik_failure = {OM_LOG_INFO,
                            "END FUNC - OCIBindByPos(): DRAVIK\n\treturn rc={rc}\n\treturn dk_rc={dk_rc}"},
         .dravik_failure_alone = 7777,
         .dravik_failure_second = OCI_SUCCESS,
         .assertion = "wstmtp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIBindByName),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error,
                     {.position = 1, .type = OCI_HTYPE_BIND, .through = true}},
         .arguments =
             "OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, CONST OraText *placeholder, sb4 "
             "placeh_len, dvoid *valuep, sb4 value_sz, ub2 dty, dvoid *indp, ub2 *alenp, ub2 *rcodep, ub4 "
             "maxarr_len, ub4 *curelep, ub4 mode)\n\tstmtp=%p\n\tbindp=%p\n\terrhp=%p\n\tplaceholder=%s, "
             "c_sid=%s\n\tplaceh_len=%d\n\tvaluep=%p\n\tvalue_sz=%p\n\tdty=%d\n\tindp=%p\n\talenp=%p\n\t"
             "rcodep=%p\n\tmaxarr_len=%d\n\tcurelep=%p\n\tmode=%d",
         .given =
             [](ForwardingTest &t, words &w) {
                 use_bind(t, w);
                 t.text = std::string("\0e\0m\0p\0n\0o", 10);
                 t.narrowed = "empno";
                 w[3] = to_word(t.text.c_str());
                 w[4] = t.text.size();
             },
         .printed = [](ForwardingTest &t, words &w) { w.insert(w.begin() + 4, to_word(t.narrowed.c_str())); },
         .to_dravik =
             [](ForwardingTest &t, words &w) {
                 w[1] = to_word(&wrapper(t.bind)->dk_hndlp);
                 w[3] = any_word;
                 w[4] = 5;
             },
         .dravik_text = "empno",
         .oracle_text = std::string("\0e\0m\0p\0n\0o", 10),
         .around =
             [](ForwardingTest &t, int backend, sword rc, sword dk_rc) {
                 const bool to_oracle = backend == recording::oracle;
                 const std::string bindp = format("bindp=%p, valuep=argument 5", t.variable);
                 records_t around{
                     {OM_LOG_INFO, to_oracle ? "Do OCIBindByName for Oracle" : "Do OCIBindByName for DRAVIK"},
                     {OM_LOG_INFO, "before " + bindp},
                     {OM_LOG_INFO, "after " + bindp}};
                 if (!to_oracle)
                     around.push_back(
                         {OM_LOG_INFO,
                          format("END FUNC - OCIBindByName()\n\treturn rc=%d, dk_rc=%d", rc, dk_rc)});
                 return around;
             },
         .oracle_failure = {OM_LOG_ERROR, "Fail to bind at oracle"},
         .dravik_failure_second = OCI_SUCCESS,
         .assertion = "wstmtp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIBindDynamic),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_BIND}, second_error},
         .arguments =
             "OCIBindDynamic(OCIBind *bindp, OCIError *errhp, dvoid *ictxp, OCICallbackInBind icbfp, dvoid "
             "*octxp, OCICallbackOutBind ocbfp)\n\tbindp=%p\n\terrhp=%p\n\tictxp=%p\n\ticbfp=%p\n\toctxp=%p"
             "\n\tocbfp=%p",
         .success = {OM_LOG_INFO, "END FUNC - OCIBindDynamic()\n\treturn rc={rc}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIBindDynamic(): ORACLE\n\treturn rc={rc}"},
         .assertion = "wbindp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIBindArrayOfStruct),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_BIND}, second_error},
         .arguments =
             "OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 alskip, ub4 "
             "rcskip)\n\tbindp=%p\n\terrhp=%p\n\tpvskip=%d\n\tindskip=%d\n\talskip=%d\n\trcskip=%d",
         .assertion = "wbindp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIDefineByPos),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT},
                     optional_error,
                     {.position = 1, .type = OCI_HTYPE_DEFINE, .through = true}},
         .arguments =
             "OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, dvoid *valuep, "
             "sb4 value_sz, ub2 dty, dvoid *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode)\n\tstmtp=%p\n\tdefnp=%p"
             "\n\terrhp=%p\n\tposition=%d\n\tvaluep=%p\n\tvalue_sz=%d\n\tdty=%d\n\tindp=%p\n\trlenp=%p\n\t"
             "rcodep=%p\n\tmode=%d",
         .given = use_define,
         .to_dravik = [](ForwardingTest &t, words &w) { w[1] = to_word(&wrapper(t.define)->dk_hndlp); },
         .around =
             [](ForwardingTest &, int backend, sword, sword) {
                 return records_t{{OM_LOG_INFO, backend == recording::oracle
                                                    ? "Do OCIDefineByPos() for ORACLE"
                                                    : "Do OCIDefineByPos(() for DRAVIK"}};
             },
         .success = {OM_LOG_INFO,
                     "END FUNC - OCIDefineByPos()\n\treturn rc={rc}, dk_rc={dk_rc}\n\t*defnp={handle}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIDefineByPos()\n\treturn rc={rc}"},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCIDefineByPos()\n\treturn dk_rc={dk_rc}"},
         .dravik_failure_second = OCI_SUCCESS,
         .assertion = "wstmtp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIDefineDynamic),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_DEFINE}, second_error},
         .arguments =
             "OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, dvoid *octxp, OCICallbackDefine ocbfp)\n\t"
             "defnp=%p\n\terrhp=%p\n\toctxp=%p\n\tocbfp=%p",
         .success = {OM_LOG_INFO, "END FUNC - OCIDefineDynamic()\n\treturn rc={rc}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIDefineDynamic(): ORACLE\n\treturn rc={rc}"},
         .assertion = "wdefnp != ((void *)0)",
         .no_backend = no_function},
        {.f = FUNCTION(OCIDefineArrayOfStruct),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_DEFINE}, second_error},
         .arguments =
             "OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 rlskip, "
             "ub4 rcskip)\n\tdefnp=%p\n\terrhp=%p\n\tpvskip=%d\n\tindskip=%d\n\trlskip=%d\n\trcskip=%d",
         .success = {OM_LOG_INFO, "END FUNC - OCIDefineArrayOfStruct()\n\treturn rc={rc}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIDefineArrayOfStruct(): ORACLE\n\treturn rc={rc}"},
         .assertion = "wdefnp != ((void *)0)",
         .no_backend = no_function},
    };
    return rows;
}

FORWARDING_TEST(BindAndDefine, bind_calls);

/* What binds by position, binds by name and defines share, and where they differ. */
struct kind {
    std::string name;
    ub4 type;
    bool info_is_failure;          // OCI_SUCCESS_WITH_INFO
    bool failure_of_dravik_counts; // in last_exec, also when it failed
    bool writes_variable;          // from the wrapper, after a success
    sword dravik_failure_alone;
};

const kind kinds[] = {
    {"OCIBindByPos", OCI_HTYPE_BIND, false, true, false, 7777},
    {"OCIBindByName", OCI_HTYPE_BIND, false, false, true, OCI_ERROR},
    {"OCIDefineByPos", OCI_HTYPE_DEFINE, true, false, false, OCI_ERROR},
};

class Child : public ManagerTest, public testing::WithParamInterface<kind>
{
protected:
    sword attach(void **variable)
    {
        const kind &k = GetParam();
        if (k.name == "OCIBindByPos")
            return OCIBindByPos(stmt, reinterpret_cast<OCIBind **>(variable), err, 1, nullptr, 0, SQLT_INT,
                                nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
        if (k.name == "OCIBindByName")
            return OCIBindByName(stmt, reinterpret_cast<OCIBind **>(variable), err,
                                 reinterpret_cast<const OraText *>(":a"), 2, nullptr, 0, SQLT_INT, nullptr,
                                 nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
        return OCIDefineByPos(stmt, reinterpret_cast<OCIDefine **>(variable), err, 1, nullptr, 0, SQLT_INT,
                              nullptr, nullptr, nullptr, OCI_DEFAULT);
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, Child, testing::ValuesIn(kinds),
                         [](const testing::TestParamInfo<kind> &info) { return info.param.name; });

TEST_P(Child, NewWrapperHangsUnderTheStatement)
{
    for (const ub4 last_exec : {1U, 3U}) {
        route(stmt, last_exec);
        void *handle = nullptr;
        const ub4 count = hdl_list_tbl->hash_count;
        const ub4 child_count = wrapper(stmt)->sub_link_count;
        const trace_capture trace(OM_LOG_TRACE);
        EXPECT_EQ(attach(&handle), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(handle));
        const om_handle_t *w = wrapper(handle);
        ASSERT_NE(w, nullptr);
        EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
        EXPECT_EQ(table().back(), w);
        EXPECT_EQ(wrapper(stmt)->sub_link_count, child_count + 1);
        EXPECT_EQ(children(wrapper(stmt)).back(), w);
        EXPECT_EQ(w->dk_hndlp != nullptr, last_exec == 3);
        EXPECT_EQ(last_exec == 3, dravik().alive(w->dk_hndlp));
        EXPECT_EQ(w->state, 3U);
        EXPECT_EQ(w->type, GetParam().type);
        EXPECT_EQ(w->last_exec, last_exec);
        EXPECT_EQ(w->last_err, 0U);
        EXPECT_EQ(w->parenthp, nullptr);
        EXPECT_EQ(w->sub_link_count, 0U);
        EXPECT_EQ(w->param_link.next, &w->param_link);

        /* The insertion's records come where the wrapper is entered, after the backends' calls. */
        const records_t insertion = insertion_records(handle, static_cast<int>(GetParam().type));
        records_t records = trace.records();
        const bool ends = GetParam().name != "OCIBindByName";
        ASSERT_GT(records.size(), 3U);
        expect_records({records.end() - 2 - (ends ? 1 : 0), records.end() - (ends ? 1 : 0)}, insertion);

        /* Attaching again with the handle adds nothing. */
        const std::vector<om_handle_t *> before = table();
        EXPECT_EQ(attach(&handle), OCI_SUCCESS);
        EXPECT_EQ(table(), before);
        EXPECT_EQ(wrapper(stmt)->sub_link_count, child_count + 1);
        EXPECT_EQ(wrapper(handle), w);
    }
}

TEST_P(Child, OnDravikAloneTheKeyIsNull)
{
    route(stmt, 2);
    void *variable = this; // known to nobody
    EXPECT_EQ(attach(&variable), OCI_SUCCESS);
    EXPECT_EQ(variable, GetParam().writes_variable ? nullptr : this);
    variable = nullptr;
    EXPECT_EQ(attach(&variable), OCI_SUCCESS);
    const std::vector<om_handle_t *> attached = children(wrapper(stmt));
    ASSERT_EQ(attached.size(), 2U);
    for (const om_handle_t *w : attached) {
        EXPECT_EQ(w->ora_hndlp, nullptr);
        EXPECT_TRUE(dravik().alive(w->dk_hndlp));
        EXPECT_EQ(w->last_exec, 2U);
    }
    const std::vector<om_handle_t *> all = table();
    EXPECT_EQ(std::vector<om_handle_t *>(all.end() - 2, all.end()), attached);

    /* They leave with their statement. */
    const ub4 count = hdl_list_tbl->hash_count;
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 3);
}

TEST_P(Child, FailureOfOracle)
{
    const std::vector<om_handle_t *> before = table();
    void *variable = nullptr;
    for (const sword rc : {OCI_ERROR, OCI_NO_DATA, OCI_NEED_DATA}) {
        wrapper(err)->last_err = 0;
        oracle().next(GetParam().name, rc);
        EXPECT_EQ(attach(&variable), rc);
        EXPECT_EQ(wrapper(err)->last_err, 1U);
        EXPECT_EQ(table(), before);
        EXPECT_EQ(wrapper(stmt)->sub_link_count, 0U);
    }

    /* A wrapper found stays, keyed by what Oracle left in the variable. */
    EXPECT_EQ(attach(&variable), OCI_SUCCESS);
    om_handle_t *w = wrapper(variable);
    oracle().next(GetParam().name, OCI_ERROR,
                  [](const words &a) { target<void *>(a[1]) = oracle().user_memory; });
    EXPECT_EQ(attach(&variable), OCI_ERROR);
    EXPECT_EQ(w->ora_hndlp, oracle().user_memory);
    EXPECT_EQ(wrapper(oracle().user_memory), w);
}

TEST_P(Child, SuccessWithInfo)
{
    const kind &k = GetParam();
    oracle().always(k.name, OCI_SUCCESS_WITH_INFO);
    dravik().always(k.name, OCI_SUCCESS_WITH_INFO);
    void *variable = nullptr;
    EXPECT_EQ(attach(&variable), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(wrapper(err)->last_err, k.info_is_failure ? 1U : 0U);
    EXPECT_EQ(wrapper(stmt)->sub_link_count, k.info_is_failure ? 0U : 1U);
    EXPECT_EQ(calls().size(), k.info_is_failure ? 1U : 2U);
}

TEST_P(Child, FailureOfDravik)
{
    const kind &k = GetParam();
    dravik().always(k.name, OCI_ERROR);

    /* It does not matter beside Oracle's success. */
    void *variable = nullptr;
    EXPECT_EQ(attach(&variable), OCI_SUCCESS);
    ASSERT_NE(wrapper(variable), nullptr);
    EXPECT_EQ(wrapper(variable)->last_exec, k.failure_of_dravik_counts ? 3U : 1U);
    EXPECT_EQ(wrapper(err)->last_err, 0U);
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 1U);

    const std::vector<om_handle_t *> before = table();
    route(stmt, 2);
    variable = nullptr;
    EXPECT_EQ(attach(&variable), k.dravik_failure_alone);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 1U);
}

class BindOnly : public Child
{
};

INSTANTIATE_TEST_SUITE_P(Kinds, BindOnly, testing::Values(kinds[0], kinds[1]),
                         [](const testing::TestParamInfo<kind> &info) { return info.param.name; });

TEST_P(BindOnly, FailureOfDravikAfterInformationFromOracle)
{
    const kind &k = GetParam();
    oracle().always(k.name, OCI_SUCCESS_WITH_INFO);
    dravik().always(k.name, OCI_ERROR);
    void *variable = nullptr;
    EXPECT_EQ(attach(&variable), k.name == "OCIBindByPos" ? OCI_SUCCESS_WITH_INFO : OCI_ERROR);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 0U);
}

/* Programs free binds and defines themselves, before their statement. */
TEST_P(Child, ReleasedBeforeItsStatement)
{
    void *handles[3] = {};
    for (void *&handle : handles)
        ASSERT_EQ(attach(&handle), OCI_SUCCESS);
    const om_handle_t *owner = wrapper(stmt);
    const std::vector<om_handle_t *> attached = children(owner);
    ASSERT_EQ(attached.size(), 3U);

    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIHandleFree(handles[1], GetParam().type), OCI_SUCCESS);
    for (const record &r : trace.records())
        EXPECT_THAT(r.text, testing::Not(testing::HasSubstr("delete hash table entry")));
    EXPECT_EQ(wrapper(handles[1]), nullptr);
    EXPECT_EQ(children(owner), attached);
    EXPECT_EQ(owner->sub_link_count, 3U);

    /* Neither a new wrapper nor the end of the statement stumbles over it. */
    void *fourth = nullptr;
    ASSERT_EQ(attach(&fourth), OCI_SUCCESS);
    const om_handle_t *wfourth = wrapper(fourth);
    const ub4 count = hdl_list_tbl->hash_count;
    trace.clear();
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 4);
    std::vector<std::string> deleted;
    for (const record &r : trace.records())
        if (r.text.starts_with("delete hash table entry"))
            deleted.push_back(r.text);
    const auto deletion = [](void *key, const om_handle_t *w) {
        return format("delete hash table entry => key=%p, wrapper=%p, state=3 type=%u", key,
                      static_cast<const void *>(w), GetParam().type);
    };
    EXPECT_THAT(deleted, testing::ElementsAre(deletion(handles[0], attached[0]),
                                              deletion(handles[2], attached[2]), deletion(fourth, wfourth)));
}

TEST_P(Child, ReleasedBeforeItsStatementIsPreparedAgain)
{
    void *handle = nullptr;
    ASSERT_EQ(attach(&handle), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(handle, GetParam().type), OCI_SUCCESS);
    wrapper(stmt)->state = 2;
    EXPECT_EQ(
        OCIStmtPrepare(stmt, err, reinterpret_cast<const OraText *>("x"), 1, OCI_NTV_SYNTAX, OCI_DEFAULT),
        OCI_SUCCESS);
    EXPECT_THAT(children(wrapper(stmt)), IsEmpty());
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
}

class BindByName : public ManagerTest
{
};

TEST_F(BindByName, EmptyPlaceholders)
{
    for (const sb4 length : {0, -1}) {
        OCIBind *bind = nullptr;
        forget_calls();
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(OCIBindByName(stmt, &bind, err, reinterpret_cast<const OraText *>(":a"), length, nullptr, 0,
                                SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
                  OCI_SUCCESS);
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[0].arguments[4], to_word(length));
        EXPECT_EQ(calls()[1].arguments[4], 0U);
        EXPECT_EQ(calls()[1].text, "");
        EXPECT_THAT(trace.records().at(0).text, testing::HasSubstr("placeholder=:a, c_sid=\n"));
    }
}

class Refinement : public ManagerTest
{
};

TEST_F(Refinement, InformationFromOracleIsAReport)
{
    OCIBind *bind = bind_by_position(1);
    OCIDefine *define = define_by_position(1);
    const std::vector<std::pair<std::string, std::function<sword()>>> rows{
        {"OCIBindDynamic", [&] { return OCIBindDynamic(bind, err, nullptr, nullptr, nullptr, nullptr); }},
        {"OCIBindArrayOfStruct", [&] { return OCIBindArrayOfStruct(bind, err, 1, 2, 3, 4); }},
        {"OCIDefineDynamic", [&] { return OCIDefineDynamic(define, err, nullptr, nullptr); }},
        {"OCIDefineArrayOfStruct", [&] { return OCIDefineArrayOfStruct(define, err, 1, 2, 3, 4); }},
    };
    for (const auto &[name, call] : rows) {
        wrapper(err)->last_err = 0;
        oracle().next(name, OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(call(), OCI_SUCCESS_WITH_INFO) << name;
        EXPECT_EQ(wrapper(err)->last_err, 1U) << name;
    }
}

TEST_F(Refinement, AnArrayOfStructuresIsOraclesAlone)
{
    OCIBind *bind = bind_by_position(1);
    OCIDefine *define = define_by_position(1);
    oracle().always("OCIDefineArrayOfStruct", OCI_ERROR);
    OCIBindArrayOfStruct(bind, err, 1, 2, 3, 4);
    OCIDefineDynamic(define, err, nullptr, nullptr);
    EXPECT_EQ(wrapper(bind)->last_exec, 3U);
    EXPECT_EQ(wrapper(define)->last_exec, 3U);
    OCIDefineArrayOfStruct(define, err, 1, 2, 3, 4);
    EXPECT_EQ(wrapper(define)->last_exec, 1U);
}

} // namespace
