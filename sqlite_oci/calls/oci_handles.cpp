// Allocation and release of handles and descriptors.
#include "connections/pool.h"
#include "handles/call.h"
#include "handles/callback_scope.h"
#include "lobs/lob.h"
#include "statements/describe.h"
#include "statements/statement.h"
#include "variables/descriptors.h"

using namespace sqlite_oci;

namespace
{

std::unique_ptr<object> make_interval(environment &env, interval_type type)
{
    auto made = std::make_unique<interval_descriptor>(&env);
    made->value.type = type;
    return made;
}

// A descriptor that only carries its identity.
struct plain_descriptor final : object {
    using object::object;
};

template <class T> std::unique_ptr<object> make(environment &env)
{
    return std::make_unique<T>(&env);
}

// Null for kinds that nothing could be done with.
std::unique_ptr<object> make_object(environment &env, ub4 kind)
{
    switch (kind) {
    case OCI_HTYPE_ERROR:
        return make<error_handle>(env);
    case OCI_HTYPE_SVCCTX:
        return make<service_context>(env);
    case OCI_HTYPE_STMT:
        return make<statement>(env);
    case OCI_HTYPE_SERVER:
        return make<server>(env);
    case OCI_HTYPE_SESSION:
        return make<session>(env);
    case OCI_HTYPE_CPOOL:
        return make<connection_pool>(env);
    case OCI_HTYPE_SPOOL:
        return make<session_pool>(env);
    case OCI_HTYPE_TRANS:
        return make<transaction>(env);
    case OCI_HTYPE_DESCRIBE:
        return make<describe_handle>(env);
    case OCI_DTYPE_LOB:
        return make<lob_locator>(env);
    case OCI_DTYPE_DATE:
    case OCI_DTYPE_TIME:
    case OCI_DTYPE_TIME_TZ:
    case OCI_DTYPE_TIMESTAMP:
    case OCI_DTYPE_TIMESTAMP_TZ:
    case OCI_DTYPE_TIMESTAMP_LTZ:
        return make<datetime_descriptor>(env);
    case OCI_DTYPE_INTERVAL_YM:
        return make_interval(env, interval_type::year_to_month);
    case OCI_DTYPE_INTERVAL_DS:
        return make_interval(env, interval_type::day_to_second);
    case OCI_DTYPE_ROWID:
        return make<rowid_descriptor>(env);
    case OCI_DTYPE_FILE:
    case OCI_DTYPE_SNAP:
        return make<plain_descriptor>(env);
    default:
        return nullptr;
    }
}

sword allocate(const void *parent, void **result, ub4 kind, std::size_t user_size,
               void **user_memory) noexcept
{
    object *const above = find_any_object(parent);
    if (!above || !result)
        return OCI_INVALID_HANDLE;
    environment &env = *above->env;
    try {
        if (above->kind == OCI_HTYPE_STMT && (kind == OCI_HTYPE_BIND || kind == OCI_HTYPE_DEFINE)) {
            *result = static_cast<statement *>(above)->make_variable(kind).handle;
            return OCI_SUCCESS;
        }
        auto made = make_object(env, kind);
        if (!made)
            fail(3001, "handles and descriptors of type %u are not served", kind);
        if (user_size)
            made->user_memory = std::make_unique<std::byte[]>(user_size);
        if (user_memory)
            *user_memory = made->user_memory.get();
        *result = env.adopt(std::move(made), kind)->handle;
        return OCI_SUCCESS;
    } catch (const failure &failed) {
        env.records = {failed.record};
    } catch (const std::exception &) {
        // No memory even for a record.
    }
    return OCI_ERROR;
}

// Whether a call that waits for its callback, which frees the handle, could not go on without it.
bool is_needed(const object &freed)
{
    switch (freed.kind) {
    case OCI_HTYPE_ENV:
    case OCI_HTYPE_SERVER:
    case OCI_HTYPE_SESSION:
    case OCI_HTYPE_SPOOL:
        return callback_scope::is_open();
    case OCI_HTYPE_BIND:
    case OCI_HTYPE_DEFINE:
        return callback_scope::needs(static_cast<const variable &>(freed).owner);
    default:
        return callback_scope::needs(freed);
    }
}

sword release_handle(void *handle, ub4 kind)
{
    object *const freed = find_object(handle, kind);
    if (!freed)
        return OCI_INVALID_HANDLE;
    if (is_needed(*freed))
        return OCI_ERROR;
    if (kind == OCI_HTYPE_ENV)
        return free_environment(static_cast<environment *>(freed)) ? OCI_SUCCESS : OCI_INVALID_HANDLE;
    if (kind == OCI_HTYPE_BIND || kind == OCI_HTYPE_DEFINE) {
        auto *one = static_cast<variable *>(freed);
        return one->owner.release(one) ? OCI_SUCCESS : OCI_INVALID_HANDLE;
    }
    if (kind == OCI_DTYPE_PARAM) {
        auto *one = static_cast<parameter *>(freed);
        return one->owner.release(one) ? OCI_SUCCESS : OCI_INVALID_HANDLE;
    }
    return freed->env->release(freed) ? OCI_SUCCESS : OCI_INVALID_HANDLE;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIHandleAlloc(const void *parenth, void **hndlpp, const ub4 type,
                                       const size_t xtramem_sz, void **usrmempp)
{
    return allocate(parenth, hndlpp, type, xtramem_sz, usrmempp);
}

SQLITE_OCI_EXPORT sword OCIHandleFree(void *hndlp, const ub4 type)
{
    return release_handle(hndlp, type);
}

SQLITE_OCI_EXPORT sword OCIDescriptorAlloc(const void *parenth, void **descpp, const ub4 type,
                                           const size_t xtramem_sz, void **usrmempp)
{
    return allocate(parenth, descpp, type, xtramem_sz, usrmempp);
}

// A descriptor of another library may be handed in by a program that has two of them: it is none of ours.
SQLITE_OCI_EXPORT sword OCIDescriptorFree(void *descp, const ub4 type)
{
    return find_any_object(descp) ? release_handle(descp, type) : OCI_SUCCESS;
}

} // extern "C"
