/* Direct path load, which writes blocks of a table without SQL. */
#ifndef OCI_DIRECT_PATH_H
#define OCI_DIRECT_PATH_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Life of a load. */
sword OCIDirPathPrepare(OCIDirPathCtx *dpctx, OCISvcCtx *svchp, OCIError *errhp);
sword OCIDirPathLoadStream(OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError *errhp);
sword OCIDirPathDataSave(OCIDirPathCtx *dpctx, OCIError *errhp, ub4 action);
sword OCIDirPathFlushRow(OCIDirPathCtx *dpctx, OCIError *errhp);
sword OCIDirPathFinish(OCIDirPathCtx *dpctx, OCIError *errhp);
sword OCIDirPathAbort(OCIDirPathCtx *dpctx, OCIError *errhp);

/* Column arrays. */
sword OCIDirPathColArrayEntrySet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx,
                                 ub1 *cvalp, ub4 clen, ub1 cflg);
sword OCIDirPathColArrayEntryGet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx,
                                 ub1 **cvalpp, ub4 *clenp, ub1 *cflgp);
sword OCIDirPathColArrayRowGet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub1 ***cvalppp,
                               ub4 **clenpp, ub1 **cflgpp);
sword OCIDirPathColArrayReset(OCIDirPathColArray *dpca, OCIError *errhp);
sword OCIDirPathColArrayToStream(OCIDirPathColArray *dpca, OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr,
                                 OCIError *errhp, ub4 rowcnt, ub4 rowoff);

/* Streams. */
sword OCIDirPathStreamReset(OCIDirPathStream *dpstr, OCIError *errhp);

OCI_END_DECLARATIONS

#endif
