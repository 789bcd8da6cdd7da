/* Environments. */
#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr ub4 modes = 70001;
constexpr size_t extra_memory = 5000000002U;
const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};

char context[8];

/* Memory callbacks that differ from each other and are never called. */
void *allocate_memory(void *, size_t)
{
    return nullptr;
}

void *reallocate_memory(void *, void *, size_t)
{
    return nullptr;
}

void free_memory(void *, void *) {}

class Environment : public EmptyTest
{
protected:
    Environment()
    {
        init_oci_manager(); // so that the default handles exist
        forget_calls();
    }

    sword create()
    {
        return OCIEnvCreate(&env, modes, context, allocate_memory, reallocate_memory, free_memory,
                            extra_memory, &memory);
    }

    sword create_nls()
    {
        return OCIEnvNlsCreate(&env, modes, context, allocate_memory, reallocate_memory, free_memory,
                               extra_memory, &memory, 2001, 2002);
    }

    sword init() { return OCIEnvInit(&env, modes, extra_memory, &memory); }

    words callbacks() const
    {
        return {to_word(&allocate_memory), to_word(&reallocate_memory), to_word(&free_memory)};
    }

    words arguments(const words &after_context) const
    {
        words all{to_word(&env), modes, to_word(&context[0])};
        all.insert(all.end(), after_context.begin(), after_context.end());
        all.push_back(extra_memory);
        all.push_back(to_word(&memory));
        return all;
    }

    OCIEnv *env = nullptr;
    void *memory = nullptr;
};

bool marked(const void *environment)
{
    return std::memcmp(environment, "QR.ST.UV", 8) == 0;
}

TEST_F(Environment, CreateMakesATwin)
{
    const trace_capture trace(OM_LOG_TRACE);
    EXPECT_EQ(create(), OCI_SUCCESS);
    EXPECT_TRUE(oracle().alive(env));
    const om_handle_t *w = wrapper(env);
    ASSERT_NE(w, nullptr);
    EXPECT_TRUE(dravik().alive(w->dk_hndlp));
    EXPECT_TRUE(marked(w->dk_hndlp));
    EXPECT_FALSE(marked(env));
    EXPECT_EQ(w->type, ub4{OCI_HTYPE_ENV});
    EXPECT_EQ(w->state, 4U);
    EXPECT_EQ(w->last_exec, 3U);
    EXPECT_EQ(w->last_err, 0U);
    EXPECT_EQ(memory, dravik().user_memory);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIEnvCreate", "Dravik.OCIEnvCreate"));
    EXPECT_EQ(calls()[0].arguments, arguments(callbacks()));
    words to_dravik = arguments({0, 0, 0});
    to_dravik[0] = to_word(&w->dk_hndlp);
    EXPECT_EQ(calls()[1].arguments, to_dravik);

    const records_t records = trace.records();
    expect_records(
        records,
        sequence(
            records_t{
                {OM_LOG_TRACE, "OCIEnvCreate"},
                {OM_LOG_INFO, std::string("OCIEnvCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, ") + any_tail},
                {OM_LOG_TRACE, "func_table_init_once"},
                {OM_LOG_DEBUG, format("CONTINUE FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\t*ora_envp=%p\n\t"
                                      "*ora_usrmempp=%p",
                                      static_cast<void *>(env), static_cast<void *>(oracle().user_memory))}},
            insertion_records(env, OCI_HTYPE_ENV),
            records_t{
                {OM_LOG_INFO, format("END FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\treturn dk_rc=0\n\t"
                                     "*envp=%p\n\t*usrmempp=%p",
                                     static_cast<void *>(env), memory)}}));
    EXPECT_THAT(records.at(1).text,
                testing::EndsWith(
                    format("\n\tenvp=%p\n\tmode=70001\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p"
                           "\n\txtramem_sz=5000000002\n\tusrmempp=%p",
                           static_cast<void *>(&env), static_cast<void *>(context),
                           from_word<void *>(callbacks()[0]), from_word<void *>(callbacks()[1]),
                           from_word<void *>(callbacks()[2]), static_cast<void *>(&memory))));
}

TEST_F(Environment, CreateWithoutDravik)
{
    for (const bool handle_made : {false, true}) {
        void *twin = dravik().create(OCI_HTYPE_ENV);
        dravik().next("OCIEnvCreate", OCI_SUCCESS_WITH_INFO, [&](const words &a) {
            if (handle_made)
                target<void *>(a[0]) = twin;
        });
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(create(), OCI_SUCCESS);
        EXPECT_EQ(wrapper(env)->last_exec, 1U);
        EXPECT_EQ(marked(twin), handle_made);
        const records_t records = trace.records();
        ASSERT_EQ(records.size(), 4U);
        expect_records(
            {records.begin() + 1, records.end()},
            {oracle_runs,
             insertion_records(env, OCI_HTYPE_ENV)[0],
             {OM_LOG_ERROR, format("END FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\treturn dk_rc=1\n\t"
                                   "*envp=%p\n\t*usrmempp=%p",
                                   static_cast<void *>(env), memory)}});
    }
}

TEST_F(Environment, CreateWithoutOracle)
{
    for (void *left : {static_cast<void *>(nullptr), static_cast<void *>(context)}) {
        for (const sword rc : {OCI_ERROR, OCI_SUCCESS_WITH_INFO}) {
            const auto leave = [&](const words &a) { target<void *>(a[0]) = left; };
            oracle().always("OCIEnvCreate", rc, leave);
            oracle().always("OCIEnvNlsCreate", rc, leave);
            oracle().always("OCIEnvInit", rc, leave);
            const trace_capture trace(OM_LOG_ERROR);
            EXPECT_EQ(create(), rc);
            EXPECT_EQ(env, left);
            EXPECT_EQ(create_nls(), rc);
            EXPECT_EQ(env, left);
            EXPECT_EQ(init(), rc);
            EXPECT_EQ(hdl_list_tbl->hash_count, 0U);
            expect_records(
                trace.records(),
                {{OM_LOG_ERROR, format("END FUNC - OCIEnvCreate()\n\treturn ora_rc=%d\n\t*envp=%p\n\t"
                                       "*usrmempp=%p",
                                       rc, left, memory)},
                 {OM_LOG_ERROR, format("END FUNC - OCIEnvInit()\n\treturn rc=%d", rc)}});
        }
    }
    EXPECT_THAT(called(), testing::Not(testing::Contains(testing::StartsWith("Dravik."))));
}

TEST_F(Environment, NullUserMemory)
{
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    EXPECT_THAT(trace.records().back().text, testing::EndsWith("*usrmempp=(nil)"));
}

TEST_F(Environment, NlsCreate)
{
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(create_nls(), OCI_SUCCESS);
    const om_handle_t *w = wrapper(env);
    EXPECT_EQ(w->last_exec, 3U);
    EXPECT_FALSE(marked(w->dk_hndlp));
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIEnvNlsCreate", "Dravik.OCIEnvNlsCreate"));
    words expected = arguments(callbacks());
    expected.insert(expected.end(), {2001, 2002});
    EXPECT_EQ(calls()[0].arguments, expected);
    expected[0] = to_word(&w->dk_hndlp);
    EXPECT_EQ(calls()[1].arguments, expected);
    const records_t records = trace.records();
    expect_records(
        records,
        {{OM_LOG_INFO, std::string("OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, ") + any_tail},
         insertion_records(env, OCI_HTYPE_ENV)[0]});
    EXPECT_THAT(records.at(0).text, testing::EndsWith("\n\tcharset=2001\n\tncharset=2002"));
}

TEST_F(Environment, NlsCreateReportsDraviksFailure)
{
    dravik().next("OCIEnvNlsCreate", OCI_SUCCESS_WITH_INFO);
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(create_nls(), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(wrapper(env)->last_exec, 1U);
    records_t records = trace.records();
    ASSERT_EQ(records.size(), 3U);
    expect_records({records.begin() + 1, records.end()},
                   {oracle_runs, insertion_records(env, OCI_HTYPE_ENV)[0]});
}

TEST_F(Environment, Init)
{
    for (const sword dravik_result : {OCI_SUCCESS, OCI_ERROR}) {
        dravik().next("OCIEnvInit", dravik_result,
                      [](const words &a) { target<void *>(a[0]) = dravik().create(1); });
        forget_calls();
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(init(), dravik_result);
        const om_handle_t *w = wrapper(env);
        EXPECT_EQ(w->last_exec, dravik_result == OCI_SUCCESS ? 3U : 1U);
        EXPECT_EQ(marked(w->dk_hndlp), dravik_result == OCI_SUCCESS);
        ASSERT_THAT(called(), ElementsAre("Oracle.OCIEnvInit", "Dravik.OCIEnvInit"));
        EXPECT_EQ(calls()[0].arguments, (words{to_word(&env), modes, extra_memory, to_word(&memory)}));
        EXPECT_EQ(calls()[1].arguments,
                  (words{to_word(&w->dk_hndlp), modes, extra_memory, to_word(&memory)}));
        records_t expected{
            {OM_LOG_INFO, format("OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, dvoid **usrmempp)"
                                 "\n\tenvp=%p\n\tmode=70001\n\txtramem_sz=5000000002\n\tusrmempp=%p",
                                 static_cast<void *>(&env), static_cast<void *>(&memory))}};
        if (dravik_result != OCI_SUCCESS)
            expected.push_back(oracle_runs);
        expected.push_back(insertion_records(env, OCI_HTYPE_ENV)[0]);
        expected.push_back({OM_LOG_INFO, format("END FUNC - OCIEnvInit()\n\treturn rc=%d\n\t*envp=%p",
                                                dravik_result, static_cast<void *>(env))});
        expect_records(trace.records(), expected);
    }
}

TEST_F(Environment, Initialize)
{
    struct outcome {
        sword oracle_result;
        sword dravik_result;
        sword result;
        record end;
    };
    const std::vector<outcome> outcomes{
        {OCI_SUCCESS, OCI_SUCCESS, OCI_SUCCESS, {OM_LOG_INFO, "END FUNC - OCIInitialize()\n\treturn rc=0"}},
        {OCI_SUCCESS_WITH_INFO,
         OCI_SUCCESS,
         1,
         {OM_LOG_ERROR, "END FUNC - OCIInitialize(): ORACLE\n\treturn rc=1"}},
        {OCI_SUCCESS, OCI_ERROR, -1, {OM_LOG_ERROR, "END FUNC - OCIInitialize(): DRAVIK\n\treturn rc=-1"}},
    };
    const words all{modes, to_word(&context[0]), callbacks()[0], callbacks()[1], callbacks()[2]};
    for (const outcome &o : outcomes) {
        oracle().next("OCIInitialize", o.oracle_result);
        dravik().always("OCIInitialize", o.dravik_result);
        forget_calls();
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(OCIInitialize(modes, context, allocate_memory, reallocate_memory, free_memory), o.result);
        EXPECT_EQ(calls().size(), o.oracle_result == OCI_SUCCESS ? 2U : 1U);
        for (const recording::call &c : calls())
            EXPECT_EQ(c.arguments, all);
        const records_t records = trace.records();
        ASSERT_EQ(records.size(), 2U);
        EXPECT_EQ(records[0].text,
                  format("%s\n\tmode=70001\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p",
                         records[0].text.substr(0, records[0].text.find('\n')).c_str(),
                         static_cast<void *>(context), from_word<void *>(all[2]), from_word<void *>(all[3]),
                         from_word<void *>(all[4])));
        expect_records({records[1]}, {o.end});
    }
    EXPECT_EQ(hdl_list_tbl->hash_count, 0U);
}

TEST_F(Environment, ClientVersionIsOracles)
{
    hdl_list_tbl = nullptr;
    sword version[5] = {};
    const trace_capture trace(OM_LOG_TRACE);
    OCIClientVersion(&version[0], &version[1], &version[2], &version[3], &version[4]);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIClientVersion"));
    for (std::size_t i = 0; i < 5; i++)
        EXPECT_EQ(calls()[0].arguments[i], to_word(&version[i]));
    EXPECT_NE(hdl_list_tbl, nullptr);
    const records_t records = trace.records();
    ASSERT_EQ(records.size(), 3U);
    expect_records(records, {{OM_LOG_TRACE, "OCIClientVersion"},
                             {OM_LOG_INFO, std::string("OCIClientVersion(sword *major_version, ") + any_tail},
                             {OM_LOG_TRACE, "func_table_init_once"}});
}

TEST_F(Environment, SharedLibInit)
{
    char meta[8];
    char library[8];
    char argument_values[8];
    const auto callback = from_word<OCIEnvCallbackType>(to_word(&context[4]));
    oracle().next("OCISharedLibInit", OCI_SUCCESS_WITH_INFO);
    hdl_list_tbl = nullptr;
    const trace_capture trace(OM_LOG_TRACE);
    auto **argv = from_word<void **>(to_word(&argument_values[0]));
    EXPECT_EQ(OCISharedLibInit(meta, library, 3, 4, argv, callback), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(hdl_list_tbl, nullptr);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCISharedLibInit"));
    EXPECT_EQ(calls()[0].arguments, (words{to_word(&meta[0]), to_word(&library[0]), 3, 4,
                                           to_word(&argument_values[0]), to_word(callback)}));
    const std::string values =
        format("\n\tmetaCtx=%p\n\tlibCtx=%p\n\targfmt=3\n\targc=4\n\targv=%p\n\tenvCallback=%p",
               static_cast<void *>(meta), static_cast<void *>(library), static_cast<void *>(argument_values),
               static_cast<void *>(&context[4]));
    const records_t records = trace.records();
    ASSERT_EQ(records.size(), 3U);
    expect_records(records, {{OM_LOG_TRACE, "OCISharedLibInit"},
                             {OM_LOG_INFO, std::string("OCISharedLibInit(") + any_tail},
                             {OM_LOG_INFO, "END FUNC - OCISharedLibInit()\n\treturn rc=1" + values}});
    EXPECT_THAT(records[1].text, testing::EndsWith(values));
}

TEST_F(Environment, TeardownKeepsEverything)
{
    EXPECT_EQ(create(), OCI_SUCCESS);
    forget_calls();
    deinit_oci_manager();
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_NE(wrapper(env), nullptr);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
}

} // namespace
