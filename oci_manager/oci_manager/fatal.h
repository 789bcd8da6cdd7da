/*
 * The one way to stop the process.
 *
 * A fatal condition is written to the trace and then reported as a failed assertion by the C library, with
 * source file, line and function, in every build: NDEBUG does not silence it. Assertion texts are written
 * out at the site, since they are what a user greps for and must not change with the spelling of a test.
 */
#ifndef OM_FATAL_H
#define OM_FATAL_H

#include "trace.h"

/* Writes the last record and fails the assertion. */
[[noreturn]] void stop_process(const char *assertion, const char *file, int line, const char *function);

#define STOP_AT(line, assertion) stop_process(assertion, __FILE__, line, __func__)

/* Stops unless a condition holds. */
#define REQUIRE_AT(line, condition, assertion)                                                               \
    do {                                                                                                     \
        if (__builtin_expect(!(condition), 0))                                                               \
            STOP_AT(line, assertion);                                                                        \
    } while (0)
#define REQUIRE(condition, assertion) REQUIRE_AT(__LINE__, condition, assertion)

/*
 * Stops with a reason of its own, where no condition is worth quoting. A helper reports the function of its
 * caller, which is the one that a program has called.
 */
#define STOP_BECAUSE_IN(function, reason_line, stop_line, ...)                                               \
    do {                                                                                                     \
        writeLog(OM_LOG_ASSERT, __FILE__, reason_line, __VA_ARGS__);                                         \
        stop_process("0", __FILE__, stop_line, function);                                                    \
    } while (0)
#define STOP_BECAUSE_AT(reason_line, stop_line, ...)                                                         \
    STOP_BECAUSE_IN(__func__, reason_line, stop_line, __VA_ARGS__)
#define STOP_BECAUSE(...) STOP_BECAUSE_AT(__LINE__, __LINE__, __VA_ARGS__)

#endif
