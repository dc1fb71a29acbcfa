#include "tt_system.h"

#include <csignal>

#include "tt_panic.h"

int tt_set_sig_handler(int sig, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
    if (sigaction(sig, &action, nullptr) != 0)
        tt_panic("Signal %d handler install failed (%m)\n", sig);
#pragma GCC diagnostic pop
    return 0;
}

int os_sys_init(int x)
{
    return x;
}
