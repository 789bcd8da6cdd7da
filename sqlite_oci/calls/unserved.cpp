// The entry points that this library does not serve. They are there, so that programs link and load, and say
// ORA-03001 on the error handle that they are given.
//
// The two lists of unserved_calls.h hold names only: each function is made from its published prototype, and
// a name that is both listed and served does not link.
#include "calls/unserved_calls.h"
#include "handles/call.h"
#include "handles/error_record.h"

#include <type_traits>

namespace
{

using namespace sqlite_oci;

sword refuse(OCIError *errhp, const char *name)
{
    return raise_error(errhp, 3001, "%s is not served by this library", name);
}

// The status of a call, from the error handle among its arguments.
template <class Name, class... Arguments> sword refuse_call(Arguments... arguments)
{
    sword status = OCI_ERROR;
    [[maybe_unused]] const auto look_at = [&](auto argument) {
        if constexpr (std::is_same_v<decltype(argument), OCIError *>)
            if (argument)
                status = refuse(argument, Name::text);
    };
    (look_at(arguments), ...);
    return status;
}

template <class Name, class Prototype> struct unserved_call;

template <class Name, class... Arguments> struct unserved_call<Name, sword(Arguments...)> {
    static sword call(Arguments... arguments) { return refuse_call<Name>(arguments...); }
};

// OCIFormatString takes any number of arguments.
template <class Name, class... Arguments> struct unserved_call<Name, sword(Arguments..., ...)> {
    static sword call(Arguments... arguments, ...) { return refuse_call<Name>(arguments...); }
};

template <class Name, class Prototype> struct unserved_value;

template <class Name, class Result, class... Arguments> struct unserved_value<Name, Result(Arguments...)> {
    static Result call(Arguments... arguments)
    {
        refuse_call<Name>(arguments...);
        return Result();
    }
};

} // namespace

// The function itself is an indirect one: the loader asks the resolver where it is. So its type comes from
// the prototype, and no parameter list has to be repeated.
#define DEFINE_WITH(maker, name)                                                                             \
    namespace                                                                                                \
    {                                                                                                        \
    struct name_of_##name {                                                                                  \
        static constexpr const char *text = #name;                                                           \
    };                                                                                                       \
    }                                                                                                        \
    extern "C" {                                                                                             \
    __attribute__((visibility("hidden"))) decltype(&name) resolve_##name();                                  \
    decltype(&name) resolve_##name()                                                                         \
    {                                                                                                        \
        return &maker<name_of_##name, std::remove_pointer_t<decltype(&name)>>::call;                         \
    }                                                                                                        \
    __attribute__((ifunc("resolve_" #name))) decltype(name) name;                                            \
    }

#define DEFINE_CALL(name) DEFINE_WITH(unserved_call, name)
#define DEFINE_VALUE(name) DEFINE_WITH(unserved_value, name)

UNSERVED_CALLS(DEFINE_CALL)
UNSERVED_VALUES(DEFINE_VALUE)
