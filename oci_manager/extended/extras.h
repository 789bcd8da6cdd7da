/*
 * What handles of some kinds have beyond the common fields, in memory of its own.
 */
#ifndef OMX_EXTRAS_H
#define OMX_EXTRAS_H

#include <pthread.h>

#include "errors.h"
#include "handle.h"

/* Of an error handle, and the first part of an environment's: the manager's own records. */
struct omx_records {
    ub4 count;
    omx_error_record record[omx_error_records];
};

/* Of an environment. */
struct omx_environment {
    omx_records *records;            /* null while there are none */
    OCIEventCallback event_callback; /* the program's, and its context */
    void *event_context;
    ub4 mode;
    ub1 is_utf16;  /* texts of the program are UTF-16; Dravik's library is given UTF-8 */
    ub1 connected; /* backend of the last attach; what objects without a connection belong to */
};

/* Of a service context. Its server is its owner. */
struct omx_service {
    omx_handle *session;
    omx_handle *transaction;
    OCILobLocator **locators; /* the backend's, of an array transfer that goes on */
};

/* Of an open pool: the name that sessions ask for, in the backend's memory and the program's encoding. */
struct omx_pool {
    const OraText *name;
    ub4 length; /* bytes */
};

/* Held while a pool of any thread is looked for by its name, opened or closed. */
extern pthread_mutex_t omx_pools_lock __attribute__((visibility("hidden")));

/* A text attribute of a backend's in the program's encoding. */
struct omx_converted_text {
    omx_converted_text *next;
    ub4 attribute;
    ub4 length;  /* bytes */
    ub1 bytes[]; /* and a terminating zero */
};

/* Of handles of other kinds, made when needed. */
struct omx_attributes {
    omx_handle *handle;
    omx_converted_text *texts;
    OCIFocbkStruct failover;         /* server: the program's callback */
    OCIFocbkStruct backend_failover; /* what the backend is given in its place */
    OCISubscriptionNotify notify;    /* subscription: the program's callback, and its context */
    void *notify_context;
};

/* The attributes kept of a handle, which is none of the kinds above; null when memory is out. */
omx_attributes *omx_attributes_of(omx_handle *h);

static inline omx_environment *omx_environment_of(const omx_handle *h)
{
    return (omx_environment *)h->env->extra;
}

/* The backend that the environment of a handle was connected to last, in whatever thread. */
static inline ub1 omx_connected(const omx_handle *h)
{
    return __atomic_load_n(&omx_environment_of(h)->connected, __ATOMIC_RELAXED);
}

static inline void omx_note_connected(const omx_handle *h, ub1 backend)
{
    __atomic_store_n(&omx_environment_of(h)->connected, backend, __ATOMIC_RELAXED);
}

static inline omx_service *omx_service_of(omx_handle *svch)
{
    return (omx_service *)svch->extra;
}

/* Frees what a handle has beyond the common fields. */
void release_extra(omx_handle *h);

#endif
