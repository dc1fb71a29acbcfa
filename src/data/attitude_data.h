#ifndef DATA_ATTITUDE_DATA_H
#define DATA_ATTITUDE_DATA_H

#include <cstdint>

/// An attitude. The device defines what the values and flags mean.
struct AttitudeData
{
    uint32_t ticks; // ms of the device's clock
    float values[4];
    bool flags[4];
};

/// Turns flags that were read as bytes into flags: 0 stays 0, any other byte becomes 1. Until then
/// they must not be read.
void normalizeFlags(AttitudeData& record);

#endif
