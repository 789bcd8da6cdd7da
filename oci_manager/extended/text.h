/*
 * Texts of environments whose texts are UTF-16. Oracle's library takes them as they are; Dravik's takes
 * UTF-8, so they are converted on the way in and on the way out.
 */
#ifndef OMX_TEXT_H
#define OMX_TEXT_H

#include <stddef.h>
#include <stdlib.h>

#include "extras.h"
#include "handle.h"

/* Length in bytes of a UTF-16 text up to its zero unit, at most `limit`. */
size_t omx_utf16_length(const ub1 *text, size_t limit);

/*
 * Converts UTF-16 in the machine's byte order to UTF-8; halves of pairs that stand alone become U+FFFD.
 * Writes at most `room` bytes with a terminating zero, whole characters only, and returns the length of what
 * it wrote; a text in UTF-8 takes at most half as much again as in UTF-16.
 */
size_t omx_to_utf8(const ub1 *text, size_t length, char *into, size_t room);

/*
 * Converts UTF-8 to UTF-16 in the machine's byte order; what is no UTF-8 becomes U+FFFD. Writes at most
 * `room` bytes, whole characters only, and returns their number. No terminating zero.
 */
size_t omx_to_utf16(const char *text, size_t length, ub1 *into, size_t room);

/* A text as a backend takes it: the program's own, or a converted copy that goes with this object. */
struct omx_text {
    const OraText *text;
    ub4 length; /* bytes */

    omx_text(const omx_handle *h, unsigned int backend, const OraText *source, ub4 source_length)
        : text(source), length(source_length)
    {
        if (__builtin_expect(backend == omx_dravik && source && omx_environment_of(h)->is_utf16, 0))
            convert();
    }
    ~omx_text()
    {
        if (copy && copy != room)
            free(copy);
    }
    omx_text(const omx_text &) = delete;
    omx_text &operator=(const omx_text &) = delete;

private:
    void convert(void);

    char *copy = nullptr;
    char room[256];
};

#endif
