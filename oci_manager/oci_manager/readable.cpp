#include "readable.h"

#include <errno.h>
#include <stdint.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr uintptr_t page_size = 4096; // the smallest there is: protection never changes within

/*
 * The kernel is asked: it reads the eight bytes around the address as a signal mask before it refuses what is
 * to be done with it.
 */
bool can_read(uintptr_t address)
{
    constexpr int no_such_operation = -1;
    constexpr size_t mask_size = 8;
    const uintptr_t mask = address & ~(uintptr_t)(mask_size - 1);
    const int saved_errno = errno;
    errno = 0;
    // Address 0 would stand for no mask; the next one is of the same page.
    syscall(SYS_rt_sigprocmask, no_such_operation, mask ? mask : mask_size, nullptr, mask_size);
    const bool readable = errno != EFAULT;
    errno = saved_errno;
    return readable;
}

} // namespace

size_t readable_bytes(const void *address, size_t limit)
{
    const uintptr_t begin = (uintptr_t)address;
    size_t count = 0;
    while (address && count < limit && can_read(begin + count))
        count += page_size - (begin + count) % page_size;
    return count < limit ? count : limit;
}

size_t readable_text(const void *text, size_t limit)
{
    const char *begin = (const char *)text;
    size_t count = 0;
    while (text && count < limit && can_read((uintptr_t)begin + count)) {
        const size_t rest_of_page = page_size - ((uintptr_t)begin + count) % page_size;
        const size_t part = rest_of_page < limit - count ? rest_of_page : limit - count;
        const size_t length = strnlen(begin + count, part);
        count += length;
        if (length < part)
            break;
    }
    return count;
}
