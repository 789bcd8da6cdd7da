// The two libraries as the loader sees them, what is not served, and threads.
#include "client.h"
#include "oci_manager/entry_points.h"

#include <thread>

#include <dlfcn.h>

namespace sqlite_oci_test
{
namespace
{

constexpr const char *entry_points[] = {
#define NAME_OF(name, type) #name,
    OCI_ENTRY_POINTS(NAME_OF)
#undef NAME_OF
};

TEST(library, both_export_every_entry_point_and_know_only_their_own_handles)
{
    void *environments[2] = {};
    sword (*free_handle[2])(void *, ub4) = {};
    for (int i = 0; i < 2; ++i) {
        const std::string file = i == 0 ? "libclntsh.so" : "libdkoci.so";
        void *const library = dlopen((std::string(SQLITE_OCI_LIBRARIES "/") + file).c_str(), RTLD_LAZY);
        ASSERT_NE(library, nullptr) << dlerror();
        for (const char *name : entry_points)
            EXPECT_NE(dlsym(library, name), nullptr) << file << " lacks " << name;
        EXPECT_EQ(dlsym(library, "_ZN10sqlite_oci11make_handleERNS_6objectEj"), nullptr) << "only OCI names";
        const auto create = reinterpret_cast<decltype(&OCIEnvCreate)>(dlsym(library, "OCIEnvCreate"));
        free_handle[i] = reinterpret_cast<decltype(&OCIHandleFree)>(dlsym(library, "OCIHandleFree"));
        ASSERT_EQ(create(reinterpret_cast<OCIEnv **>(&environments[i]), OCI_DEFAULT, nullptr, nullptr,
                         nullptr, nullptr, 0, nullptr),
                  OCI_SUCCESS);
    }
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(free_handle[i](environments[1 - i], OCI_HTYPE_ENV), OCI_INVALID_HANDLE);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(free_handle[i](environments[i], OCI_HTYPE_ENV), OCI_SUCCESS);
}

TEST(library, what_is_not_served_says_so)
{
    const client made;
    const auto prepare = [](OCIError *errors) { return OCITransPrepare(nullptr, errors, OCI_DEFAULT); };
    EXPECT_TRUE(made.fails(prepare(made.errors), 3001));
    EXPECT_NE(made.message().find("OCITransPrepare"), std::string::npos);
    EXPECT_EQ(prepare(nullptr), OCI_ERROR);
    EXPECT_EQ(prepare(reinterpret_cast<OCIError *>(made.env)), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIFormatString(nullptr, made.errors, nullptr, 0, nullptr, nullptr, 1, 2, 3), OCI_ERROR);
    EXPECT_EQ(OCICollMax(nullptr, nullptr), 0);
    EXPECT_EQ(OCIMessageGet(nullptr, 1, nullptr, 0), nullptr);
}

// Runs `work` in four threads at once, with their numbers.
template <class Work> void in_four_threads(const Work &work)
{
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(work, i);
}

TEST(library, threads_with_environments_of_their_own_do_not_meet)
{
    const database_directory directory;
    for (int i = 0; i < 4; ++i)
        directory.add("thread" + std::to_string(i));
    in_four_threads([](int number) {
        const connected_client db(0, "thread" + std::to_string(number));
        ASSERT_EQ(db.run("CREATE TABLE t (a NUMBER PRIMARY KEY)"), 0);
        const prepared insert(db, "INSERT INTO t VALUES (:a)");
        sb4 key = 0;
        insert.in("a", key, SQLT_INT);
        for (key = 1; key <= 500; ++key) {
            ASSERT_EQ(insert.execute(1), OCI_SUCCESS);
            ASSERT_TRUE(db.fails(insert.execute(1), 1));
        }
        EXPECT_EQ(db.ask("SELECT count(*) FROM t"), "500");
    });
}

TEST(library, one_environment_serves_several_threads)
{
    const database_directory directory;
    const connected_client shared;
    in_four_threads([&](int) {
        for (int round = 0; round < 200; ++round) {
            auto *const errors = allocate<OCIError>(shared.env, OCI_HTYPE_ERROR);
            auto *const statement = allocate<OCIStmt>(shared.env, OCI_HTYPE_STMT);
            EXPECT_EQ(OCIStmtPrepare(statement, errors, text("SELECT * FROM missing"), 21, OCI_NTV_SYNTAX,
                                     OCI_DEFAULT),
                      OCI_SUCCESS);
            EXPECT_EQ(OCIStmtExecute(shared.service, statement, errors, 0, 0, nullptr, nullptr, OCI_DEFAULT),
                      OCI_ERROR);
            EXPECT_EQ(error_code(errors), 942);
            OCIHandleFree(statement, OCI_HTYPE_STMT);
            OCIHandleFree(errors, OCI_HTYPE_ERROR);
        }
    });
}

} // namespace
} // namespace sqlite_oci_test
