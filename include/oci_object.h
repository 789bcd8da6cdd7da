/* Objects in the client-side cache and object references. */
#ifndef OCI_OBJECT_H
#define OCI_OBJECT_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Creation, release and copy of instances. */
sword OCIObjectNew(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, OCITypeCode typecode, OCIType *tdo,
                   void *table, OCIDuration duration, int value, void **instance);
sword OCIObjectFree(OCIEnv *env, OCIError *err, void *instance, ub2 flags);
sword OCIObjectCopy(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, void *source, void *null_source,
                    void *target, void *null_target, OCIType *tdo, OCIDuration duration, ub1 option);
sword OCIObjectExists(OCIEnv *env, OCIError *err, void *ins, int *exist);
sword OCIObjectGetProperty(OCIEnv *envh, OCIError *errh, const void *obj, OCIObjectPropId propertyId,
                           void *property, ub4 *size);
sword OCIObjectGetInd(OCIEnv *env, OCIError *err, void *instance, void **null_struct);

/* Pinning: an object stays in the cache while its pin count is above zero. */
sword OCIObjectPin(OCIEnv *env, OCIError *err, OCIRef *object_ref, OCIComplexObject *corhdl,
                   OCIPinOpt pin_option, OCIDuration pin_duration, OCILockOpt lock_option, void **object);
sword OCIObjectArrayPin(OCIEnv *env, OCIError *err, OCIRef **ref_array, ub4 array_size,
                        OCIComplexObject **cor_array, ub4 cor_array_size, OCIPinOpt pin_option,
                        OCIDuration pin_duration, OCILockOpt lock, void **obj_array, ub4 *pos);
sword OCIObjectPinTable(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, const OraText *schema_name,
                        ub4 s_n_length, const OraText *object_name, ub4 o_n_length,
                        const OCIRef *scope_obj_ref, OCIDuration pin_duration, void **object);
sword OCIObjectUnpin(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectPinCountReset(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectIsLoaded(OCIEnv *env, OCIError *err, void *ins, int *load);

/* Locks on the server. */
sword OCIObjectLock(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectLockNoWait(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectIsLocked(OCIEnv *env, OCIError *err, void *ins, int *lock);

/* Marks, and their transfer to and from the server. */
sword OCIObjectMarkUpdate(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectMarkDelete(OCIEnv *env, OCIError *err, void *instance);
sword OCIObjectMarkDeleteByRef(OCIEnv *env, OCIError *err, OCIRef *object_ref);
sword OCIObjectUnmark(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectUnmarkByRef(OCIEnv *env, OCIError *err, OCIRef *ref);
sword OCIObjectIsDirty(OCIEnv *env, OCIError *err, void *ins, int *dirty);
sword OCIObjectIsDirtied(OCIEnv *env, OCIError *err, void *ins, int *dirty);
sword OCIObjectFlush(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectRefresh(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectFlushRefresh(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectAlwaysLatest(OCIEnv *env, OCIError *err, void *object);
sword OCIObjectNotAlwaysLatest(OCIEnv *env, OCIError *err, void *object);

/* References and identity of objects. */
sword OCIObjectGetTypeRef(OCIEnv *env, OCIError *err, void *instance, OCIRef *type_ref);
sword OCIObjectGetObjectRef(OCIEnv *env, OCIError *err, void *object, OCIRef *object_ref);
sword OCIObjectMakeObjectRef(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, void *table, void **values,
                             ub4 array_len, OCIRef *object_ref);
sword OCIObjectGetPrimaryKeyTypeRef(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, void *table,
                                    OCIRef *type_ref);
sword OCIObjectGetNewOID(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, ub1 *oid);

/* Attributes by name and the data part of an object. */
sword OCIObjectSetAttr(OCIEnv *env, OCIError *err, void *instance, void *null_struct, OCIType *tdo,
                       const OraText **names, const ub4 *lengths, const ub4 name_count, const ub4 *indexes,
                       const ub4 index_count, const OCIInd null_status, const void *attr_null_struct,
                       const void *attr_value);
sword OCIObjectGetAttr(OCIEnv *env, OCIError *err, void *instance, void *null_struct, OCIType *tdo,
                       const OraText **names, const ub4 *lengths, const ub4 name_count, const ub4 *indexes,
                       const ub4 index_count, OCIInd *attr_null_status, void **attr_null_struct,
                       void **attr_value, OCIType **attr_tdo);
sword OCIObjectSetData(OCIEnv *env, OCIError *err, void *obj_hdr, void *data);

/* The cache of a service context as a whole. */
sword OCICacheFlush(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, void *context,
                    OCIRef *(*get)(void *context, ub1 *last), OCIRef **ref);
sword OCICacheRefresh(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, OCIRefreshOpt option, void *context,
                      OCIRef *(*get)(void *context), OCIRef **ref);
sword OCICacheFlushRefresh(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, void *context,
                           OCIRef *(*get)(void *context, ub1 *last), OCIRef **ref);
sword OCICacheUnpin(OCIEnv *env, OCIError *err, const OCISvcCtx *svc);
sword OCICacheUnmark(OCIEnv *env, OCIError *err, const OCISvcCtx *svc);
sword OCICacheFree(OCIEnv *env, OCIError *err, const OCISvcCtx *svc);
sword OCICacheGetObjects(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, OCIObjectProperty property,
                         void *client_context, void (*client_callback)(void *client_context, void *object));
sword OCICacheRegister(OCIEnv *env, OCIError *err, OCIObjectEvent event, void *client_context,
                       void (*client_callback)(void *client_context, OCIObjectEvent event, void *object));

/* User-defined durations. */
sword OCIDurationBegin(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, OCIDuration parent,
                       OCIDuration *dur);
sword OCIDurationEnd(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, OCIDuration duration);
sword OCIDurationGetParent(OCIEnv *env, OCIError *err, OCIDuration duration, OCIDuration *parent);

/* References and their hexadecimal form. */
sword OCIRefAssign(OCIEnv *env, OCIError *err, const OCIRef *source, OCIRef **target);
void OCIRefClear(OCIEnv *env, OCIRef *ref);
int OCIRefIsEqual(OCIEnv *env, const OCIRef *x, const OCIRef *y);
int OCIRefIsNull(OCIEnv *env, const OCIRef *ref);
sword OCIRefFromHex(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, const OraText *hex, ub4 length,
                    OCIRef **ref);
ub4 OCIRefHexSize(OCIEnv *env, const OCIRef *ref);
sword OCIRefToHex(OCIEnv *env, OCIError *err, const OCIRef *ref, OraText *hex, ub4 *hex_length);

OCI_END_DECLARATIONS

#endif
