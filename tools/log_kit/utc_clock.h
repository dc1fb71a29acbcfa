#ifndef LOG_KIT_UTC_CLOCK_H
#define LOG_KIT_UTC_CLOCK_H

#include <cstdint>
#include <optional>

#include "log_frames/frame.h"

/// The PVT section of a GnssPvt, or of a GnssData that has one; nothing for any other record.
std::optional<GnssPvt> pvtOf(Frame frame);

/// Whether the section's UTC means something: there is a fix, and the time is after 1970.
bool hasUtc(GnssPvt const& pvt);

/// Whether the section's position means something: a fix of dead reckoning, 2D or 3D.
bool hasPosition(GnssPvt const& pvt);

/// Relates the times of a time line to UTC by the GNSS records, whose UTC has whole seconds: the
/// smallest distance that a record shows is the best one.
class UtcClock
{
public:
    /// A record at its time on the time line. Only GNSS records with UTC count.
    void add(Frame frame, int64_t time);

    /// The time at which it was this UTC (ms since 1970); nothing while no record has shown any.
    std::optional<int64_t> timeOf(int64_t utcMs) const;

    bool isSet() const { return m_offset.has_value(); }

private:
    std::optional<int64_t> m_offset; // time less UTC
};

#endif
