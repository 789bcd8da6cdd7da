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

} // namespace

extern "C" void get_attr_type(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype)
{
    trace_refresh();
    classify_attribute(hdl_type, attr_type, htype, dtype);
}

void classify_attribute(ub4 hdl_type, ub4 attr_type, sword *htype, sword *dtype)
{
    *htype = 0;
    *dtype = 0;
    TRACE(OM_LOG_DEBUG, "get_attr_type:hdl_type[%d] attr_type[%d] htype[%p] dtype[%p]", hdl_type, attr_type,
          htype, dtype);

    switch (hdl_type) {
    case OCI_HTYPE_SVCCTX:
        switch (attr_type) {
        case OCI_ATTR_ENV:
            *htype = OCI_HTYPE_ENV;
            break;
        case OCI_ATTR_SERVER:
            *htype = OCI_HTYPE_SERVER;
            break;
        case OCI_ATTR_SESSION:
            *htype = OCI_HTYPE_SESSION;
            break;
        case OCI_ATTR_TRANS:
            *htype = OCI_HTYPE_TRANS;
            break;
        default:
            break;
        }
        break;
    case OCI_HTYPE_STMT:
        if (attr_type == OCI_ATTR_CHNF_REGHANDLE)
            *htype = OCI_HTYPE_SUBSCRIPTION;
        else if (attr_type == OCI_ATTR_ROWID)
            *dtype = OCI_DTYPE_ROWID;
        break;
    case OCI_HTYPE_DESCRIBE:
        if (attr_type == OCI_ATTR_PARAM)
            *dtype = OCI_DTYPE_PARAM;
        break;
    case OCI_HTYPE_SERVER:
        if (attr_type == OCI_ATTR_ENV)
            *htype = OCI_HTYPE_ENV;
        else if (attr_type == OCI_ATTR_FOCBK)
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
}
