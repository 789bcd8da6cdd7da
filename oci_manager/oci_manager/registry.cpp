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

void index_insert(hdl_hash_table_t *tblp, om_handle_t *entry)
{
    if (!entry->ora_hndlp)
        return;
    om_handle_t **place = index_slot(tblp, entry->ora_hndlp);
    while (*place && (*place)->order < entry->order)
        place = &(*place)->index_next;
    entry->index_next = *place;
    *place = entry;
}

void index_remove(hdl_hash_table_t *tblp, om_handle_t *entry)
{
    if (!entry->ora_hndlp)
        return;
    om_handle_t **place = index_slot(tblp, entry->ora_hndlp);
    while (*place && *place != entry)
        place = &(*place)->index_next;
    if (*place)
        *place = entry->index_next;
    entry->index_next = nullptr;
}

/* Keeps chains short. Without memory for more slots they only grow longer. */
void index_grow(hdl_hash_table_t *tblp)
{
    const ub4 shift = tblp->slot_shift - 1;
    om_handle_t **slots = (om_handle_t **)calloc(slot_count(shift), sizeof *slots);
    if (!slots)
        return;
    if (tblp->slots != tblp->first_slots)
        free(tblp->slots);
    tblp->slots = slots;
    tblp->slot_shift = shift;
    // From the newest to the oldest, so that each lands at the front of its chain.
    for (list_link_t *l = tblp->hash_list[0].prev; l != &tblp->hash_list[0]; l = l->prev)
        index_insert(tblp, list_owner(l, om_handle_t, link));
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

void init_list_table(hdl_hash_table_t *tblp)
{
    list_init(&tblp->hash_list[0]);
    tblp->hash_count = 0;
    tblp->last_order = 0;
    tblp->slot_shift = first_slot_shift;
    tblp->slots = tblp->first_slots;
    memset(tblp->first_slots, 0, sizeof tblp->first_slots);
}

void check_hash_table_type(sword type, sword entry_type)
{
    if (is_accepted_type(type, entry_type))
        return;
    if (entry_type == OM_ENTRY_HANDLE)
        TRACE(OM_LOG_ASSERT, "There is no avaiable handle type : %d", type);
    else if (entry_type == OM_ENTRY_DESCRIPTOR)
        TRACE(OM_LOG_ASSERT, "There is no avaiable descriptor type : %d", type);
    else
        TRACE(OM_LOG_ASSERT, "There is no avaiable entry type : %d", entry_type);
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
    if (tblp->hash_count >= slot_count(tblp->slot_shift))
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
    index_remove(thread_table(), whndlp);
    whndlp->ora_hndlp = ora_hndlp;
    index_insert(thread_table(), whndlp);
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
