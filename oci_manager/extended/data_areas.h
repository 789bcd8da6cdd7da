/*
 * Logon data areas and cursors of OCI release 7. They are the program's own memory, of which the manager
 * knows nothing but the backend that was given it.
 */
#ifndef OMX_DATA_AREAS_H
#define OMX_DATA_AREAS_H

#include "handle.h"

/* The backend of an area; for one that is not known, the first that is there. */
ub1 omx_area_backend(const void *area);

/* Notes the backend of an area, until it is forgotten or noted anew. */
void omx_note_area(const void *area, ub1 backend);
void omx_forget_area(const void *area);

#endif
