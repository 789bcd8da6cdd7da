/* LOB length, read and write. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

forwarded lob_call(recording::function f, const std::string &prototype, const std::string &no_backend,
                   const exceptions &printed_as = {})
{
    return {.f = std::move(f),
            .how = manner::exclusive,
            .lookups = {{0, OCI_HTYPE_SVCCTX}, optional_error_at(1), {2, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR}},
            .prototype = prototype,
            .printed_as = printed_as,
            .required = {{0, "wsvchp != ((void *)0)"}, {2, "wlocp != ((void *)0)"}},
            .no_backend = no_backend};
}

std::vector<forwarded> make_lob_calls()
{
    std::vector<forwarded> rows{
        lob_call(FUNCTION(OCILobGetLength),
                 "OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)",
                 "There is no available svcctx handle", {{"lenp", "%d"}}),
        lob_call(FUNCTION(OCILobGetLength2),
                 "OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)",
                 "There is no available svc handle", {{"lenp", "%p"}}),
        lob_call(FUNCTION(OCILobWrite),
                 "OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, "
                 "dvoid *bufp, ub4 buflen, ub1 piece, dvoid *ctxp, OCICallbackLobWrite cbfp, ub2 csid, ub1 "
                 "csfrm)",
                 "There is no available svc handle"),
        lob_call(FUNCTION(OCILobWrite2),
                 "OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, "
                 "oraub8 *char_amtp, oraub8 offset, dvoid *bufp, oraub8 buflen, ub1 piece, dvoid *ctxp, "
                 "OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm)",
                 "There is no available svc handle"),
        lob_call(FUNCTION(OCILobRead),
                 "OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, "
                 "dvoid *bufp, ub4 bufl, dvoid *ctxp, OCICallbackLobRead cbfp, ub2 csid, ub1 csfrm)",
                 "There is no available function"),
        lob_call(FUNCTION(OCILobRead2),
                 "OCILobRead2 (OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, "
                 "oraub8 *char_amtp, oraub8 offset, dvoid *bufp, oraub8 bufl, ub1 piece, dvoid *ctxp, "
                 "OCICallbackLobRead2 cbfp, ub2 csid, ub1 csfrm)",
                 "There is no available function", {{"piece", ""}}),
    };
    rows[0].printed = [](ForwardingTest &, words &w) { w[3] = target<ub4>(w[3]); };
    rows[1].required = {{0, "wsvchp!=((void *)0)"}, {2, "wlocp!=((void *)0)"}};
    return rows;
}

const std::vector<forwarded> &lob_calls()
{
    static const std::vector<forwarded> rows = make_lob_calls();
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

TEST_F(Locator, AssignmentStops)
{
    OCILobLocator *other = nullptr;
    expect_stop({.call = [&] { OCILobAssign(env, err, lob, &other); },
                 .function = "OCILobAssign",
                 .assertion = "0",
                 .level = OM_LOG_TRACE,
                 .before = {entered("OCILobAssign")}});
}

} // namespace
