#include "tt_system.h"

#include <csignal>

#include <gtest/gtest.h>

#include "child_process.h"
#include "signals.h"

static volatile sig_atomic_t s_received = 0;

TEST(TtSetSigHandler, installsTheHandlerToRestartSystemCalls)
{
    ScopedSignals const signals;
    s_received = 0;

    EXPECT_EQ(0, tt_set_sig_handler(SIGUSR1, [](int signo) { s_received = signo; }));
    raise(SIGUSR1);
    EXPECT_EQ(SIGUSR1, s_received);

    struct sigaction installed = {};
    sigaction(SIGUSR1, nullptr, &installed);
    auto const flags = SA_RESTART | SA_NODEFER | SA_SIGINFO | SA_ONSTACK | SA_NOCLDSTOP |
                       SA_NOCLDWAIT | static_cast<int>(SA_RESETHAND);
    EXPECT_EQ(SA_RESTART, installed.sa_flags & flags);
    for (int signo = 1; signo < SIGRTMIN; ++signo)
        EXPECT_EQ(0, sigismember(&installed.sa_mask, signo)) << signo;
}

TEST(TtSetSigHandler, panicsForASignalThatCannotBeHandled)
{
    ChildResult const child = runInChild([] { tt_set_sig_handler(SIGKILL, [](int) {}); });

    EXPECT_EQ("Panic: Signal 9 handler install failed (Invalid argument)\n", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}

TEST(OsSysInit, returnsItsArgument)
{
    EXPECT_EQ(0, os_sys_init(0));
    EXPECT_EQ(-17, os_sys_init(-17));
}
