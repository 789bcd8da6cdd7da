/*
 * Descriptors in buffers, as programs use them: LOBs, datetimes, intervals, row identifiers and cursors, in
 * arrays, inside structures, and in variables that change after they were bound. Prints what it reads. Linked
 * with a client library itself and with the library under test, which must print the same on either database.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <oci.h>

#define ROWS 12

static OCIEnv *env;
static OCIError *err;
static OCISvcCtx *svc;

static void check(sword rc, const char *what)
{
    OraText text[512] = "";
    sb4 code = 0;
    if (rc == OCI_SUCCESS || rc == OCI_NO_DATA)
        return;
    OCIErrorGet(err, 1, NULL, &code, text, sizeof text, OCI_HTYPE_ERROR);
    printf("%s: %d: %s\n", what, rc, text);
    exit(1);
}

static void *allocate(ub4 type)
{
    void *made = NULL;
    check(type < OCI_DTYPE_FIRST ? OCIHandleAlloc(env, &made, type, 0, NULL)
                                 : OCIDescriptorAlloc(env, &made, type, 0, NULL),
          "allocate");
    return made;
}

static OCIStmt *prepare(const char *sql)
{
    OCIStmt *stmt = allocate(OCI_HTYPE_STMT);
    check(OCIStmtPrepare(stmt, err, (const OraText *)sql, (ub4)strlen(sql), OCI_NTV_SYNTAX, OCI_DEFAULT),
          sql);
    return stmt;
}

static void run(const char *sql)
{
    OCIStmt *stmt = prepare(sql);
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), sql);
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
}

static void connect_to(const char *link)
{
    check(OCIEnvCreate(&env, OCI_DEFAULT, NULL, NULL, NULL, NULL, 0, NULL), "environment");
    err = allocate(OCI_HTYPE_ERROR);
    check(OCILogon2(env, err, &svc, (const OraText *)"scott", 5, (const OraText *)"tiger", 5,
                    (const OraText *)link, (ub4)strlen(link), OCI_DEFAULT),
          "logon");
}

/* Values bound from descriptors in an array of structures; the variables are set after they are bound. */
struct event {
    OCIDateTime *at;
    OCIInterval *lasts;
    int id;
    sb2 at_null;
};

static void insert_events(void)
{
    struct event events[ROWS];
    OCIStmt *stmt = prepare("insert into happening values (:id, :at, :lasts)");
    OCIBind *id = NULL;
    OCIBind *at = NULL;
    OCIBind *lasts = NULL;
    memset(events, 0, sizeof events);
    check(OCIBindByName(stmt, &id, err, (const OraText *)":id", 3, &events[0].id, sizeof(int), SQLT_INT, NULL,
                        NULL, NULL, 0, NULL, OCI_DEFAULT),
          "bind id");
    check(OCIBindArrayOfStruct(id, err, sizeof(struct event), 0, 0, 0), "skip of id");
    check(OCIBindByName(stmt, &at, err, (const OraText *)":at", 3, &events[0].at, sizeof(OCIDateTime *),
                        SQLT_TIMESTAMP, &events[0].at_null, NULL, NULL, 0, NULL, OCI_DEFAULT),
          "bind at");
    check(OCIBindArrayOfStruct(at, err, sizeof(struct event), sizeof(struct event), 0, 0), "skip of at");
    check(OCIBindByPos(stmt, &lasts, err, 3, &events[0].lasts, sizeof(OCIInterval *), SQLT_INTERVAL_DS, NULL,
                       NULL, NULL, 0, NULL, OCI_DEFAULT),
          "bind lasts");
    check(OCIBindArrayOfStruct(lasts, err, sizeof(struct event), 0, 0, 0), "skip of lasts");
    for (int i = 0; i < ROWS; i++) {
        events[i].id = i + 1;
        events[i].at = allocate(OCI_DTYPE_TIMESTAMP);
        events[i].lasts = allocate(OCI_DTYPE_INTERVAL_DS);
        events[i].at_null = i == 4 ? -1 : 0;
        check(OCIDateTimeConstruct(env, err, events[i].at, (sb2)(2000 + i), 2, (ub1)(i + 1), 10, 20, 30,
                                   500000000, NULL, 0),
              "construct");
        check(OCIIntervalSetDaySecond(env, err, i, 1, 2, 3, 0, events[i].lasts), "interval");
    }
    check(OCIStmtExecute(svc, stmt, err, ROWS, 0, NULL, NULL, OCI_DEFAULT), "insert");
    // The same statement, other descriptors in the same variables, one row.
    events[0].id = 100;
    events[0].at = allocate(OCI_DTYPE_TIMESTAMP);
    check(OCIDateTimeFromText(env, err, (const OraText *)"1999-12-31 23:59:59", 19,
                              (const OraText *)"YYYY-MM-DD HH24:MI:SS", 21, NULL, 0, events[0].at),
          "from text");
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), "insert again");
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
}

/* Fetched first one by one, then many at once, into other descriptors each time. */
static void fetch_events(void)
{
    OCIStmt *stmt = prepare("select id, at, lasts from happening order by id");
    OCIDefine *defines[3] = {NULL, NULL, NULL};
    OCIDateTime *at[ROWS];
    OCIInterval *lasts[ROWS];
    int id[ROWS];
    sb2 null[ROWS];
    ub4 fetched = 1;
    sword rc = OCI_SUCCESS;
    check(OCIDefineByPos(stmt, &defines[0], err, 1, id, sizeof(int), SQLT_INT, NULL, NULL, NULL, OCI_DEFAULT),
          "define id");
    check(OCIDefineByPos(stmt, &defines[1], err, 2, at, sizeof at[0], SQLT_TIMESTAMP, null, NULL, NULL,
                         OCI_DEFAULT),
          "define at");
    check(OCIDefineByPos(stmt, &defines[2], err, 3, lasts, sizeof lasts[0], SQLT_INTERVAL_DS, NULL, NULL,
                         NULL, OCI_DEFAULT),
          "define lasts");
    check(OCIStmtExecute(svc, stmt, err, 0, 0, NULL, NULL, OCI_DEFAULT), "select");
    for (int round = 0; rc == OCI_SUCCESS; round++) {
        const ub4 wanted = round < 2 ? 1 : 5;
        for (int i = 0; i < ROWS; i++) {
            at[i] = allocate(OCI_DTYPE_TIMESTAMP);
            lasts[i] = allocate(OCI_DTYPE_INTERVAL_DS);
        }
        rc = OCIStmtFetch2(stmt, err, wanted, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
        check(rc, "fetch");
        check(OCIAttrGet(stmt, OCI_HTYPE_STMT, &fetched, NULL, OCI_ATTR_ROWS_FETCHED, err), "rows");
        for (ub4 i = 0; i < fetched; i++) {
            OraText text[64] = "";
            size_t length = 0;
            ub4 size = sizeof text;
            check(OCIIntervalToText(env, err, lasts[i], 3, 0, text, sizeof text, &length),
                  "interval to text");
            printf("%3d  %-16.*s", id[i], (int)length, text);
            memset(text, 0, sizeof text);
            if (null[i] == 0)
                check(OCIDateTimeToText(env, err, at[i], (const OraText *)"YYYY-MM-DD HH24:MI:SS", 21, 0,
                                        NULL, 0, &size, text),
                      "to text");
            printf("  %s\n", null[i] == 0 ? (char *)text : "null");
        }
    }
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
}

static void write_and_read_lobs(void)
{
    OCIStmt *stmt = prepare("insert into note values (:1, :2)");
    OCIBind *bind[2] = {NULL, NULL};
    OCIDefine *define = NULL;
    OCILobLocator *lobs[4];
    OCIRowid *rowid = allocate(OCI_DTYPE_ROWID);
    char name[8];
    char text[64];
    check(OCIBindByPos(stmt, &bind[0], err, 1, name, sizeof name, SQLT_STR, NULL, NULL, NULL, 0, NULL,
                       OCI_DEFAULT),
          "bind name");
    check(OCIBindByPos(stmt, &bind[1], err, 2, &lobs[0], sizeof lobs[0], SQLT_CLOB, NULL, NULL, NULL, 0, NULL,
                       OCI_DEFAULT),
          "bind lob");
    for (int i = 0; i < 4; i++) {
        ub4 amount = (ub4)sprintf(text, "the text of note %d", i);
        sprintf(name, "n%d", i);
        lobs[0] = allocate(OCI_DTYPE_LOB);
        check(OCILobCreateTemporary(svc, err, lobs[0], 0, SQLCS_IMPLICIT, OCI_TEMP_CLOB, FALSE,
                                    OCI_DURATION_SESSION),
              "temporary");
        check(OCILobWrite(svc, err, lobs[0], &amount, 1, text, amount, OCI_ONE_PIECE, NULL, NULL, 0,
                          SQLCS_IMPLICIT),
              "write");
        check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), "insert note");
        OCIDescriptorFree(lobs[0], OCI_DTYPE_LOB);
    }
    check(OCIAttrGet(stmt, OCI_HTYPE_STMT, rowid, NULL, OCI_ATTR_ROWID, err), "rowid");
    OCIHandleFree(stmt, OCI_HTYPE_STMT);

    stmt = prepare("select body from note order by name");
    check(
        OCIDefineByPos(stmt, &define, err, 1, lobs, sizeof lobs[0], SQLT_CLOB, NULL, NULL, NULL, OCI_DEFAULT),
        "define lob");
    for (int i = 0; i < 4; i++)
        lobs[i] = allocate(OCI_DTYPE_LOB);
    check(OCIStmtExecute(svc, stmt, err, 4, 0, NULL, NULL, OCI_DEFAULT), "select notes");
    for (int i = 0; i < 4; i++) {
        ub4 amount = sizeof text;
        memset(text, 0, sizeof text);
        check(OCILobRead(svc, err, lobs[i], &amount, 1, text, sizeof text, NULL, NULL, 0, SQLCS_IMPLICIT),
              "read");
        printf("%u characters: %s\n", amount, text);
    }
    OCIHandleFree(stmt, OCI_HTYPE_STMT);

    stmt = prepare("select name from note where rowid = :r");
    define = NULL;
    bind[0] = NULL;
    check(OCIBindByPos(stmt, &bind[0], err, 1, &rowid, sizeof rowid, SQLT_RDD, NULL, NULL, NULL, 0, NULL,
                       OCI_DEFAULT),
          "bind rowid");
    check(OCIDefineByPos(stmt, &define, err, 1, name, sizeof name, SQLT_STR, NULL, NULL, NULL, OCI_DEFAULT),
          "define name");
    check(OCIStmtExecute(svc, stmt, err, 1, 0, NULL, NULL, OCI_DEFAULT), "select by rowid");
    printf("the last one is %s\n", name);
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
}

/* All rows of a cursor, whose only column is a text. */
static void print_cursor(OCIStmt *cursor, int id)
{
    OCIDefine *define = NULL;
    char text[20];
    ub4 columns = 0;
    check(OCIAttrGet(cursor, OCI_HTYPE_STMT, &columns, NULL, OCI_ATTR_PARAM_COUNT, err), "columns");
    check(OCIDefineByPos(cursor, &define, err, 1, text, sizeof text, SQLT_STR, NULL, NULL, NULL, OCI_DEFAULT),
          "define text");
    printf("%d has a cursor of %u column:", id, columns);
    while (OCIStmtFetch2(cursor, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT) == OCI_SUCCESS)
        printf(" %s;", text);
    printf("\n");
}

/* Gives a statement handle for a row while it is fetched. */
static sb4 give_handle(void *context, OCIDefine *define, ub4 row, void **buffer, ub4 **length, ub1 *piece,
                       void **indicator, ub2 **code)
{
    static ub4 size;
    static sb2 state;
    static ub2 told;
    (void)define;
    (void)row;
    *(OCIStmt **)context = allocate(OCI_HTYPE_STMT);
    *buffer = *(OCIStmt **)context;
    *length = &size;
    *piece = OCI_ONE_PIECE;
    *indicator = &state;
    *code = &told;
    return OCI_CONTINUE;
}

/*
 * Cursors: two rows at once into an array of statement handles, a third into one of these again; then each
 * into a handle that is made for it.
 */
static void fetch_cursors(void)
{
    OCIStmt *stmt =
        prepare("select id, cursor(select to_char(id) || ' of ' || h.id from happening where id <= h.id "
                "order by happening.id) from happening h where id <= 3 order by h.id");
    OCIStmt *cursors[2] = {allocate(OCI_HTYPE_STMT), allocate(OCI_HTYPE_STMT)};
    OCIStmt *made = NULL;
    OCIDefine *defines[2] = {NULL, NULL};
    int id[2] = {0, 0};
    ub4 fetched = 0;
    sword rc = OCI_SUCCESS;
    check(OCIDefineByPos(stmt, &defines[0], err, 1, id, sizeof(int), SQLT_INT, NULL, NULL, NULL, OCI_DEFAULT),
          "define id");
    check(OCIDefineByPos(stmt, &defines[1], err, 2, cursors, sizeof cursors[0], SQLT_RSET, NULL, NULL, NULL,
                         OCI_DEFAULT),
          "define cursor");
    check(OCIStmtExecute(svc, stmt, err, 0, 0, NULL, NULL, OCI_DEFAULT), "select cursors");
    while (rc == OCI_SUCCESS) {
        rc = OCIStmtFetch2(stmt, err, 2, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
        check(rc, "fetch cursors");
        check(OCIAttrGet(stmt, OCI_HTYPE_STMT, &fetched, NULL, OCI_ATTR_ROWS_FETCHED, err), "rows");
        for (ub4 i = 0; i < fetched; i++)
            print_cursor(cursors[i], id[i]);
    }

    check(OCIDefineByPos(stmt, &defines[1], err, 2, NULL, 0, SQLT_RSET, NULL, NULL, NULL, OCI_DYNAMIC_FETCH),
          "define cursor by a callback");
    check(OCIDefineDynamic(defines[1], err, &made, give_handle), "callback");
    check(OCIStmtExecute(svc, stmt, err, 0, 0, NULL, NULL, OCI_DEFAULT), "select cursors again");
    while (OCIStmtFetch2(stmt, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT) == OCI_SUCCESS) {
        print_cursor(made, id[0]);
        OCIHandleFree(made, OCI_HTYPE_STMT);
    }
    OCIHandleFree(stmt, OCI_HTYPE_STMT);
    OCIHandleFree(cursors[0], OCI_HTYPE_STMT);
    OCIHandleFree(cursors[1], OCI_HTYPE_STMT);
}

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    connect_to(argv[1]);
    run("create table happening (id integer, at timestamp, lasts varchar2(40))");
    run("create table note (name varchar2(8), body clob)");
    insert_events();
    fetch_events();
    fetch_cursors();
    write_and_read_lobs();
    check(OCILogoff(svc, err), "logoff");
    check(OCIHandleFree(env, OCI_HTYPE_ENV), "free");
    return 0;
}
