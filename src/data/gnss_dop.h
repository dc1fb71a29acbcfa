#ifndef DATA_GNSS_DOP_H
#define DATA_GNSS_DOP_H

#include <cstdint>

/// Dilutions of precision, in the device's raw integer scale. Always a section of GnssData, never a
/// record.
struct GnssDop
{
    uint32_t ticks; // ms of the device's clock
    uint32_t hDop;
    uint32_t pDop;
    uint32_t vDop;

    uint32_t getTicks() const { return ticks; }

    bool operator==(GnssDop const& other) const;
    bool operator!=(GnssDop const& other) const { return !(*this == other); }
};

#endif
