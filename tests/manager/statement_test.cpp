/* Preparation, execution, fetch. */
#include "forwarding.h"

using namespace manager_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr const char *no_service_context = "There is no available svc handle";

const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};
const record dravik_runs{OM_LOG_INFO, "[DRAVIK] OCI API will be executed"};

const std::vector<forwarded> &statement_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIStmtExecute),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX},
                     {1, OCI_HTYPE_STMT},
                     {.position = 2, .type = OCI_HTYPE_ERROR, .when_given = true},
                     {5, OCI_DTYPE_SNAP, OM_ENTRY_DESCRIPTOR},
                     {6, OCI_DTYPE_SNAP, OM_ENTRY_DESCRIPTOR}},
         .arguments =
             "OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff, "
             "CONST OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode)\n\tsvchp=%p\n\tstmtp=%p\n\t"
             "errhp=%p\n\titers=%d\n\trowoff=%d\n\tsnap_in=%p\n\tsnap_out=%p\n\tmode=%d",
         .given = [](ForwardingTest &t, words &w) { w[6] = to_word(t.snap_out); },
         .around =
             [](ForwardingTest &, int backend, sword rc, sword dk_rc) {
                 return backend == recording::oracle
                            ? records_t{{OM_LOG_INFO,
                                         format("Executed OCIStmtExecute() to Oracle, rc=%d", rc), 1731}}
                            : records_t{{OM_LOG_INFO,
                                         format("Executed OCIStmtExecute() to Dravik, rc=%d", dk_rc), 1774}};
             },
         .success = {OM_LOG_INFO, "END FUNC - OCIStmtExecute()\n\treturn rc={result}", 1815},
         .oracle_failure = {OM_LOG_ERROR,
                            "END FUNC - OCIStmtExecute(): ORACLE\n\treturn rc={rc}\n\tr_sqlstate=(null)\n\t"
                            "r_errcodep=0\n\tr_bufp=, c_sid=",
                            1757},
         .dravik_failure =
             {OM_LOG_ERROR,
              "END FUNC - OCIStmtExecute(): DRAVIK\n\treturn rc={dk_rc}\n\tr_sqlstate=(null)\n\t"
              "r_errcodep=0\n\tr_bufp=",
              1795},
         .assertion = "wsvchp != ((void *)0)",
         .no_backend = no_service_context,
         .assertion_line = 1719,
         .no_backend_line = 1806},
        {.f = FUNCTION(OCIStmtFetch),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT}, {.position = 1, .type = OCI_HTYPE_ERROR, .when_given = true}},
         .arguments =
             "OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode)\n\t"
             "stmtp=%p\n\terrhp=%p\n\tnrows=%d\n\torientation=%d\n\tmode=%d",
         .assertion = "wstmtp != ((void *)0)",
         .assertion_line = 3151},
        {.f = FUNCTION(OCIStmtFetch2),
         .how = manner::in_turn,
         .lookups = {{0, OCI_HTYPE_STMT}, {.position = 1, .type = OCI_HTYPE_ERROR, .when_given = true}},
         .arguments =
             "OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 scrollOffset, "
             "ub4 mode)\n\tstmtp=%p\n\terrhp=%p\n\tnrows=%d\n\torientation=%d\n\tscrollOffset=%d\n\tmode=%d",
         .assertion = "wstmtp != ((void *)0)",
         .assertion_line = 3215},
    };
    return rows;
}

FORWARDING_TEST(Statement, statement_calls);

const OraText *text_of(const std::string &text)
{
    return reinterpret_cast<const OraText *>(text.c_str());
}

class Prepare : public ManagerTest
{
protected:
    sword prepare(const std::string &text)
    {
        return OCIStmtPrepare(stmt, err, text_of(text), static_cast<ub4>(text.size()), OCI_NTV_SYNTAX, 5);
    }

    records_t start_records(const std::string &shown, const std::string &narrowed, std::size_t length)
    {
        return sequence(
            records_t{{OM_LOG_TRACE, "OCIStmtPrepare"},
                      {OM_LOG_INFO,
                       format("OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, CONST OraText *stmt, ub4 "
                              "stmt_len, ub4 language, ub4 mode)\n\tstmtp=%p\n\terrhp=%p\n\tstmt=%s, "
                              "c_sid=%s\n\tstmt_len=%zu\n\tlanguage=1\n\tmode=5",
                              static_cast<void *>(stmt), static_cast<void *>(err), shown.c_str(),
                              narrowed.c_str(), length)}},
            lookup_records(stmt, OCI_HTYPE_STMT), lookup_records(err, OCI_HTYPE_ERROR));
    }

    static record end(int level, sword rc, int line)
    {
        return {level, format("END FUNC - OCIStmtPrepare()\n\treturn rc=%d", rc), line};
    }

    const std::string wide{"S\0E\0L\0E\0C\0T\0 \0"
                           "1\0",
                           16};
};

TEST_F(Prepare, BothBackendsWhateverTheRouting)
{
    for (const ub4 last_exec : {0U, 1U, 2U, 3U}) {
        route(stmt, last_exec);
        forget_calls();
        const trace_capture trace(OM_LOG_TRACE);
        const records_t expected = sequence(start_records("S", "SELECT 1", 16),
                                            records_t{oracle_runs, dravik_runs, end(OM_LOG_INFO, 0, 1564)});
        EXPECT_EQ(prepare(wide), OCI_SUCCESS);
        expect_records(trace.records(), expected);
        ASSERT_THAT(called(), ElementsAre("Oracle.OCIStmtPrepare", "Dravik.OCIStmtPrepare"));
        EXPECT_EQ(calls()[0].text, wide);
        EXPECT_EQ(calls()[0].arguments[0], to_word(stmt));
        EXPECT_EQ(calls()[0].arguments[1], to_word(err));
        EXPECT_EQ(calls()[1].text, "SELECT 1");
        const words &dravik_arguments = calls()[1].arguments;
        EXPECT_EQ(dravik_arguments[0], to_word(twin(stmt)));
        EXPECT_EQ(dravik_arguments[1], to_word(twin(err)));
        EXPECT_EQ(dravik_arguments[3], 8U);
        EXPECT_EQ(dravik_arguments[4], word{OCI_NTV_SYNTAX});
        EXPECT_EQ(dravik_arguments[5], 5U);
        EXPECT_EQ(wrapper(stmt)->last_exec, 3U);
        EXPECT_EQ(wrapper(stmt)->state, 1U);
        EXPECT_EQ(wrapper(err)->last_err, 0U);
    }
}

TEST_F(Prepare, FailuresOfEither)
{
    const trace_capture trace(OM_LOG_ERROR);
    oracle().next("OCIStmtPrepare", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(prepare("SELECT 1"), OCI_SUCCESS_WITH_INFO);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIStmtPrepare"));
    EXPECT_EQ(wrapper(err)->last_err, 1U);
    EXPECT_EQ(wrapper(stmt)->state, 4U);
    dravik().next("OCIStmtPrepare", OCI_ERROR);
    EXPECT_EQ(prepare("SELECT 1"), OCI_ERROR);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    EXPECT_EQ(wrapper(stmt)->state, 4U);
    expect_records(trace.records(), {end(OM_LOG_ERROR, 1, 1524), end(OM_LOG_ERROR, -1, 1542)});

    /* The report stays until the next one. */
    EXPECT_EQ(prepare("SELECT 1"), OCI_SUCCESS);
    EXPECT_EQ(wrapper(err)->last_err, 2U);
}

TEST_F(Prepare, AnExecutedStatementLosesItsChildren)
{
    prepare("SELECT 1");
    OCIBind *bind = bind_by_position(1);
    OCIBind *kept = bind_by_position(2);
    OCIDefine *define = define_by_position(1);
    om_handle_t *wbind = wrapper(bind);
    om_handle_t *wkept = wrapper(kept);
    om_handle_t *wdefine = wrapper(define);
    wkept->state = 4;

    /* Not before it was executed. */
    prepare("SELECT 2");
    EXPECT_THAT(children(wrapper(stmt)), ElementsAre(wbind, wkept, wdefine));

    OCIStmtExecute(svc, stmt, err, 1, 0, nullptr, nullptr, OCI_DEFAULT);
    const ub4 count = hdl_list_tbl->hash_count;
    const trace_capture trace(OM_LOG_INFO);
    const auto dropped = [](const void *key, const om_handle_t *w, int type) {
        return record{OM_LOG_INFO,
                      format("delete hash table entry => key=%p, wrapper=%p, state=3 type=%d", key,
                             static_cast<const void *>(w), type),
                      1558};
    };
    const record bind_dropped = dropped(bind, wbind, OCI_HTYPE_BIND);
    const record define_dropped = dropped(define, wdefine, OCI_HTYPE_DEFINE);
    forget_calls();
    prepare("SELECT 3");
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIStmtPrepare", "Dravik.OCIStmtPrepare"));
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 2);
    EXPECT_EQ(wrapper(bind), nullptr);
    EXPECT_EQ(wrapper(define), nullptr);
    EXPECT_EQ(wrapper(kept), wkept);
    EXPECT_THAT(children(wrapper(stmt)), ElementsAre(wkept));
    EXPECT_EQ(wrapper(stmt)->sub_link_count, 3U);
    EXPECT_EQ(wrapper(stmt)->state, 1U);
    records_t records = trace.records();
    ASSERT_GT(records.size(), 3U);
    expect_records({records.end() - 3, records.end()},
                   {bind_dropped, define_dropped, end(OM_LOG_INFO, 0, 1564)});
}

TEST_F(Prepare, Stops)
{
    const std::string text = "SELECT 1";
    const auto call = [&](OCIStmt *s, OCIError *e) {
        return [=, &text] { OCIStmtPrepare(s, e, text_of(text), 8, OCI_NTV_SYNTAX, OCI_DEFAULT); };
    };
    for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(this)}) {
        expect_stop({.name = "statement",
                     .call = call(static_cast<OCIStmt *>(handle), err),
                     .function = "OCIStmtPrepare",
                     .assertion = "wstmtp != ((void *)0)",
                     .line = 1508});
        expect_stop({.name = "error handle",
                     .call = call(stmt, static_cast<OCIError *>(handle)),
                     .function = "OCIStmtPrepare",
                     .assertion = "werrhp != ((void *)0)",
                     .line = 1510});
    }
}

class Prepare2 : public ManagerTest
{
protected:
    sword prepare(OCIStmt **statement)
    {
        return OCIStmtPrepare2(svc, statement, err, text_of(sql), 8, text_of(key), 3, OCI_NTV_SYNTAX, 5);
    }

    const std::string sql = "SELECT 1";
    const std::string key = "key";
};

TEST_F(Prepare2, OracleMakesTheStatement)
{
    OCIStmt *made = nullptr;
    const ub4 count = hdl_list_tbl->hash_count;
    const trace_capture trace(OM_LOG_TRACE);
    const records_t lookups =
        sequence(lookup_records(svc, OCI_HTYPE_SVCCTX), lookup_records(err, OCI_HTYPE_ERROR),
                 lookup_records(nullptr, OCI_HTYPE_STMT));
    EXPECT_EQ(prepare(&made), OCI_SUCCESS);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIStmtPrepare2"));
    EXPECT_EQ(calls()[0].arguments, (words{to_word(svc), to_word(&made), to_word(err), to_word(sql.c_str()),
                                           8, to_word(key.c_str()), 3, OCI_NTV_SYNTAX, 5}));
    const om_handle_t *w = wrapper(made);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
    EXPECT_EQ(table().back(), w);
    EXPECT_EQ(w->dk_hndlp, nullptr);
    EXPECT_EQ(w->state, 4U);
    EXPECT_EQ(w->type, ub4{OCI_HTYPE_STMT});
    EXPECT_EQ(w->last_exec, 1U);
    EXPECT_EQ(w->parenthp, nullptr);
    EXPECT_THAT(children(w), IsEmpty());
    expect_records(
        trace.records(),
        sequence(
            records_t{
                {OM_LOG_TRACE, "OCIStmtPrepare2"},
                {OM_LOG_INFO,
                 format("sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const "
                        "OraText *stmt, ub4 stmt_len, const OraText *key, ub4 key_len, ub4 language, ub4 "
                        "mode)\n\tsvchp=%p\n\tstmtp=%p\n\terrhp=%p\n\tstmt=SELECT 1\n\tstmt_len=8\n\t"
                        "key=key\n\tkey_len=3\n\tlanguage=1\n\tmode=5",
                        static_cast<void *>(svc), static_cast<void *>(&made), static_cast<void *>(err))}},
            lookups, records_t{oracle_runs}, insertion_records(made, OCI_HTYPE_STMT),
            records_t{{OM_LOG_INFO, "END FUNC - OCIStmtPrepare2()\n\treturn rc=0", 1674}}));
}

TEST_F(Prepare2, AKnownStatementIsKeyedAnew)
{
    OCIStmt *variable = nullptr;
    prepare(&variable);
    OCIStmt *first = variable;
    om_handle_t *w = wrapper(first);
    allocate<OCITrans>(OCI_HTYPE_TRANS); // so that the statement is not the last in the table
    const std::vector<om_handle_t *> before = table();
    EXPECT_EQ(prepare(&variable), OCI_SUCCESS);
    EXPECT_NE(variable, first);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(variable), w);
    EXPECT_EQ(wrapper(first), nullptr);
    EXPECT_EQ(OCIHandleFree(variable, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, before.size() - 1);

    /* A value that nobody knows gets a wrapper of its own. */
    variable = reinterpret_cast<OCIStmt *>(this);
    EXPECT_EQ(prepare(&variable), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, before.size());
}

TEST_F(Prepare2, Failure)
{
    OCIStmt *variable = nullptr;
    const std::vector<om_handle_t *> before = table();
    oracle().always("OCIStmtPrepare2", OCI_SUCCESS_WITH_INFO);
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(prepare(&variable), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(err)->last_err, 1U);
    expect_records(trace.records(), {{OM_LOG_ERROR, "END FUNC - OCIStmtPrepare2()\n\treturn rc=1", 1634}});

    /* A wrapper found is keyed by what the failed call left in the variable, and Oracle's from now on. */
    oracle().always("OCIStmtPrepare2", OCI_ERROR,
                    [](const words &a) { target<void *>(a[1]) = oracle().user_memory; });
    variable = stmt;
    om_handle_t *w = wrapper(stmt);
    EXPECT_EQ(prepare(&variable), OCI_ERROR);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(w->ora_hndlp, oracle().user_memory);
    EXPECT_EQ(w->last_exec, 1U);
}

TEST_F(Prepare2, Stops)
{
    OCIStmt *variable = nullptr;
    for (OCISvcCtx *context : {static_cast<OCISvcCtx *>(nullptr), reinterpret_cast<OCISvcCtx *>(this)})
        expect_stop({.name = "service context",
                     .call =
                         [&] {
                             OCIStmtPrepare2(context, &variable, err, text_of(sql), 8, text_of(key), 3,
                                             OCI_NTV_SYNTAX, OCI_DEFAULT);
                         },
                     .function = "OCIStmtPrepare2",
                     .assertion = "wsvchp!=((void *)0)",
                     .line = 1608});
    for (const ub4 last_exec : {0U, 2U}) {
        route(svc, last_exec);
        expect_stop({.name = "not on Oracle",
                     .call = [&] { prepare(&variable); },
                     .function = "OCIStmtPrepare2",
                     .assertion = "0",
                     .reasons = {no_service_context},
                     .reason_line = 1663,
                     .line = 1664});
    }
}

class Execute : public ManagerTest
{
protected:
    sword execute() { return OCIStmtExecute(svc, stmt, err, 1, 0, snap_in, snap_out, OCI_DEFAULT); }
};

TEST_F(Execute, EverythingFollowsTheBackendThatRan)
{
    for (const ub4 routing : {1U, 2U, 3U}) {
        for (const sword rc :
             {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_NO_DATA, OCI_ERROR, OCI_STILL_EXECUTING}) {
            SCOPED_TRACE(format("last_exec %u, rc %d", routing, rc));
            const ub4 backend = routing == 2 ? 2U : 1U;
            for (const void *handle :
                 {static_cast<void *>(stmt), static_cast<void *>(snap_in), static_cast<void *>(snap_out)})
                route(handle, 3);
            route(svc, routing);
            wrapper(stmt)->state = 1;
            wrapper(err)->last_err = 0;
            oracle().always("OCIStmtExecute", rc);
            dravik().always("OCIStmtExecute", rc);
            EXPECT_EQ(execute(), rc);
            EXPECT_EQ(wrapper(stmt)->last_exec, backend);
            EXPECT_EQ(wrapper(snap_in)->last_exec, backend);
            EXPECT_EQ(wrapper(snap_out)->last_exec, backend);
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
    ASSERT_EQ(calls().size(), 2U);
    EXPECT_EQ(calls()[0].arguments,
              (words{to_word(twin(svc)), to_word(twin(stmt)), 0, 4, 3, 0, 0, OCI_DEFAULT}));
    EXPECT_EQ(calls()[1].arguments[0], 0U);
}

TEST_F(Execute, LastRecordTellsTheOutcome)
{
    struct outcome {
        ub4 backend;
        sword rc;
        record end;
    };
    const auto long_end = [](const char *backend, sword rc, const std::string &rest, int line) {
        return record{OM_LOG_ERROR,
                      format("END FUNC - OCIStmtExecute(): %s\n\treturn rc=%d\n\tr_sqlstate=(null)\n\t%s",
                             backend, rc, rest.c_str()),
                      line};
    };
    const std::vector<outcome> outcomes{
        {1, OCI_SUCCESS_WITH_INFO, {OM_LOG_INFO, "END FUNC - OCIStmtExecute()\n\treturn rc=1", 1741}},
        {1, OCI_NO_DATA, {OM_LOG_INFO, "END FUNC - OCIStmtExecute()\n\treturn rc=100", 1741}},
        {1, OCI_ERROR, long_end("ORACLE", -1, "r_errcodep=942\n\tr_bufp=o, c_sid=oracle", 1757)},
        {1, OCI_NEED_DATA, long_end("ORACLE", 99, "r_errcodep=0\n\tr_bufp=, c_sid=", 1757)},
        {2, OCI_SUCCESS_WITH_INFO, long_end("DRAVIK", 1, "r_errcodep=0\n\tr_bufp=", 1795)},
        {2, OCI_NO_DATA, long_end("DRAVIK", 100, "r_errcodep=0\n\tr_bufp=", 1795)},
        {2, OCI_ERROR, long_end("DRAVIK", -1, "r_errcodep=1017\n\tr_bufp=dravik", 1795)},
    };
    oracle().error_text = std::string("o\0r\0a\0c\0l\0e\0", 12);
    oracle().error_code = 942;
    dravik().error_text = "dravik";
    dravik().error_code = 1017;
    for (const outcome &o : outcomes) {
        SCOPED_TRACE(o.end.text);
        route(svc, o.backend);
        recording::backend &backend = o.backend == 1 ? oracle() : dravik();
        backend.next("OCIStmtExecute", o.rc);
        forget_calls();
        const trace_capture trace(OM_LOG_INFO);
        EXPECT_EQ(execute(), o.rc);
        expect_records({trace.records().back()}, {o.end});
        if (o.rc == OCI_ERROR) {
            ASSERT_EQ(calls().size(), 2U);
            const words &probe = calls()[1].arguments;
            EXPECT_EQ(probe[0], to_word(o.backend == 1 ? err : twin(err)));
            EXPECT_EQ((words{probe[1], probe[2], probe[5], probe[6]}), (words{1, 0, 8192, OCI_HTYPE_ERROR}));
        } else {
            EXPECT_EQ(calls().size(), 1U);
        }
    }
}

TEST_F(Execute, ErrorTextThatFillsTheBuffer)
{
    oracle().always("OCIStmtExecute", OCI_ERROR);
    oracle().error_text = std::string(8192, 'e');
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(execute(), OCI_ERROR);
    EXPECT_EQ(trace.records().at(0).text.size(), 7999U);
}

TEST_F(Execute, UnknownStatementStops)
{
    for (OCIStmt *statement : {static_cast<OCIStmt *>(nullptr), reinterpret_cast<OCIStmt *>(this)})
        expect_stop(
            {.name = "statement",
             .call = [&] { OCIStmtExecute(svc, statement, err, 1, 0, nullptr, nullptr, OCI_DEFAULT); },
             .function = "OCIStmtExecute",
             .assertion = "wstmtp != ((void *)0)",
             .line = 1721});
}

class Fetch : public ManagerTest
{
};

TEST_F(Fetch, AnyCodeButSuccessIsAReport)
{
    for (const sword rc : {OCI_NO_DATA, OCI_SUCCESS_WITH_INFO}) {
        for (const ub4 last_exec : {1U, 2U, 3U}) {
            route(stmt, last_exec);
            wrapper(err)->last_err = 0;
            forget_calls();
            (last_exec == 2 ? dravik() : oracle()).next("OCIStmtFetch", rc);
            EXPECT_EQ(OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT), rc);
            EXPECT_EQ(wrapper(err)->last_err, last_exec == 2 ? 2U : 1U);
            EXPECT_EQ(calls().size(), 1U);
        }
    }
}

} // namespace
