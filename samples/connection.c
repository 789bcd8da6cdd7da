#define _XOPEN_SOURCE 700

#include "connection.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

const OraText *ora(const char *text)
{
    return (const OraText *)text;
}

int error_code(const struct connection *c)
{
    OraText message[1024] = "";
    sb4 code = 0;
    OCIErrorGet(c->err, 1, NULL, &code, message, sizeof message, OCI_HTYPE_ERROR);
    return code;
}

void print_errors(FILE *to, const struct connection *c)
{
    for (ub4 record = 1;; record++) {
        OraText message[1024] = "";
        sb4 code = 0;
        if (OCIErrorGet(c->err, record, NULL, &code, message, sizeof message, OCI_HTYPE_ERROR) != OCI_SUCCESS)
            return;
        fprintf(to, "  %s\n", (const char *)message);
    }
}

void give_up(const char *format, ...)
{
    va_list arguments;
    fflush(stdout);
    fputs("daily: ", stderr);
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    exit(EXIT_FAILURE);
}

void check(const struct connection *c, sword status, const char *call)
{
    if (status == OCI_SUCCESS || status == OCI_SUCCESS_WITH_INFO)
        return;
    fflush(stdout);
    if (status == OCI_ERROR)
        print_errors(stderr, c);
    give_up("%s failed with return code %d", call, (int)status);
}

void check_plain(sword status, const char *call)
{
    if (status != OCI_SUCCESS)
        give_up("%s failed with return code %d", call, (int)status);
}

static void *new_handle(const struct connection *c, ub4 type)
{
    void *handle = NULL;
    check_plain(OCIHandleAlloc(c->env, &handle, type, 0, NULL), "OCIHandleAlloc");
    return handle;
}

void connect_to(struct connection *c, const char *link)
{
    check_plain(OCIEnvCreate(&c->env, OCI_DEFAULT, NULL, NULL, NULL, NULL, 0, NULL), "OCIEnvCreate");
    c->err = new_handle(c, OCI_HTYPE_ERROR);
    c->break_err = new_handle(c, OCI_HTYPE_ERROR);
    c->server = new_handle(c, OCI_HTYPE_SERVER);
    c->service = new_handle(c, OCI_HTYPE_SVCCTX);
    c->session = new_handle(c, OCI_HTYPE_SESSION);

    check(c, OCIServerAttach(c->server, c->err, ora(link), (sb4)strlen(link), OCI_DEFAULT),
          "OCIServerAttach");
    check(c, OCIAttrSet(c->service, OCI_HTYPE_SVCCTX, c->server, 0, OCI_ATTR_SERVER, c->err), "OCIAttrSet");
    check(c, OCIAttrSet(c->service, OCI_HTYPE_SVCCTX, c->session, 0, OCI_ATTR_SESSION, c->err), "OCIAttrSet");
    check(c, OCISessionBegin(c->service, c->err, c->session, OCI_CRED_EXT, OCI_DEFAULT), "OCISessionBegin");
    printf("connected to %s\n", link);
}

void disconnect(struct connection *c)
{
    check(c, OCISessionEnd(c->service, c->err, c->session, OCI_DEFAULT), "OCISessionEnd");
    check(c, OCIServerDetach(c->server, c->err, OCI_DEFAULT), "OCIServerDetach");
    OCIHandleFree(c->session, OCI_HTYPE_SESSION);
    OCIHandleFree(c->service, OCI_HTYPE_SVCCTX);
    OCIHandleFree(c->server, OCI_HTYPE_SERVER);
    OCIHandleFree(c->break_err, OCI_HTYPE_ERROR);
    OCIHandleFree(c->err, OCI_HTYPE_ERROR);
    OCIHandleFree(c->env, OCI_HTYPE_ENV);
    printf("disconnected\n");
}

OCIStmt *prepare(const struct connection *c, const char *sql)
{
    OCIStmt *statement = new_handle(c, OCI_HTYPE_STMT);
    check(c, OCIStmtPrepare(statement, c->err, ora(sql), (ub4)strlen(sql), OCI_NTV_SYNTAX, OCI_DEFAULT),
          "OCIStmtPrepare");
    return statement;
}

sword execute(const struct connection *c, OCIStmt *statement, ub4 times)
{
    return OCIStmtExecute(c->service, statement, c->err, times, 0, NULL, NULL, OCI_DEFAULT);
}

void finish(OCIStmt *statement)
{
    OCIHandleFree(statement, OCI_HTYPE_STMT);
}

ub4 count_of(const struct connection *c, OCIStmt *statement, ub4 attribute)
{
    ub4 rows = 0;
    check(c, OCIAttrGet(statement, OCI_HTYPE_STMT, &rows, NULL, attribute, c->err), "OCIAttrGet");
    return rows;
}

void run(const struct connection *c, const char *sql)
{
    OCIStmt *statement = prepare(c, sql);
    check(c, execute(c, statement, 1), "OCIStmtExecute");
    finish(statement);
}

/* Bind and define handles start as NULL: the library makes them. */
void bind_by_position(const struct connection *c, OCIStmt *statement, ub4 position, void *values,
                      size_t value_size, ub2 type, sb2 *indicators)
{
    OCIBind *bind = NULL;
    check(c,
          OCIBindByPos(statement, &bind, c->err, position, values, (sb4)value_size, type, indicators, NULL,
                       NULL, 0, NULL, OCI_DEFAULT),
          "OCIBindByPos");
}

void bind_by_name(const struct connection *c, OCIStmt *statement, const char *name, void *values,
                  size_t value_size, ub2 type, sb2 *indicators)
{
    OCIBind *bind = NULL;
    check(c,
          OCIBindByName(statement, &bind, c->err, ora(name), (sb4)strlen(name), values, (sb4)value_size, type,
                        indicators, NULL, NULL, 0, NULL, OCI_DEFAULT),
          "OCIBindByName");
}

void define(const struct connection *c, OCIStmt *statement, ub4 position, void *values, size_t value_size,
            ub2 type, sb2 *indicators, ub2 *lengths)
{
    OCIDefine *handle = NULL;
    check(c,
          OCIDefineByPos(statement, &handle, c->err, position, values, (sb4)value_size, type, indicators,
                         lengths, NULL, OCI_DEFAULT),
          "OCIDefineByPos");
}

sb4 number_of(const struct connection *c, const char *query)
{
    sb4 number = 0;
    OCIStmt *statement = prepare(c, query);
    define(c, statement, 1, &number, sizeof number, SQLT_INT, NULL, NULL);
    check(c, execute(c, statement, 1), "OCIStmtExecute");
    finish(statement);
    return number;
}
