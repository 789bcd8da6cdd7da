/*
 * Programs print the same on a client library itself and through the extended edition, on either database.
 */
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

INSTANTIATE_TEST_SUITE_P(Programs, ExtendedPrograms, testing::Values("descriptors"));

} // namespace
