#include "fdloop.h"

#include <cerrno>
#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "child_process.h"
#include "descriptors.h"
#include "fd_directions.h"
#include "fdloop_handle.h"
#include "loop_callbacks.h"
#include "scoped_loop.h"
#include "system_doubles.h"

TEST(FdloopInit, makesAnEmptyLoopAtTheTimeOfTheClock)
{
    uint32_t const before = fdloop_time_ms();
    ScopedLoop const loop;
    uint32_t const after = fdloop_time_ms();

    EXPECT_LE(loop->now_ms - before, after - before);
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_EQ(nullptr, loop->fd_head);
    EXPECT_EQ(nullptr, loop->timer_head);
    EXPECT_EQ(nullptr, loop->idler_head);
    EXPECT_EQ(0, loop->debug);
}

TEST(FdloopDebug, takesTheLowByteIfTheSelectorBitIsSet)
{
    ScopedLoop const loop;
    struct FlagsCase
    {
        unsigned flags;
        unsigned level;
    };
    FlagsCase const cases[] = {
        {0x00002, 0}, {0x20002, 2}, {0x10005, 2}, {0xFFFDFFFF, 2}, {0xFFFFFFA5, 0xA5}, {0x20100, 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.flags);
        fdloop_debug(loop, c.flags);
        EXPECT_EQ(c.level, loop->debug);
    }
}

TEST(Fdloop, panicsWhenMemoryIsExhausted)
{
    struct PanicCase
    {
        char const* output;
        void (*add)(_fdloop_t*);
    };
    PanicCase const cases[] = {
        {"Panic: *** ASSERT in fdloop at 35\n", [](_fdloop_t*) { fdloop_init(); }},
        {"Panic: *** ASSERT in fdloop at 58\n",
         [](_fdloop_t* loop) { fdloop_fd_register(loop, 3, IGNORE_FD, nullptr); }},
        {"Panic: *** ASSERT in fdloop at 58\n",
         [](_fdloop_t* loop) { fdloop_fd_register_write(loop, 3, IGNORE_FD, nullptr); }},
        {"Panic: *** ASSERT in fdloop at 58\n",
         [](_fdloop_t* loop) { fdloop_fd_register_except(loop, 3, IGNORE_FD, nullptr); }},
        {"Panic: *** ASSERT in fdloop at 175\n",
         [](_fdloop_t* loop) {
             fdloop_idler_add(
                 loop, [](void*) { return 0; }, nullptr);
         }},
    };
    for (auto const& c : cases) {
        ScopedLoop const loop;
        ChildResult const child = runInChild([&] {
            NoMemory const noMemory;
            c.add(loop);
        });
        EXPECT_EQ(c.output, child.output);
        EXPECT_EQ(SIGABRT, child.signal());
    }
}

TEST(FdloopRun, returns1AtOnceWithNothingToWaitFor)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction action;

    EXPECT_EQ(1, fdloop_run(loop));

    for (auto const& d : DIRECTIONS)
        d.add(loop, sockets.near(), FdAction::call, &action)->enabled = 0;
    EXPECT_EQ(1, fdloop_run(loop));
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(3, loop->fd_count);
}

TEST(FdloopRun, waitsForATimerWithoutDescriptors)
{
    ScopedLoop const loop;
    int calls = 0;
    uint32_t const expire = fdloop_timer_add(loop, 120, countCall, &calls)->expire;

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0, calls); // it became due in the wait
    EXPECT_GE(static_cast<int32_t>(fdloop_time_ms() - expire), 0);
    EXPECT_EQ(1, fdloop_run(loop));
    EXPECT_EQ(1, calls);
}

TEST(FdloopRun, returns0WhenNoDescriptorBecomesReadyInTime)
{
    ScopedLoop const loop;
    SocketPair const sockets;
    FdAction action;
    int calls = 0;
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    fdloop_timer_add(loop, 1005, countCall, &calls);

    uint32_t const start = fdloop_time_ms();
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_GE(fdloop_time_ms() - start, 1004U);
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(1, loop->fd_count);
}

TEST(FdloopRun, runsTimersIdlersAndDescriptorsInThisOrder)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    std::string order;
    FdAction action{[&](int) {
        order += 'd';
        return 0;
    }};
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    auto const append = [](void* data) {
        *static_cast<std::string*>(data) += 'i';
        return 0;
    };
    fdloop_idler_add(loop, append, &order);
    fdloop_timer_add(
        loop, 0,
        [](void* data) {
            *static_cast<std::string*>(data) += 't';
            return 1;
        },
        &order);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ("tidtid", order);
}

TEST(FdloopRun, keepsTheTimeOfThePass)
{
    ScopedLoop const loop;
    loop->now_ms -= 100000;

    uint32_t const before = fdloop_time_ms();
    fdloop_run(loop);
    EXPECT_LE(loop->now_ms - before, fdloop_time_ms() - before);
}

TEST(FdloopRun, returnsMinus1WhenTheWaitFailsAndKeepsTheEntries)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction action;
    int const gone = dup(sockets.near());
    fdloop_fd_register(loop, gone, FdAction::call, &action);
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    close(gone);

    EXPECT_EQ(-1, fdloop_run(loop));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(-1, fdloop_loop(loop));
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(2, loop->fd_count);

    fdloop_fd_unregister(loop, gone);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, action.calls);
}

TEST(FdloopLoop, runsPassesUntilThereIsNothingToWaitFor)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction action;
    action.action = [&](int) { return action.calls == 3 ? 1 : 0; };
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);

    EXPECT_EQ(1, fdloop_loop(loop));
    EXPECT_EQ(3U, action.calls);
}
