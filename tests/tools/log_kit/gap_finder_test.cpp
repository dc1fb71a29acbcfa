#include "log_kit/gap_finder.h"

#include <gtest/gtest.h>

static constexpr size_t IMU = INDEX_OF<ImuData>;
static constexpr size_t PVT = INDEX_OF<GnssPvt>;

static PerType<double> longerThan(double ms)
{
    return {ms, ms, ms, ms, ms};
}

// Records of the type from start to before end, each `step` ms.
static void addSeries(GapFinder& finder, size_t index, int64_t start, int64_t end, int64_t step)
{
    for (int64_t time = start; time < end; time += step)
        finder.add(index, time, static_cast<uint32_t>(time));
}

TEST(GapFinder, findsAnIntervalThatIsLonger)
{
    GapFinder finder(500);
    addSeries(finder, IMU, 1000, 2000, 10);
    addSeries(finder, IMU, 3500, 4000, 10);
    EXPECT_EQ(10, finder.medianInterval(IMU));

    auto const gaps = finder.gaps(longerThan(500));
    ASSERT_EQ(1U, gaps.size());
    EXPECT_EQ(IMU, gaps[0].index);
    EXPECT_EQ(1990, gaps[0].start);
    EXPECT_EQ(1510, gaps[0].length);
    EXPECT_EQ(1990U, gaps[0].afterTicks);
    EXPECT_EQ(3500U, gaps[0].beforeTicks);
    EXPECT_TRUE(gaps[0].isDeviceSilent);

    EXPECT_TRUE(finder.gaps(longerThan(1510)).empty());
}

TEST(GapFinder, knowsWhetherOtherRecordsWentOn)
{
    GapFinder finder(500);
    for (int64_t time = 0; time < 9000; time += 10) {
        if (time < 2000 || time >= 4000)
            finder.add(IMU, time, 0);
        if (time < 6000 || time >= 8000)
            finder.add(PVT, time, 0);
    }
    auto const gaps = finder.gaps(longerThan(500));
    ASSERT_EQ(2U, gaps.size());
    EXPECT_EQ(IMU, gaps[0].index);
    EXPECT_FALSE(gaps[0].isDeviceSilent);
    EXPECT_EQ(PVT, gaps[1].index);
    EXPECT_FALSE(gaps[1].isDeviceSilent);
}

TEST(GapFinder, takesASilenceThatAnotherTypeBreaksFirstForTheDevices)
{
    GapFinder finder(500);
    addSeries(finder, IMU, 0, 1000, 10);
    addSeries(finder, PVT, 0, 1000, 200);
    finder.add(PVT, 4000, 0);
    finder.add(IMU, 4300, 0);
    for (Gap const& gap : finder.gaps(longerThan(1000)))
        EXPECT_TRUE(gap.isDeviceSilent);
}

TEST(GapFinder, findsATypeThatStartsLateOrEndsEarly)
{
    GapFinder finder(500);
    for (int64_t time = 0; time < 9000; time += 10) {
        finder.add(IMU, time, static_cast<uint32_t>(time));
        if (time >= 3000 && time < 5000)
            finder.add(PVT, time, static_cast<uint32_t>(time));
    }
    auto const gaps = finder.gaps(longerThan(500));
    ASSERT_EQ(2U, gaps.size());
    EXPECT_EQ(std::nullopt, gaps[0].afterTicks);
    EXPECT_EQ(3000U, gaps[0].beforeTicks);
    EXPECT_EQ(3000, gaps[0].length);
    EXPECT_EQ(4990U, gaps[1].afterTicks);
    EXPECT_EQ(std::nullopt, gaps[1].beforeTicks);
    EXPECT_EQ(4000, gaps[1].length);
}

TEST(GapFinder, saysNothingOfASingleRecord)
{
    GapFinder finder(500);
    addSeries(finder, IMU, 0, 5000, 10);
    finder.add(PVT, 4990, 0);
    EXPECT_TRUE(finder.gaps(longerThan(500)).empty());
}

TEST(GapFinder, keepsTheLongestOfVeryMany)
{
    GapFinder finder(1);
    int64_t time = 0;
    for (int64_t length = 1; length <= 3 * static_cast<int64_t>(GapFinder::MAX_GAPS); ++length)
        finder.add(IMU, time += length, 0);
    auto const gaps = finder.gaps(longerThan(0));
    ASSERT_EQ(GapFinder::MAX_GAPS, gaps.size());
    EXPECT_EQ(2 * static_cast<int64_t>(GapFinder::MAX_GAPS) + 1, gaps.front().length);
}

TEST(GapFinder, isNotMisledByDisorder)
{
    GapFinder finder(500);
    for (int64_t time = 1000; time < 9000; time += 20) {
        finder.add(IMU, time, 0);
        finder.add(IMU, time - 700, 0);
    }
    EXPECT_TRUE(finder.gaps(longerThan(500)).empty());
    EXPECT_EQ(20, finder.medianInterval(IMU));
}
