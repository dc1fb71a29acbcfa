#ifndef RUNTIME_TT_PANIC_H
#define RUNTIME_TT_PANIC_H

/// Prints "Panic: " and the message, flushes the C streams and aborts the process.
[[noreturn]] void tt_panic(char const* fmt, ...) __attribute__((format(printf, 1, 2)));

/// Panics with "*** ASSERT in <unit> at <line>\n", for a broken invariant. `line` is a fixed number
/// that names the check within its unit. It stays when the source line moves.
[[noreturn]] void tt_assert_failed(char const* unit, int line);

[[noreturn]] void tt_abort();

#endif
