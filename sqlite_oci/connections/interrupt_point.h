// Where a connection is told to break its call off.
//
// A break comes from another thread or from a signal handler, in the middle of any call, also of one that
// ends the very connection. So what it touches is never freed, and it neither locks nor allocates.
#pragma once

#include <atomic>

#include <sqlite3.h>

namespace sqlite_oci
{

class interrupt_point
{
public:
    // One for an open connection. Throws std::bad_alloc.
    static interrupt_point &take(sqlite3 *db);

    // Before the connection is closed; the point may then serve another one.
    void give_back();

    void interrupt() noexcept;

    // Interrupts all that belong to an attachment.
    static void interrupt_all(const void *attachment) noexcept;

    std::atomic<bool> is_requested{false};
    std::atomic<const void *> attachment{nullptr}; // the server handle's object; null once detached

private:
    std::atomic<sqlite3 *> db_{nullptr};
    std::atomic<int> users_{0}; // of db_, which is not closed meanwhile
    bool is_taken_ = false;
    interrupt_point *next_ = nullptr;
};

} // namespace sqlite_oci
