/* Self-describing values and sets of them. */
#ifndef OCI_ANYDATA_H
#define OCI_ANYDATA_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* A value that carries its type. */
sword OCIAnyDataConvert(OCISvcCtx *svchp, OCIError *errhp, OCITypeCode tc, OCIType *inst_type,
                        OCIDuration dur, void *null_ind, void *data_value, ub4 length, OCIAnyData **sdata);
sword OCIAnyDataBeginCreate(OCISvcCtx *svchp, OCIError *errhp, OCITypeCode tc, OCIType *type, OCIDuration dur,
                            OCIAnyData **sdata);
sword OCIAnyDataAttrSet(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode tc,
                        OCIType *attr_type, void *null_ind, void *attr_value, ub4 length, int is_any);
sword OCIAnyDataCollAddElem(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode tc,
                            OCIType *attr_type, void *null_ind, void *attr_value, ub4 length, int is_any,
                            int last_elem);
sword OCIAnyDataEndCreate(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata);
sword OCIAnyDataDestroy(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata);
sword OCIAnyDataGetType(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode *tc,
                        OCIType **type);
sword OCIAnyDataIsNull(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, int *isnull);
sword OCIAnyDataAccess(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode tc,
                       OCIType *inst_type, void *null_ind, void *data_value, ub4 *length);
sword OCIAnyDataGetCurrAttrNum(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, ub4 *attrnum);
sword OCIAnyDataAttrGet(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode tc,
                        OCIType *attr_type, void *null_ind, void *attr_value, ub4 *length, int is_any);
sword OCIAnyDataCollGetElem(OCISvcCtx *svchp, OCIError *errhp, OCIAnyData *sdata, OCITypeCode tc,
                            OCIType *celem_type, void *null_ind, void *celem_value, ub4 *length, int is_any);

/* A set of values of one type. */
sword OCIAnyDataSetBeginCreate(OCISvcCtx *svchp, OCIError *errhp, OCITypeCode typecode, const OCIType *type,
                               OCIDuration dur, OCIAnyDataSet **data_set);
sword OCIAnyDataSetAddInstance(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set, OCIAnyData **data);
sword OCIAnyDataSetEndCreate(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set);
sword OCIAnyDataSetDestroy(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set);
sword OCIAnyDataSetGetType(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set, OCITypeCode *tc,
                           OCIType **type);
sword OCIAnyDataSetGetCount(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set, ub4 *count);
sword OCIAnyDataSetGetInstance(OCISvcCtx *svchp, OCIError *errhp, OCIAnyDataSet *data_set, OCIAnyData **data);

OCI_END_DECLARATIONS

#endif
