// A small OCI program's everyday steps, for the tests of the embedded client library.
#pragma once

#include "oci.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace sqlite_oci_test
{

// A directory with databases, which the library finds through its variable; gone at the end.
class database_directory
{
public:
    database_directory()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "sqlite_oci_XXXXXX";
        path_ = mkdtemp(pattern.data());
        setenv("SQLITE_OCI_CLNTSH_DIR", path_.c_str(), 1);
        add("main");
    }
    ~database_directory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    database_directory(const database_directory &) = delete;

    void add(const std::string &link) const { std::ofstream(path_ / (link + ".db")); }
    const std::filesystem::path &path() const { return path_; }

private:
    std::filesystem::path path_;
};

inline const OraText *text(std::string_view plain)
{
    return reinterpret_cast<const OraText *>(plain.data());
}

// The code of the first record of an error handle; 0 if it has none.
inline int error_code(OCIError *errors, std::string *message = nullptr)
{
    OraText buffer[1024] = {};
    sb4 code = 0;
    OCIErrorGet(errors, 1, nullptr, &code, buffer, sizeof buffer, OCI_HTYPE_ERROR);
    if (message)
        *message = reinterpret_cast<const char *>(buffer);
    return code;
}

template <class Handle> Handle *allocate(OCIEnv *env, ub4 kind)
{
    void *handle = nullptr;
    EXPECT_EQ(OCIHandleAlloc(env, &handle, kind, 0, nullptr), OCI_SUCCESS);
    return static_cast<Handle *>(handle);
}

// An environment with an error handle.
struct client {
    explicit client(ub2 set = 0, ub4 mode = OCI_THREADED)
    {
        EXPECT_EQ(OCIEnvNlsCreate(&env, mode, nullptr, nullptr, nullptr, nullptr, 0, nullptr, set, set),
                  OCI_SUCCESS);
        errors = allocate<OCIError>(env, OCI_HTYPE_ERROR);
    }
    ~client() { OCIHandleFree(env, OCI_HTYPE_ENV); }
    client(const client &) = delete;

    // Whether a call succeeded, or failed with an ORA- number.
    testing::AssertionResult succeeds(sword status) const
    {
        return status == OCI_SUCCESS ? testing::AssertionSuccess()
                                     : testing::AssertionFailure() << "status " << status << ' ' << message();
    }
    testing::AssertionResult fails(sword status, int expected) const
    {
        if (status == OCI_ERROR && code() == expected)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "status " << status << ", not ORA-" << expected << ": " << message();
    }

    int code() const { return error_code(errors); }
    std::string message() const
    {
        std::string text;
        error_code(errors, &text);
        return text;
    }

    OCIEnv *env = nullptr;
    OCIError *errors = nullptr;
};

// A client that is logged on to the database "main".
struct connected_client : client {
    explicit connected_client(ub2 set = 0, const std::string &link = "main") : client(set)
    {
        server = allocate<OCIServer>(env, OCI_HTYPE_SERVER);
        service = allocate<OCISvcCtx>(env, OCI_HTYPE_SVCCTX);
        session = allocate<OCISession>(env, OCI_HTYPE_SESSION);
        EXPECT_EQ(OCIServerAttach(server, errors, text(link), static_cast<sb4>(link.size()), OCI_DEFAULT), 0)
            << message();
        EXPECT_EQ(OCIAttrSet(service, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, errors), 0);
        EXPECT_EQ(OCISessionBegin(service, errors, session, OCI_CRED_EXT, OCI_DEFAULT), 0) << message();
        EXPECT_EQ(OCIAttrSet(service, OCI_HTYPE_SVCCTX, session, 0, OCI_ATTR_SESSION, errors), 0);
    }

    sword commit() const { return OCITransCommit(service, errors, OCI_DEFAULT); }
    sword roll_back() const { return OCITransRollback(service, errors, OCI_DEFAULT); }

    // Prepares and executes; the ORA- number of a failure, or 0.
    int run(std::string_view sql, ub4 mode = OCI_DEFAULT) const;

    // Statements of which each has to succeed.
    void run_all(std::initializer_list<std::string_view> statements) const
    {
        for (const std::string_view sql : statements)
            EXPECT_EQ(run(sql), 0) << sql << ": " << message();
    }

    // The first column of the first row as text; "(null)", "(none)" without a row, "ORA-n" after a failure.
    std::string ask(std::string_view sql) const;

    OCIServer *server = nullptr;
    OCISvcCtx *service = nullptr;
    OCISession *session = nullptr;
};

// A prepared statement of a connected client.
struct prepared {
    prepared(const connected_client &by, std::string_view sql) : client(by)
    {
        handle = allocate<OCIStmt>(by.env, OCI_HTYPE_STMT);
        EXPECT_TRUE(by.succeeds(OCIStmtPrepare(handle, by.errors, text(sql), static_cast<ub4>(sql.size()),
                                               OCI_NTV_SYNTAX, OCI_DEFAULT)));
    }
    ~prepared() { OCIHandleFree(handle, OCI_HTYPE_STMT); }
    prepared(const prepared &) = delete;

    sword execute(ub4 iterations, ub4 mode = OCI_DEFAULT, ub4 row_offset = 0) const
    {
        return OCIStmtExecute(client.service, handle, client.errors, iterations, row_offset, nullptr, nullptr,
                              mode);
    }

    sword fetch(ub4 rows, ub2 orientation = OCI_FETCH_NEXT, sb4 offset = 0) const
    {
        return OCIStmtFetch2(handle, client.errors, rows, orientation, offset, OCI_DEFAULT);
    }

    // A bind is found in last_bind afterwards, a definition in last_define.
    sword bind(std::string_view name, void *values, sb4 size, ub2 type, void *indicators = nullptr,
               ub2 *lengths = nullptr, ub4 mode = OCI_DEFAULT) const
    {
        last_bind = nullptr;
        return OCIBindByName(handle, &last_bind, client.errors, text(name), static_cast<sb4>(name.size()),
                             values, size, type, indicators, lengths, nullptr, 0, nullptr, mode);
    }

    // Uses the bind handle that is given, if it is not null.
    sword bind_at(ub4 position, OCIBind *&made, void *values, sb4 size, ub2 type, void *indicators = nullptr,
                  ub2 *lengths = nullptr) const
    {
        return OCIBindByPos(handle, &made, client.errors, position, values, size, type, indicators, lengths,
                            nullptr, 0, nullptr, OCI_DEFAULT);
    }

    sword define(ub4 position, void *values, sb4 size, ub2 type, void *indicators = nullptr,
                 ub2 *lengths = nullptr, ub2 *codes = nullptr, ub4 mode = OCI_DEFAULT) const
    {
        last_define = nullptr;
        return OCIDefineByPos(handle, &last_define, client.errors, position, values, size, type, indicators,
                              lengths, codes, mode);
    }

    // The size of a variable, or of each one in an array.
    template <class T> static constexpr sb4 size_of()
    {
        using element = std::remove_extent_t<T>;
        constexpr bool is_text = std::is_same_v<element, char> || std::is_same_v<element, char16_t>;
        return static_cast<sb4>(is_text ? sizeof(T) : sizeof(element));
    }

    // A bind and a definition that have to succeed.
    template <class T>
    const prepared &in(std::string_view name, T &values, ub2 type, sb2 *indicators = nullptr,
                       ub2 *lengths = nullptr) const
    {
        EXPECT_TRUE(client.succeeds(bind(name, &values, size_of<T>(), type, indicators, lengths))) << name;
        return *this;
    }
    template <class T>
    const prepared &out(ub4 position, T &values, ub2 type, sb2 *indicators = nullptr, ub2 *lengths = nullptr,
                        ub2 *codes = nullptr) const
    {
        EXPECT_TRUE(
            client.succeeds(define(position, &values, size_of<T>(), type, indicators, lengths, codes)));
        return *this;
    }

    template <class T> T attribute(ub4 which) const
    {
        T result{};
        EXPECT_EQ(OCIAttrGet(handle, OCI_HTYPE_STMT, &result, nullptr, which, client.errors), OCI_SUCCESS);
        return result;
    }

    const connected_client &client;
    OCIStmt *handle = nullptr;
    mutable OCIBind *last_bind = nullptr;
    mutable OCIDefine *last_define = nullptr;
};

inline int connected_client::run(std::string_view sql, ub4 mode) const
{
    const prepared statement(*this, sql);
    const sword status =
        statement.execute(statement.attribute<ub2>(OCI_ATTR_STMT_TYPE) == OCI_STMT_SELECT ? 0 : 1, mode);
    return status == OCI_SUCCESS ? 0 : code();
}

inline std::string connected_client::ask(std::string_view sql) const
{
    const prepared statement(*this, sql);
    char value[4096];
    sb2 indicator = 0;
    const sword status = statement.out(1, value, SQLT_STR, &indicator).execute(1);
    if (status == OCI_NO_DATA)
        return "(none)";
    if (status != OCI_SUCCESS)
        return "ORA-" + std::to_string(code());
    return indicator == OCI_IND_NULL ? "(null)" : value;
}

// Tests with a database directory and a connected client.
class sqlite_oci_test : public testing::Test
{
protected:
    database_directory directory;
    connected_client db;
};

} // namespace sqlite_oci_test
