/*
 * From a prototype to a routed call. A forwarder is not written: its shape follows from the types of its
 * parameters. Each handle is checked and replaced by the chosen backend's, everything else is handed on, and
 * a backend that reports is noted on the error handle.
 *
 * A handle that is none, or of another kind, ends the call with OCI_INVALID_HANDLE; null is handed on, except
 * as the principal. What the chosen backend cannot take (its library lacks the call, a handle is the other
 * backend's alone) ends it with an error of the manager's.
 */
#ifndef OMX_FORWARD_H
#define OMX_FORWARD_H

#include <type_traits>
#include <utility>

#include "data_areas.h"
#include "errors.h"
#include "extras.h"
#include "handle.h"
#include "libraries.h"
#include "values.h"

namespace omx
{

/* ---- what the types of parameters say ---- */

/* The family of a handle behind its C type; 0: no handle of the manager's. */
template <class T> inline constexpr ub1 family_of = 0;
#define OMX_FAMILY(c_type, oci_type) template <> inline constexpr ub1 family_of<c_type> = oci_type;
OMX_FAMILY(OCIEnv, OCI_HTYPE_ENV)
OMX_FAMILY(OCIError, OCI_HTYPE_ERROR)
OMX_FAMILY(OCISvcCtx, OCI_HTYPE_SVCCTX)
OMX_FAMILY(OCIStmt, OCI_HTYPE_STMT)
OMX_FAMILY(OCIBind, OCI_HTYPE_BIND)
OMX_FAMILY(OCIDefine, OCI_HTYPE_DEFINE)
OMX_FAMILY(OCIDescribe, OCI_HTYPE_DESCRIBE)
OMX_FAMILY(OCIServer, OCI_HTYPE_SERVER)
OMX_FAMILY(OCISession, OCI_HTYPE_SESSION)
OMX_FAMILY(OCITrans, OCI_HTYPE_TRANS)
OMX_FAMILY(OCIComplexObject, OCI_HTYPE_COMPLEXOBJECT)
OMX_FAMILY(OCISecurity, OCI_HTYPE_SECURITY)
OMX_FAMILY(OCISubscription, OCI_HTYPE_SUBSCRIPTION)
OMX_FAMILY(OCIDirPathCtx, OCI_HTYPE_DIRPATH_CTX)
OMX_FAMILY(OCIDirPathColArray, OCI_HTYPE_DIRPATH_COLUMN_ARRAY)
OMX_FAMILY(OCIDirPathStream, OCI_HTYPE_DIRPATH_STREAM)
OMX_FAMILY(OCIProcess, OCI_HTYPE_PROC)
OMX_FAMILY(OCIDirPathFuncCtx, OCI_HTYPE_DIRPATH_FN_CTX)
OMX_FAMILY(OCICPool, OCI_HTYPE_CPOOL)
OMX_FAMILY(OCISPool, OCI_HTYPE_SPOOL)
OMX_FAMILY(OCIAdmin, OCI_HTYPE_ADMIN)
OMX_FAMILY(OCIEvent, OCI_HTYPE_EVENT)
OMX_FAMILY(OCILobLocator, OCI_DTYPE_LOB)
OMX_FAMILY(OCISnapshot, OCI_DTYPE_SNAP)
OMX_FAMILY(OCIResult, OCI_DTYPE_RSET)
OMX_FAMILY(OCIParam, OCI_DTYPE_PARAM)
OMX_FAMILY(OCIRowid, OCI_DTYPE_ROWID)
OMX_FAMILY(OCIComplexObjectComp, OCI_DTYPE_COMPLEXOBJECTCOMP)
OMX_FAMILY(OCIAQEnqOptions, OCI_DTYPE_AQENQ_OPTIONS)
OMX_FAMILY(OCIAQDeqOptions, OCI_DTYPE_AQDEQ_OPTIONS)
OMX_FAMILY(OCIAQMsgProperties, OCI_DTYPE_AQMSG_PROPERTIES)
OMX_FAMILY(OCIAQAgent, OCI_DTYPE_AQAGENT)
OMX_FAMILY(OCIInterval, OCI_DTYPE_INTERVAL_YM)
OMX_FAMILY(OCIAQNfyDescriptor, OCI_DTYPE_AQNFY_DESCRIPTOR)
OMX_FAMILY(OCIDateTime, OCI_DTYPE_DATE)
OMX_FAMILY(OCIUcb, OCI_DTYPE_UCB)
OMX_FAMILY(OCIServerDNs, OCI_DTYPE_SRVDN)
OMX_FAMILY(OCIAQListenOpts, OCI_DTYPE_AQLIS_OPTIONS)
OMX_FAMILY(OCIAQLisMsgProps, OCI_DTYPE_AQLIS_MSG_PROPERTIES)
#undef OMX_FAMILY

/* Stands for any family: the first argument of a call of the role `any`. */
constexpr ub1 any_family = 254;

template <class A> constexpr ub1 parameter_family()
{
    return std::is_pointer_v<A> ? family_of<std::remove_cv_t<std::remove_pointer_t<A>>> : (ub1)0;
}

/* A variable of handles needs a call written by hand. */
template <class A> constexpr bool is_handle_variable()
{
    if constexpr (std::is_pointer_v<A>)
        return std::is_pointer_v<std::remove_pointer_t<A>> &&
               parameter_family<std::remove_cv_t<std::remove_pointer_t<A>>>() != 0;
    else
        return false;
}

template <class A> constexpr bool is_constant()
{
    return std::is_const_v<std::remove_pointer_t<A>>;
}

enum class role { routed, any, object, every, lob_transfer, value_read, value_made, data_area, process };

constexpr int no_parameter = -1;

/* The families of all parameters of a call, and which of them it is about. */
template <role Role, class... A> struct shape {
    static constexpr int count = sizeof...(A);
    static constexpr bool first_is_handle =
        Role == role::any || ((Role == role::value_read || Role == role::value_made));

    static constexpr ub1 family(int i)
    {
        const ub1 families[] = {parameter_family<A>()..., 0};
        return i == 0 && first_is_handle && families[0] == 0 ? any_family : families[i];
    }
    static constexpr bool constant(int i)
    {
        const bool constants[] = {is_constant<A>()..., false};
        return constants[i];
    }
    static constexpr bool is_error(int i) { return family(i) == OCI_HTYPE_ERROR; }
    static constexpr bool is_value(int i) { return family(i) >= OCI_DTYPE_FIRST && family(i) < any_family; }

    static constexpr int first_of(ub1 wanted)
    {
        for (int i = 0; i < count; i++)
            if (family(i) == wanted)
                return i;
        return no_parameter;
    }
    static constexpr int find_principal()
    {
        if (count && first_is_handle)
            return 0;
        if (first_of(OCI_HTYPE_SVCCTX) != no_parameter)
            return first_of(OCI_HTYPE_SVCCTX);
        if (Role == role::object && first_of(OCI_HTYPE_ENV) != no_parameter)
            return first_of(OCI_HTYPE_ENV);
        for (int i = 0; i < count; i++)
            if (family(i) != 0 && family(i) != OCI_HTYPE_ENV && !is_error(i) && !is_value(i))
                return i;
        const int env = first_of(OCI_HTYPE_ENV);
        return env != no_parameter ? env : first_of(OCI_HTYPE_ERROR);
    }
    /* The descriptor that a call of the role value_made fills. */
    static constexpr int find_made()
    {
        int made = no_parameter;
        for (int i = 0; i < count; i++)
            if (is_value(i) && !constant(i))
                made = i;
        return Role == role::value_made ? made : no_parameter;
    }

    static constexpr int principal = find_principal();
    static constexpr int error = first_of(OCI_HTYPE_ERROR);
    static constexpr int made = find_made();
    static constexpr bool on_connection = principal != no_parameter && family(principal) == OCI_HTYPE_SVCCTX;
};

/* ---- one argument ---- */

OMX_INLINE omx_handle *find_family(const void *pointer, ub1 family)
{
    return family == any_family ? omx_find_any(pointer) : omx_find(pointer, family);
}

template <class A>
OMX_INLINE A given_or_own(A own, [[maybe_unused]] void *given, [[maybe_unused]] bool is_handle)
{
    if constexpr (std::is_pointer_v<A> && !std::is_function_v<std::remove_pointer_t<A>>)
        return is_handle ? (A)given : own;
    else
        return own;
}

/* What the call that could not be made is told of an argument. */
struct refused_argument {
    const void *pointer;
    ub1 family; /* 0: no handle */
};

template <class A> OMX_INLINE const void *pointer_of(A argument)
{
    if constexpr (std::is_pointer_v<A> && !std::is_function_v<std::remove_pointer_t<A>>)
        return (const void *)argument;
    else
        return nullptr;
}

/* Finds out why a call cannot be made, and says so on its error handle. `name` may be followed by parameters.
 */
sword refuse(const char *name, const refused_argument *arguments, int count, int principal, int error,
             unsigned int backend, bool has_entry_point);

/* ---- calls ---- */

template <role Role, class F> struct forwarder;

template <role Role, class R, class... A> struct forwarder<Role, R (*)(A...)> {
    using function = R (*)(A...);
    using info = shape<Role, A...>;
    using indexes = std::index_sequence_for<A...>;

    static_assert(!(is_handle_variable<A>() || ...), "a variable of handles needs a call written by hand");

    __attribute__((cold, noinline)) static R refused(const char *name, const function *entry,
                                                     unsigned int backend, A... arguments)
    {
        return refused_with(indexes(), name, entry, backend, arguments...);
    }

    template <size_t... I>
    static R refused_with(std::index_sequence<I...>, const char *name, const function *entry,
                          unsigned int backend, A... arguments)
    {
        const refused_argument all[] = {{pointer_of(arguments), info::family((int)I)}..., {nullptr, 0}};
        [[maybe_unused]] const sword rc =
            refuse(name, all, info::count, info::principal, info::error, backend, entry[backend] != nullptr);
        if constexpr (std::is_void_v<R>)
            return;
        else if constexpr (std::is_same_v<R, sword>)
            return rc;
        else
            return R{};
    }

    /*
     * Finds what a backend is given for an argument that is a handle. False: it is no handle, or the backend
     * has none for it, or its value is the other backend's.
     */
    template <int I, bool Nulls, class Argument>
    OMX_INLINE bool take(omx_handle *principal, Argument argument, unsigned int backend, void **given)
    {
        constexpr ub1 family = info::family(I);
        if constexpr (family == 0) {
            *given = nullptr;
            return true;
        } else {
            omx_handle *h = principal;
            if constexpr (I != info::principal) {
                if (Nulls && !argument)
                    return true;
                h = find_family((const void *)argument, family);
                if (__builtin_expect(!h, 0))
                    return false;
            }
            *given = h->backend[backend];
            if constexpr (info::is_value(I) && I != info::made)
                if (__builtin_expect(h->current && !(h->current & omx_bit(backend)), 0))
                    return false;
            // A handle is routed to backends that hold it only, and an error handle of another environment
            // may go without: then there is a result and no text.
            return I == info::principal || info::is_error(I) || *given != nullptr;
        }
    }

    /* The handle behind an argument that was found to be one. */
    template <int I> OMX_INLINE omx_handle *handle_at(A... arguments)
    {
        const void *const all[] = {pointer_of(arguments)..., nullptr};
        return (omx_handle *)const_cast<void *>(all[I]);
    }

    /* Calls one backend with its own handles. Nulls are rare: they take the longer way. */
    template <size_t... I>
    OMX_INLINE R call(std::index_sequence<I...> all, const char *name, const function *entry,
                      unsigned int backend, omx_handle *principal, A... arguments)
    {
        return call_with<false>(all, name, entry, backend, principal, arguments...);
    }

    /* The longer way is one function, which traced calls take too. */
    template <size_t... I>
    __attribute__((noinline)) static R call_with_nulls(std::index_sequence<I...> all, const char *name,
                                                       const function *entry, unsigned int backend,
                                                       omx_handle *principal, A... arguments)
    {
        return call_with<true>(all, name, entry, backend, principal, arguments...);
    }

    template <bool Nulls, size_t... I>
    OMX_INLINE R call_with(std::index_sequence<I...>, const char *name, const function *entry,
                           unsigned int backend, [[maybe_unused]] omx_handle *principal, A... arguments)
    {
        [[maybe_unused]] void *given[info::count + 1] = {};
        const bool taken = (... && take<(int)I, Nulls>(principal, arguments, backend, &given[I]));
        const function target = entry[backend];
        if (__builtin_expect(!taken || !target, 0)) {
            if constexpr (Nulls)
                return refused(name, entry, backend, arguments...);
            else
                return call_with_nulls(indexes(), name, entry, backend, principal, arguments...);
        }
        if constexpr (std::is_void_v<R>) {
            target(given_or_own(arguments, given[I], info::family((int)I) != 0)...);
        } else {
            // Handles are aligned, so both fit into one register for the time of the call. The compiler is
            // kept from taking them apart again, which would cost two.
            [[maybe_unused]] size_t reporter = backend;
            if constexpr (info::error != no_parameter) {
                reporter |= (size_t)handle_at<info::error>(arguments...);
                asm("" : "+r"(reporter));
            }
            const R rc = target(given_or_own(arguments, given[I], info::family((int)I) != 0)...);
            if constexpr (info::error != no_parameter) {
                // Results other than codes do not say whether there is an error to read.
                if (!std::is_same_v<R, sword> || __builtin_expect(rc != (R)OCI_SUCCESS, 0))
                    omx_reported((omx_handle *)(reporter & ~(size_t)1), reporter & 1);
            }
            if constexpr (info::on_connection)
                (bind_to<(int)I>(arguments, backend), ...);
            return rc;
        }
    }

    /* What a call on a connection worked with belongs to that connection's backend from then on. */
    template <int I, class Argument>
    OMX_INLINE void bind_to([[maybe_unused]] Argument argument, unsigned int backend)
    {
        if constexpr (info::family(I) != 0 && I != info::principal && !info::is_error(I) &&
                      !info::constant(I) && info::family(I) != OCI_HTYPE_ENV) {
            if (!argument)
                return;
            omx_handle *h = (omx_handle *)argument;
            omx_follow(h, (ub1)backend);
            if constexpr (info::is_value(I))
                h->current = omx_bit(backend);
        }
    }

    OMX_INLINE omx_handle *principal_of([[maybe_unused]] A... arguments)
    {
        if constexpr (info::principal == no_parameter)
            return nullptr;
        else
            return find_family(handle_at<info::principal>(arguments...), info::family(info::principal));
    }

    template <bool Quick>
    OMX_INLINE R call_one(const char *name, const function *entry, unsigned int backend,
                          omx_handle *principal, A... arguments)
    {
        if constexpr (Quick)
            return call(indexes(), name, entry, backend, principal, arguments...);
        else
            return call_with_nulls(indexes(), name, entry, backend, principal, arguments...);
    }

    /* The call as a function of its own, for the time of a trace. */
    template <auto Entry, const char *Name> static R run_traced(A... arguments)
    {
        return run<false>(Name, omx_calls.*Entry, arguments...);
    }

    /* Makes the call; quickly where its code is worth it. */
    template <bool Quick> OMX_INLINE R run(const char *name, const function *entry, A... arguments)
    {
        if constexpr (Role == role::process) {
            return call_one<Quick>(name, entry, omx_process_backend(), nullptr, arguments...);
        } else if constexpr (Role == role::data_area) {
            const void *const all[] = {pointer_of(arguments)...};
            return call_one<Quick>(name, entry, omx_area_backend(all[0]), nullptr, arguments...);
        } else {
            omx_handle *principal = principal_of(arguments...);
            if (__builtin_expect(!principal, 0))
                return refused(name, entry, omx_oracle, arguments...);
            if constexpr (Role == role::lob_transfer)
                return run_transfer<Quick>(indexes(), name, entry, principal, arguments...);
            else if constexpr (Role == role::every)
                return run_everywhere(name, entry, principal->targets, principal, arguments...);
            else if constexpr (Role == role::value_read || Role == role::value_made)
                return run_value(indexes(), name, entry, principal, arguments...);
            else if constexpr (Role == role::object && (info::family(info::principal) == OCI_HTYPE_ENV ||
                                                        info::family(info::principal) == OCI_HTYPE_ERROR))
                return call_one<Quick>(name, entry, omx_connected(principal), principal, arguments...);
            else
                return call_one<Quick>(name, entry, principal->run, principal, arguments...);
        }
    }

    /*
     * The last argument but one is the character set of the program's buffer; 0 stands for that of its
     * environment, which on Dravik's side of one with UTF-16 texts is another.
     */
    template <bool Quick, size_t... I>
    OMX_INLINE R run_transfer(std::index_sequence<I...>, const char *name, const function *entry,
                              omx_handle *principal, A... arguments)
    {
        const bool converts = principal->run == omx_dravik && omx_environment_of(principal)->is_utf16;
        return call_one<Quick>(name, entry, principal->run, principal,
                               character_set<(int)I>(arguments, converts)...);
    }

    template <int I, class Argument>
    OMX_INLINE Argument character_set(Argument argument, [[maybe_unused]] bool converts)
    {
        if constexpr (I == info::count - 2) {
            static_assert(std::is_same_v<Argument, ub2>);
            return converts && argument == 0 ? (ub2)OCI_UTF16ID : argument;
        } else {
            return argument;
        }
    }

    /* One success is a success: what the other backend refuses is not needed as long as it is not used. */
    static R run_everywhere(const char *name, const function *entry, unsigned int backends,
                            omx_handle *principal, A... arguments)
    {
        if (backends == omx_none)
            return call_one<false>(name, entry, principal->run, principal, arguments...);
        R result{};
        bool done = false;
        for (unsigned int backend = 0; backend < omx_backend_count; backend++) {
            if (!(backends & omx_bit(backend)))
                continue;
            const R rc = call_one<false>(name, entry, backend, principal, arguments...);
            if (!done || (rc == (R)OCI_SUCCESS && result != (R)OCI_SUCCESS))
                result = rc;
            done = true;
        }
        return result;
    }

    template <size_t... I>
    static R run_value(std::index_sequence<I...>, const char *name, const function *entry,
                       omx_handle *principal, A... arguments)
    {
        omx_value_use use = {principal, omx_both, false, nullptr};
        (read_value<(int)I>(arguments, &use), ...);
        if constexpr (info::made != no_parameter)
            use.made = find_family(handle_at<info::made>(arguments...), info::family(info::made));
        const bool constructs = info::made != no_parameter && !use.reads;
        const unsigned int backend = omx_backend_for(&use);
        // Values that lie in different databases are brought together where they can be.
        (gather_value<(int)I>(arguments, backend), ...);
        if (constructs && !is_clock(name)) {
            const ub1 backends = use.made ? use.made->targets : omx_none;
            const R rc = run_everywhere(name, entry, backends, principal, arguments...);
            if (use.made && rc == (R)OCI_SUCCESS)
                use.made->current = backends;
            return rc;
        }
        const R rc = call_one<false>(name, entry, backend, principal, arguments...);
        if (use.made && rc == (R)OCI_SUCCESS)
            use.made->current = omx_bit(backend);
        return rc;
    }

    template <int I, class Argument>
    OMX_INLINE void read_value([[maybe_unused]] Argument argument, [[maybe_unused]] omx_value_use *use)
    {
        if constexpr (info::is_value(I) && I != info::made)
            omx_read_value(use, omx_find(argument, info::family(I)));
    }

    template <int I, class Argument>
    OMX_INLINE void gather_value([[maybe_unused]] Argument argument, [[maybe_unused]] unsigned int backend)
    {
        if constexpr (info::is_value(I) && I != info::made)
            if (omx_handle *h = omx_find(argument, info::family(I)))
                omx_move_value(h, backend);
    }

    /* The time must be the same in both databases, so it is taken once. */
    static bool is_clock(const char *name)
    {
        return __builtin_strncmp(name, "OCIDateTimeSysTimeStamp", 23) == 0;
    }
};

/* ---- prototypes taken apart ---- */

template <class F> struct prototype;
template <class R, class... A> struct prototype<R(A...)> {
    using result = R;
    template <size_t I> struct parameter_at {
        template <size_t N, class First, class... Rest> struct pick {
            using type = typename pick<N - 1, Rest...>::type;
        };
        template <class First, class... Rest> struct pick<0, First, Rest...> {
            using type = First;
        };
        using type = typename pick<I, A...>::type;
    };
};

/* Arguments beyond these lie on the stack (x86-64). */
constexpr size_t register_arguments = 6;

/*
 * Hands over to a function that is written by hand. Where all arguments are in registers that is a jump.
 * Elsewhere it is a call: the compiler would prepare a jump by moving the stack arguments to and fro.
 */
template <class R, class... A> OMX_INLINE R call_written(R (&written)(A...), A... arguments)
{
    if constexpr (std::is_same_v<R, sword> && sizeof...(A) > register_arguments) {
        sword rc = written(arguments...);
        asm("" : "+r"(rc));
        return rc;
    } else {
        return written(arguments...);
    }
}

template <class F> using result_of = typename prototype<F>::result;
template <class F, size_t I> using parameter = typename prototype<F>::template parameter_at<I>::type;

} // namespace omx

#endif
