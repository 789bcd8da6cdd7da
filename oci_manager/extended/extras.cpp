#include "extras.h"

#include <stdlib.h>

#include "buffers.h"

pthread_mutex_t omx_pools_lock = PTHREAD_MUTEX_INITIALIZER;

void release_extra(omx_handle *h)
{
    if (!h->extra)
        return;
    switch (h->type) {
    case OCI_HTYPE_ENV:
        free(((omx_environment *)h->extra)->records);
        break;
    case OCI_HTYPE_SVCCTX:
        free((void *)((omx_service *)h->extra)->locators);
        break;
    case OCI_HTYPE_ERROR:
        break;
    case OCI_HTYPE_CPOOL:
    case OCI_HTYPE_SPOOL: {
        pthread_mutex_lock(&omx_pools_lock);
        void *pool = h->extra;
        h->extra = nullptr;
        pthread_mutex_unlock(&omx_pools_lock);
        free(pool);
        return;
    }
    case OCI_HTYPE_BIND:
    case OCI_HTYPE_DEFINE:
        omx_release_buffers((omx_variable *)h->extra);
        break;
    default: {
        omx_converted_text *next = nullptr;
        for (omx_converted_text *t = ((omx_attributes *)h->extra)->texts; t; t = next) {
            next = t->next;
            free(t);
        }
        break;
    }
    }
    free(h->extra);
    h->extra = nullptr;
}

omx_attributes *omx_attributes_of(omx_handle *h)
{
    if (!h->extra) {
        omx_attributes *attributes = (omx_attributes *)calloc(1, sizeof(omx_attributes));
        if (attributes)
            attributes->handle = h;
        h->extra = attributes;
    }
    return (omx_attributes *)h->extra;
}
