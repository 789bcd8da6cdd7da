#include "handle.h"

#include <stdlib.h>
#include <sys/mman.h>

#include "extras.h"

omx_region omx_handles;

namespace
{

/*
 * Address space for handles: what is not in use costs nothing, not even a promise of memory, as long as it
 * can only be read. Less is asked for where that is refused.
 */
constexpr size_t largest_reservation = (size_t)1 << 32;
constexpr size_t smallest_reservation = (size_t)1 << 24;
/* Places are made writable in steps of this many. */
constexpr size_t step = 4096;

size_t writable; // places
size_t used;     // places that were handed out at least once

/* Freed places: the low half is the number of the last one freed, from 1, the high half counts the changes.
 */
uint64_t free_head;

omx_handle *place(size_t index)
{
    return (omx_handle *)(void *)omx_handles.base + index;
}

/* The last place that was freed; 0 if there is none. */
omx_handle *take_freed(void)
{
    uint64_t head = __atomic_load_n(&free_head, __ATOMIC_ACQUIRE);
    for (;;) {
        const ub4 number = (ub4)head;
        if (number == 0)
            return nullptr;
        omx_handle *h = place(number - 1);
        const uint64_t next = __atomic_load_n(&h->free_next, __ATOMIC_RELAXED);
        const uint64_t after = ((head >> 32) + 1) << 32 | (ub4)next;
        if (__atomic_compare_exchange_n(&free_head, &head, after, true, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
            return h;
    }
}

void give_back(omx_handle *h)
{
    const uint64_t number = (uint64_t)(h - place(0)) + 1;
    uint64_t head = __atomic_load_n(&free_head, __ATOMIC_RELAXED);
    uint64_t after = 0;
    do {
        __atomic_store_n(&h->free_next, (uint64_t)(ub4)head, __ATOMIC_RELAXED);
        after = ((head >> 32) + 1) << 32 | number;
    } while (
        !__atomic_compare_exchange_n(&free_head, &head, after, true, __ATOMIC_RELEASE, __ATOMIC_RELAXED));
}

/* Makes the region writable up to a place. Threads that do so at once do the same thing. */
bool make_writable(size_t index)
{
    size_t count = __atomic_load_n(&writable, __ATOMIC_ACQUIRE);
    if (index < count)
        return true;
    const size_t wanted = (index / step + 1) * step;
    const size_t size = (wanted - count) * sizeof(omx_handle);
    if (mprotect(omx_handles.base + count * sizeof(omx_handle), size, PROT_READ | PROT_WRITE) != 0)
        return false;
    while (count < wanted &&
           !__atomic_compare_exchange_n(&writable, &count, wanted, true, __ATOMIC_RELEASE, __ATOMIC_RELAXED))
        ;
    return true;
}

omx_handle *take_new(void)
{
    size_t index = __atomic_load_n(&used, __ATOMIC_RELAXED);
    do {
        if (index >= omx_handles.count || !make_writable(index))
            return nullptr;
    } while (
        !__atomic_compare_exchange_n(&used, &index, index + 1, true, __ATOMIC_RELAXED, __ATOMIC_RELAXED));
    return place(index);
}

} // namespace

bool omx_reserve_handles(void)
{
    for (size_t size = largest_reservation; size >= smallest_reservation; size /= 2) {
        void *memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            continue;
        omx_handles.base = (char *)memory;
        omx_handles.count = size / sizeof(omx_handle);
        return true;
    }
    return false;
}

omx_handle *omx_new(ub4 type, omx_handle *env)
{
    omx_handle *h = take_freed();
    if (!h)
        h = take_new();
    if (!h)
        return nullptr;
    h->type = type < 255 ? (ub1)type : (ub1)255;
    h->run = omx_oracle;
    h->targets = omx_none;
    h->current = omx_none;
    omx_set_own(h, omx_oracle, nullptr);
    omx_set_own(h, omx_dravik, nullptr);
    __atomic_store_n(&h->env, env ? env : h, __ATOMIC_RELAXED);
    omx_set_owner(h, nullptr);
    h->children = nullptr;
    h->next = nullptr;
    h->extra = nullptr;
    return h;
}

void omx_publish(omx_handle *h)
{
    omx_unbind(h);
    omx_restore(h);
}

bool omx_claim(omx_handle *h)
{
    return (__atomic_exchange_n(&h->tag, 0U, __ATOMIC_ACQ_REL) & omx_mark_bits) == omx_mark;
}

void omx_restore(omx_handle *h)
{
    __atomic_store_n(&h->tag, omx_mark | omx_family(h->type), __ATOMIC_RELEASE);
}

void omx_release(omx_handle *h)
{
    __atomic_store_n(&h->tag, 0U, __ATOMIC_RELAXED);
    omx_release_children(h);
    release_extra(h);
    give_back(h);
}

void omx_remove_child(omx_handle *child)
{
    if (!child->owner)
        return;
    for (omx_handle **link = &child->owner->children; *link; link = &(*link)->next) {
        if (*link == child) {
            *link = child->next;
            return;
        }
    }
}

void omx_release_children(omx_handle *owner)
{
    omx_handle *next = nullptr;
    for (omx_handle *child = owner->children; child; child = next) {
        next = child->next;
        omx_release(child);
    }
    owner->children = nullptr;
}

void omx_each(ub1 family, const omx_handle *env, void (*visit)(omx_handle *h, void *context), void *context)
{
    const size_t end = __atomic_load_n(&used, __ATOMIC_ACQUIRE);
    for (size_t i = 0; i < end; i++) {
        omx_handle *h = place(i);
        const ub4 tag = __atomic_load_n(&h->tag, __ATOMIC_ACQUIRE);
        if ((family ? tag == (omx_mark | family) : (tag & omx_mark_bits) == omx_mark) &&
            (!env || __atomic_load_n(&h->env, __ATOMIC_RELAXED) == env))
            visit(h, context);
    }
}

void omx_release_environment(omx_handle *env)
{
    // Those with an owner go with it; what is left over belongs to the environment alone.
    omx_each(
        0, env,
        [](omx_handle *h, void *context) {
            if (h != context && !omx_owner(h))
                omx_release(h);
        },
        env);
    omx_each(
        0, env,
        [](omx_handle *h, void *context) {
            if (h != context)
                omx_release(h);
        },
        env);
    omx_release(env);
}

omx_handle *omx_find_wrapped(ub1 family, const omx_handle *env, unsigned int backend, const void *hndlp)
{
    struct search {
        unsigned int backend;
        const void *hndlp;
        omx_handle *found;
    } wanted = {backend, hndlp, nullptr};
    omx_each(
        family, env,
        [](omx_handle *h, void *context) {
            search *s = (search *)context;
            if (__atomic_load_n(&h->backend[s->backend], __ATOMIC_RELAXED) == s->hndlp)
                s->found = h;
        },
        &wanted);
    return wanted.found;
}
