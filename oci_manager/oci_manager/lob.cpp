/*
 * LOB length, read and write, in both widths: each on the backend of the service context. Amounts, buffers
 * and callbacks go through as they are, so a callback is called by whichever library serves the call.
 *
 * Every result but OCI_SUCCESS is recorded as a report, OCI_NEED_DATA of a piecewise transfer included.
 */
#include "dispatch.h"

namespace
{

/* Records a result on the error handle, or on the locator which backend served it last. */
sword lob_reported(om_handle_t *werrhp, om_handle_t *wlocp, ub4 target, sword rc)
{
    if (rc == OCI_SUCCESS)
        wlocp->last_exec = target;
    return reported(werrhp, target, rc);
}

} // namespace

extern "C" {

OM_EXPORT sword OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)
{
    TRACE_CALL("OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tlenp%d",
               svchp, errhp, locp, lenp ? *lenp : 0);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp != ((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobGetLength(svchp, errhp, locp, lenp));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobGetLength(twin<OCISvcCtx>(wsvchp),
                                                                     twin<OCIError>(werrhp),
                                                                     twin<OCILobLocator>(wlocp), lenp));
    STOP_BECAUSE("There is no available svcctx handle");
}

OM_EXPORT sword OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)
{
    TRACE_CALL("OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)"
               "\n\tsvchp=%p\n\terrhp=%p\n\tlocp=%p\n\tlenp%p",
               svchp, errhp, locp, lenp);

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp!=((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp!=((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobGetLength2(svchp, errhp, locp, lenp));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobGetLength2(twin<OCISvcCtx>(wsvchp),
                                                                      twin<OCIError>(werrhp),
                                                                      twin<OCILobLocator>(wlocp), lenp));
    STOP_BECAUSE("There is no available svc handle");
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

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp != ((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobRead(svchp, errhp, locp, amtp, offset, bufp, bufl,
                                                                 ctxp, cbfp, csid, csfrm));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobRead(
                                twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp), twin<OCILobLocator>(wlocp),
                                amtp, offset, bufp, bufl, ctxp, cbfp, csid, csfrm));
    STOP_BECAUSE("There is no available function");
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

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp != ((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobRead2(svchp, errhp, locp, byte_amtp, char_amtp,
                                                                  offset, bufp, bufl, piece, ctxp, cbfp, csid,
                                                                  csfrm));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobRead2(
                                twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp), twin<OCILobLocator>(wlocp),
                                byte_amtp, char_amtp, offset, bufp, bufl, piece, ctxp, cbfp, csid, csfrm));
    STOP_BECAUSE("There is no available function");
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

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp != ((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobWrite(svchp, errhp, locp, amtp, offset, bufp,
                                                                  buflen, piece, ctxp, cbfp, csid, csfrm));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobWrite(
                                twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp), twin<OCILobLocator>(wlocp),
                                amtp, offset, bufp, buflen, piece, ctxp, cbfp, csid, csfrm));
    STOP_BECAUSE("There is no available svc handle");
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

    const om_handle_t *wsvchp = find_handle(svchp, OCI_HTYPE_SVCCTX);
    REQUIRE(wsvchp, "wsvchp != ((void *)0)");
    om_handle_t *werrhp = find_handle_if_given(errhp, OCI_HTYPE_ERROR);
    om_handle_t *wlocp = find_descriptor(locp, OCI_DTYPE_LOB);
    REQUIRE(wlocp, "wlocp != ((void *)0)");

    if (check_run_for(wsvchp, OM_TARGET_ORACLE))
        return lob_reported(werrhp, wlocp, OM_TARGET_ORACLE,
                            ora_func_table.funcs.func_OCILobWrite2(svchp, errhp, locp, byte_amtp, char_amtp,
                                                                   offset, bufp, buflen, piece, ctxp, cbfp,
                                                                   csid, csfrm));
    if (check_run_for(wsvchp, OM_TARGET_DRAVIK))
        return lob_reported(werrhp, wlocp, OM_TARGET_DRAVIK,
                            dk_func_table.funcs.func_OCILobWrite2(
                                twin<OCISvcCtx>(wsvchp), twin<OCIError>(werrhp), twin<OCILobLocator>(wlocp),
                                byte_amtp, char_amtp, offset, bufp, buflen, piece, ctxp, cbfp, csid, csfrm));
    STOP_BECAUSE("There is no available svc handle");
}

/* Assigning a locator would need both twins copied, which no backend can do for the other. */
OM_EXPORT sword OCILobAssign(OCIEnv * /*envhp*/, OCIError * /*errhp*/, const OCILobLocator * /*src_locp*/,
                             OCILobLocator ** /*dst_locpp*/)
{
    TRACE_ENTRY();
    STOP_AT(__LINE__, "0");
}

} // extern "C"
