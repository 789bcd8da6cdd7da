/*
 * What an OCI program does all day, one step after the other. Each step is a function that can be read, and
 * copied from, by itself; the table `steps` at the end names them in their order. What all of them need is in
 * connection.c.
 *
 * The program is plain OCI: linked with a client library it talks to that one, linked with libdkom.so to
 * whichever serves the link.
 */
#define _XOPEN_SOURCE 700

#include "connection.h"

#include <inttypes.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

struct options {
    const char *link;
    unsigned long lob_mb;
    const char *lob_file; /* NULL: bytes of our own */
    int keep_tables;
};

/* --- step: tables */

static void drop_table(const struct connection *c, const char *sql)
{
    enum { no_such_table = 942 };
    OCIStmt *statement = prepare(c, sql);
    const sword status = execute(c, statement, 1);
    if (status != OCI_SUCCESS && error_code(c) != no_such_table)
        check(c, status, "OCIStmtExecute");
    finish(statement);
}

static void drop_tables(const struct connection *c)
{
    drop_table(c, "DROP TABLE daily_order");
    drop_table(c, "DROP TABLE daily_file");
}

static void make_tables(const struct connection *c, const struct options *options)
{
    (void)options;
    drop_tables(c);
    run(c, "CREATE TABLE daily_order (id NUMBER(6) PRIMARY KEY, customer VARCHAR2(20) NOT NULL,"
           " amount NUMBER(12,2), ordered DATE)");
    run(c, "CREATE TABLE daily_file (id NUMBER(6) PRIMARY KEY, name VARCHAR2(40), content BLOB)");
    printf("made the tables daily_order and daily_file\n");
}

/* --- step: insert */

/* One execution inserts all rows of the arrays. Numbers and dates travel in the types of the database, which
 * keep all digits; an indicator makes a value NULL. */
static void insert_rows(const struct connection *c, const struct options *options)
{
    enum { rows = 5 };
    static const char *const amounts[rows] = {"1200.50", "0.99", "", "98765432.10", "-15"};
    static const char *const dates[rows] = {"2024-01-31", "2024-02-29", "2023-12-24", "", "1999-12-31"};
    static const char *const number_format = "99999999.99", *const date_format = "YYYY-MM-DD";
    sb4 ids[rows] = {1, 2, 3, 4, 5};
    char customers[rows][21] = {"Ada", "Grace", "Zo\xC3\xAB", "Barbara", "Edsger"};
    OCINumber numbers[rows];
    OCIDate days[rows];
    sb2 amount_indicators[rows] = {0};
    sb2 date_indicators[rows] = {0};
    (void)options;

    memset(numbers, 0, sizeof numbers);
    memset(days, 0, sizeof days);
    for (int i = 0; i < rows; i++) {
        amount_indicators[i] = amounts[i][0] ? 0 : IS_NULL;
        date_indicators[i] = dates[i][0] ? 0 : IS_NULL;
        if (amounts[i][0])
            check_plain(OCINumberFromText(c->err, ora(amounts[i]), (ub4)strlen(amounts[i]),
                                          ora(number_format), (ub4)strlen(number_format), NULL, 0,
                                          &numbers[i]),
                        "OCINumberFromText");
        if (dates[i][0])
            check_plain(OCIDateFromText(c->err, ora(dates[i]), (ub4)strlen(dates[i]), ora(date_format),
                                        (ub1)strlen(date_format), NULL, 0, &days[i]),
                        "OCIDateFromText");
    }

    OCIStmt *insert = prepare(c, "INSERT INTO daily_order VALUES (:1, :2, :3, :4)");
    bind_by_position(c, insert, 1, ids, sizeof ids[0], SQLT_INT, NULL);
    bind_by_position(c, insert, 2, customers, sizeof customers[0], SQLT_STR, NULL);
    bind_by_position(c, insert, 3, numbers, sizeof numbers[0], SQLT_VNU, amount_indicators);
    bind_by_position(c, insert, 4, days, sizeof days[0], SQLT_ODT, date_indicators);
    check(c, execute(c, insert, rows), "OCIStmtExecute");
    printf("inserted %u rows bound by position\n", (unsigned)count_of(c, insert, OCI_ATTR_ROW_COUNT));
    finish(insert);

    sb4 more_ids[2] = {6, 7};
    char more_customers[2][21] = {"Donald", "Frances"};
    insert = prepare(c, "INSERT INTO daily_order (id, customer) VALUES (:id, :customer)");
    bind_by_name(c, insert, ":id", more_ids, sizeof more_ids[0], SQLT_INT, NULL);
    bind_by_name(c, insert, ":customer", more_customers, sizeof more_customers[0], SQLT_STR, NULL);
    check(c, execute(c, insert, COUNT_OF(more_ids)), "OCIStmtExecute");
    printf("inserted %u rows bound by name\n", (unsigned)count_of(c, insert, OCI_ATTR_ROW_COUNT));
    finish(insert);
    check(c, OCITransCommit(c->service, c->err, OCI_DEFAULT), "OCITransCommit");
}

/* --- step: describe */

static const char *type_name(ub2 type)
{
    static const struct {
        ub2 type;
        const char *name;
    } names[] = {{SQLT_CHR, "VARCHAR2"}, {SQLT_NUM, "NUMBER"}, {SQLT_DAT, "DATE"}, {SQLT_BIN, "RAW"},
                 {SQLT_AFC, "CHAR"},     {SQLT_CLOB, "CLOB"},  {SQLT_BLOB, "BLOB"}};
    for (size_t i = 0; i < COUNT_OF(names); i++)
        if (names[i].type == type)
            return names[i].name;
    return "another type";
}

static void print_column(const struct connection *c, OCIParam *column)
{
    OraText *name = NULL; /* belongs to the library, and has no terminating zero */
    ub4 name_length = 0;
    ub2 type = 0, size = 0;
    sb2 precision = 0;
    sb1 scale = 0;
    ub1 nullable = 0;
    const struct {
        ub4 attribute;
        void *value;
        ub4 *length;
    } wanted[] = {{OCI_ATTR_NAME, &name, &name_length}, {OCI_ATTR_DATA_TYPE, &type, NULL},
                  {OCI_ATTR_DATA_SIZE, &size, NULL},    {OCI_ATTR_PRECISION, &precision, NULL},
                  {OCI_ATTR_SCALE, &scale, NULL},       {OCI_ATTR_IS_NULL, &nullable, NULL}};
    for (size_t i = 0; i < COUNT_OF(wanted); i++)
        check(c,
              OCIAttrGet(column, OCI_DTYPE_PARAM, wanted[i].value, wanted[i].length, wanted[i].attribute,
                         c->err),
              "OCIAttrGet");
    printf("  %-10.*s %-9s size %2u  precision %2d  scale %d  %s\n", (int)name_length, (const char *)name,
           type_name(type), (unsigned)size, precision, scale, nullable ? "may be NULL" : "NOT NULL");
}

static void describe_query(const struct connection *c, const struct options *options)
{
    (void)options;
    OCIStmt *query = prepare(c, "SELECT id, customer, amount, ordered FROM daily_order");
    check(c, OCIStmtExecute(c->service, query, c->err, 0, 0, NULL, NULL, OCI_DESCRIBE_ONLY),
          "OCIStmtExecute");
    const ub4 columns = count_of(c, query, OCI_ATTR_PARAM_COUNT);
    printf("the query has %u columns\n", (unsigned)columns);
    for (ub4 position = 1; position <= columns; position++) {
        void *column = NULL; /* the library looks at what it holds before the call */
        check(c, OCIParamGet(query, OCI_HTYPE_STMT, c->err, &column, position), "OCIParamGet");
        if (column == NULL)
            give_up("this connection does not describe columns; leave the step out with --skip describe");
        print_column(c, column);
        OCIDescriptorFree(column, OCI_DTYPE_PARAM);
    }
    finish(query);
}

/* --- step: fetch */

enum { rows_per_fetch = 3 };

/* Room for the rows of one fetch, an array a column. */
struct order_rows {
    sb4 ids[rows_per_fetch];
    char customers[rows_per_fetch][21];
    ub2 customer_lengths[rows_per_fetch];
    OCINumber amounts[rows_per_fetch];
    sb2 amount_indicators[rows_per_fetch];
    OCIDate days[rows_per_fetch];
    sb2 day_indicators[rows_per_fetch];
};

static const char *number_text(const struct connection *c, const OCINumber *number, char *text, ub4 size)
{
    static const char *const format = "999,999,990.00";
    check_plain(
        OCINumberToText(c->err, number, ora(format), (ub4)strlen(format), NULL, 0, &size, (OraText *)text),
        "OCINumberToText");
    return text;
}

static const char *date_text(const struct connection *c, const OCIDate *date, const char *format, char *text,
                             ub4 size)
{
    check_plain(
        OCIDateToText(c->err, date, ora(format), (ub1)strlen(format), NULL, 0, &size, (OraText *)text),
        "OCIDateToText");
    return text;
}

static void print_order(const struct connection *c, const struct order_rows *rows, ub4 row)
{
    char amount[40] = "NULL", day[40] = "NULL";
    if (rows->amount_indicators[row] != IS_NULL)
        number_text(c, &rows->amounts[row], amount, sizeof amount);
    if (rows->day_indicators[row] != IS_NULL)
        date_text(c, &rows->days[row], "DD Mon YYYY", day, sizeof day);
    printf("  %d  %15s  %-11s  %s (%u bytes)\n", (int)rows->ids[row], amount, day, rows->customers[row],
           (unsigned)rows->customer_lengths[row]);
}

static void fetch_rows(const struct connection *c, const struct options *options)
{
    struct order_rows rows;
    unsigned total = 0, fetches = 0;
    (void)options;
    memset(&rows, 0, sizeof rows);

    OCIStmt *query = prepare(c, "SELECT id, customer, amount, ordered FROM daily_order ORDER BY id");
    define(c, query, 1, rows.ids, sizeof rows.ids[0], SQLT_INT, NULL, NULL);
    define(c, query, 2, rows.customers, sizeof rows.customers[0], SQLT_STR, NULL, rows.customer_lengths);
    define(c, query, 3, rows.amounts, sizeof rows.amounts[0], SQLT_VNU, rows.amount_indicators, NULL);
    define(c, query, 4, rows.days, sizeof rows.days[0], SQLT_ODT, rows.day_indicators, NULL);
    check(c, execute(c, query, 0), "OCIStmtExecute");

    for (sword status = OCI_SUCCESS; status != OCI_NO_DATA; fetches++) {
        status = OCIStmtFetch(query, c->err, rows_per_fetch, OCI_FETCH_NEXT, OCI_DEFAULT);
        if (status != OCI_NO_DATA)
            check(c, status, "OCIStmtFetch");
        const ub4 fetched = count_of(c, query, OCI_ATTR_ROWS_FETCHED); /* the last fetch has rows too */
        for (ub4 row = 0; row < fetched; row++)
            print_order(c, &rows, row);
        total += fetched;
    }
    printf("fetched %u rows with %u fetches\n", total, fetches);
    finish(query);
}

/* --- step: values */

static void convert_values(const struct connection *c, const struct options *options)
{
    static const char *const format = "YYYY-MM-DD", *const start = "2024-01-31";
    OCINumber number;
    OCIDate day, other;
    char text[64];
    double real = 0;
    sb4 integer = -271828, days = 0;
    (void)options;
    memset(&number, 0, sizeof number);
    memset(&day, 0, sizeof day);
    memset(&other, 0, sizeof other);

    check_plain(OCINumberFromInt(c->err, &integer, sizeof integer, OCI_NUMBER_SIGNED, &number),
                "OCINumberFromInt");
    check_plain(OCINumberToReal(c->err, &number, sizeof real, &real), "OCINumberToReal");
    printf("the integer %d is the number %s and the real %g\n", (int)integer,
           number_text(c, &number, text, sizeof text), real);

    check_plain(OCIDateFromText(c->err, ora(start), (ub4)strlen(start), ora(format), (ub1)strlen(format),
                                NULL, 0, &day),
                "OCIDateFromText");
    check_plain(OCIDateAddMonths(c->err, &day, 1, &other), "OCIDateAddMonths");
    printf("%s and a month is %s\n", start, date_text(c, &other, format, text, sizeof text));
    check_plain(OCIDateLastDay(c->err, &other, &other), "OCIDateLastDay");
    check_plain(OCIDateDaysBetween(c->err, &other, &day, &days), "OCIDateDaysBetween");
    printf("the end of that month, %s, is %d days later\n",
           date_text(c, &other, "fmDay, DD Month YYYY", text, sizeof text), (int)days);
}

/* --- step: lob */

enum { piece_size = 64 * 1024 };

static uint64_t checksum(uint64_t sum, const ub1 *bytes, size_t count)
{
    for (size_t i = 0; i < count; i++)
        sum = (sum ^ bytes[i]) * UINT64_C(1099511628211);
    return sum;
}

static const uint64_t checksum_start = UINT64_C(14695981039346656037);

/* Where the bytes of the BLOB come from: a file, or a generator that makes the same ones in each run. */
struct source {
    FILE *file;
    uint64_t state;
    oraub8 size;
};

static struct source open_source(const struct options *options)
{
    struct source source = {NULL, 88172645463325252U, (oraub8)options->lob_mb << 20};
    if (options->lob_file == NULL)
        return source;
    source.file = fopen(options->lob_file, "rb");
    const off_t size =
        source.file != NULL && fseeko(source.file, 0, SEEK_END) == 0 ? ftello(source.file) : -1;
    if (size < 0)
        give_up("cannot read %s", options->lob_file);
    rewind(source.file);
    source.size = (oraub8)size;
    return source;
}

static void take(struct source *source, ub1 *bytes, size_t count)
{
    if (source->file != NULL) {
        if (fread(bytes, 1, count, source->file) != count)
            give_up("the file with the BLOB has become shorter, or cannot be read");
        return;
    }
    for (size_t i = 0; i < count; i++) {
        source->state ^= source->state << 13;
        source->state ^= source->state >> 7;
        source->state ^= source->state << 17;
        bytes[i] = (ub1)source->state;
    }
}

static void close_source(struct source *source)
{
    if (source->file != NULL)
        fclose(source->file);
}

static void show_progress(const char *what, oraub8 done, oraub8 total)
{
    if (!isatty(STDERR_FILENO) || (done % (1 << 20) != 0 && done != total))
        return;
    fprintf(stderr, "\r%s: %u of %u MB%s", what, (unsigned)(done >> 20), (unsigned)(total >> 20),
            done == total ? "\r\033[K" : "");
}

/* Returns the locator of the value, which must be there; one of a row that is locked can be written through.
 */
static OCILobLocator *select_lob(const struct connection *c, OCIStmt *query)
{
    void *locator = NULL;
    check_plain(OCIDescriptorAlloc(c->env, &locator, OCI_DTYPE_LOB, 0, NULL), "OCIDescriptorAlloc");
    OCILobLocator *lob = locator;
    define(c, query, 1, &lob, sizeof lob, SQLT_BLOB, NULL, NULL); /* used by this execution, by no fetch */
    check(c, execute(c, query, 1), "OCIStmtExecute");
    return lob;
}

/* The library asks for the next piece (OCI_NEED_DATA) until it gets the one that is called the last. */
static uint64_t write_pieces(const struct connection *c, OCILobLocator *lob, struct source *source)
{
    static ub1 buffer[piece_size];
    const oraub8 total = source->size;
    uint64_t sum = checksum_start;
    oraub8 bytes = total, characters = 0, written = 0;
    while (written < total) {
        const oraub8 count = total - written < piece_size ? total - written : piece_size;
        const int is_last = written + count == total;
        const ub1 piece = written == 0 ? (is_last ? OCI_ONE_PIECE : OCI_FIRST_PIECE)
                                       : (is_last ? OCI_LAST_PIECE : OCI_NEXT_PIECE);
        take(source, buffer, (size_t)count);
        sum = checksum(sum, buffer, (size_t)count);
        const sword status = OCILobWrite2(c->service, c->err, lob, &bytes, &characters, 1, buffer, count,
                                          piece, NULL, NULL, 0, SQLCS_IMPLICIT);
        if (is_last || status != OCI_NEED_DATA)
            check(c, status, "OCILobWrite2");
        written += count;
        show_progress("writing", written, total);
    }
    return sum;
}

/* Each call fills the buffer and says how much it put there. */
static uint64_t read_pieces(const struct connection *c, OCILobLocator *lob, oraub8 total)
{
    static ub1 buffer[piece_size];
    uint64_t sum = checksum_start;
    oraub8 bytes = total, characters = 0, read = 0;
    sword status = total > 0 ? OCI_NEED_DATA : OCI_SUCCESS;
    for (ub1 piece = OCI_FIRST_PIECE; status == OCI_NEED_DATA; piece = OCI_NEXT_PIECE) {
        status = OCILobRead2(c->service, c->err, lob, &bytes, &characters, 1, buffer, sizeof buffer, piece,
                             NULL, NULL, 0, SQLCS_IMPLICIT);
        if (status != OCI_NEED_DATA)
            check(c, status, "OCILobRead2");
        sum = checksum(sum, buffer, (size_t)bytes);
        read += bytes;
        show_progress("reading", read, total);
    }
    if (read != total)
        give_up("read %" PRIu64 " bytes of %" PRIu64, (uint64_t)read, (uint64_t)total);
    return sum;
}

/* A value of any size goes through one buffer; the program never holds it whole. */
static void stream_lob(const struct connection *c, const struct options *options)
{
    struct source source = open_source(options);
    run(c, "INSERT INTO daily_file VALUES (1, 'stream', EMPTY_BLOB())");
    OCIStmt *locking = prepare(c, "SELECT content FROM daily_file WHERE id = 1 FOR UPDATE");
    OCILobLocator *lob = select_lob(c, locking);
    const uint64_t written = write_pieces(c, lob, &source);
    check(c, OCITransCommit(c->service, c->err, OCI_DEFAULT), "OCITransCommit");
    OCIDescriptorFree(lob, OCI_DTYPE_LOB);
    finish(locking);
    close_source(&source);
    printf("wrote %" PRIu64 " bytes in pieces of %d kB, checksum %016" PRIx64 "\n", (uint64_t)source.size,
           piece_size / 1024, written);

    OCIStmt *query = prepare(c, "SELECT content FROM daily_file WHERE id = 1");
    lob = select_lob(c, query);
    oraub8 length = 0;
    check(c, OCILobGetLength2(c->service, c->err, lob, &length), "OCILobGetLength2");
    const uint64_t read = read_pieces(c, lob, length);
    OCIDescriptorFree(lob, OCI_DTYPE_LOB);
    finish(query);
    const int is_same = read == written && length == source.size;
    printf("read  %" PRIu64 " bytes back, checksum %016" PRIx64 ": %s\n", (uint64_t)length, read,
           is_same ? "the same" : "DIFFERENT");
    if (!is_same)
        give_up("the value that was read is not the one that was written");
}

/* --- step: transaction */

static void end_transactions(const struct connection *c, const struct options *options)
{
    static const char *const insert = "INSERT INTO daily_order (id, customer) VALUES (100, 'Nobody')";
    static const char *const count = "SELECT COUNT(*) FROM daily_order WHERE id = 100";
    (void)options;
    run(c, insert);
    printf("inserted: %d row", (int)number_of(c, count));
    check(c, OCITransRollback(c->service, c->err, OCI_DEFAULT), "OCITransRollback");
    printf(", rolled back: %d rows", (int)number_of(c, count));
    run(c, insert);
    check(c, OCITransCommit(c->service, c->err, OCI_DEFAULT), "OCITransCommit");
    check(c, OCITransRollback(c->service, c->err, OCI_DEFAULT), "OCITransRollback");
    printf(", inserted and committed: %d row\n", (int)number_of(c, count));
}

/* --- step: break */

/* What the signal handler breaks; NULL between the calls. */
static const struct connection *volatile breakable;

/* libdkom.so knows a handle on its own thread only, so the break comes from a signal of that thread. */
static void on_alarm(int signal_number)
{
    const struct connection *c = breakable;
    (void)signal_number;
    if (c != NULL)
        OCIBreak(c->service, c->break_err);
}

/* The alarm repeats: the first one may come before the statement has really begun. */
static void set_alarm(long milliseconds)
{
    struct itimerval timer;
    timer.it_value.tv_sec = timer.it_interval.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = timer.it_interval.tv_usec = milliseconds % 1000 * 1000;
    setitimer(ITIMER_REAL, &timer, NULL);
}

static void break_statement(const struct connection *c, const struct options *options)
{
    enum { interrupted = 1013 };
    sb4 number = 0;
    struct sigaction action;
    (void)options;
    memset(&action, 0, sizeof action);
    action.sa_handler = on_alarm;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, NULL);

    OCIStmt *endless = prepare(c, "SELECT COUNT(*) FROM daily_order a, daily_order b, daily_order c,"
                                  " daily_order d, daily_order e, daily_order f, daily_order g,"
                                  " daily_order h, daily_order i, daily_order j, daily_order k,"
                                  " daily_order l, daily_order m, daily_order n, daily_order o");
    define(c, endless, 1, &number, sizeof number, SQLT_INT, NULL, NULL);
    breakable = c;
    set_alarm(300);
    const sword status = execute(c, endless, 1);
    set_alarm(0);
    breakable = NULL;

    if (status == OCI_SUCCESS || error_code(c) != interrupted)
        check(c, status, "OCIStmtExecute");
    if (status == OCI_SUCCESS)
        give_up("the statement came to its end before it could be broken");
    printf("the statement was broken:\n");
    print_errors(stdout, c);
    finish(endless);
    printf("the connection still answers: %d rows\n", (int)number_of(c, "SELECT COUNT(*) FROM daily_order"));
}

/* --- step: error */

static void read_error(const struct connection *c, const struct options *options)
{
    ub2 offset = 0;
    (void)options;
    OCIStmt *wrong = prepare(c, "SELECT colour FROM daily_order");
    if (execute(c, wrong, 0) == OCI_SUCCESS)
        give_up("a wrong statement was accepted");
    const int code = error_code(c);
    check(c, OCIAttrGet(wrong, OCI_HTYPE_STMT, &offset, NULL, OCI_ATTR_PARSE_ERROR_OFFSET, c->err),
          "OCIAttrGet");
    printf("a wrong statement gives error %d at byte %u\n", code, (unsigned)offset);
    finish(wrong);

    run(c, "DELETE FROM daily_order WHERE id = 100");
    OCIStmt *twice = prepare(c, "INSERT INTO daily_order (id, customer) VALUES (1, 'Ada again')");
    if (execute(c, twice, 1) == OCI_SUCCESS)
        give_up("a key was inserted twice");
    printf("a second row with the same key is refused:\n");
    print_errors(stdout, c);
    finish(twice);
    check(c, OCITransRollback(c->service, c->err, OCI_DEFAULT), "OCITransRollback");
}

/* --- the program */

static const struct {
    const char *name;
    const char *about;
    void (*run)(const struct connection *c, const struct options *options);
} steps[] = {
    {"tables", "make the tables daily_order and daily_file", make_tables},
    {"insert", "insert arrays of rows, with NULLs", insert_rows},
    {"describe", "print the columns of a query", describe_query},
    {"fetch", "fetch arrays of rows", fetch_rows},
    {"values", "convert numbers and reckon with dates", convert_values},
    {"lob", "stream a BLOB in and out, piece by piece", stream_lob},
    {"transaction", "roll back and commit", end_transactions},
    {"break", "break a statement that runs too long", break_statement},
    {"error", "read errors", read_error},
};

static int skipped[COUNT_OF(steps)];

static void print_help(void)
{
    printf("usage: daily [options] LINK\n"
           "Shows what OCI programs do all day, on the database LINK, with external credentials.\n"
           "The tables daily_order and daily_file are made anew, and dropped at the end.\n\n"
           "  --lob-mb N       size of the BLOB in megabytes (default 100)\n"
           "  --lob-file FILE  store this file as the BLOB instead\n"
           "  --skip STEP      leave a step out; may be repeated\n"
           "  --keep           do not drop the tables at the end\n"
           "  --help           this text\n\n"
           "Steps:\n");
    for (size_t i = 0; i < COUNT_OF(steps); i++)
        printf("  %-15s  %s\n", steps[i].name, steps[i].about);
    printf("\nA connection that Dravik serves through libdkom.so has no descriptions of columns and no\n"
           "locators: use --skip describe --skip lob there.\n"
           "Exit status: 0 all steps went well, 1 one failed, 2 wrong usage.\n");
}

static void usage_error(const char *reason, const char *word)
{
    fprintf(stderr, "daily: %s%s; --help tells how to use it\n", reason, word);
    exit(2);
}

static void skip(const char *name)
{
    for (size_t i = 0; i < COUNT_OF(steps); i++) {
        if (strcmp(name, steps[i].name) == 0) {
            skipped[i] = 1;
            return;
        }
    }
    usage_error("there is no step ", name);
}

static unsigned long parse_size(const char *text)
{
    char *end = NULL;
    const unsigned long size = strtoul(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0' || size < 1 || size > 1000000)
        usage_error("not a number of megabytes: ", text);
    return size;
}

static struct options parse(int argc, char **argv)
{
    struct options options = {NULL, 100, NULL, 0};
    for (int i = 1; i < argc; i++) {
        const char *word = argv[i];
        const int takes_value =
            strcmp(word, "--lob-mb") == 0 || strcmp(word, "--lob-file") == 0 || strcmp(word, "--skip") == 0;
        if (takes_value && ++i == argc)
            usage_error("a value is missing behind ", word);
        if (strcmp(word, "--help") == 0) {
            print_help();
            exit(0);
        } else if (strcmp(word, "--lob-mb") == 0) {
            options.lob_mb = parse_size(argv[i]);
        } else if (strcmp(word, "--lob-file") == 0) {
            options.lob_file = argv[i];
        } else if (strcmp(word, "--skip") == 0) {
            skip(argv[i]);
        } else if (strcmp(word, "--keep") == 0) {
            options.keep_tables = 1;
        } else if (word[0] == '-') {
            usage_error("there is no option ", word);
        } else if (options.link != NULL) {
            usage_error("one link is enough: ", word);
        } else {
            options.link = word;
        }
    }
    if (options.link == NULL)
        usage_error("the LINK is missing", "");
    return options;
}

int main(int argc, char **argv)
{
    const struct options options = parse(argc, argv);
    struct connection c;
    memset(&c, 0, sizeof c);
    setenv("NLS_LANG", "AMERICAN_AMERICA.AL32UTF8", 0); /* texts are UTF-8, unless the user wants others */

    connect_to(&c, options.link);
    for (size_t i = 0; i < COUNT_OF(steps); i++) {
        if (skipped[i])
            continue;
        printf("\n[%s]\n", steps[i].name);
        steps[i].run(&c, &options);
    }
    printf("\n");
    if (!options.keep_tables)
        drop_tables(&c);
    disconnect(&c);
    return EXIT_SUCCESS;
}
