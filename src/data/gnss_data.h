#ifndef DATA_GNSS_DATA_H
#define DATA_GNSS_DATA_H

#include <cstdint>

#include "gnss_dop.h"
#include "gnss_pvt.h"

/// Where a GNSS solution came from. The device may send any other 32-bit value; it is kept.
enum class eGnssSource : uint32_t
{
    Live = 0,
    Stored = 1,
    StoredOther = 2
};

/// Selects a section of GnssData. Any value other than Pvt selects the DOP section.
enum class eGnssSection : uint32_t
{
    Pvt = 1,
    Dop = 2
};

// Bits of GnssData::constellations. Higher bits are kept unchanged.
constexpr unsigned int GNSS_CONSTELLATION_GPS = 0x1;
constexpr unsigned int GNSS_CONSTELLATION_GLONASS = 0x2;
constexpr unsigned int GNSS_CONSTELLATION_GALILEO = 0x4;
constexpr unsigned int GNSS_CONSTELLATION_BEIDOU = 0x8;

/// A GNSS fix, in two sections. A section is present if its own ticks are not 0. The other fields
/// of an absent section mean nothing.
struct GnssData
{
    eGnssSource source;
    uint32_t constellations;
    GnssPvt pvt;
    GnssDop dop;

    eGnssSource getSource() const { return source; }
    void setSource(eGnssSource value) { source = value; }
    unsigned int getConstellations() const { return constellations; }
    void setConstellations(unsigned int mask) { constellations = mask; }

    bool isSectionValid(eGnssSection section) const { return getSectionTick(section) != 0; }
    uint32_t getSectionTick(eGnssSection section) const
    {
        return section == eGnssSection::Pvt ? pvt.ticks : dop.ticks;
    }
    GnssPvt const& getSectionPvt() const { return pvt; }
    GnssDop const& getSectionDop() const { return dop; }
    void updateSectionPvt(GnssPvt const& section) { pvt = section; }
    void updateSectionDop(GnssDop const& section) { dop = section; }

    /// The record's time stamp: the larger ticks of its sections, as unsigned numbers.
    uint32_t getTicks() const { return pvt.ticks > dop.ticks ? pvt.ticks : dop.ticks; }

    /// Two absent sections are equal, whatever their other fields hold.
    bool operator==(GnssData const& other) const;
    bool operator!=(GnssData const& other) const { return !(*this == other); }
};

#endif
