#ifndef RUNTIME_TT_TIME_H
#define RUNTIME_TT_TIME_H

#include <cstddef>
#include <cstdint>
#include <ctime>

// Monotonic time. The values wrap: take differences modulo 2^32, never compare two of them.

/// Milliseconds of CLOCK_MONOTONIC, wrapping every 49.7 days.
uint32_t tt_time_ms();

/// Microseconds of CLOCK_MONOTONIC, wrapping every 71.6 minutes.
uint32_t tt_time_us();

uint32_t tt_time_ms_elapsed(uint32_t start);
uint32_t tt_time_us_elapsed(uint32_t start);

/// Keeps the processor busy until at least `us` microseconds have passed. Returns how many did.
uint32_t tt_time_us_delay(uint32_t us);

/// tt_time_us_delay for `ms` milliseconds; returns microseconds.
uint32_t tt_time_ms_delay(uint32_t ms);

/// Sleeps the whole time, also when signals interrupt it. Returns 0.
int tt_sleep_ms(unsigned ms);

// Real time.

struct tt_tvms_t
{
    int32_t sec;
    int32_t ms;
};

/// Seconds since 1970-01-01 00:00:00 UTC.
time_t tt_time();

/// The real-time clock in seconds and milliseconds. Returns 1.
int tt_time_tvms(tt_tvms_t* out);

/// Sets the real-time clock to `sec` and zero microseconds; the result is settimeofday's.
int tt_stime(time_t sec);

/// 1 once the real-time clock has been seen at or after 2015-01-01 00:00:00 UTC, else 0. The first
/// 1 is remembered: it stays when the clock is set back.
int tt_time_valid();

/// Seconds since boot.
unsigned tt_uptime();

// Calendar time.

/// strftime of `t` in UTC; 0, with `s` unspecified, when the text does not fit.
size_t tt_utc_strftime(char* s, size_t max, char const* fmt, time_t t)
    __attribute__((format(strftime, 3, 0)));

tm* tt_utc_time_to_tm(time_t t, tm* out);

/// Converts by local time, in spite of its name. That is UTC only if the process's time zone is
/// UTC.
time_t tt_utc_tm_to_time(tm* tm);

#endif
