/*
 * What the values of attributes are, as far as the manager has to know: handles and descriptors, which each
 * backend has its own of, texts, which are encoded as the environment's are, and callbacks that are given
 * handles. Everything else is handed on as it is.
 */
#ifndef OMX_ATTRIBUTE_KINDS_H
#define OMX_ATTRIBUTE_KINDS_H

#include <oci.h>

enum class attribute_kind : ub1 {
    plain,
    handle,     /* a handle or descriptor of `type` */
    list,       /* an array of them */
    text,       /* with a length in bytes */
    failover,   /* OCIFocbkStruct */
    notify,     /* OCISubscriptionNotify */
    notify_ctx, /* its context */
    event,      /* OCIEventCallback */
    event_ctx,  /* its context */
    chosen,     /* DKOM_ATTR_BACKEND, the manager's own */
};

struct attribute_value_kind {
    attribute_kind kind;
    ub1 type;
};

attribute_value_kind omx_attribute_kind_of(ub4 hdl_type, ub4 attr_type);

/* Attributes that are not plain, a bit each. */
constexpr ub4 omx_attribute_types = 82;
constexpr ub4 omx_attribute_numbers = 512;
struct omx_attribute_row {
    ub1 bits[omx_attribute_numbers / 8];
};
struct omx_attribute_bits {
    omx_attribute_row of_type[omx_attribute_types];
};
extern const omx_attribute_bits omx_special_attributes __attribute__((visibility("hidden")));

/* Whether a value is handed on as it is: most are. */
static inline bool omx_is_plain_attribute(ub4 hdl_type, ub4 attr_type)
{
    return hdl_type >= omx_attribute_types || attr_type >= omx_attribute_numbers ||
           !(omx_special_attributes.of_type[hdl_type].bits[attr_type / 8] >> attr_type % 8 & 1);
}

#endif
