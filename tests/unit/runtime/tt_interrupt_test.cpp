#include "tt_interrupt.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <unistd.h>

#include "child_process.h"
#include "passed_time.h"
#include "tt_time.h"

// A caught signal is noted for good, so each test runs in its own process.

namespace
{

class Pipe
{
public:
    Pipe()
    {
        if (pipe(m_fds) == -1)
            abort();
    }
    ~Pipe()
    {
        close(m_fds[0]);
        close(m_fds[1]);
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    /// read(): blocks while nothing was written.
    ssize_t read() const
    {
        char byte = 0;
        return ::read(m_fds[0], &byte, 1);
    }
    void write() const { EXPECT_EQ(1, ::write(m_fds[1], "x", 1)); }

private:
    int m_fds[2] = {-1, -1};
};

}

TEST(TtInterrupt, notesTheFirstSignalAndDoesNothingElse)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        tt_interrupt_catch(SIGTERM);
        printf("%d", tt_interrupted());
        raise(SIGTERM);
        raise(SIGINT);
        raise(SIGTERM);
        printf(" %s", tt_interrupted() == SIGTERM ? "SIGTERM" : "another");
    });

    EXPECT_EQ("0 SIGTERM", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtInterrupt, keepsErrno)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        errno = 77;
        raise(SIGINT);
        printf("%d", errno);
    });

    EXPECT_EQ("77", child.output);
}

TEST(TtInterrupt, catchesASignalThatWasInheritedBlocked)
{
    ChildResult const child = runInChild([] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        tt_interrupt_catch(SIGINT);
        raise(SIGINT);
        Pipe const silent;
        ssize_t const got = silent.read(); // the alarm is let in, too
        printf("%d %zd", tt_interrupted() == SIGINT, got);
    });

    EXPECT_EQ("1 -1", child.output);
}

TEST(TtInterrupt, restartsACallThatEndsSoon)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        Pipe const pipe;
        onceAsleep([&pipe](pid_t sleeper) {
            kill(sleeper, SIGINT);
            pipe.write();
        });
        ssize_t const got = pipe.read();
        printf("%zd %d", got, tt_interrupted() == SIGINT);
    });

    EXPECT_EQ("1 1", child.output);
}

TEST(TtInterrupt, endsACallThatStillBlocksHalfASecondLater)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        Pipe const silent;
        onceAsleep([](pid_t sleeper) { kill(sleeper, SIGINT); });
        uint32_t const start = tt_time_ms();
        for (int call = 0; call < 2; ++call) { // those after it as well
            ssize_t const got = silent.read();
            printf("%zd %s ", got, errno == EINTR ? "EINTR" : "another error");
        }
        printf("%d", tt_time_ms() - start >= 500);
    });

    EXPECT_EQ("-1 EINTR -1 EINTR 1", child.output);
}

TEST(TtInterrupt, survivesAnyNumberOfSignalsForThreeSeconds)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        tt_interrupt_catch(SIGHUP);
        for (int i = 0; i < 1000; ++i)
            raise(i % 3 == 0 ? SIGHUP : SIGINT);
        printf("alive");
    });

    EXPECT_EQ("alive", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtInterrupt, endsTheProcessWithAFurtherSignalAfterThreeSeconds)
{
    for (uint32_t const passed : {2000U, 3000U}) {
        ChildResult const child = runInChild([passed] {
            tt_interrupt_catch(SIGINT);
            tt_interrupt_catch(SIGTERM);
            raise(SIGINT);
            PassedTime const time(passed);
            Pipe const silent;
            EXPECT_EQ(-1, silent.read()); // an alarm has come
            raise(SIGTERM);
        });
        EXPECT_EQ(passed < 3000 ? 0 : SIGTERM, child.signal());
    }
}

// While a disk stalls no handler runs, and a signal that was sent in time comes late.
TEST(TtInterrupt, ignoresASignalOfTheFirstThreeSecondsHoweverLateItComes)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        tt_interrupt_catch(SIGTERM);
        raise(SIGINT);
        sigset_t stalled;
        sigset_t before;
        sigfillset(&stalled);
        sigprocmask(SIG_SETMASK, &stalled, &before);
        raise(SIGTERM);
        PassedTime const time(4000);
        usleep(600000); // longer than until the first alarm, which waits as well
        sigprocmask(SIG_SETMASK, &before, nullptr);
        printf("alive");
    });

    EXPECT_EQ("alive", child.output);
    EXPECT_EQ(0, child.exitCode());
}

// The end of a run ignores the signal. After three seconds it must work again.
TEST(TtInterrupt, endsTheProcessAfterThreeSecondsAlsoWithASignalThatIsIgnoredByThen)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        raise(SIGINT);
        signal(SIGINT, SIG_IGN);
        PassedTime const time(3000);
        Pipe const silent;
        EXPECT_EQ(-1, silent.read()); // an alarm has come
        raise(SIGINT);
    });

    EXPECT_EQ(SIGINT, child.signal());
}

TEST(TtUnblock, endsCallsThatBlockUntilToldOtherwise)
{
    ChildResult const child = runInChild([] {
        Pipe const pipe;
        tt_unblock_start(1);
        ssize_t const blocked = pipe.read();
        tt_unblock_end();
        onceAsleep([&pipe](pid_t) { pipe.write(); });
        ssize_t const undisturbed = pipe.read();
        printf("%zd %zd", blocked, undisturbed);
    });

    EXPECT_EQ("-1 1", child.output);
}

TEST(TtUnblock, leavesTheEndOfARunItsOwnInterruptions)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGINT);
        tt_unblock_start(1000);
        raise(SIGINT);
        tt_unblock_end();
        Pipe const silent;
        printf("%zd", silent.read());
    });

    EXPECT_EQ("-1", child.output);
}
