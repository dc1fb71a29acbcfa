#include "tt_slog.h"

#include <cerrno>
#include <cstddef>

#include "tt_console.h"
#include "tt_time.h"

static constexpr size_t PREFIX_SIZE = 20;
static constexpr size_t MESSAGE_SIZE = 80;

char const* const tt_slog_prio_txt[8] = {"EMERG",   "ALERT",  "CRIT", "ERROR",
                                         "WARNING", "NOTICE", "INFO", "DEBUG"};

int tt_vslog(int prio, char const* fmt, va_list ap)
{
    // The message may print errno with %m, and the caller may go on to report it.
    int const saved_errno = errno;
    // One text, so that it is kept or dropped as a whole when nobody reads the output.
    char line[PREFIX_SIZE + MESSAGE_SIZE];

    size_t prefix_len = tt_utc_strftime(line, PREFIX_SIZE, "%H:%M:%S", tt_time());
    prefix_len += static_cast<size_t>(tt_snprintf(line + prefix_len, PREFIX_SIZE - prefix_len,
                                                  "%8s: ", tt_slog_prio_txt[prio & 7]));
    errno = saved_errno;
    int const len = tt_vsnprintf(line + prefix_len, MESSAGE_SIZE, fmt, ap);
    tt_puts(line);
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
