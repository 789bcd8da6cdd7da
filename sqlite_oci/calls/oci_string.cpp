// Texts and bytes of variable length: OCIString and OCIRaw.
#include "calls/value_call.h"
#include "variables/long_bytes.h"

#include <algorithm>

using namespace sqlite_oci;

namespace
{

constexpr int ora_cannot_resize = 22152;

// Where a null pointer is given, a value is made and the pointer set.
template <class T, class Handle> T &target_of(OCIEnv *env, Handle **target)
{
    environment &owner = required<environment>(env);
    if (!target)
        fail(ora_null_argument, "there is no place for the value");
    if (*target)
        return required<T>(*target);
    T *made = owner.adopt(std::make_unique<T>(&owner), T::handle_kind);
    *target = static_cast<Handle *>(made->handle);
    return *made;
}

// `source()` is the value's bytes.
template <class T, class Handle, class Source>
sword assign(OCIEnv *env, OCIError *err, Source source, Handle **target)
{
    return served(err, [&](call_errors) {
        std::string bytes = source();
        target_of<T>(env, target).bytes = std::move(bytes);
        return OCI_SUCCESS;
    });
}

template <class T, class Handle>
sword assign_value(OCIEnv *env, OCIError *err, const Handle *source, Handle **target)
{
    return assign<T>(
        env, err, [&] { return required<T>(source).bytes; }, target);
}

template <class T, class Handle>
sword assign_bytes(OCIEnv *env, OCIError *err, const void *bytes, ub4 length, Handle **target)
{
    const auto *plain = static_cast<const char *>(bytes);
    return assign<T>(
        env, err, [&] { return plain ? std::string(plain, length) : std::string(); }, target);
}

// A size of 0 frees the value.
template <class T, class Handle> sword resize(OCIEnv *env, OCIError *err, ub4 size, Handle **target)
{
    return served(err, [&](call_errors) {
        T &resized = target_of<T>(env, target);
        if (size == 0) {
            resized.env->release(&resized);
            *target = nullptr;
            return OCI_SUCCESS;
        }
        if (size < resized.bytes.size())
            fail(ora_cannot_resize, "%u bytes are too few for a value of %zu", size, resized.bytes.size());
        resized.bytes.reserve(size);
        return OCI_SUCCESS;
    });
}

template <class T> sword allocated_size(OCIError *err, const void *value, ub4 *size)
{
    return served(err, [&](call_errors) {
        const T &asked = required<T>(value);
        if (!size)
            fail(ora_null_argument, "there is no place for the size");
        *size = static_cast<ub4>(std::min<std::size_t>(asked.bytes.capacity(), UB4MAXVAL));
        return OCI_SUCCESS;
    });
}

template <class T, class Unit> Unit *pointer_to(const void *value)
{
    T *asked = find<T>(value);
    return asked ? reinterpret_cast<Unit *>(asked->bytes.data()) : nullptr;
}

template <class T> ub4 size_of(const void *value)
{
    const T *asked = find<T>(value);
    return asked ? static_cast<ub4>(asked->bytes.size()) : 0;
}

template <class T> bool free_value(void *instance)
{
    T *freed = find<T>(instance);
    return freed && freed->env->release(freed);
}

template <class T> void *make_value(environment &env)
{
    return env.adopt(std::make_unique<T>(&env), T::handle_kind)->handle;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIStringAssign(OCIEnv *env, OCIError *err, const OCIString *rhs, OCIString **lhs)
{
    return assign_value<string_value>(env, err, rhs, lhs);
}

SQLITE_OCI_EXPORT sword OCIStringAssignText(OCIEnv *env, OCIError *err, const OraText *rhs, ub4 rhs_len,
                                            OCIString **lhs)
{
    return assign_bytes<string_value>(env, err, rhs, rhs_len, lhs);
}

SQLITE_OCI_EXPORT OraText *OCIStringPtr(OCIEnv *, const OCIString *vs)
{
    return pointer_to<string_value, OraText>(vs);
}

SQLITE_OCI_EXPORT ub4 OCIStringSize(OCIEnv *, const OCIString *vs)
{
    return size_of<string_value>(vs);
}

SQLITE_OCI_EXPORT sword OCIStringResize(OCIEnv *env, OCIError *err, ub4 new_size, OCIString **str)
{
    return resize<string_value>(env, err, new_size, str);
}

SQLITE_OCI_EXPORT sword OCIStringAllocSize(OCIEnv *, OCIError *err, const OCIString *vs, ub4 *allocsize)
{
    return allocated_size<string_value>(err, vs, allocsize);
}

SQLITE_OCI_EXPORT sword OCIRawAssignRaw(OCIEnv *env, OCIError *err, const OCIRaw *rhs, OCIRaw **lhs)
{
    return assign_value<raw_value>(env, err, rhs, lhs);
}

SQLITE_OCI_EXPORT sword OCIRawAssignBytes(OCIEnv *env, OCIError *err, const ub1 *rhs, ub4 rhs_len,
                                          OCIRaw **lhs)
{
    return assign_bytes<raw_value>(env, err, rhs, rhs_len, lhs);
}

SQLITE_OCI_EXPORT ub1 *OCIRawPtr(OCIEnv *, const OCIRaw *raw)
{
    return pointer_to<raw_value, ub1>(raw);
}

SQLITE_OCI_EXPORT ub4 OCIRawSize(OCIEnv *, const OCIRaw *raw)
{
    return size_of<raw_value>(raw);
}

SQLITE_OCI_EXPORT sword OCIRawResize(OCIEnv *env, OCIError *err, ub4 new_size, OCIRaw **raw)
{
    return resize<raw_value>(env, err, new_size, raw);
}

SQLITE_OCI_EXPORT sword OCIRawAllocSize(OCIEnv *, OCIError *err, const OCIRaw *raw, ub4 *allocsize)
{
    return allocated_size<raw_value>(err, raw, allocsize);
}

// Objects are served as far as they are texts or bytes.
SQLITE_OCI_EXPORT sword OCIObjectNew(OCIEnv *env, OCIError *err, const OCISvcCtx *, OCITypeCode typecode,
                                     OCIType *, void *, OCIDuration, int, void **instance)
{
    return served(err, [&](call_errors) {
        environment &owner = required<environment>(env);
        if (!instance)
            fail(ora_null_argument, "there is no place for the object");
        switch (typecode) {
        case OCI_TYPECODE_CHAR:
        case OCI_TYPECODE_VARCHAR:
        case OCI_TYPECODE_VARCHAR2:
            *instance = make_value<string_value>(owner);
            return OCI_SUCCESS;
        case OCI_TYPECODE_RAW:
            *instance = make_value<raw_value>(owner);
            return OCI_SUCCESS;
        default:
            fail(3001, "objects of type code %u are not served: only texts and bytes are", typecode);
        }
    });
}

SQLITE_OCI_EXPORT sword OCIObjectFree(OCIEnv *env, OCIError *err, void *instance, ub2)
{
    return served(err, [&](call_errors) {
        required<environment>(env);
        if (!free_value<string_value>(instance) && !free_value<raw_value>(instance))
            throw invalid_handle{};
        return OCI_SUCCESS;
    });
}

} // extern "C"
