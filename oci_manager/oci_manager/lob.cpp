/*
 * LOB length, read and write, in both widths: each on the backend of the service context. Amounts, buffers
 * and callbacks go through as they are, so a callback is called by whichever library serves the call.
 *
 * Every result but OCI_SUCCESS is recorded as a report, OCI_NEED_DATA of a piecewise transfer included.
 */
#include "dispatch.h"

namespace
{

/* How a call stops: its name, its line, and the assertion texts and the reason that users know it by. */
struct lob_stops {
    const char *function;
    int line;
    const char *no_service_context;
    const char *no_locator;
    const char *no_backend;
};

#define STOPS(no_service_context, no_locator, no_backend)                                                    \
    {                                                                                                        \
        __func__, __LINE__, no_service_context, no_locator, no_backend                                       \
    }

/* Records a result on the error handle, or on the locator which backend served it last. */
inline sword lob_reported(om_handle_t *werrhp, om_handle_t *wlocp, ub4 target, sword rc)
{
    if (rc == OCI_SUCCESS)
        wlocp->last_exec = target;
    return reported(werrhp, target, rc);
}

/* Runs the entry point of a LOB call on the backend of the service context. */
template <class Function, class... Arguments>
inline sword run_lob_call(Function oci_function_points_t::*entry, const lob_stops &stops, OCISvcCtx *svchp,
                          OCIError *errhp, OCILobLocator *locp, Arguments... arguments)
{
    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    if (__builtin_expect(!wsvchp, 0))
        stop_process(stops.no_service_context, __FILE__, stops.line, stops.function);
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    if (__builtin_expect(!wlocp, 0))
        stop_process(stops.no_locator, __FILE__, stops.line, stops.function);

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            (ora_func_table.funcs.*entry)(svchp, errhp, locp, arguments...));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            (dk_func_table.funcs.*entry)(twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp),
                                                         twin<OCILobLocator>(wlocp), arguments...));
    STOP_BECAUSE_IN(stops.function, stops.line, stops.line, "%s", stops.no_backend);
}

} // namespace

extern "C" {

OM_EXPORT sword OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)
{
    TRACE_CALL("OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tlenp%d",
               svchp, errhp, locp, lenp ? *lenp : 0);

    return run_lob_call(
        &oci_function_points_t::func_OCILobGetLength,
        STOPS("wsvchp != ((void *)0)", "wlocp != ((void *)0)", "There is no available svcctx handle"), svchp,
        errhp, locp, lenp);
}

OM_EXPORT sword OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)
{
    TRACE_CALL("OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tlenp%p",
               svchp, errhp, locp, lenp);

    return run_lob_call(
        &oci_function_points_t::func_OCILobGetLength2,
        STOPS("wsvchp!=((void *)0)", "wlocp!=((void *)0)", "There is no available svc handle"), svchp, errhp,
        locp, lenp);
}

OM_EXPORT sword OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset,
                           void *bufp, ub4 bufl, void *ctxp, OCICallbackLobRead cbfp, ub2 csid, ub1 csfrm)
{
    TRACE_CALL(
        "OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, dvoid "
        "*bufp, ub4 bufl, dvoid *ctxp, OCICallbackLobRead cbfp, ub2 csid, ub1 csfrm)"
        "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tamtp=%p\n\toffset=%d\n\tbufp=%p\n\tbufl=%d\n\tctxp=%p"
        "\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
        svchp, errhp, locp, amtp, offset, bufp, bufl, ctxp, (void *)cbfp, csid, csfrm);

    return run_lob_call(
        &oci_function_points_t::func_OCILobRead,
        STOPS("wsvchp != ((void *)0)", "wlocp != ((void *)0)", "There is no available function"), svchp,
        errhp, locp, amtp, offset, bufp, bufl, ctxp, cbfp, csid, csfrm);
}

OM_EXPORT sword OCILobRead2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp,
                            oraub8 *char_amtp, oraub8 offset, void *bufp, oraub8 bufl, ub1 piece, void *ctxp,
                            OCICallbackLobRead2 cbfp, ub2 csid, ub1 csfrm)
{
    TRACE_CALL(
        "OCILobRead2 (OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, oraub8 "
        "*char_amtp, oraub8 offset, dvoid *bufp, oraub8 bufl, ub1 piece, dvoid *ctxp, "
        "OCICallbackLobRead2 cbfp, ub2 csid, ub1 csfrm)"
        "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tbyte_amtp=%p\n\tchar_amtp=%p\n\toffset=%d\n\tbufp=%p"
        "\n\tbufl=%d\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
        svchp, errhp, locp, byte_amtp, char_amtp, (int)offset, bufp, (int)bufl, ctxp, (void *)cbfp, csid,
        csfrm);

    return run_lob_call(
        &oci_function_points_t::func_OCILobRead2,
        STOPS("wsvchp != ((void *)0)", "wlocp != ((void *)0)", "There is no available function"), svchp,
        errhp, locp, byte_amtp, char_amtp, offset, bufp, bufl, piece, ctxp, cbfp, csid, csfrm);
}

OM_EXPORT sword OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset,
                            void *bufp, ub4 buflen, ub1 piece, void *ctxp, OCICallbackLobWrite cbfp, ub2 csid,
                            ub1 csfrm)
{
    TRACE_CALL(
        "OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, "
        "dvoid *bufp, ub4 buflen, ub1 piece, dvoid *ctxp, OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm)"
        "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tamtp=%p\n\toffset=%d\n\tbufp=%p\n\tbuflen=%d\n\tpiece=%d"
        "\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
        svchp, errhp, locp, amtp, offset, bufp, buflen, piece, ctxp, (void *)cbfp, csid, csfrm);

    return run_lob_call(
        &oci_function_points_t::func_OCILobWrite,
        STOPS("wsvchp != ((void *)0)", "wlocp != ((void *)0)", "There is no available svc handle"), svchp,
        errhp, locp, amtp, offset, bufp, buflen, piece, ctxp, cbfp, csid, csfrm);
}

OM_EXPORT sword OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp,
                             oraub8 *char_amtp, oraub8 offset, void *bufp, oraub8 buflen, ub1 piece,
                             void *ctxp, OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm)
{
    TRACE_CALL(
        "OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp, oraub8 "
        "*char_amtp, oraub8 offset, dvoid *bufp, oraub8 buflen, ub1 piece, dvoid *ctxp, "
        "OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm)"
        "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tbyte_amtp=%p\n\tchar_amtp=%p\n\toffset=%d\n\tbufp=%p"
        "\n\tbuflen=%d\n\tpiece=%d\n\tctxp=%p\n\tcbfp=%p\n\tcsid=%d\n\tcsfrm=%d",
        svchp, errhp, locp, byte_amtp, char_amtp, (int)offset, bufp, (int)buflen, piece, ctxp, (void *)cbfp,
        csid, csfrm);

    return run_lob_call(
        &oci_function_points_t::func_OCILobWrite2,
        STOPS("wsvchp != ((void *)0)", "wlocp != ((void *)0)", "There is no available svc handle"), svchp,
        errhp, locp, byte_amtp, char_amtp, offset, bufp, buflen, piece, ctxp, cbfp, csid, csfrm);
}

/* Not supported: the process stops, and no record gives a reason. */
OM_EXPORT sword OCILobAssign(OCIEnv * /*envhp*/, OCIError * /*errhp*/, const OCILobLocator * /*src_locp*/,
                             OCILobLocator ** /*dst_locpp*/)
{
    TRACE_ENTRY();
    STOP_AT(__LINE__, "0");
}

} // extern "C"
