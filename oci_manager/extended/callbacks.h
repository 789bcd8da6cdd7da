/*
 * Callbacks that are given handles: the backend calls the manager, which hands the program its own handles.
 */
#ifndef OMX_CALLBACKS_H
#define OMX_CALLBACKS_H

#include "attribute_kinds.h"
#include "written.h"

/* What a backend is given as failover callback of a server in place of the program's; null for none. */
OCIFocbkStruct *omx_failover_for(omx_handle *srvh, const OCIFocbkStruct *program);

/* The program's failover callback. */
OCIFocbkStruct omx_failover_of(omx_handle *srvh);

/* Sets the callback or the context of notifications or events. */
sword omx_set_callback(omx_handle *h, unsigned int backend, attribute_kind kind, void *value, ub4 size,
                       ub4 attribute, omx_handle *errh);

/* What the program has set as such. */
void *omx_callback_of(omx_handle *h, attribute_kind kind);

#endif
