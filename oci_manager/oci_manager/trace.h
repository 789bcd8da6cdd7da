/*
 * The trace log: one text file a process, one record a line or more, written at a level chosen by the
 * environment. All state is thread-local, so nothing here takes a lock.
 */
#ifndef OM_TRACE_H
#define OM_TRACE_H

#include <time.h>

#include "readable.h"
#include "thread_state.h"
#include "trace_settings.h"

extern "C" {

/** 1 once initLog has run in this thread. */
extern OM_EXPORT __thread unsigned char cLogInit;
/** Directory of the log file, zero-terminated; from DKOM_LOG_PATH. */
extern OM_EXPORT __thread char cLogRoot[1024];
/** Middle component of the log file's path; empty unless a program fills it. */
extern OM_EXPORT __thread char cLogDate[10];
/** Name of the log file: "om_" and the process id that this thread's first record saw. */
extern OM_EXPORT __thread char cLogFileName[128];
/** Highest level that this thread writes. */
extern OM_EXPORT __thread int LOG_LVL;
/** Time, in seconds since the epoch, after which DKOM_LOG_LEVEL is read again. */
extern OM_EXPORT __thread unsigned int lStandardSec;

/** Sets up this thread's log state from the environment. writeLog calls it when needed. */
OM_EXPORT void initLog(void);

/**
 * Appends one record to the log file.
 *
 * @param lvl       one of the levels above; any other level yields a record without a message
 * @param filename  source file of the caller; its last path component is printed
 * @param line      source line of the caller
 * @param format    printf format of the message, which is cut to 7999 bytes
 *
 * A record above LOG_LVL is dropped. A file that cannot be opened drops the record silently: a trace never
 * changes the outcome of a call. errno is preserved. Safe in signal handlers and forked children: nothing is
 * locked, allocated or shared, and the calling thread is not cancelled in here.
 */
OM_EXPORT void writeLog(int lvl, const char *filename, int line, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

} // extern "C"

/* Sets the log up if that is still to do, and reads DKOM_LOG_LEVEL if its time has run out. */
void trace_reread_level(unsigned int now);

/* Whether a record of this level is written. */
static inline bool trace_enabled(int level)
{
    return __builtin_expect(level <= this_thread()->LOG_LVL, 0);
}

static inline void trace_refresh_of(const om_thread_t *thread)
{
    const unsigned int now = (unsigned int)time(nullptr);
    if (__builtin_expect(!thread->cLogInit || thread->lStandardSec < now, 0))
        trace_reread_level(now);
}

/* Lets a change of DKOM_LOG_LEVEL take effect once this thread's minute has run out. */
static inline void trace_refresh(void)
{
    trace_refresh_of(this_thread());
}

/* Longest message of a record, in bytes. */
#define OM_LONGEST_MESSAGE 7999

/*
 * A text of the program for the conversion %.*s: what of it can be read up to its zero byte. A null text is
 * printed as "(null)", for which the conversion asks for room.
 */
#define TRACE_TEXT(text)                                                                                     \
    (int)((text) ? readable_text((text), OM_LONGEST_MESSAGE) : sizeof "(null)" - 1), (const char *)(text)

/*
 * Trace sites. A site whose level is off costs one comparison; its arguments are not evaluated.
 *
 * Some sites name a line number of their own. Readers of traces know these records by their number, so it
 * is kept when the source around it moves.
 */
#define TRACE_AT(level, line, ...)                                                                           \
    do {                                                                                                     \
        if (trace_enabled(level))                                                                            \
            writeLog((level), __FILE__, (line), __VA_ARGS__);                                                \
    } while (0)
#define TRACE(level, ...) TRACE_AT(level, __LINE__, __VA_ARGS__)

/* A record that follows a backend call, which may have taken longer than the level is valid for. */
#define TRACE_RESULT_AT(level, line, ...)                                                                    \
    do {                                                                                                     \
        trace_refresh();                                                                                     \
        TRACE_AT(level, line, __VA_ARGS__);                                                                  \
    } while (0)
#define TRACE_RESULT(level, ...) TRACE_RESULT_AT(level, __LINE__, __VA_ARGS__)

/* The first record of a function that a program calls: its bare name. */
#define TRACE_ENTRY()                                                                                        \
    do {                                                                                                     \
        trace_refresh_of(enter_thread());                                                                    \
        TRACE(OM_LOG_TRACE, "%s", __func__);                                                                 \
    } while (0)

/* The first two records of an exported call: its name, then its declaration and arguments. */
#define TRACE_CALL(...)                                                                                      \
    do {                                                                                                     \
        TRACE_ENTRY();                                                                                       \
        TRACE(OM_LOG_INFO, __VA_ARGS__);                                                                     \
    } while (0)

#endif
