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

/// Makes flags valid that were copied as bytes: 0 stays false, any other byte becomes true. Until
/// then they must not be read, because a bool of another value is undefined behaviour.
void normalizeFlags(AttitudeData& record);

#endif
