#include "trace.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include "raw_io.h"
#include "zone.h"

namespace
{

constexpr unsigned int level_lifetime = 60; // seconds
constexpr size_t message_size = OM_LONGEST_MESSAGE + 1;
constexpr size_t suffix_size = 1024;
constexpr size_t record_size = 10240; // prefix, decoration, message and suffix always fit

struct decoration {
    int level;
    const char *before;
    const char *after;
};

constexpr decoration decorations[] = {
    {OM_LOG_ASSERT, "\x1b[31m\x1b[1mASSERT - ", " <<< Check Please \x1b[0m"},
    {OM_LOG_ERROR, "\x1b[31mERROR - ", "\x1b[0m"},
    {OM_LOG_INFO, "\x1b[1mINFO - ", "\x1b[0m"},
    {OM_LOG_DEBUG, "DEBUG - ", ""},
    {OM_LOG_LIST, "DEBUG LIST - ", ""},
    {OM_LOG_TRACE, "\x1b[32mTRACE - ", "()\x1b[0m"},
};

const decoration *find_decoration(int level)
{
    for (const decoration &d : decorations)
        if (d.level == level)
            return &d;
    return nullptr;
}

/* Copies a text without its terminating zero and returns the place behind it. */
char *append(char *to, const char *text)
{
    const size_t length = strlen(text);
    memcpy(to, text, length);
    return to + length;
}

/* Appends a number in decimal, with leading zeros up to a width. */
char *append_number(char *to, long value, int width)
{
    char digits[20];
    int count = 0;
    for (; value > 0 || count < width; value /= 10)
        digits[count++] = (char)('0' + value % 10);
    while (count > 0)
        *to++ = digits[--count];
    return to;
}

/* "[2026-03-04 10:20:30:123456] ", in local time; microseconds have no leading zeros. */
char *append_time(char *to)
{
    timeval now;
    gettimeofday(&now, nullptr);
    const civil_time local = civil_time_of(now.tv_sec + local_offset(now.tv_sec));
    const struct {
        char before;
        int value;
        int width;
    } fields[] = {
        {'[', local.year, 4},   {'-', local.month, 2},  {'-', local.day, 2},        {' ', local.hour, 2},
        {':', local.minute, 2}, {':', local.second, 2}, {':', (int)now.tv_usec, 1},
    };
    for (const auto &field : fields) {
        *to++ = field.before;
        to = append_number(to, field.value, field.width);
    }
    return append(to, "] ");
}

char *append_message(char *to, int level, const char *format, va_list arguments)
{
    const decoration *d = find_decoration(level);
    if (!d)
        return to;
    to = append(to, d->before);
    *to = '\0'; // what is left if the format is faulty
    vsnprintf(to, message_size, format, arguments);
    return append(to + strlen(to), d->after);
}

char *append_source(char *to, const char *filename, int line)
{
    const char *slash = strrchr(filename, '/');
    const int length = snprintf(to, suffix_size, " - (%s:%d)\n", slash ? slash + 1 : filename, line);
    return to + ((size_t)length < suffix_size ? (size_t)length : suffix_size - 1);
}

void append_to_file(const char *record, size_t length)
{
    const om_thread_t *thread = this_thread();
    char path[1024];
    if (snprintf(path, sizeof path, "%s/%s/%s", thread->cLogRoot, thread->cLogDate, thread->cLogFileName) < 0)
        return;
    // A pipe that nobody reads is no file to wait for.
    const int fd = raw_open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, OM_LOG_MODE);
    if (fd < 0)
        return;
    raw_append(fd, record, length);
    raw_close(fd);
}

} // namespace

extern "C" {

void initLog(void)
{
    const char *path = getenv(OM_LOG_PATH_VARIABLE);
    if (!path)
        path = ".";
    om_thread_t *thread = this_thread();
    memcpy(thread->cLogRoot, path, strnlen(path, sizeof thread->cLogRoot - 1));
    snprintf(thread->cLogFileName, sizeof thread->cLogFileName, OM_LOG_FILE_FORMAT, (long)getpid());
    thread->cLogInit = 1;
}

void writeLog(int lvl, const char *filename, int line, const char *format, ...)
{
    trace_refresh();
    if (!trace_enabled(lvl))
        return;

    const int saved_errno = errno;
    char record[record_size];
    char *end = append_time(record);
    va_list arguments;
    va_start(arguments, format);
    end = append_message(end, lvl, format, arguments);
    va_end(arguments);
    end = append_source(end, filename, line);
    append_to_file(record, (size_t)(end - record));
    errno = saved_errno;
}

} // extern "C"

void trace_reread_level(unsigned int now)
{
    om_thread_t *thread = this_thread();
    if (!thread->cLogInit)
        initLog();
    if (thread->lStandardSec >= now)
        return;
    const int saved_errno = errno;
    const char *level = getenv(OM_LOG_LEVEL_VARIABLE);
    thread->LOG_LVL = level ? (int)strtol(level, nullptr, 10) : OM_DEFAULT_LEVEL;
    thread->lStandardSec = now + level_lifetime;
    errno = saved_errno;
}
