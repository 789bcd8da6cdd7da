/*
 * Errors of the manager's own: what neither backend can do, or is not asked to do. A call that ends so
 * returns OCI_ERROR, and OCIErrorGet yields the number and a text that says what to do.
 */
#ifndef OMX_ERRORS_H
#define OMX_ERRORS_H

#include "handle.h"

/* Numbers, in a range that neither database uses. */
enum omx_error : sb4 {
    omx_error_no_library = 90001,     /* neither client library could be loaded */
    omx_error_no_entry_point = 90002, /* the backend lacks the call */
    omx_error_wrong_backend = 90003,  /* a handle belongs to the other backend alone */
    omx_error_foreign_value = 90004,  /* a value, such as a LOB, is of the other database */
    omx_error_not_prepared = 90005,   /* a statement is not prepared where it is to run */
    omx_error_routes = 90006,         /* DKOM_ROUTES cannot be read, or names what is not there */
    omx_error_no_memory = 90007,      /* neither memory nor address space */
    omx_error_unsupported = 90008,    /* what passes handles in a way that cannot be followed */
    omx_error_backend_silent = 90009, /* a backend refused and gave no reason */
};

/* One record of an error handle or environment. */
struct omx_error_record {
    sb4 code;
    char text[1024]; /* UTF-8 */
};
constexpr unsigned int omx_error_records = 2;

/**
 * Makes an error the only record of an error handle, or of an environment.
 *
 * @param errh  may be null: then the program learns the result alone
 * @return OCI_ERROR
 */
sword omx_fail(omx_handle *errh, omx_error code, const char *format, ...)
    __attribute__((cold, format(printf, 3, 4)));

/* Forgets all records of an error handle. */
void omx_forget_errors(omx_handle *errh);

/*
 * Adds a backend's reason for refusing a call as a record of the manager, so that the reasons of both
 * backends can be read side by side.
 */
void omx_add_reason(omx_handle *errh, unsigned int backend, sword rc);

/* The record with a number from 1, or null. */
const omx_error_record *omx_record(const omx_handle *errh, ub4 number);

/* Who has the records: a backend. */
static inline void omx_reported(omx_handle *errh, size_t backend)
{
    if (errh)
        errh->reported = (ub1)(backend + omx_report_oracle);
}

#endif
