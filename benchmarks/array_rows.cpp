/*
 * What arrays of rows cost in an OCI program on the embedded client library, beside a program that uses the
 * SQLite C API for the same rows. Both keep them in a file of their own, in the same journal mode, and insert
 * all of them in one transaction. Prints a table of the figures; --benchmark_out=FILE writes every
 * measurement as JSON.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include "figures.h"

extern "C" {
#include "samples/connection.h"
}

namespace
{

constexpr ub4 all_rows = 1000000;
constexpr ub4 rows_a_call = 1000;
static_assert(all_rows % rows_a_call == 0);

constexpr char create_table[] =
    "CREATE TABLE measured (id NUMBER(12), name VARCHAR2(23), amount BINARY_DOUBLE)";
constexpr char delete_rows[] = "DELETE FROM measured";
constexpr char insert_row[] = "INSERT INTO measured VALUES (:1, :2, :3)";
constexpr char select_rows[] = "SELECT id, name, amount FROM measured";

/* Rows as programs hold them for one call: an array a column. */
struct row_arrays {
    sb8 ids[rows_a_call];
    char names[rows_a_call][24];
    double amounts[rows_a_call];

    void fill(ub4 first)
    {
        for (ub4 i = 0; i < rows_a_call; i++) {
            ids[i] = first + i;
            std::snprintf(names[i], sizeof names[i], "customer %u", (first + i) * 7919U);
            amounts[i] = (first + i) * 0.25;
        }
    }
};
row_arrays rows;

/* Ends the program, with a message, unless all rows came. */
void check_rows(ub4 count, double sum)
{
    if (count == all_rows && sum == 0.25 * all_rows * (all_rows - 1) / 2)
        return;
    std::fprintf(stderr, "array_rows: fetched %u rows with a sum of %f: not what was inserted\n", count, sum);
    std::exit(1);
}

class oci_side
{
public:
    oci_side()
    {
        connect_to(&c, "oci");
        run(&c, create_table);
    }
    ~oci_side() { disconnect(&c); }
    oci_side(const oci_side &) = delete;

    void clear() const
    {
        run(&c, delete_rows);
        check(&c, OCITransCommit(c.service, c.err, OCI_DEFAULT), "OCITransCommit");
    }

    void insert() const
    {
        OCIStmt *statement = prepare(&c, insert_row);
        bind_by_position(&c, statement, 1, rows.ids, sizeof rows.ids[0], SQLT_INT, nullptr);
        bind_by_position(&c, statement, 2, rows.names, sizeof rows.names[0], SQLT_STR, nullptr);
        bind_by_position(&c, statement, 3, rows.amounts, sizeof rows.amounts[0], SQLT_FLT, nullptr);
        for (ub4 first = 0; first < all_rows; first += rows_a_call) {
            rows.fill(first);
            check(&c, execute(&c, statement, rows_a_call), "OCIStmtExecute");
        }
        check(&c, OCITransCommit(c.service, c.err, OCI_DEFAULT), "OCITransCommit");
        finish(statement);
    }

    void select() const
    {
        OCIStmt *statement = prepare(&c, select_rows);
        define(&c, statement, 1, rows.ids, sizeof rows.ids[0], SQLT_INT, nullptr, nullptr);
        define(&c, statement, 2, rows.names, sizeof rows.names[0], SQLT_STR, nullptr, nullptr);
        define(&c, statement, 3, rows.amounts, sizeof rows.amounts[0], SQLT_FLT, nullptr, nullptr);
        check(&c, execute(&c, statement, 0), "OCIStmtExecute");
        ub4 count = 0;
        double sum = 0;
        for (sword status = OCI_SUCCESS; status != OCI_NO_DATA;) {
            status = OCIStmtFetch2(statement, c.err, rows_a_call, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
            if (status != OCI_NO_DATA)
                check(&c, status, "OCIStmtFetch2");
            const ub4 fetched = count_of(&c, statement, OCI_ATTR_ROWS_FETCHED);
            for (ub4 i = 0; i < fetched; i++)
                sum += rows.amounts[i];
            count += fetched;
        }
        finish(statement);
        check_rows(count, sum);
    }

private:
    ::connection c = {};
};

class sqlite_side
{
public:
    explicit sqlite_side(const std::string &path)
    {
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        succeed(sqlite3_open_v2(path.c_str(), &db, flags, nullptr));
        run("PRAGMA journal_mode = WAL");
        run(create_table);
    }
    ~sqlite_side() { sqlite3_close(db); }
    sqlite_side(const sqlite_side &) = delete;

    void clear() const { run(delete_rows); }

    void insert() const
    {
        sqlite3_stmt *statement = prepare(insert_row);
        run("BEGIN IMMEDIATE");
        for (ub4 first = 0; first < all_rows; first += rows_a_call) {
            rows.fill(first);
            for (ub4 i = 0; i < rows_a_call; i++) {
                sqlite3_bind_int64(statement, 1, rows.ids[i]);
                sqlite3_bind_text(statement, 2, rows.names[i], -1, SQLITE_STATIC);
                sqlite3_bind_double(statement, 3, rows.amounts[i]);
                succeed(sqlite3_step(statement), SQLITE_DONE);
                sqlite3_reset(statement);
            }
        }
        run("COMMIT");
        sqlite3_finalize(statement);
    }

    void select() const
    {
        sqlite3_stmt *statement = prepare(select_rows);
        ub4 count = 0;
        double sum = 0;
        for (;; count++) {
            const int status = sqlite3_step(statement);
            if (status == SQLITE_DONE)
                break;
            succeed(status, SQLITE_ROW);
            const ub4 i = count % rows_a_call;
            rows.ids[i] = sqlite3_column_int64(statement, 0);
            std::memcpy(rows.names[i], sqlite3_column_text(statement, 1),
                        static_cast<size_t>(sqlite3_column_bytes(statement, 1)) + 1);
            rows.amounts[i] = sqlite3_column_double(statement, 2);
            sum += rows.amounts[i];
        }
        sqlite3_finalize(statement);
        check_rows(count, sum);
    }

private:
    void succeed(int status, int expected = SQLITE_OK) const
    {
        if (status == expected)
            return;
        std::fprintf(stderr, "array_rows: SQLite: %s\n", sqlite3_errmsg(db));
        std::exit(1);
    }
    void run(const char *sql) const { succeed(sqlite3_exec(db, sql, nullptr, nullptr, nullptr)); }
    sqlite3_stmt *prepare(const char *sql) const
    {
        sqlite3_stmt *statement = nullptr;
        succeed(sqlite3_prepare_v2(db, sql, -1, &statement, nullptr));
        return statement;
    }

    sqlite3 *db = nullptr;
};

template <class Side> void measure_insert(benchmark::State &state, const Side &side)
{
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        side.clear();
        state.ResumeTiming();
        side.insert();
    }
}

template <class Side> void measure_select(benchmark::State &state, const Side &side)
{
    side.clear();
    side.insert();
    for ([[maybe_unused]] auto _ : state)
        side.select();
}

template <class Side> void register_side(const std::string &name, const Side &side)
{
    const auto add = [&](const char *what, auto measure) {
        benchmark::RegisterBenchmark((what + ("/" + name)).c_str(),
                                     [&side, measure](benchmark::State &s) { measure(s, side); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(1);
    };
    add("insert", measure_insert<Side>);
    add("select", measure_select<Side>);
}

} // namespace

int main(int argc, char **argv)
{
    char pattern[] = "/tmp/dkom_rows_XXXXXX";
    if (!mkdtemp(pattern)) {
        std::perror("array_rows: no directory for the databases");
        return 1;
    }
    const std::filesystem::path directory = pattern;
    const std::ofstream new_database(directory / "oci.db");
    // Measured as programs run by default, whatever the shell that starts this has set.
    unsetenv("DKOM_LOG_LEVEL");
    setenv("DKOM_ORA_LIB_PATH", SQLITE_OCI_LIBRARIES, 1);
    setenv("DKOM_DRK_LIB_PATH", SQLITE_OCI_LIBRARIES, 1);
    setenv("SQLITE_OCI_CLNTSH_DIR", directory.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    median_reporter reporter;
    {
        const oci_side oci;
        const sqlite_side sqlite(directory / "plain.db");
        register_side("oci", oci);
        register_side("sqlite", sqlite);
        benchmark::RunSpecifiedBenchmarks(&reporter);
        benchmark::Shutdown();
    }
    std::filesystem::remove_all(directory);

    const std::vector<figure> figures = {
        {"1 000 000 rows inserted by arrays, against SQLite's API", "insert/oci/iterations:1/real_time",
         "insert/sqlite/iterations:1/real_time", 2.0},
        {"1 000 000 rows fetched by arrays, against SQLite's API", "select/oci/iterations:1/real_time",
         "select/sqlite/iterations:1/real_time", 2.0},
    };
    return print_figures(figures, reporter.medians()) ? 0 : 1;
}
