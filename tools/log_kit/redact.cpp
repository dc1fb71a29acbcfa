#include "log_kit/redact.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include <GeographicLib/AzimuthalEquidistant.hpp>
#include <GeographicLib/Geodesic.hpp>

#include "log_frames/file_error.h"
#include "log_frames/frame_copy.h"
#include "log_kit/plausibility.h"
#include "log_kit/utc_clock.h"

using GeographicLib::AzimuthalEquidistant;
using GeographicLib::Geodesic;

static constexpr double UNITS_PER_DEGREE = 1e7;
static constexpr double DEGREES_PER_RADIAN = 57.29577951308232;

// Where in its payload the record has a PVT section, present or not.
static std::optional<size_t> pvtPlace(Frame frame)
{
    if (frame.holds<GnssPvt>())
        return 0;
    if (frame.holds<GnssData>())
        return offsetof(GnssData, pvt);
    return std::nullopt;
}

// The section with all its bytes, present or not.
static GnssPvt pvtAt(Frame frame, size_t place)
{
    return loadWord<GnssPvt>(frame.payload() + place);
}

static bool isPosition(GnssPvt const& pvt)
{
    return pvt.latitude != 0 || pvt.longitude != 0 || hasPosition(pvt);
}

static GroundPoint pointOf(GnssPvt const& pvt)
{
    return {pvt.latitude / UNITS_PER_DEGREE, pvt.longitude / UNITS_PER_DEGREE};
}

// The first position with a fix; if there is none, the first one at all.
static std::optional<GroundPoint> findFirstPosition(std::string const& file)
{
    InputFile input(file);
    Scanner scanner(input);
    std::optional<GroundPoint> first;
    while (auto const event = scanner.next()) {
        auto const* const stretch = std::get_if<Stretch>(&*event);
        if (!stretch)
            continue;
        for (Frame const frame : stretch->frames) {
            auto const place = pvtPlace(frame);
            if (!place)
                continue;
            GnssPvt const pvt = pvtAt(frame, *place);
            if (!isPosition(pvt) || !isPositionPlausible(pvt))
                continue;
            if (pvt.ticks != 0 && hasPosition(pvt))
                return pointOf(pvt);
            first = first ? first : pointOf(pvt);
        }
    }
    return first;
}

namespace
{

/// Changes one record after the other.
class Redactor
{
public:
    explicit Redactor(RedactOptions const& options)
        : m_options(options),
          m_projection(Geodesic::WGS84())
    {
        if (options.origin)
            m_first = findFirstPosition(options.files.input);
        if (options.shift) {
            m_azimuth = std::atan2(options.shift->east, options.shift->north) * DEGREES_PER_RADIAN;
            m_distance = std::hypot(options.shift->east, options.shift->north);
        }
    }

    void redact(FrameCopy& frame, RedactResult& result) const
    {
        auto const place = pvtPlace(frame.frame());
        if (!place)
            return;
        GnssPvt const pvt = pvtAt(frame.frame(), *place);
        redactPosition(frame, *place, pvt, result);
        redactUtc(frame, *place, pvt, result);
    }

private:
    static void setPosition(FrameCopy& frame, size_t place, int32_t latitude, int32_t longitude)
    {
        frame.setWord(place + offsetof(GnssPvt, latitude), latitude);
        frame.setWord(place + offsetof(GnssPvt, longitude), longitude);
    }

    void redactPosition(FrameCopy& frame, size_t place, GnssPvt const& pvt,
                        RedactResult& result) const
    {
        if (m_options.strip) {
            setPosition(frame, place, 0, 0);
            frame.setWord<int32_t>(place + offsetof(GnssPvt, altitude), 0);
            result.positions += isPosition(pvt);
        } else if ((m_options.shift || m_options.origin) && isPosition(pvt)) {
            if (isPositionPlausible(pvt)) {
                GroundPoint const moved = move(pointOf(pvt));
                setPosition(frame, place, unitsOf(moved.latitude), unitsOf(moved.longitude));
                ++result.positions;
            } else {
                setPosition(frame, place, 0, 0);
                ++result.impossible;
            }
        }
    }

    void redactUtc(FrameCopy& frame, size_t place, GnssPvt const& pvt, RedactResult& result) const
    {
        if (m_options.utcShift == 0 || pvt.utcTime <= 0)
            return;
        int64_t const moved = pvt.utcTime + m_options.utcShift;
        if (moved <= 0 || moved > std::numeric_limits<int32_t>::max())
            throw FileError(m_options.files.input +
                            ": with that shift a UTC would not be between 1970 and 2038");
        frame.setWord(place + offsetof(GnssPvt, utcTime), static_cast<int32_t>(moved));
        ++result.utcs;
    }

    GroundPoint move(GroundPoint const& from) const
    {
        GroundPoint to = {};
        if (m_options.shift) {
            Geodesic::WGS84().Direct(from.latitude, from.longitude, m_azimuth, m_distance,
                                     to.latitude, to.longitude);
            return to;
        }
        double east = 0;
        double north = 0;
        m_projection.Forward(m_first->latitude, m_first->longitude, from.latitude, from.longitude,
                             east, north);
        m_projection.Reverse(m_options.origin->latitude, m_options.origin->longitude, east, north,
                             to.latitude, to.longitude);
        return to;
    }

    static int32_t unitsOf(double degrees)
    {
        return static_cast<int32_t>(std::llround(degrees * UNITS_PER_DEGREE));
    }

    RedactOptions const& m_options;
    AzimuthalEquidistant m_projection;
    std::optional<GroundPoint> m_first; // set if there is an origin and any position
    double m_azimuth = 0;               // degrees
    double m_distance = 0;              // m
};

}

RedactResult redact(RedactOptions const& options, Progress& progress)
{
    if (options.origin && !InputFile::canBeReadTwice(options.files.input))
        throw FileError("--origin reads the log twice, which a pipe does not allow: give a file");

    Redactor const redactor(options);
    RedactResult result;
    auto const copyRedacted = [&](Stretch const& stretch, OutputFile& output) {
        for (Frame const original : stretch.frames) {
            FrameCopy frame(original);
            redactor.redact(frame, result);
            output.write(frame.frame());
            ++result.records[original.index()];
        }
    };
    static_cast<CopyResult&>(result) = copyLog(options.files, progress, copyRedacted);
    return result;
}

std::vector<std::string> whatStillTells(RedactOptions const& options, RedactResult const& result)
{
    auto const has = [&](size_t index) { return result.records[index] > 0; };
    bool const hasGnss = has(INDEX_OF<GnssData>) || has(INDEX_OF<GnssPvt>);
    bool const isMoved = options.shift || options.origin;

    std::vector<std::string> tells;
    if (hasGnss && !isMoved && !options.strip)
        tells.emplace_back("the positions, which were left as they are");
    if (hasGnss && isMoved) {
        tells.emplace_back("the shape of the track, which can be laid over a map");
        tells.emplace_back("the altitudes");
        tells.emplace_back("one true position that somebody knows: it gives the shift, and with it "
                           "all others");
    }
    if (hasGnss)
        tells.emplace_back("velocities and headings, which draw the track again");
    if (has(INDEX_OF<ImuData>) || has(INDEX_OF<AttitudeData>))
        tells.emplace_back("inertial and attitude values: they give the turns of the track, and "
                           "gravity and the Earth's rotation in them the latitude");
    if (hasGnss && options.utcShift == 0)
        tells.emplace_back("UTC: when the drive was, and with the satellite counts roughly where");
    if (hasGnss && options.utcShift != 0)
        tells.emplace_back("satellite counts and accuracies, for who guesses the time");
    if (has(INDEX_OF<GenericData>))
        tells.emplace_back("the words of GenericData, whose meaning only the device knows");
    tells.emplace_back("the names and times of the files");
    return tells;
}
