/* Environments. */
#include "fixture.h"

using namespace manager_tests;
using testing::EndsWith;

namespace
{

constexpr ub4 modes = 70001;
constexpr size_t extra_memory = 5000000002U;

char context[8];

record starting(const std::string &text)
{
    return {OM_LOG_INFO, text + any_tail};
}

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

    bool marked(const void *environment) { return std::memcmp(environment, "QR.ST.UV", 8) == 0; }

    OCIEnv *env = nullptr;
    void *memory = nullptr;
};

TEST_F(Environment, CreateMakesATwin)
{
    const trace_capture trace(OM_LOG_TRACE);
    EXPECT_EQ(create(), OCI_SUCCESS);
    EXPECT_TRUE(oracle().alive(env));
    const om_handle_t *w = wrapper(env);
    expect_new(w, OCI_HTYPE_ENV, 4, 3);
    EXPECT_TRUE(dravik().alive(w->dk_hndlp));
    EXPECT_TRUE(marked(w->dk_hndlp));
    EXPECT_FALSE(marked(env));
    EXPECT_EQ(memory, dravik().user_memory);
    expect_calls({to_oracle("OCIEnvCreate", &env, modes, context, allocate_memory, reallocate_memory,
                            free_memory, extra_memory, &memory),
                  to_dravik("OCIEnvCreate", &w->dk_hndlp, modes, context, 0, 0, 0, extra_memory, &memory)});
    const records_t records = trace.records();
    expect_records(
        records,
        sequence(
            entered("OCIEnvCreate"), starting("OCIEnvCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, "),
            entered("func_table_init_once"),
            debug("CONTINUE FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\t*ora_envp=%p\n\t*ora_usrmempp=%p",
                  env, oracle().user_memory),
            insertion_records(env, OCI_HTYPE_ENV),
            info("END FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\treturn dk_rc=0\n\t*envp=%p\n\t*usrmempp=%p",
                 env, memory)));
    EXPECT_THAT(
        records.at(1).text,
        EndsWith(print("\n\tenvp=%p\n\tmode=70001\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p"
                       "\n\txtramem_sz=5000000002\n\tusrmempp=%p",
                       &env, context, allocate_memory, reallocate_memory, free_memory, &memory)));
}

TEST_F(Environment, CreateWithoutDravik)
{
    for (const bool handle_made : {false, true}) {
        void *twin = dravik().create();
        dravik().next("OCIEnvCreate", OCI_SUCCESS_WITH_INFO, returning(handle_made ? twin : nullptr, 0));
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(create(), OCI_SUCCESS);
        EXPECT_EQ(wrapper(env)->last_exec, 1U);
        EXPECT_EQ(marked(twin), handle_made);
        EXPECT_EQ(trace.records().size(), 4U);
        expect_last(trace,
                    {oracle_runs, insertion_records(env, OCI_HTYPE_ENV)[0],
                     failed("END FUNC - OCIEnvCreate()\n\treturn ora_rc=0\n\treturn dk_rc=1\n\t*envp=%p\n\t"
                            "*usrmempp=%p",
                            env, memory)});
    }
}

TEST_F(Environment, CreateWithoutOracle)
{
    for (void *left : no_handles<void>()) {
        for (const sword rc : {OCI_ERROR, OCI_SUCCESS_WITH_INFO}) {
            for (const char *function : {"OCIEnvCreate", "OCIEnvNlsCreate", "OCIEnvInit"})
                oracle().always(function, rc, returning(left, 0));
            const trace_capture trace(OM_LOG_ERROR);
            EXPECT_EQ(create(), rc);
            EXPECT_EQ(env, left);
            EXPECT_EQ(create_nls(), rc);
            EXPECT_EQ(env, left);
            EXPECT_EQ(init(), rc);
            EXPECT_EQ(hdl_list_tbl->hash_count, 0U);
            expect_calls({to_oracle("OCIEnvCreate"), to_oracle("OCIEnvNlsCreate"), to_oracle("OCIEnvInit")});
            expect_records(
                trace.records(),
                {failed("END FUNC - OCIEnvCreate()\n\treturn ora_rc=%d\n\t*envp=%p\n\t*usrmempp=%p", rc, left,
                        memory),
                 failed("END FUNC - OCIEnvInit()\n\treturn rc=%d", rc)});
        }
    }
}

TEST_F(Environment, NlsCreate)
{
    for (const sword dravik_result : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO}) {
        dravik().next("OCIEnvNlsCreate", dravik_result, returning(dravik().create(), 0));
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(create_nls(), dravik_result);
        const om_handle_t *w = wrapper(env);
        EXPECT_EQ(w->last_exec, dravik_result == OCI_SUCCESS ? 3U : 1U);
        EXPECT_FALSE(marked(w->dk_hndlp));
        const auto expected = [&](int backend, const void *variable) {
            return recording::call{backend,
                                   "OCIEnvNlsCreate",
                                   {to_word(variable), modes, to_word(&context[0]), to_word(&allocate_memory),
                                    to_word(&reallocate_memory), to_word(&free_memory), extra_memory,
                                    to_word(&memory), 2001, 2002},
                                   ""};
        };
        expect_calls({expected(recording::oracle, &env), expected(recording::dravik, &w->dk_hndlp)});
        const records_t records = trace.records();
        records_t expected_records{starting("OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, dvoid *ctxp, ")};
        if (dravik_result != OCI_SUCCESS)
            expected_records.push_back(oracle_runs);
        expected_records.push_back(insertion_records(env, OCI_HTYPE_ENV)[0]);
        expect_records(records, expected_records);
        EXPECT_THAT(records.at(0).text, EndsWith("\n\tcharset=2001\n\tncharset=2002"));
    }
}

TEST_F(Environment, Init)
{
    for (const sword dravik_result : {OCI_SUCCESS, OCI_ERROR}) {
        dravik().next("OCIEnvInit", dravik_result, returning(dravik().create(), 0));
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(init(), dravik_result);
        const om_handle_t *w = wrapper(env);
        EXPECT_EQ(w->last_exec, dravik_result == OCI_SUCCESS ? 3U : 1U);
        EXPECT_EQ(marked(w->dk_hndlp), dravik_result == OCI_SUCCESS);
        expect_calls({to_oracle("OCIEnvInit", &env, modes, extra_memory, &memory),
                      to_dravik("OCIEnvInit", &w->dk_hndlp, modes, extra_memory, &memory)});
        records_t expected{argument_record(
            "OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, dvoid **usrmempp)",
            {to_word(&env), modes, extra_memory, to_word(&memory)}, {{"xtramem_sz", "=%ld"}})};
        if (dravik_result != OCI_SUCCESS)
            expected.push_back(oracle_runs);
        expected.push_back(insertion_records(env, OCI_HTYPE_ENV)[0]);
        expected.push_back(info("END FUNC - OCIEnvInit()\n\treturn rc=%d\n\t*envp=%p", dravik_result, env));
        expect_records(trace.records(), expected);
    }
}

TEST_F(Environment, Initialize)
{
    const std::string end = "END FUNC - OCIInitialize()";
    const std::vector<std::tuple<sword, sword, record>> outcomes{
        {OCI_SUCCESS, OCI_SUCCESS, info(end + "\n\treturn rc=0")},
        {OCI_SUCCESS_WITH_INFO, OCI_SUCCESS, failed(end + ": ORACLE\n\treturn rc=1")},
        {OCI_SUCCESS, OCI_ERROR, failed(end + ": DRAVIK\n\treturn rc=-1")},
    };
    const words all{modes, to_word(&context[0]), to_word(&allocate_memory), to_word(&reallocate_memory),
                    to_word(&free_memory)};
    for (const auto &[oracle_result, dravik_result, last] : outcomes) {
        oracle().next("OCIInitialize", oracle_result);
        dravik().always("OCIInitialize", dravik_result);
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(OCIInitialize(modes, context, allocate_memory, reallocate_memory, free_memory),
                  oracle_result != OCI_SUCCESS ? oracle_result : dravik_result);
        std::vector<recording::call> expected{{recording::oracle, "OCIInitialize", all, ""}};
        if (oracle_result == OCI_SUCCESS)
            expected.push_back({recording::dravik, "OCIInitialize", all, ""});
        expect_calls(expected);
        const records_t records = trace.records();
        ASSERT_EQ(records.size(), 2U);
        EXPECT_THAT(
            records[0].text,
            EndsWith(print_words("\n\tmode=%d\n\tctxp=%p\n\tmalocfp=%p\n\tralocfp=%p\n\tmfreefp=%p", all)));
        expect_last(trace, {last});
    }
    EXPECT_EQ(hdl_list_tbl->hash_count, 0U);
}

TEST_F(Environment, ClientVersionIsOracles)
{
    hdl_list_tbl = nullptr;
    sword v[5] = {};
    const trace_capture trace(OM_LOG_TRACE);
    OCIClientVersion(&v[0], &v[1], &v[2], &v[3], &v[4]);
    expect_calls({to_oracle("OCIClientVersion", &v[0], &v[1], &v[2], &v[3], &v[4])});
    EXPECT_NE(hdl_list_tbl, nullptr);
    expect_records(trace.records(),
                   {entered("OCIClientVersion"), starting("OCIClientVersion(sword *major_version, "),
                    entered("func_table_init_once")});
}

TEST_F(Environment, SharedLibInit)
{
    char memories[3][8];
    auto **argv = from_word<void **>(to_word(&memories[2][0]));
    const auto callback = from_word<OCIEnvCallbackType>(to_word(&context[4]));
    oracle().next("OCISharedLibInit", OCI_SUCCESS_WITH_INFO);
    hdl_list_tbl = nullptr;
    const trace_capture trace(OM_LOG_TRACE);
    EXPECT_EQ(OCISharedLibInit(memories[0], memories[1], 3, 4, argv, callback), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(hdl_list_tbl, nullptr);
    expect_calls({to_oracle("OCISharedLibInit", memories[0], memories[1], 3, 4, argv, callback)});
    const std::string values =
        print("\n\tmetaCtx=%p\n\tlibCtx=%p\n\targfmt=3\n\targc=4\n\targv=%p\n\tenvCallback=%p", memories[0],
              memories[1], argv, callback);
    const records_t records = trace.records();
    expect_records(records, {entered("OCISharedLibInit"), starting("OCISharedLibInit("),
                             info("END FUNC - OCISharedLibInit()\n\treturn rc=1" + values)});
    EXPECT_THAT(records.at(1).text, EndsWith(values));
}

TEST_F(Environment, TeardownKeepsEverything)
{
    EXPECT_EQ(create(), OCI_SUCCESS);
    forget_calls();
    deinit_oci_manager();
    expect_calls({});
    EXPECT_NE(wrapper(env), nullptr);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
}

} // namespace
