/*
 * How far a text of the program can be read. Programs pass texts with a length and no terminating zero,
 * buffers that hold nothing yet, and values that are no addresses at all; the trace shows them as text.
 */
#ifndef OM_READABLE_H
#define OM_READABLE_H

#include <stddef.h>

/** Bytes, at most `limit`, that can be read at an address. */
size_t readable_bytes(const void *address, size_t limit);

/** Bytes before the first zero byte, the first unreadable one, or `limit`. */
size_t readable_text(const void *text, size_t limit);

#endif
