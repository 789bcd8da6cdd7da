#include "zone.h"

#include <ctype.h>
#include <limits.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "raw_io.h"
#include "thread_state.h"

namespace
{

constexpr long seconds_per_hour = 3600;
constexpr long seconds_per_day = 86400;

/* ---- calendar ---- */

bool is_leap(int year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

/* Days from the epoch to the first of January. */
long long days_before_year(int year)
{
    const long long past = (long long)year - 1;
    return 365 * ((long long)year - 1970) + (past / 4 - past / 100 + past / 400) -
           (1969 / 4 - 1969 / 100 + 1969 / 400);
}

int days_in_month(int year, int month)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1] + (month == 2 && is_leap(year));
}

/* ---- zones that TZ describes: "CET-1CEST,M3.5.0,M10.5.0/3" ---- */

/* The day of a year, and the second of that day, at which one of the two times begins. */
struct change_rule {
    char kind; /* 'J': day 1 to 365 without a leap day, '0': day 0 to 365, 'M': month, week and weekday */
    int month, week, day;
    long second;
};

struct zone_rules {
    long standard, daylight; /* offsets */
    bool has_daylight;
    change_rule to_daylight, to_standard;
};

/* A moment in seconds since the epoch of local time with the given offset. */
long long moment_of(const change_rule &rule, int year, long offset)
{
    long long day = days_before_year(year);
    switch (rule.kind) {
    case 'J':
        day += rule.day - 1 + (rule.day >= 60 && is_leap(year));
        break;
    case '0':
        day += rule.day;
        break;
    default: {
        for (int month = 1; month < rule.month; month++)
            day += days_in_month(year, month);
        const int first_weekday = (int)((day % 7 + 7 + 4) % 7); // the epoch was a Thursday
        int in_month = (rule.day - first_weekday + 7) % 7;
        for (int week = 1; week < rule.week && in_month + 7 < days_in_month(year, rule.month); week++)
            in_month += 7;
        day += in_month;
    }
    }
    return day * seconds_per_day - offset + rule.second;
}

long offset_by_rules(const zone_rules &rules, long long now)
{
    if (!rules.has_daylight)
        return rules.standard;
    const int year = civil_time_of(now).year;
    const long long begin = moment_of(rules.to_daylight, year, rules.standard);
    const long long end = moment_of(rules.to_standard, year, rules.daylight);
    // South of the equator daylight time lasts over the turn of the year.
    const bool daylight = begin > end ? now < end || now >= begin : now >= begin && now < end;
    return daylight ? rules.daylight : rules.standard;
}

bool read_number(const char *&p, int *value)
{
    if (!isdigit((unsigned char)*p))
        return false;
    long number = 0;
    for (; isdigit((unsigned char)*p); p++)
        number = number < USHRT_MAX ? number * 10 + (*p - '0') : number;
    *value = (int)(number < USHRT_MAX ? number : USHRT_MAX);
    return true;
}

/* An abbreviation: three letters or more, or three characters or more in angle brackets. Its text does not
 * matter. Where there is none, nothing is skipped: the letter of a rule may stand there. */
bool skip_name(const char *&text)
{
    const bool is_quoted = *text == '<';
    const char *begin = text + is_quoted;
    const char *p = begin;
    while (is_quoted ? isalnum((unsigned char)*p) || *p == '+' || *p == '-' : isalpha((unsigned char)*p))
        p++;
    if (p - begin < 3 || (is_quoted && *p != '>'))
        return false;
    text = p + is_quoted;
    return true;
}

/* "hh[:mm[:ss]]" in seconds; minutes and seconds count up to 59. */
bool read_time(const char *&p, int most_hours, long *seconds)
{
    int parts[3] = {0, 0, 0};
    if (!read_number(p, &parts[0]))
        return false;
    for (int i = 1; i < 3 && *p == ':' && isdigit((unsigned char)p[1]); i++)
        read_number(++p, &parts[i]);
    const auto at_most = [](int value, int limit) { return value < limit ? value : limit; };
    *seconds =
        at_most(parts[0], most_hours) * seconds_per_hour + at_most(parts[1], 59) * 60 + at_most(parts[2], 59);
    return true;
}

/* An offset counts west of Greenwich, unlike everything else here. */
bool read_offset(const char *&p, long *offset)
{
    const char *begin = p;
    long sign = -1;
    if (*p == '-' || *p == '+')
        sign = *p++ == '-' ? 1 : -1;
    long seconds = 0;
    if (!read_time(p, 24, &seconds)) {
        p = begin;
        return false;
    }
    *offset = sign * seconds;
    return true;
}

/* A rule; without any text the one that is named. False if it goes wrong, with what was read so far. */
bool read_rule(const char *&p, const change_rule &usual, change_rule *rule)
{
    if (*p == ',')
        p++;
    if (*p == 'J' || isdigit((unsigned char)*p)) {
        rule->kind = *p == 'J' ? 'J' : '0';
        p += *p == 'J';
        if (!read_number(p, &rule->day) || rule->day > 365 || (rule->kind == 'J' && rule->day == 0))
            return false;
    } else if (*p == 'M') {
        change_rule read = {'M', 0, 0, 0, 0};
        if (!read_number(++p, &read.month) || *p++ != '.' || !read_number(p, &read.week) || *p++ != '.' ||
            !read_number(p, &read.day))
            return false;
        if (read.month < 1 || read.month > 12 || read.week < 1 || read.week > 5 || read.day > 6)
            return false;
        *rule = read;
    } else if (!*p) {
        *rule = usual;
    } else {
        return false;
    }
    if (*p && *p != '/' && *p != ',')
        return false;
    rule->second = 2 * seconds_per_hour;
    if (*p == '/') {
        p++;
        const long sign = *p == '-' ? -1 : 1;
        p += *p == '-';
        if (!read_time(p, INT_MAX / (int)seconds_per_hour, &rule->second))
            return false;
        rule->second *= sign;
    }
    return true;
}

/*
 * False if the text begins with no name and offset; then the zone is UTC. What is wrong behind them counts as
 * a daylight time all the same: the C library makes a year of it in this way.
 */
bool read_rules(const char *p, zone_rules *rules)
{
    constexpr change_rule usual_begin = {'M', 3, 2, 0, 0};
    constexpr change_rule usual_end = {'M', 11, 1, 0, 0};
    *rules = {0, 0, false, {'0', 0, 0, 0, 0}, {'0', 0, 0, 0, 0}};
    if (!skip_name(p) || !read_offset(p, &rules->standard))
        return false;
    if (!*p)
        return true;
    rules->has_daylight = true;
    if (skip_name(p)) {
        rules->daylight = rules->standard + seconds_per_hour;
        read_offset(p, &rules->daylight);
    }
    if (read_rule(p, usual_begin, &rules->to_daylight))
        read_rule(p, usual_end, &rules->to_standard);
    return true;
}

/* ---- zones in files: the TZif format, of which the part with 64-bit times is read ---- */

struct zone_file {
    int fd;
    long times;       /* where the moments of change are */
    uint32_t changes; /* how many */
    uint32_t types;
    uint32_t leaps;
    uint32_t name_bytes;
    uint32_t standard_flags, utc_flags;

    long indexes_at() const { return times + 8 * (long)changes; }
    long types_at() const { return indexes_at() + (long)changes; }
    long leaps_at() const { return types_at() + 6 * (long)types + (long)name_bytes; }
    long footer_at() const { return leaps_at() + 12 * (long)leaps + (long)standard_flags + (long)utc_flags; }
};

int64_t big_endian(const unsigned char *bytes, int count)
{
    uint64_t value = bytes[0] & 0x80 ? ~(uint64_t)0 : 0;
    for (int i = 0; i < count; i++)
        value = value << 8 | bytes[i];
    return (int64_t)value;
}

bool read_integer(int fd, long offset, int bytes, int64_t *value)
{
    unsigned char buffer[8];
    if (!raw_read_at(fd, buffer, (size_t)bytes, offset))
        return false;
    *value = big_endian(buffer, bytes);
    return true;
}

/* The counts in a header, in the order in which they stand there. */
bool read_header(int fd, long offset, uint32_t (&counts)[6], char *version)
{
    unsigned char header[44];
    if (!raw_read_at(fd, header, sizeof header, offset) || memcmp(header, "TZif", 4) != 0)
        return false;
    *version = (char)header[4];
    for (int i = 0; i < 6; i++) {
        const int64_t count = big_endian(header + 20 + 4 * i, 4);
        if (count < 0 || count > 1 << 20)
            return false;
        counts[i] = (uint32_t)count;
    }
    return true;
}

bool read_layout(zone_file *file)
{
    enum { utc_flags, standard_flags, leaps, changes, types, name_bytes };
    uint32_t counts[6];
    char version = 0;
    if (!read_header(file->fd, 0, counts, &version) || version == 0)
        return false;
    const long second_header = 44 + 5 * (long)counts[changes] + 6 * (long)counts[types] +
                               (long)counts[name_bytes] + 8 * (long)counts[leaps] +
                               (long)counts[standard_flags] + (long)counts[utc_flags];
    if (!read_header(file->fd, second_header, counts, &version) || counts[types] == 0)
        return false;
    file->times = second_header + 44;
    file->changes = counts[changes];
    file->types = counts[types];
    file->leaps = counts[leaps];
    file->name_bytes = counts[name_bytes];
    file->standard_flags = counts[standard_flags];
    file->utc_flags = counts[utc_flags];
    return true;
}

/* How many of the changes have come by now. */
bool count_changes(const zone_file &file, long long now, uint32_t *count)
{
    uint32_t low = 0;
    uint32_t high = file.changes;
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        int64_t time = 0;
        if (!read_integer(file.fd, file.times + 8 * (long)middle, 8, &time))
            return false;
        if (time <= now)
            low = middle + 1;
        else
            high = middle;
    }
    *count = low;
    return true;
}

/* The rules at the file's end, for all times after the last change. */
bool footer_rules(const zone_file &file, zone_rules *rules)
{
    char text[128];
    size_t length = 0;
    long at = file.footer_at();
    if (!raw_read_at(file.fd, text, 1, at) || *text != '\n')
        return false;
    while (length < sizeof text - 1 && raw_read_at(file.fd, text + length, 1, ++at) && text[length] != '\n')
        length++;
    text[length] = '\0';
    return length > 0 && read_rules(text, rules);
}

bool offset_in_file(const zone_file &file, long long now, long *offset)
{
    uint32_t count = 0;
    if (!count_changes(file, now, &count))
        return false;
    zone_rules rules;
    if (count > 0 && count == file.changes && footer_rules(file, &rules)) {
        *offset = offset_by_rules(rules, now);
        return true;
    }
    unsigned char type = 0;
    unsigned char description[6] = {}; // the offset, whether it is daylight time, and where its name is
    if (count > 0) {
        if (!raw_read_at(file.fd, &type, 1, file.indexes_at() + (long)count - 1) || type >= file.types)
            return false;
    } else {
        // Before the first change: the first standard time.
        while (raw_read_at(file.fd, description, sizeof description, file.types_at() + 6 * (long)type) &&
               description[4] && ++type < file.types && type < UCHAR_MAX)
            ;
        type = type < file.types ? type : 0;
    }
    if (!raw_read_at(file.fd, description, sizeof description, file.types_at() + 6 * (long)type))
        return false;
    *offset = (long)big_endian(description, 4);
    return true;
}

/* Seconds that clocks which count leap seconds are ahead. */
long leap_correction(const zone_file &file, long long now)
{
    for (uint32_t i = file.leaps; i-- > 0;) {
        int64_t time = 0;
        int64_t correction = 0;
        if (read_integer(file.fd, file.leaps_at() + 12 * (long)i, 8, &time) && time <= now &&
            read_integer(file.fd, file.leaps_at() + 12 * (long)i + 8, 4, &correction))
            return (long)correction;
    }
    return 0;
}

bool open_zone(const char *path, zone_file *file)
{
    struct stat status;
    file->fd = raw_open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0);
    if (file->fd < 0)
        return false;
    if (fstat(file->fd, &status) == 0 && S_ISREG(status.st_mode) && read_layout(file))
        return true;
    raw_close(file->fd);
    return false;
}

/* The file of a zone that TZ names, absolutely or in the system's directory of zones. */
bool open_named_zone(const char *name, zone_file *file)
{
    if (*name == '/')
        return open_zone(name, file);
    const char *directory = getenv("TZDIR");
    char path[PATH_MAX];
    const int length = snprintf(path, sizeof path, "%s/%s",
                                directory && *directory ? directory : "/usr/share/zoneinfo", name);
    return length > 0 && (size_t)length < sizeof path && open_zone(path, file);
}

/* ---- what a thread found last ---- */

/* Minute (32 bits), offset (18) and the low bits of the name's hash (14) in one word, which is written whole.
 */
uint64_t remembered(long long minute, long offset, uint64_t hash)
{
    return (uint64_t)(uint32_t)minute << 32 | (uint64_t)((uint32_t)(offset + (1 << 17)) & 0x3ffff) << 14 |
           (hash & 0x3fff);
}

uint64_t hash_of(const char *text)
{
    uint64_t hash = 0xcbf29ce484222325u;
    if (!text)
        return 0;
    for (; *text; text++)
        hash = (hash ^ (unsigned char)*text) * 0x100000001b3u;
    return hash;
}

} // namespace

civil_time civil_time_of(long long seconds)
{
    const long long day =
        (seconds - ((seconds % seconds_per_day + seconds_per_day) % seconds_per_day)) / seconds_per_day;
    const int second = (int)(seconds - day * seconds_per_day);
    int year = (int)(1970 + (day < 0 ? day / 365 - 1 : day / 366)); // not too late
    while (days_before_year(year + 1) <= day)
        year++;
    int rest = (int)(day - days_before_year(year));
    int month = 1;
    for (; rest >= days_in_month(year, month); month++)
        rest -= days_in_month(year, month);
    return {year, month, rest + 1, second / (int)seconds_per_hour, second / 60 % 60, second % 60};
}

long zone_offset(const char *tz, long long now, bool *changes_at_whole_minutes)
{
    *changes_at_whole_minutes = true;
    if (tz && *tz == ':')
        tz++;
    else if (tz && !*tz)
        tz = "Universal";

    zone_file file;
    if (tz ? open_named_zone(tz, &file) : open_zone("/etc/localtime", &file)) {
        long offset = 0;
        const bool found = offset_in_file(file, now, &offset);
        if (file.leaps > 0) {
            *changes_at_whole_minutes = false;
            offset -= leap_correction(file, now);
        }
        raw_close(file.fd);
        if (found)
            return offset;
    }
    zone_rules rules;
    return tz && read_rules(tz, &rules) ? offset_by_rules(rules, now) : 0;
}

/*
 * Zones change their offset at whole minutes only, so that it is found once a minute. A signal handler may
 * come in between anywhere: what is remembered holds together even if both the handler and what it interrupts
 * write it, since one word says for which minute, offset and name it is.
 */
long local_offset(long long now)
{
    om_thread_t *thread = this_thread();
    const char *tz = getenv("TZ");
    const uint64_t hash = hash_of(tz);
    const long long minute = (now - (now % 60 + 60) % 60) / 60;
    const unsigned long known = *(volatile unsigned long *)&thread->zone_known;
    const long offset = (long)(known >> 14 & 0x3ffff) - (1 << 17);
    if (known == remembered(minute, offset, hash) &&
        *(volatile unsigned long *)&thread->zone_name_hash == hash)
        return offset;

    bool changes_at_whole_minutes;
    const long found = zone_offset(tz, now, &changes_at_whole_minutes);
    *(volatile unsigned long *)&thread->zone_known = 0;
    *(volatile unsigned long *)&thread->zone_name_hash = hash;
    if (changes_at_whole_minutes)
        *(volatile unsigned long *)&thread->zone_known = remembered(minute, found, hash);
    return found;
}
