/* Servers, sessions, transactions, errors. */
#include "forwarding.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

const std::vector<forwarded> &connection_calls()
{
    static const std::vector<forwarded> rows{
        {.f = FUNCTION(OCIServerDetach),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SERVER}, {1, OCI_HTYPE_ERROR}},
         .success = {OM_LOG_INFO, "END FUNC - OCIServerDetach()\n\treturn rc={result}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCIServerDetach()\n\treturn rc={result}"},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCIServerDetach()\n\treturn rc={result}"},
         .assertion = "whdlp != ((void *)0)",
         .no_backend = "There is no available svr handle"},
        {.f = FUNCTION(OCISessionBegin),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SVCCTX}, {2, OCI_HTYPE_SESSION}, {1, OCI_HTYPE_ERROR}},
         .arguments = "OCISessionBegin(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 credt, "
                      "ub4 mode)\n\tsvchp=%p\n\terrhp=%p\n\tusrhp=%p\n\tcredt=%d\n\tmode=%d",
         .success = {OM_LOG_INFO, "END FUNC - OCISessionBegin()\n\trc={result}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCISessionBegin(): ORACLE\n\trc={rc}"},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCISessionBegin(): DRAVIK\n\trc={dk_rc}"},
         .assertion = "wsvchp!=((void *)0)",
         .no_backend = "There is no available service handle"},
        {.f = FUNCTION(OCISessionEnd),
         .how = manner::exclusive,
         .lookups = {{0, OCI_HTYPE_SERVER}, {2, OCI_HTYPE_SESSION}, {1, OCI_HTYPE_ERROR}},
         .arguments = "OCISessionEnd(OCISvcCtx *svchp, OCIError *errhp, OCISession *usrhp, ub4 mode)"
                      "\n\tsvchp=%p\n\terrhp=%p\n\tusrhp=%p\n\tmode=%d",
         .success = {OM_LOG_INFO, "END FUNC - OCISessionEnd()\n\trc={result}"},
         .oracle_failure = {OM_LOG_ERROR, "END FUNC - OCISessionEnd(): ORACLE\n\trc={rc}"},
         .dravik_failure = {OM_LOG_ERROR, "END FUNC - OCISessionEnd(): DRAVIK\n\trc={dk_rc}"},
         .assertion = "wsvchp!=((void *)0)",
         .no_backend = "There is no available service handle"},
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
            SCOPED_TRACE(format("rc %d, last_exec %u", rc, last_exec));
            route(svc, last_exec);
            route(ses, 3);
            oracle().always("OCISessionBegin", rc);
            dravik().always("OCISessionBegin", rc);
            EXPECT_EQ(OCISessionBegin(svc, err, ses, OCI_CRED_EXT, OCI_DEFAULT), rc);
            const ub4 backend = last_exec == 2 ? 2U : 1U;
            EXPECT_EQ(wrapper(ses)->last_exec, backend);
            EXPECT_EQ(OCISessionEnd(svc, err, ses, OCI_DEFAULT), OCI_SUCCESS);
            EXPECT_EQ(wrapper(ses)->last_exec, backend);
        }
    }
}

TEST_F(Session, UnknownSessionStops)
{
    for (OCISession *session : {static_cast<OCISession *>(nullptr), reinterpret_cast<OCISession *>(this)}) {
        expect_stop({.name = "begin",
                     .call = [&] { OCISessionBegin(svc, err, session, OCI_CRED_EXT, OCI_DEFAULT); },
                     .function = "OCISessionBegin",
                     .assertion = "wusrhp!=((void *)0)"});
        expect_stop({.name = "end",
                     .call = [&] { OCISessionEnd(svc, err, session, OCI_DEFAULT); },
                     .function = "OCISessionEnd",
                     .assertion = "wusrhp!=((void *)0)"});
    }
}

TEST_F(Session, AnErrorHandleThatIsNotKnownGoesToOracleOnly)
{
    violations_expected = true; // Oracle sees a pointer that it did not make
    auto *unknown = reinterpret_cast<OCIError *>(this);
    OCISessionBegin(svc, unknown, ses, OCI_CRED_EXT, OCI_DEFAULT);
    route(svc, 2);
    OCISessionBegin(svc, unknown, ses, OCI_CRED_EXT, OCI_DEFAULT);
    ASSERT_EQ(calls().size(), 2U);
    EXPECT_EQ(calls()[0].arguments[1], to_word(unknown));
    EXPECT_EQ(calls()[1].arguments[1], 0U);
}

class Attach : public ManagerTest
{
protected:
    sword attach(const std::string &link)
    {
        return OCIServerAttach(srv, err, reinterpret_cast<const OraText *>(link.data()),
                               static_cast<sb4>(link.size()), OCI_DEFAULT);
    }

    record argument_record(const std::string &shown_link, const std::string &narrowed, std::size_t length)
    {
        return {
            OM_LOG_INFO,
            format("OCIServerAttach(OCIServer *srvhp, OCIError *errhp, CONST OraText *dblink, sb4 "
                   "dblink_len, ub4 mode)\n\tsrvhp=%p\n\terrhp=%p\n\tdblink=%s, c_sid=%s\n\tdblink_len=%zu, "
                   "c_sid_len=%zu\n\tmode=0",
                   static_cast<void *>(srv), static_cast<void *>(err), shown_link.c_str(), narrowed.c_str(),
                   length, narrowed.size())};
    }

    records_t lookups()
    {
        return sequence(lookup_records(srv, OCI_HTYPE_SERVER), lookup_records(err, OCI_HTYPE_ERROR));
    }

    const std::string utf16_link{"s\0a\0l\0e\0s\0", 10};
};

const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};
const record dravik_runs{OM_LOG_INFO, "[DRAVIK] OCI API will be executed"};

TEST_F(Attach, OracleThatAcceptsKeepsTheServer)
{
    const trace_capture trace(OM_LOG_TRACE);
    const records_t expected = sequence(
        records_t{{OM_LOG_TRACE, "OCIServerAttach"}, argument_record("sales", "sales", 5)}, lookups(),
        records_t{oracle_runs,
                  {OM_LOG_TRACE, "oci_mng_is_oracle_conn"},
                  {OM_LOG_INFO, "CONTINUE FUNC - OCIServerAttach to oracle is Success"},
                  {OM_LOG_INFO, "END FUNC - OCIServerAttach()\n\treturn rc=0"}});
    EXPECT_EQ(attach("sales"), OCI_SUCCESS);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIServerAttach"));
    EXPECT_EQ(wrapper(srv)->last_exec, 1U);
    EXPECT_EQ(wrapper(err)->last_err, 0U);
    expect_records(trace.records(), expected);

    /* From now on Oracle alone is asked, and its refusal leaves nobody. */
    oracle().always("OCIServerAttach", OCI_ERROR);
    expect_stop({.name = "second attach",
                 .call = [&] { attach("sales"); },
                 .function = "OCIServerAttach",
                 .assertion = "0",
                 .reasons = {"There is no available svr handle"}});
}

TEST_F(Attach, DravikGetsTheNarrowedLinkAfterOracleRefused)
{
    for (const sword refusal : {OCI_ERROR, OCI_SUCCESS_WITH_INFO, OCI_INVALID_HANDLE}) {
        SCOPED_TRACE(refusal);
        route(srv, 3);
        forget_calls();
        oracle().next("OCIServerAttach", refusal);
        oracle().error_text = "unknown link";
        oracle().error_code = 12154;
        const trace_capture trace(OM_LOG_TRACE);
        const records_t expected = sequence(
            records_t{{OM_LOG_TRACE, "OCIServerAttach"}, argument_record("s", "sales", 10)}, lookups(),
            records_t{
                oracle_runs,
                {OM_LOG_TRACE, "oci_mng_is_oracle_conn"},
                {OM_LOG_INFO, format("oci_mng_is_oracle_conn: Oracle\n\treturn rc=%d\n\tr_sqlstate=(null)"
                                     "\n\tr_errcodep=12154\n\tr_bufp=unknown link, c_sid=unknown link",
                                     refusal)},
                dravik_runs,
                {OM_LOG_INFO, "CONTINUE FUNC - OCIServerAttach to dravik is Success"},
                {OM_LOG_INFO, "END FUNC - OCIServerAttach()\n\treturn rc=0"}});
        EXPECT_EQ(attach(utf16_link), OCI_SUCCESS);
        expect_records(trace.records(), expected);

        EXPECT_THAT(called(),
                    ElementsAre("Oracle.OCIServerAttach", "Oracle.OCIErrorGet", "Dravik.OCIServerAttach"));
        EXPECT_EQ(calls()[0].text, utf16_link);
        const words &probe = calls()[1].arguments;
        EXPECT_EQ(probe[0], to_word(err));
        EXPECT_EQ(probe[1], 1U);
        EXPECT_EQ(probe[2], 0U);
        EXPECT_EQ(probe[5], 8192U);
        EXPECT_EQ(probe[6], word{OCI_HTYPE_ERROR});
        EXPECT_EQ(calls()[2].text, "sales");
        EXPECT_EQ(calls()[2].arguments[0], to_word(twin(srv)));
        EXPECT_EQ(calls()[2].arguments[1], to_word(twin(err)));
        EXPECT_EQ(calls()[2].arguments[3], 5U);
        EXPECT_EQ(wrapper(srv)->last_exec, 2U);
        EXPECT_EQ(wrapper(err)->last_err, 0U);
    }

    /* A second attach stays with Dravik. */
    forget_calls();
    EXPECT_EQ(attach("sales"), OCI_SUCCESS);
    EXPECT_THAT(called(), ElementsAre("Dravik.OCIServerAttach"));
}

TEST_F(Attach, DravikReportsWhenBothRefuse)
{
    oracle().next("OCIServerAttach", OCI_ERROR);
    dravik().always("OCIServerAttach", OCI_SUCCESS_WITH_INFO);
    for (const bool both : {true, false}) {
        wrapper(err)->last_err = 0;
        const trace_capture trace(OM_LOG_ERROR);
        EXPECT_EQ(attach("sales"), OCI_SUCCESS_WITH_INFO) << both;
        expect_records(trace.records(),
                       {{OM_LOG_ERROR, "END FUNC - OCIServerAttach(): Fail to connect server both "
                                       "oracle and dravik\n\treturn rc=1"}});
        EXPECT_EQ(wrapper(srv)->last_exec, 2U);
        EXPECT_EQ(wrapper(err)->last_err, 2U);
    }
}

TEST_F(Attach, LocalConnectionHasAnEmptyLink)
{
    oracle().next("OCIServerAttach", OCI_ERROR);
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIServerAttach(srv, nullptr, nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
    ASSERT_EQ(calls().size(), 3U);
    EXPECT_EQ(calls()[0].arguments[2], 0U);
    EXPECT_EQ(calls()[2].arguments[1], 0U);
    EXPECT_NE(calls()[2].arguments[2], 0U);
    EXPECT_EQ(calls()[2].arguments[3], 0U);
    EXPECT_THAT(trace.records().at(0).text,
                testing::HasSubstr("\n\tdblink=NULL, c_sid=\n\tdblink_len=0, c_sid_len=0"));
}

TEST_F(Attach, LongOracleErrorTextIsKeptWhole)
{
    oracle().next("OCIServerAttach", OCI_ERROR);
    oracle().error_text = std::string(8192, 'e');
    EXPECT_EQ(attach("sales"), OCI_SUCCESS);
}

TEST_F(Attach, Stops)
{
    oracle().always("OCIServerAttach", OCI_ERROR);
    const auto attach_with = [&](ub4 last_exec, void *dk_hndlp) {
        return [=, this] {
            wrapper(srv)->last_exec = last_exec;
            wrapper(srv)->dk_hndlp = dk_hndlp;
            attach("sales");
        };
    };
    expect_stop({.name = "unknown server",
                 .call = [&] { OCIServerAttach(reinterpret_cast<OCIServer *>(this), err, nullptr, 0, 0); },
                 .function = "OCIServerAttach",
                 .assertion = "whdlp!=((void *)0)"});
    expect_stop({.name = "null server",
                 .call = [&] { OCIServerAttach(nullptr, err, nullptr, 0, 0); },
                 .function = "OCIServerAttach",
                 .assertion = "whdlp!=((void *)0)"});
    expect_stop({.name = "no backend",
                 .call = attach_with(0, twin(srv)),
                 .function = "OCIServerAttach",
                 .assertion = "0",
                 .reasons = {"There is no available svr handle"}});
    expect_stop({.name = "Oracle alone, refused",
                 .call = attach_with(1, nullptr),
                 .function = "OCIServerAttach",
                 .assertion = "0",
                 .reasons = {"There is no available svr handle"}});
    expect_stop({.name = "no Dravik twin",
                 .call = attach_with(3, nullptr),
                 .function = "OCIServerAttach",
                 .assertion = "0",
                 .reasons = {"Oracle server handle is not set"}});
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

    std::string text() const { return reinterpret_cast<const char *>(buffer); }

    records_t expected_records(void *handle, ub4 type, const records_t &choice, int level, sword rc,
                               const std::string &narrowed)
    {
        const records_t start{
            {OM_LOG_TRACE, "OCIErrorGet"},
            {OM_LOG_INFO,
             format("OCIErrorGet(dvoid *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText "
                    "*bufp, ub4 bufsize, ub4 type)\n\thndlp=%p\n\trecordno=1\n\tsqlstate=%p\n\terrcodep"
                    "=%p\n\tbufp=%p\n\tbufsize=64\n\ttype=%u",
                    handle, static_cast<void *>(sqlstate), static_cast<void *>(&code),
                    static_cast<void *>(buffer), type)}};
        const records_t end{
            {level,
             format(
                 "END FUNC - OCIErrorGet()\n\treturn rc=%d\n\tsqlstate=%s\n\terrcodep=%d\n\tbufp=%s, c_sid=%s",
                 rc, reinterpret_cast<const char *>(sqlstate), static_cast<int>(to_word(&code)),
                 text().c_str(), narrowed.c_str())}};
        return sequence(start, lookup_records(handle, OCI_HTYPE_ERROR), choice, end);
    }

    OraText sqlstate[6] = "";
    sb4 code = 0;
    OraText buffer[64] = "";
};

TEST_F(Errors, TheBackendThatReportedLastAnswers)
{
    for (const ub4 backend : {2U, 1U, 2U}) {
        wrapper(err)->last_err = backend;
        for (int asked = 0; asked < 2; asked++) {
            forget_calls();
            EXPECT_EQ(get(err, OCI_HTYPE_ERROR), OCI_SUCCESS);
            ASSERT_THAT(called(), ElementsAre(backend == 1 ? "Oracle.OCIErrorGet" : "Dravik.OCIErrorGet"));
            EXPECT_EQ(calls()[0].arguments,
                      (words{to_word(backend == 1 ? err : twin(err)), 1, to_word(sqlstate), to_word(&code),
                             to_word(buffer), 64, OCI_HTYPE_ERROR}));
            EXPECT_EQ(text(), backend == 1 ? "oracle says" : "dravik says");
            EXPECT_EQ(code, backend == 1 ? 942 : 1017);
            EXPECT_EQ(wrapper(err)->last_err, backend);
        }
    }
}

TEST_F(Errors, RecordsTellWhoAnswered)
{
    const trace_capture trace(OM_LOG_TRACE);
    wrapper(err)->last_err = 1;
    std::memset(buffer, 0, sizeof buffer);
    std::memcpy(buffer + 20, "tail", 4);
    get(err, OCI_HTYPE_ERROR);
    expect_records(trace.records(), expected_records(err, 2, {{OM_LOG_INFO, "The last error is oracle(1)"}},
                                                     OM_LOG_INFO, 0, "oracle saystail"));
    trace.clear();
    wrapper(err)->last_err = 2;
    get(err, OCI_HTYPE_ERROR);
    expect_records(trace.records(), expected_records(err, 2, {{OM_LOG_INFO, "The last error is dravik(2)"}},
                                                     OM_LOG_INFO, 0, ""));
}

TEST_F(Errors, EndRecordsLevelFollowsTheCode)
{
    wrapper(err)->last_err = 2;
    for (const auto &[rc, level] : std::vector<std::pair<sword, int>>{{OCI_SUCCESS, OM_LOG_INFO},
                                                                      {OCI_SUCCESS_WITH_INFO, OM_LOG_INFO},
                                                                      {OCI_NO_DATA, OM_LOG_ERROR},
                                                                      {OCI_ERROR, OM_LOG_ERROR},
                                                                      {OCI_INVALID_HANDLE, OM_LOG_ERROR}}) {
        const trace_capture trace(OM_LOG_INFO);
        dravik().next("OCIErrorGet", rc);
        EXPECT_EQ(get(err, OCI_HTYPE_ERROR), rc);
        EXPECT_EQ(trace.records().back().level, level) << rc;
    }
}

TEST_F(Errors, AnEnvironmentFollowsItsRouting)
{
    const trace_capture trace(OM_LOG_TRACE);
    EXPECT_EQ(get(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    expect_records(trace.records(),
                   expected_records(env, 1, {oracle_runs, {OM_LOG_INFO, "The last error is oracle(0)"}},
                                    OM_LOG_INFO, 0, "oracle says"));
    trace.clear();
    route(env, 2);
    EXPECT_EQ(get(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    expect_records(trace.records(),
                   expected_records(env, 1, {dravik_runs, {OM_LOG_INFO, "The last error is dravik(0)"}},
                                    OM_LOG_INFO, 0, ""));

    /* A report of Dravik comes behind the routing to Oracle, but for an environment only. */
    wrapper(env)->last_err = 2;
    route(env, 3);
    forget_calls();
    get(env, OCI_HTYPE_ENV);
    get(env, OCI_HTYPE_ERROR);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIErrorGet", "Dravik.OCIErrorGet"));
}

TEST_F(Errors, NoRoomForTheTextIsNoFault)
{
    wrapper(err)->last_err = 1;
    std::memcpy(buffer, "before", 7);
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIErrorGet(err, 1, sqlstate, &code, buffer, 0, OCI_HTYPE_ERROR), OCI_SUCCESS);
    EXPECT_EQ(text(), "before");
    EXPECT_THAT(trace.records().back().text, testing::EndsWith("bufp=before, c_sid="));
}

TEST_F(Errors, Stops)
{
    for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(this)})
        expect_stop({.name = "unknown handle",
                     .call = [&] { get(handle, OCI_HTYPE_ERROR); },
                     .function = "OCIErrorGet",
                     .assertion = "whndlp != ((void *)0)"});
    expect_stop({.name = "nobody reported",
                 .call = [&] { get(err, OCI_HTYPE_ERROR); },
                 .function = "OCIErrorGet",
                 .assertion = "0",
                 .reasons = {"There is no erros, it's wrong."}});
}

} // namespace
