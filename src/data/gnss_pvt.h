#ifndef DATA_GNSS_PVT_H
#define DATA_GNSS_PVT_H

#include <cstdint>
#include <string>

/// A GNSS position, velocity and time. It is a record, and also a section of GnssData.
struct GnssPvt
{
    uint32_t ticks;              // ms of the device's clock
    int32_t fixType;             // 0 none, 1 dead reckoning, 2 time only, 3 2D, 4 3D
    int32_t utcTime;             // s since 1970-01-01 UTC
    uint32_t timeAccuracy;       // ns
    uint32_t satelliteCount;     // satellites used
    int32_t longitude;           // 1e-7 degrees
    int32_t latitude;            // 1e-7 degrees
    int32_t altitude;            // mm
    uint32_t horizontalAccuracy; // mm
    uint32_t verticalAccuracy;   // mm
    int32_t velocityNorth;       // mm/s
    int32_t velocityEast;        // mm/s
    int32_t velocityDown;        // mm/s
    int32_t groundSpeed;         // mm/s
    int32_t headingOfMotion;     // 1e-5 degrees
    uint32_t speedAccuracy;      // mm/s
    uint32_t headingAccuracy;    // 1e-5 degrees
    uint32_t pDop;               // the device's raw integer scale

    uint32_t getTicks() const { return ticks; }

    /// The fix code in words, "Unknown" for an unknown one.
    std::string getFixTypeText() const;

    bool operator==(GnssPvt const& other) const;
    bool operator!=(GnssPvt const& other) const { return !(*this == other); }
};

#endif
