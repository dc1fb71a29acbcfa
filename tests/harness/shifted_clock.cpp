// Loaded into log_tool ahead of the C library (LD_PRELOAD): its millisecond clock, of 32 bits,
// wraps so many milliseconds after it was first read as MS_TO_WRAP says. Only the clock that the
// program asks the kernel for is changed; its waits are relative.

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include <dlfcn.h>
#include <sys/syscall.h>

static constexpr long MS_PER_S = 1000;
static constexpr long NS_PER_MS = 1000000;

// In whole milliseconds, so that the program's own rounding stays as it is.
static void shift(timespec& now)
{
    static int64_t s_shift = 0;
    int64_t const ms = int64_t{now.tv_sec} * MS_PER_S + now.tv_nsec / NS_PER_MS;
    if (s_shift == 0) {
        char const* const toWrap = getenv("MS_TO_WRAP");
        s_shift = (int64_t{1} << 32) - (toWrap ? strtoll(toWrap, nullptr, 10) : 0) - ms;
    }
    int64_t const shifted = ms + s_shift;
    now.tv_sec = static_cast<time_t>(shifted / MS_PER_S);
    now.tv_nsec = shifted % MS_PER_S * NS_PER_MS + now.tv_nsec % NS_PER_MS;
}

extern "C" long syscall(long number, ...)
{
    static auto* const real = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    static constexpr int MOST = 6;
    long arguments[MOST];
    va_list list;
    va_start(list, number);
    for (long& argument : arguments)
        argument = va_arg(list, long);
    va_end(list);

    long const result = real(number, arguments[0], arguments[1], arguments[2], arguments[3],
                             arguments[4], arguments[5]);
    if (result == 0 && number == SYS_clock_gettime && arguments[0] == CLOCK_MONOTONIC) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a system call's pointers come as numbers
        auto* const now = reinterpret_cast<timespec*>(arguments[1]);
        shift(*now);
    }
    return result;
}
