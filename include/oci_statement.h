/* Statements: prepare, bind, define, execute, fetch and describe. */
#ifndef OCI_STATEMENT_H
#define OCI_STATEMENT_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Preparation; a statement from OCIStmtPrepare2 goes back with OCIStmtRelease. */
sword OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len, ub4 language,
                     ub4 mode);
sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len,
                      const OraText *key, ub4 key_len, ub4 language, ub4 mode);
sword OCIStmtRelease(OCIStmt *stmtp, OCIError *errhp, const OraText *key, ub4 key_len, ub4 mode);

/* Bind variables. */
sword OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, void *valuep, sb4 value_sz,
                   ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode);
sword OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const OraText *placeholder,
                    sb4 placeh_len, void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep,
                    ub4 maxarr_len, ub4 *curelep, ub4 mode);
sword OCIStmtBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position, void *valuep,
                       sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4 maxarr_len,
                       ub4 *curelep, ub4 mode);
sword OCIStmtBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const OraText *placeholder,
                        sb4 placeh_len, void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp,
                        ub2 *rcodep, ub4 maxarr_len, ub4 *curelep, ub4 mode);
sword OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 alskip, ub4 rcskip);
sword OCIBindDynamic(OCIBind *bindp, OCIError *errhp, void *ictxp, OCICallbackInBind icbfp, void *octxp,
                     OCICallbackOutBind ocbfp);
sword OCIBindObject(OCIBind *bindp, OCIError *errhp, const OCIType *type, void **pgvpp, ub4 *pvszsp,
                    void **indpp, ub4 *indszp);
sword OCIStmtGetBindInfo(OCIStmt *stmtp, OCIError *errhp, ub4 size, ub4 startloc, sb4 *found, OraText **bvnp,
                         ub1 *bvnl, OraText **invp, ub1 *inpl, ub1 *dupl, OCIBind **hndl);

/* Output variables of the select list. */
sword OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position, void *valuep,
                     sb4 value_sz, ub2 dty, void *indp, ub2 *rlenp, ub2 *rcodep, ub4 mode);
sword OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip, ub4 rlskip,
                             ub4 rcskip);
sword OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, void *octxp, OCICallbackDefine ocbfp);
sword OCIDefineObject(OCIDefine *defnp, OCIError *errhp, const OCIType *type, void **pgvpp, ub4 *pvszsp,
                      void **indpp, ub4 *indszp);

/* Execution and fetch; sizes and skips are in bytes, row counts in rows. */
sword OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff,
                     const OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode);
sword OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode);
sword OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 scrollOffset, ub4 mode);
sword OCIResultSetToStmt(OCIResult *rsetdp, OCIError *errhp);

/* Piecewise transfer of long values. */
sword OCIStmtGetPieceInfo(const OCIStmt *stmtp, OCIError *errhp, void **hndlpp, ub4 *typep, ub1 *in_outp,
                          ub4 *iterp, ub4 *idxp, ub1 *piecep);
sword OCIStmtSetPieceInfo(void *hndlp, ub4 type, OCIError *errhp, const void *bufp, ub4 *alenp, ub1 piece,
                          const void *indp, ub2 *rcodep);

/* Description of schema objects, and the text form of a row identifier. */
sword OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, void *objptr, ub4 objnm_len, ub1 objptr_typ,
                     ub1 info_level, ub1 objtyp, OCIDescribe *dschp);
sword OCIRowidToChar(OCIRowid *rowidDesc, OraText *outbfp, ub2 *outbflp, OCIError *errhp);

OCI_END_DECLARATIONS

#endif
