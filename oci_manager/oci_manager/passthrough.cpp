/*
 * Calls that need no wrapper and choose no backend: language information, numbers and dates go straight to
 * Oracle's library, direct path loading is refused.
 */
#include "dispatch.h"

/*
 * Hands a number or date call on with the library's default error handle, which is Oracle's, in place of the
 * program's: any handle will do for the call, a null one or one of another thread too, and OCIErrorGet learns
 * nothing of a failure. Before any environment exists the backends are not loaded, which the empty table
 * tells, and the call answers OCI_INVALID_HANDLE.
 */
#define FORWARD(function, ...)                                                                               \
    do {                                                                                                     \
        TRACE_ENTRY();                                                                                       \
        const auto forwarded = ora_func_table.funcs.func_##function;                                         \
        if (__builtin_expect(!forwarded, 0))                                                                 \
            return OCI_INVALID_HANDLE;                                                                       \
        return forwarded(dk_func_table.dflt_errhp, __VA_ARGS__);                                             \
    } while (0)

/* Direct path loading is not supported: every call of it stops the process. */
#define REFUSE(...)                                                                                          \
    do {                                                                                                     \
        TRACE_CALL(__VA_ARGS__);                                                                             \
        STOP_BECAUSE("%s", "Unexpected calling...");                                                         \
    } while (0)

extern "C" {

/* The trace shows what the program's buffer holds before the call. */
OM_EXPORT sword OCINlsGetInfo(void *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item)
{
    TRACE_CALL("OCINlsGetInfo(dvoid *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item)"
               "\n\tenvhp=%p\n\terrhp=%p\n\tbuf=%.*s\n\tbuflen=%ld\n\titem=%d",
               envhp, errhp, TRACE_TEXT(buf), (long)buflen, item);
    const auto forwarded = ora_func_table.funcs.func_OCINlsGetInfo;
    if (__builtin_expect(!forwarded, 0))
        return OCI_INVALID_HANDLE;
    return forwarded(envhp, errhp, buf, buflen, item);
}

OM_EXPORT sword OCINumberFromInt(OCIError * /*err*/, const void *inum, uword inum_length, uword inum_s_flag,
                                 OCINumber *number)
{
    FORWARD(OCINumberFromInt, inum, inum_length, inum_s_flag, number);
}

OM_EXPORT sword OCINumberFromReal(OCIError * /*err*/, const void *rnum, uword rnum_length, OCINumber *number)
{
    FORWARD(OCINumberFromReal, rnum, rnum_length, number);
}

OM_EXPORT sword OCINumberFromText(OCIError * /*err*/, const OraText *str, ub4 str_length, const OraText *fmt,
                                  ub4 fmt_length, const OraText *nls_param, ub4 nls_p_length,
                                  OCINumber *number)
{
    FORWARD(OCINumberFromText, str, str_length, fmt, fmt_length, nls_param, nls_p_length, number);
}

OM_EXPORT sword OCINumberToInt(OCIError * /*err*/, const OCINumber *number, uword rsl_length, uword rsl_flag,
                               void *rsl)
{
    FORWARD(OCINumberToInt, number, rsl_length, rsl_flag, rsl);
}

OM_EXPORT sword OCINumberToReal(OCIError * /*err*/, const OCINumber *number, uword rsl_length, void *rsl)
{
    FORWARD(OCINumberToReal, number, rsl_length, rsl);
}

OM_EXPORT sword OCINumberToText(OCIError * /*err*/, const OCINumber *number, const OraText *fmt,
                                ub4 fmt_length, const OraText *nls_params, ub4 nls_p_length, ub4 *buf_size,
                                OraText *buf)
{
    FORWARD(OCINumberToText, number, fmt, fmt_length, nls_params, nls_p_length, buf_size, buf);
}

OM_EXPORT sword OCIDateAssign(OCIError * /*err*/, const OCIDate *from, OCIDate *to)
{
    FORWARD(OCIDateAssign, from, to);
}

OM_EXPORT sword OCIDateToText(OCIError * /*err*/, const OCIDate *date, const oratext *fmt, ub1 fmt_length,
                              const oratext *lang_name, ub4 lang_length, ub4 *buf_size, oratext *buf)
{
    FORWARD(OCIDateToText, date, fmt, fmt_length, lang_name, lang_length, buf_size, buf);
}

OM_EXPORT sword OCIDateFromText(OCIError * /*err*/, const oratext *date_str, ub4 d_str_length,
                                const oratext *fmt, ub1 fmt_length, const oratext *lang_name, ub4 lang_length,
                                OCIDate *date)
{
    FORWARD(OCIDateFromText, date_str, d_str_length, fmt, fmt_length, lang_name, lang_length, date);
}

OM_EXPORT sword OCIDateCompare(OCIError * /*err*/, const OCIDate *date1, const OCIDate *date2, sword *result)
{
    FORWARD(OCIDateCompare, date1, date2, result);
}

OM_EXPORT sword OCIDateAddMonths(OCIError * /*err*/, const OCIDate *date, sb4 num_months, OCIDate *result)
{
    FORWARD(OCIDateAddMonths, date, num_months, result);
}

OM_EXPORT sword OCIDateAddDays(OCIError * /*err*/, const OCIDate *date, sb4 num_days, OCIDate *result)
{
    FORWARD(OCIDateAddDays, date, num_days, result);
}

OM_EXPORT sword OCIDateLastDay(OCIError * /*err*/, const OCIDate *date, OCIDate *last_day)
{
    FORWARD(OCIDateLastDay, date, last_day);
}

OM_EXPORT sword OCIDateDaysBetween(OCIError * /*err*/, const OCIDate *date1, const OCIDate *date2,
                                   sb4 *num_days)
{
    FORWARD(OCIDateDaysBetween, date1, date2, num_days);
}

OM_EXPORT sword OCIDateZoneToZone(OCIError * /*err*/, const OCIDate *date1, const oratext *zon1,
                                  ub4 zon1_length, const oratext *zon2, ub4 zon2_length, OCIDate *date2)
{
    FORWARD(OCIDateZoneToZone, date1, zon1, zon1_length, zon2, zon2_length, date2);
}

OM_EXPORT sword OCIDateNextDay(OCIError * /*err*/, const OCIDate *date, const oratext *day_p, ub4 day_length,
                               OCIDate *next_day)
{
    FORWARD(OCIDateNextDay, date, day_p, day_length, next_day);
}

OM_EXPORT sword OCIDateCheck(OCIError * /*err*/, const OCIDate *date, uword *valid)
{
    FORWARD(OCIDateCheck, date, valid);
}

OM_EXPORT sword OCIDateSysDate(OCIError * /*err*/, OCIDate *sys_date)
{
    FORWARD(OCIDateSysDate, sys_date);
}

OM_EXPORT sword OCIDirPathColArrayEntrySet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx,
                                           ub1 *cvalp, ub4 clen, ub1 cflg)
{
    REFUSE(
        "OCIDirPathColArrayEntrySet(OCIDirPathColArray *dpca, OCIError *errhp, ub4 rownum, ub2 colIdx, ub1 "
        "*cvalp, ub4 clen, ub1 cflg)"
        "\n\tdpca=%p\n\terrhp=%p\n\trownum=%d\n\tcolIdx=%d\n\tcvalp=%p\n\tclen=%d\n\tcflg=%d",
        dpca, errhp, rownum, colIdx, cvalp, clen, cflg);
}

OM_EXPORT sword OCIDirPathColArrayReset(OCIDirPathColArray *dpca, OCIError *errhp)
{
    REFUSE("OCIDirPathColArrayReset( OCIDirPathColArray *dpca, OCIError *errhp )\n\tdpca=%p\n\terrhp=%p",
           dpca, errhp);
}

OM_EXPORT sword OCIDirPathColArrayToStream(OCIDirPathColArray *dpca, OCIDirPathCtx *dpctx,
                                           OCIDirPathStream *dpstr, OCIError *errhp, ub4 rowcnt, ub4 rowoff)
{
    REFUSE("OCIDirPathColArrayToStream(OCIDirPathColArray *dpca,  OCIDirPathCtx *dpctx, OCIDirPathStream "
           "*dpstr, OCIError *errhp, ub4 rowcnt, ub4 rowoff)"
           "\n\tdpca=%p\n\tdpctx=%p\n\tdpstr=%p\n\terrhp=%p\n\trowcnt=%d\n\trowoff=%d",
           dpca, dpctx, dpstr, errhp, rowcnt, rowoff);
}

OM_EXPORT sword OCIDirPathFinish(OCIDirPathCtx *dpctx, OCIError *errhp)
{
    REFUSE("OCIDirPathFinish(OCIDirPathCtx *dpctx, OCIError *errhp)\n\tdpctx=%p\n\terrhp=%p", dpctx, errhp);
}

OM_EXPORT sword OCIDirPathLoadStream(OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError *errhp)
{
    REFUSE("OCIDirPathLoadStream(OCIDirPathCtx *dpctx, OCIDirPathStream *dpstr, OCIError *errhp)"
           "\n\tdpctx=%p\n\tdpstr=%p\n\terrhp=%p",
           dpctx, dpstr, errhp);
}

OM_EXPORT sword OCIDirPathPrepare(OCIDirPathCtx * /*dpctx*/, OCISvcCtx *svchp, OCIError *errhp)
{
    REFUSE(
        "OCIDirPathPrepare(OCIDirPathCtx *dpctx, OCISvcCtx *svchp, OCIError *errhp)\n\tsvchp=%p\n\terrhp=%p",
        svchp, errhp);
}

OM_EXPORT sword OCIDirPathStreamReset(OCIDirPathStream *dpstr, OCIError *errhp)
{
    REFUSE("OCIDirPathStreamReset(OCIDirPathStream *dpstr, OCIError *errhp)\n\tdpstr=%p\n\terrhp=%p", dpstr,
           errhp);
}

} // extern "C"
