/* Servers, sessions, transactions, errors. */
#include "forwarding.h"

using namespace manager_tests;

namespace
{

forwarded connection_call(recording::function f, std::vector<lookup> lookups, const std::string &prototype,
                          std::vector<requirement> required, const std::string &no_backend)
{
    /* A detach tells neither the backend nor its result apart. */
    const bool detach = prototype.empty();
    const std::string result = std::string(detach ? "\n\treturn rc=" : "\n\trc=") + "{result}";
    return {.f = std::move(f),
            .how = manner::exclusive,
            .lookups = std::move(lookups),
            .prototype = prototype,
            .success = {OM_LOG_INFO, "()" + result},
            .oracle_failure = {OM_LOG_ERROR, std::string(detach ? "()" : "(): ORACLE") + result},
            .dravik_failure = {OM_LOG_ERROR, std::string(detach ? "()" : "(): DRAVIK") + result},
            .required = std::move(required),
            .no_backend = no_backend};
}

const std::vector<forwarded> &connection_calls()
{
    static const std::vector<requirement> both{{0, "wsvchp!=((void *)0)"}, {2, "wusrhp!=((void *)0)"}};
    static const std::vector<forwarded> rows{
        connection_call(FUNCTION(OCIServerDetach), {{0, OCI_HTYPE_SERVER}, error_at(1)}, "",
                        {{0, "whdlp != ((void *)0)"}}, "There is no available svr handle"),
        connection_call(
            FUNCTION(OCISessionBegin), {{0, OCI_HTYPE_SVCCTX}, {2, OCI_HTYPE_SESSION}, error_at(1)},
            "OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, ub4 mode)",
            both, "There is no available service handle"),
        connection_call(FUNCTION(OCISessionEnd), {{0, OCI_HTYPE_SERVER}, {2, OCI_HTYPE_SESSION}, error_at(1)},
                        "OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode)", both,
                        "There is no available service handle"),
    };
    return rows;
}

FORWARDING_TEST(Connection, connection_calls);

class Session : public ManagerTest
{
};

TEST_F(Session, BeginBindsTheSessionToTheBackendThatWasCalled)
{
    for (const sword rc : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_ERROR}) {
        for (const ub4 last_exec : {1U, 2U, 3U}) {
            SCOPED_TRACE(print("rc %d, last_exec %u", rc, last_exec));
            route(svc, last_exec);
            route(ses, 3);
            oracle().always("OCISessionBegin", rc);
            dravik().always("OCISessionBegin", rc);
            EXPECT_EQ(OCISessionBegin(svc, err, ses, OCI_CRED_EXT, OCI_DEFAULT), rc);
            EXPECT_EQ(wrapper(ses)->last_exec, last_exec == 2 ? 2U : 1U);
            EXPECT_EQ(OCISessionEnd(svc, err, ses, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(wrapper(ses)->last_exec, last_exec == 2 ? 2U : 1U);
        }
    }
}

class Attach : public ManagerTest
{
protected:
    sword attach(const std::string &link = "sales")
    {
        return OCIServerAttach(srv, err, text_of(link), static_cast<sb4>(link.size()), OCI_DEFAULT);
    }

    /* Up to the call of the first backend. */
    records_t start_records(const char *shown_link, std::size_t length)
    {
        return sequence(
            entered("OCIServerAttach"),
            argument_record("OCIServerAttach(OCIServer *srvhp, OCIError *errhp, CONST OraText *dblink, sb4 "
                            "dblink_len, ub4 mode)",
                            {to_word(srv), to_word(err), to_word(shown_link), to_word("sales"), length, 5, 0},
                            {{"dblink", "=%s, c_sid=%s"}, {"dblink_len", "=%zu, c_sid_len=%zu"}}),
            lookup_records(srv, OCI_HTYPE_SERVER), lookup_records(err, OCI_HTYPE_ERROR), oracle_runs,
            entered("oci_mng_is_oracle_conn"));
    }

    const std::string wide_link{"s\0a\0l\0e\0s\0", 10};
    const record ended = info("END FUNC - OCIServerAttach()\n\treturn rc=0");
};

TEST_F(Attach, OracleThatAcceptsKeepsTheServer)
{
    const trace_capture trace(OM_LOG_TRACE);
    const records_t expected = sequence(start_records("sales", 5),
                                        info("CONTINUE FUNC - OCIServerAttach to oracle is Success"), ended);
    EXPECT_EQ(attach(), OCI_SUCCESS);
    expect_calls({to_oracle("OCIServerAttach")});
    EXPECT_EQ(wrapper(srv)->last_exec, 1U);
    EXPECT_EQ(wrapper(err)->last_err, 0U);
    expect_records(trace.records(), expected);

    /* From now on Oracle alone is asked, and its refusal leaves nobody. */
    oracle().always("OCIServerAttach", OCI_ERROR);
    expect_stop({[&] { attach(); }, "OCIServerAttach", "0", "There is no available svr handle"});
}

TEST_F(Attach, DravikGetsTheNarrowedLinkAfterOracleRefused)
{
    oracle().error_text = "unknown link";
    oracle().error_code = 12154;
    for (const sword refusal : {OCI_ERROR, OCI_SUCCESS_WITH_INFO, OCI_INVALID_HANDLE}) {
        SCOPED_TRACE(refusal);
        route(srv, 3);
        oracle().next("OCIServerAttach", refusal);
        const trace_capture trace(OM_LOG_TRACE);
        const records_t expected = sequence(
            start_records("s", 10),
            info("oci_mng_is_oracle_conn: Oracle\n\treturn rc=%d\n\tr_sqlstate=(null)\n\tr_errcodep=12154\n\t"
                 "r_bufp=unknown link, c_sid=unknown link",
                 refusal),
            dravik_runs, info("CONTINUE FUNC - OCIServerAttach to dravik is Success"), ended);
        EXPECT_EQ(attach(wide_link), OCI_SUCCESS);
        expect_records(trace.records(), expected);
        expect_calls(
            {with_text(to_oracle("OCIServerAttach", srv, err, wide_link.c_str(), 10, 0), wide_link),
             to_oracle("OCIErrorGet", err, 1, 0, any_word, any_word, 8192, OCI_HTYPE_ERROR),
             with_text(to_dravik("OCIServerAttach", twin(srv), twin(err), any_word, 5, 0), "sales")});
        EXPECT_EQ(wrapper(srv)->last_exec, 2U);
        EXPECT_EQ(wrapper(err)->last_err, 0U);
    }

    /* A second attach stays with Dravik. */
    EXPECT_EQ(attach(), OCI_SUCCESS);
    expect_calls({to_dravik("OCIServerAttach")});
}

TEST_F(Attach, DravikReportsWhenBothRefuse)
{
    oracle().next("OCIServerAttach", OCI_ERROR);
    dravik().always("OCIServerAttach", OCI_SUCCESS_WITH_INFO);
    for (const bool both : {true, false}) {
        wrapper(err)->last_err = 0;
        const trace_capture trace(OM_LOG_ERROR);
        EXPECT_EQ(attach(), OCI_SUCCESS_WITH_INFO) << both;
        expect_records(trace.records(), {failed("END FUNC - OCIServerAttach(): Fail to connect server both "
                                                "oracle and dravik\n\treturn rc=1")});
        EXPECT_EQ(wrapper(srv)->last_exec, 2U);
        EXPECT_EQ(wrapper(err)->last_err, 2U);
    }
}

TEST_F(Attach, LocalConnectionHasAnEmptyLink)
{
    oracle().next("OCIServerAttach", OCI_ERROR);
    oracle().error_text = std::string(8192, 'e'); // without room for its terminating zero
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIServerAttach(srv, nullptr, nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
    ASSERT_EQ(calls().size(), 3U);
    EXPECT_NE(calls()[2].arguments[2], 0U);
    expect_calls({to_oracle("OCIServerAttach", srv, 0, 0, 0, 0), to_oracle("OCIErrorGet"),
                  to_dravik("OCIServerAttach", twin(srv), 0, any_word, 0, 0)});
    EXPECT_THAT(trace.records().at(0).text,
                testing::HasSubstr("\n\tdblink=NULL, c_sid=\n\tdblink_len=0, c_sid_len=0"));
}

TEST_F(Attach, Stops)
{
    for (OCIServer *none : no_handles<OCIServer>())
        expect_stop(
            {[&] { OCIServerAttach(none, err, nullptr, 0, 0); }, "OCIServerAttach", "whdlp!=((void *)0)"});
    oracle().always("OCIServerAttach", OCI_ERROR);
    for (const ub4 last_exec : {0U, 1U}) {
        route(srv, last_exec);
        expect_stop({[&] { attach(); }, "OCIServerAttach", "0", "There is no available svr handle"});
    }
    route(srv, 3);
    wrapper(srv)->dk_hndlp = nullptr;
    expect_stop({[&] { attach(); }, "OCIServerAttach", "0", "Oracle server handle is not set"});
}

class Errors : public ManagerTest
{
protected:
    Errors()
    {
        oracle().error_text = "oracle says";
        oracle().error_code = 942;
        dravik().error_text = "dravik says";
        dravik().error_code = 1017;
    }

    sword get(void *handle, ub4 type)
    {
        return OCIErrorGet(handle, 1, sqlstate, &code, buffer, sizeof buffer, type);
    }

    /* Asks, and expects this backend to answer with records that tell so. */
    void expect_answer(int backend, void *handle, ub4 type, const records_t &choice,
                       const std::string &narrowed)
    {
        const trace_capture trace(OM_LOG_TRACE);
        EXPECT_EQ(get(handle, type), OCI_SUCCESS);
        void *asked = backend == recording::oracle ? handle : twin(handle);
        expect_calls({{backend,
                       "OCIErrorGet",
                       {to_word(asked), 1, to_word(sqlstate), to_word(&code), to_word(buffer), 64, type},
                       ""}});
        const char *text = reinterpret_cast<const char *>(buffer);
        EXPECT_STREQ(text, backend == recording::oracle ? "oracle says" : "dravik says");
        EXPECT_EQ(code, backend == recording::oracle ? 942 : 1017);
        expect_records(
            trace.records(),
            sequence(entered("OCIErrorGet"),
                     argument_record(
                         "OCIErrorGet(dvoid *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, "
                         "OraText *bufp, ub4 bufsize, ub4 type)",
                         {to_word(handle), 1, to_word(sqlstate), to_word(&code), to_word(buffer), 64, type}),
                     lookup_records(handle, OCI_HTYPE_ERROR), choice,
                     info("END FUNC - OCIErrorGet()\n\treturn rc=0\n\tsqlstate=SQ001\n\terrcodep=%d\n\t"
                          "bufp=%s, c_sid=%s",
                          &code, text, narrowed.c_str())));
    }

    OraText sqlstate[6] = "";
    sb4 code = 0;
    OraText buffer[64] = "";
};

TEST_F(Errors, TheBackendThatReportedLastAnswers)
{
    for (const int backend : {2, 1, 2, 1}) {
        wrapper(err)->last_err = static_cast<ub4>(backend);
        for (int asked = 0; asked < 2; asked++) {
            std::memset(buffer, 0, sizeof buffer);
            std::memcpy(buffer + 20, "tail", 4); // what stands behind the text is narrowed with it
            expect_answer(
                backend, err, OCI_HTYPE_ERROR,
                {info(backend == 1 ? "The last error is oracle(1)" : "The last error is dravik(2)")},
                backend == 1 ? "oracle saystail" : "");
            EXPECT_EQ(wrapper(err)->last_err, static_cast<ub4>(backend));
        }
    }
}

TEST_F(Errors, EndRecordsLevelFollowsTheCode)
{
    wrapper(err)->last_err = 2;
    for (const sword rc : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_NO_DATA, OCI_ERROR, OCI_INVALID_HANDLE}) {
        const trace_capture trace(OM_LOG_INFO);
        dravik().next("OCIErrorGet", rc);
        EXPECT_EQ(get(err, OCI_HTYPE_ERROR), rc);
        EXPECT_EQ(trace.records().back().level, rc == 0 || rc == 1 ? OM_LOG_INFO : OM_LOG_ERROR) << rc;
    }
}

TEST_F(Errors, AnEnvironmentFollowsItsRouting)
{
    expect_answer(1, env, OCI_HTYPE_ENV, {oracle_runs, info("The last error is oracle(0)")}, "oracle says");
    route(env, 2);
    expect_answer(2, env, OCI_HTYPE_ENV, {dravik_runs, info("The last error is dravik(0)")}, "");

    /* A report of Dravik comes behind the routing to Oracle, but for an environment only. */
    wrapper(env)->last_err = 2;
    route(env, 3);
    get(env, OCI_HTYPE_ENV);
    get(env, OCI_HTYPE_ERROR);
    expect_calls({to_oracle("OCIErrorGet"), to_dravik("OCIErrorGet")});
}

TEST_F(Errors, NoRoomForTheTextIsNoFault)
{
    wrapper(err)->last_err = 1;
    std::memcpy(buffer, "before", 7);
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIErrorGet(err, 1, sqlstate, &code, buffer, 0, OCI_HTYPE_ERROR), OCI_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<const char *>(buffer), "before");
    EXPECT_THAT(trace.records().back().text, testing::EndsWith("bufp=before, c_sid="));
}

TEST_F(Errors, Stops)
{
    for (void *none : no_handles<void>())
        expect_stop({[&] { get(none, OCI_HTYPE_ERROR); }, "OCIErrorGet", "whndlp != ((void *)0)"});
    expect_stop({[&] { get(err, OCI_HTYPE_ERROR); }, "OCIErrorGet", "0", "There is no erros, it's wrong."});
}

} // namespace
