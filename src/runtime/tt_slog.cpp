#include "tt_slog.h"

#include <cerrno>
#include <cstddef>

#include "tt_console.h"
#include "tt_time.h"

static constexpr size_t PREFIX_SIZE = 20;

char const* const tt_slog_prio_txt[8] = {"EMERG",   "ALERT",  "CRIT", "ERROR",
                                         "WARNING", "NOTICE", "INFO", "DEBUG"};

int tt_vslog(int prio, char const* fmt, va_list ap)
{
    // The message may print errno with %m, and the caller may go on to report it.
    int const saved_errno = errno;
    char prefix[PREFIX_SIZE];
    size_t const time_len = tt_utc_strftime(prefix, sizeof prefix, "%H:%M:%S", tt_time());

    tt_snprintf(prefix + time_len, sizeof prefix - time_len, "%8s: ", tt_slog_prio_txt[prio & 7]);
    tt_puts(prefix);
    errno = saved_errno;
    int const len = tt_vprintf(fmt, ap);
    errno = saved_errno;
    return len;
}

int tt_slog(int prio, char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_vslog(prio, fmt, ap);
    va_end(ap);
    return len;
}

int tt_slogd(char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    tt_vslog(TT_SLOG_DEBUG, fmt, ap);
    va_end(ap);
    return 0;
}
