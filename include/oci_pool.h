/* Pools of connections and sessions, startup and shutdown of a database. */
#ifndef OCI_POOL_H
#define OCI_POOL_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Connection pools. */
sword OCIConnectionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCICPool *poolhp, OraText **poolName,
                              sb4 *poolNameLen, const OraText *dblink, sb4 dblinkLen, ub4 connMin,
                              ub4 connMax, ub4 connIncr, const OraText *poolUserName, sb4 poolUserLen,
                              const OraText *poolPassword, sb4 poolPassLen, ub4 mode);
sword OCIConnectionPoolDestroy(OCICPool *poolhp, OCIError *errhp, ub4 mode);

/* Session pools. */
sword OCISessionPoolCreate(OCIEnv *envhp, OCIError *errhp, OCISPool *spoolhp, OraText **poolName,
                           ub4 *poolNameLen, const OraText *connStr, ub4 connStrLen, ub4 sessMin, ub4 sessMax,
                           ub4 sessIncr, OraText *userid, ub4 useridLen, OraText *password, ub4 passwordLen,
                           ub4 mode);
sword OCISessionPoolDestroy(OCISPool *spoolhp, OCIError *errhp, ub4 mode);

/* Administration. */
sword OCIDBStartup(OCISvcCtx *svchp, OCIError *errhp, OCIAdmin *admhp, ub4 mode, ub4 flags);
sword OCIDBShutdown(OCISvcCtx *svchp, OCIError *errhp, OCIAdmin *admhp, ub4 mode);

OCI_END_DECLARATIONS

#endif
