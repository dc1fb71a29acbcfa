#ifndef TESTS_SIGNALS_H
#define TESTS_SIGNALS_H

#include <csignal>

#include <sys/time.h>

/// Restores the blocked signals and the dispositions of the signals that the tests use.
class ScopedSignals
{
public:
    ScopedSignals()
    {
        sigprocmask(SIG_SETMASK, nullptr, &m_mask);
        for (unsigned i = 0; i < COUNT; ++i)
            sigaction(USED[i], nullptr, &m_actions[i]);
    }
    ~ScopedSignals()
    {
        itimerval const off = {};
        setitimer(ITIMER_REAL, &off, nullptr);
        for (unsigned i = 0; i < COUNT; ++i)
            sigaction(USED[i], &m_actions[i], nullptr);
        sigprocmask(SIG_SETMASK, &m_mask, nullptr);
    }
    ScopedSignals(ScopedSignals const&) = delete;
    ScopedSignals& operator=(ScopedSignals const&) = delete;

    /// Installs a handler whose signal interrupts system calls.
    static void handle(int signo, void (*handler)(int))
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        sigaction(signo, &action, nullptr);
    }

    /// Raises SIGALRM every `ms` milliseconds, again and again: one signal that comes before the
    /// system call in question makes no difference.
    static void alarmEvery(suseconds_t ms)
    {
        itimerval const interval = {{0, ms * 1000}, {0, ms * 1000}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }

    static bool isBlocked(int signo)
    {
        sigset_t mask;
        sigprocmask(SIG_SETMASK, nullptr, &mask);
        return sigismember(&mask, signo) == 1;
    }

private:
    static constexpr unsigned COUNT = 4;
    static constexpr int USED[COUNT] = {SIGALRM, SIGCHLD, SIGUSR1, SIGUSR2};

    sigset_t m_mask = {};
    struct sigaction m_actions[COUNT] = {};
};

#endif
