/*
 * The calls whose traces docs/traces.md shows, made on the embedded backends: trace_samples NAME.
 * All of them use a connection that Dravik serves.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <oci.h>

static OCIEnv *env;
static OCIError *err;
static OCIServer *srv;
static OCISvcCtx *svc;
static OCISession *ses;
static OCIStmt *stmt;

static void need(sword rc, sword expected, const char *call)
{
    if (rc == expected)
        return;
    fprintf(stderr, "%s returned %d, not %d\n", call, (int)rc, (int)expected);
    exit(1);
}
#define NEED(call) need(call, OCI_SUCCESS, #call)

static void *allocate(ub4 type)
{
    void *handle = NULL;
    NEED(OCIHandleAlloc(env, &handle, type, 0, NULL));
    return handle;
}

static void connect_to_west(void)
{
    static const char link[] = "west";
    NEED(OCIEnvCreate(&env, OCI_DEFAULT, NULL, NULL, NULL, NULL, 0, NULL));
    err = allocate(OCI_HTYPE_ERROR);
    srv = allocate(OCI_HTYPE_SERVER);
    svc = allocate(OCI_HTYPE_SVCCTX);
    ses = allocate(OCI_HTYPE_SESSION);
    NEED(OCIServerAttach(srv, err, (const OraText *)link, (sb4)strlen(link), OCI_DEFAULT));
    NEED(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, srv, 0, OCI_ATTR_SERVER, err));
    NEED(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, ses, 0, OCI_ATTR_SESSION, err));
    NEED(OCISessionBegin(svc, err, ses, OCI_CRED_EXT, OCI_DEFAULT));
}

static void prepare(const char *text)
{
    stmt = allocate(OCI_HTYPE_STMT);
    NEED(OCIStmtPrepare(stmt, err, (const OraText *)text, (ub4)strlen(text), OCI_NTV_SYNTAX, OCI_DEFAULT));
}

static sword execute(ub4 iters)
{
    return OCIStmtExecute(svc, stmt, err, iters, 0, NULL, NULL, OCI_DEFAULT);
}

static void run_query(void)
{
    static const char name[] = ":town";
    static char town[] = "Oslo";
    char answer[16] = "";
    OCIBind *bind = NULL;
    OCIDefine *define = NULL;
    prepare("SELECT :town FROM dual");
    NEED(OCIBindByName(stmt, &bind, err, (const OraText *)name, (sb4)strlen(name), town, sizeof town,
                       SQLT_STR, NULL, NULL, NULL, 0, NULL, OCI_DEFAULT));
    NEED(execute(0));
    NEED(OCIDefineByPos(stmt, &define, err, 1, answer, sizeof answer, SQLT_STR, NULL, NULL, NULL,
                        OCI_DEFAULT));
    NEED(OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT));
    need(OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT), OCI_NO_DATA, "OCIStmtFetch");
    NEED(OCIHandleFree(stmt, OCI_HTYPE_STMT));
}

static void fail(void)
{
    char text[512] = "";
    sb4 code = 0;
    prepare("SELECT name FROM towns");
    need(execute(0), OCI_ERROR, "OCIStmtExecute");
    NEED(OCIErrorGet(err, 1, NULL, &code, (OraText *)text, sizeof text, OCI_HTYPE_ERROR));
}

int main(int argc, char **argv)
{
    const char *name = argc > 1 ? argv[1] : "";
    connect_to_west();
    if (strcmp(name, "commit") == 0) {
        NEED(OCITransCommit(svc, err, OCI_DEFAULT));
    } else if (strcmp(name, "query") == 0) {
        run_query();
    } else if (strcmp(name, "failure") == 0) {
        fail();
    } else if (strcmp(name, "stop") == 0) {
        NEED(OCIHandleFree(svc, OCI_HTYPE_SVCCTX));
        OCITransCommit(svc, err, OCI_DEFAULT);
    }
    return 0;
}
