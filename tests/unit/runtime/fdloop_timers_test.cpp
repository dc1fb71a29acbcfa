#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "fdloop.h"
#include "fdloop_handle.h"
#include "scoped_loop.h"
#include "system_doubles.h"
#include "tt_time.h"

class FdloopTimers : public ::testing::Test
{
protected:
    /// A timer's name and what it does besides recording its run.
    struct Timer
    {
        FdloopTimers* test = nullptr;
        char name = '?';
        std::function<int()> action;
        _fdloop_timer_t* handle = nullptr;
    };

    static int run(void* data)
    {
        auto& timer = *static_cast<Timer*>(data);
        timer.test->order += timer.name;
        return timer.action ? timer.action() : 0;
    }

    void add(Timer& timer, char name, unsigned interval, std::function<int()> action = {})
    {
        timer.test = this;
        timer.name = name;
        timer.action = std::move(action);
        timer.handle = fdloop_timer_add(loop, interval, run, &timer);
        ASSERT_NE(nullptr, timer.handle);
    }

    /// Adds a timer that expires at `expire`; to be called in the order of expiry.
    void addAt(Timer& timer, char name, uint32_t expire, unsigned interval,
               std::function<int()> action = {})
    {
        add(timer, name, 1000000, std::move(action));
        timer.handle->interval = interval;
        timer.handle->expire = expire;
    }

    uint32_t passAt(uint32_t now)
    {
        uint32_t const next = fdloop_timers_run(loop, now);
        EXPECT_EQ(0, loop->timer_busy);
        EXPECT_EQ(0, loop->timer_dirty);
        EXPECT_EQ(nullptr, loop->timer_new);
        return next;
    }

    static int again() { return 1; }

    std::string order;
    ScopedLoop loop;
    Timer a, b, c, d;
};

TEST_F(FdloopTimers, clockIsTheMonotonicMillisecondClock)
{
    uint32_t const before = tt_time_ms();
    uint32_t const now = fdloop_time_ms();
    EXPECT_LE(now - before, tt_time_ms() - before);
}

TEST_F(FdloopTimers, addCountsFromTheMomentOfTheCall)
{
    loop->now_ms = 12345; // the time of the pass does not matter
    uint32_t const before = fdloop_time_ms();
    add(a, 'a', 100);
    uint32_t const after = fdloop_time_ms();

    EXPECT_LE(a.handle->expire - 100 - before, after - before);
    EXPECT_EQ(100U, fdloop_timer_get_interval(a.handle));
    EXPECT_EQ(&a, a.handle->data);
    EXPECT_EQ(a.handle, loop->timer_head);
}

TEST_F(FdloopTimers, addReturnsNullAndAddsNothingWithoutMemory)
{
    _fdloop_timer_t* timer = nullptr;
    std::string const output = capturedOutput([&] {
        NoMemory const noMemory;
        timer = fdloop_timer_add(loop, 1, run, &a);
    });

    EXPECT_EQ(nullptr, timer);
    EXPECT_EQ("", output);
    EXPECT_EQ(nullptr, loop->timer_head);
}

TEST_F(FdloopTimers, aPassWithoutTimersReturns0)
{
    EXPECT_EQ(0U, passAt(0));
    EXPECT_EQ(0U, passAt(0xFFFFFFFF));
}

TEST_F(FdloopTimers, runWhenTheirExpiryIsReached)
{
    for (uint32_t const expire : {5000U, 0U, 0xFFFFFFFFU, 0x80000000U}) {
        SCOPED_TRACE(expire);
        order.clear();
        addAt(a, 'a', expire, 100);

        EXPECT_EQ(0x7FFFFFFFU, passAt(expire - 0x7FFFFFFF));
        EXPECT_EQ(40U, passAt(expire - 40));
        EXPECT_EQ(1U, passAt(expire - 1));
        EXPECT_EQ("", order);
        EXPECT_EQ(0U, passAt(expire));
        EXPECT_EQ("a", order);
        EXPECT_EQ(0U, timerCount(loop));
    }
}

TEST_F(FdloopTimers, runHoweverLateThePassIs)
{
    addAt(a, 'a', 0xFFFFFFF0, 100);

    EXPECT_EQ(0U, passAt(0xFFFFFFF0U + 0x7FFFFFFF));
    EXPECT_EQ("a", order);
}

TEST_F(FdloopTimers, periodsCountFromTheLastExpiry)
{
    addAt(a, 'a', 100, 100, again);

    EXPECT_EQ(100U, passAt(100));
    EXPECT_EQ(70U, passAt(230)); // 30 late
    EXPECT_EQ("aa", order);
    EXPECT_EQ(100U, passAt(300));
    EXPECT_EQ("aaa", order);
}

TEST_F(FdloopTimers, aLateTimerCatchesUpWithOneRunAPass)
{
    addAt(a, 'a', 100, 100, again);

    EXPECT_EQ(1U, passAt(350));
    EXPECT_EQ("a", order);
    EXPECT_EQ(1U, passAt(351));
    EXPECT_EQ("aa", order);
    EXPECT_EQ(48U, passAt(352));
    EXPECT_EQ("aaa", order);
    EXPECT_EQ(47U, passAt(353));
    EXPECT_EQ("aaa", order);
}

TEST_F(FdloopTimers, aPeriodThatEndsWithThePassIsDueAtOnce)
{
    addAt(a, 'a', 100, 100, again);

    EXPECT_EQ(1U, passAt(200));
    EXPECT_EQ("a", order);
    EXPECT_EQ(100U, passAt(200));
    EXPECT_EQ("aa", order);
}

TEST_F(FdloopTimers, anyNonZeroResultKeepsTheTimer)
{
    for (int const result : {1, -1, 256}) {
        addAt(a, 'a', 100, 10, [result] { return result; });
        EXPECT_EQ(10U, passAt(100));
        fdloop_timer_del(loop, a.handle);
    }
}

TEST_F(FdloopTimers, areSortedByExpiry)
{
    add(b, 'b', 2000);
    add(d, 'd', 4000);
    add(a, 'a', 1000);
    add(c, 'c', 3000);

    passAt(b.handle->expire - 1);
    EXPECT_EQ("a", order);
    passAt(d.handle->expire);
    EXPECT_EQ("abcd", order);
}

TEST_F(FdloopTimers, areSortedAcrossTheWrapOfTheClock)
{
    addAt(a, 'a', 0xFFFFFFE0, 0x40, again); // then at 0x20
    addAt(b, 'b', 0xFFFFFFE8, 0x10, again); // then at 0xFFFFFFF8, 0x08
    addAt(c, 'c', 0xFFFFFFFF, 1);
    addAt(d, 'd', 0x10, 1);

    EXPECT_EQ(0x0FU, passAt(0xFFFFFFE9));
    EXPECT_EQ(0x07U, passAt(0xFFFFFFF8));
    EXPECT_EQ("abb", order);
    EXPECT_EQ(0x09U, passAt(0xFFFFFFFF));
    EXPECT_EQ("abbc", order);
    EXPECT_EQ(0x08U, passAt(0x08));
    EXPECT_EQ(0x08U, passAt(0x10));
    EXPECT_EQ("abbcbd", order); // b again, to run at 0x18
    EXPECT_EQ(0x08U, passAt(0x18));
    EXPECT_EQ(0x08U, passAt(0x20));
    EXPECT_EQ("abbcbdba", order);
}

TEST_F(FdloopTimers, ofEqualExpiryRunInTheOrderAdded)
{
    // The clock may advance between the calls.
    for (;;) {
        add(a, 'a', 1000);
        add(b, 'b', 1000);
        add(c, 'c', 1000);
        if (a.handle->expire == c.handle->expire)
            break;
        for (Timer const* timer : {&a, &b, &c})
            fdloop_timer_del(loop, timer->handle);
    }

    passAt(a.handle->expire);
    EXPECT_EQ("abc", order);
}

TEST_F(FdloopTimers, rescheduledToAnEqualExpiryRunsLast)
{
    addAt(a, 'a', 100, 100, again);
    addAt(b, 'b', 200, 100);

    passAt(100);
    passAt(200);
    EXPECT_EQ("aba", order);
}

TEST_F(FdloopTimers, addedInOnePassWithEqualExpiryRunInReverseOrder)
{
    addAt(a, 'a', 100, 100, [this] {
        for (;;) {
            add(b, 'b', 1000);
            add(c, 'c', 1000);
            if (b.handle->expire == c.handle->expire)
                return 0;
            fdloop_timer_del(loop, b.handle);
            fdloop_timer_del(loop, c.handle);
        }
    });

    passAt(100);
    EXPECT_EQ(2U, timerCount(loop));
    passAt(b.handle->expire);
    EXPECT_EQ("acb", order);
}

TEST_F(FdloopTimers, addedInAPassNeverRunInIt)
{
    uint32_t const now = fdloop_time_ms() + 60000; // the new timer is long due then
    addAt(a, 'a', now, 100, [this] {
        add(b, 'b', 0);
        return 0;
    });

    EXPECT_EQ(1U, passAt(now));
    EXPECT_EQ("a", order);
    EXPECT_EQ(0U, passAt(now));
    EXPECT_EQ("ab", order);
}

TEST_F(FdloopTimers, addedAndDeletedInOnePassNeverRun)
{
    addAt(a, 'a', 100, 100, [this] {
        add(b, 'b', 0);
        add(c, 'c', 0);
        fdloop_timer_del(loop, b.handle);
        return 0;
    });

    passAt(100);
    EXPECT_EQ(1U, timerCount(loop));
    passAt(c.handle->expire);
    EXPECT_EQ("ac", order);
}

// FdloopTimer tells a restarted timer by its handle.
TEST_F(FdloopTimers, aHandleIsNotReusedWithinItsPass)
{
    addAt(a, 'a', 100, 100, [this] {
        fdloop_timer_del(loop, a.handle);
        add(b, 'b', 100);
        EXPECT_NE(a.handle, b.handle);
        return 0;
    });

    passAt(100);
    EXPECT_EQ("a", order);
    EXPECT_EQ(b.handle, loop->timer_head);
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimers, deletingUnlinksTheTimer)
{
    Timer* const timers[] = {&a, &b, &c};
    for (auto* const doomed : timers) {
        order.clear();
        std::string expected;
        for (unsigned i = 0; i < 3; ++i) {
            char const name = "abc"[i];
            addAt(*timers[i], name, 100 * (i + 1), 100);
            if (timers[i] != doomed)
                expected += name;
        }

        fdloop_timer_del(loop, doomed->handle);
        EXPECT_EQ(2U, timerCount(loop));
        EXPECT_EQ(0U, passAt(300));
        EXPECT_EQ(expected, order);
    }
}

TEST_F(FdloopTimers, deletingATimerThatIsNotScheduledDoesNothing)
{
    add(a, 'a', 100);
    _fdloop_timer_t stranger = {};

    fdloop_timer_del(loop, &stranger);
    EXPECT_EQ(1U, timerCount(loop));
    EXPECT_EQ(0, stranger.deleted);

    ScopedLoop const empty;
    fdloop_timer_del(empty, &stranger);
    EXPECT_EQ(0U, timerCount(empty));
}

TEST_F(FdloopTimers, aCallbackMayDeleteALaterDueTimer)
{
    addAt(a, 'a', 100, 100, [this] {
        fdloop_timer_del(loop, c.handle);
        EXPECT_EQ(1, c.handle->deleted); // freed at the end of the pass
        return 1;
    });
    addAt(b, 'b', 101, 100);
    addAt(c, 'c', 102, 100, again);
    addAt(d, 'd', 103, 100);

    EXPECT_EQ(90U, passAt(110));
    EXPECT_EQ("abd", order);
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimers, aCallbackMayDeleteATimerThatIsNotDue)
{
    addAt(a, 'a', 100, 100, [this] {
        fdloop_timer_del(loop, b.handle);
        return 1;
    });
    addAt(b, 'b', 150, 100);
    addAt(c, 'c', 160, 100);

    EXPECT_EQ(60U, passAt(100));
    EXPECT_EQ(2U, timerCount(loop));
    EXPECT_EQ(40U, passAt(160));
    EXPECT_EQ("ac", order);
}

TEST_F(FdloopTimers, aCallbackMayDeleteATimerThatHasRunInThePass)
{
    addAt(a, 'a', 100, 100, again);
    addAt(b, 'b', 101, 100, again);
    addAt(c, 'c', 102, 100, [this] {
        fdloop_timer_del(loop, b.handle);
        return 0;
    });

    EXPECT_EQ(90U, passAt(110)); // a alone is left
    EXPECT_EQ("abc", order);
    EXPECT_EQ(a.handle, loop->timer_head);
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimers, aCallbackMayDeleteTheOnlyTimerKeptSoFar)
{
    addAt(a, 'a', 100, 100, again);
    addAt(b, 'b', 101, 100, [this] {
        fdloop_timer_del(loop, a.handle);
        return 0;
    });
    addAt(c, 'c', 500, 100);

    EXPECT_EQ(390U, passAt(110));
    EXPECT_EQ("ab", order);
    EXPECT_EQ(c.handle, loop->timer_head);
    EXPECT_EQ(1U, timerCount(loop));
}

TEST_F(FdloopTimers, aCallbackThatDeletesItsTimerEndsItWhateverItReturns)
{
    for (int const result : {0, 1}) {
        order.clear();
        addAt(a, 'a', 100, 100, [this, result] {
            fdloop_timer_del(loop, a.handle);
            return result;
        });

        EXPECT_EQ(0U, passAt(100));
        EXPECT_EQ("a", order);
        EXPECT_EQ(0U, timerCount(loop));
    }
}

TEST_F(FdloopTimers, aTimerDeletedByTheLastDueCallbackIsPassedOver)
{
    addAt(a, 'a', 100, 100, [this] {
        fdloop_timer_del(loop, b.handle);
        fdloop_timer_del(loop, c.handle);
        return 1;
    });
    addAt(b, 'b', 150, 100); // not due: stands between the due timer and the end
    addAt(c, 'c', 151, 100);

    EXPECT_EQ(100U, passAt(100));
    EXPECT_EQ(1U, timerCount(loop));
    a.action = again;
    EXPECT_EQ(100U, passAt(200));
    EXPECT_EQ("aa", order);
}

TEST_F(FdloopTimers, aPassKeepsAndEndsTimersInAnyCombination)
{
    Timer* const timers[] = {&a, &b, &c};
    for (unsigned kept = 0; kept < 8; ++kept) {
        SCOPED_TRACE(kept);
        order.clear();
        unsigned count = 0;
        std::string second;
        for (unsigned i = 0; i < 3; ++i) {
            bool const keep = (kept >> i) & 1;
            addAt(*timers[i], "abc"[i], 100 + i, 100, [keep] { return keep ? 1 : 0; });
            count += keep ? 1 : 0;
            if (keep)
                second += "abc"[i];
        }
        addAt(d, 'd', 150, 100); // not due

        EXPECT_EQ(40U, passAt(110));
        EXPECT_EQ("abc", order);
        EXPECT_EQ(count + 1, timerCount(loop));
        passAt(202);
        EXPECT_EQ("abcd" + second, order);
        while (loop->timer_head)
            fdloop_timer_del(loop, loop->timer_head);
    }
}

TEST_F(FdloopTimers, settingTheIntervalLeavesThePendingExpiry)
{
    addAt(a, 'a', 100, 100, again);

    fdloop_timer_set_interval(a.handle, 30);
    EXPECT_EQ(30U, fdloop_timer_get_interval(a.handle));
    EXPECT_EQ(1U, passAt(99));
    EXPECT_EQ(30U, passAt(100));
}

TEST_F(FdloopTimers, settingTheIntervalInTheCallbackCountsForTheNextRun)
{
    addAt(a, 'a', 100, 100, [this] {
        fdloop_timer_set_interval(a.handle, 7);
        return 1;
    });

    EXPECT_EQ(7U, passAt(100));
}

/* Debug output */

/// A line of tt_slogd at LOG_TIME: the console takes 79 characters of the message.
template <class... Arguments>
static std::string logged(char const* fmt, Arguments... arguments)
{
    char message[80];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the formats are those of the tests below
    snprintf(message, sizeof message, fmt, arguments...);
#pragma GCC diagnostic pop
    return std::string("09:05:07   DEBUG: ") + message;
}

static int end(void* /*data*/)
{
    return 0;
}

static int keep(void* /*data*/)
{
    return 1;
}

static int addAnother(void* data)
{
    fdloop_timer_add(static_cast<_fdloop_t*>(data), 60000, keep, nullptr);
    return 0;
}

class FdloopTimersDebug : public ::testing::Test
{
protected:
    std::string outputAtLevel(unsigned level, std::function<void()> const& action)
    {
        fdloop_debug(loop, 0x20000 | level);
        std::string output = capturedOutput(action);
        fdloop_debug(loop, 0x20000);
        return output;
    }

    /// Runs a timer 5 ms late.
    void passLate() { fdloop_timers_run(loop, loop->timer_head->expire + 5); }

    static std::string line(char const* function, _fdloop_timer_t const* timer)
    {
        return logged("%s %p: func=%p data=%p\n", function, static_cast<void const*>(timer),
                      reinterpret_cast<void*>(timer->func), timer->data);
    }

    static std::string lineOfAdding(_fdloop_timer_t const* timer, unsigned interval)
    {
        return logged("fdloop_timer_add %p: func=%p data=%p: %8u\n",
                      static_cast<void const*>(timer), reinterpret_cast<void*>(timer->func),
                      timer->data, interval);
    }

    static std::string lineOfRunningLate(_fdloop_timer_t const* timer)
    {
        return logged("fdloop_timers_run - run %p: func=%p data=%p:       -5\n",
                      static_cast<void const*>(timer), reinterpret_cast<void*>(timer->func),
                      timer->data);
    }

    ScopedLoop loop;
    FakeRealTime const clock{LOG_TIME};
};

TEST_F(FdloopTimersDebug, level0IsSilent)
{
    EXPECT_EQ("", outputAtLevel(0, [this] {
                  fdloop_timer_add(loop, 10, addAnother, loop);
                  passLate();
                  fdloop_timer_del(loop, loop->timer_head);
              }));
}

TEST_F(FdloopTimersDebug, level1LogsAddingDeletingAndFreeing)
{
    _fdloop_timer_t* timer = nullptr;
    std::string const added =
        outputAtLevel(1, [&] { timer = fdloop_timer_add(loop, 12345, end, nullptr); });
    EXPECT_EQ(lineOfAdding(timer, 12345), added);

    std::string const deleted = line("fdloop_timer_del", timer) + line("_timer_del", timer);
    EXPECT_EQ(deleted, outputAtLevel(1, [&] { fdloop_timer_del(loop, timer); }));
}

TEST_F(FdloopTimersDebug, level1LogsTheFreeingOfATimerThatEnds)
{
    std::string const freed = line("_timer_del", fdloop_timer_add(loop, 10, end, nullptr));
    EXPECT_EQ(freed, outputAtLevel(1, [this] { passLate(); }));
}

TEST_F(FdloopTimersDebug, level1LogsTheFreeingOfATimerAddedAndDeletedInOnePass)
{
    static std::string expected;
    auto const addAndDelete = [](void* data) {
        auto* const pass = static_cast<_fdloop_t*>(data);
        _fdloop_timer_t* const added = fdloop_timer_add(pass, 60000, end, nullptr);
        expected = lineOfAdding(added, 60000) + line("fdloop_timer_del", added) +
                   line("_timer_del", added);
        fdloop_timer_del(pass, added);
        return 1;
    };
    fdloop_timer_add(loop, 10, addAndDelete, loop);

    std::string const output = outputAtLevel(1, [this] { passLate(); });
    EXPECT_EQ(expected, output);
}

TEST_F(FdloopTimersDebug, level2LogsTheInsertionToo)
{
    _fdloop_timer_t* timer = nullptr;
    std::string const added =
        outputAtLevel(2, [&] { timer = fdloop_timer_add(loop, 7, end, nullptr); });

    EXPECT_EQ(lineOfAdding(timer, 7) + line("_timer_set", timer), added);
}

TEST_F(FdloopTimersDebug, level2LogsTheStepsOfAPass)
{
    // Both expire in the same moment.
    _fdloop_timer_t* const kept = fdloop_timer_add(loop, 1000, keep, nullptr);
    _fdloop_timer_t* const ended = fdloop_timer_add(loop, 1000, addAnother, loop);
    ended->expire = kept->expire;
    std::string const ran = lineOfRunningLate(kept) + lineOfRunningLate(ended);
    std::string const freed = line("_timer_del", ended);

    std::string const output = outputAtLevel(2, [this] { passLate(); });

    _fdloop_timer_t const* const added = kept->next;
    ASSERT_NE(nullptr, added);
    EXPECT_EQ(
        ran + lineOfAdding(added, 60000) + "09:05:07   DEBUG: fdloop_timers_run: Delete deleted\n" +
            freed + "09:05:07   DEBUG: fdloop_timers_run: Reschedule expired\n" +
            line("_timer_set", kept) + "09:05:07   DEBUG: fdloop_timers_run: Schedule new\n" +
            line("_timer_set", added) + "09:05:07   DEBUG: fdloop_timers_run - next in      995\n",
        output);
}

TEST_F(FdloopTimersDebug, level2LogsAPassThatFindsNothingDue)
{
    fdloop_timer_add(loop, 1000, keep, nullptr);

    EXPECT_EQ("09:05:07   DEBUG: fdloop_timers_run - next in       40\n",
              outputAtLevel(2, [this] { fdloop_timers_run(loop, loop->timer_head->expire - 40); }));
}

TEST_F(FdloopTimersDebug, level2LogsTheLastTimersEnd)
{
    _fdloop_timer_t* const timer = fdloop_timer_add(loop, 1000, end, nullptr);
    std::string const expected =
        lineOfRunningLate(timer) + "09:05:07   DEBUG: fdloop_timers_run: Delete deleted\n" +
        line("_timer_del", timer) + "09:05:07   DEBUG: fdloop_timers_run - next in        0\n";

    EXPECT_EQ(expected, outputAtLevel(2, [this] { passLate(); }));
}
