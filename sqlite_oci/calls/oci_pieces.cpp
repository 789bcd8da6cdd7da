// Values in pieces between calls.
#include "statements/statement.h"

using namespace sqlite_oci;

extern "C" {

SQLITE_OCI_EXPORT sword OCIStmtGetPieceInfo(const OCIStmt *stmtp, OCIError *errhp, void **hndlpp, ub4 *typep,
                                            ub1 *in_outp, ub4 *iterp, ub4 *idxp, ub1 *piecep)
{
    return served(errhp, [&](call_errors) {
        const awaited_piece &awaited = required<statement>(stmtp).awaited();
        if (!awaited.of)
            fail(24338, "the statement awaits no piece");
        const auto tell = [](auto *target, auto plain) {
            if (target)
                *target = plain;
        };
        tell(hndlpp, awaited.of->handle);
        tell(typep, awaited.of->kind);
        tell(in_outp, static_cast<ub1>(awaited.of->kind == OCI_HTYPE_BIND ? OCI_PARAM_IN : OCI_PARAM_OUT));
        tell(iterp, static_cast<ub4>(awaited.row));
        tell(idxp, ub4{0});
        tell(piecep, static_cast<ub1>(awaited.is_first ? OCI_FIRST_PIECE : OCI_NEXT_PIECE));
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIStmtSetPieceInfo(void *hndlp, ub4 type, OCIError *errhp, const void *bufp,
                                            ub4 *alenp, ub1 piece, const void *indp, ub2 *rcodep)
{
    return served(errhp, [&](call_errors) {
        variable *of = type == OCI_HTYPE_BIND     ? static_cast<variable *>(find<bind>(hndlp))
                       : type == OCI_HTYPE_DEFINE ? static_cast<variable *>(find<define>(hndlp))
                                                  : nullptr;
        if (!of)
            throw invalid_handle{};
        if (!of->is_in_pieces())
            fail(3131, "the variable does not pass its values in pieces");
        if (piece > OCI_LAST_PIECE)
            fail(3131, "%u is no kind of piece", piece);
        auto *const indicator = static_cast<sb2 *>(const_cast<void *>(indp));
        const bool is_null = type == OCI_HTYPE_BIND && indicator && *indicator == OCI_IND_NULL;
        if (!is_null && (!bufp || !alenp))
            fail(3131, "a piece needs a buffer and its length");
        of->given = {true, const_cast<void *>(bufp), alenp, piece, indicator, rcodep};
        return OCI_SUCCESS;
    });
}

} // extern "C"
