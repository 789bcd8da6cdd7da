/*
 * Reading errors, from the backend that reported last or from the manager, and other texts that a call writes
 * into the program's buffer.
 */
#include <string.h>

#include "written.h"

namespace
{

/* Puts a text in the program's encoding, cut to whole characters, with a terminating zero. */
void put_text(const omx_handle *h, const char *text, OraText *bufp, ub4 bufsiz)
{
    if (!bufp || bufsiz == 0)
        return;
    const size_t length = strlen(text);
    if (!omx_environment_of(h)->is_utf16) {
        const size_t count = length < bufsiz ? length : bufsiz - 1;
        memcpy(bufp, text, count);
        bufp[count] = '\0';
        return;
    }
    if (bufsiz < 2)
        return;
    const size_t count = omx_to_utf16(text, length, bufp, bufsiz - 2);
    memset(bufp + count, 0, 2);
}

sword own_record(const omx_handle *h, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText *bufp,
                 ub4 bufsiz)
{
    const omx_error_record *record = omx_record(h, recordno);
    if (!record)
        return OCI_NO_DATA;
    if (sqlstate)
        *sqlstate = '\0';
    if (errcodep)
        *errcodep = record->code;
    put_text(h, record->text, bufp, bufsiz);
    return OCI_SUCCESS;
}

sword backend_record(omx_handle *h, unsigned int backend, ub4 recordno, OraText *sqlstate, sb4 *errcodep,
                     OraText *bufp, ub4 bufsiz, ub4 type)
{
    OMX_NEED(OCIErrorGet, backend, h);
    if (backend == omx_oracle || !omx_environment_of(h)->is_utf16)
        return omx_calls.OCIErrorGet[backend](h->backend[backend], recordno, sqlstate, errcodep, bufp, bufsiz,
                                              type);
    char text[4096] = {};
    const sword rc = omx_calls.OCIErrorGet[backend](h->backend[backend], recordno, sqlstate, errcodep,
                                                    (OraText *)text, (ub4)sizeof text - 1, type);
    if (omx_succeeded(rc))
        put_text(h, text, bufp, bufsiz);
    return rc;
}

/* Gets a text about a server; `get` is called with where the backend writes it. */
template <class Get> sword get_server_text(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, Get get)
{
    omx_handle *h = omx_find_any(hndlp);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const unsigned int backend = h->run;
    if (backend == omx_oracle || !omx_environment_of(h)->is_utf16)
        return omx_done(errh, backend, get(h, errh, backend, bufp, bufsz));
    char text[1024] = {};
    const sword rc = omx_done(errh, backend, get(h, errh, backend, (OraText *)text, (ub4)sizeof text - 1));
    if (omx_succeeded(rc))
        put_text(h, text, bufp, bufsz);
    return rc;
}

} // namespace

namespace written
{

sword OCIServerVersion(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype)
{
    return get_server_text(
        hndlp, errhp, bufp, bufsz,
        [=](omx_handle *h, omx_handle *errh, unsigned int backend, OraText *text, ub4 size) -> sword {
            OMX_NEED(OCIServerVersion, backend, errh);
            return omx_calls.OCIServerVersion[backend](h->backend[backend], omx_own<OCIError>(errh, backend),
                                                       text, size, hndltype);
        });
}

sword OCIServerRelease(void *hndlp, OCIError *errhp, OraText *bufp, ub4 bufsz, ub1 hndltype, ub4 *version)
{
    return get_server_text(
        hndlp, errhp, bufp, bufsz,
        [=](omx_handle *h, omx_handle *errh, unsigned int backend, OraText *text, ub4 size) -> sword {
            OMX_NEED(OCIServerRelease, backend, errh);
            return omx_calls.OCIServerRelease[backend](h->backend[backend], omx_own<OCIError>(errh, backend),
                                                       text, size, hndltype, version);
        });
}

sword OCIErrorGet(void *hndlp, ub4 recordno, OraText *sqlstate, sb4 *errcodep, OraText *bufp, ub4 bufsiz,
                  ub4 type)
{
    omx_handle *h = omx_find_typed(hndlp, type);
    if (!h || (type != OCI_HTYPE_ERROR && type != OCI_HTYPE_ENV))
        return OCI_INVALID_HANDLE;
    switch (h->reported) {
    case omx_report_oracle:
        return backend_record(h, omx_oracle, recordno, sqlstate, errcodep, bufp, bufsiz, type);
    case omx_report_dravik:
        return backend_record(h, omx_dravik, recordno, sqlstate, errcodep, bufp, bufsiz, type);
    case omx_report_manager:
        return own_record(h, recordno, sqlstate, errcodep, bufp, bufsiz);
    default:
        // Nobody notes who reports on an environment.
        if (type == OCI_HTYPE_ENV)
            return backend_record(h, h->run, recordno, sqlstate, errcodep, bufp, bufsiz, type);
        return OCI_NO_DATA;
    }
}

} // namespace written
