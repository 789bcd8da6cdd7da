/* A connection, and the OCI calls that every step of the program needs. */
#ifndef SAMPLES_CONNECTION_H
#define SAMPLES_CONNECTION_H

#include <oci.h>

#include <stdio.h>

#define COUNT_OF(array) (sizeof(array) / sizeof((array)[0]))
#define IS_NULL (-1) /* value of an indicator */

struct connection {
    OCIEnv *env;
    OCIError *err;
    OCIError *break_err; /* OCIBreak must not use the one that the call it breaks is using */
    OCIServer *server;
    OCISvcCtx *service;
    OCISession *session;
};

/* A text as OCI calls take it. */
const OraText *ora(const char *text);

/* --- return codes and errors */

/* Ends the program with a message. */
void give_up(const char *format, ...);

/* Ends the program, with the error records, unless the call succeeded. */
void check(const struct connection *c, sword status, const char *call);

/* check() for calls whose errors are not read: allocations have no error handle, and number and date calls
 * may leave nothing in the one that they are given. */
void check_plain(sword status, const char *call);

/* Number of the error that the last failed call left, 942 for ORA-00942. Ask only after a failed call. */
int error_code(const struct connection *c);

/* Prints all records that the last failed call left, the most recent one first. */
void print_errors(FILE *to, const struct connection *c);

/* --- connection */

/* Fills in *c, which must be all zero. External credentials: the database knows the user from elsewhere, so
 * no name or password is set. */
void connect_to(struct connection *c, const char *link);

void disconnect(struct connection *c);

/* --- statements */

OCIStmt *prepare(const struct connection *c, const char *sql);

/* `times`: for a query the rows to fetch at once, for anything else the rows of the bound arrays. Returns the
 * return code unchecked. */
sword execute(const struct connection *c, OCIStmt *statement, ub4 times);

/* Frees the statement with its binds and defines. */
void finish(OCIStmt *statement);

/* Prepares, executes and frees a statement that has no binds and no rows. */
void run(const struct connection *c, const char *sql);

/* The first value of a query, as an integer. */
sb4 number_of(const struct connection *c, const char *query);

/* A counter of the statement: OCI_ATTR_ROW_COUNT, OCI_ATTR_ROWS_FETCHED, OCI_ATTR_PARAM_COUNT. */
ub4 count_of(const struct connection *c, OCIStmt *statement, ub4 attribute);

/* Values, indicators and lengths are arrays with an element a row, or single variables; the library uses them
 * at each execution and fetch. Indicators and lengths may be NULL. */
void bind_by_position(const struct connection *c, OCIStmt *statement, ub4 position, void *values,
                      size_t value_size, ub2 type, sb2 *indicators);
void bind_by_name(const struct connection *c, OCIStmt *statement, const char *name, void *values,
                  size_t value_size, ub2 type, sb2 *indicators);
void define(const struct connection *c, OCIStmt *statement, ub4 position, void *values, size_t value_size,
            ub2 type, sb2 *indicators, ub2 *lengths);

#endif
