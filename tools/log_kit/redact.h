#ifndef LOG_KIT_REDACT_H
#define LOG_KIT_REDACT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/log_copy.h"
#include "record_list.h"

/// A move over the ground, along a geodesic: so far in the direction that these two make.
struct GroundShift
{
    double north; // m
    double east;  // m
};

struct GroundPoint
{
    double latitude;  // degrees, -90 to 90
    double longitude; // degrees, -180 to 180
};

/// Options of `log_kit redact`. At most one of shift, origin and strip is set.
struct RedactOptions
{
    CopyOptions files;                 // with an origin the input cannot be a pipe
    std::optional<GroundShift> shift;  // move every position by this
    std::optional<GroundPoint> origin; // move the first position here, and all others so that they
                                       // keep their distance and direction from it
    bool strip = false;                // set latitude, longitude and altitude to 0
    int64_t utcShift = 0;              // s; move every UTC that is set
};

struct RedactResult : CopyResult
{
    PerType<uint64_t> records = {}; // copied
    uint64_t positions = 0;         // moved or stripped
    uint64_t impossible = 0;        // positions that are not on Earth: set to 0, as they may tell
    uint64_t utcs = 0;              // moved
};

/// Copies the frames with other positions and UTC. These are changed in GnssPvt and in GnssData,
/// also without a fix and in an absent section, where an old position may stand; a position of
/// 0, 0 without a fix is none and stays. Altitudes stay unless stripped. No other byte changes.
///
/// Throws FileError like copyLog(), and when a UTC would leave its range.
RedactResult redact(RedactOptions const& options, Progress& progress);

/// What in the copy may still give the place away: a sentence each, for people.
std::vector<std::string> whatStillTells(RedactOptions const& options, RedactResult const& result);

#endif
