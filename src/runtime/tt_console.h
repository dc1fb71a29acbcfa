#ifndef RUNTIME_TT_CONSOLE_H
#define RUNTIME_TT_CONSOLE_H

#include <cstdarg>
#include <cstddef>

// Console output goes straight to standard output, past the C stream `stdout`. The lines of both
// appear in the order of the calls, because the stream is line-buffered. But a line that the stream
// holds only a part of comes after what is printed here.

/// Writes the whole string and adds no line end. Goes on after a partial write and after EINTR.
/// Returns the number of bytes written, which is short only after another error. A program that has
/// called tt_outlet_open does not wait here, and bytes kept for later count as written.
int tt_puts(char const* s);
int tt_console_puts(char const* s);

/// Prints at most 79 characters a call: the text is formatted into a fixed 80-byte buffer, and the
/// rest is cut off. Returns the length of what was kept, at most 79.
int tt_printf(char const* fmt, ...) __attribute__((format(printf, 1, 2)));
int tt_console_printf(char const* fmt, ...) __attribute__((format(printf, 1, 2)));
int tt_vprintf(char const* fmt, va_list ap) __attribute__((format(printf, 1, 0)));
int tt_console_vprintf(char const* fmt, va_list ap) __attribute__((format(printf, 1, 0)));

/// snprintf that returns the number of characters stored, at most n - 1. If the text cannot be
/// formatted, it becomes empty. `n` must be at least 1.
int tt_snprintf(char* s, size_t n, char const* fmt, ...) __attribute__((format(printf, 3, 4)));
int tt_vsnprintf(char* s, size_t n, char const* fmt, va_list ap)
    __attribute__((format(printf, 3, 0)));

#endif
