#include "registry.h"

#include <stdlib.h>
#include <string.h>

#include "backends.h"
#include "fatal.h"

namespace
{

/* The table has one bucket; traces name it. */
constexpr int bucket = 0;

size_t slot_count(ub4 slot_shift)
{
    return (size_t)1 << (64 - slot_shift);
}

constexpr ub4 first_slot_shift = 58;
static_assert(1u << (64 - first_slot_shift) == OM_FIRST_INDEX_SLOTS);

om_handle_t *same_key_owner(list_link_t *link)
{
    return list_owner(link, om_handle_t, same_key);
}

/* The link of a chain that leads to the wrapper with a key, or the null link at the chain's end. */
om_handle_t **index_place(const hdl_hash_table_t *tblp, const void *key)
{
    om_handle_t **place = index_slot(tblp, key);
    while (*place && (*place)->ora_hndlp != key)
        place = &(*place)->index_next;
    return place;
}

/* Changes a chain only when all that it leads to is in order: a signal handler may look meanwhile. */
void set_place(om_handle_t **place, om_handle_t *entry)
{
    signal_fence();
    *place = entry;
}

void index_insert(hdl_hash_table_t *tblp, om_handle_t *entry)
{
    if (!entry->ora_hndlp)
        return;
    om_handle_t **place = index_place(tblp, entry->ora_hndlp);
    om_handle_t *oldest = *place;
    if (!oldest) {
        entry->index_next = nullptr;
        set_place(place, entry);
        tblp->key_count++;
    } else if (entry->order < oldest->order) {
        list_append(&oldest->same_key, &entry->same_key);
        entry->index_next = oldest->index_next;
        set_place(place, entry);
    } else {
        // Behind the newest of the older ones, which nearly always is the newest of all.
        list_link_t *older = oldest->same_key.prev;
        while (same_key_owner(older)->order > entry->order)
            older = older->prev;
        list_append(older->next, &entry->same_key);
    }
}

void index_remove(hdl_hash_table_t *tblp, om_handle_t *entry)
{
    if (!entry->ora_hndlp)
        return;
    om_handle_t **place = index_place(tblp, entry->ora_hndlp);
    if (*place == entry) {
        om_handle_t *second = same_key_owner(entry->same_key.next);
        if (second != entry) {
            second->index_next = entry->index_next;
            set_place(place, second);
        } else {
            set_place(place, entry->index_next);
            tblp->key_count--;
        }
    }
    list_remove(&entry->same_key);
    list_init(&entry->same_key);
}

/*
 * Keeps chains short. Without memory for more slots they only grow longer. A signal handler that comes in
 * between finds chains that lead into others but always end, and looks on in the list.
 */
void index_grow(hdl_hash_table_t *tblp)
{
    const ub4 shift = tblp->slot_shift - 1;
    om_handle_t **slots = (om_handle_t **)calloc(slot_count(shift), sizeof *slots);
    if (!slots)
        return;
    om_handle_t **const old_slots = tblp->slots;
    const size_t old_count = slot_count(tblp->slot_shift);
    tblp->is_changing = true;
    for (size_t i = 0; i < old_count; i++) {
        om_handle_t *next = nullptr;
        for (om_handle_t *entry = old_slots[i]; entry; entry = next) {
            next = entry->index_next;
            om_handle_t **place = &slots[slot_of(entry->ora_hndlp, shift)];
            entry->index_next = *place;
            set_place(place, entry);
        }
    }
    // The larger array first: a slot number of the smaller one is a slot of either.
    tblp->slots = slots;
    signal_fence();
    tblp->slot_shift = shift;
    tblp->is_changing = false;
    if (old_slots != tblp->first_slots)
        free(old_slots);
}

void take_out_of_table(hdl_hash_table_t *tblp, om_handle_t *entry)
{
    list_remove(&entry->link);
    tblp->hash_count--;
    index_remove(tblp, entry);
    entry->order = 0;
}

} // namespace

extern "C" {

void init_oci_manager(void)
{
    func_table_init_once();
    om_thread_t *thread = this_thread();
    if (thread->hdl_list_tbl)
        return;
    hdl_hash_table_t *tblp = (hdl_hash_table_t *)calloc(1, sizeof *tblp);
    REQUIRE(tblp, "tblp != ((void *)0)");
    init_list_table(tblp);
    thread->hdl_list_tbl = tblp;
}

void deinit_oci_manager(void) {}

} // extern "C"

om_handle_t *list_find(const hdl_hash_table_t *tblp, const void *key)
{
    for (list_link_t *l = tblp->hash_list[0].next; l != &tblp->hash_list[0]; l = l->next)
        if (list_owner(l, om_handle_t, link)->ora_hndlp == key)
            return list_owner(l, om_handle_t, link);
    return nullptr;
}

void init_list_table(hdl_hash_table_t *tblp)
{
    list_init(&tblp->hash_list[0]);
    tblp->hash_count = 0;
    tblp->last_order = 0;
    tblp->key_count = 0;
    tblp->is_changing = false;
    tblp->slot_shift = first_slot_shift;
    tblp->slots = tblp->first_slots;
    memset(tblp->first_slots, 0, sizeof tblp->first_slots);
}

void check_hash_table_type(sword type, sword entry_type)
{
    if (is_accepted_type(type, entry_type))
        return;
    if (entry_type == OM_ENTRY_HANDLE)
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "There is no avaiable handle type : %d", type);
    else if (entry_type == OM_ENTRY_DESCRIPTOR)
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "There is no avaiable descriptor type : %d", type);
    else
        writeLog(OM_LOG_ASSERT, __FILE__, __LINE__, "There is no avaiable entry type : %d", entry_type);
    STOP_AT(__LINE__, "0");
}

om_handle_t *get_hash_table_entry(hdl_hash_table_t *tblp, void *key, sword type, ub1 is_remove,
                                  sword entry_type)
{
    TRACE(OM_LOG_DEBUG, "get_hash_table_entry:tblp[%p] key[%p] type[%d] is_remove[%d] entry_type[%d]", tblp,
          key, type, is_remove, entry_type);
    REQUIRE(tblp, "tblp != ((void *)0)");
    if (!key)
        return nullptr;
    check_hash_table_type(type, entry_type);

    om_handle_t *entry = index_find(tblp, key);
    if (entry && is_remove)
        take_out_of_table(tblp, entry);

    const char *verb = is_remove ? "del" : "get";
    if (entry)
        TRACE(OM_LOG_INFO, "%s_hash_table_entry: FOUND - entry_type=%d, hash_table[%d], key=%p", verb,
              entry_type, bucket, key);
    else
        TRACE(OM_LOG_ERROR, "%s_hash_table_entry: NOT FOUND - entry_type=%d, hash_table[%d], key=%p", verb,
              entry_type, bucket, key);
    print_hash_table_entry();
    return entry;
}

void put_hash_table_entry(hdl_hash_table_t *tblp, om_handle_t *entry, sword type, sword entry_type)
{
    REQUIRE(tblp, "tblp != ((void *)0)");
    check_hash_table_type(type, entry_type);

    list_append(&tblp->hash_list[0], &entry->link);
    tblp->hash_count++;
    entry->order = ++tblp->last_order;
    index_insert(tblp, entry);
    if (tblp->key_count >= slot_count(tblp->slot_shift))
        index_grow(tblp);

    TRACE(OM_LOG_INFO, "put_hash_table_entry: entry_type=%d, hash_table[%d], key=%p, type=%d", entry_type,
          bucket, entry->ora_hndlp, type);
    print_hash_table_entry();
}

void print_hash_table_entry(void)
{
    const hdl_hash_table_t *tblp = thread_table();
    TRACE(OM_LOG_DEBUG, "print_hash_table: hash count=%d", tblp->hash_count);
    if (!trace_enabled(OM_LOG_LIST))
        return;
    int row = 0;
    for (const list_link_t *l = tblp->hash_list[0].next; l != &tblp->hash_list[0]; l = l->next) {
        const om_handle_t *w = list_owner(l, om_handle_t, link);
        TRACE(OM_LOG_LIST,
              "print_hash_table[%04d][%04d] => key=%p, wrapper=%p, state=%d, type=%d, last_err=%d, "
              "last_exec=%d",
              bucket, ++row, w->ora_hndlp, w, w->state, w->type, w->last_err, w->last_exec);
    }
}

om_handle_t *new_wrapper(ub4 type, ub4 state)
{
    om_handle_t *w = (om_handle_t *)calloc(1, sizeof *w);
    if (!w)
        return nullptr;
    w->type = type;
    w->state = state;
    list_init(&w->sub_link);
    list_init(&w->param_link);
    list_init(&w->same_key);
    return w;
}

void set_wrapper_key(om_handle_t *whndlp, void *ora_hndlp)
{
    if (whndlp->ora_hndlp == ora_hndlp)
        return;
    if (!whndlp->order) {
        whndlp->ora_hndlp = ora_hndlp;
        return;
    }
    hdl_hash_table_t *tblp = thread_table();
    tblp->is_changing = true;
    index_remove(tblp, whndlp);
    whndlp->ora_hndlp = ora_hndlp;
    index_insert(tblp, whndlp);
    tblp->is_changing = false;
}

void free_wrapper(om_handle_t *whndlp)
{
    if (whndlp->is_child)
        whndlp->is_released = true;
    else
        free(whndlp);
}

void add_child(om_handle_t *owner, om_handle_t *child)
{
    owner->sub_link_count++;
    list_append(&owner->sub_link, &child->sub_link);
    child->is_child = true;
}

void leave_owner(om_handle_t *whndlp)
{
    list_remove(&whndlp->sub_link);
    list_init(&whndlp->sub_link);
    whndlp->is_child = false;
}

void delete_children(om_handle_t *owner, const char *file, int line)
{
    if (owner->is_child) // its link is a node of its own statement's list, not a head
        return;
    list_link_t *next = nullptr;
    for (list_link_t *l = owner->sub_link.next; l != &owner->sub_link; l = next) {
        next = l->next;
        om_handle_t *child = list_owner(l, om_handle_t, sub_link);
        if (child->is_released) {
            leave_owner(child);
            free(child);
            continue;
        }
        if (child->state == OM_STATE_ALLOCATED)
            continue;
        if (trace_enabled(OM_LOG_INFO))
            writeLog(OM_LOG_INFO, file, line,
                     "delete hash table entry => key=%p, wrapper=%p, state=%d type=%d", child->ora_hndlp,
                     child, child->state, child->type);
        take_out_of_table(thread_table(), child);
        leave_owner(child);
        child->sub_link_count = 0;
        free(child);
    }
}
