#include "log_kit/time_line.h"

#include <gtest/gtest.h>

#include <vector>

#include "log_frames/frame_writer.h"

static std::vector<int64_t> timesOf(std::vector<uint32_t> const& stamps)
{
    TimeLine timeLine;
    std::vector<int64_t> times;
    for (uint32_t const ticks : stamps)
        times.push_back(timeLine.add(ticks));
    return times;
}

static std::optional<eJump> lastJump(std::vector<uint32_t> const& stamps)
{
    TimeLine timeLine;
    for (uint32_t const ticks : stamps)
        timeLine.add(ticks);
    return timeLine.jump() ? std::optional<eJump>(timeLine.jump()->kind) : std::nullopt;
}

static std::vector<int64_t> times(std::vector<int64_t> values)
{
    return values;
}

TEST(TimeLine, isTheTicksWhileTheyRise)
{
    EXPECT_EQ(times({5, 5, 15, 1000015}), timesOf({5, 5, 15, 1000015}));
    EXPECT_EQ(std::nullopt, lastJump({5, 5, 15, 1000015}));
}

TEST(TimeLine, goesOnThroughAWrap)
{
    EXPECT_EQ(times({0xFFFFFFF0, 0x100000004, 0x10000000E}), timesOf({0xFFFFFFF0, 4, 14}));
    EXPECT_EQ(eJump::Wrap, lastJump({0xFFFFFFF0, 4}));
    EXPECT_EQ(std::nullopt, lastJump({0xFFFFFFF0, 4, 14}));
}

TEST(TimeLine, goesBackByALittle)
{
    EXPECT_EQ(times({5000, 4990, 5010}), timesOf({5000, 4990, 5010}));
    EXPECT_EQ(times({5000, 3000}), timesOf({5000, 3000}));
    EXPECT_EQ(eJump::Back, lastJump({5000, 3000}));
}

TEST(TimeLine, goesBackAcrossAWrap)
{
    EXPECT_EQ(times({0xFFFFFFF0, 0x100000004, 0xFFFFFFF5, 0x100000005}),
              timesOf({0xFFFFFFF0, 4, 0xFFFFFFF5, 5}));
    EXPECT_EQ(eJump::Back, lastJump({0xFFFFFFF0, 4, 0xFFFFFFF5}));
    EXPECT_EQ(eJump::Wrap, lastJump({0xFFFFFFF0, 4, 0xFFFFFFF5, 5}));
}

TEST(TimeLine, goesOnAtTheLatestTimeAfterARestart)
{
    EXPECT_EQ(times({900000, 899990, 900000, 900010}), timesOf({900000, 899990, 40, 50}));
    EXPECT_EQ(eJump::Restart, lastJump({900000, 40}));
}

TEST(TimeLine, takesALongSilenceAcrossTheWrapForARestart)
{
    EXPECT_EQ(eJump::Wrap, lastJump({0xFFFFFFFF, 600000 - 1}));
    EXPECT_EQ(eJump::Restart, lastJump({0xFFFFFFFF, 600000}));
}

TEST(TimeLine, goesOnAfterASingleStampFarAhead)
{
    EXPECT_EQ(times({5000, 3000005010, 5020, 5030}), timesOf({5000, 3000005010, 5020, 5030}));
    EXPECT_EQ(eJump::Back, lastJump({5000, 3000005010, 5020}));
}

TEST(TimeLine, goesOnAfterASingleStampFarBack)
{
    EXPECT_EQ(times({5000000, 5000000, 5000020}), timesOf({5000000, 10, 5000020}));

    TimeLine timeLine;
    timeLine.add(5000000);
    timeLine.add(10);
    EXPECT_EQ(eJump::Restart, timeLine.jump()->kind);
    timeLine.add(5000020);
    EXPECT_TRUE(timeLine.wasStray());
    EXPECT_EQ(5000020, timeLine.latest());
}

TEST(TimeLine, keepsALeapThatTheNextRecordsFollow)
{
    EXPECT_EQ(times({5000, 3000005010, 3000005020}), timesOf({5000, 3000005010, 3000005020}));
}

TEST(TimeLine, tellsStampsBeforeAndAfterAJump)
{
    TimeLine timeLine;
    timeLine.add(900000);
    timeLine.add(40);
    EXPECT_EQ(900000U, timeLine.jump()->from);
    EXPECT_EQ(40U, timeLine.jump()->to);
}

TEST(TimeLine, givesARecordWithoutStampTheTimeBeforeIt)
{
    auto const absent = encodeFrame(GnssData{});
    TimeLine timeLine;
    timeLine.add(Frame(absent.data()));
    EXPECT_FALSE(timeLine.hasStarted());
    timeLine.add(700);
    EXPECT_EQ(700, timeLine.add(Frame(absent.data())));
    EXPECT_EQ(std::nullopt, timeLine.jump());
    EXPECT_EQ(700, timeLine.first());
}
