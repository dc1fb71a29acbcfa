#include "device_sim/trajectory.h"

#include <cmath>

#include <gtest/gtest.h>

#include "device_sim/simulation_time.h"

// What a lap of 60 s is looked at for.
static constexpr int64_t TIMES[] = {0, 7 * NS_PER_S, 15 * NS_PER_S, 33 * NS_PER_S, 52 * NS_PER_S};
static constexpr int64_t STEP = NS_PER_MS;
static constexpr double STEPS_A_SECOND = 1000.0;

// The change a second of one of a motion's values, measured around the time.
template <class Value>
static double rateOf(int64_t time, Value const& value)
{
    return (value(motionAt(time + STEP)) - value(motionAt(time - STEP + 60 * NS_PER_S))) *
           STEPS_A_SECOND / 2.0;
}

static void expectNear(Vector const& expected, Vector const& found, double tolerance)
{
    EXPECT_NEAR(expected.x, found.x, tolerance);
    EXPECT_NEAR(expected.y, found.y, tolerance);
    EXPECT_NEAR(expected.z, found.z, tolerance);
}

TEST(Trajectory, isAFigureOfEightThatStartsAtItsCentre)
{
    expectNear({0.0, 0.0, 0.0}, motionAt(0).position, 1e-9);
    expectNear({150.0, 0.0, -3.0}, motionAt(15 * NS_PER_S).position, 1e-9);
    expectNear({0.0, 0.0, 0.0}, motionAt(30 * NS_PER_S).position, 1e-9);
    expectNear({-150.0, 0.0, 3.0}, motionAt(45 * NS_PER_S).position, 1e-9);
}

TEST(Trajectory, isTheSameInEveryLap)
{
    for (int64_t const time : TIMES) {
        Motion const first = motionAt(time);
        Motion const later = motionAt(time + 1'000'000 * 60 * NS_PER_S);
        expectNear(first.position, later.position, 0.0);
        expectNear(first.velocity, later.velocity, 0.0);
    }
}

TEST(Trajectory, hasTheVelocityOfItsPositionAndTheAccelerationOfItsVelocity)
{
    for (int64_t const time : TIMES) {
        SCOPED_TRACE(time);
        Motion const motion = motionAt(time);
        expectNear({rateOf(time, [](Motion const& m) { return m.position.x; }),
                    rateOf(time, [](Motion const& m) { return m.position.y; }),
                    rateOf(time, [](Motion const& m) { return m.position.z; })},
                   motion.velocity, 1e-4);
        expectNear({rateOf(time, [](Motion const& m) { return m.velocity.x; }),
                    rateOf(time, [](Motion const& m) { return m.velocity.y; }),
                    rateOf(time, [](Motion const& m) { return m.velocity.z; })},
                   motion.acceleration, 1e-4);
    }
}

TEST(Trajectory, turnsAsFastAsItsAnglesChange)
{
    for (int64_t const time : TIMES) {
        SCOPED_TRACE(time);
        Motion const motion = motionAt(time);
        EXPECT_NEAR(rateOf(time, [](Motion const& m) { return m.yaw; }), motion.yawRate, 1e-5);
        EXPECT_NEAR(rateOf(time, [](Motion const& m) { return m.pitch; }), motion.pitchRate, 1e-5);
    }
}

TEST(Trajectory, pointsWhereItGoes)
{
    for (int64_t const time : TIMES) {
        Motion const motion = motionAt(time);
        double const speed = sqrt(dot(motion.velocity, motion.velocity));
        EXPECT_GT(speed, 1.0); // it never stands still
        expectNear({speed, 0.0, 0.0}, motion.toBody(motion.velocity), 1e-9);
    }
}

TEST(Motion, turnsVectorsIntoTheFrameOfTheVehicle)
{
    Motion motion = {};
    motion.yaw = M_PI / 2; // east
    expectNear({0.0, -1.0, 0.0}, motion.toBody({1.0, 0.0, 0.0}), 1e-12);
    motion.pitch = M_PI / 2; // straight up
    expectNear({1.0, 0.0, 0.0}, motion.toBody({0.0, 0.0, -1.0}), 1e-12);
    motion.yawRate = 2.0;
    motion.pitchRate = 3.0;
    expectNear({-2.0, 3.0, 0.0}, motion.angularRates(), 1e-12);
}
