#include "attribute_kinds.h"

#include <utility>

#include <dkom.h>

namespace
{

constexpr attribute_value_kind plain_value = {attribute_kind::plain, 0};
constexpr attribute_value_kind text_value = {attribute_kind::text, 0};

constexpr attribute_value_kind handle_value(ub1 type)
{
    return {attribute_kind::handle, type};
}

constexpr attribute_value_kind of_service(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_SERVER:
        return handle_value(OCI_HTYPE_SERVER);
    case OCI_ATTR_SESSION:
        return handle_value(OCI_HTYPE_SESSION);
    case OCI_ATTR_TRANS:
        return handle_value(OCI_HTYPE_TRANS);
    case DKOM_ATTR_BACKEND:
        return {attribute_kind::chosen, 0};
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_session(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_USERNAME:
    case OCI_ATTR_PASSWORD:
    case OCI_ATTR_CURRENT_SCHEMA:
    case OCI_ATTR_CLIENT_IDENTIFIER:
    case OCI_ATTR_EDITION:
    case OCI_ATTR_MODULE:
    case OCI_ATTR_ACTION:
    case OCI_ATTR_CLIENT_INFO:
    case OCI_ATTR_DRIVER_NAME:
    case OCI_ATTR_CONNECTION_CLASS:
        return text_value;
    case OCI_ATTR_PROXY_CREDENTIALS:
    case OCI_ATTR_MIGSESSION:
        return handle_value(OCI_HTYPE_SESSION);
    case OCI_ATTR_APPCTX_LIST:
        return handle_value(OCI_DTYPE_PARAM);
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_server(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_FOCBK:
        return {attribute_kind::failover, 0};
    case DKOM_ATTR_BACKEND:
        return {attribute_kind::chosen, 0};
    case OCI_ATTR_INTERNAL_NAME:
    case OCI_ATTR_EXTERNAL_NAME:
    case OCI_ATTR_SERVER_GROUP:
    case OCI_ATTR_HOSTNAME:
    case OCI_ATTR_DBNAME:
    case OCI_ATTR_INSTNAME:
    case OCI_ATTR_SERVICENAME:
    case OCI_ATTR_DBDOMAIN:
        return text_value;
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_statement(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_ROWID:
        return handle_value(OCI_DTYPE_ROWID);
    case OCI_ATTR_CHNF_REGHANDLE:
        return handle_value(OCI_HTYPE_SUBSCRIPTION);
    case OCI_ATTR_STATEMENT:
        return text_value;
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_parameter(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_PARAM:
    case OCI_ATTR_LIST_COLUMNS:
    case OCI_ATTR_LIST_ARGUMENTS:
    case OCI_ATTR_LIST_SUBPROGRAMS:
    case OCI_ATTR_LIST_TYPE_ATTRS:
    case OCI_ATTR_LIST_TYPE_METHODS:
    case OCI_ATTR_LIST_OBJECTS:
    case OCI_ATTR_LIST_SCHEMAS:
    case OCI_ATTR_COLLECTION_ELEMENT:
    case OCI_ATTR_MAP_METHOD:
    case OCI_ATTR_ORDER_METHOD:
        return handle_value(OCI_DTYPE_PARAM);
    case OCI_ATTR_NAME:
    case OCI_ATTR_TYPE_NAME:
    case OCI_ATTR_SCHEMA_NAME:
    case OCI_ATTR_SUB_NAME:
    case OCI_ATTR_OBJ_NAME:
    case OCI_ATTR_OBJ_SCHEMA:
    case OCI_ATTR_LINK:
        return text_value;
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_subscription(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_SUBSCR_CALLBACK:
        return {attribute_kind::notify, 0};
    case OCI_ATTR_SUBSCR_CTX:
        return {attribute_kind::notify_ctx, 0};
    case OCI_ATTR_SUBSCR_NAME:
        return text_value;
    case OCI_ATTR_SERVER_DNS:
        return handle_value(OCI_DTYPE_SRVDN);
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind of_message(ub4 attr_type)
{
    switch (attr_type) {
    case OCI_ATTR_RECIPIENT_LIST:
        return {attribute_kind::list, OCI_DTYPE_AQAGENT};
    case OCI_ATTR_SENDER_ID:
        return handle_value(OCI_DTYPE_AQAGENT);
    case OCI_ATTR_CORRELATION:
    case OCI_ATTR_EXCEPTION_QUEUE:
        return text_value;
    default:
        return plain_value;
    }
}

constexpr attribute_value_kind kind_of(ub4 hdl_type, ub4 attr_type)
{
    switch (hdl_type) {
    case OCI_HTYPE_ENV:
        if (attr_type == OCI_ATTR_EVTCBK)
            return {attribute_kind::event, 0};
        if (attr_type == OCI_ATTR_EVTCTX)
            return {attribute_kind::event_ctx, 0};
        return plain_value;
    case OCI_HTYPE_SVCCTX:
        return attr_type == OCI_ATTR_ENV ? handle_value(OCI_HTYPE_ENV) : of_service(attr_type);
    case OCI_HTYPE_SERVER:
        return attr_type == OCI_ATTR_ENV ? handle_value(OCI_HTYPE_ENV) : of_server(attr_type);
    case OCI_HTYPE_SPOOL:
        return attr_type == OCI_ATTR_SPOOL_AUTH ? handle_value(OCI_HTYPE_SESSION) : plain_value;
    case OCI_HTYPE_SESSION:
        return attr_type == OCI_ATTR_ENV ? handle_value(OCI_HTYPE_ENV) : of_session(attr_type);
    case OCI_HTYPE_STMT:
        return attr_type == OCI_ATTR_ENV ? handle_value(OCI_HTYPE_ENV) : of_statement(attr_type);
    case OCI_HTYPE_TRANS:
        return attr_type == OCI_ATTR_TRANS_NAME ? text_value : plain_value;
    case OCI_HTYPE_DESCRIBE:
    case OCI_DTYPE_PARAM:
        return of_parameter(attr_type);
    case OCI_HTYPE_SUBSCRIPTION:
        return of_subscription(attr_type);
    case OCI_DTYPE_AQMSG_PROPERTIES:
        return of_message(attr_type);
    case OCI_DTYPE_AQNFY_DESCRIPTOR:
        return attr_type == OCI_ATTR_MSG_PROP ? handle_value(OCI_DTYPE_AQMSG_PROPERTIES) : plain_value;
    case OCI_DTYPE_AQAGENT:
        return attr_type == OCI_ATTR_AGENT_NAME || attr_type == OCI_ATTR_AGENT_ADDRESS ? text_value
                                                                                       : plain_value;
    case OCI_HTYPE_EVENT:
        if (attr_type == OCI_ATTR_HA_SRVFIRST || attr_type == OCI_ATTR_HA_SRVNEXT)
            return handle_value(OCI_HTYPE_SERVER);
        return plain_value;
    default:
        return plain_value;
    }
}

/* The bits of one type. A constant of its own, since compilers limit the steps that one may take. */
template <ub4 Type>
constexpr omx_attribute_row special_attributes_of = [] {
    omx_attribute_row row = {};
    for (ub4 attribute = 0; attribute < omx_attribute_numbers; attribute++)
        if (kind_of(Type, attribute).kind != attribute_kind::plain)
            row.bits[attribute / 8] |= (ub1)(1U << attribute % 8);
    return row;
}();

template <ub4... Types>
constexpr omx_attribute_bits find_special_attributes(std::integer_sequence<ub4, Types...>)
{
    return {{special_attributes_of<Types>...}};
}

} // namespace

extern constexpr omx_attribute_bits omx_special_attributes =
    find_special_attributes(std::make_integer_sequence<ub4, omx_attribute_types>());

attribute_value_kind omx_attribute_kind_of(ub4 hdl_type, ub4 attr_type)
{
    return kind_of(hdl_type, attr_type);
}
