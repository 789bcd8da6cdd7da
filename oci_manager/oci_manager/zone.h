/*
 * The offset of local time, found without the C library's zone. Its functions hold a lock while they work: a
 * signal handler that interrupts one would wait for ever, and so would a child that was forked meanwhile.
 * They also change what a program sees in tzname. Here nothing is locked, shared or allocated.
 */
#ifndef OM_ZONE_H
#define OM_ZONE_H

/**
 * Seconds that local time is ahead of the seconds since the epoch, as TZ or the system's zone has it at the
 * given moment. TZ is looked at anew by every call. An unknown zone is UTC, as in the C library.
 */
long local_offset(long long now);

/** The same for the value of TZ that is given; null: TZ is unset. Keeps nothing. */
long zone_offset(const char *tz, long long now, bool *changes_at_whole_minutes);

struct civil_time {
    int year, month, day, hour, minute, second; /* month and day count from 1 */
};

/** Breaks seconds since the epoch, offset included, down into a date and a time of day. */
civil_time civil_time_of(long long seconds);

#endif
