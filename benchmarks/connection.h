/*
 * What the measurements share: a connection on the null backends through libdkom.so, and the same calls
 * straight into one of them.
 */
#ifndef BENCHMARKS_CONNECTION_H
#define BENCHMARKS_CONNECTION_H

#include <vector>

#include <oci.h>

/* Entry points of a null backend, called as a program calls its client library: through a pointer that the
   loader filled. */
struct direct_calls {
    decltype(&::OCIHandleAlloc) handle_alloc;
    decltype(&::OCIHandleFree) handle_free;
    decltype(&::OCIBindByPos) bind_by_pos;
    decltype(&::OCIAttrGet) attr_get;
    decltype(&::OCIStmtFetch2) stmt_fetch2;
    decltype(&::OCITransCommit) trans_commit;
    decltype(&::OCILobRead) lob_read;
    decltype(&::OCINumberFromInt) number_from_int;
    decltype(&::OCIDateAddDays) date_add_days;
};

/* Points libdkom.so at the null backends and opens one of them for direct calls. Ends the program on failure.
 */
const direct_calls &null_backend();

/* Handles of one thread, as a connected program holds them. Leaked on purpose: they live as long as it. */
struct connection {
    OCIEnv *envhp = nullptr;
    OCIError *errhp = nullptr;
    OCIServer *srvhp = nullptr;
    OCISvcCtx *svchp = nullptr;
    OCIStmt *stmtp = nullptr;
    OCIBind *bindp = nullptr;
    OCILobLocator *locp = nullptr;

    connection();

    template <class T> T *allocate(ub4 type)
    {
        void *hndlp = nullptr;
        check(OCIHandleAlloc(envhp, &hndlp, type, 0, nullptr), "OCIHandleAlloc");
        return static_cast<T *>(hndlp);
    }
    static void check(sword rc, const char *what);
};

#endif
