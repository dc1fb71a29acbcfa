#ifndef DATA_IMU_DATA_H
#define DATA_IMU_DATA_H

#include <cstdint>

/// An inertial measurement. The device defines what the values mean.
struct ImuData
{
    uint32_t ticks; // ms of the device's clock
    float values[6];
};

#endif
