#ifndef RUNTIME_TT_SYSTEM_H
#define RUNTIME_TT_SYSTEM_H

/// Installs `handler` with an empty mask and SA_RESTART. Panics on failure; returns 0.
int tt_set_sig_handler(int sig, void (*handler)(int));

/// Hook for platform start-up: does nothing and returns `x`.
int os_sys_init(int x);

#endif
