#include "device_sim/schedule.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

static constexpr size_t IMU = INDEX_OF<ImuData>;
static constexpr size_t GENERIC = INDEX_OF<GenericData>;

using Slots = std::vector<std::pair<int64_t, size_t>>; // in ms

static Schedule::Settings atRates(double imu, double generic)
{
    Schedule::Settings settings;
    settings.rates = {};
    settings.rates[IMU] = imu;
    settings.rates[GENERIC] = generic;
    return settings;
}

static Slots take(Schedule& schedule, size_t count)
{
    Slots slots;
    for (size_t i = 0; i < count; ++i) {
        Schedule::Slot const slot = schedule.next();
        slots.emplace_back(slot.due / NS_PER_MS, slot.index);
    }
    return slots;
}

TEST(Schedule, mixesTheRatesInTheOrderOfTimeThenOfTypes)
{
    Schedule schedule(atRates(10.0, 5.0));
    EXPECT_EQ((Slots{{0, IMU}, {0, GENERIC}, {100, IMU}, {200, IMU}, {200, GENERIC}, {300, IMU}}),
              take(schedule, 6));
}

TEST(Schedule, hasNothingDueWhenAllTypesAreOff)
{
    Schedule schedule(atRates(0.0, 0.0));
    EXPECT_EQ(NEVER, schedule.next().due);
}

TEST(Schedule, keepsItsRateOverALongTime)
{
    Schedule schedule(atRates(3.0, 0.0));
    schedule.seek(1'000'000 * NS_PER_S);
    EXPECT_EQ(1'000'000 * NS_PER_S, schedule.next().due);
    EXPECT_EQ(1'000'000 * NS_PER_S + 333'333'333, schedule.next().due);
}

TEST(Schedule, goesOnWithTheFirstRecordsAtTheTimeOrLater)
{
    Schedule schedule(atRates(10.0, 4.0));
    schedule.seek(201 * NS_PER_MS);
    EXPECT_EQ((Slots{{250, GENERIC}, {300, IMU}}), take(schedule, 2));
    schedule.seek(100 * NS_PER_MS); // also back
    EXPECT_EQ((Slots{{100, IMU}, {200, IMU}, {250, GENERIC}}), take(schedule, 3));
}

TEST(Schedule, leavesOutWhatIsDueInSilence)
{
    Schedule::Settings settings = atRates(10.0, 0.0);
    settings.silenceEvery = 200 * NS_PER_MS;
    settings.silenceFor = 300 * NS_PER_MS;
    Schedule schedule(settings);
    EXPECT_EQ((Slots{{0, IMU}, {100, IMU}, {500, IMU}, {600, IMU}, {1000, IMU}}),
              take(schedule, 5));
}
