// Attributes of handles.
#include "connections/session.h"
#include "handles/attributes.h"
#include "lobs/lob.h"
#include "statements/describe.h"
#include "statements/statement.h"

using namespace sqlite_oci;

namespace
{

// --- Getting

void get(const environment &env, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_ENV_CHARSET_ID:
        return out.put(charset_id(env.set));
    case OCI_ATTR_ENV_NCHARSET_ID:
        return out.put(charset_id(env.national));
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
        return out.put(ub4{0});
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
        return out.put_text(on, attribute, on.link);
    default:
        refuse_attribute(on.kind, attribute);
    }
}

void get(session &user, ub4 attribute, const attribute_output &out)
{
    if (attribute != OCI_ATTR_USERNAME)
        refuse_attribute(user.kind, attribute);
    out.put_text(user, attribute, user.user_name);
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
        return out.put(static_cast<sb4>(of.array.host.size));
    case OCI_ATTR_MAXCHAR_SIZE:
        return out.put(sb4{0});
    default:
        refuse_attribute(of.kind, attribute);
    }
}

// --- Setting

struct input {
    const void *source;
    ub4 size;

    template <class T> T take() const
    {
        T plain;
        if (!source)
            fail(24315, "the attribute needs a value");
        std::memcpy(&plain, source, sizeof plain);
        return plain;
    }

    std::string text(const environment &env) const { return env.text_in(source, size); }

    // A handle-valued attribute is given as the handle itself; null takes the handle away.
    template <class T> weak_handle<T> handle() const
    {
        return source ? weak_handle<T>(&required<T>(source)) : weak_handle<T>();
    }
};

void set(service_context &context, ub4 attribute, const input &in)
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
    case OCI_ATTR_STMTCACHESIZE:
        return; // statements are cached by their handles
    default:
        refuse_attribute(context.kind, attribute);
    }
}

void set(server &on, ub4 attribute, const input &in)
{
    switch (attribute) {
    case OCI_ATTR_EXTERNAL_NAME:
        on.external_name = in.text(*on.env);
        return;
    case OCI_ATTR_INTERNAL_NAME:
        on.internal_name = in.text(*on.env);
        return;
    default:
        refuse_attribute(on.kind, attribute);
    }
}

void set(session &user, ub4 attribute, const input &in)
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
        return; // what a server shows its administrator: there is none here
    default:
        refuse_attribute(user.kind, attribute);
    }
}

void set(transaction &of, ub4 attribute, const input &in)
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

void set(statement &of, ub4 attribute, const input &in)
{
    switch (attribute) {
    case OCI_ATTR_PREFETCH_ROWS:
        of.prefetch_rows = in.take<ub4>();
        return;
    case OCI_ATTR_PREFETCH_MEMORY:
        of.prefetch_memory = in.take<ub4>();
        return;
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void set(variable &of, ub4 attribute, const input &in)
{
    switch (attribute) {
    case OCI_ATTR_CHARSET_ID:
        return of.set_set_id(in.take<ub2>());
    case OCI_ATTR_CHARSET_FORM:
        return of.set_form(in.take<ub1>());
    case OCI_ATTR_MAXDATA_SIZE:
    case OCI_ATTR_MAXCHAR_SIZE:
        return; // sizes of buffers on a server
    default:
        refuse_attribute(of.kind, attribute);
    }
}

// An empty LOB to be bound: a program sets the attribute to 0.
void set(lob_locator &of, ub4 attribute, const input &in)
{
    if (attribute != OCI_ATTR_LOBEMPTY)
        refuse_attribute(of.kind, attribute);
    in.take<ub4>();
    of.point_to(std::make_shared<lob>(true, ""));
}

// --- By kind of handle

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

void set_attribute(object &target, ub4 attribute, const input &in)
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

object &required_object(const void *handle, ub4 kind)
{
    object *target = find_object(handle, kind);
    if (!target)
        throw invalid_handle{};
    return *target;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIAttrGet(const void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 *sizep,
                                   ub4 attrtype, OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        object &target = required_object(trgthndlp, trghndltyp);
        if (!attributep)
            fail(24315, "there is no place for the attribute's value");
        get_attribute(target, attrtype, {attributep, sizep});
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIAttrSet(void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 size, ub4 attrtype,
                                   OCIError *errhp)
{
    return served(errhp, [&](call_errors) {
        set_attribute(required_object(trgthndlp, trghndltyp), attrtype, {attributep, size});
        return OCI_SUCCESS;
    });
}

} // extern "C"
