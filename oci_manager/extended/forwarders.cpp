/*
 * The exported functions of all published calls, made from their rows. Those of calls that are written by
 * hand hand over to the function of the same name in the namespace `written`.
 */
#include "declarations.h"
#include "forward.h"
#include "quick_calls.h"
#include "trace_calls.h"
#include "written.h"

/* The rows must name the entry points in their order: a call that is missing or stands twice is an error. */
namespace
{

constexpr const char *published[] = {
#define OMX_NAME(name, parameters, role) #name,
    OMX_PUBLISHED_CALLS(OMX_NAME)
#undef OMX_NAME
};
constexpr const char *entry_points[] = {
#define OMX_NAME(name, type) #name,
    OCI_ENTRY_POINTS(OMX_NAME)
#undef OMX_NAME
};

constexpr bool same_lists()
{
    if (sizeof published != sizeof entry_points)
        return false;
    for (size_t i = 0; i < OCI_ENTRY_POINT_COUNT; i++)
        if (__builtin_strcmp(published[i], entry_points[i]) != 0)
            return false;
    return true;
}
static_assert(same_lists(), "published_calls.h and entry_points.h name different calls");

} // namespace

// clang-format off
#define OMX_P(name, i) omx::parameter<decltype(::name), i> a##i
#define OMX_PARAMETERS_0(n)
#define OMX_PARAMETERS_1(n) OMX_P(n, 0)
#define OMX_PARAMETERS_2(n) OMX_PARAMETERS_1(n), OMX_P(n, 1)
#define OMX_PARAMETERS_3(n) OMX_PARAMETERS_2(n), OMX_P(n, 2)
#define OMX_PARAMETERS_4(n) OMX_PARAMETERS_3(n), OMX_P(n, 3)
#define OMX_PARAMETERS_5(n) OMX_PARAMETERS_4(n), OMX_P(n, 4)
#define OMX_PARAMETERS_6(n) OMX_PARAMETERS_5(n), OMX_P(n, 5)
#define OMX_PARAMETERS_7(n) OMX_PARAMETERS_6(n), OMX_P(n, 6)
#define OMX_PARAMETERS_8(n) OMX_PARAMETERS_7(n), OMX_P(n, 7)
#define OMX_PARAMETERS_9(n) OMX_PARAMETERS_8(n), OMX_P(n, 8)
#define OMX_PARAMETERS_10(n) OMX_PARAMETERS_9(n), OMX_P(n, 9)
#define OMX_PARAMETERS_11(n) OMX_PARAMETERS_10(n), OMX_P(n, 10)
#define OMX_PARAMETERS_12(n) OMX_PARAMETERS_11(n), OMX_P(n, 11)
#define OMX_PARAMETERS_13(n) OMX_PARAMETERS_12(n), OMX_P(n, 12)
#define OMX_PARAMETERS_14(n) OMX_PARAMETERS_13(n), OMX_P(n, 13)
#define OMX_PARAMETERS_15(n) OMX_PARAMETERS_14(n), OMX_P(n, 14)
#define OMX_PARAMETERS_16(n) OMX_PARAMETERS_15(n), OMX_P(n, 15)
#define OMX_PARAMETERS_17(n) OMX_PARAMETERS_16(n), OMX_P(n, 16)
#define OMX_PARAMETERS_18(n) OMX_PARAMETERS_17(n), OMX_P(n, 17)
#define OMX_PARAMETERS_19(n) OMX_PARAMETERS_18(n), OMX_P(n, 18)
#define OMX_PARAMETERS_20(n) OMX_PARAMETERS_19(n), OMX_P(n, 19)
#define OMX_PARAMETERS_21(n) OMX_PARAMETERS_20(n), OMX_P(n, 20)
#define OMX_ARGUMENTS_0
#define OMX_ARGUMENTS_1 , a0
#define OMX_ARGUMENTS_2 OMX_ARGUMENTS_1, a1
#define OMX_ARGUMENTS_3 OMX_ARGUMENTS_2, a2
#define OMX_ARGUMENTS_4 OMX_ARGUMENTS_3, a3
#define OMX_ARGUMENTS_5 OMX_ARGUMENTS_4, a4
#define OMX_ARGUMENTS_6 OMX_ARGUMENTS_5, a5
#define OMX_ARGUMENTS_7 OMX_ARGUMENTS_6, a6
#define OMX_ARGUMENTS_8 OMX_ARGUMENTS_7, a7
#define OMX_ARGUMENTS_9 OMX_ARGUMENTS_8, a8
#define OMX_ARGUMENTS_10 OMX_ARGUMENTS_9, a9
#define OMX_ARGUMENTS_11 OMX_ARGUMENTS_10, a10
#define OMX_ARGUMENTS_12 OMX_ARGUMENTS_11, a11
#define OMX_ARGUMENTS_13 OMX_ARGUMENTS_12, a12
#define OMX_ARGUMENTS_14 OMX_ARGUMENTS_13, a13
#define OMX_ARGUMENTS_15 OMX_ARGUMENTS_14, a14
#define OMX_ARGUMENTS_16 OMX_ARGUMENTS_15, a15
#define OMX_ARGUMENTS_17 OMX_ARGUMENTS_16, a16
#define OMX_ARGUMENTS_18 OMX_ARGUMENTS_17, a17
#define OMX_ARGUMENTS_19 OMX_ARGUMENTS_18, a18
#define OMX_ARGUMENTS_20 OMX_ARGUMENTS_19, a19
#define OMX_ARGUMENTS_21 OMX_ARGUMENTS_20, a20
// clang-format on

/* How traces show a call. */
namespace declared
{
#define OMX_DECLARATION(name, text)                                                                          \
    inline constexpr char name[] = text;                                                                     \
    static_assert(text[0] != '\0', "the declaration of " #name " was not found in the headers");
OMX_DECLARATIONS(OMX_DECLARATION)
#undef OMX_DECLARATION
} // namespace declared

/* One exported function. */
#define OMX_DEFINE_FUNCTION(name, parameters, call, traced_call)                                             \
    OM_EXPORT omx::result_of<decltype(::name)> name(OMX_PARAMETERS_##parameters(name))                       \
    {                                                                                                        \
        if (omx_traces(OM_LOG_ERROR))                                                                        \
            return omx_call_traced(declared::name, traced_call OMX_ARGUMENTS_##parameters);                  \
        return call;                                                                                         \
    }
#define OMX_FORWARDER(name, call_role) omx::forwarder<omx::role::call_role, decltype(&::name)>
#define OMX_DEFINE(name, parameters, call_role)                                                              \
    OMX_DEFINE_FUNCTION(                                                                                     \
        name, parameters,                                                                                    \
        (OMX_FORWARDER(name, call_role)::run<true>(#name, omx_calls.name OMX_ARGUMENTS_##parameters)),       \
        (&OMX_FORWARDER(name, call_role)::run_traced<&omx_call_table::name, declared::name>))
#define OMX_DEFINE_routed(name, parameters) OMX_DEFINE(name, parameters, routed)
#define OMX_DEFINE_any(name, parameters) OMX_DEFINE(name, parameters, any)
#define OMX_DEFINE_object(name, parameters) OMX_DEFINE(name, parameters, object)
#define OMX_DEFINE_every(name, parameters) OMX_DEFINE(name, parameters, every)
#define OMX_DEFINE_lob_transfer(name, parameters) OMX_DEFINE(name, parameters, lob_transfer)
#define OMX_DEFINE_value_read(name, parameters) OMX_DEFINE(name, parameters, value_read)
#define OMX_DEFINE_value_made(name, parameters) OMX_DEFINE(name, parameters, value_made)
#define OMX_DEFINE_process(name, parameters) OMX_DEFINE(name, parameters, process)
#define OMX_DEFINE_written(name, parameters)                                                                 \
    OMX_DEFINE_FUNCTION(name, parameters, (omx::call_written(written::name OMX_ARGUMENTS_##parameters)),     \
                        (&written::name))
#define OMX_DEFINE_quick(name, parameters)                                                                   \
    OMX_DEFINE_FUNCTION(name, parameters, (quick::name(quick::path() OMX_ARGUMENTS_##parameters)),           \
                        (&written::name))
#define OMX_DEFINE_data_area(name, parameters) OMX_DEFINE(name, parameters, data_area)
#define OMX_DEFINE_variadic(name, parameters)
#define OMX_DEFINE_ROW(name, parameters, role) OMX_DEFINE_##role(name, parameters)

extern "C" {

OMX_PUBLISHED_CALLS(OMX_DEFINE_ROW)

} // extern "C"
