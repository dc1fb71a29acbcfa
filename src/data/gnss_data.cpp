#include "gnss_data.h"

bool GnssData::operator==(GnssData const& other) const
{
    if (pvt.ticks != other.pvt.ticks || dop.ticks != other.dop.ticks || source != other.source ||
        constellations != other.constellations)
        return false;
    if (isSectionValid(eGnssSection::Pvt) && pvt != other.pvt)
        return false;
    return !isSectionValid(eGnssSection::Dop) || dop == other.dop;
}
