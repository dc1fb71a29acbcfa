#ifndef RUNTIME_FDLOOP_H
#define RUNTIME_FDLOOP_H

#include <cstdint>

// A single-threaded event loop over select: descriptors, timers, idlers and signals. Call all of it
// from the thread that runs the passes, and nothing from a signal handler. Callbacks may register,
// unregister, add and delete anything, including themselves. An entry that is deleted while
// callbacks of its kind run is not called again. It is freed when they have all run.

/// The loop: owns its entries, lives as long as the process.
struct _fdloop_t;
struct _fdloop_fd_t;
struct _fdloop_idler_t;
struct _fdloop_timer_t;

/// 0 keeps the registration, any other result removes it.
using fdloop_fd_func = int (*)(int fd, void* data);

/// The result is ignored.
using fdloop_idler_func = int (*)(void* data);

/// For SIGCHLD: called once per child that has ended, with its process id and exit status. Any
/// other signal: `pid` is the sender, `status` 0. The result is ignored.
using fdloop_signal_func = int (*)(int fd, int signo, int pid, int status);

/// Non-zero runs the timer again, one interval after the expiry that has just run. 0 ends it.
using fdloop_timer_func = int (*)(void* data);

/// Panics when memory is exhausted. So do all operations that add an entry, except
/// fdloop_timer_add.
_fdloop_t* fdloop_init();

/// Sets the debug level to the low byte of `flags` if bit 0x20000 selects this library.
void fdloop_debug(_fdloop_t* loop, unsigned flags);

/// Runs one pass: the timers that are due, the idlers, the wait for a descriptor or the next timer,
/// the callbacks of the ready descriptors. Returns 0, also when the time ran out or a signal cut
/// the wait short. Returns 1 at once if there is nothing to wait for (no timer, no enabled
/// descriptor), and -1 if the wait fails.
int fdloop_run(_fdloop_t* loop);

/// Runs passes until one does not return 0, and returns its result.
int fdloop_loop(_fdloop_t* loop);

// Descriptors. `fd` must be below FD_SETSIZE (1024), which is not checked. A negative one is
// ignored, and registering it returns null. One descriptor may have several entries.

_fdloop_fd_t* fdloop_fd_register(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data);
_fdloop_fd_t* fdloop_fd_register_write(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data);
_fdloop_fd_t* fdloop_fd_register_except(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data);

/// Removes the oldest entry of that direction for `fd`, if there is one.
void fdloop_fd_unregister(_fdloop_t* loop, int fd);
void fdloop_fd_unregister_write(_fdloop_t* loop, int fd);
void fdloop_fd_unregister_except(_fdloop_t* loop, int fd);

/// Starts or stops watching the oldest entry with this `fd` and `func`, of any direction. An entry
/// that starts is watched from the next pass on, or at once if its descriptor has just been found
/// ready for another entry. One that stops is not called any more, even when it is ready in the
/// pass that is running.
void fdloop_fd_enable(_fdloop_t* loop, int fd, fdloop_fd_func func, int enable);

// Idlers run once per pass, in the order added; they cannot be removed.

_fdloop_idler_t* fdloop_idler_add(_fdloop_t* loop, fdloop_idler_func func, void* data);

// Signals.

/// Blocks `signo` and lets the passes deliver it to `func`. Returns the signal descriptor, or a
/// negative value on failure. Then the signal stays blocked, too.
int fdloop_register_signal(_fdloop_t* loop, fdloop_signal_func func, int signo);

/// Closes the signal descriptor and unblocks `signo`. Returns sigprocmask's result.
int fdloop_unregister_signal(_fdloop_t* loop, int fd, int signo);

// Timers. Times are milliseconds on the clock of fdloop_time_ms, which wraps; intervals must stay
// below 2^31 ms.

/// The loop's clock, the same as tt_time_ms.
uint32_t fdloop_time_ms();

/// Runs `func` `interval_ms` from now. If memory is exhausted, returns null and adds no timer. The
/// handle is invalid once `func` has returned 0 or the timer has been deleted. A timer that a
/// timer's callback adds runs in a later pass, even with interval 0.
_fdloop_timer_t* fdloop_timer_add(_fdloop_t* loop, unsigned interval_ms, fdloop_timer_func func,
                                  void* data);

void fdloop_timer_del(_fdloop_t* loop, _fdloop_timer_t* timer);

/// Does not change the pending expiry. The new interval counts from there.
void fdloop_timer_set_interval(_fdloop_timer_t* timer, unsigned interval_ms);
unsigned fdloop_timer_get_interval(_fdloop_timer_t* timer);

/// Runs the timers due at `now`. Returns the milliseconds from `now` to the next expiry, at least
/// 1, or 0 when no timer is left.
uint32_t fdloop_timers_run(_fdloop_t* loop, uint32_t now);

#endif
