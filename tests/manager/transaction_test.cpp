/* Transactions, server version and break. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

constexpr const char *no_service_context = "There is no available svc handle";

void on_service_context(ForwardingTest &t, words &w)
{
    w[0] = to_word(t.svc);
}

const std::vector<forwarded> &transaction_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCITransCommit),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {1, OCI_HTYPE_ERROR}},
         .arguments =
             "OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)\n\tsvchp=%p\n\terrhp=%p\n\tflags=%d",
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = no_service_context},
        {.f = FUNCTION(OCITransRollback),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {1, OCI_HTYPE_ERROR}},
         .arguments =
             "OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)\n\tsvchp=%p\n\terrhp=%p\n\t"
             "flags=%d",
         .assertion = "wsvchp!=((void *)0)",
         .no_backend = no_service_context},
        {.f = FUNCTION(OCITransStart),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {1, OCI_HTYPE_ERROR}},
         .arguments =
             "OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword timeout, ub4 flags)\n\tsvchp=%p\n\terrhp=%p"
             "\n\ttimeout=%p\n\tflags=%d",
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = no_service_context},
        {.f = FUNCTION(OCIServerVersion),
         .how = manner::unrouted,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {1, OCI_HTYPE_ERROR}},
         .arguments =
             "OCIServerVersion(dvoid *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)\n\thndlp=%p"
             "\n\terrhp=%p\n\tbufp=%s\n\tbufsz=%d\n\thndltype=%d",
         .given = on_service_context,
         .errors = error_record::never,
         .assertion = "whndlp != ((void *)0)"},
        {.f = FUNCTION(OCIBreak),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX}},
         .arguments = "sword OCIBreak (dvoid *hndlp, OCIError *errhp)\n\thndlp=%p\n\terrhp=%p",
         .given = on_service_context,
         .errors = error_record::never,
         .assertion = "whndlp != ((void *)0)",
         .no_backend = "There is no available handle"},
    };
    return rows;
}

FORWARDING_TEST(Transaction, transaction_calls);

class Report : public ManagerTest
{
};

TEST_F(Report, StaysUntilTheNext)
{
    route(svc, 2);
    dravik().next("OCITransCommit", OCI_ERROR);
    EXPECT_EQ(OCITransCommit(svc, err, OCI_DEFAULT), OCI_ERROR);
    EXPECT_EQ(OCITransCommit(svc, err, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    oracle().always("OCIServerVersion", OCI_ERROR);
    OraText buffer[16] = "";
    EXPECT_EQ(OCIServerVersion(svc, err, buffer, sizeof buffer, OCI_HTYPE_SVCCTX), OCI_ERROR);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
}

} // namespace
