#include "tt_interrupt.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include <sys/time.h>

#include "tt_time.h"

static constexpr uint32_t UNBLOCK_AFTER_MS = 500;
static constexpr uint32_t UNBLOCK_EVERY_MS = 1;
static constexpr uint32_t GIVE_UP_AFTER_MS = 3000;

static sigset_t s_caught = {};
static volatile sig_atomic_t s_first = 0;
static volatile uint32_t s_first_ms = 0;

/* Caught signals that are ignored by now, too: whoever ends a run makes the process ignore the
   signal that it has handled. */
static void _give_up()
{
    for (int sig = 1; sig < NSIG; ++sig) {
        if (sigismember(&s_caught, sig) == 1)
            signal(sig, SIG_DFL);
    }
}

/* A further signal does nothing here, however late: it may have been sent early, and have waited
   for a disk to go on. */
static void _note(int sig)
{
    int const saved_errno = errno;

    if (!s_first) {
        s_first_ms = tt_time_ms();
        s_first = sig;
        tt_unblock_start(UNBLOCK_AFTER_MS);
    }
    errno = saved_errno;
}

static void _on_alarm(int /*sig*/)
{
    int const saved_errno = errno;

    if (s_first && tt_time_ms_elapsed(s_first_ms) >= GIVE_UP_AFTER_MS)
        _give_up();
    errno = saved_errno;
}

/* The timer is periodic: an alarm may come just before a call blocks, and then the next one
   interrupts the call. The handler is installed only now, so that until then SIGALRM does what it
   did before. Also called by a signal's handler: on Linux setitimer is a plain system call. */
void tt_unblock_start(unsigned ms)
{
    struct sigaction action = {};
    action.sa_handler = _on_alarm; /* without SA_RESTART, so that calls end with EINTR */
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);

    itimerval timer = {};
    timer.it_value.tv_sec = static_cast<time_t>(ms / 1000);
    timer.it_value.tv_usec = static_cast<suseconds_t>(ms % 1000) * 1000;
    timer.it_interval.tv_usec = static_cast<suseconds_t>(UNBLOCK_EVERY_MS) * 1000;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void tt_interrupt_catch(int sig)
{
    struct sigaction action = {};
    action.sa_handler = _note;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);

    sigaddset(&s_caught, sig);
    sigaction(sig, &action, nullptr);

    /* Whoever started the program may have blocked them. */
    sigset_t needed;
    sigemptyset(&needed);
    sigaddset(&needed, sig);
    sigaddset(&needed, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &needed, nullptr);
}

int tt_interrupted()
{
    return s_first;
}

void tt_unblock_end()
{
    itimerval const off = {};
    setitimer(ITIMER_REAL, &off, nullptr);

    /* A signal that came before this line has just lost its timer. One that comes later starts its
       own. */
    if (s_first) {
        uint32_t const left = UNBLOCK_AFTER_MS - tt_time_ms_elapsed(s_first_ms);
        tt_unblock_start(left <= UNBLOCK_AFTER_MS ? std::max(left, UNBLOCK_EVERY_MS)
                                                  : UNBLOCK_EVERY_MS);
    }
}
