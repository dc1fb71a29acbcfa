#include "log_kit/rate_windows.h"

#include <gtest/gtest.h>

static constexpr size_t IMU = INDEX_OF<ImuData>;
static constexpr size_t GENERIC = INDEX_OF<GenericData>;

static RateWindows windowsOf(std::initializer_list<int64_t> times)
{
    RateWindows windows;
    for (int64_t const time : times)
        windows.add(IMU, time);
    return windows;
}

static std::vector<double> rateOf(RateWindows const& windows, size_t index = IMU)
{
    auto const rate = windows.rate(index);
    return rate ? std::vector<double>{rate->min, rate->median, rate->max} : std::vector<double>();
}

using Values = std::vector<double>;

TEST(RateWindows, countWholeWindowsFromTheFirstRecordOn)
{
    EXPECT_EQ((Values{1, 2, 3}), rateOf(windowsOf({500, 600, 1499, 1500, 1600, 2500, 3500})));
}

TEST(RateWindows, knowNothingOfLessThanASecond)
{
    EXPECT_EQ(Values(), rateOf(windowsOf({})));
    EXPECT_EQ(Values(), rateOf(windowsOf({500, 1499})));
    EXPECT_EQ((Values{2, 2, 2}), rateOf(windowsOf({500, 1499, 1500})));
}

TEST(RateWindows, takeTheMeanOfTheTwoInTheMiddle)
{
    EXPECT_EQ((Values{1, 1.5, 2}), rateOf(windowsOf({0, 1000, 1001, 2000})));
}

TEST(RateWindows, countWindowsWithoutRecords)
{
    EXPECT_EQ((Values{0, 0, 1}), rateOf(windowsOf({0, 10000})));
    EXPECT_EQ((Values{0, 0, 0}), rateOf(windowsOf({0, 10000}), GENERIC));
    EXPECT_EQ((Values{0, 0, 1}), rateOf(windowsOf({0, int64_t{1} << 40})));
}

TEST(RateWindows, countARecordOutOfOrderInItsOwnWindow)
{
    EXPECT_EQ((Values{1, 1, 3}), rateOf(windowsOf({0, 1000, 2000, 1, 2, 3000})));
    EXPECT_EQ((Values{2, 2, 2}), rateOf(windowsOf({500, 400, 1500})));
}
