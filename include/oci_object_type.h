/* Type descriptor objects: look-up, attributes, methods and the making of transient types. */
#ifndef OCI_OBJECT_TYPE_H
#define OCI_OBJECT_TYPE_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Look-up of types by name or reference. */
sword OCITypeByName(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, const OraText *schema_name,
                    ub4 s_length, const OraText *type_name, ub4 t_length, const OraText *version_name,
                    ub4 v_length, OCIDuration pin_duration, OCITypeGetOpt get_option, OCIType **tdo);
sword OCITypeArrayByName(OCIEnv *env, OCIError *err, const OCISvcCtx *svc, ub4 array_len,
                         const OraText *schema_name[], ub4 s_length[], const OraText *type_name[],
                         ub4 t_length[], const OraText *version_name[], ub4 v_length[],
                         OCIDuration pin_duration, OCITypeGetOpt get_option, OCIType *tdo[]);
sword OCITypeByRef(OCIEnv *env, OCIError *err, const OCIRef *type_ref, OCIDuration pin_duration,
                   OCITypeGetOpt get_option, OCIType **tdo);
sword OCITypeArrayByRef(OCIEnv *env, OCIError *err, ub4 array_len, const OCIRef *type_ref[],
                        OCIDuration pin_duration, OCITypeGetOpt get_option, OCIType *tdo[]);

/* Iterators over attributes and methods. */
sword OCITypeIterNew(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeIter **iterator_ort);
sword OCITypeIterSet(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeIter *iterator_ort);
sword OCITypeIterFree(OCIEnv *env, OCIError *err, OCITypeIter *iterator_ort);

/* Properties of a type. */
OraText *OCITypeName(OCIEnv *env, OCIError *err, const OCIType *tdo, ub4 *n_length);
OraText *OCITypeSchema(OCIEnv *env, OCIError *err, const OCIType *tdo, ub4 *n_length);
OraText *OCITypeVersion(OCIEnv *env, OCIError *err, const OCIType *tdo, ub4 *v_length);
OCITypeCode OCITypeTypeCode(OCIEnv *env, OCIError *err, const OCIType *tdo);
ub4 OCITypeAttrs(OCIEnv *env, OCIError *err, const OCIType *tdo);
ub4 OCITypeMethods(OCIEnv *env, OCIError *err, const OCIType *tdo);

/* Properties of a collection type. */
OCITypeCode OCITypeCollTypeCode(OCIEnv *env, OCIError *err, const OCIType *tdo);
sword OCITypeCollElem(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeElem **element);
sword OCITypeCollSize(OCIEnv *env, OCIError *err, const OCIType *tdo, ub4 *num_elems);
sword OCITypeCollExtTypeCode(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeCode *sqt_code);

/* Attributes of a type. */
sword OCITypeAttrByName(OCIEnv *env, OCIError *err, const OCIType *tdo, const OraText *name, ub4 n_length,
                        OCITypeElem **elem);
sword OCITypeAttrNext(OCIEnv *env, OCIError *err, OCITypeIter *iterator_ort, OCITypeElem **elem);

/* Properties of a type element: an attribute, a parameter or a result. */
OraText *OCITypeElemName(OCIEnv *env, OCIError *err, const OCITypeElem *elem, ub4 *n_length);
OCITypeCode OCITypeElemTypeCode(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
OCITypeCode OCITypeElemExtTypeCode(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
sword OCITypeElemType(OCIEnv *env, OCIError *err, const OCITypeElem *elem, OCIType **elem_tdo);
sword OCITypeElemParameterizedType(OCIEnv *env, OCIError *err, const OCITypeElem *elem,
                                   OCIType **type_stored);
ub4 OCITypeElemFlags(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
ub1 OCITypeElemNumPrec(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
sb1 OCITypeElemNumScale(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
ub4 OCITypeElemLength(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
ub2 OCITypeElemCharSetID(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
ub2 OCITypeElemCharSetForm(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
OCITypeParamMode OCITypeElemParamMode(OCIEnv *env, OCIError *err, const OCITypeElem *elem);
OraText *OCITypeElemDefaultValue(OCIEnv *env, OCIError *err, const OCITypeElem *elem, ub4 *d_v_length);

/* Methods. */
ub4 OCITypeMethodOverload(OCIEnv *env, OCIError *err, const OCIType *tdo, const OraText *method_name,
                          ub4 m_length);
sword OCITypeMethodByName(OCIEnv *env, OCIError *err, const OCIType *tdo, const OraText *method_name,
                          ub4 m_length, OCITypeMethod **mdos);
sword OCITypeMethodNext(OCIEnv *env, OCIError *err, OCITypeIter *iterator_ort, OCITypeMethod **mdo);
sword OCITypeMethodMap(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeMethod **mdo);
sword OCITypeMethodOrder(OCIEnv *env, OCIError *err, const OCIType *tdo, OCITypeMethod **mdo);
OraText *OCITypeMethodName(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo, ub4 *n_length);
OCITypeEncap OCITypeMethodEncap(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo);
OCITypeMethodFlag OCITypeMethodFlags(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo);
ub4 OCITypeMethodParams(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo);

/* Result and parameters of a method. */
sword OCITypeResult(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo, OCITypeElem **elem);
sword OCITypeParamByPos(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo, ub4 position,
                        OCITypeElem **elem);
sword OCITypeParamByName(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo, const OraText *name,
                         ub4 n_length, OCITypeElem **elem);
sword OCITypeParamPos(OCIEnv *env, OCIError *err, const OCITypeMethod *mdo, const OraText *name, ub4 n_length,
                      ub4 *position, OCITypeElem **elem);

/* The version table of types. */
sword OCITypeVTInit(OCIEnv *env, OCIError *err);
sword OCITypeVTInsert(OCIEnv *env, OCIError *err, const OraText *schema_name, ub4 s_n_length,
                      const OraText *type_name, ub4 t_n_length, const OraText *user_version, ub4 u_v_length);
sword OCITypeVTSelect(OCIEnv *env, OCIError *err, const OraText *schema_name, ub4 s_n_length,
                      const OraText *type_name, ub4 t_n_length, OraText **user_version, ub4 *u_v_length,
                      ub2 *version);

/* Transient types, built step by step. */
sword OCITypeBeginCreate(OCISvcCtx *svchp, OCIError *errhp, OCITypeCode tc, OCIDuration dur, OCIType **type);
sword OCITypeSetCollection(OCISvcCtx *svchp, OCIError *errhp, OCIType *type, OCIParam *collelem_info,
                           ub4 coll_count);
sword OCITypeSetBuiltin(OCISvcCtx *svchp, OCIError *errhp, OCIType *type, OCIParam *builtin_info);
sword OCITypeAddAttr(OCISvcCtx *svchp, OCIError *errhp, OCIType *type, const OraText *a_name, ub4 a_length,
                     OCIParam *attr_info);
sword OCITypeEndCreate(OCISvcCtx *svchp, OCIError *errhp, OCIType *type);

OCI_END_DECLARATIONS

#endif
