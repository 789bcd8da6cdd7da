/*
 * Statements for the embedded backend: run against a table of a few rows, bound where they have placeholders,
 * fetched as text, and rolled back. First byte 255: the rest is a link instead.
 */
#include <fstream>
#include <vector>

#include "input.h"

#include <oci.h>

namespace
{

constexpr std::size_t longest_statement = 400; // longer ones find no more and take longer
constexpr int most_rows = 50;
constexpr ub4 most_columns = 20;

const OraText *text_of(const char *text)
{
    return reinterpret_cast<const OraText *>(text);
}

struct program {
    scratch_directory databases;
    OCIEnv *env = nullptr;
    OCIError *err = nullptr;
    OCISvcCtx *svc = nullptr;

    program()
    {
        setenv("SQLITE_OCI_CLNTSH_DIR", databases.path().c_str(), 1);
        std::ofstream(databases.path() / "east.db").close();
        OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void **>(&err), OCI_HTYPE_ERROR, 0, nullptr);
        if (OCILogon(env, err, &svc, text_of("scott"), 5, text_of("tiger"), 5, text_of("east"), 4) !=
            OCI_SUCCESS)
            std::abort();
        for (const char *statement :
             {"create table t (n number, v varchar2(20), d date, c clob, r raw(8))",
              "insert into t values (1, 'one', date '2026-03-04', 'text', hextoraw('00ff'))",
              "insert into t values (-2.5, null, null, null, null)", "create sequence s", "commit"})
            run(statement, std::strlen(statement));
    }

    void run(const char *statement, std::size_t length) const
    {
        OCIStmt *stmt = nullptr;
        OCIHandleAlloc(env, reinterpret_cast<void **>(&stmt), OCI_HTYPE_STMT, 0, nullptr);
        if (OCIStmtPrepare(stmt, err, text_of(statement), static_cast<ub4>(length), OCI_NTV_SYNTAX,
                           OCI_DEFAULT) == OCI_SUCCESS)
            execute(stmt);
        OCIHandleFree(stmt, OCI_HTYPE_STMT);
    }

    void execute(OCIStmt *stmt) const
    {
        ub2 type = 0;
        OCIAttrGet(stmt, OCI_HTYPE_STMT, &type, nullptr, OCI_ATTR_STMT_TYPE, err);
        char bound[40] = "7";
        for (ub4 position = 1; position <= 3; position++) {
            OCIBind *bind = nullptr;
            OCIBindByPos(stmt, &bind, err, position, bound, sizeof bound, SQLT_STR, nullptr, nullptr, nullptr,
                         0, nullptr, OCI_DEFAULT);
        }
        if (OCIStmtExecute(svc, stmt, err, type == OCI_STMT_SELECT ? 0 : 1, 0, nullptr, nullptr,
                           OCI_DEFAULT) != OCI_SUCCESS ||
            type != OCI_STMT_SELECT)
            return;
        ub4 columns = 0;
        OCIAttrGet(stmt, OCI_HTYPE_STMT, &columns, nullptr, OCI_ATTR_PARAM_COUNT, err);
        columns = std::min(columns, most_columns);
        std::vector<char> values(std::size_t{64} * columns);
        std::vector<sb2> indicators(columns);
        for (ub4 i = 0; i < columns; i++) {
            OCIDefine *define = nullptr;
            OCIDefineByPos(stmt, &define, err, i + 1, &values[std::size_t{64} * i], 64, SQLT_STR,
                           &indicators[i], nullptr, nullptr, OCI_DEFAULT);
        }
        for (int row = 0; row < most_rows; row++) {
            const sword rc = OCIStmtFetch2(stmt, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
            if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
                break;
        }
    }

    /* No link reaches a file that is not a database of the directory. */
    void attach(input in) const
    {
        OCIServer *server = nullptr;
        OCIHandleAlloc(env, reinterpret_cast<void **>(&server), OCI_HTYPE_SERVER, 0, nullptr);
        const auto link = in.rest_in_bounds();
        if (OCIServerAttach(server, err, link.get(), static_cast<sb4>(in.rest_size()), OCI_DEFAULT) ==
            OCI_SUCCESS) {
            std::string name = in.rest();
            if (!name.empty() && !std::filesystem::exists(databases.path() / (name + ".db")))
                std::abort();
            OCIServerDetach(server, err, OCI_DEFAULT);
        }
        OCIHandleFree(server, OCI_HTYPE_SERVER);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static const program p;
    if (size > longest_statement)
        return -1;
    if (size > 0 && bytes[0] == 255) {
        p.attach(input(bytes + 1, size - 1));
        return 0;
    }
    const auto statement = input(bytes, size).rest_in_bounds();
    p.run(reinterpret_cast<const char *>(statement.get()), size);
    OCITransRollback(p.svc, p.err, OCI_DEFAULT);
    return 0;
}
