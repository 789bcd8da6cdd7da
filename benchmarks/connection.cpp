#include "connection.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>

namespace
{

template <class F> void find(void *library, const char *name, F &function)
{
    function = reinterpret_cast<F>(dlsym(library, name));
    if (!function) {
        std::fprintf(stderr, "benchmarks: the null backend has no %s\n", name);
        std::exit(1);
    }
}

direct_calls open_null_backend()
{
    // Measured as programs run by default, whatever the shell that starts this has set.
    unsetenv("DKOM_LOG_LEVEL");
    setenv("DKOM_ORA_LIB_PATH", NULL_BACKEND_DIRECTORY, 1);
    setenv("DKOM_DRK_LIB_PATH", NULL_BACKEND_DIRECTORY, 1);
    void *library = dlopen(NULL_BACKEND_DIRECTORY "/libclntsh.so", RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "benchmarks: %s\n", dlerror());
        std::exit(1);
    }
    direct_calls calls;
    find(library, "OCIHandleAlloc", calls.handle_alloc);
    find(library, "OCIHandleFree", calls.handle_free);
    find(library, "OCIBindByPos", calls.bind_by_pos);
    find(library, "OCIAttrGet", calls.attr_get);
    find(library, "OCIStmtFetch2", calls.stmt_fetch2);
    find(library, "OCITransCommit", calls.trans_commit);
    find(library, "OCILobRead", calls.lob_read);
    find(library, "OCINumberFromInt", calls.number_from_int);
    find(library, "OCIDateAddDays", calls.date_add_days);
    return calls;
}

} // namespace

const direct_calls &null_backend()
{
    static const direct_calls calls = open_null_backend();
    return calls;
}

void connection::check(sword rc, const char *what)
{
    if (rc == OCI_SUCCESS)
        return;
    std::fprintf(stderr, "benchmarks: %s failed with %d\n", what, rc);
    std::exit(1);
}

connection::connection()
{
    null_backend();
    check(OCIEnvCreate(&envhp, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), "OCIEnvCreate");
    errhp = allocate<OCIError>(OCI_HTYPE_ERROR);
    srvhp = allocate<OCIServer>(OCI_HTYPE_SERVER);
    svchp = allocate<OCISvcCtx>(OCI_HTYPE_SVCCTX);
    stmtp = allocate<OCIStmt>(OCI_HTYPE_STMT);
    const OraText link[] = "null";
    check(OCIServerAttach(srvhp, errhp, link, 4, OCI_DEFAULT), "OCIServerAttach");
    check(OCIAttrSet(svchp, OCI_HTYPE_SVCCTX, srvhp, 0, OCI_ATTR_SERVER, errhp), "OCIAttrSet");
    const OraText text[] = "select :1 from dual";
    check(OCIStmtPrepare(stmtp, errhp, text, sizeof text - 1, OCI_NTV_SYNTAX, OCI_DEFAULT), "OCIStmtPrepare");
    check(OCIStmtExecute(svchp, stmtp, errhp, 0, 0, nullptr, nullptr, OCI_DEFAULT), "OCIStmtExecute");
    check(OCIBindByPos(stmtp, &bindp, errhp, 1, nullptr, 0, SQLT_CHR, nullptr, nullptr, nullptr, 0, nullptr,
                       OCI_DEFAULT),
          "OCIBindByPos");
    check(OCIDescriptorAlloc(envhp, reinterpret_cast<void **>(&locp), OCI_DTYPE_LOB, 0, nullptr),
          "OCIDescriptorAlloc");
}
