// Transactions of two sessions on one database, and breaks.
#include "client.h"

#include <chrono>
#include <csignal>
#include <future>

#include <sys/time.h>

namespace sqlite_oci_test
{
namespace
{

using namespace std::chrono_literals;

class transaction : public sqlite_oci_test
{
protected:
    transaction() { db.run_all({"CREATE TABLE t (a NUMBER)", "INSERT INTO t VALUES (1)", "COMMIT"}); }

    static int start(const connected_client &in, ub4 flags)
    {
        return OCITransStart(in.service, in.errors, 0, flags) == OCI_SUCCESS ? 0 : in.code();
    }
    static std::string sum(const connected_client &in) { return in.ask("SELECT sum(a) FROM t"); }

    connected_client other;
};

TEST_F(transaction, starts_only_what_it_can_keep)
{
    // How a start fares, and another one in the same transaction.
    const std::tuple<ub4, int, int> cases[] = {
        {OCI_TRANS_NEW, 0, 0},
        {OCI_TRANS_NEW | OCI_TRANS_READWRITE, 0, 0},
        {OCI_TRANS_NEW | OCI_TRANS_READONLY, 0, 1453},
        {OCI_TRANS_NEW | OCI_TRANS_SERIALIZABLE, 0, 1453},
        {OCI_TRANS_JOIN, 3001, 3001},
        {OCI_TRANS_RESUME, 3001, 3001},
        {OCI_TRANS_NEW | OCI_TRANS_READONLY | OCI_TRANS_READWRITE, 24759, 24759},
    };
    for (const auto &[flags, first, second] : cases) {
        EXPECT_EQ(start(db, flags), first) << flags;
        EXPECT_EQ(start(db, flags), second) << flags;
        EXPECT_EQ(db.roll_back(), OCI_SUCCESS);
    }
    ASSERT_EQ(db.run("UPDATE t SET a = 2"), 0);
    EXPECT_EQ(start(db, OCI_TRANS_NEW), 1453);
}

TEST_F(transaction, reads_what_was_committed_when_it_began)
{
    for (const ub4 isolation : {ub4{OCI_TRANS_READONLY}, ub4{OCI_TRANS_SERIALIZABLE}}) {
        SCOPED_TRACE(isolation);
        ASSERT_EQ(start(db, OCI_TRANS_NEW | isolation), 0);
        const std::string before = sum(other);
        ASSERT_EQ(other.run("UPDATE t SET a = a + 10"), 0) << other.message();
        EXPECT_EQ(sum(db), before) << "not committed";
        ASSERT_EQ(other.commit(), 0) << "readers do not stop a writer";
        EXPECT_EQ(sum(db), before) << "committed, but later";
        const bool is_read_only = isolation == OCI_TRANS_READONLY;
        EXPECT_EQ(db.run("UPDATE t SET a = 0"), is_read_only ? 1456 : 8177);
        EXPECT_EQ(db.ask("SELECT a FROM t FOR UPDATE"), is_read_only ? "ORA-1456" : "ORA-8177");
        EXPECT_EQ(sum(db), before) << "the transaction goes on";
        ASSERT_EQ(db.commit(), 0);
        EXPECT_EQ(sum(db), sum(other));
        EXPECT_NE(sum(db), before);
        EXPECT_EQ(db.run("UPDATE t SET a = a", OCI_COMMIT_ON_SUCCESS), 0) << "the next one may write";
    }
}

TEST_F(transaction, of_two_writers_the_second_waits)
{
    ASSERT_EQ(start(db, OCI_TRANS_NEW | OCI_TRANS_SERIALIZABLE), 0);
    ASSERT_EQ(db.ask("SELECT a FROM t FOR UPDATE"), "1");
    EXPECT_EQ(other.run("UPDATE t SET a = 9"), 54) << "the row is locked before it is changed";
    ASSERT_EQ(db.run("UPDATE t SET a = 2"), 0);
    auto waiting = std::async(std::launch::async, [&] { return other.run("UPDATE t SET a = a + 5"); });
    std::this_thread::sleep_for(50ms);
    ASSERT_EQ(db.commit(), 0);
    EXPECT_EQ(waiting.get(), 0) << "the lock came free within the wait";
    EXPECT_EQ(sum(db), "2");
    EXPECT_EQ(other.roll_back(), 0);
    EXPECT_EQ(sum(other), "2");
}

constexpr const char *endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) ";

// What a statement that is broken comes to; repeated, since a break that comes before it has no effect.
int broken_result(const connected_client &in, const std::string &sql, void *broken)
{
    auto running = std::async(std::launch::async, [&] { return in.run(sql); });
    do
        EXPECT_EQ(OCIBreak(broken, nullptr), OCI_SUCCESS);
    while (running.wait_for(10ms) != std::future_status::ready);
    return running.get();
}

TEST_F(transaction, a_break_ends_whatever_call_is_in_progress)
{
    ASSERT_EQ(other.run("UPDATE t SET a = 5"), 0);
    const std::string count = std::string(endless) + "SELECT count(*) FROM n";
    const std::pair<std::string, void *> cases[] = {
        {count, db.service},
        {count, db.server},
        {"UPDATE t SET a = 6", db.service}, // waits for the other session
    };
    for (const auto &[sql, broken] : cases) {
        SCOPED_TRACE(sql);
        const auto started = std::chrono::steady_clock::now();
        EXPECT_EQ(broken_result(db, sql, broken), 1013);
        EXPECT_LT(std::chrono::steady_clock::now() - started, 900ms) << "not only the end of the wait";
        EXPECT_EQ(OCIReset(db.service, db.errors), OCI_SUCCESS);
        EXPECT_EQ(sum(db), "1") << "the break does not reach the next call";
    }
}

TEST_F(transaction, an_interrupted_change_takes_its_transaction_along)
{
    ASSERT_EQ(db.run("INSERT INTO t VALUES (2)"), 0);
    const std::string change = "INSERT INTO t " + std::string(endless) + "SELECT i FROM n";
    EXPECT_EQ(broken_result(db, change, db.service), 1013);
    EXPECT_NE(db.message().find("rolled back"), std::string::npos) << db.message();
    EXPECT_EQ(sum(db), "1");
    EXPECT_EQ(other.run("INSERT INTO t VALUES (3)"), 0) << "no lock is left";
}

OCISvcCtx *broken_by_signal = nullptr;

TEST_F(transaction, a_break_may_come_from_a_signal_handler)
{
    broken_by_signal = db.service;
    struct sigaction on_alarm {
    }, before{};
    on_alarm.sa_handler = [](int) { OCIBreak(broken_by_signal, nullptr); };
    ASSERT_EQ(sigaction(SIGALRM, &on_alarm, &before), 0);
    const itimerval every_20_ms{{0, 20000}, {0, 20000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &every_20_ms, nullptr), 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(db.run(std::string(endless) + "SELECT count(*) FROM n"), 1013);
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(sum(db), "1");
}

} // namespace
} // namespace sqlite_oci_test
