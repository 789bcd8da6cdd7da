/*
 * The OCI, release 11g, for Linux x86-64, in C99 and C++: types, constants and the prototypes of all entry
 * points. Each header can also be included alone. The headers that have no oci_ before their name are other
 * names of these, which applications include.
 */
#ifndef OCI_H
#define OCI_H

/* The release that these declarations are of. */
#define OCI_MAJOR_VERSION 11
#define OCI_MINOR_VERSION 2

#include "oci_anydata.h"
#include "oci_cartridge.h"
#include "oci_collection.h"
#include "oci_constants.h"
#include "oci_datetime.h"
#include "oci_direct_path.h"
#include "oci_environment.h"
#include "oci_lob.h"
#include "oci_nls.h"
#include "oci_number.h"
#include "oci_object.h"
#include "oci_object_type.h"
#include "oci_pickler.h"
#include "oci_pool.h"
#include "oci_queue.h"
#include "oci_security.h"
#include "oci_session.h"
#include "oci_statement.h"
#include "oci_thread.h"
#include "oci_types.h"
#include "oci_v7.h"
#include "oci_xml.h"

#endif
