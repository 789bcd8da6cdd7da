/*
 * A program whose texts are UTF-16 (OCIEnvNlsCreate with OCI_UTF16ID): statement, link, names, placeholders,
 * values, LOBs and error texts. Prints in UTF-8. Linked with a client library itself and with the library
 * under test.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <oci.h>

static OCIEnv *env;
static OCIError *err;
static OCISvcCtx *svc;

/* UTF-8 of the plane that this program uses, to UTF-16; returns bytes. */
static ub4 widen(const char *text, ub2 *into)
{
    ub4 count = 0;
    for (const unsigned char *p = (const unsigned char *)text; *p; count++) {
        if (*p < 0x80) {
            into[count] = *p;
            p += 1;
        } else if (*p < 0xe0) {
            into[count] = (ub2)((p[0] & 0x1f) << 6 | (p[1] & 0x3f));
            p += 2;
        } else {
            into[count] = (ub2)((p[0] & 0x0f) << 12 | (p[1] & 0x3f) << 6 | (p[2] & 0x3f));
            p += 3;
        }
    }
    into[count] = 0;
    return 2 * count;
}

static void print(const char *what, const void *text, ub4 bytes)
{
    printf("%s", what);
    for (ub4 i = 0; i < bytes / 2; i++) {
        ub2 c;
        memcpy(&c, (const char *)text + 2 * i, 2);
        if (c < 0x80)
            printf("%c", c);
        else if (c < 0x800)
            printf("%c%c", 0xc0 | c >> 6, 0x80 | (c & 0x3f));
        else
            printf("%c%c%c", 0xe0 | c >> 12, 0x80 | (c >> 6 & 0x3f), 0x80 | (c & 0x3f));
    }
    printf("\n");
}

static void print_error(void)
{
    ub2 text[256] = {0};
    sb4 code = 0;
    ub4 length = 0;
    OCIErrorGet(err, 1, NULL, &code, (OraText *)text, sizeof text, OCI_HTYPE_ERROR);
    while (length < 255 && text[length])
        length++;
    printf("error %d ", code);
    print("", text, 2 * length);
}

static void check(sword rc, const char *what)
{
    if (rc == OCI_SUCCESS || rc == OCI_NO_DATA)
        return;
    printf("%s: %d: ", what, rc);
    print_error();
    exit(1);
}

static OCIStmt *prepare(const char *sql)
{
    ub2 text[256];
    const ub4 bytes = widen(sql, text);
    void *stmt = NULL;
    check(OCIHandleAlloc(env, &stmt, OCI_HTYPE_STMT, 0, NULL), "allocate");
    check(OCIStmtPrepare(stmt, err, (OraText *)text, bytes, OCI_NTV_SYNTAX, OCI_DEFAULT), sql);
    return stmt;
}

static void run(const char *sql)
{
    OCIStmt *stmt = prepare(sql);
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), sql);
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
}

int main(int argc, char **argv)
{
    ub2 user[16];
    ub2 secret[16];
    ub2 link[64];
    ub2 value[64];
    ub2 name[64];
    ub2 fetched[64];
    ub2 length = 0;
    void *made = NULL;
    OCIBind *bind = NULL;
    OCIDefine *defines[2] = {NULL, NULL};
    OCILobLocator *lob = NULL;
    OCIParam *column = NULL;
    OraText *column_name = NULL;
    ub4 bytes = 0;
    if (argc != 2)
        return 2;
    if (OCIEnvNlsCreate(&env, OCI_DEFAULT, NULL, NULL, NULL, NULL, 0, NULL, OCI_UTF16ID, OCI_UTF16ID) !=
        OCI_SUCCESS)
        return 3;
    OCIHandleAlloc(env, &made, OCI_HTYPE_ERROR, 0, NULL);
    err = made;
    check(OCILogon(env, err, &svc, (OraText *)user, widen("scött", user), (OraText *)secret,
                   widen("한글", secret), (OraText *)link, widen(argv[1], link)),
          "logon");
    run("create table 도시 (이름 varchar2(40), 글 clob)");

    OCIStmt *stmt = prepare("insert into 도시 values (:값, :값)");
    bytes = widen(":값", name);
    check(OCIBindByName(stmt, &bind, err, (OraText *)name, (sb4)bytes, value,
                        (sb4)widen("서울과 Zürich", value), SQLT_CHR, NULL, NULL, NULL, 0, NULL, OCI_DEFAULT),
          "bind");
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), "insert");

    stmt = prepare("select 이름, 글 from 도시");
    check(OCIDescriptorAlloc(env, &made, OCI_DTYPE_LOB, 0, NULL), "locator");
    lob = made;
    check(OCIDefineByPos(stmt, &defines[0], err, 1, fetched, sizeof fetched, SQLT_CHR, NULL, &length, NULL,
                         OCI_DEFAULT),
          "define");
    check(
        OCIDefineByPos(stmt, &defines[1], err, 2, &lob, sizeof lob, SQLT_CLOB, NULL, NULL, NULL, OCI_DEFAULT),
        "define");
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), "select");
    print("value  ", fetched, length);
    check(OCIParamGet(stmt, OCI_HTYPE_STMT, err, &made, 1), "column");
    column = made;
    check(OCIAttrGet(column, OCI_DTYPE_PARAM, &column_name, &bytes, OCI_ATTR_NAME, err), "name");
    print("column ", column_name, bytes);
    bytes = sizeof fetched;
    check(OCILobRead(svc, err, lob, &bytes, 1, fetched, sizeof fetched, NULL, NULL, 0, SQLCS_IMPLICIT),
          "read");
    printf("%u characters ", bytes);
    print("", fetched, 2 * bytes);

    stmt = prepare("select 없음 from 도시");
    if (OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT) != OCI_SUCCESS)
        print_error();
    check(OCILogoff(svc, err), "logoff");
    OCIHandleFree(env, OCI_HTYPE_ENV);
    return 0;
}
