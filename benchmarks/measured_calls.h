/*
 * The calls that are measured, each through the library and directly. Both editions are held to figures of
 * them.
 */
#ifndef BENCHMARKS_MEASURED_CALLS_H
#define BENCHMARKS_MEASURED_CALLS_H

#include <vector>

#include "connection.h"

/* The connection that the measurements of one thread share. */
connection &main_connection();

/* Registers NAME/through and NAME/direct for each of the calls. */
void register_measured_calls();

/* Service contexts beside those of the connection, on the same server, for as long as this lives. */
class more_handles
{
public:
    explicit more_handles(size_t count);
    ~more_handles();
    more_handles(const more_handles &) = delete;
    more_handles &operator=(const more_handles &) = delete;

    std::vector<OCISvcCtx *> handles;
};

/*
 * Registers measurements among many handles: commit/oldest, commit/newest, handle/pair and statement/free
 * with 10 to 100 000, commit/any with 10 000; and those of two threads: commit and direct, with 1 and 2
 * threads.
 */
void register_crowds();

#endif
