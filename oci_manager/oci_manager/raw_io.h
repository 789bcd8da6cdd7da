/*
 * Files by bare system calls. Records are written wherever a program calls, in a signal handler, in a forked
 * child and in a thread that is about to be cancelled: the C library's own functions may be cancelled in
 * between, which would lose the descriptor. Results are those of the C library's functions.
 */
#ifndef OM_RAW_IO_H
#define OM_RAW_IO_H

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

static inline int raw_open(const char *path, int flags, unsigned int mode)
{
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

static inline ssize_t raw_write(int fd, const void *bytes, size_t count)
{
    return syscall(SYS_write, fd, bytes, count);
}

/* Reads exactly `count` bytes at an offset; false if the file has no such bytes. */
static inline bool raw_read_at(int fd, void *bytes, size_t count, long offset)
{
    return syscall(SYS_pread64, fd, bytes, count, offset) == (long)count;
}

static inline void raw_close(int fd)
{
    syscall(SYS_close, fd);
}

#endif
