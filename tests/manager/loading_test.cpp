/* Loading of the backends, each time in a process of its own. */
#include <dlfcn.h>

#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

class Loading : public EmptyTest
{
protected:
    /* Makes an environment, on both backends, and releases it. */
    static void expect_works()
    {
        OCIEnv *env = nullptr;
        EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
        EXPECT_TRUE(oracle().alive(env));
        EXPECT_EQ(wrapper(env)->last_exec, 3U);
        EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    }
};

TEST_F(Loading, OnceAndWithDefaultHandles)
{
    EXPECT_IN_NEW_PROCESS({
        const trace_capture trace(OM_LOG_TRACE);
        OCIEnv *env = nullptr;
        EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
        EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
        const word environment = target<word>(calls().at(0).arguments[0]);
        EXPECT_EQ(wrapper(from_word<void *>(environment)), nullptr);
        expect_calls({to_oracle("OCIEnvCreate", any_word, 0, 0, 0, 0, 0, 0, 0),
                      to_oracle("OCIHandleAlloc", environment, any_word, OCI_HTYPE_ERROR, 0, 0),
                      to_oracle("OCIEnvCreate"), to_dravik("OCIEnvCreate"), to_oracle("OCIEnvCreate"),
                      to_dravik("OCIEnvCreate")});
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
    OCIEnv *env = nullptr;
    sword v = 0;
    EXPECT_IN_NEW_PROCESS({
        OCIClientVersion(&v, &v, &v, &v, &v);
        expect_calls({to_oracle("OCIEnvCreate"), to_oracle("OCIHandleAlloc"), to_oracle("OCIClientVersion")});
    });
    EXPECT_IN_NEW_PROCESS(
        EXPECT_EQ(OCIInitialize(OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr), OCI_SUCCESS));
    EXPECT_IN_NEW_PROCESS(EXPECT_EQ(OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr), OCI_SUCCESS));
    EXPECT_IN_NEW_PROCESS(
        EXPECT_EQ(OCIEnvNlsCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0, 0),
                  OCI_SUCCESS));
}

TEST_F(Loading, Directories)
{
    EXPECT_IN_NEW_PROCESS({
        /* Unset variables mean the working directory. */
        std::filesystem::current_path(variant("normal"));
        unsetenv("DKOM_ORA_LIB_PATH");
        unsetenv("DKOM_DRK_LIB_PATH");
        expect_works();
    });
    EXPECT_IN_NEW_PROCESS({
        setenv("DKOM_ORA_LIB_PATH", (variant("normal") + "/").c_str(), 1);
        expect_works();
    });
    EXPECT_IN_NEW_PROCESS({
        use_backends(variant("missing_names"), variant("missing_names"));
        expect_works();
    });
}

TEST_F(Loading, LibrariesThatCannotBeOpened)
{
    const std::string long_path(1500, 'd');
    struct row {
        std::string oracle_directory;
        std::string dravik_directory;
        bool names_oracle;
        std::string path;
        std::string says = "cannot open shared object file";
    };
    const std::string normal = variant("normal");
    std::vector<row> rows{{"/nowhere", "/nowhere", true, "/nowhere/libclntsh.so"}};
    for (const std::string &directory : {std::string("/nowhere"), variant("no_library"), long_path}) {
        rows.push_back({directory, normal, true, (directory + "/libclntsh.so").substr(0, 1023)});
        rows.push_back({normal, directory, false, (directory + "/libdkoci.so").substr(0, 1023)});
    }
    rows[3].says = rows[4].says = "file too short";
    /* A link back to the library itself, which would wait for its own loading to end. */
    const std::string links = variant("self_link");
    const std::string back = "it leads back to the OCI manager itself";
    rows.push_back({links, normal, true, links + "/libclntsh.so", back});
    rows.push_back({normal, links, false, links + "/libdkoci.so", back});
    for (const row &r : rows)
        expect_stop(
            {[&] {
                 /* The reason is told also at a level that is due to be read again. */
                 initLog();
                 LOG_LVL = 0;
                 lStandardSec = 0;
                 setenv("DKOM_ORA_LIB_PATH", r.oracle_directory.c_str(), 1);
                 setenv("DKOM_DRK_LIB_PATH", r.dravik_directory.c_str(), 1);
                 init_oci_manager();
             },
             "func_table_initialize",
             r.names_oracle ? "ora_func_table.oci_dl!=((void *)0)" : "dk_func_table.oci_dl!=((void *)0)",
             (r.names_oracle ? "dlopen Oracle Fail: dl_path=" : "dlopen Dravik lib Fail: dl_path=") + r.path,
             0,
             true,
             OM_LOG_ASSERT,
             {},
             r.says});
}

TEST_F(Loading, DefaultHandlesThatCannotBeMade)
{
    for (const char *function : {"OCIEnvCreate", "OCIHandleAlloc"})
        expect_stop({.call =
                         [&] {
                             oracle().next(function, OCI_SUCCESS_WITH_INFO);
                             init_oci_manager();
                         },
                     .function = "oci_table_load",
                     .assertion = "rc==0",
                     .in_new_process = true});
}

TEST_F(Loading, EveryEntryPointHasItsMember)
{
    init_oci_manager();
    forget_calls();
    const std::vector<std::pair<std::size_t, const char *>> places{
        {0, "OCIPStreamFromXMLType"}, {19, "obindps"},           {57, "sqllda"},
        {71, "OCIInitialize"},        {108, "OCIAttrGet"},       {456, "OCIObjectNew"},
        {502, "OCINumberToText"},     {652, "OCITypeEndCreate"},
    };
    for (const char *name : {"normal", "missing_names"}) {
        oci_function_table_t functions{};
        functions.oci_dl = dlopen((variant(name) + "/libclntsh.so").c_str(), RTLD_LAZY);
        oci_table_load(OM_TARGET_ORACLE, &functions);
        EXPECT_EQ(functions.dflt_envhp, nullptr);
        EXPECT_EQ(functions.dflt_errhp, nullptr);
        auto *members = reinterpret_cast<void **>(&functions.funcs);
        auto *end = members + sizeof functions.funcs / sizeof(void *);
        EXPECT_EQ(end - members, 653);
        EXPECT_EQ(std::count(members, end, nullptr), 0);
        for (const auto &[place, entry] : places)
            if (void *exported = dlsym(functions.oci_dl, entry))
                EXPECT_EQ(members[place], exported) << entry;
            else
                EXPECT_STREQ(name, "missing_names") << entry;
    }
    expect_calls({});

    /* Default handles of Dravik's table come from Oracle. */
    oci_function_table_t functions{};
    functions.oci_dl = dlopen((variant("normal") + "/libdkoci.so").c_str(), RTLD_LAZY);
    oci_table_load(OM_TARGET_DRAVIK, &functions);
    expect_calls({to_oracle("OCIEnvCreate"), to_oracle("OCIHandleAlloc")});
    EXPECT_TRUE(oracle().alive(functions.dflt_envhp));
    EXPECT_TRUE(oracle().alive(functions.dflt_errhp));
}

TEST_F(Loading, CallsOfEntryPointsThatALibraryLacksStop)
{
    struct row {
        const char *variable;
        const char *table;
        const char *file;
        ub4 backend;
    };
    for (const row &r : {row{"DKOM_ORA_LIB_PATH", "ora_func_table", "libclntsh.so", 1},
                         row{"DKOM_DRK_LIB_PATH", "dk_func_table", "libdkoci.so", 2}})
        expect_stop({.call =
                         [&] {
                             setenv(r.variable, variant("missing_rollback").c_str(), 1);
                             OCIEnv *env = nullptr;
                             create_environment(&env);
                             void *svc = nullptr;
                             OCIHandleAlloc(env, &svc, OCI_HTYPE_SVCCTX, 0, nullptr);
                             route(svc, r.backend);
                             OCITransRollback(static_cast<OCISvcCtx *>(svc), nullptr, OCI_DEFAULT);
                         },
                     .function = "OCITransRollback",
                     .assertion = std::string(r.table) + ".funcs.func_OCITransRollback!=((void *)0)",
                     .reason = std::string(r.file) + " lacks the entry point OCITransRollback",
                     .in_new_process = true,
                     .says = std::string(r.file) + " has no OCITransRollback"});
}

/* A backend's call of its own exported function. */
void fetch_on_dravik_that_calls_itself()
{
    OCIEnv *env = nullptr;
    create_environment(&env);
    void *stmt = nullptr;
    OCIHandleAlloc(env, &stmt, OCI_HTYPE_STMT, 0, nullptr);
    route(stmt, 2);
    forget_calls();
    dravik().calls_itself = true;
    OCIStmtFetch(static_cast<OCIStmt *>(stmt), nullptr, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
}

TEST_F(Loading, BackendsLinkedSymbolicallyReachThemselves)
{
    /* Others do not: the loader looks in the program first, so that the call lands in ours and goes to
     * Oracle. */
    EXPECT_IN_NEW_PROCESS({
        use_backends(variant("not_symbolic"), variant("not_symbolic"));
        fetch_on_dravik_that_calls_itself();
        expect_calls({to_oracle("OCIClientVersion"), to_dravik("OCIStmtFetch")});
    });
    fetch_on_dravik_that_calls_itself();
    expect_calls({to_dravik("OCIClientVersion"), to_dravik("OCIStmtFetch")});
}

} // namespace
