#include "device_sim/vehicle.h"

#include <cmath>

#include <gtest/gtest.h>

#include "device_sim/simulation_time.h"
#include "sample_records.h"

template <class Record>
static Record measured(int64_t time, Vehicle::Settings const& settings = {})
{
    Record record = {};
    Vehicle(settings).measure(time, record);
    return record;
}

template <class Record>
class VehicleRecord : public testing::Test
{};
TYPED_TEST_SUITE(VehicleRecord, AllRecords);

TYPED_TEST(VehicleRecord, isTheSameForATimeAndASeed)
{
    Vehicle::Settings other;
    other.seed = 2;
    auto const record = bytesOf(measured<TypeParam>(5 * NS_PER_S));
    EXPECT_EQ(record, bytesOf(measured<TypeParam>(5 * NS_PER_S)));
    EXPECT_NE(record, bytesOf(measured<TypeParam>(5 * NS_PER_S, other)));
    EXPECT_NE(record, bytesOf(measured<TypeParam>(6 * NS_PER_S)));
}

TYPED_TEST(VehicleRecord, isStampedInMillisecondsThatWrap)
{
    Vehicle::Settings settings;
    EXPECT_EQ(3500U, ticksOf(measured<TypeParam>(2500 * NS_PER_MS, settings)));
    settings.startTicks = UINT32_MAX;
    EXPECT_EQ(2499U, ticksOf(measured<TypeParam>(2500 * NS_PER_MS, settings)));
}

TEST(Vehicle, feelsItsWeight)
{
    for (int64_t time = 0; time < 60 * NS_PER_S; time += 3 * NS_PER_S) {
        auto const imu = measured<ImuData>(time);
        EXPECT_NEAR(-9.8, double{imu.values[2]}, 0.6);
    }
}

TEST(Vehicle, isWhereTheSettingsPutItsCourse)
{
    Vehicle::Settings settings;
    settings.latitude = -33.5;
    settings.longitude = 179.9999;
    for (int64_t time = 0; time < 60 * NS_PER_S; time += NS_PER_S) {
        auto const pvt = measured<GnssPvt>(time, settings);
        // 150 m and 50 m with the noise: 0.0014 and 0.0006 degrees.
        EXPECT_NEAR(-33.5e7, pvt.latitude, 0.0015e7);
        double const east = remainder(pvt.longitude / 1e7 - 179.9999, 360.0);
        EXPECT_NEAR(0.0, east, 0.0007);
        EXPECT_LE(std::abs(pvt.longitude), 1'800'000'000);
        EXPECT_NEAR(40e3, pvt.altitude, 3e3 + 4e3);
        EXPECT_GE(pvt.headingOfMotion, 0);
        EXPECT_LT(pvt.headingOfMotion, 36'000'000);
    }
}

TEST(Vehicle, givesTheUtcTimeOfItsStart)
{
    EXPECT_EQ(1717243200, measured<GnssPvt>(0).utcTime); // 2024-06-01 12:00:00
    EXPECT_EQ(1717243209, measured<GnssPvt>(9999 * NS_PER_MS).utcTime);
}

TEST(Vehicle, givesOneSolutionInBothGnssRecords)
{
    auto const gnss = measured<GnssData>(7 * NS_PER_S);
    EXPECT_EQ(bytesOf(measured<GnssPvt>(7 * NS_PER_S)), bytesOf(gnss.pvt));
    EXPECT_EQ(gnss.pvt.ticks, gnss.dop.ticks);
    EXPECT_EQ(eGnssSource::Live, gnss.source);
}

TEST(Vehicle, givesAUnitQuaternionThatPointsItAlongItsCourse)
{
    for (int64_t time = 0; time < 60 * NS_PER_S; time += 3 * NS_PER_S) {
        auto const& q = measured<AttitudeData>(time).values;
        double const w = double{q[0]};
        double const x = double{q[1]};
        double const y = double{q[2]};
        double const z = double{q[3]};
        EXPECT_NEAR(1.0, w * w + x * x + y * y + z * z, 1e-6);

        Motion const motion = motionAt(time);
        double const yaw = atan2(2 * (w * z + x * y), 1 - 2 * (y * y + z * z));
        EXPECT_NEAR(0.0, remainder(yaw - motion.yaw, 2 * M_PI), 0.01);
        EXPECT_NEAR(motion.pitch, asin(2 * (w * y - z * x)), 0.01);
    }
}

TEST(Vehicle, flagsValidityTurnsAndClimbs)
{
    for (int64_t time = NS_PER_S; time < 60 * NS_PER_S; time += 7 * NS_PER_S) {
        auto const attitude = measured<AttitudeData>(time);
        EXPECT_TRUE(attitude.flags[0]);
        EXPECT_TRUE(attitude.flags[1]);
        EXPECT_EQ(motionAt(time).yawRate > 0.0, attitude.flags[2]);
        EXPECT_EQ(motionAt(time).velocity.z < 0.0, attitude.flags[3]); // z is down
    }
}

TEST(Vehicle, countsItsSecondsAndIsWarm)
{
    auto const generic = measured<GenericData>(12'900 * NS_PER_MS);
    EXPECT_EQ(12U, generic.values[0]);
    EXPECT_NEAR(31315.0, generic.values[1], 20.0); // 40 °C
}
