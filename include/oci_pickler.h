/* The pickler, which turns object values into byte images and back. */
#ifndef OCI_PICKLER_H
#define OCI_PICKLER_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Type description segments. */
sword OCIPicklerTdsCtxInit(OCIEnv *env, OCIError *err, OCIPicklerTdsCtx **tdsc);
sword OCIPicklerTdsCtxFree(OCIEnv *env, OCIError *err, OCIPicklerTdsCtx *tdsc);
sword OCIPicklerTdsInit(OCIEnv *env, OCIError *err, OCIPicklerTdsCtx *tdsc, OCIPicklerTds **tdsh);
sword OCIPicklerTdsFree(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh);
sword OCIPicklerTdsCreateElement(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, OCITypeCode dty,
                                 OCIPicklerTdsElement *elt);
sword OCIPicklerTdsCreateElementNumber(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, ub1 prec, sb1 scale,
                                       OCIPicklerTdsElement *elt);
sword OCIPicklerTdsCreateElementChar(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, ub2 len,
                                     OCIPicklerTdsElement *elt);
sword OCIPicklerTdsCreateElementVarchar(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, ub2 len,
                                        OCIPicklerTdsElement *elt);
sword OCIPicklerTdsCreateElementRaw(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, ub2 len,
                                    OCIPicklerTdsElement *elt);
sword OCIPicklerTdsAddAttr(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh, OCIPicklerTdsElement elt);
sword OCIPicklerTdsGenerate(OCIEnv *env, OCIError *err, OCIPicklerTds *tdsh);
sword OCIPicklerTdsGetAttr(OCIEnv *env, OCIError *err, const OCIPicklerTds *tdsh, ub1 attrno,
                           OCITypeCode *typ, ub2 *len);

/* Formats of the client's scalars. */
sword OCIPicklerFdoInit(OCIEnv *env, OCIError *err, OCIPicklerFdo **fdoh);
sword OCIPicklerFdoFree(OCIEnv *env, OCIError *err, OCIPicklerFdo *fdoh);

/* Images of values. */
sword OCIPicklerImageInit(OCIEnv *env, OCIError *err, OCIPicklerFdo *fdoh, OCIPicklerTds *tdsh,
                          OCIPicklerImage **imgh);
sword OCIPicklerImageFree(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh);
sword OCIPicklerImageAddScalar(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh, void *scalar, ub4 len);
sword OCIPicklerImageAddNullScalar(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh);
sword OCIPicklerImageGenerate(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh);
sword OCIPicklerImageGetScalarSize(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh, ub4 attrno, ub4 *size);
sword OCIPicklerImageGetScalar(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh, ub4 attrno, void *buf,
                               ub4 *len, OCIInd *ind);

/* Collections inside an image. */
sword OCIPicklerImageCollBegin(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh,
                               const OCIPicklerTds *colltdsh);
sword OCIPicklerImageCollAddScalar(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh, void *scalar,
                                   ub4 buflen, OCIInd ind);
sword OCIPicklerImageCollEnd(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh);
sword OCIPicklerImageCollBeginScan(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh,
                                   const OCIPicklerTds *coll_tdsh, ub4 attrnum, ub4 startidx, OCIInd *ind);
sword OCIPicklerImageCollGetScalarSize(OCIEnv *env, OCIError *err, const OCIPicklerTds *coll_tdsh, ub4 *size);
sword OCIPicklerImageCollGetScalar(OCIEnv *env, OCIError *err, OCIPicklerImage *imgh, void *buf, ub4 *buflen,
                                   OCIInd *ind);

OCI_END_DECLARATIONS

#endif
