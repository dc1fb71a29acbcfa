#include "tt_time.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include "child_process.h"
#include "signals.h"
#include "system_doubles.h"

static constexpr time_t LAST_SECOND_OF_2014 = 1420070399;

static uint64_t monotonicNs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

/// `read` gives the monotonic clock in units of `unitNs`, wrapped to 32 bits.
static void expectMonotonic(uint32_t (*read)(), uint64_t unitNs)
{
    uint64_t const before = monotonicNs() / unitNs;
    uint32_t const value = read();
    uint64_t const after = monotonicNs() / unitNs;

    EXPECT_LE(value - static_cast<uint32_t>(before), after - before);
}

TEST(TtTimeMs, isTheMonotonicClockInMilliseconds)
{
    expectMonotonic(tt_time_ms, 1000000);
}

TEST(TtTimeUs, isTheMonotonicClockInMicroseconds)
{
    expectMonotonic(tt_time_us, 1000);
}

struct ClockCase
{
    char const* name;
    uint32_t (*read)();
    uint32_t (*elapsed)(uint32_t);
};

static ClockCase const CLOCKS[] = {
    {"milliseconds", tt_time_ms, tt_time_ms_elapsed},
    {"microseconds", tt_time_us, tt_time_us_elapsed},
};

TEST(TtTimeElapsed, isTheDifferenceToTheClockModulo32Bits)
{
    for (auto const& c : CLOCKS) {
        SCOPED_TRACE(c.name);
        // 7000 units ago, and so long ago that the clock has wrapped.
        for (uint32_t const ago : {7000U, 0xF0000000U}) {
            uint32_t const before = c.read();
            uint32_t const elapsed = c.elapsed(before - ago);
            uint32_t const after = c.read();

            EXPECT_LE(elapsed - ago, after - before);
        }
    }
}

TEST(TtTimeDelay, passesAtLeastTheMicrosecondsAskedForAndReturnsThem)
{
    struct DelayCase
    {
        char const* name;
        uint32_t (*delay)(uint32_t);
        uint32_t amount;
        uint32_t least;
    };
    DelayCase const cases[] = {
        {"microseconds", tt_time_us_delay, 3000, 3000},
        {"milliseconds", tt_time_ms_delay, 3, 3000},
        {"nothing", tt_time_us_delay, 0, 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        uint64_t const before = monotonicNs() / 1000;
        uint32_t const passed = c.delay(c.amount);
        uint64_t const after = monotonicNs() / 1000;

        EXPECT_GE(passed, c.least);
        EXPECT_LE(passed, after - before + 1); // each reading drops its fraction
    }
}

// Other programs may take the processor at any time: once in many tries they do not.
TEST(TtTimeDelay, passesHardlyMoreThanTheMillisecondsAskedFor)
{
    uint32_t shortest = UINT32_MAX;
    for (unsigned i = 0; i < 500 && shortest > 10500; ++i)
        shortest = std::min(shortest, tt_time_ms_delay(10));
    EXPECT_LE(shortest, 10500U);
}

static volatile sig_atomic_t s_alarms = 0;

TEST(TtSleepMs, sleepsTheWholeTimeThoughSignalsInterruptIt)
{
    ScopedSignals const signals;
    s_alarms = 0;
    ScopedSignals::handle(SIGALRM, [](int) { s_alarms = s_alarms + 1; });
    ScopedSignals::alarmEvery(20);

    uint64_t const before = monotonicNs();
    EXPECT_EQ(0, tt_sleep_ms(1050));
    EXPECT_GE(monotonicNs() - before, 1050000000U);
    EXPECT_GT(s_alarms, 1);
}

TEST(TtTime, isTheRealTimeClockUpToTheLastSecondOf32Bits)
{
    for (int32_t const second : {1614848707, 2147483647}) {
        FakeRealTime const clock(second, 654321);
        tt_tvms_t now = {};

        EXPECT_EQ(second, tt_time());
        EXPECT_EQ(1, tt_time_tvms(&now));
        EXPECT_EQ(second, now.sec);
        EXPECT_EQ(654, now.ms);
    }
}

TEST(TtStime, setsTheClockToAWholeSecond)
{
    FakeRealTime clock(1000, 999999);

    ASSERT_EQ(1000, tt_time()) << "this would set the machine's own clock";
    EXPECT_EQ(0, tt_stime(1614848707));
    EXPECT_EQ(1614848707, clock.now.tv_sec);
    EXPECT_EQ(0, clock.now.tv_usec);

    clock.setResult = -1;
    EXPECT_EQ(-1, tt_stime(1));
}

// The latch lasts as long as the process.
TEST(TtTimeValid, latchesOnceTheClockHasReached2015)
{
    ChildResult const child = runInChild([] {
        FakeRealTime clock(0);
        for (time_t const sec : {time_t{0}, LAST_SECOND_OF_2014, LAST_SECOND_OF_2014 + 1}) {
            clock.now.tv_sec = sec;
            printf("%d ", tt_time_valid());
        }
        clock.now.tv_sec = 0;
        clock.reads = 0;
        int const valid = tt_time_valid();
        printf("%d after %u readings", valid, clock.reads);
    });

    EXPECT_EQ("0 0 1 1 after 0 readings", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtTimeValid, takesATimeBefore1970ForValid)
{
    ChildResult const child = runInChild([] {
        FakeRealTime const clock(-1);
        printf("%d", tt_time_valid());
    });

    EXPECT_EQ("1", child.output);
}

TEST(TtUptime, isTheSecondsSinceBoot)
{
    struct sysinfo before = {};
    struct sysinfo after = {};

    sysinfo(&before);
    unsigned const uptime = tt_uptime();
    sysinfo(&after);

    EXPECT_GE(uptime, static_cast<unsigned>(before.uptime));
    EXPECT_LE(uptime, static_cast<unsigned>(after.uptime));
}

TEST(TtUtcStrftime, formatsInUtcWhateverTheTimeZone)
{
    ChildResult const child = runInChild([] {
        char text[32] = "";
        setenv("TZ", "EAST-5", 1);
        tzset();
        size_t const len = tt_utc_strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", LOG_TIME);
        printf("%zu: %s", len, text);
    });

    EXPECT_EQ("19: 2021-03-04 09:05:07", child.output);
}

TEST(TtUtcStrftime, formatsTheFirstAndTheLastTimeOf32Bits)
{
    char text[32] = "";

    EXPECT_EQ(19U, tt_utc_strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", -2147483647 - 1));
    EXPECT_STREQ("1901-12-13 20:45:52", text);
    EXPECT_EQ(19U, tt_utc_strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", 2147483647));
    EXPECT_STREQ("2038-01-19 03:14:07", text);
}

TEST(TtUtcStrftime, returns0ForATextThatDoesNotFit)
{
    char text[8] = "";

    EXPECT_EQ(0U, tt_utc_strftime(text, sizeof text, "%H:%M:%S", LOG_TIME));
    EXPECT_EQ(5U, tt_utc_strftime(text, sizeof text, "%H:%M", LOG_TIME));
    EXPECT_STREQ("09:05", text);
}

TEST(TtUtcStrftime, returns0ForATimeThatHasNoYear)
{
    char text[32] = "";

    if (sizeof(time_t) == sizeof(int32_t))
        GTEST_SKIP() << "every 32-bit time has a year";
    EXPECT_EQ(0U, tt_utc_strftime(text, sizeof text, "%Y", std::numeric_limits<time_t>::max()));
}

TEST(TtUtcTimeToTm, breaksATimeDownInUtc)
{
    tm utc = {};

    ASSERT_EQ(&utc, tt_utc_time_to_tm(LOG_TIME, &utc));
    EXPECT_EQ(121, utc.tm_year);
    EXPECT_EQ(2, utc.tm_mon);
    EXPECT_EQ(4, utc.tm_mday);
    EXPECT_EQ(9, utc.tm_hour);
    EXPECT_EQ(5, utc.tm_min);
    EXPECT_EQ(7, utc.tm_sec);
    EXPECT_EQ(4, utc.tm_wday);
    EXPECT_EQ(62, utc.tm_yday);
}

TEST(TtUtcTmToTime, convertsByTheTimeZoneOfTheProcess)
{
    struct ZoneCase
    {
        char const* zone;
        char const* seconds;
    };
    ZoneCase const cases[] = {
        {"UTC0", "1614848707"}, {"EAST-5", "1614830707"}, // five hours earlier
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.zone);
        ChildResult const child = runInChild([&c] {
            tm local = {};
            local.tm_year = 121;
            local.tm_mon = 2;
            local.tm_mday = 4;
            local.tm_hour = 9;
            local.tm_min = 5;
            local.tm_sec = 7;
            setenv("TZ", c.zone, 1);
            tzset();
            printf("%lld", static_cast<long long>(tt_utc_tm_to_time(&local)));
        });
        EXPECT_EQ(c.seconds, child.output);
    }
}

TEST(TtUtcTmToTime, tellsATimeThatDoesNotFitFromTheLastThatDoes)
{
    char const* const pastTheLast = sizeof(time_t) == sizeof(int32_t) ? "-1" : "2147483648";
    ChildResult const child = runInChild([] {
        setenv("TZ", "UTC0", 1);
        tzset();
        for (int const second : {7, 8}) {
            tm utc = {};
            utc.tm_year = 138;
            utc.tm_mday = 19;
            utc.tm_hour = 3;
            utc.tm_min = 14;
            utc.tm_sec = second;
            printf("%lld ", static_cast<long long>(tt_utc_tm_to_time(&utc)));
        }
    });
    EXPECT_EQ(std::string("2147483647 ") + pastTheLast + " ", child.output);
}
