/*
 * What the library keeps per thread, in one place, so that a call finds all of it with one step of the
 * loader's thread-local machinery.
 *
 * The members are also exported, each under its own name, as thread-local variables that a program may read
 * and write; inside the library they are reached through this_thread() only.
 */
#ifndef OM_THREAD_STATE_H
#define OM_THREAD_STATE_H

#define OM_EXPORT __attribute__((visibility("default")))

struct hdl_hash_table_s;

typedef struct om_thread_s {
    int LOG_LVL;                           /* highest level that this thread writes */
    unsigned int lStandardSec;             /* when the level is read again, in seconds since the epoch */
    struct hdl_hash_table_s *hdl_list_tbl; /* wrappers of this thread's handles; null before the first */
    unsigned char cLogInit;                /* 1 once initLog has run */
    alignas(16) char cLogRoot[1024];       /* directory of the log file */
    alignas(16) char cLogFileName[128];    /* its name, with the process id of the first record */
    char cLogDate[10];                     /* middle component of its path; empty unless a program fills it */
    unsigned long zone_known;              /* minute and offset of local time that were found last */
    unsigned long zone_name_hash;          /* of the value of TZ that they were found for */
} om_thread_t;

/* Named for the assembler as well; hidden, so that it is reached without asking the dynamic symbol table. */
extern "C" __attribute__((visibility("hidden"))) __thread om_thread_t om_thread;

/* The calling thread's state. Constant within a thread, so that the compiler asks once a call. */
om_thread_t *this_thread(void) __attribute__((const));

/* The same for the start of an exported call. */
static inline om_thread_t *enter_thread(void)
{
#if OM_TLS_DESCRIPTORS
    // A descriptor is asked in place, without the call of a function. Told that this_thread() yields the
    // same, the compiler needs no call of it in what follows either. It is kept from knowing the variable
    // behind the pointer, since it would ask anew for each member.
    const om_thread_t *known = this_thread();
    om_thread_t *thread = &om_thread;
    asm("" : "+r"(thread));
    if (known != thread)
        __builtin_unreachable();
    return thread;
#else
    return this_thread();
#endif
}

#endif
