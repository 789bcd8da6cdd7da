/*
 * Handle wrappers and the per-thread table that holds them.
 *
 * A program only ever holds Oracle's handles. For each one there is a wrapper that pairs it with its twin in
 * the Dravik library and says how calls on it are routed. A wrapper is known to the thread that made it.
 *
 * The table is one list in insertion order: dumps print it in that order, and of two wrappers with the same
 * key the older one is found. Beside the list stands a hash index, which finds a wrapper in constant time;
 * set_wrapper_key() keeps it true when a key changes.
 */
#ifndef OM_REGISTRY_H
#define OM_REGISTRY_H

#include <oci.h>

#include "list.h"
#include "trace.h"

/* Entry types: whether a wrapper stands for a handle or for a descriptor. */
#define OM_ENTRY_HANDLE 1
#define OM_ENTRY_DESCRIPTOR 2

/* Wrapper states. A statement drops its children that are not in OM_STATE_ALLOCATED. */
#define OM_STATE_PREPARED 1  /* statement, prepared */
#define OM_STATE_EXECUTED 2  /* statement, executed successfully */
#define OM_STATE_BY_CALL 3   /* made along with a bind, a define, a parameter or an attribute value */
#define OM_STATE_ALLOCATED 4 /* made by an allocation */

typedef struct child_hdl_grp_s {
    void *first;
    void *second;
    void *third;
} child_hdl_grp_t;

/** A handle or descriptor of the program. */
typedef struct om_handle_s {
    void *ora_hndlp; /**< Oracle's handle, the pointer that the program holds; the key of the table */
    void *dk_hndlp;  /**< its twin in the Dravik library, or null */
    ub4 state;       /**< one of the states above */
    ub4 type;        /**< OCI handle type (1 to 29) or descriptor type (50 to 79) */
    ub4 last_err;    /**< error handles: backend code of the backend that reported last, 0 if none did */
    ub4 last_exec;   /**< backend codes of the backends that execute calls on this handle, or-ed */
    void *parenthp;  /**< wrapper of the handle that this one belongs to, where it is recorded */
    union {
        void *child;
        child_hdl_grp_t child_grp; /**< service context: wrappers of its server, session, transaction */
    } childhp;
    list_link_t link;     /**< node in the table's list */
    list_t sub_link;      /**< statements: list of children; binds and defines: node in their statement's */
    ub4 sub_link_count;   /**< number of children ever hung under a statement since it was made */
    list_t param_link;    /**< reserved, always empty */
    ub4 param_link_count; /**< reserved, always 0 */
    ub4 ref_count;        /**< reserved, always 0 */

    /* Private to the registry. */
    struct om_handle_s *index_next; /* oldest of its key: the next one in the same slot of the index */
    list_link_t same_key;           /* ring of the wrappers with this key, from the oldest on */
    oraub8 order;                   /* grows from wrapper to wrapper of a table; 0 outside a table */
    bool is_child;                  /* sub_link is a node of another wrapper's list */
    bool is_released;               /* freed by the program while still a child */
} om_handle_t;

#define OM_FIRST_INDEX_SLOTS 64

/** The table of one thread. */
typedef struct hdl_hash_table_s {
    list_link_t hash_list[1]; /**< wrappers in insertion order */
    ub4 hash_count;           /**< number of wrappers in the list */

    /* Private to the registry. */
    ub4 slot_shift;            /* the index has 1 << (64 - slot_shift) slots */
    ub4 key_count;             /* different keys in the index */
    volatile bool is_changing; /* the index does not lead to all wrappers just now */
    oraub8 last_order;         /* order of the newest wrapper */
    om_handle_t **slots;       /* each a chain of the oldest wrappers of their keys; null keys are in none */
    om_handle_t *first_slots[OM_FIRST_INDEX_SLOTS];
} hdl_hash_table_t;

extern "C" {

/** The calling thread's table; null until its first call that creates an environment. */
extern OM_EXPORT __thread hdl_hash_table_t *hdl_list_tbl;

/** Loads both backends (once a process) and makes the calling thread's table (once a thread). */
OM_EXPORT void init_oci_manager(void);

/** Teardown hook for programs that call it; keeps everything. */
OM_EXPORT void deinit_oci_manager(void);

} // extern "C"

/* Where a handle is looked for: what the calling thread made. */
static inline hdl_hash_table_t *thread_table(void)
{
    return this_thread()->hdl_list_tbl;
}

/* Whether tables take this type: every handle type, and the descriptor types of the mask, counted from 50. */
static inline bool is_accepted_type(sword type, sword entry_type)
{
    constexpr ub4 descriptor_types = 0x387cb7ff;
    if (entry_type == OM_ENTRY_HANDLE)
        return type >= OCI_HTYPE_FIRST && type <= OCI_HTYPE_LAST;
    if (entry_type == OM_ENTRY_DESCRIPTOR)
        return type >= OCI_DTYPE_FIRST && type < OCI_DTYPE_FIRST + 30 &&
               (descriptor_types >> (type - OCI_DTYPE_FIRST) & 1);
    return false;
}

/* The number of a key's slot. Handles are aligned addresses: multiplying spreads them. */
static inline oraub8 slot_of(const void *key, ub4 slot_shift)
{
    return (oraub8)(size_t)key * 0x9e3779b97f4a7c15u >> slot_shift;
}

/* The chain of the index in which a key is. */
static inline om_handle_t **index_slot(const hdl_hash_table_t *tblp, const void *key)
{
    return &tblp->slots[slot_of(key, tblp->slot_shift)];
}

/* The oldest wrapper with a key, found in the list: for a signal handler that interrupts a change of the
 * index. */
om_handle_t *list_find(const hdl_hash_table_t *tblp, const void *key);

/* What get_hash_table_entry() finds under a key that is not null, without its checks and records. */
static inline om_handle_t *index_find(const hdl_hash_table_t *tblp, const void *key)
{
    om_handle_t *entry = *index_slot(tblp, key);
    // Chains are hardly ever longer than one, and programs pass handles that exist.
    while (__builtin_expect(entry != nullptr, 1) && __builtin_expect(entry->ora_hndlp != key, 0))
        entry = entry->index_next;
    return __builtin_expect(!entry && tblp->is_changing, 0) ? list_find(tblp, key) : entry;
}

/** Makes an empty table. */
void init_list_table(hdl_hash_table_t *tblp);

/** Stops the process unless `type` is a type that tables accept for this entry type. */
void check_hash_table_type(sword type, sword entry_type);

/**
 * Finds the wrapper of a handle.
 *
 * @param key         the handle; null finds nothing
 * @param type        checked to be in the range of the entry type, not compared with the wrapper's own
 * @param is_remove   not 0: also takes the wrapper out of the table (it is not freed)
 * @return the oldest wrapper with this key, or null
 *
 * Stops the process when the thread has no table or the type is not one that tables accept.
 */
om_handle_t *get_hash_table_entry(hdl_hash_table_t *tblp, void *key, sword type, ub1 is_remove,
                                  sword entry_type);

/** Adds a wrapper under its ora_hndlp, which may be null and may already be in the table. */
void put_hash_table_entry(hdl_hash_table_t *tblp, om_handle_t *entry, sword type, sword entry_type);

/** Writes the calling thread's table to the trace. */
void print_hash_table_entry(void);

/** A new wrapper outside any table, in the given state, or null when memory is out. */
om_handle_t *new_wrapper(ub4 type, ub4 state);

/** Sets the Oracle handle of a wrapper, in or outside the calling thread's table; its place is kept. */
void set_wrapper_key(om_handle_t *whndlp, void *ora_hndlp);

/** Frees a wrapper that is in no table. One that is still a child stays readable until its owner drops it. */
void free_wrapper(om_handle_t *whndlp);

/** Hangs a bind's or define's wrapper under its statement's. */
void add_child(om_handle_t *owner, om_handle_t *child);

/**
 * Drops the children of a statement: takes them out of the table and frees them, writing a record with the
 * caller's file and line for each. Children in OM_STATE_ALLOCATED stay. The owner's sub_link_count stays.
 */
void delete_children(om_handle_t *owner, const char *file, int line);

/** Takes a wrapper off the list that its sub_link is on; no effect on one that is on none. */
void leave_owner(om_handle_t *whndlp);

#endif
