// Connecting: links, sessions, and what a call says when something is missing.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

class session : public testing::Test
{
protected:
    sword attach(std::string_view link, OCIServer *handle = nullptr)
    {
        handle = handle ? handle : server;
        return OCIServerAttach(handle, db.errors, text(link), static_cast<sb4>(link.size()), OCI_DEFAULT);
    }
    sword begin(ub4 credentials)
    {
        return OCISessionBegin(service, db.errors, user, credentials, OCI_DEFAULT);
    }
    sword set(ub4 attribute, void *handle)
    {
        return OCIAttrSet(service, OCI_HTYPE_SVCCTX, handle, 0, attribute, db.errors);
    }
    sword set_text(ub4 attribute, std::string value)
    {
        return OCIAttrSet(user, OCI_HTYPE_SESSION, value.data(), static_cast<ub4>(value.size()), attribute,
                          db.errors);
    }
    ub4 server_status() const
    {
        ub4 status = 99;
        OCIAttrGet(server, OCI_HTYPE_SERVER, &status, nullptr, OCI_ATTR_SERVER_STATUS, db.errors);
        return status;
    }

    database_directory directory;
    client db;
    OCIServer *server = allocate<OCIServer>(db.env, OCI_HTYPE_SERVER);
    OCISvcCtx *service = allocate<OCISvcCtx>(db.env, OCI_HTYPE_SVCCTX);
    OCISession *user = allocate<OCISession>(db.env, OCI_HTYPE_SESSION);
};

TEST_F(session, a_link_names_a_file_in_the_directory)
{
    std::ofstream(directory.path() / "broken.db") << std::string(4096, 'x');
    std::filesystem::create_directory(directory.path() / "folder.db");
    const std::pair<const char *, int> refused[] = {
        {"missing", 12154}, {"", 12154},        {"folder", 12154}, {"../main", 12154},
        {"/main", 12154},   {"main.db", 12154}, {"broken", 1578},
    };
    for (const auto &[link, code] : refused) {
        EXPECT_TRUE(db.fails(attach(link), code)) << link;
        EXPECT_EQ(server_status(), ub4{OCI_SERVER_NOT_CONNECTED});
    }
    attach("missing");
    EXPECT_NE(db.message().find(directory.path() / "missing.db"), std::string::npos) << db.message();
    EXPECT_NE(db.message().find("SQLITE_OCI_CLNTSH_DIR"), std::string::npos) << db.message();

    EXPECT_EQ(attach("main"), OCI_SUCCESS);
    EXPECT_EQ(server_status(), ub4{OCI_SERVER_NORMAL});
    EXPECT_TRUE(db.fails(attach("main"), 24309));
}

TEST_F(session, the_directory_is_looked_up_at_each_attach)
{
    EXPECT_EQ(attach("main"), OCI_SUCCESS);
    const database_directory second;
    second.add("other");
    OCIServer *const later = allocate<OCIServer>(db.env, OCI_HTYPE_SERVER);
    EXPECT_TRUE(db.succeeds(attach("other", later)));

    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(second.path());
    unsetenv("SQLITE_OCI_CLNTSH_DIR");
    OCIServer *const here = allocate<OCIServer>(db.env, OCI_HTYPE_SERVER);
    EXPECT_TRUE(db.succeeds(attach("other", here)));
    std::filesystem::current_path(before);
}

TEST_F(session, each_step_says_what_is_missing)
{
    const auto execute = [&] {
        OCIStmt *const statement = allocate<OCIStmt>(db.env, OCI_HTYPE_STMT);
        OCIStmtPrepare(statement, db.errors, text("SELECT 1"), 8, OCI_NTV_SYNTAX, OCI_DEFAULT);
        const sword status =
            OCIStmtExecute(service, statement, db.errors, 0, 0, nullptr, nullptr, OCI_DEFAULT);
        OCIHandleFree(statement, OCI_HTYPE_STMT);
        return status == OCI_SUCCESS ? 0 : db.code();
    };
    EXPECT_TRUE(db.fails(begin(OCI_CRED_EXT), 24324));
    EXPECT_EQ(execute(), 24324);
    ASSERT_EQ(set(OCI_ATTR_SERVER, server), OCI_SUCCESS) << "an unattached server may be set";
    EXPECT_TRUE(db.fails(begin(OCI_CRED_EXT), 24327));
    EXPECT_EQ(execute(), 1012);

    ASSERT_EQ(attach("main"), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(begin(OCI_CRED_PROXY), 24315));
    EXPECT_TRUE(db.fails(begin(OCI_CRED_RDBMS), 1017));
    ASSERT_EQ(set_text(OCI_ATTR_USERNAME, "anna"), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(begin(OCI_CRED_RDBMS), 1005));
    ASSERT_EQ(set_text(OCI_ATTR_PASSWORD, "secret"), OCI_SUCCESS);
    EXPECT_TRUE(db.succeeds(begin(OCI_CRED_RDBMS)));
    EXPECT_TRUE(db.fails(begin(OCI_CRED_RDBMS), 24313));
    EXPECT_EQ(execute(), 1012) << "the session is not set yet";
    ASSERT_EQ(set(OCI_ATTR_SESSION, user), OCI_SUCCESS);
    EXPECT_EQ(execute(), 0);

    EXPECT_EQ(OCIServerDetach(server, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(execute(), 3114);
    EXPECT_EQ(OCIServerDetach(server, db.errors, OCI_DEFAULT), OCI_ERROR);
    EXPECT_EQ(OCISessionEnd(service, db.errors, user, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(execute(), 1012);
    EXPECT_TRUE(db.fails(OCISessionEnd(service, db.errors, user, OCI_DEFAULT), 1012));
    EXPECT_EQ(attach("main"), OCI_SUCCESS) << "a detached handle can be attached again";
    EXPECT_EQ(begin(OCI_CRED_EXT), OCI_SUCCESS);
    EXPECT_EQ(execute(), 0);
}

TEST_F(session, a_normal_end_commits_and_any_other_rolls_back)
{
    const auto insert_and = [&](auto end) {
        connected_client writer;
        EXPECT_EQ(writer.run("INSERT INTO t VALUES (1)"), 0) << writer.message();
        end(writer);
    };
    const connected_client reader;
    ASSERT_EQ(reader.run("CREATE TABLE t (a NUMBER)"), 0);
    insert_and([](connected_client &writer) {
        EXPECT_EQ(OCISessionEnd(writer.service, writer.errors, writer.session, OCI_DEFAULT), OCI_SUCCESS);
    });
    EXPECT_EQ(reader.ask("SELECT count(*) FROM t"), "1");
    insert_and([](connected_client &writer) { OCIServerDetach(writer.server, writer.errors, OCI_DEFAULT); });
    insert_and([](connected_client &writer) { OCIHandleFree(writer.session, OCI_HTYPE_SESSION); });
    insert_and([](connected_client &) {});
    EXPECT_EQ(reader.ask("SELECT count(*) FROM t"), "1");
    EXPECT_EQ(reader.run("INSERT INTO t VALUES (2)"), 0) << "none of them left its lock";
}

TEST_F(session, logon_connects_in_one_step)
{
    OCISvcCtx *made = nullptr;
    const auto log_on = [&](const client &by, std::string_view link) {
        return OCILogon(by.env, by.errors, &made, text("anna"), 4, text("pw"), 2, text(link),
                        static_cast<ub4>(link.size()));
    };
    EXPECT_TRUE(db.fails(log_on(db, "missing"), 12154));
    EXPECT_EQ(made, nullptr);
    connected_client first;
    ASSERT_TRUE(first.succeeds(log_on(first, "main")));
    first.service = made;
    EXPECT_EQ(first.ask("SELECT user FROM dual"), "ANNA");
    EXPECT_EQ(first.ask("SELECT user()"), "ANNA");
    ASSERT_TRUE(db.succeeds(
        OCILogon2(db.env, db.errors, &made, text("anna"), 4, text("pw"), 2, text("main"), 4, OCI_DEFAULT)));
    OraText version[80];
    EXPECT_EQ(OCIServerVersion(made, db.errors, version, sizeof version, OCI_HTYPE_SVCCTX), OCI_SUCCESS);
    EXPECT_TRUE(std::string(reinterpret_cast<char *>(version)).starts_with("Oracle Database Release 11.2."));
    EXPECT_EQ(OCIServerVersion(made, db.errors, version, 3, OCI_HTYPE_SVCCTX), OCI_ERROR);
    EXPECT_EQ(OCIPing(made, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(OCILogoff(made, db.errors), OCI_SUCCESS);
    EXPECT_EQ(OCILogoff(made, db.errors), OCI_INVALID_HANDLE);
}

} // namespace
} // namespace sqlite_oci_test
