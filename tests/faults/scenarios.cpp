#include "scenarios.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <oci.h>

namespace
{

const char *library;

void demand(bool holds, const char *what)
{
    if (holds)
        return;
    std::printf("not so: %s\n", what);
    std::fflush(stdout);
    _exit(1);
}

/* The calls of an edition, as a program that loads it at run time has them. */
struct calls {
    void *handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    decltype(&OCIEnvCreate) create_environment = find<decltype(&OCIEnvCreate)>("OCIEnvCreate");
    decltype(&OCIHandleAlloc) allocate = find<decltype(&OCIHandleAlloc)>("OCIHandleAlloc");
    decltype(&OCIServerAttach) attach = find<decltype(&OCIServerAttach)>("OCIServerAttach");
    decltype(&OCITransCommit) commit = find<decltype(&OCITransCommit)>("OCITransCommit");

    template <class F> F find(const char *name) const
    {
        demand(handle != nullptr, "the library loads");
        return reinterpret_cast<F>(dlsym(handle, name));
    }
};

/* Handles of one thread, attached. */
class connection
{
public:
    explicit connection(const calls &used) : calls_(used)
    {
        demand(calls_.create_environment(&env_, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0,
                                         nullptr) == OCI_SUCCESS,
               "an environment is made");
        allocate(&err_, OCI_HTYPE_ERROR);
        allocate(&svc_, OCI_HTYPE_SVCCTX);
        allocate(&server_, OCI_HTYPE_SERVER);
        const char link[] = "mars";
        demand(calls_.attach(static_cast<OCIServer *>(server_), static_cast<OCIError *>(err_),
                             reinterpret_cast<const OraText *>(link), sizeof link - 1,
                             OCI_DEFAULT) == OCI_SUCCESS,
               "a server is attached");
    }

    void round() const
    {
        for (int i = 0; i < commits_of_a_round; i++)
            demand(calls_.commit(static_cast<OCISvcCtx *>(svc_), static_cast<OCIError *>(err_),
                                 OCI_DEFAULT) == OCI_SUCCESS,
                   "a transaction is committed");
    }

private:
    void allocate(void **variable, ub4 type) const
    {
        demand(calls_.allocate(env_, variable, type, 0, nullptr) == OCI_SUCCESS, "a handle is made");
    }

    const calls &calls_;
    OCIEnv *env_ = nullptr;
    void *err_ = nullptr;
    void *svc_ = nullptr;
    void *server_ = nullptr;
};

void round()
{
    const calls used;
    connection(used).round();
}

/* Another process takes the directory away, and puts one of the same name in its place. */
void replaced_directory()
{
    const calls used;
    const connection c(used);
    c.round();
    const std::string directory = std::getenv("DKOM_LOG_PATH");
    std::filesystem::rename(directory, directory + ".before");
    c.round();
    std::filesystem::create_directory(directory);
    c.round();
}

void no_descriptors()
{
    const calls used;
    const connection c(used);
    std::vector<int> taken;
    for (int fd = 0; (fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
        taken.push_back(fd);
    c.round();
    const connection other(used);
    other.round();
    for (const int fd : taken)
        close(fd);
    c.round();
}

void crowd()
{
    const calls used;
    std::vector<std::thread> threads;
    threads.reserve(threads_of_a_crowd);
    for (int i = 0; i < threads_of_a_crowd; i++)
        threads.emplace_back([&used] {
            const connection c(used);
            for (int n = 0; n < rounds_of_a_thread; n++)
                c.round();
        });
    for (std::thread &t : threads)
        t.join();
}

/* Children call while the parent's other threads were in the middle of calls. */
void forks()
{
    const calls used;
    const connection c(used);
    bool stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; i++)
        threads.emplace_back([&] {
            const connection own(used);
            while (!__atomic_load_n(&stop, __ATOMIC_RELAXED))
                own.round();
        });
    for (int i = 0; i < 10; i++) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(30);
            c.round();
            connection(used).round();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        demand(status == 0, "a forked child makes its calls");
    }
    __atomic_store_n(&stop, true, __ATOMIC_RELAXED);
    for (std::thread &t : threads)
        t.join();
}

void reload()
{
    for (int i = 0; i < 20; i++) {
        const calls used;
        connection(used).round();
        std::thread([&used] { connection(used).round(); }).join();
        dlclose(used.handle);
    }
}

/* The level of a running process: the file beside the log raises it, and its removal takes it back. */
void control_file()
{
    const calls used;
    const std::string file =
        std::string(std::getenv("DKOM_LOG_PATH")) + "/om_" + std::to_string(getpid()) + ".level";
    const auto wait_for_a_look = [] { usleep(1'100'000); };
    connection(used).round();
    std::ofstream(file) << "50\n";
    wait_for_a_look();
    connection(used).round();
    std::filesystem::remove(file);
    wait_for_a_look();
    connection(used).round();
}

} // namespace

int run_scenario(const char *name, const char *path)
{
    library = path;
    const struct {
        const char *name;
        void (*run)();
    } scenarios[] = {
        {"round", round},
        {"replaced_directory", replaced_directory},
        {"no_descriptors", no_descriptors},
        {"crowd", crowd},
        {"forks", forks},
        {"reload", reload},
        {"control_file", control_file},
    };
    for (const auto &s : scenarios) {
        if (std::strcmp(s.name, name) != 0)
            continue;
        s.run();
        return 0;
    }
    return 2;
}
