// Threads, mutexes, keys and thread identifiers, on those of POSIX.
#include "calls/value_call.h"
#include "connections/call_mutex.h"
#include "connections/session.h"
#include "handles/private_kinds.h"

#include <memory>

#include <pthread.h>

using namespace sqlite_oci;

namespace
{

enum thread_error : int {
    ora_deadlock = 60,
    ora_no_resources = 4031,
    ora_misused = 24280,
};

struct thread_mutex final : object {
    static constexpr ub4 handle_kind = kind_thread_mutex;
    using object::object;

    call_mutex lock; // knows its thread: misuse is an error and no hang
};

struct thread_key final : object {
    static constexpr ub4 handle_kind = kind_thread_key;

    thread_key(environment *owner, OCIThreadKeyDestFunc destroy) : object(owner)
    {
        if (pthread_key_create(&key, destroy) != 0)
            fail(ora_no_resources, "there are no more keys for values of threads");
    }
    ~thread_key() override { pthread_key_delete(key); }

    pthread_key_t key{};
};

struct thread_id final : object {
    static constexpr ub4 handle_kind = kind_thread_id;
    using object::object;

    bool operator==(const thread_id &other) const
    {
        return is_set == other.is_set && (!is_set || pthread_equal(thread, other.thread) != 0);
    }

    pthread_t thread{};
    bool is_set = false;
};

struct thread_handle final : object {
    static constexpr ub4 handle_kind = kind_thread_handle;
    using object::object;
    ~thread_handle() override { close(); }

    void close()
    {
        if (is_joinable)
            pthread_detach(thread);
        is_joinable = false;
    }

    pthread_t thread{};
    bool is_joinable = false;
};

environment &environment_of(void *handle)
{
    if (auto *env = find<environment>(handle))
        return *env;
    return *required<session>(handle).env;
}

// Calls that need nothing but their handle.
template <class Body> sword thread_call(void *hndl, OCIError *err, Body body)
{
    return served(err, [&](call_errors) {
        environment_of(hndl);
        body();
        return OCI_SUCCESS;
    });
}

template <class T, class Handle, class... Arguments>
sword make(void *hndl, OCIError *err, Handle **made, Arguments... arguments)
{
    return served(err, [&](call_errors) {
        environment &env = environment_of(hndl);
        if (!made)
            fail(ora_null_argument, "there is no place for what is made");
        *made =
            static_cast<Handle *>(env.adopt(std::make_unique<T>(&env, arguments...), T::handle_kind)->handle);
        return OCI_SUCCESS;
    });
}

template <class T, class Handle> sword destroy(void *hndl, OCIError *err, Handle **freed)
{
    return thread_call(hndl, err, [&] {
        if (!freed)
            fail(ora_null_argument, "there is nothing to destroy");
        T &target = required<T>(*freed);
        target.env->release(&target);
        *freed = nullptr;
    });
}

struct start_arguments {
    void (*start)(void *);
    void *argument;
};

void *run(void *given)
{
    const std::unique_ptr<start_arguments> start(static_cast<start_arguments *>(given));
    start->start(start->argument);
    return nullptr;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT void OCIThreadProcessInit(void) {}

SQLITE_OCI_EXPORT sword OCIThreadInit(void *hndl, OCIError *err)
{
    return thread_call(hndl, err, [] {});
}

SQLITE_OCI_EXPORT sword OCIThreadTerm(void *hndl, OCIError *err)
{
    return thread_call(hndl, err, [] {});
}

SQLITE_OCI_EXPORT int OCIThreadIsMulti(void)
{
    return 1;
}

SQLITE_OCI_EXPORT sword OCIThreadMutexInit(void *hndl, OCIError *err, OCIThreadMutex **mutex)
{
    return make<thread_mutex>(hndl, err, mutex);
}

SQLITE_OCI_EXPORT sword OCIThreadMutexDestroy(void *hndl, OCIError *err, OCIThreadMutex **mutex)
{
    return destroy<thread_mutex>(hndl, err, mutex);
}

SQLITE_OCI_EXPORT sword OCIThreadMutexAcquire(void *hndl, OCIError *err, OCIThreadMutex *mutex)
{
    return thread_call(hndl, err, [&] {
        call_mutex &lock = required<thread_mutex>(mutex).lock;
        if (lock.is_own())
            fail(ora_deadlock, "the thread has acquired the mutex already");
        lock.lock();
    });
}

SQLITE_OCI_EXPORT sword OCIThreadMutexRelease(void *hndl, OCIError *err, OCIThreadMutex *mutex)
{
    return thread_call(hndl, err, [&] {
        call_mutex &lock = required<thread_mutex>(mutex).lock;
        if (!lock.is_own())
            fail(ora_misused, "the thread has not acquired the mutex that it releases");
        lock.unlock();
    });
}

SQLITE_OCI_EXPORT sword OCIThreadKeyInit(void *hndl, OCIError *err, OCIThreadKey **key,
                                         OCIThreadKeyDestFunc destFn)
{
    return make<thread_key>(hndl, err, key, destFn);
}

SQLITE_OCI_EXPORT sword OCIThreadKeyDestroy(void *hndl, OCIError *err, OCIThreadKey **key)
{
    return destroy<thread_key>(hndl, err, key);
}

SQLITE_OCI_EXPORT sword OCIThreadKeyGet(void *hndl, OCIError *err, OCIThreadKey *key, void **pValue)
{
    return thread_call(hndl, err, [&] {
        if (!pValue)
            fail(ora_null_argument, "there is no place for the value");
        *pValue = pthread_getspecific(required<thread_key>(key).key);
    });
}

SQLITE_OCI_EXPORT sword OCIThreadKeySet(void *hndl, OCIError *err, OCIThreadKey *key, void *value)
{
    return thread_call(hndl, err, [&] {
        if (pthread_setspecific(required<thread_key>(key).key, value) != 0)
            fail(ora_no_resources, "there is no memory for a value of the thread");
    });
}

SQLITE_OCI_EXPORT sword OCIThreadIdInit(void *hndl, OCIError *err, OCIThreadId **tid)
{
    return make<thread_id>(hndl, err, tid);
}

SQLITE_OCI_EXPORT sword OCIThreadIdDestroy(void *hndl, OCIError *err, OCIThreadId **tid)
{
    return destroy<thread_id>(hndl, err, tid);
}

SQLITE_OCI_EXPORT sword OCIThreadIdSet(void *hndl, OCIError *err, OCIThreadId *tidDest, OCIThreadId *tidSrc)
{
    return thread_call(hndl, err, [&] {
        auto &target = required<thread_id>(tidDest);
        const auto &source = required<thread_id>(tidSrc);
        target.thread = source.thread;
        target.is_set = source.is_set;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadIdSetNull(void *hndl, OCIError *err, OCIThreadId *tid)
{
    return thread_call(hndl, err, [&] { required<thread_id>(tid).is_set = false; });
}

SQLITE_OCI_EXPORT sword OCIThreadIdGet(void *hndl, OCIError *err, OCIThreadId *tid)
{
    return thread_call(hndl, err, [&] {
        auto &target = required<thread_id>(tid);
        target.thread = pthread_self();
        target.is_set = true;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadIdSame(void *hndl, OCIError *err, OCIThreadId *tid1, OCIThreadId *tid2,
                                        int *result)
{
    return thread_call(hndl, err, [&] {
        const auto &first = required<thread_id>(tid1);
        const auto &second = required<thread_id>(tid2);
        if (!result)
            fail(ora_null_argument, "there is no place for the result");
        *result = first == second;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadIdNull(void *hndl, OCIError *err, OCIThreadId *tid, int *result)
{
    return thread_call(hndl, err, [&] {
        const auto &target = required<thread_id>(tid);
        if (!result)
            fail(ora_null_argument, "there is no place for the result");
        *result = !target.is_set;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadHndInit(void *hndl, OCIError *err, OCIThreadHandle **thnd)
{
    return make<thread_handle>(hndl, err, thnd);
}

SQLITE_OCI_EXPORT sword OCIThreadHndDestroy(void *hndl, OCIError *err, OCIThreadHandle **thnd)
{
    return destroy<thread_handle>(hndl, err, thnd);
}

SQLITE_OCI_EXPORT sword OCIThreadCreate(void *hndl, OCIError *err, void (*start)(void *), void *arg,
                                        OCIThreadId *tid, OCIThreadHandle *tHnd)
{
    return thread_call(hndl, err, [&] {
        thread_id *const id = tid ? &required<thread_id>(tid) : nullptr;
        thread_handle *const kept = tHnd ? &required<thread_handle>(tHnd) : nullptr;
        if (!start)
            fail(ora_null_argument, "there is no function for the thread");
        auto given = std::make_unique<start_arguments>(start_arguments{start, arg});
        pthread_t made{};
        if (pthread_create(&made, nullptr, run, given.get()) != 0)
            fail(ora_no_resources, "the system starts no more threads");
        (void)given.release(); // the thread's own now
        if (id) {
            id->thread = made;
            id->is_set = true;
        }
        if (!kept) {
            pthread_detach(made);
            return;
        }
        kept->close();
        kept->thread = made;
        kept->is_joinable = true;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadJoin(void *hndl, OCIError *err, OCIThreadHandle *tHnd)
{
    return thread_call(hndl, err, [&] {
        auto &target = required<thread_handle>(tHnd);
        if (!target.is_joinable || pthread_join(target.thread, nullptr) != 0)
            fail(ora_misused, "the handle has no thread that this one can wait for");
        target.is_joinable = false;
    });
}

SQLITE_OCI_EXPORT sword OCIThreadClose(void *hndl, OCIError *err, OCIThreadHandle *tHnd)
{
    return thread_call(hndl, err, [&] { required<thread_handle>(tHnd).close(); });
}

SQLITE_OCI_EXPORT sword OCIThreadHandleGet(void *hndl, OCIError *err, OCIThreadHandle *tHnd)
{
    return thread_call(hndl, err, [&] {
        auto &target = required<thread_handle>(tHnd);
        target.close();
        target.thread = pthread_self();
    });
}

} // extern "C"
