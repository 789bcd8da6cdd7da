/*
 * What every exported call is made of: finding the wrappers of its handles, choosing the backend, handing it
 * the right handles and texts, and recording which backend reported.
 *
 * Oracle is always given the program's own pointers, Dravik the twins. Files of calls include this header
 * and no other file of calls.
 */
#ifndef OM_DISPATCH_H
#define OM_DISPATCH_H

#include <stdlib.h>
#include <string.h>

#include <oci.h>

#include "backends.h"
#include "fatal.h"
#include "registry.h"

/* Result of a backend that was not called, in calls that may run on both; no OCI call returns it. */
#define OM_NOT_CALLED 7777

/* The result of a call that may have run on both: Oracle's, if it was called. */
static inline sword result_of(sword rc, sword dk_rc)
{
    return rc != OM_NOT_CALLED ? rc : dk_rc;
}

/*
 * The wrapper under a key, or null; a null key has none. Most lookups leave no record and need no more than
 * the index.
 */
static inline om_handle_t *find_entry(const void *key, sword type, sword entry_type)
{
    hdl_hash_table_t *tblp = thread_table();
    if (__builtin_expect(trace_enabled(OM_LOG_ERROR) || !tblp || !key || !is_accepted_type(type, entry_type),
                         0))
        return get_hash_table_entry(tblp, (void *)key, type, 0, entry_type);
    return index_find(tblp, key);
}

static inline om_handle_t *find_handle(const void *hndlp, ub4 type)
{
    return find_entry(hndlp, (sword)type, OM_ENTRY_HANDLE);
}

static inline om_handle_t *find_descriptor(const void *descp, ub4 type)
{
    return find_entry(descp, (sword)type, OM_ENTRY_DESCRIPTOR);
}

/* Takes a wrapper out of the table, if there is one. */
static inline om_handle_t *remove_handle(void *hndlp, ub4 type)
{
    return get_hash_table_entry(thread_table(), hndlp, (sword)type, 1, OM_ENTRY_HANDLE);
}

static inline om_handle_t *remove_descriptor(void *descp, ub4 type)
{
    return get_hash_table_entry(thread_table(), descp, (sword)type, 1, OM_ENTRY_DESCRIPTOR);
}

/* Makes a wrapper known under its Oracle handle. */
static inline void enter_handle(om_handle_t *whndlp, ub4 type)
{
    put_hash_table_entry(thread_table(), whndlp, (sword)type, OM_ENTRY_HANDLE);
}

static inline void enter_descriptor(om_handle_t *wdescp, ub4 type)
{
    put_hash_table_entry(thread_table(), wdescp, (sword)type, OM_ENTRY_DESCRIPTOR);
}

/* Attribute and parameter calls take either; the type tells which. */
static inline om_handle_t *find_handle_or_descriptor(const void *hndlp, ub4 type)
{
    return type < OCI_DTYPE_FIRST ? find_handle(hndlp, type) : find_descriptor(hndlp, type);
}

/* As the two above, for calls that do not look up a null pointer at all. */
static inline om_handle_t *find_handle_if_given(const void *hndlp, ub4 type)
{
    return hndlp ? find_handle(hndlp, type) : nullptr;
}

static inline om_handle_t *find_descriptor_if_given(const void *descp, ub4 type)
{
    return descp ? find_descriptor(descp, type) : nullptr;
}

/* What a pointer variable of the program holds; programs may pass no variable. */
template <class T> static inline void *value_of(T **variablep)
{
    return variablep ? (void *)*variablep : nullptr;
}

/**
 * Whether `target` (OM_TARGET_ORACLE or OM_TARGET_DRAVIK) executes calls on this handle: 1 or 0. Writes the
 * routing record when it does. A null wrapper stops the process.
 */
static inline ub1 check_run_for(const om_handle_t *whdlp, ub4 target)
{
    REQUIRE(whdlp, "0");
    if (!(whdlp->last_exec & target))
        return 0;
    if (target == OM_TARGET_ORACLE)
        TRACE(OM_LOG_INFO, "[ORACLE] OCI API will be executed");
    else
        TRACE(OM_LOG_INFO, "[DRAVIK] OCI API will be executed");
    return 1;
}

/* The handle to give to Dravik in place of the program's; null for a handle without wrapper. */
template <class T> static inline T *twin(const om_handle_t *whndlp)
{
    return whndlp ? (T *)whndlp->dk_hndlp : nullptr;
}

/* The variable of a wrapper into which Dravik writes a new twin. */
template <class T> static inline T **twin_variable(om_handle_t *whndlp)
{
    return (T **)(void *)&whndlp->dk_hndlp;
}

/* Records on the error handle, if it is known, that a backend reported. */
static inline void record_error(om_handle_t *werrhp, ub4 target)
{
    if (werrhp)
        werrhp->last_err = target;
}

/* Result of a backend call whose failures are recorded. Every result but OCI_SUCCESS counts as one. */
static inline sword reported(om_handle_t *werrhp, ub4 target, sword rc)
{
    if (__builtin_expect(rc != OCI_SUCCESS, 0))
        record_error(werrhp, target);
    return rc;
}

/**
 * Copies `len_org` bytes of a text, leaving out every zero byte, and terminates the copy. Two-byte text in
 * the ASCII range so becomes 8-bit text, and 8-bit text stays as it is. A null text or a length below 1
 * gives the empty text.
 *
 * @param str_cvt  room for len_org + 1 bytes
 */
void utf16_2_utf8(const unsigned char *str_org, int len_org, char *str_cvt);

/*
 * A narrowed copy of a text argument: what Dravik is given, and what traces show beside the raw text.
 * Short texts need no allocation. Should memory be out, `text` is null and `length` 0.
 */
struct narrowed_text {
    char *text;
    ub4 length; /* bytes, without the terminating zero */

    narrowed_text(const OraText *source, oraub8 source_length);
    ~narrowed_text()
    {
        if (text != room)
            free(text);
    }
    narrowed_text(const narrowed_text &) = delete;
    narrowed_text &operator=(const narrowed_text &) = delete;

    const OraText *oci_text() const { return (const OraText *)text; }

private:
    char room[128];
};

/*
 * Whether a call could not be carried out on Dravik for want of its text. Dravik must not be given another:
 * no link at all, for one, is the link of its local database.
 */
static inline bool cannot_serve(const om_handle_t *whndlp, const narrowed_text &text)
{
    return __builtin_expect(!text.text, 0) && (whndlp->last_exec & OM_TARGET_DRAVIK);
}

/* The result of such a call. The program is led to ask the given backend for its error record. */
sword end_without_text(const char *function, om_handle_t *werrhp, ub4 target);

/*
 * The first error record of a handle, read for the trace only. The texts are "" when nothing was read. No
 * SQL state is asked for: traces show it as "(null)".
 */
struct error_probe {
    sb4 code = 0;

    error_probe() = default;
    ~error_probe() { free(buffers); }
    error_probe(const error_probe &) = delete;
    error_probe &operator=(const error_probe &) = delete;

    /* Asks a backend for record 1 of an error handle of its own, which may be null. */
    void read(const oci_function_table_t &backend, OCIError *errhp);

    /* The text as the backend wrote it. */
    const char *text() const { return buffers ? buffers : ""; }
    /* The same, narrowed; made at the first call. */
    const char *narrowed();

private:
    char *buffers = nullptr; /* the text, then room for its narrowed copy */
};

#endif
