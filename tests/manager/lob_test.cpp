/* LOB length, read and write. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

const std::vector<lookup> lob_lookups{{0, OCI_HTYPE_SVCCTX},
                                      {.position = 1, .type = OCI_HTYPE_ERROR, .when_given = true},
                                      {2, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR}};

const std::vector<forwarded> &lob_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCILobGetLength),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)\n\tsvchp=%p\n\t"
             "errhp=%p\n\tlocp=%p\n\tlenp%d",
         .printed = [](ForwardingTest &, words &w) { w[3] = target<ub4>(w[3]); },
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available svcctx handle"},
        {.f = FUNCTION(OCILobGetLength2),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)\n\tsvchp=%p"
             "\n\terrhp=%p\n\tlocp=%p\n\tlenp%p",
         .assertion = "wsvchp!=((void *)0)",
         .no_backend = "There is no available svc handle"},
        {.f = FUNCTION(OCILobWrite),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, dvoid "
             "*bufp, ub4 buflen, ub1 piece, dvoid *ctxp, OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm)\n\tsvchp"
             "=%p\n\terrhp=%p\n\tlocp=%p\n\tamtp=%p\n\toffset=%d\n\tbufp=%p\n\tbuflen=%d\n\tpiece=%d\n\tctxp=%p"
             "\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available svc handle"},
        {.f = FUNCTION(OCILobWrite2),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, oraub8 "
             "*char_amtp, oraub8 offset, dvoid *bufp, oraub8 buflen, ub1 piece, dvoid *ctxp, "
             "OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm)\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tbyte_amtp=%p"
             "\n\tchar_amtp=%p\n\toffset=%d\n\tbufp=%p\n\tbuflen=%d\n\tpiece=%d\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d"
             "\n\tcsfrm=%d",
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available svc handle"},
        {.f = FUNCTION(OCILobRead),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, dvoid "
             "*bufp, ub4 bufl, dvoid *ctxp, OCICallbackLobRead cbfp, ub2 csid, ub1 csfrm)\n\tsvchp=%p\n\terrhp=%p"
             "\n\tlocp=%p\n\tamtp=%p\n\toffset=%d\n\tbufp=%p\n\tbufl=%d\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d\n\t"
             "csfrm=%d",
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available function"},
        {.f = FUNCTION(OCILobRead2),
         .how = manner::exclusive,
         .lookups = lob_lookups,
         .arguments =
             "OCILobRead2 (OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, oraub8 "
             "*char_amtp, oraub8 offset, dvoid *bufp, oraub8 bufl, ub1 piece, dvoid *ctxp, OCICallbackLobRead2 "
             "cbfp, ub2 csid, ub1 csfrm)\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tbyte_amtp=%p\n\tchar_amtp=%p\n\t"
             "offset=%d\n\tbufp=%p\n\tbufl=%d\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
         .printed = [](ForwardingTest &, words &w) { w.erase(w.begin() + 8); }, // the piece is not printed
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = "There is no available function"},
    };
    return rows;
}

FORWARDING_TEST(Lob, lob_calls);

class Locator : public ForwardingTest
{
};

TEST_F(Locator, RemembersWhoServedItLast)
{
    for (const forwarded &row : lob_calls()) {
        SCOPED_TRACE(row.f.name);
        const words arguments = distinct_arguments(row);
        for (const ub4 last_exec : {1U, 2U, 3U}) {
            const ub4 backend = last_exec == 2 ? 2U : 1U;
            route(svc, last_exec);
            route(lob, 3);
            row.f.call(arguments);
            EXPECT_EQ(wrapper(lob)->last_exec, backend);

            /* More pieces to come is a report, and no service. */
            route(lob, 3);
            wrapper(err)->last_err = 0;
            (backend == 1 ? oracle() : dravik()).next(row.f.name, OCI_NEED_DATA);
            EXPECT_EQ(static_cast<sword>(row.f.call(arguments)), OCI_NEED_DATA);
            EXPECT_EQ(wrapper(lob)->last_exec, 3U);
            EXPECT_EQ(wrapper(err)->last_err, backend);
        }
    }
}

TEST_F(Locator, UnknownOnesStop)
{
    for (const forwarded &row : lob_calls()) {
        words arguments = distinct_arguments(row);
        for (const word locator : {word{0}, to_word(this)}) {
            arguments[2] = locator;
            expect_stop({.name = row.f.name,
                         .call = [&] { row.f.call(arguments); },
                         .function = row.f.name,
                         .assertion = row.f.name == "OCILobGetLength2" ? "wlocp!=((void *)0)"
                                                                       : "wlocp != ((void *)0)"});
        }
    }
}

TEST_F(Locator, AssignmentStops)
{
    OCILobLocator *target_locator = nullptr;
    expect_stop({.name = "assignment",
                 .call = [&] { OCILobAssign(env, err, lob, &target_locator); },
                 .function = "OCILobAssign",
                 .assertion = "0",
                 .level = OM_LOG_TRACE,
                 .before = {{OM_LOG_TRACE, "OCILobAssign"}}});
}

} // namespace
