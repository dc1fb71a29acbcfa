#include "fdloop.h"

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "descriptors.h"
#include "fdloop_handle.h"
#include "loop_callbacks.h"
#include "scoped_loop.h"

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
