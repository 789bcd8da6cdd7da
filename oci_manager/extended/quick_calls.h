/*
 * The quick paths of calls that are written by hand. They stand in the exported function itself, so that
 * arguments on the stack are moved once, to the backend. What is not quick goes to the function of the same
 * name in the namespace `written`, which serves every case.
 */
#ifndef OMX_QUICK_CALLS_H
#define OMX_QUICK_CALLS_H

#include "buffers.h"
#include "written.h"

namespace quick
{

/* Tells a quick path from the published call of its name. */
struct path {
};

/*
 * Keeps the compiler from jumping to the function that gave a result. It would move that function's stack
 * arguments to where the caller's lie, and for that move the caller's out of the way on every path.
 */
OMX_INLINE sword called(sword rc)
{
    asm("" : "+r"(rc));
    return rc;
}

/* All types with descriptors lie behind these. */
constexpr ub2 plain_types_end = SQLT_RDD;

/*
 * The bind handle of a place that was bound before and is bound again: a plain value, on the one backend of
 * its statement. Programs do so for every row. Null for anything else.
 */
OMX_INLINE omx_handle *find_bound_again(const omx_handle *stmth, OCIBind *const *bindpp, ub4 position,
                                        ub2 dty)
{
    if (!stmth || !bindpp || dty >= plain_types_end)
        return nullptr;
    omx_handle *h = omx_find(*bindpp, OCI_HTYPE_BIND);
    // A variable with a quick position is in one backend.
    if (!h || h->owner != stmth || h->run != stmth->run || h->targets != stmth->targets)
        return nullptr;
    return omx_variable_of(h)->quick_position == position ? h : nullptr;
}

OMX_INLINE sword OCIBindByPos(path, OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position,
                              void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep,
                              ub4 maxarr_len, ub4 *curelep, ub4 mode)
{
    const omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *h = find_bound_again(stmth, bindp, position, dty);
    omx_handle *errh = nullptr;
    if (__builtin_expect(!h || !omx_optional_error(errhp, &errh), 0))
        return called(written::OCIBindByPos(stmtp, bindp, errhp, position, valuep, value_sz, dty, indp, alenp,
                                            rcodep, maxarr_len, curelep, mode));
    const unsigned int backend = stmth->run;
    const sword rc = called(omx_calls.OCIBindByPos[backend](
        (OCIStmt *)stmth->backend[backend], (OCIBind **)(void *)&h->backend[backend],
        omx_own<OCIError>(errh, backend), position, valuep, value_sz, dty, indp, alenp, rcodep, maxarr_len,
        curelep, mode));
    return omx_done(errh, backend, rc);
}

} // namespace quick

#endif
