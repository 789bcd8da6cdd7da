/*
 * Bind and define variables, and the descriptors in their buffers.
 *
 * A program binds the address of a variable that holds a locator, a date, an interval, a row id or a cursor,
 * and may change the variable afterwards. So a backend is not given the program's variable but an array of
 * its own: at execute and at fetch it is filled with the backend's descriptors for those that the program's
 * variables hold at that time. Arrays of variables and variables inside structures are so served too.
 * All other buffers are the backend's to read and write.
 */
#ifndef OMX_BUFFERS_H
#define OMX_BUFFERS_H

#include "handle.h"

/* What is kept of a bind or define. */
struct omx_variable {
    uint64_t key;            /* what it is for: a position, or the hash of a name */
    uint64_t quick_position; /* where OCIBindByPos may bind it again as it is, or omx_no_position */
    omx_handle *handle;      /* the bind or define */
    ub1 family; /* of the descriptors in the buffer; 0: it holds plain values, and what follows is unused */
    bool by_name;
    bool has_skips;
    ub2 dty;
    sb4 value_sz;
    void *indp;
    ub2 *lenp;
    ub2 *rcodep;
    ub4 maxarr_len;
    ub4 *curelep;
    ub4 mode;
    char *program; /* the first of the program's variables */
    ub4 skip;      /* bytes from one to the next */
    ub4 indskip;   /* likewise of indicators, lengths and codes */
    ub4 lenskip;
    ub4 rcskip;
    ub4 room;                      /* elements in each of the arrays below */
    void **own[omx_backend_count]; /* what the backends are given in place of the program's variables */
    ub4 position;                  /* for binding again */
    OraText *name;                 /* likewise, a copy */
    sb4 name_length;
    void *in_context; /* callbacks of the program */
    OCICallbackInBind in;
    void *out_context;
    OCICallbackOutBind out;
    OCICallbackDefine define;
};

constexpr uint64_t omx_no_position = ~(uint64_t)0;

/* The family of the descriptors that buffers of an external data type hold; 0: none. */
constexpr ub1 omx_buffer_family(ub2 dty)
{
    switch (dty) {
    case SQLT_CLOB:
    case SQLT_BLOB:
    case SQLT_BFILE:
    case SQLT_CFILE:
        return OCI_DTYPE_LOB;
    case SQLT_RDD:
        return OCI_DTYPE_ROWID;
    case SQLT_DATE:
    case SQLT_TIME:
    case SQLT_TIME_TZ:
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
        return OCI_DTYPE_DATE;
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
        return OCI_DTYPE_INTERVAL_YM;
    case SQLT_RSET:
        return OCI_HTYPE_STMT;
    default:
        return 0;
    }
}

/* The variable of a bind or define. */
static inline omx_variable *omx_variable_of(const omx_handle *h)
{
    return (omx_variable *)h->extra;
}

/* Makes room for at least `count` descriptors in the arrays of a variable; false: memory is out. */
bool omx_make_room(omx_variable *v, ub4 count);

/*
 * Fills the arrays of all variables of a statement for a backend, before it executes or fetches.
 *
 * @param type   OCI_HTYPE_BIND or OCI_HTYPE_DEFINE
 * @param first  number of the first element that the call uses
 * @param count  how many it uses
 * @return OCI_SUCCESS, or the result of the whole call
 */
sword omx_fill_buffers(omx_handle *stmth, ub1 backend, ub1 type, ub4 first, ub4 count, omx_handle *errh);

/* Takes the values after the call: the program's descriptors have them in that backend alone. */
void omx_take_buffers(omx_handle *stmth, ub1 backend, ub1 type, ub4 first, ub4 count);

/* Whether a statement has variables with descriptors. */
static inline bool omx_has_buffers(const omx_handle *stmth)
{
    return stmth->extra != nullptr;
}

/* Frees what a variable has; not the variable itself. */
void omx_release_buffers(omx_variable *v);

/* Binds or defines again in a backend, with the arrays that the variable has now. */
sword omx_bind_again(omx_variable *v, ub1 backend, omx_handle *errh);

#endif
