/* Calls of OCI release 7, on logon data areas and cursors that the application provides. */
#ifndef OCI_V7_H
#define OCI_V7_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Process and logon. */
sword opinit(ub4 mode);
sword olog(struct cda_def *lda, ub1 *hda, OraText *uid, sword uidl, OraText *pswd, sword pswdl, OraText *conn,
           sword connl, ub4 mode);
sword ologof(struct cda_def *lda);
sword obreak(struct cda_def *lda);
sword onbset(struct cda_def *lda);
sword onbclr(struct cda_def *lda);
sword onbtst(struct cda_def *lda);
sword ognfd(struct cda_def *lda, void *fdp);

/* Transactions. */
sword ocom(struct cda_def *lda);
sword orol(struct cda_def *lda);
sword ocon(struct cda_def *lda);
sword ocof(struct cda_def *lda);

/* Cursors and statements. */
sword oopen(struct cda_def *cursor, struct cda_def *lda, OraText *dbn, sword dbnl, sword arsize, OraText *uid,
            sword uidl);
sword oclose(struct cda_def *cursor);
sword ocan(struct cda_def *cursor);
sword oopt(struct cda_def *cursor, sword rbopt, sword waitopt);
sword oparse(struct cda_def *cursor, OraText *sqlstm, sb4 sqllen, sword defflg, ub4 lngflg);

/* Bind variables. */
sword obndrv(struct cda_def *cursor, OraText *sqlvar, sword sqlvl, ub1 *progv, sword progvl, sword ftype,
             sword scale, sb2 *indp, OraText *fmt, sword fmtl, sword fmtt);
sword obndrn(struct cda_def *cursor, sword sqlvn, ub1 *progv, sword progvl, sword ftype, sword scale,
             sb2 *indp, OraText *fmt, sword fmtl, sword fmtt);
sword obndra(struct cda_def *cursor, OraText *sqlvar, sword sqlvl, ub1 *progv, sword progvl, sword ftype,
             sword scale, sb2 *indp, ub2 *alen, ub2 *arcode, ub4 maxsiz, ub4 *cursiz, OraText *fmt,
             sword fmtl, sword fmtt);
sword obindps(struct cda_def *cursor, ub1 opcode, OraText *sqlvar, sb4 sqlvl, ub1 *pvctx, sb4 progvl,
              sword ftype, sword scale, sb2 *indp, ub2 *alen, ub2 *arcode, sb4 pv_skip, sb4 ind_skip,
              sb4 alen_skip, sb4 rc_skip, ub4 maxsiz, ub4 *cursiz, OraText *fmt, sb4 fmtl, sword fmtt);

/* Output variables and descriptions. */
sword odefin(struct cda_def *cursor, sword pos, ub1 *buf, sword bufl, sword ftype, sword scale, sb2 *indp,
             OraText *fmt, sword fmtl, sword fmtt, ub2 *rlen, ub2 *rcode);
sword odefinps(struct cda_def *cursor, ub1 opcode, sword pos, ub1 *bufctx, sb4 bufl, sword ftype, sword scale,
               sb2 *indp, OraText *fmt, sb4 fmtl, sword fmtt, ub2 *rlen, ub2 *rcode, sb4 buf_skip,
               sb4 ind_skip, sb4 len_skip, sb4 rc_skip);
sword odescr(struct cda_def *cursor, sword pos, sb4 *dbsize, sb2 *dbtype, sb1 *cbuf, sb4 *cbufl, sb4 *dsize,
             sb2 *prec, sb2 *scale, sb2 *nullok);
sword odessp(struct cda_def *lda, OraText *objnam, size_t onlen, ub1 *rsv1, size_t rsv1ln, ub1 *rsv2,
             size_t rsv2ln, ub2 *ovrld, ub2 *pos, ub2 *level, OraText **argnam, ub2 *arnlen, ub2 *dtype,
             ub1 *defsup, ub1 *mode, ub4 *dtsiz, sb2 *prec, sb2 *scale, ub1 *radix, ub4 *spare, ub4 *arrsiz);

/* Execution and fetch. */
sword oexec(struct cda_def *cursor);
sword oexn(struct cda_def *cursor, sword iters, sword rowoff);
sword oexfet(struct cda_def *cursor, ub4 nrows, sword cancel, sword exact);
sword ofetch(struct cda_def *cursor);
sword ofen(struct cda_def *cursor, sword nrows);
sword oflng(struct cda_def *cursor, sword pos, ub1 *buf, sb4 bufl, sword dtype, ub4 *retl, sb4 offset);

/* Piecewise transfer. */
sword ogetpi(struct cda_def *cursor, ub1 *piecep, void **ctxpp, ub4 *iterp, ub4 *indexp);
sword osetpi(struct cda_def *cursor, ub1 piece, void *bufp, ub4 *lenp);

/* Error messages. */
sword oerhms(struct cda_def *lda, sb2 rcode, OraText *buf, sword bufsiz);
sword oermsg(sb2 rcode, OraText *buf);

/* Exchange of logons with precompiled programs and with service contexts. */
void sqllda(struct cda_def *lda);
void sqlld2(struct cda_def *lda, OraText *cname, sb4 *cnlen);
sword OCISvcCtxToLda(OCISvcCtx *svchp, OCIError *errhp, Lda_Def *ldap);
sword OCILdaToSvcCtx(OCISvcCtx **svchpp, OCIError *errhp, Lda_Def *ldap);

OCI_END_DECLARATIONS

#endif
