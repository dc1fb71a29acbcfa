#ifndef DEVICE_SIM_VEHICLE_H
#define DEVICE_SIM_VEHICLE_H

#include <cstdint>

#include "device_sim/trajectory.h"
#include "record_type.h"

/// The vehicle on its course and the device's sensors in it. What is measured at a time depends on
/// nothing but that time and the settings; the noise as well.
class Vehicle
{
public:
    struct Settings
    {
        double latitude = 52.0; // degrees, of the centre of the course
        double longitude = 5.0;
        uint32_t startTicks = 1000; // what the device's clock shows at time 0
        uint64_t seed = 1;          // of the noise
    };

    explicit Vehicle(Settings const& settings);

    /// Specific force (what accelerometers feel: the acceleration less gravity) in m/s^2, then
    /// angular rates in rad/s, each forward-right-down.
    void measure(int64_t time, ImuData& record) const;
    void measure(int64_t time, GnssData& record) const;
    void measure(int64_t time, GnssPvt& record) const;

    /// The quaternion (w, x, y, z) that turns the vehicle's frame to north-east-down; the flags
    /// tell attitude valid, heading valid, turning right, climbing.
    void measure(int64_t time, AttitudeData& record) const;

    /// Seconds since time 0, and the board's temperature in units of 0.01 K.
    void measure(int64_t time, GenericData& record) const;

private:
    uint32_t ticksAt(int64_t time) const;
    double noise(int64_t time, unsigned channel, double deviation) const;
    Vector noise(int64_t time, unsigned firstChannel, Vector const& deviations) const;

    Settings m_settings;
    double m_northScale; // degrees of latitude for a metre
    double m_eastScale;  // degrees of longitude for a metre
};

#endif
