// Runs the sample program on a client library itself and through libdkom.so.
#include <cstdint>
#include <string>

#include "program.h"

namespace
{

class Daily : public ProgramTest
{
protected:
    Daily() : ProgramTest(DAILY)
    {
        set_variable("TZ=UTC");
        set_variable("ASAN_OPTIONS=detect_leaks=0");
    }
};

std::string without_first_line(const std::string &text)
{
    return text.substr(text.find('\n') + 1);
}

TEST_F(Daily, prints_the_same_directly_and_through_the_library)
{
    const struct {
        Arguments direct_arguments;
        Arguments arguments;
        int trace_level;
        const char *told; // by both
    } cases[] = {
        {{"world", "--lob-mb", "2"}, {"world", "--lob-mb", "2"}, 10, "read  2097152 bytes back"},
        {{"world", "--lob-mb", "2"},
         {"world", "--lob-mb", "2"},
         50,
         "AMOUNT     NUMBER    size 22  precision 12  scale 2  may be NULL"},
        {{"world", "--skip", "describe", "--skip", "lob"},
         {"mars", "--skip", "describe", "--skip", "lob"},
         10,
         "rolled back: 0 rows"},
        {{"world", "--skip", "describe", "--skip", "lob"},
         {"mars", "--skip", "describe", "--skip", "lob"},
         50,
         "ORA-01013"},
    };
    for (const auto &c : cases) {
        const Outcome direct = run_other(DAILY_DIRECT, c.direct_arguments);
        ASSERT_EQ(direct.status, 0) << direct.out << direct.err;
        EXPECT_NE(direct.out.find(c.told), std::string::npos) << direct.out;

        set_variable("DKOM_LOG_LEVEL=" + std::to_string(c.trace_level));
        const Outcome through = run(c.arguments);
        EXPECT_EQ(through.status, 0) << through.out << through.err;
        EXPECT_EQ(through.out, "connected to " + c.arguments[0] + "\n" + without_first_line(direct.out));
        EXPECT_EQ(through.err, "");
        EXPECT_EQ(take_trace().empty(), c.trace_level == 10);
    }
}

TEST_F(Daily, runs_whole_on_both_databases_in_the_extended_edition)
{
    const Outcome direct = run_other(DAILY_DIRECT, {"world", "--lob-mb", "2"});
    ASSERT_EQ(direct.status, 0) << direct.out << direct.err;
    for (const char *link : {"world", "mars"}) {
        const Outcome through = run_other(DAILY_EXTENDED, {link, "--lob-mb", "2"});
        EXPECT_EQ(through.status, 0) << through.out << through.err;
        EXPECT_EQ(through.out, std::string("connected to ") + link + "\n" + without_first_line(direct.out));
        EXPECT_EQ(through.err, "");
    }
}

// The client library may hold the value. What must not grow with it is what the program and libdkom.so add.
TEST_F(Daily, streams_a_large_value_in_bounded_memory)
{
    constexpr long room_kb = 8 * 1024;
    const auto added = [this](const char *megabytes) {
        const Arguments arguments{"world", "--lob-mb", megabytes, "--skip", "break"};
        const Outcome direct = run_other(DAILY_DIRECT, arguments);
        const Outcome through = run(arguments);
        EXPECT_EQ(direct.status, 0) << direct.err;
        EXPECT_EQ(through.status, 0) << through.err;
        EXPECT_EQ(through.out, direct.out);
        const std::string bytes = std::to_string(std::stoul(megabytes) << 20);
        EXPECT_NE(through.out.find("read  " + bytes + " bytes back"), std::string::npos) << through.out;
        return through.peak_kb - direct.peak_kb;
    };
    EXPECT_LT(added("100") - added("1"), room_kb);
}

TEST_F(Daily, tells_what_went_wrong)
{
    const struct {
        Arguments arguments;
        int status;
        const char *message;
    } cases[] = {
        {{"--help"}, 0, "--lob-mb N"},
        {{}, 2, "the LINK is missing"},
        {{"world", "--lob-mb", "many"}, 2, "not a number of megabytes: many"},
        {{"world", "--skip", "lunch"}, 2, "there is no step lunch"},
        {{"world", "--skip"}, 2, "a value is missing behind --skip"},
        {{"nowhere"}, 1, "ORA-12154"},
        {{"world", "--lob-file", "/nowhere"}, 1, "cannot read /nowhere"},
        {{"world", "--lob-file", "/dev/null"}, 0, "read  0 bytes back"},
        {{"mars"}, 1, "--skip describe"},
        {{"mars", "--skip", "describe"}, 1, "ORA-22275"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        EXPECT_NE((outcome.out + outcome.err).find(c.message), std::string::npos) << outcome.err;
    }
}

} // namespace
