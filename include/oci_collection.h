/* Variable-length strings and raws, collections, iterators and nested tables. */
#ifndef OCI_COLLECTION_H
#define OCI_COLLECTION_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Variable-length text; sizes are in bytes. */
sword OCIStringAssign(OCIEnv *env, OCIError *err, const OCIString *rhs, OCIString **lhs);
sword OCIStringAssignText(OCIEnv *env, OCIError *err, const OraText *rhs, ub4 rhs_len, OCIString **lhs);
OraText *OCIStringPtr(OCIEnv *env, const OCIString *vs);
ub4 OCIStringSize(OCIEnv *env, const OCIString *vs);
sword OCIStringResize(OCIEnv *env, OCIError *err, ub4 new_size, OCIString **str);
sword OCIStringAllocSize(OCIEnv *env, OCIError *err, const OCIString *vs, ub4 *allocsize);

/* Variable-length bytes. */
sword OCIRawAssignRaw(OCIEnv *env, OCIError *err, const OCIRaw *rhs, OCIRaw **lhs);
sword OCIRawAssignBytes(OCIEnv *env, OCIError *err, const ub1 *rhs, ub4 rhs_len, OCIRaw **lhs);
ub1 *OCIRawPtr(OCIEnv *env, const OCIRaw *raw);
ub4 OCIRawSize(OCIEnv *env, const OCIRaw *raw);
sword OCIRawResize(OCIEnv *env, OCIError *err, ub4 new_size, OCIRaw **raw);
sword OCIRawAllocSize(OCIEnv *env, OCIError *err, const OCIRaw *raw, ub4 *allocsize);

/* Any collection; indexes count from 0. */
sword OCICollSize(OCIEnv *env, OCIError *err, const OCIColl *coll, sb4 *size);
sb4 OCICollMax(OCIEnv *env, const OCIColl *coll);
sword OCICollIsLocator(OCIEnv *env, OCIError *err, const OCIColl *coll, int *result);
sword OCICollGetElem(OCIEnv *env, OCIError *err, const OCIColl *coll, sb4 index, int *exists, void **elem,
                     void **elemind);
sword OCICollGetElemArray(OCIEnv *env, OCIError *err, const OCIColl *coll, sb4 index, int *exists,
                          void **elem, void **elemind, uword *nelems);
sword OCICollAssignElem(OCIEnv *env, OCIError *err, sb4 index, const void *elem, const void *elemind,
                        OCIColl *coll);
sword OCICollAssign(OCIEnv *env, OCIError *err, const OCIColl *rhs, OCIColl *lhs);
sword OCICollAppend(OCIEnv *env, OCIError *err, const void *elem, const void *elemind, OCIColl *coll);
sword OCICollTrim(OCIEnv *env, OCIError *err, sb4 trim_num, OCIColl *coll);

/* Iteration over a collection. */
sword OCIIterCreate(OCIEnv *env, OCIError *err, const OCIColl *coll, OCIIter **itr);
sword OCIIterDelete(OCIEnv *env, OCIError *err, OCIIter **itr);
sword OCIIterInit(OCIEnv *env, OCIError *err, const OCIColl *coll, OCIIter *itr);
sword OCIIterGetCurrent(OCIEnv *env, OCIError *err, const OCIIter *itr, void **elem, void **elemind);
sword OCIIterNext(OCIEnv *env, OCIError *err, OCIIter *itr, void **elem, void **elemind, int *eoc);
sword OCIIterPrev(OCIEnv *env, OCIError *err, OCIIter *itr, void **elem, void **elemind, int *boc);

/* Nested tables, whose elements may have been deleted. */
sword OCITableSize(OCIEnv *env, OCIError *err, const OCITable *tbl, sb4 *size);
sword OCITableExists(OCIEnv *env, OCIError *err, const OCITable *tbl, sb4 index, int *exists);
sword OCITableDelete(OCIEnv *env, OCIError *err, sb4 index, OCITable *tbl);
sword OCITableFirst(OCIEnv *env, OCIError *err, const OCITable *tbl, sb4 *index);
sword OCITableLast(OCIEnv *env, OCIError *err, const OCITable *tbl, sb4 *index);
sword OCITableNext(OCIEnv *env, OCIError *err, sb4 index, const OCITable *tbl, sb4 *next_index, int *exists);
sword OCITablePrev(OCIEnv *env, OCIError *err, sb4 index, const OCITable *tbl, sb4 *prev_index, int *exists);

OCI_END_DECLARATIONS

#endif
