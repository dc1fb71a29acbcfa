#ifndef DEVICE_SIM_TRAJECTORY_H
#define DEVICE_SIM_TRAJECTORY_H

#include <cstdint>

/// North, east and down, or forward, right and down.
struct Vector
{
    double x;
    double y;
    double z;
};

double dot(Vector const& a, Vector const& b);

/// A vehicle's motion at one moment, relative to the centre of its course. It points in its
/// direction of travel and does not roll.
struct Motion
{
    Vector position;     // m, north-east-down
    Vector velocity;     // m/s, north-east-down
    Vector acceleration; // m/s^2, north-east-down
    double yaw;          // rad, from north over east
    double pitch;        // rad, up is positive
    double yawRate;      // rad/s
    double pitchRate;    // rad/s

    /// Turns a vector into the vehicle's frame: forward-right-down.
    Vector toBody(Vector const& v) const;

    /// About the vehicle's own axes, in rad/s.
    Vector angularRates() const;
};

/// A figure of eight over a gentle slope, in closed form, so that position, velocity, acceleration
/// and attitude fit one another exactly. The vehicle never stands still.
Motion motionAt(int64_t time);

#endif
