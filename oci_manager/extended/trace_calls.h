/*
 * Records of calls: the name, the arguments as the declaration names them, and the result.
 */
#ifndef OMX_TRACE_CALLS_H
#define OMX_TRACE_CALLS_H

#include <type_traits>

#include "libraries.h"
#include "trace_log.h"

/* One argument or result. */
struct omx_traced_value {
    enum kind : ub1 { none, pointer, variable, text, number } what; /* variable: of a pointer */
    uint64_t value;
};

template <class A> OMX_INLINE omx_traced_value omx_traced(A value)
{
    if constexpr (std::is_pointer_v<A>) {
        using target = std::remove_pointer_t<A>;
        // Only texts that the program passes can be read before the call.
        return {std::is_same_v<target, const OraText> ? omx_traced_value::text
                : std::is_pointer_v<target>           ? omx_traced_value::variable
                                                      : omx_traced_value::pointer,
                (uint64_t)value};
    } else {
        return {omx_traced_value::number, (uint64_t)(long long)value};
    }
}

/* Writes the records in front of a call: its name (level 50) and its arguments (level 30). */
void omx_trace_call(const char *declaration, const omx_traced_value *arguments, int count);

/* Writes the record behind it: level 30 with the handles that the call has made, or 20 with the error of a
 * failure.
 */
void omx_trace_result(const char *declaration, const omx_traced_value *arguments, int count,
                      omx_traced_value result, bool is_code);

/* Makes a call between its records. */
template <class R, class... A>
__attribute__((cold, noinline)) R omx_call_traced(const char *declaration, R (*run)(A...), A... arguments)
{
    const omx_traced_value all[] = {omx_traced(arguments)..., {omx_traced_value::none, 0}};
    omx_load(); // so that the first record names the libraries
    omx_look_at_control_file();
    omx_trace_call(declaration, all, (int)sizeof...(A));
    if constexpr (std::is_void_v<R>) {
        run(arguments...);
        omx_trace_result(declaration, all, (int)sizeof...(A), {omx_traced_value::none, 0}, false);
    } else {
        const R rc = run(arguments...);
        omx_trace_result(declaration, all, (int)sizeof...(A), omx_traced(rc), std::is_same_v<R, sword>);
        return rc;
    }
}

#endif
