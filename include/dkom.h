/* What the extended edition of the OCI manager, libdkomx.so, adds to the OCI. */
#ifndef DKOM_H
#define DKOM_H

/* Attribute of server and service context handles, read only, a ub1: the backend that serves the connection.
 * Other libraries refuse it or leave the value alone, which should be DKOM_BACKEND_NONE before the call. */
#define DKOM_ATTR_BACKEND 505

#define DKOM_BACKEND_NONE 0 /* not attached yet */
#define DKOM_BACKEND_ORACLE 1
#define DKOM_BACKEND_DRAVIK 2

#endif
