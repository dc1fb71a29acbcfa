#ifndef RUNTIME_TT_POSIX_TTY_H
#define RUNTIME_TT_POSIX_TTY_H

#include <termios.h>

/// Puts the terminal `fd` into raw input: bytes one at a time, eight bits, no echo, no flow
/// control; CTRL-C still raises SIGINT. Stores the former settings in `saved` unless it is null.
/// Returns 0, or -1 when the settings cannot be read or applied.
int tt_posix_tty_raw(int fd, termios* saved);

/// Applies settings, for example those that tt_posix_tty_raw saved. Returns tcsetattr's result.
int tt_posix_tty_set(int fd, termios const* settings);

#endif
