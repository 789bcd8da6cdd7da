// Held by every call on a connection, since service contexts of several threads may share a session.
#pragma once

#include "handles/call.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace sqlite_oci
{

class call_mutex
{
public:
    // Throws ORA-03127 in a callback of the very call that holds it.
    void lock()
    {
        if (is_own())
            fail(3127,
                 "a call on this session is in progress, and this is its callback: no other call can be "
                 "made on it until that one ends");
        mutex_.lock();
        owner_ = std::this_thread::get_id();
    }

    void unlock()
    {
        owner_ = std::thread::id();
        mutex_.unlock();
    }

    // Whether this thread holds it.
    bool is_own() const { return owner_ == std::this_thread::get_id(); }

private:
    std::mutex mutex_;
    std::atomic<std::thread::id> owner_{};
};

// For what has to be cleared away, also within a call that holds the mutex already.
class cleaning_lock
{
public:
    explicit cleaning_lock(call_mutex &mutex) : mutex_(mutex.is_own() ? nullptr : &mutex)
    {
        if (mutex_)
            mutex_->lock();
    }
    ~cleaning_lock()
    {
        if (mutex_)
            mutex_->unlock();
    }
    cleaning_lock(const cleaning_lock &) = delete;
    cleaning_lock &operator=(const cleaning_lock &) = delete;

private:
    call_mutex *mutex_;
};

} // namespace sqlite_oci
