#include "fdloop_timer.h"

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "allocations.h"
#include "fdloop_timer_factory.h"
#include "scoped_loop.h"
#include "system_doubles.h"

class FdloopTimerTest : public ::testing::Test
{
protected:
    FdloopTimerTest() : timer(std::make_unique<FdloopTimer>(loop)) {}

    /// The expiry of the first timer of the schedule.
    uint32_t expiry() const { return loop->timer_head->expire; }

    /// Runs a pass at that moment; returns the time to the next expiry.
    uint32_t expire() { return fdloop_timers_run(loop, expiry()); }

    /// Counts the runs, then does what `action` does.
    void setCallBack(std::function<bool()> action)
    {
        timer->setCallBack([this, action = std::move(action)] {
            ++runs;
            return action();
        });
    }

    ScopedLoop loop;
    std::unique_ptr<FdloopTimer> timer;
    unsigned runs = 0;
};

TEST_F(FdloopTimerTest, isInactiveAtFirst)
{
    EXPECT_FALSE(timer->isActive());
    timer->setCallBack([] { return true; });
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(0U, timerCount(loop));
}

TEST_F(FdloopTimerTest, firstExpiresOnePeriodFromTheStart)
{
    uint32_t const before = fdloop_time_ms();
    timer->startTimer(500);
    uint32_t const after = fdloop_time_ms();

    EXPECT_TRUE(timer->isActive());
    EXPECT_LE(expiry() - 500 - before, after - before);
    EXPECT_EQ(1U, fdloop_timers_run(loop, expiry() - 1));
    EXPECT_EQ(0U, runs);
}

TEST_F(FdloopTimerTest, runsEveryPeriodWhileTheCallbackReturnsTrue)
{
    setCallBack([this] {
        EXPECT_TRUE(timer->isActive());
        return true;
    });
    timer->startTimer(100);

    for (unsigned i = 1; i <= 3; ++i) {
        EXPECT_EQ(100U, expire());
        EXPECT_EQ(i, runs);
        EXPECT_TRUE(timer->isActive());
    }
    timer->stopTimer();
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(0U, timerCount(loop));
}

TEST_F(FdloopTimerTest, runsOnceWhenTheCallbackReturnsFalse)
{
    setCallBack([] { return false; });
    timer->startTimer(100);

    EXPECT_EQ(0U, expire());
    EXPECT_EQ(1U, runs);
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(0U, timerCount(loop));
    timer->stopTimer(); // must not touch the freed entry
    timer->startTimer(100);
    EXPECT_EQ(0U, expire());
    EXPECT_EQ(2U, runs);
}

// As a callback that counts its runs, and ends them.
TEST_F(FdloopTimerTest, findsTheStateThatTheCallbackKeptInItsLastRun)
{
    timer->setCallBack([this, count = 0]() mutable {
        ++runs;
        return ++count < 3;
    });
    timer->startTimer(100);
    while (timer->isActive() && runs < 10)
        expire();
    EXPECT_EQ(3U, runs);
}

TEST_F(FdloopTimerTest, expiresWithoutTakingMemory)
{
    setCallBack([] { return true; });
    timer->startTimer(100);
    unsigned const before = allocationCount();
    expire();
    EXPECT_EQ(1U, runs);
    EXPECT_EQ(before, allocationCount());
}

TEST_F(FdloopTimerTest, isStoppedByWhatADerivedClassCallsActive)
{
    class Idle : public FdloopTimer
    {
    public:
        using FdloopTimer::FdloopTimer;
        bool isActive() const override { return false; }
    };
    Idle idle(loop);
    idle.startTimer(100);
    idle.stopTimer(); // not active, it says: nothing to stop
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimerTest, withoutACallbackFiresOnceAndBecomesInactive)
{
    timer->startTimer(100);
    EXPECT_EQ(0U, expire());
    EXPECT_FALSE(timer->isActive());

    setCallBack([] { return true; });
    timer->setCallBack({});
    timer->startTimer(100);
    EXPECT_EQ(0U, expire());
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(0U, runs);
}

TEST_F(FdloopTimerTest, startingItAgainReplacesItsEntry)
{
    timer->startTimer(100);
    uint32_t const before = fdloop_time_ms();
    timer->startTimer(700);
    uint32_t const after = fdloop_time_ms();

    EXPECT_EQ(1U, timerCount(loop));
    EXPECT_LE(expiry() - 700 - before, after - before);
    EXPECT_TRUE(timer->isActive());
}

TEST_F(FdloopTimerTest, stoppingAnInactiveTimerDoesNothing)
{
    FdloopTimer other(loop);
    other.startTimer(100);

    timer->stopTimer();
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimerTest, staysInactiveWithoutMemory)
{
    for (bool const running : {false, true}) {
        if (running)
            timer->startTimer(100);
        {
            NoMemory const noMemory;
            timer->startTimer(200);
        }
        EXPECT_FALSE(timer->isActive());
        EXPECT_EQ(0U, timerCount(loop));
    }
}

TEST_F(FdloopTimerTest, aNewCallbackServesTheRunningTimer)
{
    setCallBack([] { return true; });
    timer->startTimer(100);
    unsigned newRuns = 0;
    timer->setCallBack([&] {
        ++newRuns;
        return true;
    });

    EXPECT_EQ(100U, expire());
    EXPECT_EQ(0U, runs);
    EXPECT_EQ(1U, newRuns);
}

TEST_F(FdloopTimerTest, replacingACallbackDestroysIt)
{
    auto const captured = std::make_shared<int>();
    timer->setCallBack([captured] { return true; });
    timer->setCallBack({});
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(FdloopTimerTest, aRestartInTheCallbackStandsWhateverItReturns)
{
    for (bool const result : {false, true}) {
        SCOPED_TRACE(result);
        uint32_t added = 0;
        setCallBack([&] {
            added = fdloop_time_ms();
            timer->startTimer(200);
            return result;
        });
        timer->startTimer(100);
        expire();

        EXPECT_TRUE(timer->isActive());
        ASSERT_EQ(1U, timerCount(loop));
        EXPECT_LE(expiry() - 200 - added, fdloop_time_ms() - added);
        setCallBack([] { return true; });
        EXPECT_EQ(200U, expire());
        timer->stopTimer();
    }
}

TEST_F(FdloopTimerTest, aStopInTheCallbackStandsWhateverItReturns)
{
    for (bool const result : {false, true}) {
        SCOPED_TRACE(result);
        setCallBack([&] {
            timer->stopTimer();
            return result;
        });
        timer->startTimer(100);

        EXPECT_EQ(0U, expire());
        EXPECT_FALSE(timer->isActive());
        EXPECT_EQ(0U, timerCount(loop));
    }
}

TEST_F(FdloopTimerTest, aStopAndRestartInTheCallbackStands)
{
    setCallBack([&] {
        timer->stopTimer();
        timer->startTimer(200);
        timer->startTimer(300);
        return false;
    });
    timer->startTimer(100);
    expire();

    EXPECT_TRUE(timer->isActive());
    ASSERT_EQ(1U, timerCount(loop));
    EXPECT_EQ(300U, loop->timer_head->interval);
}

TEST_F(FdloopTimerTest, theCallbackMayReplaceItself)
{
    auto const captured = std::make_shared<unsigned>(0);
    setCallBack([this, captured] {
        timer->setCallBack({});
        ++*captured;
        return true;
    });
    timer->startTimer(100);

    EXPECT_EQ(100U, expire());
    EXPECT_EQ(1U, *captured);
    EXPECT_EQ(1, captured.use_count());
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(0U, expire());
    EXPECT_EQ(1U, runs);
    EXPECT_FALSE(timer->isActive());
}

TEST_F(FdloopTimerTest, theCallbackMayDestroyTheTimerWhateverItReturns)
{
    for (bool const result : {false, true}) {
        SCOPED_TRACE(result);
        auto const captured = std::make_shared<unsigned>(0);
        timer = std::make_unique<FdloopTimer>(loop);
        setCallBack([this, captured, result] {
            timer.reset();
            ++*captured;
            return result;
        });
        timer->startTimer(100);

        EXPECT_EQ(0U, expire());
        EXPECT_EQ(1U, *captured);
        EXPECT_EQ(0U, timerCount(loop));
    }
}

TEST_F(FdloopTimerTest, theCallbackMayOwnTheTimerThatItReleases)
{
    auto owner = std::make_shared<std::shared_ptr<FdloopTimer>>();
    *owner = std::make_shared<FdloopTimer>(loop);
    std::weak_ptr<FdloopTimer> const watched = *owner;
    (*owner)->setCallBack([owner] {
        owner->reset();
        return true;
    });
    (*owner)->startTimer(100);
    owner.reset();

    EXPECT_EQ(0U, expire());
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(0U, timerCount(loop));
}

TEST_F(FdloopTimerTest, theCallbackMayStopAndDestroyAnotherTimer)
{
    auto other = std::make_unique<FdloopTimer>(loop);
    unsigned otherRuns = 0;
    other->setCallBack([&] {
        ++otherRuns;
        return true;
    });
    setCallBack([&] {
        other.reset();
        return false;
    });
    timer->startTimer(100);
    other->startTimer(100);

    EXPECT_EQ(0U, fdloop_timers_run(loop, loop->timer_head->next->expire));
    EXPECT_EQ(1U, runs);
    EXPECT_EQ(0U, otherRuns);
    EXPECT_EQ(0U, timerCount(loop));
}

TEST_F(FdloopTimerTest, theCallbackMayStopAnInactiveTimer)
{
    FdloopTimer inactive(loop);
    setCallBack([&] {
        inactive.stopTimer();
        return true;
    });
    timer->startTimer(100);

    EXPECT_EQ(100U, expire());
    EXPECT_EQ(1U, runs);
    EXPECT_TRUE(timer->isActive());
    timer->stopTimer();
}

TEST_F(FdloopTimerTest, destructionRemovesTheEntry)
{
    setCallBack([] { return true; });
    timer->startTimer(0);
    uint32_t const due = expiry();
    timer.reset();

    EXPECT_EQ(0U, timerCount(loop));
    EXPECT_EQ(0U, fdloop_timers_run(loop, due));
    EXPECT_EQ(0U, runs);
}

TEST_F(FdloopTimerTest, theLoopsCallbackRunsTheTimerOfItsData)
{
    EXPECT_EQ(0, FdloopTimer::staticTimeout(nullptr));

    bool result = true;
    setCallBack([&] { return result; });
    timer->startTimer(100);
    EXPECT_NE(0, FdloopTimer::staticTimeout(timer.get()));
    EXPECT_NE(0, timer->timeout());
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(2U, runs);
}

TEST_F(FdloopTimerTest, worksInThePassesOfTheLoop)
{
    setCallBack([this] { return runs < 3; });
    timer->startTimer(2);

    EXPECT_EQ(1, fdloop_loop(loop)); // until no timer is left
    EXPECT_EQ(3U, runs);
    EXPECT_FALSE(timer->isActive());
}

TEST_F(FdloopTimerTest, aFactoryTakesMemoryOncePerTimer)
{
    FdloopTimerFactory const factory(loop);
    unsigned const before = allocationCount();
    auto const made = factory.create();
    EXPECT_EQ(before + 1, allocationCount());
}

TEST_F(FdloopTimerTest, aFactoryMakesInactiveTimersOnItsLoop)
{
    FdloopTimerFactory const factory(loop);
    std::shared_ptr<ITimer> const first = factory.create();
    std::shared_ptr<ITimer> const second = factory.create();

    EXPECT_NE(first, second);
    EXPECT_EQ(1, first.use_count()); // the factory keeps nothing
    EXPECT_FALSE(first->isActive());
    first->startTimer(100);
    EXPECT_TRUE(first->isActive());
    EXPECT_FALSE(second->isActive());
    EXPECT_EQ(1U, timerCount(loop));
}
