#ifndef LOG_KIT_GNSS_SUMMARY_H
#define LOG_KIT_GNSS_SUMMARY_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "log_kit/histogram.h"
#include "record_list.h"

/// Fix codes 0 to 4, and all others as one.
constexpr size_t FIX_COUNT = 6;

/// "3D" and so on, as the records call them.
std::string fixText(size_t fix);

struct BoundingBox // degrees
{
    double south;
    double west;
    double north;
    double east;
};

struct Position
{
    double latitude;  // degrees
    double longitude; // degrees
    double altitude;  // m
};

/// Sums up the PVT sections of a log, of GnssPvt and GnssData alike.
class GnssSummary
{
public:
    /// A section of a record of the type `index`, at the record's time in ms.
    void add(size_t index, int64_t time, GnssPvt const& pvt);

    /// The share of time in which the device had the fix: each section holds until the next one of
    /// its type, but not longer than HOLDS. Nothing without sections.
    std::optional<double> fixShare(size_t fix) const;

    Histogram const& satellites() const { return m_satellites; }

    // Of sections with a position that can be. The box does not know the date line.
    std::optional<BoundingBox> const& box() const { return m_box; }
    std::optional<Position> const& lastPosition() const { return m_lastPosition; }
    Histogram const& horizontalAccuracy() const { return m_horizontalAccuracy; } // cm
    Histogram const& verticalAccuracy() const { return m_verticalAccuracy; }     // cm

    // s since 1970, of the first and the last section with UTC
    std::optional<int32_t> utcStart() const { return m_utcStart; }
    std::optional<int32_t> utcEnd() const { return m_utcEnd; }

private:
    static constexpr int64_t HOLDS = 5000; // ms

    struct Series
    {
        bool hasSection = false;
        size_t fix = 0;
        int64_t time = 0;
        int64_t held = 1000; // ms; how long the section before held: the last one does, too
    };

    void addFix(Series& series, size_t fix, int64_t time);
    void addPosition(GnssPvt const& pvt);

    PerType<Series> m_series = {};
    std::array<int64_t, FIX_COUNT> m_fixTimes = {}; // ms, without the last sections
    Histogram m_satellites{255};
    Histogram m_horizontalAccuracy{10000};
    Histogram m_verticalAccuracy{10000};
    std::optional<BoundingBox> m_box;
    std::optional<Position> m_lastPosition;
    std::optional<int32_t> m_utcStart;
    std::optional<int32_t> m_utcEnd;
};

#endif
