#ifndef RUNTIME_TT_SLOG_H
#define RUNTIME_TT_SLOG_H

#include <cstdarg>

enum : int
{
    TT_SLOG_EMERG = 0,
    TT_SLOG_ALERT = 1,
    TT_SLOG_CRIT = 2,
    TT_SLOG_ERROR = 3,
    TT_SLOG_WARNING = 4,
    TT_SLOG_NOTICE = 5,
    TT_SLOG_INFO = 6,
    TT_SLOG_DEBUG = 7
};

/// The level names, indexed by priority.
extern char const* const tt_slog_prio_txt[8];

/// Prints the UTC time, the level name and the message on the console, for example
/// "09:05:07   ERROR: bind: socket not open". The message is cut to 79 characters; no line end is
/// added, so a format without one leaves the next output on the same line. Only the low three bits
/// of `prio` count. errno stays as it is. Returns the length of the message as printed, at most 79.
int tt_slog(int prio, char const* fmt, ...) __attribute__((format(printf, 2, 3)));
int tt_vslog(int prio, char const* fmt, va_list ap) __attribute__((format(printf, 2, 0)));

/// tt_slog at level DEBUG. Returns 0.
int tt_slogd(char const* fmt, ...) __attribute__((format(printf, 1, 2)));

#endif
