/* A program of somebody else's, in C and in C++: answer LINK prints what the database there answers. */
#include <dkom_version.h>
#include <oci.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static OCIEnv *environment;
static OCIError *error;

static void check(sword status, const char *call)
{
    OraText text[512] = "";
    sb4 code = 0;
    if (status == OCI_SUCCESS || status == OCI_SUCCESS_WITH_INFO)
        return;
    if (error)
        OCIErrorGet(error, 1, NULL, &code, text, sizeof text, OCI_HTYPE_ERROR);
    fprintf(stderr, "%s: %d %s\n", call, (int)status, (const char *)text);
    exit(1);
}

static void *allocate(ub4 type)
{
    void *handle = NULL;
    check(OCIHandleAlloc(environment, &handle, type, 0, NULL), "OCIHandleAlloc");
    return handle;
}

int main(int argc, char **argv)
{
    const char *link = argc > 1 ? argv[1] : "";
    const char *query = "SELECT 6 * 7 FROM dual";
    char answer[16] = "";
    OCIDefine *column = NULL;

    check(OCIEnvCreate(&environment, OCI_DEFAULT, NULL, NULL, NULL, NULL, 0, NULL), "OCIEnvCreate");
    error = (OCIError *)allocate(OCI_HTYPE_ERROR);
    OCIServer *server = (OCIServer *)allocate(OCI_HTYPE_SERVER);
    OCISvcCtx *service = (OCISvcCtx *)allocate(OCI_HTYPE_SVCCTX);
    OCISession *session = (OCISession *)allocate(OCI_HTYPE_SESSION);
    OCIStmt *statement = (OCIStmt *)allocate(OCI_HTYPE_STMT);

    check(OCIServerAttach(server, error, (const OraText *)link, (sb4)strlen(link), OCI_DEFAULT),
          "OCIServerAttach");
    check(OCIAttrSet(service, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, error), "OCIAttrSet");
    check(OCIAttrSet(service, OCI_HTYPE_SVCCTX, session, 0, OCI_ATTR_SESSION, error), "OCIAttrSet");
    check(OCISessionBegin(service, error, session, OCI_CRED_EXT, OCI_DEFAULT), "OCISessionBegin");
    check(OCIStmtPrepare(statement, error, (const OraText *)query, (ub4)strlen(query), OCI_NTV_SYNTAX,
                         OCI_DEFAULT),
          "OCIStmtPrepare");
    check(OCIStmtExecute(service, statement, error, 0, 0, NULL, NULL, OCI_DEFAULT), "OCIStmtExecute");
    check(OCIDefineByPos(statement, &column, error, 1, answer, sizeof answer, SQLT_STR, NULL, NULL, NULL,
                         OCI_DEFAULT),
          "OCIDefineByPos");
    check(OCIStmtFetch(statement, error, 1, OCI_FETCH_NEXT, OCI_DEFAULT), "OCIStmtFetch");
    printf("%s from %s, " DKOM_VERSION "\n", answer, link);
    OCISessionEnd(service, error, session, OCI_DEFAULT);
    OCIServerDetach(server, error, OCI_DEFAULT);
    return 0;
}
