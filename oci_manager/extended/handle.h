/*
 * The manager's own handles: what a program holds in place of a backend's handle or descriptor.
 *
 * All of them lie in one region of memory that is used for nothing else and never given back. So whatever a
 * program passes as a handle can be looked at safely: an address outside the region, or one between two
 * handles, is none, and inside the region the mark tells a live handle of the right kind from a freed one.
 * There is no table and no lock; a handle is good in every thread.
 */
#ifndef OMX_HANDLE_H
#define OMX_HANDLE_H

#include <stddef.h>
#include <stdint.h>

#include <oci.h>

/* The path of a call is short only if it is in one piece. */
#define OMX_INLINE __attribute__((always_inline)) static inline

/* Backends by number: index into a handle's backend handles and into the table of calls. */
enum omx_backend : ub1 { omx_oracle = 0, omx_dravik = 1, omx_backend_count = 2 };

/* Sets of backends. */
constexpr ub1 omx_bit(unsigned int backend)
{
    return (ub1)(1U << backend);
}
constexpr ub1 omx_none = 0;
constexpr ub1 omx_both = omx_bit(omx_oracle) | omx_bit(omx_dravik);

/* The backend of a set that is asked where one answers for all: Oracle, if it is among them. */
static inline ub1 omx_first(ub1 backends)
{
    return backends & omx_bit(omx_oracle) ? omx_oracle : omx_dravik;
}

/* Who has the records of an error handle's last error. */
enum omx_report : ub1 { omx_report_none, omx_report_oracle, omx_report_dravik, omx_report_manager };

/* One handle or descriptor: a cache line. */
struct omx_handle {
    ub4 tag;     /* mark and family of a live handle, 0 of a free one */
    ub1 type;    /* OCI handle or descriptor type */
    ub1 run;     /* the backend that executes calls on it, where one does */
    ub1 targets; /* all backends that execute calls on it */
    union {
        ub1 current;  /* descriptor: backends in which it holds the value; statement: where it is prepared */
        ub1 reported; /* error handle and environment: who has the records, an omx_report */
    };
    void *backend[omx_backend_count]; /* the backends' handles; null where a backend has none */
    omx_handle *env;                  /* its environment; an environment's own is itself */
    omx_handle *owner;                /* what it belongs to: a bind's statement, a service context's server */
    omx_handle *children;             /* the first of those that go when it goes */
    union {
        omx_handle *next; /* the next child of the same owner */
        uint64_t free_next;
    };
    void *extra; /* what only its kind has, see the file of its calls; freed by release_extra() */
};
static_assert(sizeof(omx_handle) == 64);

struct omx_region {
    char *base;   /* the first handle */
    size_t count; /* places for handles: all can be read, those never used are zero */
};
extern omx_region omx_handles __attribute__((visibility("hidden")));

constexpr ub4 omx_mark = 0x6d4b0a00;
constexpr ub4 omx_mark_bits = 0xffffff00;

/* Types that share one C type are one family. */
constexpr ub1 omx_family(ub4 type)
{
    switch (type) {
    case OCI_DTYPE_FILE:
    case OCI_DTYPE_LOCATOR:
        return OCI_DTYPE_LOB;
    case OCI_DTYPE_INTERVAL_DS:
        return OCI_DTYPE_INTERVAL_YM;
    case OCI_DTYPE_TIME:
    case OCI_DTYPE_TIME_TZ:
    case OCI_DTYPE_TIMESTAMP:
    case OCI_DTYPE_TIMESTAMP_TZ:
    case OCI_DTYPE_TIMESTAMP_LTZ:
        return OCI_DTYPE_DATE;
    default:
        return type < 255 ? (ub1)type : (ub1)255;
    }
}

static inline bool omx_is_descriptor_type(ub4 type)
{
    return type >= OCI_DTYPE_FIRST;
}

/*
 * Whether a pointer is the address of a place for a handle. Turning the low bits to the top makes one
 * comparison of alignment and bounds; null is far beyond them.
 */
OMX_INLINE bool omx_is_place(const void *pointer)
{
    const size_t offset = (size_t)pointer - (size_t)omx_handles.base;
    return __builtin_expect((offset >> 6 | offset << 58) < omx_handles.count, 1);
}

/* The live handle of a family that a pointer is; null if it is none. */
OMX_INLINE omx_handle *omx_find(const void *pointer, ub1 family)
{
    if (!omx_is_place(pointer))
        return nullptr;
    omx_handle *h = (omx_handle *)pointer;
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): null is no place
    if (__builtin_expect(h->tag != (omx_mark | family), 0))
        return nullptr;
    return h;
}

/* The live handle that a pointer is, of whatever kind. */
OMX_INLINE omx_handle *omx_find_any(const void *pointer)
{
    if (!omx_is_place(pointer))
        return nullptr;
    omx_handle *h = (omx_handle *)pointer;
    if (__builtin_expect((h->tag & omx_mark_bits) != omx_mark, 0))
        return nullptr;
    return h;
}

/* The same where the program says the type; null too if the handle is of another family. */
OMX_INLINE omx_handle *omx_find_typed(const void *pointer, ub4 type)
{
    omx_handle *h = omx_find_any(pointer);
    if (!h || __builtin_expect(h->type != type && (ub1)h->tag != omx_family(type), 0))
        return nullptr;
    return h;
}

/** Reserves the region. Called once, before the first handle; false if there is no address space left. */
bool omx_reserve_handles(void);

/**
 * A new handle, not yet visible to any check: omx_publish() makes it so once its fields are filled.
 *
 * @param env  its environment; null for an environment
 * @return the handle, all other fields 0, or null when memory is out
 */
omx_handle *omx_new(ub4 type, omx_handle *env);

/* Says which backends hold the new handle, which is what its calls go to, and makes it known. */
void omx_publish(omx_handle *h);

/* Takes the mark off a live handle: it is unknown from here on. Of threads that do so at once, one succeeds.
 */
bool omx_claim(omx_handle *h);

/* Puts the mark back. */
void omx_restore(omx_handle *h);

/*
 * Gives the place of a handle back, and its children's. It is claimed or was never published. The backends'
 * handles are the caller's business.
 */
void omx_release(omx_handle *h);

/*
 * The owner, where other threads look through all handles: what they see of one that is not theirs may change
 * under their eyes, and is compared only.
 */
static inline omx_handle *omx_owner(const omx_handle *h)
{
    return __atomic_load_n(&h->owner, __ATOMIC_RELAXED);
}

static inline void omx_set_owner(omx_handle *h, omx_handle *owner)
{
    __atomic_store_n(&h->owner, owner, __ATOMIC_RELAXED);
}

/* Notes a backend's handle, or that there is none. */
static inline void omx_set_own(omx_handle *h, unsigned int backend, void *own)
{
    __atomic_store_n(&h->backend[backend], own, __ATOMIC_RELAXED);
}

/* Hangs a handle under the one it goes with. Calls on one owner are one thread's at a time. */
static inline void omx_add_child(omx_handle *owner, omx_handle *child)
{
    omx_set_owner(child, owner);
    child->next = owner->children;
    owner->children = child;
}

/* Takes a child off its owner's list. */
void omx_remove_child(omx_handle *child);

/* Releases all children of a handle. */
void omx_release_children(omx_handle *owner);

/* Releases every handle of an environment, in a walk over the region. */
void omx_release_environment(omx_handle *env);

/* Calls a function with each live handle of a family and environment; null: of any environment. */
void omx_each(ub1 family, const omx_handle *env, void (*visit)(omx_handle *h, void *context), void *context);

/*
 * The handle that wraps a backend's handle, or null. A walk over the region: for what comes back from a
 * backend and is not to be found by its relations.
 */
omx_handle *omx_find_wrapped(ub1 family, const omx_handle *env, unsigned int backend, const void *hndlp);

/* Binds a handle to one backend: it executes all further calls on it. */
static inline void omx_follow(omx_handle *h, ub1 backend)
{
    h->run = backend;
    h->targets = omx_bit(backend);
}

/* Lets all backends that hold a handle execute calls on it again. */
static inline void omx_unbind(omx_handle *h)
{
    h->targets = (ub1)((h->backend[omx_oracle] ? omx_bit(omx_oracle) : omx_none) |
                       (h->backend[omx_dravik] ? omx_bit(omx_dravik) : omx_none));
    h->run = omx_first(h->targets);
}

#endif
