#include "log_kit/time_point.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "log_frames/frame_writer.h"

static UtcClock clockAt(int32_t utc, uint32_t ticks)
{
    GnssPvt pvt = {};
    pvt.ticks = ticks;
    pvt.fixType = 4;
    pvt.utcTime = utc;
    auto const frame = encodeFrame(pvt);
    UtcClock clock;
    clock.add(Frame(frame.data()), ticks);
    return clock;
}

static int64_t timeOf(std::string const& text, int64_t first)
{
    return resolve(parseTimePoint(text), first, clockAt(1000, 50000)).value_or(-1);
}

TEST(TimePoint, isTicksOrAnOffset)
{
    EXPECT_EQ(123456, timeOf("123456", 1000));
    EXPECT_EQ(1000 + 90000, timeOf("+90s", 1000));
    EXPECT_EQ(1000 + 90000, timeOf("+90", 1000));
    EXPECT_EQ(1000 + 90000, timeOf("+1.5min", 1000));
    EXPECT_EQ(1000 + 250, timeOf("+250ms", 1000));
    EXPECT_EQ(1000 + 7200000, timeOf("+2h", 1000));
    EXPECT_EQ(1000 + 720000, timeOf("+12:00", 1000));
    EXPECT_EQ(1000 + 4320500, timeOf("+1:12:00.5", 1000));
}

TEST(TimePoint, isUtcByTheGnssRecords)
{
    EXPECT_EQ(50000, timeOf("1970-01-01T00:16:40Z", 1000));
    EXPECT_EQ(50500, timeOf("1970-01-01T00:16:40.5Z", 1000));
    EXPECT_EQ(20000, timeOf("1970-01-01T00:16:10Z", 1000));
    EXPECT_EQ(std::nullopt, resolve(parseTimePoint("2026-11-20T09:31:00Z"), 0, UtcClock()));
}

TEST(TimePoint, meansTheNextRoundOfTheCounterForTicksBelowTheFirst)
{
    EXPECT_EQ(0x100000005, timeOf("5", 0xFFFFFFF0));
    EXPECT_EQ(5, timeOf("5", 100000));
}

TEST(TimePoint, mustBeWellFormed)
{
    for (char const* const text : {"",
                                   "x",
                                   "-5",
                                   "4294967296",
                                   "99999999999",
                                   "12:00",
                                   "+",
                                   "+x",
                                   "+1x",
                                   "+1:60",
                                   "+1:2:3:4",
                                   "+1e3",
                                   "+.5",
                                   "+1.2.3",
                                   "+nan",
                                   "+99999999999999999999h",
                                   "2026-11-20T09:31:00",
                                   "2026-11-20T25:00:00Z",
                                   "2026-02-30T00:00:00Z",
                                   "2026-11-20T09:31:00.5",
                                   "T",
                                   " 5",
                                   "5 "}) {
        EXPECT_THROW(parseTimePoint(text), std::invalid_argument) << text;
    }
}

TEST(UtcClock, takesTheStartOfASecondFromTheRecordClosestToIt)
{
    UtcClock clock;
    for (uint32_t const ticks : {10700U, 10900U, 11100U, 11300U}) {
        GnssPvt pvt = {};
        pvt.ticks = ticks;
        pvt.fixType = 3;
        pvt.utcTime = static_cast<int32_t>(ticks / 1000);
        auto const frame = encodeFrame(pvt);
        clock.add(Frame(frame.data()), ticks);
    }
    EXPECT_EQ(12100, clock.timeOf(12000));
}

TEST(UtcClock, knowsNothingWithoutAFixOrUtc)
{
    GnssPvt noFix = {};
    noFix.utcTime = 1000;
    GnssPvt noUtc = {};
    noUtc.fixType = 4;
    UtcClock clock;
    for (auto const& pvt : {noFix, noUtc}) {
        auto const frame = encodeFrame(pvt);
        clock.add(Frame(frame.data()), 0);
    }
    EXPECT_FALSE(clock.isSet());
}
