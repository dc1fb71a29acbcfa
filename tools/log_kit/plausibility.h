#ifndef LOG_KIT_PLAUSIBILITY_H
#define LOG_KIT_PLAUSIBILITY_H

#include <cstddef>
#include <cstdint>

#include "log_frames/frame.h"

// Values that cannot be: a flipped bit in a payload shows in no check of the frame.

/// Whether the position is on Earth, whatever the fix.
inline bool isPositionPlausible(GnssPvt const& pvt)
{
    static constexpr int32_t MAX_LATITUDE = 900000000;   // 1e-7 degrees
    static constexpr int32_t MAX_LONGITUDE = 1800000000; // 1e-7 degrees
    return pvt.latitude >= -MAX_LATITUDE && pvt.latitude <= MAX_LATITUDE &&
           pvt.longitude >= -MAX_LONGITUDE && pvt.longitude <= MAX_LONGITUDE;
}

/// Whether no speed is beyond 1,000 m/s.
inline bool isSpeedPlausible(GnssPvt const& pvt)
{
    static constexpr int32_t MAX_SPEED = 1000000; // mm/s
    for (int32_t const speed :
         {pvt.velocityNorth, pvt.velocityEast, pvt.velocityDown, pvt.groundSpeed})
        if (speed < -MAX_SPEED || speed > MAX_SPEED)
            return false;
    return true;
}

/// Whether none of the floats, given by their bytes, is infinite or no number.
template <size_t COUNT>
bool areFinite(unsigned char const* floats)
{
    static constexpr uint32_t EXPONENT = 0x7F800000;
    bool isFinite = true;
    for (size_t i = 0; i < COUNT; ++i)
        isFinite &= (loadWord<uint32_t>(floats + i * sizeof(float)) & EXPONENT) != EXPONENT;
    return isFinite;
}

#endif
