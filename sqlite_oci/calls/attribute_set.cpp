// Attributes that OCIAttrSet changes.
#include "calls/attribute_access.h"
#include "connections/pool.h"
#include "lobs/lob.h"
#include "statements/describe.h"
#include "statements/statement.h"
#include "text/text_scan.h"
#include "variables/descriptors.h"

namespace sqlite_oci
{
namespace
{

void set(service_context &context, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_SERVER:
        context.on_server = in.handle<server>();
        return;
    case OCI_ATTR_SESSION:
        context.in_session = in.handle<session>();
        return;
    case OCI_ATTR_TRANS:
        context.of_transaction = in.handle<transaction>();
        return;
    case OCI_ATTR_STMTCACHESIZE: // statements are cached by their handles
        context.statement_cache_size = in.take<ub4>();
        return;
    default:
        refuse_attribute(context.kind, attribute);
    }
}

void set(server &on, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_EXTERNAL_NAME:
        on.external_name = in.text(*on.env);
        return;
    case OCI_ATTR_INTERNAL_NAME:
        on.internal_name = in.text(*on.env);
        return;
    case OCI_ATTR_FOCBK: // a file does not fail over: the callback is never called
        on.failover = in.source ? in.take<OCIFocbkStruct>() : OCIFocbkStruct{};
        return;
    case OCI_ATTR_SERVER_GROUP:
        on.group = in.text(*on.env);
        return;
    case OCI_ATTR_SEND_TIMEOUT:
    case OCI_ATTR_RECEIVE_TIMEOUT:
        return; // there is no network
    case OCI_ATTR_NONBLOCKING_MODE:
        fail(3001, "calls that return before they are done are not served");
    default:
        refuse_attribute(on.kind, attribute);
    }
}

std::string short_text(std::string text)
{
    constexpr std::size_t most = 64;
    if (text.size() > most)
        fail(24960, "the attribute is longer than %zu bytes, the most that are allowed", most);
    return text;
}

void set(session &user, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_USERNAME:
        user.user_name = in.text(*user.env);
        return;
    case OCI_ATTR_PASSWORD:
        user.password = in.text(*user.env);
        return;
    case OCI_ATTR_MODULE:
    case OCI_ATTR_ACTION:
    case OCI_ATTR_CLIENT_INFO:
    case OCI_ATTR_CLIENT_IDENTIFIER:
    case OCI_ATTR_DRIVER_NAME:
    case OCI_ATTR_CONNECTION_CLASS: // what a server shows its administrator: there is none here
        user.remarks[attribute] = short_text(in.text(*user.env));
        return;
    case OCI_ATTR_PURITY:
        user.purity = in.take<ub4>();
        return;
    case OCI_ATTR_DEFAULT_LOBPREFETCH_SIZE:
        return; // a fetched locator holds the whole value already
    case OCI_ATTR_CURRENT_SCHEMA:
        if (!equal_ignoring_case(in.text(*user.env), user.user_name))
            fail(1435, "a database here has no schema but the user's own");
        return;
    default:
        refuse_attribute(user.kind, attribute);
    }
}

void set(transaction &of, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_TRANS_NAME:
        of.name = in.text(*of.env);
        return;
    case OCI_ATTR_XID:
        of.xid = in.take<XID>();
        return;
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void set(connection_pool &pool, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_CONN_TIMEOUT:
        pool.timeout = in.take<ub4>();
        return;
    case OCI_ATTR_CONN_NOWAIT:
        pool.is_nowait = in.take<ub1>();
        return;
    default:
        refuse_attribute(pool.kind, attribute);
    }
}

void set(session_pool &pool, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_SPOOL_GETMODE:
        if (in.take<ub1>() > OCI_SPOOL_ATTRVAL_FORCEGET)
            fail(24315, "%u is no way to get a session", in.take<ub1>());
        pool.get_mode = in.take<ub1>();
        return;
    case OCI_ATTR_SPOOL_TIMEOUT: // idle sessions cost a file handle: they stay
        pool.timeout = in.take<ub4>();
        return;
    case OCI_ATTR_SPOOL_AUTH: // any user may use a database here
        in.handle<session>();
        return;
    case OCI_ATTR_SPOOL_STMTCACHESIZE:
        pool.statement_cache_size = in.take<ub4>();
        return;
    default:
        refuse_attribute(pool.kind, attribute);
    }
}

void set(statement &of, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_PREFETCH_ROWS:
        of.prefetch_rows = in.take<ub4>();
        return;
    case OCI_ATTR_PREFETCH_MEMORY:
        of.prefetch_memory = in.take<ub4>();
        return;
    case OCI_ATTR_NESTED_PREFETCH_ROWS:
    case OCI_ATTR_NESTED_PREFETCH_MEMORY:
        return; // all rows are here after execution
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void set(variable &of, ub4 attribute, const attribute_input &in)
{
    switch (attribute) {
    case OCI_ATTR_CHARSET_ID:
        return of.set_set_id(in.take<ub2>());
    case OCI_ATTR_CHARSET_FORM:
        return of.set_form(in.take<ub1>());
    case OCI_ATTR_MAXDATA_SIZE: // sizes of buffers on a server
        of.most_data = in.take<sb4>();
        return;
    case OCI_ATTR_MAXCHAR_SIZE:
        of.most_characters = in.take<sb4>();
        return;
    case OCI_ATTR_LOBPREFETCH_SIZE:
        of.lob_prefetch_size = in.take<ub4>();
        return;
    default:
        refuse_attribute(of.kind, attribute);
    }
}

// An empty LOB to be bound: a program sets the attribute to 0.
void set(lob_locator &of, ub4 attribute, const attribute_input &in)
{
    if (attribute != OCI_ATTR_LOBEMPTY)
        refuse_attribute(of.kind, attribute);
    in.take<ub4>();
    of.point_to(std::make_shared<lob>(true, ""));
}

} // namespace

void set_attribute(object &target, ub4 attribute, const attribute_input &in)
{
    switch (target.kind) {
    case OCI_HTYPE_SVCCTX:
        return set(static_cast<service_context &>(target), attribute, in);
    case OCI_HTYPE_SERVER:
        return set(static_cast<server &>(target), attribute, in);
    case OCI_HTYPE_SESSION:
        return set(static_cast<session &>(target), attribute, in);
    case OCI_HTYPE_TRANS:
        return set(static_cast<transaction &>(target), attribute, in);
    case OCI_HTYPE_CPOOL:
        return set(static_cast<connection_pool &>(target), attribute, in);
    case OCI_HTYPE_SPOOL:
        return set(static_cast<session_pool &>(target), attribute, in);
    case OCI_HTYPE_ENV:
        if (attribute == OCI_ATTR_CACHE_MAX_SIZE || attribute == OCI_ATTR_CACHE_OPT_SIZE)
            return; // no objects, no cache
        refuse_attribute(target.kind, attribute);
    case OCI_HTYPE_STMT:
        return set(static_cast<statement &>(target), attribute, in);
    case OCI_HTYPE_BIND:
    case OCI_HTYPE_DEFINE:
        return set(static_cast<variable &>(target), attribute, in);
    case OCI_DTYPE_LOB:
        return set(static_cast<lob_locator &>(target), attribute, in);
    default:
        refuse_attribute(target.kind, attribute);
    }
}

} // namespace sqlite_oci
