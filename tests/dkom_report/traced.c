/* Leaves traces that the tests of the tools read: traced LINK WHAT. Built with each edition. */
#define _XOPEN_SOURCE 700

#include <pthread.h>
#include <string.h>
#include <sys/time.h>

#include "samples/connection.h"

static void fill(const struct connection *c)
{
    run(c, "CREATE TABLE people (id NUMBER(6), name VARCHAR2(40), pin NUMBER(4))");
    run(c, "INSERT INTO people VALUES (1, 'Ada Sesame', 4711)");
    run(c, "INSERT INTO people VALUES (2, 'Bob\nSesame''s', 4712)");
    for (int i = 0; i < 4; i++)
        run(c, "INSERT INTO people SELECT id, name, pin FROM people");
    check(c, OCITransCommit(c->service, c->err, OCI_DEFAULT), "OCITransCommit");
}

static void look_up(const struct connection *c, const char *name)
{
    char wanted[40] = "";
    sb4 id = 0;
    OCIStmt *statement = prepare(c, "SELECT id FROM people WHERE name = :name");
    strncpy(wanted, name, sizeof wanted - 1);
    bind_by_name(c, statement, ":name", wanted, sizeof wanted, SQLT_STR, NULL);
    check(c, execute(c, statement, 0), "OCIStmtExecute");
    define(c, statement, 1, &id, sizeof id, SQLT_INT, NULL, NULL);
    OCIStmtFetch2(statement, c->err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
    finish(statement);
}

static void fail(const struct connection *c)
{
    OCIStmt *statement = prepare(c, "INSERT INTO strangers (name) VALUES ('Eve Sesame')");
    if (execute(c, statement, 1) != OCI_SUCCESS)
        (void)error_code(c);
    finish(statement);
}

static void *work(void *link)
{
    struct connection c;
    memset(&c, 0, sizeof c);
    connect_to(&c, (const char *)link);
    for (int i = 0; i < 20; i++)
        look_up(&c, "Ada Sesame");
    disconnect(&c);
    return NULL;
}

#ifdef TRACED_EXTENDED
static void log_on(const struct connection *c, const char *link)
{
    OCISvcCtx *service = NULL;
    check(c,
          OCILogon2(c->env, c->err, &service, ora("sesame_user"), 11, ora("Sesame9"), 7, ora(link),
                    (ub4)strlen(link), OCI_DEFAULT),
          "OCILogon2");
    check(c, OCILogoff(service, c->err), "OCILogoff");
}
#endif

int main(int argc, char **argv)
{
    const char *link = argc > 1 ? argv[1] : "world";
    const char *what = argc > 2 ? argv[2] : "";
    struct connection c;
    memset(&c, 0, sizeof c);
    connect_to(&c, link);
    fill(&c);
    look_up(&c, "Ada Sesame");
    fail(&c);
#ifdef TRACED_EXTENDED
    log_on(&c, link);
#endif
    if (strcmp(what, "slow") == 0) {
        number_of(&c, "SELECT COUNT(*) FROM people a, people b, people c, people d WHERE a.pin + d.pin > 7");
    } else if (strcmp(what, "killed") == 0) {
        struct itimerval soon = {{0, 0}, {0, 300000}};
        setitimer(ITIMER_REAL, &soon, NULL); /* nobody handles the signal */
        number_of(&c, "SELECT COUNT(*) FROM people a, people b, people c, people d, people e, people f");
    } else if (strcmp(what, "leak") == 0) {
        OCILobLocator *lob = NULL;
        OCIDescriptorAlloc(c.env, (void **)&lob, OCI_DTYPE_LOB, 0, NULL);
        prepare(&c, "SELECT name FROM people WHERE id = 1");
    } else if (strcmp(what, "threads") == 0) {
        pthread_t threads[4];
        for (size_t i = 0; i < COUNT_OF(threads); i++)
            pthread_create(&threads[i], NULL, work, (void *)link);
        for (size_t i = 0; i < COUNT_OF(threads); i++)
            pthread_join(threads[i], NULL);
    } else if (strcmp(what, "stop") == 0) {
        OCISvcCtx *freed = c.service;
        disconnect(&c);
        OCITransCommit(freed, c.err, OCI_DEFAULT);
        return 0;
    }
    disconnect(&c);
    return 0;
}
