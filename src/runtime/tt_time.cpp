#include "tt_time.h"

#include <type_traits>

#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <unistd.h>

static constexpr uint32_t MS_PER_S = 1000;
static constexpr uint32_t US_PER_S = 1000000;
static constexpr long NS_PER_US = 1000;
static constexpr long NS_PER_MS = 1000000;

// What SYS_clock_gettime fills in: two longs, even on a 32-bit machine whose C library has a 64-bit
// time_t in its timespec.
struct _kernel_timespec_t
{
    long tv_sec;
    long tv_nsec;
};

static uint8_t s_time_valid = 0;

static _kernel_timespec_t _monotonic()
{
    _kernel_timespec_t now = {};
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return now;
}

static timeval _real_time()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return now;
}

uint32_t tt_time_ms()
{
    _kernel_timespec_t const now = _monotonic();
    return static_cast<uint32_t>(now.tv_sec) * MS_PER_S +
           static_cast<uint32_t>(now.tv_nsec / NS_PER_MS);
}

uint32_t tt_time_us()
{
    _kernel_timespec_t const now = _monotonic();
    return static_cast<uint32_t>(now.tv_sec) * US_PER_S +
           static_cast<uint32_t>(now.tv_nsec / NS_PER_US);
}

uint32_t tt_time_ms_elapsed(uint32_t start)
{
    return tt_time_ms() - start;
}

uint32_t tt_time_us_elapsed(uint32_t start)
{
    return tt_time_us() - start;
}

uint32_t tt_time_us_delay(uint32_t us)
{
    uint32_t const start = tt_time_us();
    uint32_t passed = 0;

    do
        passed = tt_time_us_elapsed(start);
    while (passed < us);
    return passed;
}

uint32_t tt_time_ms_delay(uint32_t ms)
{
    return tt_time_us_delay(1000 * ms);
}

int tt_sleep_ms(unsigned ms)
{
    timespec left = {};
    left.tv_sec = static_cast<time_t>(ms / 1000);
    left.tv_nsec = static_cast<long>(ms % 1000) * NS_PER_MS;

    while (nanosleep(&left, &left) != 0) {
    }
    return 0;
}

time_t tt_time()
{
    return _real_time().tv_sec;
}

int tt_time_tvms(tt_tvms_t* out)
{
    timeval const now = _real_time();
    out->sec = static_cast<int32_t>(now.tv_sec);
    out->ms = static_cast<int32_t>(now.tv_usec / 1000);
    return 1;
}

int tt_stime(time_t sec)
{
    timeval now = {};
    now.tv_sec = sec;
    return settimeofday(&now, nullptr);
}

int tt_time_valid()
{
    static constexpr std::make_unsigned_t<time_t> LAST_INVALID_SECOND = 1420070399;

    // Unsigned, on purpose: a clock before 1970 counts as valid.
    if (!s_time_valid &&
        static_cast<std::make_unsigned_t<time_t>>(_real_time().tv_sec) > LAST_INVALID_SECOND)
        s_time_valid = 1;
    return s_time_valid;
}

unsigned tt_uptime()
{
    struct sysinfo info = {};
    sysinfo(&info);
    return static_cast<unsigned>(info.uptime);
}

size_t tt_utc_strftime(char* s, size_t max, char const* fmt, time_t t)
{
    tm utc = {};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the caller's format, checked there
    // A time whose year does not fit has no calendar form.
    return gmtime_r(&t, &utc) ? strftime(s, max, fmt, &utc) : 0;
#pragma GCC diagnostic pop
}

tm* tt_utc_time_to_tm(time_t t, tm* out)
{
    return gmtime_r(&t, out);
}

time_t tt_utc_tm_to_time(tm* tm)
{
    return mktime(tm);
}
