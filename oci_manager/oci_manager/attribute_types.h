/*
 * Which attributes carry a handle or descriptor as their value, and which are refused.
 */
#ifndef OM_ATTRIBUTE_TYPES_H
#define OM_ATTRIBUTE_TYPES_H

#include <oci.h>

#include "trace.h"

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

/* What an attribute's value is: a handle or descriptor of a type, or a plain value, for which both are 0. */
typedef struct attribute_value_s {
    sword htype;
    sword dtype;
} attribute_value;

static inline bool is_plain(attribute_value value)
{
    return value.htype == 0 && value.dtype == 0;
}

/* get_attr_type() without its look at the clock, and without its record. */
void classify_attribute_traced(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype);
attribute_value attribute_value_of(ub4 hdl_type, ub4 attr_type);

/* get_attr_type() for calls of this library, which have looked at the clock already. */
static inline attribute_value classify_attribute(ub4 hdl_type, ub4 attr_type)
{
    if (!trace_enabled(OM_LOG_DEBUG))
        return attribute_value_of(hdl_type, attr_type);
    attribute_value value;
    classify_attribute_traced(hdl_type, attr_type, &value.htype, &value.dtype);
    return value;
}

#endif
