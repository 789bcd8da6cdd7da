#include "connections/interrupt_point.h"

#include <mutex>
#include <thread>

namespace sqlite_oci
{
namespace
{

std::mutex points_mutex; // of what is taken; the list itself only grows
std::atomic<interrupt_point *> first_point{nullptr};

} // namespace

interrupt_point &interrupt_point::take(sqlite3 *db)
{
    const std::scoped_lock lock(points_mutex);
    interrupt_point *point = first_point;
    while (point && point->is_taken_)
        point = point->next_;
    if (!point) {
        point = new interrupt_point;
        point->next_ = first_point;
        first_point = point;
    }
    point->is_taken_ = true;
    point->is_requested = false;
    point->db_ = db;
    return *point;
}

void interrupt_point::give_back()
{
    attachment = nullptr;
    db_ = nullptr;
    while (users_ != 0)
        std::this_thread::yield();
    const std::scoped_lock lock(points_mutex);
    is_taken_ = false;
}

void interrupt_point::interrupt() noexcept
{
    is_requested = true;
    ++users_;
    if (sqlite3 *const db = db_)
        sqlite3_interrupt(db);
    --users_;
}

void interrupt_point::interrupt_all(const void *attachment) noexcept
{
    for (interrupt_point *point = first_point; point; point = point->next_)
        if (point->attachment == attachment)
            point->interrupt();
}

} // namespace sqlite_oci
