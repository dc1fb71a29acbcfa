#include "fdloop.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "child_process.h"
#include "descriptors.h"
#include "fdloop_handle.h"
#include "no_descriptors.h"
#include "scoped_loop.h"
#include "signals.h"
#include "system_doubles.h"
#include "tt_time.h"

struct Direction
{
    char const* name;
    uint8_t dir;
    _fdloop_fd_t* (*add)(_fdloop_t*, int, fdloop_fd_func, void*);
    void (*remove)(_fdloop_t*, int);
};

static Direction const DIRECTIONS[] = {
    {"read", 0, fdloop_fd_register, fdloop_fd_unregister},
    {"write", 1, fdloop_fd_register_write, fdloop_fd_unregister_write},
    {"except", 2, fdloop_fd_register_except, fdloop_fd_unregister_except},
};

/// A descriptor that stays readable and writable.
class ReadyPair : public SocketPair
{
public:
    ReadyPair() { makeReadable(); }
};

/* The handle */

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

static fdloop_fd_func const IGNORE = [](int, void*) { return 0; };

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
         [](_fdloop_t* loop) { fdloop_fd_register(loop, 3, IGNORE, nullptr); }},
        {"Panic: *** ASSERT in fdloop at 58\n",
         [](_fdloop_t* loop) { fdloop_fd_register_write(loop, 3, IGNORE, nullptr); }},
        {"Panic: *** ASSERT in fdloop at 58\n",
         [](_fdloop_t* loop) { fdloop_fd_register_except(loop, 3, IGNORE, nullptr); }},
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

/* Passes */

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

static int countCall(void* data)
{
    ++*static_cast<int*>(data);
    return 0;
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

/* Descriptors */

TEST(FdloopFd, registrationAppendsAnEnabledEntry)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        FdAction action;

        _fdloop_fd_t const* const first = d.add(loop, 5, FdAction::call, &action);
        _fdloop_fd_t const* const second = d.add(loop, 7, IGNORE, nullptr);

        EXPECT_EQ(first, loop->fd_head);
        EXPECT_EQ(second, first->next);
        EXPECT_EQ(second, loop->fd_tail);
        EXPECT_EQ(d.dir, first->dir);
        EXPECT_EQ(5, first->fd);
        EXPECT_EQ(1, first->enabled);
        EXPECT_EQ(0, first->deleted);
        EXPECT_EQ(&action, first->data);
        EXPECT_EQ(2, loop->fd_count);
        EXPECT_EQ(2, loop->fd_dir_count[d.dir]);
    }
}

TEST(FdloopFd, aNegativeDescriptorIsIgnored)
{
    ScopedLoop const loop;
    fd_set full;
    memset(&full, 0xFF, sizeof full);
    for (auto& set : loop->fd_sets)
        set = full;

    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        EXPECT_EQ(nullptr, d.add(loop, -1, IGNORE, nullptr));
        d.remove(loop, -1);
        EXPECT_EQ(0, loop->fd_count);
        EXPECT_EQ(nullptr, loop->fd_head);
        EXPECT_EQ(0, memcmp(&full, &loop->fd_sets[d.dir], sizeof full));
    }
}

TEST(FdloopFd, descriptor0IsOneLikeAnyOther)
{
    ScopedLoop const loop;

    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ASSERT_NE(nullptr, d.add(loop, 0, IGNORE, nullptr));
        EXPECT_EQ(0, loop->fd_head->fd);
        d.remove(loop, 0);
        EXPECT_EQ(0, loop->fd_count);
    }
}

/// A loopback stream with urgent data waiting at the receiver: writable, but not readable.
class UrgentData
{
public:
    UrgentData()
    {
        int const listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        m_sender = socket(AF_INET, SOCK_STREAM, 0);
        if (bind(listener, generic, size) != 0 || listen(listener, 1) != 0 ||
            getsockname(listener, generic, &size) != 0 || connect(m_sender, generic, size) != 0)
            abort();
        m_receiver = accept(listener, nullptr, nullptr);
        close(listener);
        pollfd arrival = {m_receiver, POLLPRI, 0};
        if (send(m_sender, "!", 1, MSG_OOB) != 1 || poll(&arrival, 1, -1) != 1)
            abort();
    }
    ~UrgentData()
    {
        close(m_sender);
        close(m_receiver);
    }
    UrgentData(UrgentData const&) = delete;
    UrgentData& operator=(UrgentData const&) = delete;

    int receiver() const { return m_receiver; }

private:
    int m_sender = -1;
    int m_receiver = -1;
};

TEST(FdloopFd, eachDirectionReportsItsOwnCondition)
{
    SocketPair const writable;
    UrgentData const exceptional;
    int fds[2] = {-1, -1};
    ASSERT_EQ(0, pipe(fds));
    ASSERT_EQ(1, write(fds[1], "x", 1));

    int const watched[] = {fds[0], writable.near(), exceptional.receiver()};
    std::vector<int> const ready[] = {
        {watched[0]},
        {watched[1], watched[2]},
        {watched[2]},
    };
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        std::vector<int> called;
        FdAction action{[&](int fd) {
            called.push_back(fd);
            return 0;
        }};
        for (int const fd : watched)
            d.add(loop, fd, FdAction::call, &action);

        EXPECT_EQ(0, fdloop_run(loop));
        EXPECT_EQ(ready[d.dir], called);
    }
    close(fds[0]);
    close(fds[1]);
}

TEST(FdloopFd, theHighestDescriptorOfTheSetsWorks)
{
    ReadyPair const sockets;
    ScopedLoop const loop;
    FdAction action;
    int const highest = FD_SETSIZE - 1;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < FD_SETSIZE)
        GTEST_SKIP() << "fewer descriptors allowed";
    ASSERT_EQ(highest, dup2(sockets.near(), highest));

    fdloop_fd_register(loop, highest, FdAction::call, &action);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, action.calls);
    close(highest);
}

/// Runs one pass over the descriptors of `actions`, all ready to read, registered in order.
class FdloopDispatch : public ::testing::Test
{
protected:
    static constexpr unsigned COUNT = 3;

    void registerAll()
    {
        for (unsigned i = 0; i < COUNT; ++i)
            fdloop_fd_register(loop, fd(i), FdAction::call, &actions[i]);
    }

    int fd(unsigned i) const { return sockets[i].near(); }

    std::vector<unsigned> callsOfOnePass()
    {
        for (auto& action : actions)
            action.calls = 0;
        EXPECT_EQ(0, fdloop_run(loop));
        EXPECT_EQ(0, loop->fd_busy);
        EXPECT_EQ(0, loop->fd_dirty);
        std::vector<unsigned> calls;
        for (auto const& action : actions)
            calls.push_back(action.calls);
        return calls;
    }

    using Calls = std::vector<unsigned>;

    ScopedLoop loop;
    ReadyPair sockets[COUNT];
    FdAction actions[COUNT];
};

TEST_F(FdloopDispatch, callsTheReadyDescriptorsInTheOrderOfRegistration)
{
    std::vector<int> order;
    for (auto& action : actions) {
        action.action = [&](int ready) {
            order.push_back(ready);
            return 0;
        };
    }
    registerAll();

    EXPECT_EQ((Calls{1, 1, 1}), callsOfOnePass());
    EXPECT_EQ((std::vector<int>{fd(0), fd(1), fd(2)}), order);
}

TEST_F(FdloopDispatch, anyNonZeroResultRemovesTheEntry)
{
    for (int const result : {1, -1, 256}) {
        SCOPED_TRACE(result);
        actions[0].action = [result](int) { return result; };
        fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);
        fdloop_fd_register(loop, fd(1), FdAction::call, &actions[1]);

        EXPECT_EQ((Calls{1, 1, 0}), callsOfOnePass());
        EXPECT_EQ(1, loop->fd_count);
        EXPECT_EQ(1, loop->fd_dir_count[FDLOOP_READ]);
        EXPECT_EQ((Calls{0, 1, 0}), callsOfOnePass());
        fdloop_fd_unregister(loop, fd(1));
    }
}

TEST_F(FdloopDispatch, aSecondEntryOfARemovedDescriptorWaitsForTheNextPass)
{
    actions[0].action = [](int) { return 1; };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[1]);
    fdloop_fd_register_write(loop, fd(0), FdAction::call, &actions[2]);

    EXPECT_EQ((Calls{1, 0, 1}), callsOfOnePass());
    EXPECT_EQ((Calls{0, 1, 1}), callsOfOnePass());
}

TEST_F(FdloopDispatch, severalEntriesOfOneDescriptorAreAllCalled)
{
    for (auto& action : actions)
        fdloop_fd_register(loop, fd(0), FdAction::call, &action);

    EXPECT_EQ((Calls{1, 1, 1}), callsOfOnePass());
}

TEST_F(FdloopDispatch, aCallbackMayUnregisterALaterDescriptor)
{
    actions[0].action = [&](int) {
        fdloop_fd_unregister(loop, fd(1));
        EXPECT_EQ(3, loop->fd_count); // freed at the end of the dispatch
        return 0;
    };
    registerAll();

    EXPECT_EQ((Calls{1, 0, 1}), callsOfOnePass());
    EXPECT_EQ(2, loop->fd_count);
    EXPECT_EQ(2, loop->fd_dir_count[FDLOOP_READ]);
}

TEST_F(FdloopDispatch, aCallbackMayUnregisterAnEarlierDescriptor)
{
    actions[2].action = [&](int) {
        fdloop_fd_unregister(loop, fd(0));
        return 0;
    };
    registerAll();

    EXPECT_EQ((Calls{1, 1, 1}), callsOfOnePass());
    EXPECT_EQ(2, loop->fd_count);
    EXPECT_EQ((Calls{0, 1, 1}), callsOfOnePass());
}

TEST_F(FdloopDispatch, aCallbackMayUnregisterItself)
{
    actions[1].action = [&](int ready) {
        fdloop_fd_unregister(loop, ready);
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);
    fdloop_fd_register(loop, fd(1), FdAction::call, &actions[1]);
    fdloop_fd_register(loop, fd(1), FdAction::call, &actions[2]);

    EXPECT_EQ((Calls{1, 1, 0}), callsOfOnePass()); // the descriptor may be closed
    EXPECT_EQ(2, loop->fd_count);
    EXPECT_EQ((Calls{1, 0, 1}), callsOfOnePass());
}

TEST_F(FdloopDispatch, aCallbackMayReplaceItsOwnRegistration)
{
    actions[0].action = [&](int ready) {
        fdloop_fd_unregister(loop, ready);
        fdloop_fd_register(loop, ready, FdAction::call, &actions[1]);
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);

    EXPECT_EQ((Calls{1, 0, 0}), callsOfOnePass());
    EXPECT_EQ(1, loop->fd_count);
    EXPECT_EQ((Calls{0, 1, 0}), callsOfOnePass());
}

TEST_F(FdloopDispatch, aCallbackMayUnregisterItselfAndTheNextOfItsDescriptor)
{
    actions[0].action = [&](int ready) {
        fdloop_fd_unregister(loop, ready);
        fdloop_fd_unregister(loop, ready); // the oldest that is still live
        return 0;
    };
    for (auto& action : actions)
        fdloop_fd_register(loop, fd(0), FdAction::call, &action);

    EXPECT_EQ((Calls{1, 0, 0}), callsOfOnePass());
    EXPECT_EQ(1, loop->fd_count);
    EXPECT_EQ((Calls{0, 0, 1}), callsOfOnePass());
}

// A new entry stands at the end of the walk.
TEST_F(FdloopDispatch, anEntryAddedForAReadyDescriptorIsCalledInTheSamePass)
{
    actions[0].action = [&](int ready) {
        if (actions[0].calls == 1 && loop->fd_count == 1)
            fdloop_fd_register(loop, ready, FdAction::call, &actions[1]);
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);

    EXPECT_EQ((Calls{1, 1, 0}), callsOfOnePass());
    EXPECT_EQ(2, loop->fd_count);
}

TEST_F(FdloopDispatch, anEntryAddedForAnUnwatchedDescriptorOrDirectionWaitsForTheNextPass)
{
    actions[0].action = [&](int ready) {
        if (loop->fd_count == 1) {
            fdloop_fd_register(loop, fd(1), FdAction::call, &actions[1]);
            fdloop_fd_register_write(loop, ready, FdAction::call, &actions[2]);
        }
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);

    EXPECT_EQ((Calls{1, 0, 0}), callsOfOnePass());
    EXPECT_EQ((Calls{1, 1, 1}), callsOfOnePass());
}

TEST_F(FdloopDispatch, anEntryAddedAndRemovedByACallbackIsNeverCalled)
{
    actions[0].action = [&](int) {
        fdloop_fd_register(loop, fd(1), FdAction::call, &actions[1]);
        fdloop_fd_unregister(loop, fd(1));
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);

    EXPECT_EQ((Calls{1, 0, 0}), callsOfOnePass());
    EXPECT_EQ(1, loop->fd_count);
}

TEST_F(FdloopDispatch, theSweepLeavesAListThatCanGrow)
{
    for (unsigned removed = 1; removed < (1U << COUNT); ++removed) {
        SCOPED_TRACE(removed);
        for (unsigned i = 0; i < COUNT; ++i)
            actions[i].action = [remove = (removed >> i) & 1](int) { return remove ? 1 : 0; };
        registerAll();
        EXPECT_EQ((Calls{1, 1, 1}), callsOfOnePass());

        int const kept = static_cast<int>(COUNT) - __builtin_popcount(removed);
        EXPECT_EQ(kept, loop->fd_count);
        FdAction last;
        fdloop_fd_register(loop, fd(0), FdAction::call, &last);
        EXPECT_EQ(&last, loop->fd_tail->data);
        EXPECT_EQ(kept + 1, loop->fd_count);
        fdloop_run(loop);
        EXPECT_EQ(1U, last.calls);
        while (loop->fd_head)
            fdloop_fd_unregister(loop, loop->fd_head->fd);
        EXPECT_EQ(nullptr, loop->fd_tail);
        EXPECT_EQ(0, loop->fd_dir_count[FDLOOP_READ]);
    }
}

TEST_F(FdloopDispatch, aCallbackThatDisablesALaterEntryStopsItAtOnce)
{
    actions[0].action = [&](int) {
        // All entries share one function: the oldest with the descriptor counts.
        fdloop_fd_enable(loop, fd(1), FdAction::call, 0);
        return 0;
    };
    registerAll();

    EXPECT_EQ((Calls{1, 0, 1}), callsOfOnePass());
    EXPECT_EQ(3, loop->fd_count);
}

TEST_F(FdloopDispatch, aCallbackMayAddAndDeleteTimers)
{
    int calls = 0;
    _fdloop_timer_t* const doomed = fdloop_timer_add(loop, 60000, countCall, &calls);
    actions[0].action = [&](int) {
        fdloop_timer_del(loop, doomed);
        fdloop_timer_add(loop, 0, countCall, &calls);
        return 0;
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);

    callsOfOnePass();
    EXPECT_EQ(1U, timerCount(loop));
    actions[0].action = {};
    callsOfOnePass();
    EXPECT_EQ(1, calls);
    EXPECT_EQ(0U, timerCount(loop));
}

static int callFunction(void* data)
{
    (*static_cast<std::function<void()>*>(data))();
    return 0;
}

TEST_F(FdloopDispatch, aTimerMayAddAndRemoveDescriptorsOfItsPass)
{
    std::function<void()> exchange = [&] {
        fdloop_fd_unregister(loop, fd(0));
        EXPECT_EQ(0, loop->fd_count); // no dispatch runs: freed at once
        fdloop_fd_register(loop, fd(1), FdAction::call, &actions[1]);
    };
    fdloop_fd_register(loop, fd(0), FdAction::call, &actions[0]);
    fdloop_timer_add(loop, 0, callFunction, &exchange);

    EXPECT_EQ((Calls{0, 1, 0}), callsOfOnePass());
}

TEST(FdloopFdUnregister, removesTheOldestEntryOfItsDirection)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        int marks[3] = {};
        for (auto const& other : DIRECTIONS) {
            if (other.dir != d.dir)
                other.add(loop, 5, IGNORE, nullptr);
        }
        for (int& mark : marks)
            d.add(loop, 5, IGNORE, &mark);

        d.remove(loop, 5);
        EXPECT_EQ(4, loop->fd_count);
        EXPECT_EQ(2, loop->fd_dir_count[d.dir]);
        EXPECT_EQ(&marks[1], loop->fd_head->next->next->data);
        d.remove(loop, 5);
        d.remove(loop, 5);
        d.remove(loop, 5); // no entry is left
        EXPECT_EQ(2, loop->fd_count);
        EXPECT_EQ(0, loop->fd_dir_count[d.dir]);

        d.add(loop, 6, IGNORE, &marks[2]);
        EXPECT_EQ(&marks[2], loop->fd_head->next->next->data);
    }
}

TEST(FdloopFdUnregister, clearsTheBitOfItsDirectionAlsoWithoutAnEntry)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        for (auto& set : loop->fd_sets) {
            FD_SET(5, &set);
            FD_SET(6, &set);
        }

        d.remove(loop, 5);
        for (auto const& other : DIRECTIONS) {
            EXPECT_EQ(other.dir != d.dir, FD_ISSET(5, &loop->fd_sets[other.dir]));
            EXPECT_TRUE(FD_ISSET(6, &loop->fd_sets[other.dir]));
        }
        EXPECT_EQ(0, loop->fd_count);
    }
}

TEST(FdloopFdEnable, stopsAndResumesTheWatch)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction action;
    FdAction other;
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    fdloop_fd_register_write(loop, sockets.near(), IGNORE, &other);

    fdloop_fd_enable(loop, sockets.near(), FdAction::call, 0);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(2, loop->fd_count);

    fdloop_fd_enable(loop, sockets.near(), FdAction::call, 1);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, action.calls);
}

TEST(FdloopFdEnable, affectsTheOldestEntryWithTheDescriptorAndTheFunctionOnly)
{
    ScopedLoop const loop;
    _fdloop_fd_t const* const otherFunction = fdloop_fd_register(loop, 5, IGNORE, nullptr);
    _fdloop_fd_t const* const otherFd = fdloop_fd_register(loop, 6, FdAction::call, nullptr);
    _fdloop_fd_t const* const oldest = fdloop_fd_register_write(loop, 5, FdAction::call, nullptr);
    _fdloop_fd_t const* const younger = fdloop_fd_register(loop, 5, FdAction::call, nullptr);

    fdloop_fd_enable(loop, 5, FdAction::call, 0);
    fdloop_fd_enable(loop, 7, FdAction::call, 0); // never registered
    EXPECT_EQ(1, otherFunction->enabled);
    EXPECT_EQ(1, otherFd->enabled);
    EXPECT_EQ(0, oldest->enabled);
    EXPECT_EQ(1, younger->enabled);
}

TEST(FdloopFdEnable, findsEntriesThatAwaitRemovalToo)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction first;
    FdAction second;
    first.action = [&](int fd) {
        fdloop_fd_unregister(loop, fd);
        fdloop_fd_enable(loop, fd, FdAction::call, 0); // meets the removed entry
        return 0;
    };
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &first);
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &second);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, first.calls);
    EXPECT_EQ(1U, second.calls);
}

/* Idlers */

TEST(FdloopIdler, runOncePerPassInTheOrderAdded)
{
    ScopedLoop const loop;
    static std::string order;
    std::string names[] = {"a", "b", "c"};
    order.clear();
    for (std::string& name : names) {
        _fdloop_idler_t const* const idler = fdloop_idler_add(
            loop,
            [](void* data) {
                order += *static_cast<std::string*>(data);
                return 1; // ignored
            },
            &name);
        EXPECT_EQ(&name, idler->data);
    }

    EXPECT_EQ(1, fdloop_run(loop)); // idlers are nothing to wait for
    EXPECT_EQ("abc", order);
    EXPECT_EQ(1, fdloop_run(loop));
    EXPECT_EQ("abcabc", order);
}

struct AddingIdler
{
    _fdloop_t* loop;
    int added;
};

TEST(FdloopIdler, mayAddAnotherThatRunsInTheSamePass)
{
    ScopedLoop const loop;
    AddingIdler state = {loop, 0};
    fdloop_idler_add(
        loop,
        [](void* data) {
            auto& self = *static_cast<AddingIdler*>(data);
            if (!self.loop->idler_head->next)
                fdloop_idler_add(self.loop, countCall, &self.added);
            return 0;
        },
        &state);

    fdloop_run(loop);
    EXPECT_EQ(1, state.added);
    fdloop_run(loop);
    EXPECT_EQ(2, state.added);
}

struct ExchangingIdler
{
    _fdloop_t* loop;
    int removed;
    int added;
    FdAction* action;
};

TEST(FdloopIdler, mayAddAndRemoveDescriptorsOfItsPass)
{
    ScopedLoop const loop;
    ReadyPair const first;
    ReadyPair const second;
    FdAction removed;
    FdAction added;
    ExchangingIdler state = {loop, first.near(), second.near(), &added};
    fdloop_fd_register(loop, first.near(), FdAction::call, &removed);
    fdloop_idler_add(
        loop,
        [](void* data) {
            auto const& self = *static_cast<ExchangingIdler*>(data);
            fdloop_fd_unregister(self.loop, self.removed);
            fdloop_fd_register(self.loop, self.added, FdAction::call, self.action);
            return 0;
        },
        &state);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0U, removed.calls);
    EXPECT_EQ(1U, added.calls);
}

/* Signals */

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
