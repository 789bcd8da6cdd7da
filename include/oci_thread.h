/* Portable threads, mutexes, thread keys and thread identifiers. */
#ifndef OCI_THREAD_H
#define OCI_THREAD_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Start and end of the thread package. */
void OCIThreadProcessInit(void);
sword OCIThreadInit(void *hndl, OCIError *err);
sword OCIThreadTerm(void *hndl, OCIError *err);
int OCIThreadIsMulti(void);

/* Mutexes. */
sword OCIThreadMutexInit(void *hndl, OCIError *err, OCIThreadMutex **mutex);
sword OCIThreadMutexDestroy(void *hndl, OCIError *err, OCIThreadMutex **mutex);
sword OCIThreadMutexAcquire(void *hndl, OCIError *err, OCIThreadMutex *mutex);
sword OCIThreadMutexRelease(void *hndl, OCIError *err, OCIThreadMutex *mutex);

/* Values kept for each thread. */
sword OCIThreadKeyInit(void *hndl, OCIError *err, OCIThreadKey **key, OCIThreadKeyDestFunc destFn);
sword OCIThreadKeyDestroy(void *hndl, OCIError *err, OCIThreadKey **key);
sword OCIThreadKeyGet(void *hndl, OCIError *err, OCIThreadKey *key, void **pValue);
sword OCIThreadKeySet(void *hndl, OCIError *err, OCIThreadKey *key, void *value);

/* Thread identifiers. */
sword OCIThreadIdInit(void *hndl, OCIError *err, OCIThreadId **tid);
sword OCIThreadIdDestroy(void *hndl, OCIError *err, OCIThreadId **tid);
sword OCIThreadIdSet(void *hndl, OCIError *err, OCIThreadId *tidDest, OCIThreadId *tidSrc);
sword OCIThreadIdSetNull(void *hndl, OCIError *err, OCIThreadId *tid);
sword OCIThreadIdGet(void *hndl, OCIError *err, OCIThreadId *tid);
sword OCIThreadIdSame(void *hndl, OCIError *err, OCIThreadId *tid1, OCIThreadId *tid2, int *result);
sword OCIThreadIdNull(void *hndl, OCIError *err, OCIThreadId *tid, int *result);

/* Threads and their handles. */
sword OCIThreadHndInit(void *hndl, OCIError *err, OCIThreadHandle **thnd);
sword OCIThreadHndDestroy(void *hndl, OCIError *err, OCIThreadHandle **thnd);
sword OCIThreadCreate(void *hndl, OCIError *err, void (*start)(void *), void *arg, OCIThreadId *tid,
                      OCIThreadHandle *tHnd);
sword OCIThreadJoin(void *hndl, OCIError *err, OCIThreadHandle *tHnd);
sword OCIThreadClose(void *hndl, OCIError *err, OCIThreadHandle *tHnd);
sword OCIThreadHandleGet(void *hndl, OCIError *err, OCIThreadHandle *tHnd);

OCI_END_DECLARATIONS

#endif
