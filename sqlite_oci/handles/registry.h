// Handles: what an application holds, and how the library tells its own live handles from anything else.
//
// A handle is the address of a slot in a part of the address space that only this library uses. Slots are
// never unmapped, so whether a pointer is a live handle of a kind is answered without a lock and without
// touching memory that is not ours: the address must lie in the range, at the start of a slot, and the slot
// must be in use for that kind.
#pragma once

#include "oci.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace sqlite_oci
{

struct environment;

// Base of everything that a handle or descriptor stands for.
struct object {
    explicit object(environment *owner) : env(owner) {}
    object(const object &) = delete;
    object &operator=(const object &) = delete;
    virtual ~object();

    environment *env;
    void *handle = nullptr;
    ub4 kind = 0;                             // OCI_HTYPE_... or OCI_DTYPE_...
    std::unique_ptr<std::byte[]> user_memory; // what xtramem_sz asked for
    std::map<ub4, std::string> given_texts;   // by attribute: texts that the application has pointers to
};

// Gives `target` a handle of `kind`. Throws std::bad_alloc when the address range is used up.
void *make_handle(object &target, ub4 kind);

// From here on the handle is found no more. Must come before the destructor of the object, which other
// threads would else find while it is half gone.
void end_handle(const object &target) noexcept;

// Ends objects that have handles.
struct handle_ender {
    void operator()(object *target) const noexcept
    {
        end_handle(*target);
        delete target;
    }
};
template <class T> using owned = std::unique_ptr<T, handle_ender>;

// The object behind a live handle of `kind`, or null.
object *find_object(const void *handle, ub4 kind);

// The object behind a live handle of any kind, or null.
object *find_any_object(const void *handle);

// find_object with the kind and the type of T.
template <class T> T *find(const void *handle)
{
    return static_cast<T *>(find_object(handle, T::handle_kind));
}

// A handle kept by another object. It answers null once the handle was freed, also if its slot was given to
// another object since.
template <class T> class weak_handle
{
public:
    weak_handle() = default;
    explicit weak_handle(T *target);
    weak_handle(const weak_handle &other) { *this = other; }
    weak_handle &operator=(const weak_handle &other);
    T *get() const;

private:
    // Two words that a signal handler may find half changed: they then fit no handle.
    std::atomic<const void *> handle_{nullptr};
    std::atomic<std::uint32_t> generation_{0};
};

// How many handles had this address before; part of the identity of a weak_handle.
std::uint32_t handle_generation(const void *handle);

template <class T>
weak_handle<T>::weak_handle(T *target)
    : handle_(target ? target->handle : nullptr), generation_(target ? handle_generation(target->handle) : 0)
{
}

template <class T> weak_handle<T> &weak_handle<T>::operator=(const weak_handle &other)
{
    handle_.store(other.handle_.load());
    generation_.store(other.generation_.load());
    return *this;
}

template <class T> T *weak_handle<T>::get() const
{
    const void *const handle = handle_;
    T *target = find<T>(handle);
    return target && handle_generation(handle) == generation_ ? target : nullptr;
}

} // namespace sqlite_oci
