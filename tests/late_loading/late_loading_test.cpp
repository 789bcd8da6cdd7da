/*
 * A program may load the library late, as a plug-in of an interpreter does, when other libraries have used up
 * the thread-local space that the loader can still hand out in all threads at once.
 */
#include <barrier>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <oci.h>

namespace
{

/*
 * Loads libraries that take static space, the large ones first, so that less than the smallest takes is left.
 * Returns what the loader said to those that it had no space for.
 */
std::string use_up_static_space()
{
    std::string refusals;
    for (const char *size : {"4096", "2048", "1024", "512", "256", "128", "64", "32", "16"}) {
        const std::string path = SPACE_DIRECTORY "/libstatic_space_" + std::string(size) + ".so";
        if (!dlopen(path.c_str(), RTLD_NOW))
            refusals += dlerror();
    }
    return refusals;
}

template <class T> T *symbol(void *library, const char *name)
{
    void *address = dlsym(library, name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<T *>(address);
}

#define CALL(library, function, ...) symbol<decltype(function)>(library, #function)(__VA_ARGS__)

/* What a thread does: its variables, an environment, a handle and a number of its own. */
void use(void *library, int *level)
{
    EXPECT_EQ(*level, 10);
    *level = 20;
    OCIEnv *env = nullptr;
    ASSERT_EQ(CALL(library, OCIEnvCreate, &env, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0, nullptr),
              OCI_SUCCESS);
    void *stmt = nullptr;
    ASSERT_EQ(CALL(library, OCIHandleAlloc, env, &stmt, OCI_HTYPE_STMT, 0, nullptr), OCI_SUCCESS);
    OCINumber number;
    const int written = 271828;
    int read = 0;
    EXPECT_EQ(CALL(library, OCINumberFromInt, nullptr, &written, sizeof written, OCI_NUMBER_SIGNED, &number),
              OCI_SUCCESS);
    EXPECT_EQ(CALL(library, OCINumberToInt, nullptr, &number, sizeof read, OCI_NUMBER_SIGNED, &read),
              OCI_SUCCESS);
    EXPECT_EQ(read, written);
    EXPECT_EQ(CALL(library, OCIHandleFree, stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(CALL(library, OCIHandleFree, env, OCI_HTYPE_ENV), OCI_SUCCESS);
}

TEST(LateLoading, EveryThreadHasItsStateThough)
{
    unsetenv("DKOM_LOG_LEVEL");
    setenv("DKOM_ORA_LIB_PATH", CLIENT_LIBRARIES, 1);
    setenv("DKOM_DRK_LIB_PATH", CLIENT_LIBRARIES, 1);
    EXPECT_THAT(use_up_static_space(), testing::HasSubstr("static TLS"))
        << "there is space left: the test shows less than it should";

    constexpr int thread_count = 4;
    void *library = nullptr;
    std::vector<int *> levels(thread_count + 1);
    std::barrier step(thread_count + 1);
    std::vector<std::thread> threads;
    threads.reserve(thread_count);
    for (std::size_t i = 0; i < thread_count; i++)
        threads.emplace_back([&, i] {
            step.arrive_and_wait(); // the thread is older than the library
            levels[i] = symbol<int>(library, "LOG_LVL");
            use(library, levels[i]);
            step.arrive_and_wait(); // no state goes before all have one
        });
    library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(library, nullptr) << dlerror();
    step.arrive_and_wait();
    levels.back() = symbol<int>(library, "LOG_LVL");
    use(library, levels.back());
    step.arrive_and_wait();
    for (std::thread &t : threads)
        t.join();
    EXPECT_EQ(std::set(levels.begin(), levels.end()).size(), levels.size());
}

} // namespace
