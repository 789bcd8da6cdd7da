/* Connections, sessions, transactions and the server. */
#ifndef OCI_SESSION_H
#define OCI_SESSION_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Connection to a server. */
sword OCIServerAttach(OCIServer *srvhp, OCIError *errhp, const OraText *dblink, sb4 dblink_len, ub4 mode);
sword OCIServerDetach(OCIServer *srvhp, OCIError *errhp, ub4 mode);

/* Sessions on an attached server, and the calls that connect and log on in one step. */
sword OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, ub4 mode);
sword OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode);
sword OCILogon(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username, ub4 uname_len,
               const OraText *password, ub4 passwd_len, const OraText *dbname, ub4 dbname_len);
sword OCILogon2(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, const OraText *username, ub4 uname_len,
                const OraText *password, ub4 passwd_len, const OraText *dbname, ub4 dbname_len, ub4 mode);
sword OCILogoff(OCISvcCtx *svchp, OCIError *errhp);
sword OCIPasswordChange(OCISvcCtx *svchp, OCIError *errhp, const OraText *user_name, ub4 usernm_len,
                        const OraText *opasswd, ub4 opasswd_len, const OraText *npasswd, ub4 npasswd_len,
                        ub4 mode);

/* Sessions from a pool or made on demand, with an optional tag. */
sword OCISessionGet(OCIEnv *envhp, OCIError *errhp, OCISvcCtx **svchp, OCIAuthInfo *authhp, OraText *poolName,
                    ub4 poolName_len, const OraText *tagInfo, ub4 tagInfo_len, OraText **retTagInfo,
                    ub4 *retTagInfo_len, int *found, ub4 mode);
sword OCISessionRelease(OCISvcCtx *svchp, OCIError *errhp, OraText *tag, ub4 tag_len, ub4 mode);

/* Application context of a session and Kerberos credentials. */
sword OCIAppCtxSet(void *sesshndl, void *nsptr, ub4 nsptrlen, void *attrptr, ub4 attrptrlen, void *valueptr,
                   ub4 valueptrlen, OCIError *errhp, ub4 mode);
sword OCIAppCtxClearAll(void *sesshndl, void *nsptr, ub4 nsptrlen, OCIError *errhp, ub4 mode);
sword OCIKerbAttrSet(OCISession *trgthndlp, ub4 cred_use, ub1 *ftgt_ticket, ub4 ticket_len, ub1 *session_key,
                     ub4 skey_len, ub2 ftgt_keytype, ub4 ftgt_ticket_flags, sb4 ftgt_auth_time,
                     sb4 ftgt_start_time, sb4 ftgt_end_time, sb4 ftgt_renew_time,
                     OraText *ftgt_client_principal, ub4 ftgt_client_principal_len,
                     OraText *ftgt_client_realm, ub4 ftgt_client_realm_len, OCIError *errhp);

/* Local and global transactions. */
sword OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword timeout, ub4 flags);
sword OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4 flags);
sword OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4 flags);
sword OCITransDetach(OCISvcCtx *svchp, OCIError *errhp, ub4 flags);
sword OCITransPrepare(OCISvcCtx *svchp, OCIError *errhp, ub4 flags);
sword OCITransMultiPrepare(OCISvcCtx *svchp, ub4 numBranches, OCITrans **txns, OCIError **errhp);
sword OCITransForget(OCISvcCtx *svchp, OCIError *errhp, ub4 flags);

/* Server release, reachability, and interruption of a running call. */
sword OCIServerVersion(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype);
sword OCIServerRelease(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype, ub4 *version);
sword OCIPing(OCISvcCtx *svchp, OCIError *errhp, ub4 mode);
sword OCIBreak(void *hndlp, OCIError *errhp);
sword OCIReset(void *hndlp, OCIError *errhp);

OCI_END_DECLARATIONS

#endif
