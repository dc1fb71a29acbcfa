#include "fdloop.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "child_process.h"
#include "descriptors.h"
#include "fdloop_handle.h"
#include "loop_callbacks.h"
#include "no_descriptors.h"
#include "scoped_loop.h"
#include "signals.h"

struct SignalCall
{
    int fd;
    int signo;
    int pid;
    int status;
};

static fdloop_timer_func const IGNORE_TIMER = [](void*) { return 0; };

static std::vector<SignalCall> s_calls;
static volatile sig_atomic_t s_handled = 0;

class FdloopSignal : public ::testing::Test
{
protected:
    FdloopSignal()
    {
        s_calls.clear();
        s_handled = 0;
    }

    static int record(int fd, int signo, int pid, int status)
    {
        s_calls.push_back({fd, signo, pid, status});
        return 1; // ignored
    }

    static void handle(int /*signo*/) { s_handled = s_handled + 1; }

    /// Ends the next wait after five seconds when no signal does.
    void limitWait() { m_limit = fdloop_timer_add(loop, 5000, IGNORE_TIMER, nullptr); }
    bool endedBeforeLimit() const
    {
        return static_cast<int32_t>(fdloop_time_ms() - m_limit->expire) < 0;
    }

    // Restored last, when no loop and no descriptor is left.
    ScopedSignals m_signals;
    ScopedLoop loop;
    _fdloop_timer_t* m_limit = nullptr;
};

TEST_F(FdloopSignal, isDeliveredByThePassesInsteadOfItsHandler)
{
    ScopedSignals::handle(SIGUSR1, handle);
    int const fd = fdloop_register_signal(loop, record, SIGUSR1);
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(ScopedSignals::isBlocked(SIGUSR1));
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));

    for (unsigned count = 1; count <= 2; ++count) {
        raise(SIGUSR1);
        EXPECT_EQ(count - 1, s_calls.size());
        EXPECT_EQ(0, fdloop_run(loop));
        ASSERT_EQ(count, s_calls.size());
        EXPECT_EQ(fd, s_calls.back().fd);
        EXPECT_EQ(SIGUSR1, s_calls.back().signo);
        EXPECT_EQ(getpid(), s_calls.back().pid);
        EXPECT_EQ(0, s_calls.back().status);
    }
    EXPECT_EQ(0, s_handled);
    fdloop_unregister_signal(loop, fd, SIGUSR1);
}

TEST_F(FdloopSignal, unregisteringRestoresItsHandler)
{
    ScopedSignals::handle(SIGUSR1, handle);
    int const fd = fdloop_register_signal(loop, record, SIGUSR1);

    EXPECT_EQ(0, fdloop_unregister_signal(loop, fd, SIGUSR1));
    EXPECT_FALSE(ScopedSignals::isBlocked(SIGUSR1));
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));
    EXPECT_EQ(0, loop->fd_count);
    raise(SIGUSR1);
    EXPECT_EQ(1, s_handled);
    EXPECT_TRUE(s_calls.empty());
}

static _fdloop_t* s_loop = nullptr;

TEST_F(FdloopSignal, mayBeUnregisteredByItsOwnCallback)
{
    s_loop = loop;
    fdloop_register_signal(
        loop,
        [](int fd, int signo, int pid, int status) {
            record(fd, signo, pid, status);
            return fdloop_unregister_signal(s_loop, fd, signo);
        },
        SIGUSR1);

    raise(SIGUSR1);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, s_calls.size());
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_EQ(1, fdloop_run(loop));
}

TEST_F(FdloopSignal, ignoresAShortRead)
{
    int fds[2] = {-1, -1};
    ASSERT_EQ(0, pipe(fds));
    int const fd = fdloop_register_signal(loop, record, SIGUSR1);
    ASSERT_EQ(3, write(fds[1], "abc", 3));

    EXPECT_EQ(0, loop->fd_head->func(fds[0], loop->fd_head->data));
    EXPECT_TRUE(s_calls.empty());

    fdloop_unregister_signal(loop, fd, SIGUSR1);
    close(fds[0]);
    close(fds[1]);
}

TEST_F(FdloopSignal, staysBlockedWhenThereIsNoDescriptorForIt)
{
    ChildResult const child = runInChild([this] {
        NoDescriptors const noDescriptors;
        int const fd = fdloop_register_signal(loop, record, SIGUSR1);
        printf("%s, %s, %d entries", fd < 0 ? "negative" : "a descriptor",
               ScopedSignals::isBlocked(SIGUSR1) ? "blocked" : "not blocked", loop->fd_count);
    });

    EXPECT_EQ("negative, blocked, 0 entries", child.output);
}

/// A child that has ended when this returns, but has not been waited for. It is in a process group
/// of its own, as a child that became a daemon is.
static pid_t endedChild(int status)
{
    pid_t const child = fork();
    if (child == 0) {
        setpgid(0, 0);
        _exit(status);
    }
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    return child;
}

TEST_F(FdloopSignal, reportsEveryChildThatHasEnded)
{
    int const fd = fdloop_register_signal(loop, record, SIGCHLD);
    std::map<int, int> expected;
    for (int const status : {0, 3, 255})
        expected[endedChild(status)] = status;

    EXPECT_EQ(0, fdloop_run(loop));
    std::map<int, int> statuses;
    for (auto const& call : s_calls) {
        EXPECT_EQ(fd, call.fd);
        EXPECT_EQ(SIGCHLD, call.signo);
        statuses[call.pid] = call.status;
    }
    EXPECT_EQ(3U, s_calls.size());
    EXPECT_EQ(expected, statuses);
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)); // all were reaped
    EXPECT_EQ(1, loop->fd_count);
    fdloop_unregister_signal(loop, fd, SIGCHLD);
}

TEST_F(FdloopSignal, reportsNoChildThatStillRuns)
{
    int const fd = fdloop_register_signal(
        loop,
        [](int from, int signo, int pid, int status) {
            if (pid == 0)
                abort(); // there would be no end of it
            return record(from, signo, pid, status);
        },
        SIGCHLD);
    pid_t const running = fork();
    if (running == 0) {
        alarm(60);
        pause();
        _exit(0);
    }
    pid_t const ended = endedChild(0);

    EXPECT_EQ(0, fdloop_run(loop));
    ASSERT_EQ(1U, s_calls.size());
    EXPECT_EQ(ended, s_calls[0].pid);
    EXPECT_EQ(0, waitpid(running, nullptr, WNOHANG));

    kill(running, SIGKILL);
    waitpid(running, nullptr, 0);
    fdloop_unregister_signal(loop, fd, SIGCHLD);
}

TEST_F(FdloopSignal, thatEndsTheWaitMakesThePassReturn0)
{
    SocketPair const sockets;
    FdAction action;
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    ScopedSignals::handle(SIGALRM, handle);
    limitWait();
    ScopedSignals::alarmEvery(5);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_GE(s_handled, 1);
    EXPECT_TRUE(endedBeforeLimit());
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(1, loop->fd_count);
}

TEST_F(FdloopSignal, unregisteredEndsTheWaitAgainAsAnyOther)
{
    ScopedSignals::handle(SIGALRM, handle);
    fdloop_unregister_signal(loop, fdloop_register_signal(loop, record, SIGALRM), SIGALRM);
    limitWait();
    ScopedSignals::alarmEvery(5);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_TRUE(endedBeforeLimit());
    EXPECT_GE(s_handled, 1);
}
