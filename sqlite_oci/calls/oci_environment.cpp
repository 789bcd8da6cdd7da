// Environments: creation, and what a program asks of the library as a whole.
#include "handles/call.h"

#include <atomic>
#include <mutex>

#include <sqlite3.h>

using namespace sqlite_oci;

namespace
{

// OCIInitialize sets the mode of the environments that OCIEnvInit makes.
std::atomic<ub4> process_mode{OCI_DEFAULT};

// SQLite's accounting of memory takes a lock that all connections of the process share. A program that uses
// SQLite itself may have started it already; then its choice stands.
void prepare_sqlite()
{
    static std::once_flag once;
    std::call_once(once, [] { sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0); });
}

sword create_environment(OCIEnv **envp, ub4 mode, ub2 set_id, ub2 national_id, std::size_t user_size,
                         void **user_memory) noexcept
{
    if (!envp)
        return OCI_INVALID_HANDLE;
    *envp = nullptr;
    const charset otherwise = (mode & OCI_UTF16) ? charset::utf16 : charset::utf8;
    const auto set = charset_from_id(set_id, otherwise);
    const auto national = charset_from_id(national_id, charset::utf8);
    if (!set || !national)
        return OCI_ERROR;
    try {
        prepare_sqlite();
        auto env = std::make_unique<environment>(mode, *set, *national);
        if (user_size)
            env->user_memory = std::make_unique<std::byte[]>(user_size);
        if (user_memory)
            *user_memory = env->user_memory.get();
        *envp = static_cast<OCIEnv *>(make_handle(*env, OCI_HTYPE_ENV));
        keep_environment(std::move(env));
        return OCI_SUCCESS;
    } catch (const std::exception &) {
        *envp = nullptr;
        return OCI_ERROR;
    }
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIInitialize(ub4 mode, void *, void *(*)(void *, size_t),
                                      void *(*)(void *, void *, size_t), void (*)(void *, void *))
{
    process_mode = mode;
    return OCI_SUCCESS;
}

SQLITE_OCI_EXPORT sword OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, void **usrmempp)
{
    return create_environment(envp, mode | process_mode, 0, 0, xtramem_sz, usrmempp);
}

SQLITE_OCI_EXPORT sword OCIEnvCreate(OCIEnv **envp, ub4 mode, void *, void *(*)(void *, size_t),
                                     void *(*)(void *, void *, size_t), void (*)(void *, void *),
                                     size_t xtramem_sz, void **usrmempp)
{
    return create_environment(envp, mode, 0, 0, xtramem_sz, usrmempp);
}

SQLITE_OCI_EXPORT sword OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, void *, void *(*)(void *, size_t),
                                        void *(*)(void *, void *, size_t), void (*)(void *, void *),
                                        size_t xtramem_sz, void **usrmempp, ub2 set, ub2 nset)
{
    return create_environment(envp, mode, set, nset, xtramem_sz, usrmempp);
}

SQLITE_OCI_EXPORT sword OCITerminate(ub4)
{
    return OCI_SUCCESS;
}

SQLITE_OCI_EXPORT void OCIClientVersion(sword *major_version, sword *minor_version, sword *update_num,
                                        sword *patch_num, sword *port_update_num)
{
    const sword parts[] = {11, 2, 0, 0, 0};
    sword *const targets[] = {major_version, minor_version, update_num, patch_num, port_update_num};
    for (int i = 0; i < 5; ++i)
        if (targets[i])
            *targets[i] = parts[i];
}

} // extern "C"
