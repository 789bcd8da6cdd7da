/*
 * Files by bare system calls. Records are written wherever a program calls, in a signal handler, in a forked
 * child and in a thread that is about to be cancelled: the C library's own functions may be cancelled in
 * between, which would lose the descriptor. Results are those of the C library's functions.
 */
#ifndef OM_RAW_IO_H
#define OM_RAW_IO_H

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
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

/* The process's limit of file sizes, as it was within this second: it is seldom set, and to ask takes longer
 * than to write a record's bytes. */
static inline unsigned long raw_size_limit(void)
{
    static unsigned long known_limit;
    static long known_since;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (__atomic_load_n(&known_since, __ATOMIC_ACQUIRE) == now.tv_sec + 1)
        return __atomic_load_n(&known_limit, __ATOMIC_RELAXED);
    struct rlimit limit;
    if (syscall(SYS_prlimit64, 0, RLIMIT_FSIZE, nullptr, &limit) != 0)
        limit.rlim_cur = RLIM_INFINITY;
    __atomic_store_n(&known_limit, limit.rlim_cur, __ATOMIC_RELAXED);
    __atomic_store_n(&known_since, now.tv_sec + 1, __ATOMIC_RELEASE); // 0: never
    return limit.rlim_cur;
}

/* Whether a file may grow by so many bytes. To go beyond the process's limit is answered by a signal, which
 * would end the program for the sake of its trace. */
static inline bool raw_may_grow(int fd, size_t count)
{
    const unsigned long limit = raw_size_limit();
    struct stat status;
    if (limit == RLIM_INFINITY)
        return true;
    return syscall(SYS_fstat, fd, &status) == 0 &&
           (!S_ISREG(status.st_mode) || (unsigned long)status.st_size + count <= limit);
}

/*
 * Appends a record to a file that was opened with O_APPEND and O_NONBLOCK. What cannot be written is lost: a
 * full disk, a file at its limit, a pipe whose reader takes nothing for a second.
 */
static inline void raw_append(int fd, const char *record, size_t length)
{
    constexpr long patience_seconds = 1;
    if (!raw_may_grow(fd, length))
        return;
    while (length > 0) {
        const ssize_t written = raw_write(fd, record, length);
        if (written > 0) {
            record += written;
            length -= (size_t)written;
        } else if (written < 0 && errno == EAGAIN) {
            struct pollfd reader = {fd, POLLOUT, 0};
            struct timespec patience = {patience_seconds, 0};
            if (syscall(SYS_ppoll, &reader, 1, &patience, nullptr, 0) == 0)
                return;
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

#endif
