/*
 * Error retrieval: the program asks the Oracle handle that it holds, the record comes from the backend that
 * reported last.
 */
#include "dispatch.h"

namespace
{

/* The backend whose record is wanted. An environment records no failures and follows its routing instead. */
ub4 reporting_backend(const om_handle_t *whndlp, ub4 type)
{
    const bool is_environment = type == OCI_HTYPE_ENV;
    if (whndlp->last_err == OM_TARGET_ORACLE || (is_environment && check_run_for(whndlp, OM_TARGET_ORACLE)))
        return OM_TARGET_ORACLE;
    if (whndlp->last_err == OM_TARGET_DRAVIK || (is_environment && check_run_for(whndlp, OM_TARGET_DRAVIK)))
        return OM_TARGET_DRAVIK;
    return 0;
}

} // namespace

extern "C" {

OM_EXPORT sword OCIErrorGet(void *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText *bufp,
                            ub4 bufsiz, ub4 type)
{
    TRACE_CALL(
        "OCIErrorGet(dvoid *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText *bufp, ub4 "
        "bufsize, ub4 type)"
        "\n\thndlp=%p\n\trecordno=%d\n\tsqlstate=%p\n\terrcodep=%p\n\tbufp=%p\n\tbufsize=%d\n\ttype=%d",
        hndlp, recordno, sqlstate, errcodep, bufp, bufsiz, type);

    const om_handle_t *whndlp = find_handle(hndlp, OCI_HTYPE_ERROR);
    REQUIRE(whndlp, "whndlp != ((void *)0)");
    const ub4 target = reporting_backend(whndlp, type);

    sword rc = OCI_SUCCESS;
    switch (target) {
    case OM_TARGET_ORACLE:
        TRACE(OM_LOG_INFO, "The last error is oracle(%d)", whndlp->last_err);
        rc = ora_func_table.funcs.func_OCIErrorGet(hndlp, recordno, sqlstate, errcodep, bufp, bufsiz, type);
        break;
    case OM_TARGET_DRAVIK:
        TRACE(OM_LOG_INFO, "The last error is dravik(%d)", whndlp->last_err);
        rc = dk_func_table.funcs.func_OCIErrorGet(whndlp->dk_hndlp, recordno, sqlstate, errcodep, bufp,
                                                  bufsiz, type);
        break;
    default:
        STOP_BECAUSE("There is no erros, it's wrong.");
    }

    trace_refresh();
    const int level = rc == OCI_SUCCESS || rc == OCI_SUCCESS_WITH_INFO ? OM_LOG_INFO : OM_LOG_ERROR;
    if (!trace_enabled(level))
        return rc;
    // Oracle's text may be wide: it is shown narrowed too. Dravik's is not.
    const narrowed_text c_sid(target == OM_TARGET_ORACLE ? bufp : nullptr, readable_bytes(bufp, bufsiz));
    TRACE(level,
          "END FUNC - OCIErrorGet()\n\treturn rc=%d\n\tsqlstate=%.*s\n\terrcodep=%d\n\tbufp=%.*s, c_sid=%s",
          rc, TRACE_TEXT(sqlstate), (int)(size_t)errcodep, TRACE_TEXT(bufp), c_sid.text);
    return rc;
}

} // extern "C"
