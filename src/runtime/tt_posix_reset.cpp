#include "tt_posix_reset.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/time.h>
#include <unistd.h>

#include "tt_outlet.h"
#include "tt_panic.h"

struct _signals_t
{
    sigset_t blocked;
    struct sigaction actions[NSIG];
};

static _signals_t _signals() noexcept
{
    _signals_t signals = {};

    sigprocmask(SIG_SETMASK, nullptr, &signals.blocked);
    for (int sig = 1; sig < NSIG; ++sig)
        sigaction(sig, nullptr, &signals.actions[sig]);
    return signals;
}

static void _restore(_signals_t const& signals)
{
    for (int sig = 1; sig < NSIG; ++sig)
        sigaction(sig, &signals.actions[sig], nullptr);
    sigprocmask(SIG_SETMASK, &signals.blocked, nullptr);
}

/* A new image inherits blocked and ignored signals. It must find those that this one found at its
   start, not those of today: under nohup, for example, SIGHUP is ignored. */
static _signals_t const s_inherited = _signals();

static int s_argc = 0;
static char** s_argv = nullptr;

void tt_reset()
{
    exit(0);
}

void tt_reset_set_args(int argc, char** argv)
{
    s_argc = argc;
    s_argv = argv;
}

void tt_reset_get_args(int* argc, char*** argv)
{
    *argc = s_argc;
    *argv = s_argv;
}

int tt_restart()
{
    if (!s_argv)
        tt_assert_failed("tt_posix_reset", 39);
    // What the streams and the outlet still hold would be lost with this process image.
    fflush(nullptr);
    tt_outlet_finish();
    // The timer would stay, without the handler for its alarm.
    itimerval const off = {};
    itimerval timer = {};
    setitimer(ITIMER_REAL, &off, &timer);
    _signals_t const current = _signals();
    _restore(s_inherited);

    int const result = execvp(s_argv[0], s_argv);

    int const error = errno; // nothing was started: the program goes on
    _restore(current);
    setitimer(ITIMER_REAL, &timer, nullptr);
    errno = error;
    return result;
}
