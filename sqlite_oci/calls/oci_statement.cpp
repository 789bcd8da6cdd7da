// Statements: preparation, binds, defines, execution and fetch.
#include "handles/call.h"
#include "statements/statement.h"

using namespace sqlite_oci;

namespace
{

// OCI_DYNAMIC_FETCH is the bit of OCI_DATA_AT_EXEC, in a define.
constexpr ub4 served_bind_modes = OCI_BIND_SOFT | OCI_DEFINE_SOFT | OCI_DATA_AT_EXEC;

// The variable whose handle the application passes for using it again: null for none. What it passes need not
// be a handle at all, nor one of this statement.
template <class T, class Handle> T *known_variable(const statement &of, Handle **handle)
{
    if (!handle)
        throw invalid_handle{};
    T *const known = find<T>(*handle);
    return known && &known->owner == &of ? known : nullptr;
}

void check_prepared(const statement &of)
{
    if (!of.is_prepared)
        fail(24337, "the statement handle is not prepared");
}

void check_mode(ub4 mode)
{
    if (mode & ~served_bind_modes)
        fail(3001, "binds and defines with mode %u are not served", mode);
}

// What the caller of a bind gives, beside the placeholder.
struct bind_arguments {
    void *valuep;
    sb4 value_sz;
    ub2 dty;
    void *indp;
    ub2 *alenp;
    ub2 *rcodep;
    ub4 mode;
};

template <class Find>
sword bind_variable(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, const bind_arguments &given,
                    Find find_bind)
{
    return served(errhp, [&](call_errors) {
        auto &owner = required<statement>(stmtp);
        bind *const known = known_variable<bind>(owner, bindp);
        check_prepared(owner);
        check_mode(given.mode);
        const host_array array = describe_array(*owner.env, given.valuep, given.value_sz, given.dty,
                                                given.indp, given.alenp, given.rcodep);
        required_reader(array.host);
        bind &used = find_bind(owner, known);
        *bindp = static_cast<OCIBind *>(used.handle);
        used.describe(array);
        used.is_dynamic = (given.mode & OCI_DATA_AT_EXEC) != 0;
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIStmtPrepare(OCIStmt *stmtp, OCIError *errhp, const OraText *stmt, ub4 stmt_len,
                                       ub4, ub4)
{
    return served(errhp, [&](call_errors) {
        auto &target = required<statement>(stmtp);
        target.prepare(target.env->text_in(stmt, stmt_len));
        return OCI_SUCCESS;
    });
}

// Statements are not kept compiled from one handle to the next; what a tag stands for is remembered.
SQLITE_OCI_EXPORT sword OCIStmtPrepare2(OCISvcCtx *svchp, OCIStmt **stmtp, OCIError *errhp,
                                        const OraText *stmt, ub4 stmt_len, const OraText *key, ub4 key_len,
                                        ub4, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &context = required<service_context>(svchp);
        environment &env = *context.env;
        if (!stmtp)
            throw invalid_handle{};
        const auto tagged = context.tagged_statements.find(env.text_in(key, key_len));
        const bool is_known = key_len && tagged != context.tagged_statements.end();
        if (!is_known && (!stmt || mode & OCI_PREP2_CACHE_SEARCHONLY))
            fail(24431, "no statement has this tag");
        auto made = std::make_unique<statement>(&env);
        made->prepare(is_known ? tagged->second : env.text_in(stmt, stmt_len));
        made->made_by_prepare2 = true;
        made->prepared_on = weak_handle(&context);
        *stmtp = static_cast<OCIStmt *>(env.adopt(std::move(made), OCI_HTYPE_STMT)->handle);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIStmtRelease(OCIStmt *stmtp, OCIError *errhp, const OraText *key, ub4 key_len,
                                       ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &released = required<statement>(stmtp);
        if (!released.made_by_prepare2)
            fail(24301,
                 "OCIStmtRelease is for statements of OCIStmtPrepare2; free this one with OCIHandleFree");
        service_context *const context = released.prepared_on.get();
        if (context && key && key_len && !(mode & OCI_STRLS_CACHE_DELETE))
            context->tagged_statements[released.env->text_in(key, key_len)] = released.text.original;
        released.env->release(&released);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIBindByPos(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp, ub4 position,
                                     void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep,
                                     ub4, ub4 *, ub4 mode)
{
    return bind_variable(
        stmtp, bindp, errhp, {valuep, value_sz, dty, indp, alenp, rcodep, mode},
        [&](statement &owner, bind *known) -> bind & { return owner.bind_position(known, position); });
}

SQLITE_OCI_EXPORT sword OCIBindByName(OCIStmt *stmtp, OCIBind **bindp, OCIError *errhp,
                                      const OraText *placeholder, sb4 placeh_len, void *valuep, sb4 value_sz,
                                      ub2 dty, void *indp, ub2 *alenp, ub2 *rcodep, ub4, ub4 *, ub4 mode)
{
    return bind_variable(stmtp, bindp, errhp, {valuep, value_sz, dty, indp, alenp, rcodep, mode},
                         [&](statement &owner, bind *known) -> bind & {
                             const environment &env = *owner.env;
                             return owner.bind_name(
                                 known, placeh_len < 0
                                            ? env.terminated_text_in(placeholder)
                                            : env.text_in(placeholder, static_cast<std::size_t>(placeh_len)));
                         });
}

SQLITE_OCI_EXPORT sword OCIBindArrayOfStruct(OCIBind *bindp, OCIError *errhp, ub4 pvskip, ub4 indskip,
                                             ub4 alskip, ub4 rcskip)
{
    return served(errhp, [&](call_errors) {
        required<bind>(bindp).set_skips(pvskip, indskip, alskip, rcskip);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIDefineByPos(OCIStmt *stmtp, OCIDefine **defnp, OCIError *errhp, ub4 position,
                                       void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *rlenp,
                                       ub2 *rcodep, ub4 mode)
{
    return served(errhp, [&](call_errors) {
        auto &owner = required<statement>(stmtp);
        define *const known = known_variable<define>(owner, defnp);
        check_prepared(owner);
        check_mode(mode);
        const host_array array = describe_array(*owner.env, valuep, value_sz, dty, indp, rlenp, rcodep);
        required_writer(array.host);
        define &used = owner.define_position(known, position);
        *defnp = static_cast<OCIDefine *>(used.handle);
        used.describe(array);
        used.is_dynamic = (mode & OCI_DYNAMIC_FETCH) != 0;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIDefineArrayOfStruct(OCIDefine *defnp, OCIError *errhp, ub4 pvskip, ub4 indskip,
                                               ub4 rlskip, ub4 rcskip)
{
    return served(errhp, [&](call_errors) {
        required<define>(defnp).set_skips(pvskip, indskip, rlskip, rcskip);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIStmtExecute(OCISvcCtx *svchp, OCIStmt *stmtp, OCIError *errhp, ub4 iters,
                                       ub4 rowoff, const OCISnapshot *, OCISnapshot *, ub4 mode)
{
    return served(errhp, [&](call_errors errors) {
        const auto &context = required<service_context>(svchp);
        auto &target = required<statement>(stmtp);
        return target.execute(context, {iters, rowoff, mode}, errors);
    });
}

SQLITE_OCI_EXPORT sword OCIStmtFetch(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation, ub4)
{
    return served(errhp, [&](call_errors errors) {
        return required<statement>(stmtp).fetch(nrows, orientation, 0, errors);
    });
}

SQLITE_OCI_EXPORT sword OCIStmtFetch2(OCIStmt *stmtp, OCIError *errhp, ub4 nrows, ub2 orientation,
                                      sb4 scrollOffset, ub4)
{
    return served(errhp, [&](call_errors errors) {
        return required<statement>(stmtp).fetch(nrows, orientation, scrollOffset, errors);
    });
}

} // extern "C"
