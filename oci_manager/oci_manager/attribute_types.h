/*
 * Which attributes carry a handle or descriptor as their value, and which are refused.
 */
#ifndef OM_ATTRIBUTE_TYPES_H
#define OM_ATTRIBUTE_TYPES_H

#include <oci.h>

#include "trace.h"

/*
 * Which attribute values OCIAttrSet takes. This edition takes handles and descriptors only, since it must
 * know both twins of whatever it sets: a plain value stops the process.
 */
#ifndef OM_ADMIT_PLAIN_ATTRIBUTES
#    define OM_ADMIT_PLAIN_ATTRIBUTES 0
#endif

extern "C" {

/**
 * Classifies an attribute.
 *
 * @param hdl_type   OCI type of the handle or descriptor that has the attribute
 * @param attr_type  OCI attribute number
 * @param htype      receives the handle type of the attribute's value, 0 if the value is no handle
 * @param dtype      receives the descriptor type of the value, 0 if it is no descriptor
 *
 * Both are 0 for a plain attribute. An attribute that the two backends cannot share and an unknown type stop
 * the process.
 */
OM_EXPORT void get_attr_type(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype);

} // extern "C"

/* The same for calls of this library, which have looked at the clock already. */
void classify_attribute(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype);

#endif
