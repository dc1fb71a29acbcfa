#ifndef DATA_GNSS_TEXT_H
#define DATA_GNSS_TEXT_H

#include <iosfwd>

#include "gnss_data.h"

// GNSS records as text for people: raw values with their units, in the stream's formatting and
// locale. The last line has no line end.

std::ostream& operator<<(std::ostream& out, GnssDop const& dop);
std::ostream& operator<<(std::ostream& out, GnssPvt const& pvt);

/// An absent section is written as "Invalid".
std::ostream& operator<<(std::ostream& out, GnssData const& data);

std::ostream& addSourceText(std::ostream& out, eGnssSource source);

/// The satellite systems of a constellation mask, "NONE" without one.
std::ostream& addConstellationText(std::ostream& out, unsigned int constellations);

#endif
