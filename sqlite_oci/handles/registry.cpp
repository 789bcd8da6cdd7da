#include "handles/registry.h"

#include <atomic>
#include <mutex>
#include <new>

#include <sys/mman.h>

namespace sqlite_oci
{
namespace
{

struct slot {
    std::byte for_the_caller[8]; // an application may mark a handle with eight bytes of its own
    std::atomic<object *> target;
    std::atomic<ub4> kind;
    std::atomic<std::uint32_t> generation;
    slot *next_free;
};

constexpr std::size_t range_wanted = std::size_t{1} << 30;
constexpr std::size_t range_least = std::size_t{1} << 20;
constexpr std::size_t growth = std::size_t{256} << 10;

// So many freed handles wait before the oldest of them is given out again: a program that goes on using a
// freed handle is told so instead of reaching a stranger's object.
constexpr std::size_t quarantine = 4096;

class slot_range
{
public:
    slot *find(const void *handle) const
    {
        const auto offset = reinterpret_cast<std::uintptr_t>(handle) - base_.load(std::memory_order_acquire);
        if (offset >= used_.load(std::memory_order_acquire) || offset % sizeof(slot) != 0)
            return nullptr;
        return static_cast<slot *>(const_cast<void *>(handle));
    }

    slot *take()
    {
        const std::scoped_lock lock(mutex_);
        if (free_count_ <= quarantine)
            return extend();
        slot *oldest = free_first_;
        free_first_ = oldest->next_free;
        --free_count_;
        return oldest;
    }

    void give_back(slot *freed)
    {
        const std::scoped_lock lock(mutex_);
        freed->next_free = nullptr;
        if (free_count_++ == 0)
            free_first_ = freed;
        else
            free_last_->next_free = freed;
        free_last_ = freed;
    }

private:
    slot *extend()
    {
        if (size_ == 0)
            reserve();
        const std::size_t used = used_.load(std::memory_order_relaxed);
        const std::uintptr_t base = base_.load(std::memory_order_relaxed);
        if (used + sizeof(slot) > accessible_)
            open_more(base);
        auto *fresh = new (reinterpret_cast<void *>(base + used)) slot{};
        used_.store(used + sizeof(slot), std::memory_order_release);
        return fresh;
    }

    // Address space only; a limit on it may allow less than we would like.
    void reserve()
    {
        for (std::size_t size = range_wanted; size >= range_least; size /= 2) {
            void *start = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
            if (start != MAP_FAILED) {
                size_ = size;
                base_.store(reinterpret_cast<std::uintptr_t>(start), std::memory_order_release);
                return;
            }
        }
        throw std::bad_alloc();
    }

    void open_more(std::uintptr_t base)
    {
        if (accessible_ + growth > size_ ||
            mprotect(reinterpret_cast<void *>(base + accessible_), growth, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
        accessible_ += growth;
    }

    std::atomic<std::uintptr_t> base_{0};
    std::atomic<std::size_t> used_{0};
    std::size_t size_ = 0;
    std::size_t accessible_ = 0;
    std::mutex mutex_;
    slot *free_first_ = nullptr;
    slot *free_last_ = nullptr;
    std::size_t free_count_ = 0;
};

constinit slot_range slots;

} // namespace

object::~object()
{
    end_handle(*this); // of one that is not owned
    if (slot *own = slots.find(handle))
        slots.give_back(own);
}

void end_handle(const object &target) noexcept
{
    if (slot *own = slots.find(target.handle))
        own->target.store(nullptr, std::memory_order_release);
}

void *make_handle(object &target, ub4 kind)
{
    slot *own = slots.take();
    own->kind = kind;
    ++own->generation;
    own->target.store(&target, std::memory_order_release);
    target.kind = kind;
    return target.handle = own;
}

object *find_object(const void *handle, ub4 kind)
{
    const slot *own = slots.find(handle);
    if (!own)
        return nullptr;
    object *target = own->target.load(std::memory_order_acquire);
    return target && own->kind == kind ? target : nullptr;
}

object *find_any_object(const void *handle)
{
    const slot *own = slots.find(handle);
    return own ? own->target.load(std::memory_order_acquire) : nullptr;
}

std::uint32_t handle_generation(const void *handle)
{
    const slot *own = slots.find(handle);
    return own ? own->generation.load() : 0;
}

} // namespace sqlite_oci
