#include "trace_log.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "../oci_manager/raw_io.h"
#include "../oci_manager/version_note.h"
#include "../oci_manager/zone.h"
#include "libraries.h"

int omx_trace_level = OM_DEFAULT_LEVEL;

namespace
{

constexpr size_t record_size = 10240;
constexpr size_t longest_path = 1024;

bool is_off;              // a program with the rights of another user
char directory[900];      // the working directory is looked up at each record, as the program may change it
int level_of_environment; // what goes without a control file
long next_look;           // at the control file, in seconds since the epoch
long first_written_by;    // the process whose first record is there

struct decoration {
    const char *before;
    const char *after;
};

decoration decoration_of(int level)
{
    switch (level) {
    case OM_LOG_ASSERT:
        return {"\x1b[31m\x1b[1mASSERT - ", " <<< Check Please \x1b[0m"};
    case OM_LOG_ERROR:
        return {"\x1b[31mERROR - ", "\x1b[0m"};
    case OM_LOG_INFO:
        return {"\x1b[1mINFO - ", "\x1b[0m"};
    case OM_LOG_LIST:
        return {"DEBUG LIST - ", ""};
    case OM_LOG_TRACE:
        return {"\x1b[32mTRACE - ", "()\x1b[0m"};
    default:
        return {"DEBUG - ", ""};
    }
}

/* Runs when the library is loaded, before any call. */
__attribute__((constructor)) void read_settings(void)
{
    is_off = getauxval(AT_SECURE) != 0;
    const char *path = secure_getenv(OM_LOG_PATH_VARIABLE);
    const char *level = secure_getenv(OM_LOG_LEVEL_VARIABLE);
    snprintf(directory, sizeof directory, "%s", path ? path : ".");
    level_of_environment = is_off ? 0 : level ? (int)strtol(level, nullptr, 10) : OM_DEFAULT_LEVEL;
    omx_trace_level = level_of_environment;
}

/*
 * Opens a file of this process in the directory. Links, files with a second name, and files of other users
 * are refused: somebody else may have put them there. The level may be set by the system's administrator.
 */
int open_own_file(const char *name_format, int flags, bool may_be_roots)
{
    char name[64];
    char path[longest_path];
    snprintf(name, sizeof name, name_format, (long)syscall(SYS_getpid));
    snprintf(path, sizeof path, "%s/%s", directory, name);
    const int fd = raw_open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, OMX_LOG_MODE);
    if (fd < 0)
        return fd;
    struct stat status;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
        (status.st_uid == geteuid() || (may_be_roots && status.st_uid == 0)))
        return fd;
    raw_close(fd);
    return -1;
}

void append(const char *bytes, size_t length)
{
    const int fd = open_own_file(OM_LOG_FILE_FORMAT, O_WRONLY | O_CREAT | O_APPEND, false);
    if (fd < 0)
        return;
    raw_append(fd, bytes, length);
    raw_close(fd);
}

void write_message(int level, const char *file, int line, const char *message)
{
    timeval now;
    gettimeofday(&now, nullptr);
    const civil_time t = civil_time_of(now.tv_sec + local_offset(now.tv_sec));
    const decoration d = decoration_of(level);
    const char *slash = strrchr(file, '/');
    char record[record_size];
    const int length =
        snprintf(record, sizeof record, "[%04d-%02d-%02d %02d:%02d:%02d:%ld] [%ld] %s%s%s - (%s:%d)\n",
                 t.year, t.month, t.day, t.hour, t.minute, t.second, (long)now.tv_usec,
                 (long)syscall(SYS_gettid), d.before, message, d.after, slash ? slash + 1 : file, line);
    if (length > 0)
        append(record, (size_t)length < sizeof record ? (size_t)length : sizeof record - 1);
}

/* Says whose trace this is. A forked child is a process of its own. */
void write_first_record(void)
{
    const long process = (long)syscall(SYS_getpid);
    if (__atomic_exchange_n(&first_written_by, process, __ATOMIC_RELAXED) == process)
        return;
    char program[512];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
    program[length > 0 ? length : 0] = '\0';
    const char *state[omx_backend_count];
    for (unsigned int b = 0; b < omx_backend_count; b++)
        state[b] = omx_libraries[b].dl          ? "loaded"
                   : omx_libraries[b].reason[0] ? omx_libraries[b].reason
                                                : "not loaded yet";
    char message[OM_LONGEST_MESSAGE + 1];
    snprintf(message, sizeof message,
             OM_VERSION_TEXT "\n\tprogram=%s\n\tprocess=%ld\n\tlevel=%d\n\tOracle=%s, %s\n\tDravik=%s, %s",
             program, process, omx_trace_level, omx_libraries[omx_oracle].path, state[omx_oracle],
             omx_libraries[omx_dravik].path, state[omx_dravik]);
    write_message(OM_LOG_INFO, __FILE__, __LINE__, message);
}

} // namespace

void omx_look_at_control_file(void)
{
    const long now = (long)time(nullptr);
    long next = __atomic_load_n(&next_look, __ATOMIC_RELAXED);
    if (now < next || is_off ||
        !__atomic_compare_exchange_n(&next_look, &next, now + 1, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED))
        return;
    const int saved_errno = errno;
    int level = level_of_environment;
    const int fd = open_own_file(OM_CONTROL_FILE_FORMAT, O_RDONLY, true);
    if (fd >= 0) {
        char text[16] = "";
        if (syscall(SYS_read, fd, text, sizeof text - 1) > 0)
            level = (int)strtol(text, nullptr, 10);
        raw_close(fd);
    }
    __atomic_store_n(&omx_trace_level, level, __ATOMIC_RELAXED);
    errno = saved_errno;
}

void omx_write_record(int level, const char *file, int line, const char *format, ...)
{
    if (is_off || !omx_traces(level))
        return;
    const int saved_errno = errno;
    write_first_record();
    char message[OM_LONGEST_MESSAGE + 1];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    write_message(level, file, line, message);
    errno = saved_errno;
}
