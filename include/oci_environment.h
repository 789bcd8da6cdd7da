/* Environment, handles and descriptors, attributes, errors and user callbacks. */
#ifndef OCI_ENVIRONMENT_H
#define OCI_ENVIRONMENT_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Start and end of the process's use of the library. The memory callbacks may be null; the library then
 * uses malloc and its relatives. */
sword OCIInitialize(ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                    void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                    void (*mfreefp)(void *ctxp, void *memptr));
sword OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, void **usrmempp);
sword OCIEnvCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                   void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                   void (*mfreefp)(void *ctxp, void *memptr), size_t xtramem_sz, void **usrmempp);
sword OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                      void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                      void (*mfreefp)(void *ctxp, void *memptr), size_t xtramem_sz, void **usrmempp,
                      ub2 charset, ub2 ncharset);
sword OCIFEnvCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *ctxp, size_t size),
                    void *(*ralocfp)(void *ctxp, void *memptr, size_t newsize),
                    void (*mfreefp)(void *ctxp, void *memptr), size_t xtramem_sz, void **usrmempp,
                    void *fupg);
sword OCITerminate(ub4 mode);

/* Handles and descriptors, each identified by its type number. */
sword OCIHandleAlloc(const void *parenth, void **hndlpp, const ub4 type, const size_t xtramem_sz,
                     void **usrmempp);
sword OCIHandleFree(void *hndlp, const ub4 type);
sword OCIDescriptorAlloc(const void *parenth, void **descpp, const ub4 type, const size_t xtramem_sz,
                         void **usrmempp);
sword OCIDescriptorFree(void *descp, const ub4 type);

/* Attributes of handles and descriptors, and the parameter descriptors of a described handle. */
sword OCIAttrGet(const void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 *sizep, ub4 attrtype,
                 OCIError *errhp);
sword OCIAttrSet(void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 size, ub4 attrtype, OCIError *errhp);
sword OCIParamGet(const void *hndlp, ub4 htype, OCIError *errhp, void **parmdpp, ub4 pos);
sword OCIParamSet(void *hdlp, ub4 htyp, OCIError *errhp, const void *dscp, ub4 dtyp, ub4 pos);

/* Diagnostics of the last failed call, one record at a time, counted from 1. */
sword OCIErrorGet(void *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText *bufp, ub4 bufsiz,
                  ub4 type);

/* Version of the client library. */
void OCIClientVersion(sword *major_version, sword *minor_version, sword *update_num, sword *patch_num,
                      sword *port_update_num);

/* Callbacks that run before, after or in place of OCI calls, and the entry of a library that supplies
 * them. */
sword OCIUserCallbackRegister(void *hndlp, ub4 type, void *ehndlp, OCIUserCallback callback, void *ctxp,
                              ub4 fcode, ub4 when, OCIUcb *ucbDesc);
sword OCIUserCallbackGet(void *hndlp, ub4 type, void *ehndlp, ub4 fcode, ub4 when, OCIUserCallback *callbackp,
                         void **ctxpp, OCIUcb *ucbDesc);
sword OCISharedLibInit(void *metaCtx, void *libCtx, ub4 argfmt, sword argc, void **argv,
                       OCIEnvCallbackType envCallback);

/* Filling of an event handle from the text of a high availability event. */
sword OCIInitEventHandle(OCIError *errhp, OCIEvent *event, OraText *str, ub4 size);

OCI_END_DECLARATIONS

#endif
