#ifndef RUNTIME_TT_PANIC_H
#define RUNTIME_TT_PANIC_H

/// Writes what the C streams still hold, prints "Panic: " and the message, and aborts the process.
[[noreturn]] void tt_panic(char const* fmt, ...) __attribute__((format(printf, 1, 2)));

/// The panic of a broken invariant: "*** ASSERT in <unit> at <line>\n". `line` is a fixed number
/// that names the check within its unit; it stays when the source line moves.
[[noreturn]] void tt_assert_failed(char const* unit, int line);

[[noreturn]] void tt_abort();

#endif
