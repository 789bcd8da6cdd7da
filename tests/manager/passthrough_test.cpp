/* Calls that Oracle's library always serves, and the direct path calls, which nobody does. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

std::vector<forwarded> make_direct_calls()
{
    std::vector<forwarded> rows{
        {.f = FUNCTION(OCINlsGetInfo),
         .how = manner::unrouted,
         .prototype = "OCINlsGetInfo(dvoid *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item)",
         .printed_as = {{"buf", "=%s"}, {"buflen", "=%ld"}},
         .given = [](ForwardingTest &t, words &w) { w[0] = to_word(t.env); },
         .errors = error_record::never},
    };
    /* Numbers and dates: Oracle gets the default error handle in place of the caller's. */
    for (recording::function &f : std::vector<recording::function>{
             FUNCTION(OCINumberFromInt), FUNCTION(OCINumberFromReal), FUNCTION(OCINumberFromText),
             FUNCTION(OCINumberToInt), FUNCTION(OCINumberToReal), FUNCTION(OCINumberToText),
             FUNCTION(OCIDateAssign), FUNCTION(OCIDateToText), FUNCTION(OCIDateFromText),
             FUNCTION(OCIDateCompare), FUNCTION(OCIDateAddMonths), FUNCTION(OCIDateAddDays),
             FUNCTION(OCIDateLastDay), FUNCTION(OCIDateDaysBetween), FUNCTION(OCIDateZoneToZone),
             FUNCTION(OCIDateNextDay), FUNCTION(OCIDateCheck), FUNCTION(OCIDateSysDate)})
        rows.push_back({.f = f,
                        .how = manner::unrouted,
                        .to_oracle = [](ForwardingTest &, words &w) { w[0] = any_word; },
                        .errors = error_record::never});
    return rows;
}

const std::vector<forwarded> &direct_calls()
{
    static const std::vector<forwarded> rows = make_direct_calls();
    return rows;
}

FORWARDING_TEST(Direct, direct_calls);

class DefaultError : public EmptyTest
{
};

TEST_F(DefaultError, TakesThePlaceOfTheCallers)
{
    EXPECT_IN_NEW_PROCESS({
        OCIEnv *env = nullptr;
        create_environment(&env);
        ASSERT_EQ(calls()[1].function, "OCIHandleAlloc");
        const word default_error = target<word>(calls()[1].arguments[1]);
        for (std::size_t i = 1; i < direct_calls().size(); i++) {
            for (void *error : no_handles<void>()) {
                const recording::function &f = direct_calls()[i].f;
                words arguments(f.parameters.size(), 0);
                arguments[0] = to_word(error);
                forget_calls();
                f.call(arguments);
                arguments[0] = default_error;
                expect_calls({{recording::oracle, f.name, arguments, ""}});
            }
        }
    });
}

TEST(DirectPath, IsRefused)
{
    const std::vector<std::tuple<recording::function, std::string, exceptions>> rows{
        {FUNCTION(OCIDirPathColArrayEntrySet),
         "OCIDirPathColArrayEntrySet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx, ub1 "
         "*cvalp, ub4 clen, ub1 cflg)",
         {}},
        {FUNCTION(OCIDirPathColArrayReset),
         "OCIDirPathColArrayReset( OCIDirPathColArray *dpca, OCIError *errhp )",
         {}},
        {FUNCTION(OCIDirPathColArrayToStream),
         "OCIDirPathColArrayToStream(OCIDirPathColArray *dpca,  OCIDirPathCtx *dpctx, OCIDirPathStream "
         "*dpstr, OCIError *errhp, ub4 rowcnt, ub4 rowoff)",
         {}},
        {FUNCTION(OCIDirPathFinish), "OCIDirPathFinish(OCIDirPathCtx *dpctx, OCIError *errhp)", {}},
        {FUNCTION(OCIDirPathLoadStream),
         "OCIDirPathLoadStream(OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError *errhp)",
         {}},
        {FUNCTION(OCIDirPathPrepare),
         "OCIDirPathPrepare(OCIDirPathCtx *dpctx, OCISvcCtx *svchp, OCIError *errhp)",
         {{"dpctx", ""}}},
        {FUNCTION(OCIDirPathStreamReset),
         "OCIDirPathStreamReset(OCIDirPathStream *dpstr, OCIError *errhp)",
         {}},
    };
    for (const auto &[f, prototype, printed_as] : rows) {
        words arguments;
        for (std::size_t i = 0; i < f.parameters.size(); i++)
            arguments.push_back(101 + i);
        expect_stop({.call = [call = f.call, arguments] { call(arguments); },
                     .function = f.name,
                     .assertion = "0",
                     .reason = "Unexpected calling...",
                     .level = OM_LOG_TRACE,
                     .before = {entered(f.name), argument_record(prototype, arguments, printed_as)}});
    }
}

} // namespace
