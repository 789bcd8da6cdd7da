/*
 * Uses the oracle driver of libdbi-drivers as an application does. Prints a line a test: "PASS name" or
 * "FAIL name: what it got". Usage: libdbi_exercise DRIVER_DIRECTORY
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <dbi/dbi.h>

static dbi_inst instance;
static char got[200];

static void note(const char *format, ...)
{
    va_list arguments;
    const size_t length = strlen(got);
    va_start(arguments, format);
    vsnprintf(got + length, sizeof got - length, format, arguments);
    va_end(arguments);
}

/* What the test has noted so far must be this. */
static void expect(const char *test, const char *wanted)
{
    if (strcmp(got, wanted) == 0)
        printf("PASS %s\n", test);
    else
        printf("FAIL %s: got '%s', wanted '%s'\n", test, got, wanted);
    got[0] = '\0';
    fflush(stdout);
}

static dbi_conn open_connection(const char *link)
{
    dbi_conn connection = dbi_conn_new_r("oracle", instance);
    if (!connection) {
        printf("FAIL driver: libdbi has not loaded it\n");
        exit(1);
    }
    dbi_conn_set_option(connection, "username", "scott");
    dbi_conn_set_option(connection, "password", "tiger");
    dbi_conn_set_option(connection, "dbname", link);
    return connection;
}

/* Notes the error of a statement that is to fail, or "ok" of one that works. */
static void run(dbi_conn connection, const char *statement)
{
    dbi_result result = dbi_conn_query(connection, statement);
    const char *reason = "";
    if (result) {
        note("ok ");
        dbi_result_free(result);
        return;
    }
    dbi_conn_error(connection, &reason);
    note("%.9s ", strstr(reason, "ORA-") ? strstr(reason, "ORA-") : reason);
}

/* Notes the rows of a query, each value by its type. */
static void rows(dbi_conn connection, const char *statement)
{
    dbi_result result = dbi_conn_query(connection, statement);
    if (!result) {
        run(connection, statement);
        return;
    }
    while (dbi_result_next_row(result)) {
        for (unsigned int i = 1; i <= dbi_result_get_numfields(result); i++) {
            const char *separator = i == 1 ? "" : ",";
            switch (dbi_result_get_field_type_idx(result, i)) {
            case DBI_TYPE_INTEGER:
                note("%s%lld", separator, dbi_result_get_longlong_idx(result, i));
                break;
            case DBI_TYPE_DECIMAL:
                note("%s%g", separator, dbi_result_get_double_idx(result, i));
                break;
            default:
                note("%s%s", separator, dbi_result_get_string_idx(result, i));
            }
        }
        note("; ");
    }
    dbi_result_free(result);
}

int main(int argc, char **argv)
{
    if (argc != 2 || dbi_initialize_r(argv[1], &instance) < 1) {
        fprintf(stderr, "usage: libdbi_exercise DRIVER_DIRECTORY\n");
        return 2;
    }
    dbi_conn refused = open_connection("nowhere");
    note("%d", dbi_conn_connect(refused) == 0);
    dbi_conn_close(refused);
    expect("unknown_database_is_refused", "0");

    dbi_conn connection = open_connection("east");
    note("%d", dbi_conn_connect(connection));
    expect("logon", "0");
    run(connection,
        "create table goods (id number(9) primary key, name varchar2(20), price number(9,2), made date)");
    run(connection, "insert into goods values (1, 'apple', 0.75, date '2026-03-01')");
    run(connection, "insert into goods values (2, 'it''s', 12, null)");
    run(connection, "insert into goods values (2, 'twice', 1, null)");
    expect("statements", "ok ok ok ORA-00001 ");
    rows(connection, "select id, name from goods order by id");
    expect("rows", "1,apple; 2,it's; ");
    // The driver counts a date's years and months from elsewhere than the C library: as text it is as stored.
    rows(connection, "select price, to_char(made, 'YYYY-MM-DD') as made from goods where id = 1");
    expect("decimals_and_dates", "0.75,2026-03-01; ");
    rows(connection, "select nothing from goods");
    expect("errors_have_numbers", "ORA-00904 ");

    dbi_result result = dbi_conn_query(connection, "select id as ident, name from goods");
    note("%llu rows of %s, %s", dbi_result_get_numrows(result), dbi_result_get_field_name(result, 1),
         dbi_result_get_field_name(result, 2));
    expect("count_and_names_by_a_scrolling_fetch", "2 rows of IDENT, NAME");
    dbi_result_seek_row(result, 2);
    note("%lld ", dbi_result_get_longlong_idx(result, 1));
    dbi_result_first_row(result);
    note("%lld", dbi_result_get_longlong_idx(result, 1));
    expect("seeking", "2 1");
    dbi_result_free(result);

    char *quoted = NULL;
    dbi_conn_quote_string_copy(connection, "o'clock", &quoted);
    char statement[100];
    snprintf(statement, sizeof statement, "select %s as t from dual", quoted);
    rows(connection, statement);
    expect("quoting", "o'clock; ");
    free(quoted);

    result = dbi_conn_get_table_list(connection, "east", "GOODS");
    note("%llu", result ? dbi_result_get_numrows(result) : 0ULL);
    expect("table_list", "1");
    dbi_result_free(result);

    run(connection, "create sequence counter start with 7");
    note("%llu ", dbi_conn_sequence_next(connection, "counter"));
    note("%llu", dbi_conn_sequence_last(connection, "counter"));
    expect("sequences", "ok 7 7");
    note("%s", dbi_conn_get_encoding(connection));
    expect("encoding", "AL32UTF8");
    note("%d", dbi_conn_ping(connection));
    expect("ping", "1");
    dbi_conn_close(connection);

    connection = open_connection("east");
    note("%d ", dbi_conn_connect(connection));
    rows(connection, "select count(*) as n from goods");
    expect("second_connection_sees_the_rows", "0 2; ");
    dbi_conn_close(connection);
    dbi_shutdown_r(instance);
    expect("orderly_end", "");
    return 0;
}
