#include "device_sim/trajectory.h"

#include <cmath>

#include "device_sim/simulation_time.h"

static constexpr int64_t LAP = 60 * NS_PER_S;
static constexpr double NORTH_EXTENT = 150.0; // m
static constexpr double EAST_EXTENT = 50.0;   // m
static constexpr double HEIGHT_EXTENT = 3.0;  // m

static constexpr double ANGULAR_FREQUENCY = 2.0 * M_PI / (static_cast<double>(LAP) / NS_PER_S);

double dot(Vector const& a, Vector const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

static Vector scaled(double factor, Vector const& v)
{
    return {factor * v.x, factor * v.y, factor * v.z};
}

Vector Motion::toBody(Vector const& v) const
{
    Vector const forward = {cos(pitch) * cos(yaw), cos(pitch) * sin(yaw), -sin(pitch)};
    Vector const right = {-sin(yaw), cos(yaw), 0.0};
    Vector const down = {sin(pitch) * cos(yaw), sin(pitch) * sin(yaw), cos(pitch)};
    return {dot(forward, v), dot(right, v), dot(down, v)};
}

Vector Motion::angularRates() const
{
    return {-yawRate * sin(pitch), pitchRate, yawRate * cos(pitch)};
}

Motion motionAt(int64_t time)
{
    // Reduced to one lap first, so that a long run loses no precision.
    double const phase = 2.0 * M_PI * static_cast<double>(time % LAP) / static_cast<double>(LAP);
    double const w = ANGULAR_FREQUENCY;

    Motion m = {};
    m.position = {NORTH_EXTENT * sin(phase), EAST_EXTENT * sin(2.0 * phase),
                  -HEIGHT_EXTENT * sin(phase)};
    m.velocity = scaled(w, {NORTH_EXTENT * cos(phase), 2.0 * EAST_EXTENT * cos(2.0 * phase),
                            -HEIGHT_EXTENT * cos(phase)});
    m.acceleration =
        scaled(-w * w, {NORTH_EXTENT * sin(phase), 4.0 * EAST_EXTENT * sin(2.0 * phase),
                        -HEIGHT_EXTENT * sin(phase)});

    Vector const& v = m.velocity;
    Vector const& a = m.acceleration;
    double const groundSpeed = hypot(v.x, v.y);
    double const groundSpeedRate = (v.x * a.x + v.y * a.y) / groundSpeed;

    m.yaw = atan2(v.y, v.x);
    m.pitch = atan2(-v.z, groundSpeed);
    m.yawRate = (v.x * a.y - v.y * a.x) / (groundSpeed * groundSpeed);
    m.pitchRate = (v.z * groundSpeedRate - a.z * groundSpeed) / dot(v, v);
    return m;
}
