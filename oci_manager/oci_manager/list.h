/*
 * Intrusive circular doubly linked list. A head is a link that points at itself while the list is empty;
 * entries carry a link of their own, and list_owner() leads from it back to them.
 */
#ifndef OM_LIST_H
#define OM_LIST_H

#include <stddef.h>

typedef struct list_link_s {
    struct list_link_s *next;
    struct list_link_s *prev;
} list_link_t;

typedef list_link_t list_t;

static inline void list_init(list_t *head)
{
    head->next = head;
    head->prev = head;
}

/* Keeps the compiler from moving stores past here: a signal handler may read what they write. */
static inline void signal_fence(void)
{
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
}

/* Adds an entry at the end of the list. A signal handler that walks forward sees it wholly or not at all. */
static inline void list_append(list_t *head, list_link_t *entry)
{
    entry->next = head;
    entry->prev = head->prev;
    signal_fence();
    head->prev->next = entry;
    head->prev = entry;
}

/* Joins the neighbours of an entry; the entry's own pointers stay as they are. */
static inline void list_remove(list_link_t *entry)
{
    entry->prev->next = entry->next;
    entry->next->prev = entry->prev;
}

/* The structure of type `type` whose member `member` is the given link. */
#define list_owner(linkp, type, member) ((type *)(void *)((char *)(linkp)-offsetof(type, member)))

#endif
