/*
 * The trace log of the extended edition: records of the same shape as the exact edition's, with the thread
 * behind the time, in a file of the same name.
 *
 * The file is the owner's alone (mode 0600) and never one behind a link; writing waits for nothing, locks
 * nothing and allocates nothing, so that records may be written in signal handlers and forked children. A
 * program with the rights of another user writes no trace: its environment is its caller's.
 *
 *   DKOM_LOG_PATH       directory of om_<process>.log and of the control file; the working directory if unset
 *   DKOM_LOG_LEVEL      highest level that is written; read when the library is loaded
 *   om_<process>.level  a file with a number, the level from now on; looked at once a second at most
 */
#ifndef OMX_TRACE_LOG_H
#define OMX_TRACE_LOG_H

#include <oci.h>

#include "../oci_manager/trace.h"

/* Highest level that is written. A call tests it with one load and one comparison. */
extern int omx_trace_level __attribute__((visibility("hidden")));

static inline bool omx_traces(int level)
{
    return __builtin_expect(__atomic_load_n(&omx_trace_level, __ATOMIC_RELAXED) >= level, 0);
}

/* Looks at the control file if a second has passed since the last look. Called where a call takes long
 * anyway. */
void omx_look_at_control_file(void);

/**
 * Appends one record.
 *
 * @param level   one of the levels of trace.h
 * @param format  of the message, which is cut to OM_LONGEST_MESSAGE bytes
 *
 * errno is preserved. A record that cannot be written is lost: a trace never changes the outcome of a call.
 */
void omx_write_record(int level, const char *file, int line, const char *format, ...)
    __attribute__((cold, format(printf, 4, 5)));

#define OMX_TRACE(level, ...)                                                                                \
    do {                                                                                                     \
        if (omx_traces(level))                                                                               \
            omx_write_record((level), __FILE__, __LINE__, __VA_ARGS__);                                      \
    } while (0)

#endif
