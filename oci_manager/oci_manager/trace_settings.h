/*
 * What a trace is told from outside: variables, levels and the name of the file. Both editions write by it,
 * and dkom-check tells by it what will be written.
 */
#ifndef OM_TRACE_SETTINGS_H
#define OM_TRACE_SETTINGS_H

#define OM_LOG_PATH_VARIABLE "DKOM_LOG_PATH"
#define OM_LOG_LEVEL_VARIABLE "DKOM_LOG_LEVEL"

/* Record levels. A record is written when its level is at most the one that is set. */
#define OM_LOG_ASSERT 10 /* the reason of a fatal stop */
#define OM_LOG_ERROR 20  /* a failed call, a lookup that found nothing */
#define OM_LOG_INFO 30   /* arguments, results, routing, insertions */
#define OM_LOG_DEBUG 40  /* lookups and intermediate results */
#define OM_LOG_LIST 45   /* a row of a handle table dump */
#define OM_LOG_TRACE 50  /* entry of an exported call */

#define OM_DEFAULT_LEVEL OM_LOG_ASSERT

/* Names of the file, and of the extended edition's control file: formats with the process as a long. */
#define OM_LOG_FILE_FORMAT "om_%ld.log"
#define OM_CONTROL_FILE_FORMAT "om_%ld.level"

/* Modes of the file that a record makes, before the umask. */
#define OM_LOG_MODE 0666
#define OMX_LOG_MODE 0600

#endif
