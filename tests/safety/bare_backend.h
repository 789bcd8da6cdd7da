#ifndef SAFETY_BARE_BACKEND_H
#define SAFETY_BARE_BACKEND_H

#include <oci.h>

/* The last link, statement or placeholder that a bare backend was given. */
struct bare_received_text {
    unsigned long calls;
    sb4 length;
    char text[256];
};

extern "C" bare_received_text bare_received;

#endif
