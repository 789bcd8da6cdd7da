/*
 * Programs print the same on a client library itself and through the extended edition, on either database.
 */
#include <filesystem>

#include "program.h"

namespace
{

class ExtendedPrograms : public ProgramTest, public testing::WithParamInterface<const char *>
{
protected:
    ExtendedPrograms() : ProgramTest(std::string(PROGRAMS "/") + GetParam())
    {
        set_variable("TZ=UTC");
        set_variable("ASAN_OPTIONS=detect_leaks=0");
    }
};

TEST_P(ExtendedPrograms, print_the_same_directly_and_on_both_databases)
{
    const Outcome direct = run_other(std::string(PROGRAMS "/") + GetParam() + "_direct", {"world"});
    ASSERT_EQ(direct.status, 0) << direct.out << direct.err;
    EXPECT_NE(direct.out, "");
    // What was made directly stands in the way of doing it again.
    write_file("oracle/world.db", "");
    for (const char *link : {"world", "mars"}) {
        const Outcome through = run({link});
        EXPECT_EQ(through.status, 0) << link;
        EXPECT_EQ(through.out, direct.out) << link;
        EXPECT_EQ(through.err, "") << link;
    }
}

#ifdef REFUSE_MEMORY
/* One allocation of the library after the other fails: the program gets an error, or never needed it. */
TEST_P(ExtendedPrograms, are_told_when_memory_is_out)
{
    set_variable("LD_PRELOAD=" REFUSE_MEMORY);
    set_variable("REFUSE_IN=libdkomx");
    const Outcome whole = run({"mars"});
    ASSERT_EQ(whole.status, 0) << whole.err;
    int refused = 0;
    for (int at = 0; at == refused; at++) {
        SCOPED_TRACE(at);
        set_variable("REFUSE_AT=" + std::to_string(at));
        write_file("dravik/mars.db", "");
        const Outcome outcome = run({"mars"});
        EXPECT_LT(outcome.status, 128) << outcome.err;
        if (outcome.status == 0) {
            EXPECT_EQ(outcome.out, whole.out);
        }
        if (outcome.err.find("one allocation refused") != std::string::npos)
            refused++;
    }
    EXPECT_GT(refused, 5);
}
#endif

INSTANTIATE_TEST_SUITE_P(Programs, ExtendedPrograms, testing::Values("descriptors", "wide"));

class ExtendedTrace : public ProgramTest
{
protected:
    ExtendedTrace() : ProgramTest(PROGRAMS "/descriptors") { set_variable("ASAN_OPTIONS=detect_leaks=0"); }
};

TEST_F(ExtendedTrace, names_arguments_and_keeps_secrets)
{
    set_variable("DKOM_LOG_LEVEL=50");
    EXPECT_EQ(run({"mars"}).status, 0);
    std::filesystem::path log;
    for (const auto &entry : std::filesystem::directory_iterator(directory()))
        if (entry.path().extension() == ".log")
            log = entry.path();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(std::filesystem::status(log).permissions(), std::filesystem::perms(0600));

    const std::string trace = read_file(log.filename().string());
    for (const char *part :
         {"OCI manager, extended edition ", "/descriptors\n", "libclntsh.so, loaded", "libdkoci.so, loaded",
          "TRACE - OCILogon2()", "\n\tusername=scott", "\n\tpassword=***\n\tpasswd_len=5",
          "\n\tdbname=mars\n", "END FUNC - OCIStmtExecute()\n\tbackend=Dravik\n\treturn rc=0",
          "\n\t*hndlpp=0x", "\n\tstmt=insert into note values (:1, :2)\n", "\n\t*valuep=n"})
        EXPECT_NE(trace.find(part), std::string::npos) << part;
    EXPECT_EQ(trace.find("tiger"), std::string::npos);
}

TEST_F(ExtendedTrace, is_written_at_the_level_that_is_asked_for)
{
    EXPECT_EQ(run({"mars"}).status, 0);
    EXPECT_EQ(take_trace(), "");
    set_variable("DKOM_LOG_LEVEL=20");
    const Outcome refused = run({"nowhere"});
    EXPECT_EQ(refused.status, 1);
    const std::string trace = take_trace();
    EXPECT_NE(trace.find("ERROR - END FUNC - OCILogon2()"), std::string::npos) << trace;
    EXPECT_NE(trace.find("\n\tr_errcodep=12154\n\tr_bufp=ORA-12154"), std::string::npos) << trace;
    EXPECT_EQ(trace.find("INFO - OCILogon2("), std::string::npos) << trace;
}

} // namespace
