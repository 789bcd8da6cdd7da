// Attributes that OCIAttrGet tells.
#include "calls/attribute_access.h"
#include "connections/pool.h"
#include "lobs/lob.h"
#include "statements/describe.h"
#include "statements/statement.h"
#include "variables/descriptors.h"

#include <unistd.h>

namespace sqlite_oci
{
namespace
{

std::string host_name()
{
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

void get(const environment &env, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_ENV_CHARSET_ID:
        return out.put(charset_id(env.set));
    case OCI_ATTR_ENV_NCHARSET_ID:
        return out.put(charset_id(env.national));
    case OCI_ATTR_OBJECT:
        return out.put(static_cast<ub4>((env.mode & OCI_OBJECT) != 0));
    case OCI_ATTR_ENV_UTF16:
        return out.put(static_cast<ub1>(env.set == charset::utf16));
    default:
        refuse_attribute(env.kind, attribute);
    }
}

void get(const error_handle &errors, ub4 attribute, const attribute_output &out)
{
    if (attribute != OCI_ATTR_DML_ROW_OFFSET)
        refuse_attribute(errors.kind, attribute);
    out.put(errors.records.empty() ? ub4{0} : errors.records.front().row);
}

void get(const service_context &context, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_ENV:
        return out.put_handle(context.env);
    case OCI_ATTR_SERVER:
        return out.put_handle(context.on_server.get());
    case OCI_ATTR_SESSION:
        return out.put_handle(context.in_session.get());
    case OCI_ATTR_TRANS:
        return out.put_handle(context.of_transaction.get());
    case OCI_ATTR_IN_V8_MODE:
        return out.put(ub1{1});
    case OCI_ATTR_STMTCACHESIZE:
        return out.put(context.statement_cache_size);
    default:
        refuse_attribute(context.kind, attribute);
    }
}

void get(server &on, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_ENV:
        return out.put_handle(on.env);
    case OCI_ATTR_SERVER_STATUS:
        return out.put(static_cast<ub4>(on.is_attached() ? OCI_SERVER_NORMAL : OCI_SERVER_NOT_CONNECTED));
    case OCI_ATTR_IN_V8_MODE:
        return out.put(ub1{1});
    case OCI_ATTR_EXTERNAL_NAME:
        return out.put_text(on, attribute, on.external_name);
    case OCI_ATTR_INTERNAL_NAME:
        return out.put_text(on, attribute, on.internal_name);
    case OCI_ATTR_DBNAME:
    case OCI_ATTR_INSTNAME:
    case OCI_ATTR_SERVICENAME:
        return out.put_text(on, attribute, on.link);
    case OCI_ATTR_HOSTNAME:
        return out.put_text(on, attribute, host_name());
    case OCI_ATTR_NONBLOCKING_MODE:
        return out.put(ub1{0});
    case OCI_ATTR_FOCBK:
        return out.put(on.failover);
    case OCI_ATTR_SERVER_GROUP:
        return out.put_text(on, attribute, on.group);
    default:
        refuse_attribute(on.kind, attribute);
    }
}

void get(session &user, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_USERNAME:
        return out.put_text(user, attribute, user.user_name);
    case OCI_ATTR_CURRENT_SCHEMA:
        return out.put_text(user, attribute, sql::upper_case(user.user_name));
    case OCI_ATTR_MODULE:
    case OCI_ATTR_ACTION:
    case OCI_ATTR_CLIENT_INFO:
    case OCI_ATTR_CLIENT_IDENTIFIER:
    case OCI_ATTR_DRIVER_NAME:
    case OCI_ATTR_CONNECTION_CLASS:
        return out.put_text(user, attribute, user.remarks[attribute]);
    case OCI_ATTR_PURITY:
        return out.put(user.purity);
    default:
        refuse_attribute(user.kind, attribute);
    }
}

void get(connection_pool &pool, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_CONN_MIN:
        return out.put(pool.settings.least);
    case OCI_ATTR_CONN_MAX:
        return out.put(pool.settings.most);
    case OCI_ATTR_CONN_INCR:
        return out.put(pool.settings.step);
    case OCI_ATTR_CONN_TIMEOUT:
        return out.put(pool.timeout);
    case OCI_ATTR_CONN_NOWAIT:
        return out.put(pool.is_nowait);
    default:
        refuse_attribute(pool.kind, attribute);
    }
}

void get(session_pool &pool, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_SPOOL_MIN:
        return out.put(pool.settings.least);
    case OCI_ATTR_SPOOL_MAX:
        return out.put(pool.settings.most);
    case OCI_ATTR_SPOOL_INCR:
        return out.put(pool.settings.step);
    case OCI_ATTR_SPOOL_BUSY_COUNT:
        return out.put(pool.count().busy);
    case OCI_ATTR_SPOOL_OPEN_COUNT:
        return out.put(pool.count().open);
    case OCI_ATTR_SPOOL_TIMEOUT:
        return out.put(pool.timeout);
    case OCI_ATTR_SPOOL_GETMODE:
        return out.put(pool.get_mode.load());
    case OCI_ATTR_SPOOL_STMTCACHESIZE:
        return out.put(pool.statement_cache_size);
    default:
        refuse_attribute(pool.kind, attribute);
    }
}

void get(transaction &of, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_TRANS_NAME:
        return out.put_text(of, attribute, of.name);
    case OCI_ATTR_XID:
        return out.put(of.xid);
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void get(statement &of, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_ENV:
        return out.put_handle(of.env);
    case OCI_ATTR_STMT_TYPE:
        return out.put(of.text.type);
    case OCI_ATTR_SQLFNCODE:
        return out.put(of.text.function_code);
    case OCI_ATTR_STATEMENT:
        return out.put_text(of, attribute, of.text.original);
    case OCI_ATTR_BIND_COUNT:
        return out.put(static_cast<ub4>(of.text.placeholders.size()));
    case OCI_ATTR_STMT_IS_RETURNING:
        return out.put(ub1{0});
    case OCI_ATTR_STMT_STATE:
        return out.put(static_cast<ub4>(of.state()));
    case OCI_ATTR_PARSE_ERROR_OFFSET:
        return out.put(of.error_offset);
    case OCI_ATTR_PARAM_COUNT:
        return out.put(of.column_count);
    case OCI_ATTR_ROW_COUNT:
        return out.put(of.row_count);
    case OCI_ATTR_ROWS_FETCHED:
        return out.put(of.rows_fetched);
    case OCI_ATTR_CURRENT_POSITION:
        return out.put(of.current_row);
    case OCI_ATTR_NUM_DML_ERRORS:
        return out.put(of.batch_error_count);
    case OCI_ATTR_PREFETCH_ROWS:
        return out.put(of.prefetch_rows);
    case OCI_ATTR_PREFETCH_MEMORY:
        return out.put(of.prefetch_memory);
    case OCI_ATTR_ROWID: {
        // The value is a descriptor that the program has.
        auto *const into = find<rowid_descriptor>(out.target);
        if (!into)
            fail(24334, "the row identifier needs a descriptor of OCI_DTYPE_ROWID");
        into->text = of.row_identity();
        return;
    }
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void get(const variable &of, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_CHARSET_ID:
        return out.put(charset_id(of.array.host.set));
    case OCI_ATTR_CHARSET_FORM:
        return out.put(of.array.form);
    case OCI_ATTR_MAXDATA_SIZE:
        return out.put(of.most_data ? of.most_data : static_cast<sb4>(of.array.host.size));
    case OCI_ATTR_MAXCHAR_SIZE:
        return out.put(of.most_characters);
    case OCI_ATTR_LOBPREFETCH_SIZE:
        return out.put(of.lob_prefetch_size);
    default:
        refuse_attribute(of.kind, attribute);
    }
}

} // namespace

void get_attribute(object &target, ub4 attribute, const attribute_output &out)
{
    switch (target.kind) {
    case OCI_HTYPE_ENV:
        return get(static_cast<const environment &>(target), attribute, out);
    case OCI_HTYPE_ERROR:
        return get(static_cast<const error_handle &>(target), attribute, out);
    case OCI_HTYPE_SVCCTX:
        return get(static_cast<const service_context &>(target), attribute, out);
    case OCI_HTYPE_SERVER:
        return get(static_cast<server &>(target), attribute, out);
    case OCI_HTYPE_SESSION:
        return get(static_cast<session &>(target), attribute, out);
    case OCI_HTYPE_TRANS:
        return get(static_cast<transaction &>(target), attribute, out);
    case OCI_HTYPE_CPOOL:
        return get(static_cast<connection_pool &>(target), attribute, out);
    case OCI_HTYPE_SPOOL:
        return get(static_cast<session_pool &>(target), attribute, out);
    case OCI_HTYPE_STMT:
        return get(static_cast<statement &>(target), attribute, out);
    case OCI_HTYPE_BIND:
    case OCI_HTYPE_DEFINE:
        return get(static_cast<const variable &>(target), attribute, out);
    case OCI_HTYPE_DESCRIBE:
        return sqlite_oci::get(static_cast<describe_handle &>(target), attribute, out);
    case OCI_DTYPE_PARAM:
        return sqlite_oci::get(static_cast<parameter &>(target), attribute, out);
    default:
        refuse_attribute(target.kind, attribute);
    }
}

} // namespace sqlite_oci
