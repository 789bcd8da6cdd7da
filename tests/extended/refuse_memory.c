/*
 * Preloaded into a program: one allocation that a certain library makes fails. Variables of the environment:
 * REFUSE_IN, a part of the library's file name; REFUSE_AT, the number of the allocation, counted from 0. When
 * it comes to that, a line is written to standard error.
 */
#define _GNU_SOURCE
#include <link.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

static size_t begin, end;
static long seen;

static int look(struct dl_phdr_info *object, size_t size, void *name)
{
    (void)size;
    if (!strstr(object->dlpi_name, (const char *)name))
        return 0;
    for (int i = 0; i < object->dlpi_phnum; i++) {
        const ElfW(Phdr) *segment = &object->dlpi_phdr[i];
        if (segment->p_type != PT_LOAD || !(segment->p_flags & PF_X))
            continue;
        begin = object->dlpi_addr + segment->p_vaddr;
        end = begin + segment->p_memsz;
    }
    return 1;
}

/* The program is linked with the library, so that it is there from the start. */
__attribute__((constructor)) static void find_library(void)
{
    const char *name = getenv("REFUSE_IN");
    if (name)
        dl_iterate_phdr(look, (void *)name);
}

static int is_refused(const void *caller)
{
    static const char said[] = "one allocation refused\n";
    if ((size_t)caller < begin || (size_t)caller >= end)
        return 0;
    const char *at = getenv("REFUSE_AT");
    if (!at || __atomic_fetch_add(&seen, 1, __ATOMIC_RELAXED) != strtol(at, NULL, 10))
        return 0;
    return write(STDERR_FILENO, said, sizeof said - 1) > 0;
}

void *malloc(size_t size)
{
    return is_refused(__builtin_return_address(0)) ? NULL : __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    return is_refused(__builtin_return_address(0)) ? NULL : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    return is_refused(__builtin_return_address(0)) ? NULL : __libc_realloc(block, size);
}
