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
    static const std::vector<lookup> lookups{{0, OCI_HTYPE_SVCCTX}, error_at(1)};
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCITransCommit),
         .how = manner::exclusive,
         .lookups = lookups,
         .prototype = "OCITransCommit(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)",
         .required = {{0, "wsvchp != ((void *)0)"}},
         .no_backend = no_service_context},
        {.f = FUNCTION(OCITransRollback),
         .how = manner::exclusive,
         .lookups = lookups,
         .prototype = "OCITransRollback(OCISvcCtx *svchp, OCIError *errhp, ub4 flags)",
         .required = {{0, "wsvchp!=((void *)0)"}},
         .no_backend = no_service_context},
        {.f = FUNCTION(OCITransStart),
         .how = manner::oracle_only,
         .lookups = lookups,
         .prototype = "OCITransStart(OCISvcCtx *svchp, OCIError *errhp, uword timeout, ub4 flags)",
         .printed_as = {{"timeout", "=%p"}},
         .required = {{0, "wsvchp != ((void *)0)"}},
         .no_backend = no_service_context},
        {.f = FUNCTION(OCIServerVersion),
         .how = manner::unrouted,
         .lookups = lookups,
         .prototype =
             "OCIServerVersion(dvoid *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)",
         .printed_as = {{"bufp", "=%s"}},
         .given = on_service_context,
         .errors = error_record::never,
         .required = {{0, "whndlp != ((void *)0)"}}},
        {.f = FUNCTION(OCIBreak),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX}},
         .prototype = "sword OCIBreak (dvoid *hndlp, OCIError *errhp)",
         .given = on_service_context,
         .errors = error_record::never,
         .required = {{0, "whndlp != ((void *)0)"}},
         .no_backend = "There is no available handle"},
    };
    return rows;
}

FORWARDING_TEST(Transaction, transaction_calls);

} // namespace
