#include "gnss_text.h"

#include <ctime>
#include <iomanip>
#include <ostream>

std::string GnssPvt::getFixTypeText() const
{
    switch (fixType) {
    case 0:
        return "NO";
    case 1:
        return "Dead reckoning";
    case 2:
        return "Time only";
    case 3:
        return "2D";
    case 4:
        return "3D";
    default:
        return "Unknown";
    }
}

static tm utcOf(int32_t seconds)
{
    time_t const time = seconds;
    tm utc = {};
    gmtime_r(&time, &utc);
    return utc;
}

std::ostream& operator<<(std::ostream& out, GnssDop const& dop)
{
    return out << "hDop: " << dop.hDop << ", pDop: " << dop.pDop << ", vDop: " << dop.vDop;
}

std::ostream& operator<<(std::ostream& out, GnssPvt const& pvt)
{
    tm const utc = utcOf(pvt.utcTime);

    // In the order in which people read them, not the order of the fields.
    return out << "Fix: " << pvt.getFixTypeText() << "\nUTC: " << std::put_time(&utc, "%c %Z")
               << "\nTime accuracy: " << pvt.timeAccuracy << " ns"
               << "\nSatellite count: " << pvt.satelliteCount
               << "\nPosition: (longitude: " << pvt.longitude
               << " 1e-7 Degrees, latitude: " << pvt.latitude
               << " 1e-7 Degrees, altitude: " << pvt.altitude << " mm)"
               << "\nPosition accuracy: (horizontal: " << pvt.horizontalAccuracy
               << " mm, vertical: " << pvt.verticalAccuracy << " mm, pDop: " << pvt.pDop << ")"
               << "\nVelocity: (north: " << pvt.velocityNorth << " mm/s, east: " << pvt.velocityEast
               << " mm/s, down: " << pvt.velocityDown << " mm/s)"
               << "\nGround speed: " << pvt.groundSpeed << " mm/s"
               << "\nSpeed accuracy: " << pvt.speedAccuracy << " mm/s"
               << "\nHeading of motion: " << pvt.headingOfMotion << " 1e-5 Degrees"
               << "\nHeading accuracy: " << pvt.headingAccuracy << " 1e-5 Degrees"
               << "\nTimestamp: " << pvt.ticks << " ms";
}

std::ostream& operator<<(std::ostream& out, GnssData const& data)
{
    out << "Source: ";
    addSourceText(out, data.source);
    out << "\nSatellite constellation: ";
    addConstellationText(out, data.constellations);

    out << "\nPVT data: ";
    if (data.isSectionValid(eGnssSection::Pvt))
        out << data.pvt;
    else
        out << "Invalid";

    out << "\nDOP data: ";
    if (data.isSectionValid(eGnssSection::Dop))
        out << data.dop;
    else
        out << "Invalid";
    return out;
}

std::ostream& addSourceText(std::ostream& out, eGnssSource source)
{
    switch (source) {
    case eGnssSource::Live:
        return out << "LIVE GNSS";
    case eGnssSource::Stored:
    case eGnssSource::StoredOther:
        return out << "STORED GNSS";
    }
    return out << "UNKONWN"; // sic, on purpose
}

std::ostream& addConstellationText(std::ostream& out, unsigned int constellations)
{
    struct System
    {
        unsigned int bit;
        char const* name;
    };
    // Not in the order of the bits, on purpose.
    static constexpr System SYSTEMS[] = {{GNSS_CONSTELLATION_GPS, "GPS"},
                                         {GNSS_CONSTELLATION_GLONASS, "GLONASS"},
                                         {GNSS_CONSTELLATION_BEIDOU, "BEIDOU"},
                                         {GNSS_CONSTELLATION_GALILEO, "GALILEO"}};
    char const* separator = "";

    for (System const& system : SYSTEMS) {
        if (!(constellations & system.bit))
            continue;
        out << separator << system.name;
        separator = ", ";
    }
    return *separator ? out : out << "NONE";
}
