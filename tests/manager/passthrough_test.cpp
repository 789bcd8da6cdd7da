/* Calls that Oracle's library always serves, and the direct path calls, which nobody does. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

/* A number or date call: Oracle gets the default error handle in place of the caller's. */
forwarded conversion(recording::function f)
{
    return {.f = std::move(f),
            .how = manner::unrouted,
            .to_oracle = [](ForwardingTest &, words &w) { w[0] = any_word; },
            .errors = error_record::never};
}

const std::vector<forwarded> &direct_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCINlsGetInfo),
         .how = manner::unrouted,
         .arguments =
             "OCINlsGetInfo(dvoid *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item)\n\tenvhp=%p\n\t"
             "errhp=%p\n\tbuf=%s\n\tbuflen=%ld\n\titem=%d",
         .given = [](ForwardingTest &t, words &w) { w[0] = to_word(t.env); },
         .errors = error_record::never},
        conversion(FUNCTION(OCINumberFromInt)),
        conversion(FUNCTION(OCINumberFromReal)),
        conversion(FUNCTION(OCINumberFromText)),
        conversion(FUNCTION(OCINumberToInt)),
        conversion(FUNCTION(OCINumberToReal)),
        conversion(FUNCTION(OCINumberToText)),
        conversion(FUNCTION(OCIDateAssign)),
        conversion(FUNCTION(OCIDateToText)),
        conversion(FUNCTION(OCIDateFromText)),
        conversion(FUNCTION(OCIDateCompare)),
        conversion(FUNCTION(OCIDateAddMonths)),
        conversion(FUNCTION(OCIDateAddDays)),
        conversion(FUNCTION(OCIDateLastDay)),
        conversion(FUNCTION(OCIDateDaysBetween)),
        conversion(FUNCTION(OCIDateZoneToZone)),
        conversion(FUNCTION(OCIDateNextDay)),
        conversion(FUNCTION(OCIDateCheck)),
        conversion(FUNCTION(OCIDateSysDate)),
    };
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
        OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        ASSERT_EQ(calls()[1].function, "OCIHandleAlloc");
        const word default_error = target<word>(calls()[1].arguments[1]);
        const void *anything = "";
        for (const forwarded &row : direct_calls()) {
            if (row.f.name == "OCINlsGetInfo")
                continue;
            for (const word error : {word{0}, to_word(anything)}) {
                words arguments(row.f.parameters.size(), 0);
                arguments[0] = error;
                forget_calls();
                row.f.call(arguments);
                EXPECT_EQ(calls().at(0).from, recording::oracle) << row.f.name;
                EXPECT_EQ(calls().at(0).arguments[0], default_error) << row.f.name;
            }
        }
    });
}

TEST_F(DefaultError, WidestArguments)
{
    init_oci_manager();
    ub4 size = 0;
    OCIDateToText(nullptr, nullptr, nullptr, 255, nullptr, 4294967295U, &size, nullptr);
    OCIDateAddDays(nullptr, nullptr, -1, nullptr);
    const std::size_t last = calls().size() - 1;
    EXPECT_EQ(calls()[last - 1].arguments[3], 255U);
    EXPECT_EQ(calls()[last - 1].arguments[5], 4294967295U);
    EXPECT_EQ(calls()[last].arguments[2], to_word(-1));
}

struct refused {
    recording::function f;
    std::string arguments;
    std::size_t omitted = 0; // arguments that are not printed, from the first
};

TEST(DirectPath, IsRefused)
{
    const std::vector<refused> rows{
        {FUNCTION(OCIDirPathColArrayEntrySet),
         "OCIDirPathColArrayEntrySet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx, ub1 *cvalp, ub4 "
         "clen, ub1 cflg)\n\tdpca=%p\n\terrhp=%p\n\trownum=%d\n\tcolIdx=%d\n\tcvalp=%p\n\tclen=%d\n\tcflg=%d"},
        {FUNCTION(OCIDirPathColArrayReset),
         "OCIDirPathColArrayReset( OCIDirPathColArray *dpca, OCIError *errhp )\n\tdpca=%p\n\terrhp=%p"},
        {FUNCTION(OCIDirPathColArrayToStream),
         "OCIDirPathColArrayToStream(OCIDirPathColArray *dpca,  OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError "
         "*errhp, ub4 rowcnt, ub4 rowoff)\n\tdpca=%p\n\tdpctx=%p\n\tdpstr=%p\n\terrhp=%p\n\trowcnt=%d\n\trowoff=%d"},
        {FUNCTION(OCIDirPathFinish),
         "OCIDirPathFinish(OCIDirPathCtx *dpctx, OCIError *errhp)\n\tdpctx=%p\n\terrhp=%p"},
        {FUNCTION(OCIDirPathLoadStream),
         "OCIDirPathLoadStream(OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError *errhp)\n\tdpctx=%p\n\tdpstr=%p\n\t"
         "errhp=%p"},
        {FUNCTION(OCIDirPathPrepare),
         "OCIDirPathPrepare(OCIDirPathCtx *dpctx, OCISvcCtx *svchp, OCIError *errhp)\n\tsvchp=%p\n\terrhp=%p",
         1},
        {FUNCTION(OCIDirPathStreamReset),
         "OCIDirPathStreamReset(OCIDirPathStream *dpstr, OCIError *errhp)\n\tdpstr=%p\n\terrhp=%p"},
    };
    for (const refused &row : rows) {
        words arguments;
        for (std::size_t i = 0; i < row.f.parameters.size(); i++)
            arguments.push_back(101 + i);
        const words printed(arguments.begin() + static_cast<std::ptrdiff_t>(row.omitted), arguments.end());
        expect_stop(
            {.name = row.f.name,
             .call = [&] { row.f.call(arguments); },
             .function = row.f.name,
             .assertion = "0",
             .reasons = {"Unexpected calling..."},
             .level = OM_LOG_TRACE,
             .before = {{OM_LOG_TRACE, row.f.name}, {OM_LOG_INFO, print_words(row.arguments, printed)}}});
    }
}

} // namespace
