/*
 * Values in descriptors: dates, intervals, locators. A descriptor exists in every backend of its environment,
 * and `current` says in which of them it holds its value.
 */
#ifndef OMX_VALUES_H
#define OMX_VALUES_H

#include "extras.h"
#include "handle.h"

/* What a call on values works with. */
struct omx_value_use {
    omx_handle *hosted_by; /* the environment or session */
    ub1 known;             /* backends in which all values are current */
    bool reads;            /* whether there are values to read */
    omx_handle *made;      /* the descriptor that is filled; null if none is */
};

static inline void omx_read_value(omx_value_use *use, const omx_handle *h)
{
    if (!h)
        return;
    use->reads = true;
    use->known &= h->current ? h->current : h->targets;
}

/* Where a call on values runs: where all are current, else where the environment's calls run. */
static inline ub1 omx_backend_for(const omx_value_use *use)
{
    const ub1 home = use->hosted_by->run;
    // Texts of the call are encoded as the environment's are where the environment's calls run.
    if (!use->known || (use->known & omx_bit(home)) || omx_environment_of(use->hosted_by)->is_utf16)
        return home;
    return omx_first(use->known);
}

/*
 * Makes a date or an interval current in a backend, if it is not, by reading its fields where it is. What
 * cannot be moved, such as a LOB, stays as it is.
 */
void omx_move_value(omx_handle *h, unsigned int backend);

#endif
