/*
 * Texts that a program passes to the exact edition: statements, links and placeholders of any content and
 * length. First byte: the call; second: what is said of the length. (At level 30 the trace shows what lies
 * behind a text too.)
 */
#include <algorithm>

#include "input.h"

#include <oci.h>

namespace
{

struct program {
    OCIEnv *env = nullptr;
    OCIError *err = nullptr;
    OCIServer *server = nullptr;
    OCIStmt *stmt = nullptr;

    program()
    {
        setenv("DKOM_ORA_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_DRK_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_LOG_LEVEL", "10", 1);
        OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void **>(&err), OCI_HTYPE_ERROR, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void **>(&server), OCI_HTYPE_SERVER, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void **>(&stmt), OCI_HTYPE_STMT, 0, nullptr);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static const program p;
    input in(bytes, size);
    const std::uint8_t call = in.byte();
    const std::uint8_t said = in.byte();
    std::string terminated = in.rest();
    const auto exact = in.rest_in_bounds();
    // A length of -1 stands for a terminated text; else the text ends where its memory does.
    const bool is_terminated = (said & 1) != 0;
    const OraText *text = is_terminated ? reinterpret_cast<const OraText *>(terminated.c_str()) : exact.get();
    const auto length = static_cast<sb4>(in.rest_size());
    switch (call % 3) {
    case 0:
        OCIStmtPrepare(p.stmt, p.err, text, static_cast<ub4>(length), OCI_NTV_SYNTAX, OCI_DEFAULT);
        break;
    case 1:
        OCIServerAttach(p.server, p.err, text, length, OCI_DEFAULT);
        break;
    default: {
        OCIBind *bind = nullptr;
        OCIBindByName(p.stmt, &bind, p.err, text, is_terminated ? -1 : length, nullptr, 0, SQLT_CHR, nullptr,
                      nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
    }
    }
    return 0;
}
