#include "thread_state.h"

#include <stddef.h>

#include "trace.h"

__thread om_thread_t om_thread = {OM_DEFAULT_LEVEL, 0, nullptr, 0, {0}, {0}, {0}, 0, 0};

om_thread_t *this_thread(void)
{
    return &om_thread;
}

/* Exports a member as a variable of its own. Programs take arrays of 16 bytes and more for aligned to 16. */
#define EXPORT_MEMBER(name, offset, size)                                                                    \
    static_assert(offsetof(om_thread_t, name) == (offset) && sizeof(om_thread_t::name) == (size));           \
    asm(".globl " #name "\n"                                                                                 \
        ".type " #name ", @tls_object\n"                                                                     \
        ".size " #name ", " #size "\n"                                                                       \
        ".set " #name ", om_thread + " #offset "\n")

EXPORT_MEMBER(LOG_LVL, 0, 4);
EXPORT_MEMBER(lStandardSec, 4, 4);
EXPORT_MEMBER(hdl_list_tbl, 8, 8);
EXPORT_MEMBER(cLogInit, 16, 1);
EXPORT_MEMBER(cLogRoot, 32, 1024);
EXPORT_MEMBER(cLogFileName, 1056, 128);
EXPORT_MEMBER(cLogDate, 1184, 10);
