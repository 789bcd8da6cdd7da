// A program that is killed while it writes: what it has committed is there afterwards, whole, and nothing
// else.
#include "client.h"

#include <csignal>
#include <random>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sqlite_oci_test
{
namespace
{

constexpr int kills = 100;

// One transaction of several statements, one of them a LOB that is written in pieces.
void write_transaction(const connected_client &db, const std::string &number, std::size_t pieces)
{
    db.run_all({"INSERT INTO a VALUES (" + number + ")",
                "INSERT INTO b VALUES (" + number + ", " + std::to_string(pieces) + ", empty_clob())"});
    void *made = nullptr;
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    auto *value = static_cast<OCILobLocator *>(made);
    {
        const prepared query(db, "SELECT c FROM b WHERE n = " + number + " FOR UPDATE");
        ASSERT_TRUE(db.succeeds(query.define(1, &value, -1, SQLT_CLOB)));
        ASSERT_TRUE(db.succeeds(query.execute(1)));
    }
    std::string piece(1000, 'x');
    for (std::size_t i = 0; i < pieces; ++i) {
        auto amount = static_cast<ub4>(piece.size());
        ASSERT_TRUE(db.succeeds(OCILobWriteAppend(db.service, db.errors, value, &amount, piece.data(), amount,
                                                  OCI_ONE_PIECE, nullptr, nullptr, 0, SQLCS_IMPLICIT)));
        ASSERT_EQ(db.run("UPDATE b SET n = n WHERE n = " + number), 0); // has the value written to its row
    }
    ASSERT_EQ(db.run("UPDATE total SET n = n + 1"), 0);
    ASSERT_TRUE(db.succeeds(db.commit()));
    OCIDescriptorFree(value, OCI_DTYPE_LOB);
}

// Commits one transaction after another, and tells each number when it is committed. Ends by being killed.
[[noreturn]] void write_until_killed(int acknowledgements)
{
    const connected_client db;
    for (long number = std::stol(db.ask("SELECT n FROM total")) + 1; !testing::Test::HasFailure(); ++number) {
        write_transaction(db, std::to_string(number), 1 + static_cast<std::size_t>(number) % 4);
        if (write(acknowledgements, &number, sizeof number) != sizeof number)
            break;
    }
    _exit(1);
}

// Starts a writer, kills it some time after its first commit, and returns the last number that it told.
long last_committed_of_killed_writer(std::chrono::microseconds after)
{
    int ends[2] = {};
    EXPECT_EQ(pipe(ends), 0);
    const pid_t writer = fork();
    if (writer == 0) {
        close(ends[0]);
        write_until_killed(ends[1]);
    }
    close(ends[1]);
    pollfd first{ends[0], POLLIN, 0};
    EXPECT_EQ(poll(&first, 1, 60'000), 1);
    usleep(static_cast<useconds_t>(after.count()));
    kill(writer, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the writer failed";
    long last = 0;
    while (read(ends[0], &last, sizeof last) == sizeof last)
        continue;
    close(ends[0]);
    return last;
}

TEST(crash, loses_nothing_committed_and_leaves_nothing_half_written)
{
    const database_directory directory;
    {
        const connected_client db;
        db.run_all({"CREATE TABLE a (n NUMBER)", "CREATE TABLE b (n NUMBER, pieces NUMBER, c CLOB)",
                    "CREATE TABLE total (n NUMBER)", "INSERT INTO total VALUES (0)", "COMMIT"});
    }
    std::minstd_rand random; // always the same moments; what they meet differs
    std::uniform_int_distribution<int> moment(0, 10'000);
    for (int i = 0; i < kills; ++i) {
        const long told = last_committed_of_killed_writer(std::chrono::microseconds(moment(random)));
        const connected_client db;
        const std::string total = db.ask("SELECT n FROM total");
        // The last commit may have been done and not told.
        ASSERT_TRUE(total == std::to_string(told) || total == std::to_string(told + 1))
            << total << ' ' << told;
        for (const char *const rows : {"a", "b"})
            ASSERT_EQ(db.ask("SELECT count(*) || '=' || max(n) FROM " + std::string(rows)),
                      total + "=" + total);
        ASSERT_EQ(db.ask("SELECT count(*) FROM b WHERE to_char(c) = rpad('x', 1000 * pieces, 'x')"), total);
    }
}

} // namespace
} // namespace sqlite_oci_test
