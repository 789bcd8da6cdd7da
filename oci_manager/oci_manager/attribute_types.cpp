#include "attribute_types.h"

#include "fatal.h"

namespace
{

/*
 * Stops the process. Each refusal is known by two trace lines, its reason's and the one behind it, and by the
 * name of the function that programs know.
 */
[[noreturn]] void refuse(const char *reason, int line)
{
    STOP_BECAUSE_IN("get_attr_type", line, line + 1, "%s", reason);
}

[[noreturn]] void refuse_attribute(int line)
{
    refuse("This type is not supported", line);
}

constexpr attribute_value plain_value = {0, 0};

constexpr attribute_value handle_value(sword htype)
{
    return {htype, 0};
}

constexpr attribute_value descriptor_value(sword dtype)
{
    return {0, dtype};
}

} // namespace

extern "C" void get_attr_type(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype)
{
    trace_refresh();
    classify_attribute_traced(hdl_type, attr_type, htype, dtype);
}

void classify_attribute_traced(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype)
{
    *htype = 0;
    *dtype = 0;
    TRACE(OM_LOG_DEBUG, "get_attr_type:hdl_type[%d] attr_type[%d] htype[%p] dtype[%p]", hdl_type, attr_type,
          htype, dtype);
    const attribute_value value = attribute_value_of(hdl_type, attr_type);
    *htype = value.htype;
    *dtype = value.dtype;
}

attribute_value attribute_value_of(ub4 hdl_type, ub4 attr_type)
{
    switch (hdl_type) {
    case OCI_HTYPE_SVCCTX:
        switch (attr_type) {
        case OCI_ATTR_ENV:
            return handle_value(OCI_HTYPE_ENV);
        case OCI_ATTR_SERVER:
            return handle_value(OCI_HTYPE_SERVER);
        case OCI_ATTR_SESSION:
            return handle_value(OCI_HTYPE_SESSION);
        case OCI_ATTR_TRANS:
            return handle_value(OCI_HTYPE_TRANS);
        default:
            break;
        }
        break;
    case OCI_HTYPE_STMT:
        if (attr_type == OCI_ATTR_CHNF_REGHANDLE)
            return handle_value(OCI_HTYPE_SUBSCRIPTION);
        if (attr_type == OCI_ATTR_ROWID)
            return descriptor_value(OCI_DTYPE_ROWID);
        break;
    case OCI_HTYPE_DESCRIBE:
        if (attr_type == OCI_ATTR_PARAM)
            return descriptor_value(OCI_DTYPE_PARAM);
        break;
    case OCI_HTYPE_SERVER:
        if (attr_type == OCI_ATTR_ENV)
            return handle_value(OCI_HTYPE_ENV);
        if (attr_type == OCI_ATTR_FOCBK)
            refuse_attribute(1857);
        else if (attr_type == OCI_ATTR_APPCTX_LIST)
            refuse_attribute(1863);
        break;
    case OCI_HTYPE_SUBSCRIPTION:
        if (attr_type == OCI_ATTR_SERVER_DNS)
            refuse_attribute(1881);
        break;
    case OCI_DTYPE_AQENQ_OPTIONS:
        if (attr_type == OCI_ATTR_RELATIVE_MSGID)
            refuse_attribute(1911);
        break;
    case OCI_DTYPE_AQDEQ_OPTIONS:
        if (attr_type == OCI_ATTR_DEQ_MSGID)
            refuse_attribute(1917);
        break;
    case OCI_DTYPE_AQMSG_PROPERTIES:
        if (attr_type == OCI_ATTR_RECIPIENT_LIST || attr_type == OCI_ATTR_SENDER_ID ||
            attr_type == OCI_ATTR_ORIGINAL_MSGID)
            refuse_attribute(1925);
        break;
    case OCI_DTYPE_AQNFY_DESCRIPTOR:
        if (attr_type == OCI_ATTR_CHNF_TABLENAMES || attr_type == OCI_ATTR_CHDES_TABLE_CHANGES ||
            attr_type == OCI_ATTR_CHDES_TABLE_ROW_CHANGES)
            refuse_attribute(1937);
        break;
    default:
        // All other handle and descriptor types have plain attributes only.
        if (hdl_type < OCI_HTYPE_FIRST || (hdl_type > OCI_HTYPE_LAST && hdl_type < OCI_DTYPE_FIRST) ||
            hdl_type > OCI_DTYPE_ROW_CHDES)
            refuse("Not implemented type", 1957);
        break;
    }
    return plain_value;
}
