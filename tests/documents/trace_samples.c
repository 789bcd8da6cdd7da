/* The calls whose traces docs/traces.md shows, on a connection of Dravik's: trace_samples NAME. */
#include <string.h>

#include "samples/connection.h"

static void query(const struct connection *c)
{
    char town[] = "Oslo";
    char answer[16] = "";
    OCIStmt *statement = prepare(c, "SELECT :town FROM dual");
    bind_by_name(c, statement, ":town", town, sizeof town, SQLT_STR, NULL);
    check(c, execute(c, statement, 0), "OCIStmtExecute");
    define(c, statement, 1, answer, sizeof answer, SQLT_STR, NULL, NULL);
    check(c, OCIStmtFetch(statement, c->err, 1, OCI_FETCH_NEXT, OCI_DEFAULT), "OCIStmtFetch");
    finish(statement);
}

int main(int argc, char **argv)
{
    const char *name = argc > 1 ? argv[1] : "";
    struct connection c;
    memset(&c, 0, sizeof c);
    connect_to(&c, "west");
    if (strcmp(name, "commit") == 0)
        check(&c, OCITransCommit(c.service, c.err, OCI_DEFAULT), "OCITransCommit");
    else if (strcmp(name, "query") == 0)
        query(&c);
    else if (strcmp(name, "failure") == 0)
        execute(&c, prepare(&c, "SELECT name FROM towns"), 0);
    else if (strcmp(name, "stop") == 0)
        OCITransCommit((OCISvcCtx *)&c, c.err, OCI_DEFAULT);
    return 0;
}
