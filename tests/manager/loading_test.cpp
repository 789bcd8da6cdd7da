/* Loading of the backends, each time in a process of its own. */
#include <dlfcn.h>

#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class Loading : public EmptyTest
{
protected:
    static sword create(OCIEnv **env)
    {
        return OCIEnvCreate(env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
    }
};

TEST_F(Loading, OnceAndWithDefaultHandles)
{
    EXPECT_IN_NEW_PROCESS({
        const trace_capture trace(OM_LOG_TRACE);
        OCIEnv *first = nullptr;
        OCIEnv *second = nullptr;
        EXPECT_EQ(create(&first), OCI_SUCCESS);
        EXPECT_EQ(create(&second), OCI_SUCCESS);
        EXPECT_THAT(called(),
                    ElementsAre("Oracle.OCIEnvCreate", "Oracle.OCIHandleAlloc", "Oracle.OCIEnvCreate",
                                "Dravik.OCIEnvCreate", "Oracle.OCIEnvCreate", "Dravik.OCIEnvCreate"));
        words default_environment = calls()[0].arguments;
        const void *environment = target<void *>(default_environment[0]);
        default_environment[0] = 0;
        EXPECT_EQ(default_environment, words(8, 0));
        const words &default_error = calls()[1].arguments;
        EXPECT_EQ(default_error[0], to_word(environment));
        EXPECT_EQ(default_error[2], word{OCI_HTYPE_ERROR});
        EXPECT_EQ((words{default_error[3], default_error[4]}), (words{0, 0}));
        EXPECT_EQ(wrapper(environment), nullptr);
        std::vector<std::string> entries;
        for (const record &r : trace.records())
            if (r.level == OM_LOG_TRACE)
                entries.push_back(r.text);
        EXPECT_THAT(entries, ElementsAre("OCIEnvCreate", "func_table_init_once", "func_table_initialize",
                                         "OCIEnvCreate", "func_table_init_once"));
    });
}

TEST_F(Loading, FirstCallMayBeAny)
{
    EXPECT_IN_NEW_PROCESS({
        sword version = 0;
        OCIClientVersion(&version, &version, &version, &version, &version);
        EXPECT_THAT(called(),
                    ElementsAre("Oracle.OCIEnvCreate", "Oracle.OCIHandleAlloc", "Oracle.OCIClientVersion"));
    });
    EXPECT_IN_NEW_PROCESS(
        EXPECT_EQ(OCIInitialize(OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr), OCI_SUCCESS));
    EXPECT_IN_NEW_PROCESS({
        OCIEnv *env = nullptr;
        EXPECT_EQ(OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr), OCI_SUCCESS);
    });
    EXPECT_IN_NEW_PROCESS({
        OCIEnv *env = nullptr;
        EXPECT_EQ(OCIEnvNlsCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0, 0),
                  OCI_SUCCESS);
    });
}

TEST_F(Loading, Directories)
{
    EXPECT_IN_NEW_PROCESS({
        /* Unset variables mean the working directory. */
        std::filesystem::current_path(variant("normal"));
        unsetenv("DKOM_ORA_LIB_PATH");
        unsetenv("DKOM_DRK_LIB_PATH");
        OCIEnv *env = nullptr;
        EXPECT_EQ(create(&env), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(env));
    });
    EXPECT_IN_NEW_PROCESS({
        setenv("DKOM_ORA_LIB_PATH", (variant("normal") + "/").c_str(), 1);
        OCIEnv *env = nullptr;
        EXPECT_EQ(create(&env), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(env));
    });
}

TEST_F(Loading, LibrariesThatCannotBeOpened)
{
    const auto stops = [](const char *variable, const std::string &directory, const char *message,
                          const char *file, const char *assertion) {
        const std::string path = (directory + "/" + file).substr(0, 1023);
        expect_stop({.name = std::string(variable) + "=" + directory,
                     .call =
                         [&] {
                             setenv(variable, directory.c_str(), 1);
                             OCIEnv *env = nullptr;
                             create(&env);
                         },
                     .function = "func_table_initialize",
                     .assertion = assertion,
                     .reasons = {message + path}},
                    true);
    };
    for (const std::string &directory :
         {std::string("/nowhere"), variant("no_library"), std::string(1500, 'd')}) {
        stops("DKOM_ORA_LIB_PATH", directory, "dlopen Oracle Fail: dl_path=", "libclntsh.so",
              "ora_func_table.oci_dl!=((void *)0)");
        stops("DKOM_DRK_LIB_PATH", directory, "dlopen Dravik lib Fail: dl_path=", "libdkoci.so",
              "dk_func_table.oci_dl!=((void *)0)");
    }
    expect_stop({.name = "both",
                 .call =
                     [] {
                         setenv("DKOM_ORA_LIB_PATH", "/nowhere", 1);
                         setenv("DKOM_DRK_LIB_PATH", "/nowhere", 1);
                         init_oci_manager();
                     },
                 .function = "func_table_initialize",
                 .assertion = "ora_func_table.oci_dl!=((void *)0)",
                 .reasons = {"dlopen Oracle Fail: dl_path=/nowhere/libclntsh.so"}},
                true);
}

TEST_F(Loading, DefaultHandlesThatCannotBeMade)
{
    for (const char *function : {"OCIEnvCreate", "OCIHandleAlloc"})
        expect_stop({.name = function,
                     .call =
                         [&] {
                             oracle().next(function, OCI_SUCCESS_WITH_INFO);
                             init_oci_manager();
                         },
                     .function = "oci_table_load",
                     .assertion = "rc==0"},
                    true);
}

TEST_F(Loading, LibrariesThatLackNames)
{
    EXPECT_IN_NEW_PROCESS({
        use_backends(variant("missing_names"), variant("missing_names"));
        OCIEnv *env = nullptr;
        EXPECT_EQ(create(&env), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(env));
        EXPECT_EQ(wrapper(env)->last_exec, 3U);
        EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    });
}

TEST_F(Loading, EveryEntryPointHasItsMember)
{
    init_oci_manager();
    forget_calls();
    for (const char *name : {"normal", "missing_names"}) {
        oci_function_table_t table{};
        table.oci_dl = dlopen((variant(name) + "/libclntsh.so").c_str(), RTLD_LAZY);
        oci_table_load(OM_TARGET_ORACLE, &table);
        EXPECT_EQ(table.dflt_envhp, nullptr);
        EXPECT_EQ(table.dflt_errhp, nullptr);

        const std::vector<std::pair<std::size_t, const char *>> places{
            {0, "OCIPStreamFromXMLType"}, {19, "obindps"},           {57, "sqllda"},
            {71, "OCIInitialize"},        {108, "OCIAttrGet"},       {456, "OCIObjectNew"},
            {502, "OCINumberToText"},     {652, "OCITypeEndCreate"},
        };
        auto *members = reinterpret_cast<void **>(&table.funcs);
        for (const auto &[place, entry] : places)
            EXPECT_EQ(members[place], dlsym(table.oci_dl, entry)) << entry;
        std::size_t missing = 0;
        for (std::size_t i = 0; i < sizeof table.funcs / sizeof(void *); i++)
            missing += members[i] == nullptr ? 1 : 0;
        EXPECT_EQ(missing, name == std::string("normal") ? 0U : 4U);
        EXPECT_EQ(sizeof table.funcs / sizeof(void *), 653U);
    }
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(Loading, DravikTableGetsDefaultHandlesFromOracle)
{
    init_oci_manager();
    forget_calls();
    oci_function_table_t table{};
    table.oci_dl = dlopen((variant("normal") + "/libdkoci.so").c_str(), RTLD_LAZY);
    oci_table_load(OM_TARGET_DRAVIK, &table);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIEnvCreate", "Oracle.OCIHandleAlloc"));
    EXPECT_TRUE(oracle().alive(table.dflt_envhp));
    EXPECT_TRUE(oracle().alive(table.dflt_errhp));
}

/* A backend's call of its own exported function. */
std::vector<std::string> calls_of_a_fetch_on_dravik()
{
    OCIEnv *env = nullptr;
    OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
    void *stmt = nullptr;
    OCIHandleAlloc(env, &stmt, OCI_HTYPE_STMT, 0, nullptr);
    route(stmt, 2);
    forget_calls();
    dravik().calls_itself = true;
    OCIStmtFetch(static_cast<OCIStmt *>(stmt), nullptr, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
    return called();
}

TEST_F(Loading, BackendsLinkedSymbolicallyReachThemselves)
{
    EXPECT_THAT(calls_of_a_fetch_on_dravik(), ElementsAre("Dravik.OCIClientVersion", "Dravik.OCIStmtFetch"));
}

/* The loader looks in the program and its libraries first, so the call lands in ours and goes to Oracle. */
TEST_F(Loading, OtherBackendsReachUsInstead)
{
    EXPECT_IN_NEW_PROCESS({
        use_backends(variant("not_symbolic"), variant("not_symbolic"));
        EXPECT_THAT(calls_of_a_fetch_on_dravik(),
                    ElementsAre("Oracle.OCIClientVersion", "Dravik.OCIStmtFetch"));
    });
}

} // namespace
