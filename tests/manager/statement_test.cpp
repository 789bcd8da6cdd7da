/* Preparation, execution, fetch. */
#include "forwarding.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

constexpr const char *no_service_context = "There is no available svc handle";

const std::string wide{"S\0E\0L\0E\0C\0T\0 \0*\0", 16};

/* How the record of a failed execution goes on after the result. */
const std::string probed = "\n\tr_sqlstate=(null)\n\tr_errcodep=";

const std::vector<forwarded> &statement_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIStmtExecute),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX},
                     {1, OCI_HTYPE_STMT},
                     optional_error_at(2),
                     {5, OCI_DTYPE_SNAP, OM_ENTRY_DESCRIPTOR},
                     {6, OCI_DTYPE_SNAP, OM_ENTRY_DESCRIPTOR}},
         .prototype =
             "OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff, "
             "CONST OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode)",
         .given = [](ForwardingTest &t, words &w) { w[6] = to_word(t.snap_out); },
         .around =
             [](ForwardingTest &, int backend, sword rc, sword dk_rc) {
                 return backend == recording::oracle
                            ? records_t{info("Executed OCIStmtExecute() to Oracle, rc=%d", rc).at(1731)}
                            : records_t{info("Executed OCIStmtExecute() to Dravik, rc=%d", dk_rc).at(1774)};
             },
         .success = {OM_LOG_INFO, "()\n\treturn rc={result}", 1815},
         .oracle_failure = {OM_LOG_ERROR,
                            "(): ORACLE\n\treturn rc={rc}" + probed + "0\n\tr_bufp=, c_sid=", 1757},
         .dravik_failure = {OM_LOG_ERROR, "(): DRAVIK\n\treturn rc={dk_rc}" + probed + "0\n\tr_bufp=", 1795},
         .info_fails = false,
         .no_data_fails = false,
         .required = {{0, "wsvchp != ((void *)0)", 1719}, {1, "wstmtp != ((void *)0)", 1721}},
         .no_backend = no_service_context,
         .no_backend_line = 1806},
        {.f = FUNCTION(OCIStmtFetch),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT}, optional_error_at(1)},
         .prototype = "OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode)",
         .required = {{0, "wstmtp != ((void *)0)", 3151}}},
        {.f = FUNCTION(OCIStmtFetch2),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT}, optional_error_at(1)},
         .prototype = "OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 "
                      "scrollOffset, ub4 mode)",
         .required = {{0, "wstmtp != ((void *)0)", 3215}}},
        {.f = FUNCTION(OCIStmtPrepare),
         .how = manner::both,
         .lookups = {{0, OCI_HTYPE_STMT}, error_at(1)},
         .prototype =
             "OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, CONST OraText *stmt, ub4 stmt_len, ub4 "
             "language, ub4 mode)",
         .printed_as = {{"stmt", "=%s, c_sid=%s"}},
         .given =
             [](ForwardingTest &, words &w) {
                 w[2] = to_word(wide.c_str());
                 w[3] = wide.size();
             },
         .printed = [](ForwardingTest &, words &w) { w.insert(w.begin() + 3, to_word("SELECT *")); },
         .to_dravik =
             [](ForwardingTest &, words &w) {
                 w[2] = any_word;
                 w[3] = 8;
             },
         .dravik_text = "SELECT *",
         .oracle_text = wide,
         .success = {OM_LOG_INFO, "()\n\treturn rc=0", 1564},
         .oracle_failure = {OM_LOG_ERROR, "()\n\treturn rc={rc}", 1524},
         .dravik_failure = {OM_LOG_ERROR, "()\n\treturn rc={dk_rc}", 1542},
         .required = {{0, "wstmtp != ((void *)0)", 1508}, {1, "werrhp != ((void *)0)", 1510}}},
        {.f = FUNCTION(OCIStmtPrepare2),
         .how = manner::oracle_only,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, optional_error_at(2), {1, OCI_HTYPE_STMT, OM_ENTRY_HANDLE, true}},
         .prototype =
             "sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const OraText "
             "*stmt, ub4 stmt_len, const OraText *key, ub4 key_len, ub4 language, ub4 mode)",
         .printed_as = {{"stmt", "=%s"}, {"key", "=%s"}},
         .given =
             [](ForwardingTest &t, words &w) {
                 if (t.variable == nullptr)
                     t.variable = t.stmt; // which each call keys anew
                 w[1] = to_word(&t.variable);
                 w[3] = to_word("SELECT 1");
                 w[4] = 8;
             },
         .oracle_text = "SELECT 1",
         .success = {OM_LOG_INFO, "()\n\treturn rc=0", 1674},
         .oracle_failure = {OM_LOG_ERROR, "()\n\treturn rc={rc}", 1634},
         .required = {{0, "wsvchp!=((void *)0)", 1608}},
         .no_backend = no_service_context,
         .no_backend_line = 1663},
    };
    return rows;
}

FORWARDING_TEST(Statement, statement_calls);

class Prepare : public ManagerTest
{
protected:
    sword prepare() { return OCIStmtPrepare(stmt, err, text_of("x"), 1, OCI_NTV_SYNTAX, OCI_DEFAULT); }
};

TEST_F(Prepare, AnExecutedStatementLosesItsChildren)
{
    prepare();
    OCIBind *bind = new_bind();
    OCIBind *kept = new_bind();
    OCIDefine *define = new_define();
    om_handle_t *wkept = wrapper(kept);
    wkept->state = 4;

    /* Not before it was executed. */
    prepare();
    EXPECT_THAT(children(wrapper(stmt)), ElementsAre(wrapper(bind), wkept, wrapper(define)));

    execute();
    const ub4 count = hdl_list_tbl->hash_count;
    const trace_capture trace(OM_LOG_INFO);
    const records_t expected{deletion_record(bind, wrapper(bind)).at(1558),
                             deletion_record(define, wrapper(define)).at(1558),
                             info("END FUNC - OCIStmtPrepare()\n\treturn rc=0").at(1564)};
    forget_calls();
    prepare();
    expect_calls({to_oracle("OCIStmtPrepare"), to_dravik("OCIStmtPrepare")});
    expect_last(trace, expected);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 2);
    EXPECT_EQ(wrapper(bind), nullptr);
    EXPECT_EQ(wrapper(define), nullptr);
    EXPECT_THAT(children(wrapper(stmt)), ElementsAre(wkept));
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 3U);
    EXPECT_EQ(wrapper(stmt)->state, 1U);
}

TEST_F(Prepare, StateTellsThatItSucceeded)
{
    for (recording::backend *backend : {&oracle(), &dravik()}) {
        backend->next("OCIStmtPrepare", OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(prepare(), OCI_SUCCESS_WITH_INFO);
        EXPECT_EQ(wrapper(stmt)->state, 4U);
        EXPECT_EQ(wrapper(err)->last_err, static_cast<ub4>(backend->library));
    }
    route(stmt, 1);
    EXPECT_EQ(prepare(), OCI_SUCCESS);
    EXPECT_EQ(wrapper(stmt)->state, 1U);
    EXPECT_EQ(wrapper(stmt)->last_exec, 3U);
}

class Execute : public ManagerTest
{
};

TEST_F(Execute, EverythingFollowsTheBackendThatRan)
{
    for (const ub4 routing : {1U, 2U, 3U}) {
        for (const sword rc :
             {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_NO_DATA, OCI_ERROR, OCI_STILL_EXECUTING}) {
            SCOPED_TRACE(print("last_exec %u, rc %d", routing, rc));
            const ub4 backend = routing == 2 ? 2U : 1U;
            const om_handle_t *followers[] = {wrapper(stmt), wrapper(snap_in), wrapper(snap_out)};
            for (const om_handle_t *w : followers)
                route(w->ora_hndlp, 3);
            route(svc, routing);
            wrapper(stmt)->state = 1;
            wrapper(err)->last_err = 0;
            oracle().always("OCIStmtExecute", rc);
            dravik().always("OCIStmtExecute", rc);
            EXPECT_EQ(execute(), rc);
            for (const om_handle_t *w : followers)
                EXPECT_EQ(w->last_exec, backend);
            EXPECT_EQ(wrapper(stmt)->state, rc == OCI_SUCCESS ? 2U : 1U);
            EXPECT_EQ(wrapper(err)->last_err, rc == OCI_SUCCESS ? 0U : backend);
            EXPECT_EQ(wrapper(svc)->last_exec, routing);
        }
    }
}

TEST_F(Execute, SnapshotsAndErrorHandleMayBeAbsent)
{
    route(svc, 2);
    dravik().always("OCIStmtExecute", OCI_ERROR);
    EXPECT_EQ(OCIStmtExecute(svc, stmt, nullptr, 4, 3, nullptr, nullptr, OCI_DEFAULT), OCI_ERROR);
    expect_calls({to_dravik("OCIStmtExecute", twin(svc), twin(stmt), 0, 4, 3, 0, 0, OCI_DEFAULT),
                  to_dravik("OCIErrorGet", 0, 1, 0, any_word, any_word, 8192, OCI_HTYPE_ERROR)});
}

TEST_F(Execute, LastRecordTellsTheOutcome)
{
    const auto ended = [](sword rc) {
        return info("END FUNC - OCIStmtExecute()\n\treturn rc=%d", rc).at(1741);
    };
    const auto long_end = [](int line, sword rc, const char *rest) {
        return failed("END FUNC - OCIStmtExecute(): %s\n\treturn rc=%d%s%s",
                      line == 1757 ? "ORACLE" : "DRAVIK", rc, probed.c_str(), rest)
            .at(line);
    };
    const std::vector<std::tuple<ub4, sword, record>> outcomes{
        {1, OCI_SUCCESS_WITH_INFO, ended(1)},
        {1, OCI_NO_DATA, ended(100)},
        {1, OCI_ERROR, long_end(1757, -1, "942\n\tr_bufp=o, c_sid=oracle")},
        {1, OCI_NEED_DATA, long_end(1757, 99, "0\n\tr_bufp=, c_sid=")},
        {2, OCI_SUCCESS_WITH_INFO, long_end(1795, 1, "0\n\tr_bufp=")},
        {2, OCI_NO_DATA, long_end(1795, 100, "0\n\tr_bufp=")},
        {2, OCI_ERROR, long_end(1795, -1, "1017\n\tr_bufp=dravik")},
    };
    oracle().error_text = std::string("o\0r\0a\0c\0l\0e\0", 12);
    oracle().error_code = 942;
    dravik().error_text = "dravik";
    dravik().error_code = 1017;
    for (const auto &[backend, rc, end] : outcomes) {
        SCOPED_TRACE(end.text);
        route(svc, backend);
        (backend == 1 ? oracle() : dravik()).next("OCIStmtExecute", rc);
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(execute(), rc);
        expect_last(trace, {end});
        const auto of_backend = [&, from = static_cast<int>(backend)](const char *function, words arguments) {
            return recording::call{from, function, std::move(arguments), ""};
        };
        std::vector<recording::call> expected{of_backend("OCIStmtExecute", {})};
        if (rc == OCI_ERROR)
            expected.push_back(of_backend("OCIErrorGet", {to_word(backend == 1 ? err : twin(err)), 1, 0,
                                                          any_word, any_word, 8192, OCI_HTYPE_ERROR}));
        expect_calls(expected);
    }

    /* A text that fills the buffer, without room for its terminating zero. */
    oracle().error_text = std::string(8192, 'e');
    route(svc, 1);
    oracle().next("OCIStmtExecute", OCI_ERROR);
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(execute(), OCI_ERROR);
    EXPECT_EQ(trace.records().at(0).text.size(), 7999U);
}

} // namespace
