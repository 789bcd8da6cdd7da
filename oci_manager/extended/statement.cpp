/*
 * Statements: prepared in every backend, since nobody knows yet where they run; executed on the connection's,
 * to which they then belong until they are prepared again.
 */
#include <stdlib.h>

#include "buffers.h"
#include "trace_log.h"
#include "written.h"

namespace
{

/* Makes a statement one of a connection: it has run there. */
void run_on(omx_handle *stmth, ub1 backend)
{
    if (stmth->targets != omx_bit(backend))
        omx_follow(stmth, backend);
}

/* How many elements of its bind variables an execution uses, and how many of its defines. */
struct row_counts {
    ub4 bound;
    ub4 defined;
};

row_counts rows_of(ub4 iters, ub4 rowoff, ub4 mode)
{
    if (mode & (OCI_DESCRIBE_ONLY | OCI_PARSE_ONLY))
        return {0, 0};
    return {iters > rowoff ? iters - rowoff : (iters ? 0U : 1U), iters};
}

/* Executes a statement whose variables hold descriptors. */
__attribute__((noinline)) sword execute_with_buffers(omx_handle *svch, omx_handle *stmth, omx_handle *errh,
                                                     ub4 iters, ub4 rowoff, OCISnapshot *in, OCISnapshot *out,
                                                     ub4 mode)
{
    const ub1 backend = svch->run;
    const row_counts rows = rows_of(iters, rowoff, mode);
    sword rc = omx_fill_buffers(stmth, backend, OCI_HTYPE_BIND, rowoff, rows.bound, errh);
    if (rc == OCI_SUCCESS)
        rc = omx_fill_buffers(stmth, backend, OCI_HTYPE_DEFINE, 0, rows.defined, errh);
    if (rc != OCI_SUCCESS)
        return rc;
    rc =
        omx_calls.OCIStmtExecute[backend](omx_own<OCISvcCtx>(svch, backend), omx_own<OCIStmt>(stmth, backend),
                                          omx_own<OCIError>(errh, backend), iters, rowoff, in, out, mode);
    if (omx_succeeded(rc) || rc == OCI_NO_DATA) {
        omx_take_buffers(stmth, backend, OCI_HTYPE_BIND, rowoff, rows.bound);
        omx_take_buffers(stmth, backend, OCI_HTYPE_DEFINE, 0, rows.defined);
    }
    return omx_done(errh, backend, rc);
}

/* Fetches rows; `fetch` is called with the backend. */
template <class Fetch> OMX_INLINE sword fetch_rows(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, Fetch fetch)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = stmth->run;
    const bool has_buffers = omx_has_buffers(stmth);
    if (__builtin_expect(has_buffers, 0)) {
        const sword rc = omx_fill_buffers(stmth, backend, OCI_HTYPE_DEFINE, 0, nrows, errh);
        if (rc != OCI_SUCCESS)
            return rc;
    }
    const sword rc = fetch(stmth, errh, backend);
    if (__builtin_expect(has_buffers, 0) && (omx_succeeded(rc) || rc == OCI_NO_DATA))
        omx_take_buffers(stmth, backend, OCI_HTYPE_DEFINE, 0, nrows);
    return rc;
}

/* The manager's handle of a bind or define that a backend names. */
omx_handle *variable_of(omx_handle *stmth, ub1 type, ub1 backend, void *own)
{
    omx_handle *h = omx_find_child(stmth, type, backend, own);
    if (h)
        return h;
    h = omx_wrap(type, stmth->env, backend, own, stmth);
    if (!h)
        return nullptr;
    h->extra = calloc(1, sizeof(omx_variable));
    if (!h->extra) {
        omx_remove_child(h);
        omx_release(h);
        return nullptr;
    }
    omx_variable_of(h)->handle = h;
    omx_variable_of(h)->key = ~(uint64_t)0; // not made by position or name
    omx_variable_of(h)->quick_position = omx_no_position;
    return h;
}

} // namespace

namespace written
{

sword OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len, ub4 language,
                     ub4 mode)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    omx_release_children(stmth);
    omx_unbind(stmth);
    sword result = OCI_ERROR;
    ub1 prepared = omx_none;
    bool refused = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(stmth->targets & omx_bit(backend)))
            continue;
        sword rc = OCI_ERROR;
        if (omx_calls.OCIStmtPrepare[backend]) {
            const omx_text text(stmth, backend, stmt, stmt_len);
            rc = omx_calls.OCIStmtPrepare[backend](omx_own<OCIStmt>(stmth, backend),
                                                   omx_own<OCIError>(errh, backend), text.text, text.length,
                                                   language, mode);
        }
        if (omx_succeeded(rc)) {
            if (prepared == omx_none)
                result = rc;
            prepared |= omx_bit(backend);
        } else if (prepared == omx_none && !refused) {
            result = omx_done(errh, backend, rc);
            refused = true;
        }
    }
    stmth->current = prepared;
    if (prepared != omx_none) {
        stmth->targets = prepared;
        stmth->run = omx_first(prepared);
    }
    return result;
}

sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len,
                      const OraText *key, ub4 key_len, ub4 language, ub4 mode)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !stmtp || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCIStmtPrepare2, backend, errh);
    const omx_text text(svch, backend, stmt, stmt_len);
    const omx_text tag(svch, backend, key, key_len);
    OCIStmt *own = nullptr;
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIStmtPrepare2[backend](
                                  omx_own<OCISvcCtx>(svch, backend), &own, omx_own<OCIError>(errh, backend),
                                  text.text, text.length, tag.text, tag.length, language, mode));
    if (!omx_succeeded(rc) || !own)
        return rc;
    omx_handle *stmth = omx_wrap(OCI_HTYPE_STMT, svch->env, backend, own, nullptr);
    if (!stmth)
        return omx_no_memory(errh);
    stmth->current = omx_bit(backend);
    *stmtp = (OCIStmt *)(void *)stmth;
    return rc;
}

sword OCIStmtRelease(OCIStmt *stmtp, OCIError *errhp, const OraText *key, ub4 key_len, ub4 mode)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = stmth->run;
    OMX_NEED(OCIStmtRelease, backend, errh);
    const omx_text tag(stmth, backend, key, key_len);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIStmtRelease[backend](omx_own<OCIStmt>(stmth, backend),
                                                                omx_own<OCIError>(errh, backend), tag.text,
                                                                tag.length, mode));
    if (omx_succeeded(rc) && omx_claim(stmth))
        omx_release(stmth);
    return rc;
}

sword OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters, ub4 rowoff,
                     const OCISnapshot *snap_in, OCISnapshot *snap_out, ub4 mode)
{
    omx_look_at_control_file();
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    omx_handle *in = nullptr;
    omx_handle *out = nullptr;
    if (!svch || !stmth || !omx_optional_error(errhp, &errh) || !omx_optional(snap_in, OCI_DTYPE_SNAP, &in) ||
        !omx_optional(snap_out, OCI_DTYPE_SNAP, &out))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    OMX_NEED(OCIStmtExecute, backend, errh);
    if (!stmth->backend[backend] || (stmth->current && !(stmth->current & omx_bit(backend))))
        return omx_fail(
            errh, omx_error_not_prepared,
            "The statement is to run on %s but is not prepared there. Prepare it again, with a statement "
            "handle of an environment that has both databases.",
            omx_backend_name(backend));
    run_on(stmth, backend);
    sword rc = OCI_SUCCESS;
    if (__builtin_expect(omx_has_buffers(stmth), 0))
        rc = execute_with_buffers(svch, stmth, errh, iters, rowoff, omx_own<OCISnapshot>(in, backend),
                                  omx_own<OCISnapshot>(out, backend), mode);
    else
        rc = omx_done(errh, backend,
                      omx_calls.OCIStmtExecute[backend](
                          omx_own<OCISvcCtx>(svch, backend), omx_own<OCIStmt>(stmth, backend),
                          omx_own<OCIError>(errh, backend), iters, rowoff, omx_own<OCISnapshot>(in, backend),
                          omx_own<OCISnapshot>(out, backend), mode));
    if (out && omx_succeeded(rc))
        omx_follow(out, backend);
    return rc;
}

sword OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4 mode)
{
    return fetch_rows(stmtp, errhp, nrows, [=](omx_handle *stmth, omx_handle *errh, ub1 backend) -> sword {
        OMX_NEED(OCIStmtFetch, backend, errh);
        return omx_done(errh, backend,
                        omx_calls.OCIStmtFetch[backend](omx_own<OCIStmt>(stmth, backend),
                                                        omx_own<OCIError>(errh, backend), nrows, orientation,
                                                        mode));
    });
}

sword OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, sb4 scrollOffset, ub4 mode)
{
    return fetch_rows(stmtp, errhp, nrows, [=](omx_handle *stmth, omx_handle *errh, ub1 backend) -> sword {
        OMX_NEED(OCIStmtFetch2, backend, errh);
        return omx_done(errh, backend,
                        omx_calls.OCIStmtFetch2[backend](omx_own<OCIStmt>(stmth, backend),
                                                         omx_own<OCIError>(errh, backend), nrows, orientation,
                                                         scrollOffset, mode));
    });
}

/* The descriptor of a result set becomes the handle of a statement. */
sword OCIResultSetToStmt(OCIResult *rsetdp, OCIError *errhp)
{
    omx_handle *h = omx_find(rsetdp, OCI_DTYPE_RSET);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = h->current ? omx_first(h->current) : h->run;
    OMX_NEED(OCIResultSetToStmt, backend, errh);
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIResultSetToStmt[backend](omx_own<OCIResult>(h, backend),
                                                                    omx_own<OCIError>(errh, backend)));
    if (omx_succeeded(rc)) {
        h->type = OCI_HTYPE_STMT;
        h->current = omx_bit(backend);
        omx_follow(h, backend);
        omx_restore(h);
    }
    return rc;
}

sword OCIStmtGetPieceInfo(const OCIStmt *stmtp, OCIError *errhp, void **hndlpp, ub4 *typep, ub1 *in_outp,
                          ub4 *iterp, ub4 *idxp, ub1 *piecep)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !hndlpp || !typep || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = stmth->run;
    OMX_NEED(OCIStmtGetPieceInfo, backend, errh);
    void *own = nullptr;
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIStmtGetPieceInfo[backend](omx_own<OCIStmt>(stmth, backend),
                                                                     omx_own<OCIError>(errh, backend), &own,
                                                                     typep, in_outp, iterp, idxp, piecep));
    if (!omx_succeeded(rc) || !own)
        return rc;
    *hndlpp = variable_of(stmth, (ub1)*typep, backend, own);
    return *hndlpp ? rc : omx_no_memory(errh);
}

sword OCIStmtSetPieceInfo(void *hndlp, ub4 type, OCIError *errhp, const void *bufp, ub4 *alenp, ub1 piece,
                          const void *indp, ub2 *rcodep)
{
    omx_handle *h = omx_find_typed(hndlp, type);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = h->owner ? h->owner->run : h->run;
    OMX_NEED(OCIStmtSetPieceInfo, backend, errh);
    return omx_done(errh, backend,
                    omx_calls.OCIStmtSetPieceInfo[backend](h->backend[backend], type,
                                                           omx_own<OCIError>(errh, backend), bufp, alenp,
                                                           piece, indp, rcodep));
}

sword OCIStmtGetBindInfo(OCIStmt *stmtp, OCIError *errhp, ub4 size, ub4 startloc, sb4 *found, OraText **bvnp,
                         ub1 *bvnl, OraText **invp, ub1 *inpl, ub1 *dupl, OCIBind **hndl)
{
    omx_handle *stmth = omx_find(stmtp, OCI_HTYPE_STMT);
    omx_handle *errh = nullptr;
    if (!stmth || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = stmth->run;
    OMX_NEED(OCIStmtGetBindInfo, backend, errh);
    if (hndl)
        for (ub4 i = 0; i < size; i++)
            hndl[i] = nullptr;
    const sword rc = omx_done(errh, backend,
                              omx_calls.OCIStmtGetBindInfo[backend](
                                  omx_own<OCIStmt>(stmth, backend), omx_own<OCIError>(errh, backend), size,
                                  startloc, found, bvnp, bvnl, invp, inpl, dupl, hndl));
    for (ub4 i = 0; hndl && i < size; i++)
        if (hndl[i])
            hndl[i] = (OCIBind *)(void *)variable_of(stmth, OCI_HTYPE_BIND, backend, hndl[i]);
    return rc;
}

} // namespace written
