#include "fatal.h"

#undef NDEBUG // declares __assert_fail in every build
#include <assert.h>

void stop_process(const char *assertion, const char *file, int line, const char *function)
{
    writeLog(OM_LOG_ASSERT, file, line, "There is a problem. exit now!");
    __assert_fail(assertion, file, (unsigned int)line, function);
}
