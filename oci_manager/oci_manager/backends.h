/*
 * The two OCI client libraries behind this one, and their tables of entry points.
 *
 * Both tables are filled once a process, before the first environment is created, and only read afterwards.
 */
#ifndef OM_BACKENDS_H
#define OM_BACKENDS_H

#include <pthread.h>

#include <oci.h>

#include "entry_points.h"
#include "trace.h"

/* Backend codes: bits of a wrapper's last_exec, values of its last_err. */
#define OM_TARGET_ORACLE 1
#define OM_TARGET_DRAVIK 2
#define OM_TARGET_BOTH (OM_TARGET_ORACLE | OM_TARGET_DRAVIK)

/* One pointer type an entry point, taken from its published prototype. */
#define OM_POINTER_TYPE(name, type) typedef decltype(&::name) type;
OCI_ENTRY_POINTS(OM_POINTER_TYPE)
#undef OM_POINTER_TYPE

/** One member an entry point: func_<name>. Where the library lacks the name, it stops the process. */
typedef struct oci_function_points_s {
#define OM_MEMBER(name, type) type func_##name;
    OCI_ENTRY_POINTS(OM_MEMBER)
#undef OM_MEMBER
} oci_function_points_t;

static_assert(sizeof(oci_function_points_t) == OCI_ENTRY_POINT_COUNT * sizeof(void *));

/** One backend. */
typedef struct oci_function_table_s {
    void *oci_dl;                /**< library handle of the loader; never closed */
    oci_function_points_t funcs; /**< its entry points */
    OCIEnv *dflt_envhp;          /**< default environment; set in the Dravik table only, Oracle's handle */
    OCIError *dflt_errhp;        /**< default error handle of dflt_envhp; likewise */
} oci_function_table_t;

extern "C" {

/**
 * Resolves every entry point of a table in its library. In place of a name that is missing stands a function
 * that says so and stops the process.
 *
 * @param exec_mode  OM_TARGET_ORACLE or OM_TARGET_DRAVIK. With the latter the table's default handles are
 *                   made too, in Oracle's library: they serve calls that always run there. A failure to make
 *                   them stops the process.
 */
OM_EXPORT void oci_table_load(int exec_mode, oci_function_table_t *tablep);

/** Opens both libraries and fills both tables; a library that cannot be opened stops the process. */
OM_EXPORT void func_table_initialize(void);

/** Runs func_table_initialize once a process; returns when the tables are complete. */
OM_EXPORT void func_table_init_once(void);

} // extern "C"

extern oci_function_table_t ora_func_table;
extern oci_function_table_t dk_func_table;
extern pthread_once_t oci_func_table_once;

#endif
