#include "errors.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "extras.h"
#include "libraries.h"
#include "text.h"
#include "trace_log.h"

namespace
{

omx_records **records_of(const omx_handle *errh)
{
    if (errh->type == OCI_HTYPE_ENV)
        return errh->extra ? &((omx_environment *)errh->extra)->records : nullptr;
    return (omx_records **)(void *)const_cast<void **>(&errh->extra);
}

/* The next record to fill, or null when memory is out or all are full. */
omx_error_record *next_record(omx_handle *errh)
{
    omx_records **place = records_of(errh);
    if (!place)
        return nullptr;
    if (!*place)
        *place = (omx_records *)calloc(1, sizeof(omx_records));
    if (!*place || (*place)->count == omx_error_records)
        return nullptr;
    errh->reported = omx_report_manager;
    return &(*place)->record[(*place)->count++];
}

/* Numbers of the databases stand in front of their texts already. */
void write_record(omx_error_record *record, sb4 code, const char *format, va_list arguments)
{
    record->code = code;
    const int length = snprintf(record->text, sizeof record->text, "DKOM-%05d: ", code);
    vsnprintf(record->text + length, sizeof record->text - (size_t)length, format, arguments);
}

} // namespace

sword omx_fail(omx_handle *errh, omx_error code, const char *format, ...)
{
    if (!errh)
        return OCI_ERROR;
    omx_forget_errors(errh);
    if (omx_error_record *record = next_record(errh)) {
        va_list arguments;
        va_start(arguments, format);
        write_record(record, code, format, arguments);
        va_end(arguments);
        OMX_TRACE(OM_LOG_ERROR, "%s", record->text);
    }
    return OCI_ERROR;
}

void omx_forget_errors(omx_handle *errh)
{
    if (!errh)
        return;
    errh->reported = omx_report_none;
    omx_records **place = records_of(errh);
    if (place && *place)
        (*place)->count = 0;
}

void omx_add_reason(omx_handle *errh, unsigned int backend, sword rc)
{
    omx_error_record *record = errh ? next_record(errh) : nullptr;
    if (!record)
        return;
    record->text[0] = '\0';
    // The program's own texts may be UTF-16; Dravik's library writes UTF-8 always.
    const bool wide = backend == omx_oracle && omx_environment_of(errh)->is_utf16;
    OraText raw[sizeof record->text] = {};
    sword got = OCI_ERROR;
    if (omx_calls.OCIErrorGet[backend] && errh->backend[backend])
        got = omx_calls.OCIErrorGet[backend](errh->backend[backend], 1, nullptr, &record->code, raw,
                                             (ub4)sizeof raw - 2, OCI_HTYPE_ERROR);
    if (got == OCI_SUCCESS || got == OCI_SUCCESS_WITH_INFO) {
        if (wide)
            omx_to_utf8((const ub1 *)raw, omx_utf16_length((const ub1 *)raw, sizeof raw), record->text,
                        sizeof record->text);
        else
            memcpy(record->text, raw, strnlen((const char *)raw, sizeof raw - 1) + 1);
    } else {
        record->code = omx_error_backend_silent;
        snprintf(record->text, sizeof record->text, "DKOM-%05d: %s refused with %d and gave no reason.",
                 omx_error_backend_silent, omx_backend_name(backend), rc);
    }
    OMX_TRACE(OM_LOG_INFO, "%s refused it\n\treturn rc=%d\n\tr_errcodep=%d\n\tr_bufp=%s",
              omx_backend_name(backend), rc, record->code, record->text);
}

const omx_error_record *omx_record(const omx_handle *errh, ub4 number)
{
    omx_records **place = records_of(errh);
    if (!place || !*place || number < 1 || number > (*place)->count)
        return nullptr;
    return &(*place)->record[number - 1];
}
