/*
 * What the prototype of an OCI function says about its parameters, and the conversion of argument values to
 * plain words and back, so that calls of every signature can be recorded, compared and made by one piece of
 * code.
 */
#ifndef RECORDING_SIGNATURE_H
#define RECORDING_SIGNATURE_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <oci.h>

namespace recording
{

/* One argument or result, widened to 64 bits. */
using word = std::uint64_t;
using words = std::vector<word>;

struct parameter {
    int handle_type;  // handle or descriptor type for a pointer to an opaque OCI structure, else 0
    bool pointer;     // data or function pointer
    std::size_t size; // in bytes
};

template <class T> inline constexpr int opaque_type = 0;
template <> inline constexpr int opaque_type<OCIEnv> = OCI_HTYPE_ENV;
template <> inline constexpr int opaque_type<OCIError> = OCI_HTYPE_ERROR;
template <> inline constexpr int opaque_type<OCISvcCtx> = OCI_HTYPE_SVCCTX;
template <> inline constexpr int opaque_type<OCIStmt> = OCI_HTYPE_STMT;
template <> inline constexpr int opaque_type<OCIBind> = OCI_HTYPE_BIND;
template <> inline constexpr int opaque_type<OCIDefine> = OCI_HTYPE_DEFINE;
template <> inline constexpr int opaque_type<OCIDescribe> = OCI_HTYPE_DESCRIBE;
template <> inline constexpr int opaque_type<OCIServer> = OCI_HTYPE_SERVER;
template <> inline constexpr int opaque_type<OCISession> = OCI_HTYPE_SESSION;
template <> inline constexpr int opaque_type<OCILobLocator> = OCI_DTYPE_LOB;
template <> inline constexpr int opaque_type<OCISnapshot> = OCI_DTYPE_SNAP;

template <class T> constexpr int handle_type()
{
    return std::is_pointer_v<T> ? opaque_type<std::remove_cv_t<std::remove_pointer_t<T>>> : 0;
}

template <class T> word to_word(T value)
{
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(value);
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<word>(value);
    } else {
        word result = 0;
        static_assert(sizeof(T) <= sizeof result);
        std::memcpy(&result, &value, sizeof value);
        return result;
    }
}

template <class T> T from_word([[maybe_unused]] word value)
{
    if constexpr (std::is_void_v<T>) {
        return;
    } else if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(static_cast<std::uintptr_t>(value));
    } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
        return static_cast<T>(value);
    } else {
        T result{};
        std::memcpy(&result, &value, sizeof result);
        return result;
    }
}

/* The object that an argument points at. */
template <class T> T &target(word address)
{
    return *from_word<T *>(address);
}

/* A function that can be called with words. */
struct function {
    std::string name;
    std::vector<parameter> parameters;
    std::function<word(const words &)> call;
};

template <class R, class... A> function make_function(const char *name, R (*address)(A...))
{
    auto call = [address]<std::size_t... I>(const words &arguments, std::index_sequence<I...>)->word
    {
        if constexpr (std::is_void_v<R>) {
            address(from_word<A>(arguments.at(I))...);
            return 0;
        } else {
            return to_word(address(from_word<A>(arguments.at(I))...));
        }
    };
    return {name,
            {parameter{handle_type<A>(), std::is_pointer_v<A>, sizeof(A)}...},
            [call](const words &arguments) { return call(arguments, std::index_sequence_for<A...>{}); }};
}

} // namespace recording

#endif
